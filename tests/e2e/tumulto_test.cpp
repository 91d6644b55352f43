// Everything at once on a derived server: calls, ends, expiry, stop, start, registrations and freeing. Every
// object knows its owner's secret; no call may meet another one's.
#include "apoio/alvo.hpp"
#include "apoio/soap.hpp"

#include <gtest/gtest.h>

#include <random>

using apoio::Alvo;
using apoio::eu;

namespace {

// Its handlers use what its destructor frees.
struct Banca : YSoapServer {
    char *nome;
};

void quem(YWebService *servico, YNo * /*requisicao*/, YNo *resposta) {
    YNo_setString(resposta, "return", static_cast<Banca *>(YWebService_getSoapServer(servico))->nome);
}

void registra(YSoapServer *servidor) {
    constexpr YDefinicaoMetodo metodos[] = {{"quem", quem}, {nullptr, nullptr}};
    const YDefinicaoPortType quemE = {"Quem", metodos, YWebService_rtti, nullptr, nullptr};
    const YDefinicaoPortType alvo = apoio::definicaoDoAlvo("<d>$(M)</d>");
    YSoapServer_registraPortType(servidor, &quemE);
    YSoapServer_registraPortType(servidor, &alvo);
    YSoapServer_registraMacro(servidor, "M", "m");
}

void constroi(void *objeto) {
    static_cast<Banca *>(objeto)->nome = YduplicaString("banca");
    YSoapServer_setPorta(static_cast<Banca *>(objeto), 0);
    registra(static_cast<Banca *>(objeto));
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
                    const std::string novo = eu(chama("constroi", ""));
                    meu = chama("acumula", novo + "<valor>" + segredo + "</valor>") == segredo ? novo : "";
                    continue;
                }
                const std::string total = chama("total", meu);
                confere(total, segredo);
                confere(chama("quem", "", "Quem"), "banca");
                apoio::Cliente leitor(porta);
                leitor.envia(apoio::requisicao("GET /wsdl/Alvo"));
                const apoio::Resposta r = leitor.recebe();
                estranhas += r.linha == "HTTP/1.1 200 OK" && r.corpo != "<d>m</d>" ? 1 : 0;
                const char *const fins[] = {"destroi", "vence", "suicida", "falha", "total", "total"};
                chama(fins[sorte() % 6], meu + "<falta/>");
                meu = total == apoio::NAO_CONSTA ? "" : meu;
                voltas++;
            } catch (const std::system_error &) {
                std::this_thread::yield(); // stopped just now
            }
        }
    }

    void dono(YSoapServer *servidor, unsigned semente) {
        std::mt19937 sorte(semente);
        const auto fim = std::chrono::steady_clock::now() + std::chrono::milliseconds(900);
        while (std::chrono::steady_clock::now() < fim) {
            if (sorte() % 3 == 0) {
                YObThread_stop(servidor);
            }
            YSoapServer_setDiretorioBase(servidor, sorte() % 2 == 0 ? nullptr : "/nada");
            YSoapServer_setLimiteDeConexoes(servidor, 50 + static_cast<std::uint32_t>(sorte() % 50));
            registra(servidor);
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
    std::string chama(const std::string &metodo, const std::string &parametros,
                      const std::string &portType = "Alvo") {
        return apoio::chama(porta, portType, metodo, parametros);
    }
    /// Without envelope: the connection ended, or the files answered for a server that is stopped.
    void confere(const std::string &veio, const std::string &esperado) {
        const bool certo = veio == esperado || veio == apoio::NAO_CONSTA || veio.starts_with("no envelope");
        estranhas += certo ? 0 : 1;
    }
};

TEST(Tumulto, ninguemChegaAoObjetoDeOutroENadaFica) {
    const apoio::Diario diario(0);
    for (unsigned vez = 0; vez < 3; vez++) {
        auto servidor = pramo::cria<Banca>(Banca_rtti);
        Tumulto tumulto;
        std::vector<std::jthread> donos;
        std::vector<std::jthread> clientes;
        for (unsigned i = 0; i < 2; i++) {
            donos.emplace_back([&, i] { tumulto.dono(servidor.get(), 10 * vez + i); });
        }
        for (unsigned i = 0; i < 6; i++) {
            clientes.emplace_back([&, i] { tumulto.cliente(100 + 10 * vez + i); });
        }
        donos.clear();
        servidor.reset(); // under load
        tumulto.acabou = true;
        clientes.clear();
        EXPECT_GT(tumulto.voltas, 3);
        EXPECT_EQ(tumulto.estranhas, 0);
        EXPECT_EQ(Alvo::vivos, 0);
        EXPECT_EQ(Alvo::quebrados, 0);
    }
}

} // namespace
