// A whole conversation over TCP while the system refuses something: the n-th allocation of the server, for
// every n, or its n-th thread. It never ends the process, and the next client is served.
#include "faltas.hpp"
#include "trabalho.hpp"

namespace {

struct Conversa : ComAlvo {
    Conversa() { servidor.registra(definicaoDaCaixa()); }

    std::string soma() { return chama("soma", "<a>2</a><b>3</b>"); }
    [[nodiscard]] YWebServer *web() const { return static_cast<YSoapServer *>(servidor)->webServer; }
    void recomeca(const std::string &quem) {
        servidor.inicia();
        EXPECT_EQ(soma(), "5") << quem;
        YObThread_stop(servidor);
    }
};

TEST_F(Conversa, semMemoriaNoComecoENoFim) {
    YObThread_stop(servidor);
    const auto comecaEPara = [&] {
        try {
            const auto novo = cria<YSoapServer>(YSoapServer_rtti);
            YSoapServer_setPorta(novo, 0);
            YObThread_start(novo);
            YObThread_start(servidor);
        } catch (const YExcecao &) {
            EXPECT_EQ(YObThread_isAlive(servidor), 0);
        }
        YObThread_stop(servidor);
    };
    emCadaAlocacao(comecaEPara, [&](const std::string &quem) { recomeca(quem); });
}

TEST_F(Conversa, semMemoriaNasChamadas) {
    poupada = true; // the client
    const auto trabalho = [&] {
        try {
            chama("nada");
            chama("acumula", eu(chama("constroi")) + "<valor>1</valor>");
            const std::string dito = servidor.conversa(pedidoSoap("Caixa", "trabalha", corpoDoTrabalho()));
            EXPECT_TRUE(dito.find("Fault") == std::string::npos || dito.find("Response") == std::string::npos)
                << dito;
        } catch (const std::system_error &) { // what fails on the server's side
        }
    };
    emCadaAlocacao(trabalho, [&](const std::string &quem) { EXPECT_EQ(soma(), "5") << quem; });
    poupada = false;
}

TEST_F(Conversa, semThreadOComecoSeDesfaz) {
    YObThread_stop(servidor);
    for (int n = 0; n < 2; n++) {
        threads.ainda = n;
        EXPECT_EQ(excecao([&] { YObThread_start(servidor); }),
                  "YExc: N\xE3o foi poss\xEDvel criar a thread.");
        threads.ainda = NUNCA;
        EXPECT_EQ(YObThread_isAlive(servidor) + YObThread_isAlive(web()), 0) << "nothing serves";
        recomeca("thread " + std::to_string(n));
    }
}

TEST_F(Conversa, semThreadAConexaoAcaba) {
    const Diario diario;
    threads.ainda = 0;
    std::vector<Cliente> clientes; // as many as threads wait for work, and one
    EXPECT_TRUE(acontece([&] {
        clientes.emplace_back(servidor.porta());
        return threads.ainda == NUNCA;
    }));
    clientes.clear();
    EXPECT_TRUE(acontece([&] { return YWebServer_getConexoes(web()) == 0; }));
    EXPECT_EQ(soma(), "5");
}

} // namespace
