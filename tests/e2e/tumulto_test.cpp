// Everything at once on a derived server: calls, ends, expiry, stop, start, setters and freeing. Every object
// knows its owner's secret; no call may meet another one's.
#include "apoio/alvo.hpp"
#include "apoio/soap.hpp"

#include <gtest/gtest.h>

#include <array>
#include <random>

using apoio::Alvo;
using apoio::chama;
using apoio::eu;

namespace {

constexpr int CLIENTES = 6;
constexpr std::chrono::seconds DURACAO{3};
const std::string NAO_CONSTA = "YExcSoap: Servico nao consta da lista de servicos ativos.";

// Its handlers use what its destructor frees.
struct Banca : YSoapServer {
    char *nome;
};

void quem(YWebService *servico, YNo * /*requisicao*/, YNo *resposta) {
    YNo_setString(resposta, "return", static_cast<Banca *>(YWebService_getSoapServer(servico))->nome);
}

void constroi(void *objeto) {
    auto *banca = static_cast<Banca *>(objeto);
    banca->nome = YduplicaString("banca");
    YSoapServer_setPorta(banca, 0);
    const YDefinicaoPortType alvo = apoio::definicaoDoAlvo("<d>$(PORTA)</d>");
    constexpr YDefinicaoMetodo metodos[] = {{"quem", quem}, {nullptr, nullptr}};
    const YDefinicaoPortType quemE = {"Quem", metodos, YWebService_rtti, nullptr, nullptr};
    YSoapServer_registraPortType(banca, &alvo);
    YSoapServer_registraPortType(banca, &quemE);
}

void destroi(void *objeto) {
    YliberaMemoria(static_cast<Banca *>(objeto)->nome);
}

const YRtti *Banca_rtti() {
    static const YObThread_Rtti descritor = [] {
        YObThread_Rtti d = *reinterpret_cast<const YObThread_Rtti *>(YSoapServer_rtti());
        d.rtti = {YSoapServer_rtti, "Banca", sizeof(Banca), constroi, destroi};
        return d;
    }();
    return &descritor.rtti;
}

class Tumulto {
public:
    /// Makes an object, gives it a secret, and asks it for it until it is gone.
    void cliente(unsigned semente) {
        std::mt19937 sorte(semente);
        std::string meu;
        std::string segredo;
        while (!acabou) {
            try {
                if (meu.empty()) {
                    segredo = std::to_string(1 + sorte() % 1'000'000'000);
                    const std::string novo = naAlvo("constroi");
                    const bool feito = novo.size() == 32 && naAlvo("acumula", eu(novo) + "<valor>" + segredo +
                                                                                  "</valor>") == segredo;
                    meu = feito ? novo : "";
                    continue;
                }
                const std::string total = naAlvo("total", eu(meu));
                estranhas += total != segredo && total != NAO_CONSTA && !semEnvelope(total) ? 1 : 0;
                const std::string nome = chama(porta, "Quem", "quem");
                estranhas += nome != "banca" && !semEnvelope(nome) ? 1 : 0;
                const char *fim =
                    std::array{"destroi", "vence", "suicida", "falha", "total", "total"}.at(sorte() % 6);
                naAlvo(fim, eu(meu) + "<falta/>");
                meu = total == NAO_CONSTA ? "" : meu;
                voltas++;
            } catch (const std::system_error &) {
                std::this_thread::yield(); // stopped just now
            }
        }
    }

    void dono(YSoapServer *servidor, unsigned semente) {
        std::mt19937 sorte(semente);
        const auto fim = std::chrono::steady_clock::now() + DURACAO;
        while (std::chrono::steady_clock::now() < fim) {
            if (sorte() % 3 == 0) {
                YObThread_stop(servidor);
            }
            YSoapServer_setDiretorioBase(servidor, sorte() % 2 == 0 ? nullptr : "/nada");
            YSoapServer_setLimiteDeConexoes(servidor, 50 + static_cast<std::uint32_t>(sorte() % 50));
            YSoapServer_registraMacro(servidor, "M", "m");
            YObThread_start(servidor);
            YSoapServer_esperaPronto(servidor, std::time(nullptr) + 2);
            porta = static_cast<std::uint32_t>(YSoapServer_getPorta(servidor));
            std::this_thread::sleep_for(std::chrono::milliseconds(sorte() % 50));
        }
        YObThread_start(servidor);
    }

    std::atomic<bool> acabou{false};
    std::atomic<std::uint32_t> porta{0};
    std::atomic<int> voltas{0};
    std::atomic<int> estranhas{0};

private:
    std::string naAlvo(const std::string &metodo, const std::string &parametros = "") {
        return chama(porta, "Alvo", metodo, parametros);
    }
    /// The connection ended, or the files answered for a server that is stopped.
    static bool semEnvelope(const std::string &resultado) { return resultado.starts_with("no envelope"); }
};

TEST(Tumulto, ninguemChegaAoObjetoDeOutroENadaFica) {
    const apoio::Diario diario(0);
    auto servidor = pramo::cria<Banca>(Banca_rtti);
    Tumulto tumulto;
    std::vector<std::thread> donos;
    std::vector<std::thread> clientes;
    for (unsigned i = 0; i < 2; i++) {
        donos.emplace_back([&, i] { tumulto.dono(servidor.get(), i); });
    }
    for (unsigned i = 0; i < CLIENTES; i++) {
        clientes.emplace_back([&, i] { tumulto.cliente(100 + i); });
    }
    for (std::thread &dono : donos) {
        dono.join();
    }
    servidor.reset(); // under load
    tumulto.acabou = true;
    for (std::thread &cliente : clientes) {
        cliente.join();
    }
    EXPECT_GT(tumulto.voltas, 20);
    EXPECT_EQ(tumulto.estranhas, 0);
    EXPECT_EQ(Alvo::vivos, 0);
    EXPECT_EQ(Alvo::quebrados, 0);
}

} // namespace
