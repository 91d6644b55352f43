// Everything at once on a server: calls, ends, expiry, stop, start, registrations and freeing. Every
// object knows its owner's secret; no call may meet another one's.
#include "apoio/soap.hpp"

namespace {

struct Tumulto {
    std::atomic<bool> acabou{false};
    std::atomic<std::uint32_t> porta{0};
    std::atomic<int> voltas{0};

    std::string chama(const std::string &metodo, const std::string &parametros = "") {
        return apoio::chama(porta, "Alvo", metodo, parametros);
    }

    /// Makes an object, gives it a secret, and asks it for it until it is gone.
    void cliente(unsigned semente) {
        std::mt19937 sorte(semente);
        std::string meu;
        std::string segredo;
        // Without envelope: the connection ended, or the files answered for a server that is stopped.
        const auto veio = [](const std::string &oQue) { return !oQue.starts_with("no envelope"); };
        while (!acabou) {
            try {
                if (meu.empty()) {
                    segredo = std::to_string(1 + sorte() % 1'000'000'000);
                    const std::string novo = eu(chama("constroi"));
                    meu = chama("acumula", novo + "<valor>" + segredo + "</valor>") == segredo ? novo : "";
                    continue;
                }
                const std::string total = chama("total", meu);
                EXPECT_TRUE(total == segredo || total == NAO_CONSTA || !veio(total)) << total;
                const std::string gaveta = apoio::chama(porta, "Gaveta", "gaveta");
                EXPECT_TRUE(gaveta == "aberta" || !veio(gaveta)) << gaveta;
                const std::string wsdl = conversa(porta, requisicao("GET /wsdl/Alvo"));
                EXPECT_TRUE(wsdl.ends_with("<d>m</d>") || wsdl.find(" 200 ") == wsdl.npos) << wsdl;
                const char *const fins[] = {"destroi", "vence", "suicida", "falha", "total", "total"};
                chama(fins[sorte() % 6], meu + "<falta/><quando>1</quando>");
                meu = total == NAO_CONSTA ? "" : meu;
                voltas++;
            } catch (const std::system_error &) {
                std::this_thread::yield(); // stopped just now
            }
        }
    }

    void dono(YSoapServer *servidor, unsigned semente) {
        const YDefinicaoPortType portType = definicaoDoAlvo("<d>$(M)</d>");
        std::mt19937 sorte(semente);
        const auto fim = std::chrono::steady_clock::now() + std::chrono::milliseconds(900);
        while (std::chrono::steady_clock::now() < fim) {
            if (sorte() % 3 == 0) {
                YObThread_stop(servidor);
            }
            YSoapServer_setDiretorioBase(servidor, sorte() % 2 == 0 ? nullptr : "/nada");
            YSoapServer_setLimiteDeConexoes(servidor, 50 + static_cast<std::uint32_t>(sorte() % 50));
            YSoapServer_registraPortType(servidor, &portType);
            YSoapServer_registraMacro(servidor, "M", "m");
            YObThread_start(servidor);
            YSoapServer_esperaPronto(servidor, std::time(nullptr) + 2);
            porta = static_cast<std::uint32_t>(YSoapServer_getPorta(servidor));
            std::this_thread::sleep_for(std::chrono::milliseconds(sorte() % 50));
        }
        YObThread_start(servidor);
    }
};

// A server of the application's own: its handlers use a field that its destructor frees.
struct Caixa : YSoapServer {
    std::string *gaveta;
};

const YRtti *Caixa_rtti() {
    static const YObThread_Rtti descritor = [] {
        YObThread_Rtti d = YSoapServer_definicaoRtti;
        d.rtti = {YSoapServer_rtti, "Caixa", sizeof(Caixa),
                  [](void *eu) { static_cast<Caixa *>(eu)->gaveta = new std::string("aberta"); },
                  [](void *eu) { delete std::exchange(static_cast<Caixa *>(eu)->gaveta, nullptr); }};
        return d;
    }();
    return &descritor.rtti;
}

void gaveta(YWebService *servico, YNo * /*requisicao*/, YNo *resposta) {
    const auto *caixa = static_cast<Caixa *>(YWebService_getSoapServer(servico));
    YNo_setString(resposta, "return", caixa->gaveta->c_str());
}

TEST(Tumulto, ninguemChegaAoObjetoDeOutroENadaFica) {
    const Diario diario(0);
    for (unsigned vez = 0; vez < 3; vez++) {
        constexpr YDefinicaoMetodo metodos[] = {{"gaveta", gaveta}, {nullptr, nullptr}};
        ServidorSoap servidor({definicaoDoAlvo(), {"Gaveta", metodos, YWebService_rtti, nullptr, nullptr}},
                              Caixa_rtti);
        Tumulto tumulto;
        auto donos = emThreads(2, [&](unsigned i) { tumulto.dono(servidor, 10 * vez + i); });
        auto clientes = emThreads(6, [&](unsigned i) { tumulto.cliente(100 + 10 * vez + i); });
        donos.clear();
        EXPECT_TRUE(acontece([&] { return tumulto.voltas > 3; }));
        servidor.libera(); // under load
        tumulto.acabou = true;
        clientes.clear();
        EXPECT_EQ(Alvo::vivos + Alvo::quebrados, 0);
    }
}

} // namespace
