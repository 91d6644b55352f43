// The TCP server: a handler for each connection, how connections end, how many there may be.
#include "apoio/servidor.hpp"

using namespace apoio;

namespace {

class Tcp : public testing::Test {
protected:
    static inline std::atomic<bool> demolido;
    std::atomic<int> dentro{0};
    const Diario diario;
    ServidorTcp servidor{derivada};

    void SetUp() override {
        demolido = false;
        EXPECT_EQ(YTcpServer_setTratador(servidor, this, ecoa).funcao, nullptr);
        servidor.inicia();
    }

    // Gives lines back, and says goodbye; some lines are orders.
    static void ecoa(void *teste, YTcpServer *servidor, YSocket *socket) {
        auto &eu = *static_cast<Tcp *>(teste);
        eu.dentro++;
        const auto linha = cria<YStream>(YStream_rtti);
        while (YSocket_recebeLinhaMs(socket, linha, 10'000) == Y_ESPERA_PRONTA) {
            const std::string ordem = conteudo(linha);
            ordem == "yexc" ? YContextoTry_throw(YExcIOError_rtti, "falha de teste", "Teste", 1) : void();
            const std::string longa = std::string(190, 'm') + "4111111111111111";
            ordem == "longa" ? YContextoTry_throw(YExcIOError_rtti, longa.c_str(), "Teste", 2) : void();
            ordem == "int" ? throw 42 : void();
            ordem == "sai" ? pthread_exit(nullptr) : void();
            if (ordem == "acaba") {
                YSocket_printf(socket, "%s|%s|", excecao([&] { YObThread_stop(servidor); }).c_str(),
                               excecao([&] { YliberaObjeto(servidor); }).c_str());
                return;
            } else if (ordem == "trabalha") {
                EXPECT_TRUE(acontece([&] { return YObThread_isAlive(servidor) == 0; }));
            }
            YSocket_printf(socket, "%s\n", ordem.c_str());
        }
        YSocket_printf(socket, demolido ? "tarde" : "adeus");
        eu.dentro--;
    }

    // A class derived from it, which is whole until its last handler has returned.
    static const YRtti *derivada() {
        static YObThread_Rtti descritor = YTcpServer_definicaoRtti;
        descritor.rtti = {YTcpServer_rtti, "Derivada", 0, nullptr, [](void *) { demolido = true; }};
        return &descritor.rtti;
    }
};

TEST_F(Tcp, muitasAoMesmoTempoEPararNaoAsEncerra) {
    std::vector<Cliente> clientes;
    for (int i = 0; i < 40; i++) {
        clientes.emplace_back(servidor.porta()).envia("um\n");
    }
    EXPECT_TRUE(acontece([&] { return dentro == 40 && YTcpServer_getConexoes(servidor) == 40; }));
    YObThread_stop(servidor);
    for (Cliente &cliente : clientes) {
        cliente.envia("outro\n");
        cliente.terminaEnvio();
        EXPECT_EQ(cliente.recebeBytes(), "um\noutro\nadeus");
    }
}

TEST_F(Tcp, oLimiteFazEsperarESemTratadorAcabaLogo) {
    YTcpServer_setLimiteDeConexoes(servidor, 2);
    std::vector<Cliente> clientes;
    for (int i = 0; i < 6; i++) {
        clientes.emplace_back(servidor.porta()).envia("um\n");
        EXPECT_TRUE(acontece([&] { return dentro == std::min(i + 1, 2); }));
    }
    for (Cliente &cliente : clientes) {
        EXPECT_EQ(cliente.recebeBytes(3), "um\n");
        EXPECT_LE(dentro, 2);
        cliente.terminaEnvio();
        EXPECT_EQ(cliente.recebeBytes(), "adeus");
    }
    YTcpServer_setTratador(servidor, nullptr, nullptr);
    EXPECT_EQ(conversa(servidor.porta(), "um\n"), "");
}

TEST_F(Tcp, oQueSaiDoTratadorSoEncerraASuaConexao) {
    const std::string emUso = "YExc: Objeto em uso pela própria thread.|"_l1;
    Cliente outro(servidor.porta());
    for (const auto &[ordem, resposta] :
         {std::pair("yexc"s, ""s), {"longa", ""}, {"int", ""}, {"sai", ""}, {"acaba", emUso + emUso}}) {
        EXPECT_EQ(conversa(servidor.porta(), "um\n" + ordem + "\nnunca\n"), "um\n" + resposta) << ordem;
        outro.envia(ordem + "?\n");
        EXPECT_EQ(outro.recebeBytes(ordem.size() + 2), ordem + "?\n");
    }
    EXPECT_EQ(diario.quantos("YTcpServer_trataConexao: YExcIOError: falha de teste (Teste:1)"), 1);
    EXPECT_EQ(diario.quantos("mm411111**** (Teste:2)"), 1) << "masked, then cut";
    EXPECT_EQ(diario.quantos(""), 3);
}

TEST_F(Tcp, umaSaidaDoLogQueTerminaASuaThreadSoTerminaEla) {
    YObLOG_setSaida([](void *, int, const char *) { pthread_exit(nullptr); }, nullptr);
    EXPECT_EQ(conversa(servidor.porta(), "int\n") + conversa(servidor.porta(), "um\n"), "um\nadeus");
}

template <char NOME>
void diz(void *nome, YTcpServer * /*servidor*/, YSocket *socket) {
    YSocket_putchar(socket, *static_cast<char *>(nome) == NOME ? NOME : '?');
}

TEST_F(Tcp, oTratadorVemComOSeuContexto) {
    char a = 'a';
    char b = 'b';
    YTcpServer_setTratador(servidor, &a, diz<'a'>);
    std::atomic<bool> acabou{false};
    const auto troca = emThreads(1, [&](int) {
        while (!acabou) {
            EXPECT_EQ(YTcpServer_setTratador(servidor, &b, diz<'b'>).contexto, &a);
            EXPECT_EQ(YTcpServer_setTratador(servidor, &a, diz<'a'>).funcao, diz<'b'>);
        }
    });
    for (int i = 0; i < 200; i++) {
        EXPECT_NE(conversa(servidor.porta(), ""), "?");
    }
    acabou = true;
}

TEST_F(Tcp, liberarAcordaQuemLeEEsperaQuemTrabalha) {
    Cliente leitor(servidor.porta());
    Cliente trabalhador(servidor.porta());
    leitor.envia("meia linha");
    trabalhador.envia("trabalha\n");
    EXPECT_TRUE(acontece([&] { return dentro == 2; }));
    const time_t inicio = std::time(nullptr);
    servidor.libera(); // the handlers would wait for ten seconds
    EXPECT_TRUE(demolido && std::time(nullptr) < inicio + 4);
    EXPECT_EQ(leitor.recebeBytes(), "adeus");
    EXPECT_EQ(trabalhador.recebeBytes(), "trabalha\nadeus");
}

} // namespace
