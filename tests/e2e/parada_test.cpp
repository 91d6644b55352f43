// The web server's life: start, stop, start again, destruction under load, limits of connections.
#include "apoio/servidor.hpp"

namespace {

template <typename ACAO>
auto duracao(ACAO acao) {
    const auto inicio = std::chrono::steady_clock::now();
    acao();
    return std::chrono::steady_clock::now() - inicio;
}

struct Parada : testing::Test {
    std::atomic<int> dentro{0}; // handlers that wait until the test lets them go
    std::atomic<bool> aberto{false};
    std::atomic<bool> demolido{false};
    const Diario diario;
    Servidor servidor{responde, this, derivada};

    static void responde(void *teste, char *uri, YMensagemHttp * /*requisicao*/, YMensagemHttp *resposta) {
        auto &eu = *static_cast<Parada *>(teste);
        if (uri == "/espera"sv) {
            eu.dentro++;
            EXPECT_TRUE(acontece([&] { return eu.aberto.load(); }));
        }
        const std::string muito(uri == "/muito"sv ? 64 << 20 : 0, 'm');
        YStream_puts(YMensagemHttp_getBody(resposta), eu.demolido ? "tarde" : ("ola" + muito).c_str());
    }

    // A class derived from the web server, which is whole until the last call of its handler has ended.
    static const YRtti *derivada() {
        static YObThread_Rtti descritor = YWebServer_definicaoRtti;
        descritor.rtti = {YWebServer_rtti, "Derivada", sizeof(YWebServer), nullptr, [](void *objeto) {
                              void *teste = static_cast<YWebServer *>(objeto)->contextoTratador;
                              static_cast<Parada *>(teste)->demolido = true;
                          }};
        return &descritor.rtti;
    }

    /// The answer on a new connection; "" when nobody listens.
    [[nodiscard]] static std::string pede(std::uint32_t porta) {
        try {
            return Cliente(porta).pede(requisicao("GET /"));
        } catch (const std::system_error &) {
            return "";
        }
    }
};

TEST_F(Parada, ociosoParaLogoERecomecaEAsConexoesVivemAlem) {
    for (int volta = 0; volta < 3; volta++) {
        const std::uint32_t porta = servidor.porta();
        Cliente cliente(porta); // with it the system gives the port to nobody who asks for any
        EXPECT_EQ(cliente.pede(requisicao("GET /1")), "ola");
        EXPECT_LT(duracao([&] { YObThread_stop(servidor); }), 1s);
        EXPECT_EQ(pede(porta), "");
        EXPECT_EQ(cliente.pede(requisicao("GET /2")), "ola");
        YWebServer_setPorta(servidor, porta);
        YWebServer_setLimiteDoCabecalho(servidor, 100 + volta); // set while it is stopped, and kept
        servidor.inicia();
        const std::string longa = requisicao("GET /" + std::string(100, 'x'));
        EXPECT_EQ(conversa(porta, longa), "HTTP/1.1 431 Request Header Fields Too Large.\n");
        EXPECT_THROW(Cliente(porta, 0, {htonl(INADDR_LOOPBACK)}), std::system_error) << "listens elsewhere";
        EXPECT_EQ(servidor.porta(), porta) << "an address just used is used again";
        EXPECT_EQ(pede(porta), "ola");
    }
}

TEST_F(Parada, aChamadaEmCursoTerminaEORestoAcabaLogo) {
    Cliente ocupado(servidor.porta());
    ocupado.envia(requisicao("GET /espera") + requisicao("GET /2"));
    std::vector<Cliente> outros;
    for (const char *inicio :
         {"", "GET / HTTP/1.1\nA: b", "GET / HTTP/1.1\nContent-Length: 1000000\n\nabc"}) {
        outros.emplace_back(servidor.porta()).envia(inicio);
    }
    EXPECT_TRUE(acontece([&] { return YWebServer_getConexoes(servidor) == 4 && dentro == 1; }));
    const auto destruidor = emThreads(1, [&](int) { servidor.libera(); });
    for (Cliente &outro : outros) {
        EXPECT_LT(duracao([&] { EXPECT_TRUE(outro.fechou()); }), 1s);
    }
    aberto = true;
    EXPECT_EQ(ocupado.recebe().corpo, "ola") << "its answer arrives";
    EXPECT_TRUE(ocupado.fechou()) << "the request behind it is not begun";
}

TEST_F(Parada, quemNaoLeARespostaSeguraSoOPrazo) {
    YWebServer_setPrazoDeEncerramento(servidor, 1);
    Cliente cliente(servidor.porta());
    cliente.envia(requisicao("GET /muito"));
    EXPECT_EQ(cliente.recebeBytes(5), "HTTP/");
    const auto durou = duracao([&] { servidor.libera(); });
    EXPECT_TRUE(durou >= 1s && durou < 4s);
    EXPECT_EQ(diario.quantos("Falha no envio pelo socket."), 1);
}

// ---- What there is not enough of ----

// A newcomer takes the place of whoever has been idle longest, but of nobody within a request.
TEST_F(Parada, limiteDeConexoes) {
    YWebServer_setLimiteDeConexoes(servidor, 3);
    Cliente ocioso(servidor.porta());
    EXPECT_EQ(ocioso.pede(requisicao("GET /")), "ola");
    Cliente recente(servidor.porta());
    EXPECT_EQ(recente.pede(requisicao("GET /")), "ola");
    Cliente noMeio(servidor.porta());
    noMeio.envia("GET / HTTP/1.1\r\n");
    EXPECT_TRUE(acontece([&] { return YWebServer_getConexoes(servidor) == 3; }));
    EXPECT_EQ(pede(servidor.porta()), "ola");
    EXPECT_TRUE(ocioso.fechou());
    EXPECT_EQ(recente.pede(requisicao("GET /")), "ola");
    EXPECT_EQ(noMeio.pede("\r\n"), "ola");

    std::vector<Cliente> ocupados;
    for (int i = 0; i < 4; i++) {
        EXPECT_TRUE(acontece([&] { return dentro == i; }));
        EXPECT_LE(YWebServer_getConexoes(servidor), 3U);
        ocupados.emplace_back(servidor.porta()).envia(requisicao("GET /espera"));
    }
    aberto = true;
    for (Cliente &ocupado : ocupados) {
        EXPECT_EQ(ocupado.recebe().corpo, "ola") << "all were at work: the newcomer waited";
    }
    YWebServer_setLimiteDeConexoes(servidor, 0);
    EXPECT_LT(duracao([&] { servidor.libera(); }), 1s) << "also while it waits for a place";
}

TEST_F(Parada, portaOcupadaRegistradaUmaVezETentadaDeNovo) {
    const auto outro = cria<YWebServer>(YWebServer_rtti);
    const auto pronto = [&] { return YWebServer_esperaPronto(outro, std::time(nullptr) + 10); };
    YWebServer_setPorta(outro, servidor.porta());
    Cliente cliente(servidor.porta()); // what is left of it keeps the port from anybody else
    EXPECT_EQ(cliente.pede(requisicao("GET /")), "ola");
    YObThread_start(outro);
    EXPECT_LT(duracao([&] { EXPECT_EQ(pronto(), 0); }), 5s) << "it does not wait for the deadline";
    servidor.libera();
    EXPECT_TRUE(acontece([&] { return pronto() == 1; }));
    EXPECT_EQ(diario.quantos("Porta n"), 1);
}

TEST_F(Parada, ouvinteQueFalhaEFeitoDeNovo) {
    for (int volta = 0; volta < 3; volta++) {
        for (int fd = 3; fd < 1024; fd++) {
            shutdown(fd, SHUT_RDWR); // the listener's is among them
        }
        EXPECT_TRUE(acontece([&] { return pede(servidor.porta()) == "ola"; }));
    }
    EXPECT_EQ(diario.quantos("O ouvinte falhou. Falha aceitando"), 1);
}

TEST_F(Parada, semDescritoresContinua) {
    Cliente cliente(servidor.porta());
    EXPECT_EQ(cliente.pede(requisicao("GET /1")), "ola");
    rlimit antes{};
    getrlimit(RLIMIT_NOFILE, &antes);
    const rlimit nenhum{0, antes.rlim_max};
    setrlimit(RLIMIT_NOFILE, &nenhum);
    EXPECT_TRUE(acontece([&] { return diario.quantos("Falha aceitando") == 1; }));
    EXPECT_EQ(cliente.pede(requisicao("GET /2")), "ola") << "connections go on";
    setrlimit(RLIMIT_NOFILE, &antes);
    EXPECT_EQ(pede(servidor.porta()), "ola");
}

} // namespace
