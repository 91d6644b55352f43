// Service objects and their server in time: expiry, use by many at once, restart, destruction under load.
#include "apoio/alvo.hpp"
#include "apoio/soap.hpp"

#include <gtest/gtest.h>

using apoio::acontece;
using apoio::Alvo;
using apoio::chama;
using apoio::Cliente;
using apoio::envelope;
using apoio::eu;
using apoio::ServidorSoap;

namespace {

const std::string NAO_CONSTA = "YExcSoap: Servico nao consta da lista de servicos ativos.";

class SoapVida : public testing::Test {
protected:
    ServidorSoap servidor{{apoio::definicaoDoAlvo()}};

    void SetUp() override { Alvo::aberto = true; }
    void TearDown() override {
        servidor.libera();
        EXPECT_EQ(Alvo::vivos, 0);
        EXPECT_EQ(Alvo::quebrados, 0) << "a call met an object that was not whole";
    }
    std::string naAlvo(const std::string &metodo, const std::string &parametros = "") {
        return chama(servidor.porta(), "Alvo", metodo, parametros);
    }
};

/// Threads that repeat a call until told to stop, on connections of their own.
class Carga {
public:
    template <typename VOLTA>
    Carga(int quantos, VOLTA volta) {
        for (int i = 0; i < quantos; i++) {
            threads_.emplace_back([this, volta] {
                while (!chega_) {
                    try {
                        volta();
                        voltas_++;
                    } catch (const std::exception &) {
                        chega_ = true; // the server is gone
                    }
                }
            });
        }
    }
    ~Carga() { termina(); }
    Carga(const Carga &) = delete;
    Carga &operator=(const Carga &) = delete;

    void termina() {
        chega_ = true;
        for (std::thread &thread : threads_) {
            thread.join();
        }
        threads_.clear();
    }
    [[nodiscard]] bool correu(int voltas) const {
        return acontece([&] { return voltas_ >= voltas; });
    }

private:
    std::atomic<bool> chega_{false};
    std::atomic<int> voltas_{0};
    std::vector<std::thread> threads_;
};

TEST_F(SoapVida, oPrazoDerrubaEZeroConserva) {
    const std::string vencido = naAlvo("constroi");
    const std::string eterno = naAlvo("constroi");
    const std::string normal = naAlvo("constroi");
    EXPECT_EQ(naAlvo("permanece", eu(eterno)), "");
    EXPECT_EQ(naAlvo("vence", eu(vencido)), "");
    EXPECT_TRUE(acontece([] { return Alvo::vivos == 2; }));
    EXPECT_EQ(naAlvo("total", eu(vencido)), NAO_CONSTA);

    // The sweep has passed by the others; a call gives the first of them a deadline again.
    EXPECT_EQ(naAlvo("total", eu(normal)), "0");
    EXPECT_EQ(naAlvo("total", eu(eterno)), "0");
    auto *objeto = static_cast<YWebService *>(YObStrToPtr(eterno.c_str()));
    ASSERT_NE(objeto, nullptr);
    EXPECT_NEAR(static_cast<double>(YWebService_getMomentoLimite(objeto)),
                static_cast<double>(std::time(nullptr) + 1800), 5);
}

TEST_F(SoapVida, umObjetoEmUsoTerminaASuaChamada) {
    Alvo::aberto = false;
    const std::string derrubado = naAlvo("constroi");
    const std::string vencido = naAlvo("constroi");
    const std::string liberado = naAlvo("constroi");
    const auto ocupa = [&](const std::string &parametros) {
        Cliente cliente(servidor.porta());
        cliente.envia(apoio::pedidoSoap("Alvo", "espera", envelope("espera", parametros)));
        return cliente;
    };
    std::vector<Cliente> ocupados;
    for (const std::string &parametros : {eu(derrubado), eu(vencido), eu(liberado), std::string()}) {
        ocupados.push_back(ocupa(parametros));
    }
    ASSERT_TRUE(acontece([] { return Alvo::dentro == 4; }));

    EXPECT_EQ(naAlvo("destroi", eu(derrubado)), "");
    auto *daAplicacao = static_cast<YWebService *>(YObStrToPtr(liberado.c_str()));
    YWebService_setSoapServer(daAplicacao, nullptr);
    YliberaObjeto(daAplicacao);
    EXPECT_EQ(naAlvo("vence", eu(vencido)), "");
    EXPECT_TRUE(acontece([&] { return servidor.vivos() == 1; })) << "out of the live set at once";
    EXPECT_EQ(naAlvo("total", eu(derrubado)), NAO_CONSTA);
    EXPECT_EQ(naAlvo("total", eu(vencido)), NAO_CONSTA);
    EXPECT_EQ(naAlvo("total", eu(liberado)), NAO_CONSTA);
    EXPECT_EQ(Alvo::vivos, 4) << "but freed by the last call on it";
    char identidade[Y_TAMANHO_IDENTIDADE];
    YObPtrToStr(identidade, sizeof identidade, YObStrToPtr(derrubado.c_str()));
    EXPECT_EQ(identidade, derrubado) << "which still knows it by its name";

    std::thread fim([&] { servidor.libera(); }); // it waits for the calls
    Alvo::aberto = true;
    for (Cliente &cliente : ocupados) {
        EXPECT_EQ(apoio::resultado(cliente.recebe()), "0");
    }
    fim.join();
}

TEST_F(SoapVida, muitosChamamUmObjetoEnquantoOutrosODestroem) {
    for (int volta = 0; volta < 20; volta++) {
        const std::string objeto = naAlvo("constroi");
        std::atomic<int> estranhas{0};
        Carga chamadores(6, [&, porta = servidor.porta()] {
            const std::string r = chama(porta, "Alvo", "acumula", eu(objeto) + "<valor>0</valor>");
            estranhas += r != "0" && r != NAO_CONSTA ? 1 : 0;
        });
        ASSERT_TRUE(chamadores.correu(12));
        EXPECT_EQ(naAlvo("destroi", eu(objeto)), "");
        EXPECT_EQ(naAlvo("destroi", eu(objeto)), NAO_CONSTA);
        chamadores.termina();
        EXPECT_EQ(estranhas, 0);
        EXPECT_TRUE(acontece([] { return Alvo::vivos == 0; }));
    }
}

TEST_F(SoapVida, oTotalDeMuitosEExato) {
    constexpr int CLIENTES = 8;
    constexpr int CHAMADAS = 100;
    const std::string objeto = naAlvo("constroi");
    std::vector<std::thread> threads;
    for (int i = 0; i < CLIENTES; i++) {
        threads.emplace_back([&, porta = servidor.porta()] {
            Cliente cliente(porta);
            const std::string pedido =
                apoio::pedidoSoap("Alvo", "acumula", envelope("acumula", eu(objeto) + "<valor>1</valor>"));
            for (int n = 0; n < CHAMADAS; n++) {
                cliente.envia(pedido);
                cliente.recebe();
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(naAlvo("total", eu(objeto)), std::to_string(CLIENTES * CHAMADAS));
}

TEST_F(SoapVida, portTypesEMacrosMudamEnquantoSeAtende) {
    std::atomic<int> estranhas{0};
    const YDefinicaoPortType definicao = apoio::definicaoDoAlvo("$(MACRO)");
    YSoapServer_registraPortType(servidor.get(), &definicao);
    YSoapServer_registraMacro(servidor.get(), "MACRO", "valor");
    {
        Carga carga(4, [&, porta = servidor.porta()] {
            estranhas += chama(porta, "Alvo", "soma", "<a>2</a><b>3</b>") != "5" ? 1 : 0;
            Cliente cliente(porta);
            cliente.envia(apoio::requisicao("GET /wsdl/Alvo"));
            estranhas += cliente.recebe().corpo != "valor" ? 1 : 0;
        });
        ASSERT_TRUE(carga.correu(4));
        for (int i = 0; i < 300; i++) {
            YSoapServer_registraPortType(servidor.get(), &definicao);
            YSoapServer_registraMacro(servidor.get(), "MACRO", "valor");
            YSoapServer_registraMacro(servidor.get(), ("M" + std::to_string(i)).c_str(), "x");
            YSoapServer_setDiretorioBase(servidor.get(), i % 2 == 0 ? nullptr : "/tmp");
        }
        ASSERT_TRUE(carga.correu(50));
    }
    EXPECT_EQ(estranhas, 0);
}

TEST_F(SoapVida, umRecomecoConservaOsObjetos) {
    const std::string objeto = naAlvo("constroi");
    naAlvo("acumula", eu(objeto) + "<valor>7</valor>");
    for (int volta = 0; volta < 3; volta++) {
        const std::uint32_t porta = servidor.porta();
        YObThread_stop(servidor.get());
        EXPECT_EQ(YSoapServer_esperaPronto(servidor.get(), std::time(nullptr) + 10), 0) << "not alive";
        EXPECT_THROW(Cliente{porta}, std::system_error);
        YSoapServer_setPorta(servidor.get(), 4321);
        EXPECT_EQ(YSoapServer_getPorta(servidor.get()), 4321) << "of the next start";
        YSoapServer_setPorta(servidor.get(), 0);
        servidor.inicia();
        EXPECT_EQ(naAlvo("total", eu(objeto)), "7");
    }
    YObThread_start(servidor.get()); // does nothing
    EXPECT_EQ(naAlvo("total", eu(objeto)), "7");
    YObThread_stop(servidor.get());
    YObThread_stop(servidor.get());
}

TEST_F(SoapVida, destruidoSobCarga) {
    const apoio::Diario diario(0);
    for (int volta = 0; volta < 10; volta++) {
        ServidorSoap outro({apoio::definicaoDoAlvo()});
        Carga carga(6, [porta = outro.porta()] {
            const std::string objeto = chama(porta, "Alvo", "constroi");
            chama(porta, "Alvo", "acumula", eu(objeto) + "<valor>1</valor>");
            chama(porta, "Alvo", "padrao");
        });
        ASSERT_TRUE(carga.correu(6));
        const auto inicio = std::chrono::steady_clock::now();
        outro.libera();
        EXPECT_LT(std::chrono::steady_clock::now() - inicio, std::chrono::seconds(3));
        carga.termina();
        EXPECT_EQ(Alvo::vivos, 0);
    }
}

template <auto ACAO>
void noServidor(YWebService *servico, YNo * /*requisicao*/, YNo * /*resposta*/) {
    ACAO(YWebService_getSoapServer(servico));
}

void paraEComeca(YObThread *thread) {
    try {
        YObThread_stop(thread);
    } catch (const YExcecao &) {
        YObThread_start(thread); // alive still: nothing to do
        throw;
    }
}

TEST_F(SoapVida, umTratadorNaoMudaAVidaDoSeuServidor) {
    const YDefinicaoMetodo metodos[] = {
        {"fim", noServidor<YliberaObjeto>}, {"para", noServidor<paraEComeca>}, {nullptr, nullptr}};
    const YDefinicaoPortType definicao = {"Fim", metodos, YWebService_rtti, nullptr, nullptr};
    YSoapServer_registraPortType(servidor.get(), &definicao);
    for (const char *metodo : {"fim", "para"}) {
        EXPECT_EQ(chama(servidor.porta(), "Fim", metodo), "YExc: Objeto em uso pela propria thread.")
            << metodo;
        EXPECT_EQ(naAlvo("soma", "<a>2</a><b>3</b>"), "5");
    }
}

TEST_F(SoapVida, fechaLogo) {
    YSoapServer_setFechaLogo(servidor.get(), 1);
    const std::string corpo = envelope("soma", "<a>2</a><b>3</b>");
    const auto inicio = std::chrono::steady_clock::now();
    Cliente cliente(servidor.porta());
    cliente.envia(apoio::requisicao("POST /Alvo", "SOAPAction: #soma\r\nConnection: close\r\n", corpo));
    EXPECT_EQ(apoio::resultado(cliente.recebe()), "5");
    EXPECT_TRUE(cliente.fechou());
    EXPECT_LT(std::chrono::steady_clock::now() - inicio, std::chrono::seconds(1));
}

} // namespace
