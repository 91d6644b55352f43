// The web server over TCP: framing, what reaches a handler, what is answered without one, bounds.
#include "apoio/servidor.hpp"

namespace {

const std::string LINHA_501 = "HTTP/1.1 501 Not Implemented.\n";
const std::string LINHA_413 = "HTTP/1.1 413 Content Too Large.\n";
const std::string LINHA_503 = "HTTP/1.1 503 Service Unavailable.\n";

/// Answers with what it was given: request line, URI, body; some URIs fail, wait or leave something behind.
/// Counts its calls in the context.
void ecoa(void *contexto, char *uri, YMensagemHttp *requisicao, YMensagemHttp *resposta) {
    ++*static_cast<std::atomic<int> *>(contexto);
    const std::string_view qual = uri;
    if (qual == "/501" || qual == "/yexc") {
        YContextoTry_throw(qual == "/501" ? YExcNaoImplementado_rtti : YExcIOError_rtti, "falha de teste",
                           "Teste", 1);
    } else if (qual == "/std") {
        throw std::runtime_error("falha de teste");
    } else if (qual == "/int") {
        throw 7;
    } else if (qual == "/detalhe") {
        YContextoTry_printf("de outra requisicao. ");
    } else if (qual == "/outroSegundo") {
        YDIC_guarda(YMensagemHttp_getHeader(resposta), "X-Desta", "so");
        EXPECT_TRUE(acontece([agora = std::time(nullptr)] { return std::time(nullptr) > agora; }));
    }
    YStream *corpo = YMensagemHttp_getBody(requisicao);
    YStream_puts(YMensagemHttp_getPrimeiraLinha(resposta), "200 OK");
    YMensagemHttp_printf(resposta, "%s|%s|", YStream_str(YMensagemHttp_getPrimeiraLinha(requisicao)), uri);
    YMensagemHttp_putBloco(resposta, YStream_str(corpo), YStream_tam(corpo));
}

struct Http : testing::Test {
    std::atomic<int> chamadas{0};
    Servidor servidor{ecoa, &chamadas};

    /// The bodies of all answers on a connection of its own, and what is no answer behind them.
    std::function<std::string(const std::string &)> corpos = [this](const std::string &bytes) {
        Cliente cliente(servidor.porta());
        std::string todos;
        cliente.envia(bytes);
        cliente.terminaEnvio();
        for (Resposta r = cliente.recebe(); !r.linha.empty(); r = cliente.recebe()) {
            todos += r.corpo;
        }
        return todos + cliente.recebeBytes();
    };
};

TEST_F(Http, oQueTodaRespostaTrazENadaDaAnterior) {
    Cliente cliente(servidor.porta());
    cliente.envia(requisicao("GET /outroSegundo") + requisicao("GET /a"));
    Resposta r = cliente.recebe();
    const std::string data = r.campos["date"];
    EXPECT_EQ(r.campos["x-desta"], "so");
    EXPECT_EQ(cliente.recebe().bytes,
              "HTTP/1.1 200 OK\nContent-Type: text/html; charset=ISO-8859-1\nConnection: close\nDate: " +
                  data + "\nContent-Length: 19\n\nGET /a HTTP/1.1|/a|")
        << "a batch has one date";
    std::tm tm{};
    strptime(data.c_str(), "%d %b %Y %H:%M:%S GMT", &tm);
    EXPECT_NEAR(static_cast<double>(timegm(&tm)), static_cast<double>(std::time(nullptr)), 3);
    cliente.envia(requisicao("HEAD /a") + requisicao("PUT /a"));
    EXPECT_EQ(cliente.recebe().campos["content-length"], "0");
    EXPECT_EQ(cliente.recebe().linha, "HTTP/1.1 501 Not Implemented");
    EXPECT_EQ(chamadas, 3) << "PUT does not reach the handler";
}

// Rows in which nothing may follow the text have another request in it, which must not be answered.
TEST_F(Http, requisicoesEstranhas) {
    const std::string outra = requisicao("GET /outra");
    const Casos casos = {
        // Line ends, blanks, words.
        {" \tGET \t /%n%s   HTTP/1.1 de mais\n\n", " \tGET \t /%n%s   HTTP/1.1 de mais|/%n%s|"},
        {"GET \xE7\xFF HTTPS1.1\n\n", "GET \xE7\xFF HTTPS1.1|\xE7\xFF|"},
        // Methods.
        {outra + "OPTIONS * HTTP/1.1\n\n" + outra, "GET /outra HTTP/1.1|/outra|" + LINHA_501},
        // Bodies.
        {"POST /x HTTP/1.1\ncontent-LENGTH:  3  \n\na\0\n"s, "POST /x HTTP/1.1|/x|a\0\n"s},
        {"POST /x HTTP/1.1\nContent-Length: +3\n\nabc" + outra, "POST /x HTTP/1.1|/x|abc"},
        {"POST /x HTTP/1.1\nContent-Length: -1\n\n" + outra, ""},
        {"POST /x HTTP/1.1\nContent-Length: 99999999999999999999\n\n" + outra, LINHA_413},
        {"POST /x HTTP/1.1\nContent-Length: 3\ntransfer-encoding: identity\n\nabc" + outra,
         "HTTP/1.1 411 Length Required.\n"},
    };
    const Diario diario;
    confere(corpos, casos);
    for (const std::string malFormada : {"\r", "GET /x", "     ", "GET /x FTP/1.0", "GET /x http/1.1",
                                         "GET /x HTTP/1.2", "GET /x HTTP/1.", "DELETE /x HTTP/2.0"}) {
        EXPECT_EQ(corpos(malFormada + "\n\n" + outra), "") << malFormada;
    }
    EXPECT_TRUE(acontece([&] {
        servidor.conversa("lixo\n\n");
        return diario.quantos("[mais ") > 0; // failures of one second are counted
    }));
}

TEST_F(Http, cortadaDepoisDeCadaByteEUmByteDeCadaVez) {
    const std::string cabeca = "POST /x HTTP/1.1\r\nContent-Length: 5\r\nExpect: 100-Continue\r\n\r\n";
    const std::string inteira = cabeca + "12345";
    const std::string continua = "HTTP/1.1 100 Continue\n\n";
    Cliente cliente(servidor.porta());
    for (std::size_t n = 0; n < inteira.size(); n++) {
        EXPECT_EQ(servidor.conversa(inteira.substr(0, n)), n < cabeca.size() ? "" : continua) << n;
        EXPECT_EQ(n == cabeca.size() ? cliente.recebeBytes(continua.size()) : continua, continua);
        cliente.envia(inteira.substr(n, 1));
    }
    EXPECT_EQ(cliente.recebe().corpo, "POST /x HTTP/1.1|/x|12345");
    EXPECT_EQ(chamadas, 1) << "half a request must not run anything";
}

TEST_F(Http, limitesExatos) {
    YWebServer_setLimiteDoCabecalho(servidor, 100);
    YWebServer_setLimiteDoCorpo(servidor, 10);
    const std::string inicio = "POST /x HTTP/1.1\r\nContent-Length: 10\r\nA: ";
    const std::string exata = inicio + std::string(100 - inicio.size() - 4, 'a');
    EXPECT_EQ(corpos(exata + "\r\n\r\n0123456789"), "POST /x HTTP/1.1|/x|0123456789");
    EXPECT_EQ(corpos(exata + "a\r\n\r\n0123456789"), "HTTP/1.1 431 Request Header Fields Too Large.\n");
    const std::string grande = requisicao("POST /x", "Expect: 100-continue\r\n", "0123456789a");
    EXPECT_EQ(conversa(servidor.porta(), grande), LINHA_413) << "and nothing in front of it";
}

// A reset might take answers on their way from a client that is still sending, whatever ends the connection.
TEST_F(Http, quemAindaEnviaRecebeTudo) {
    const std::string muito = requisicao("GET /" + std::string(60'000, 'u'));
    const std::string fimDoServidor = "POST / HTTP/1.1\nContent-Length: 50000000\n\n";
    const std::pair<std::string, std::string> fins[] = {
        {"mal formada\n\n", ""},
        {requisicao("GET /std"), ""},
        {"GET / HTTP/1.1\nsem dois pontos\n", "|/|"},
        {"POST / HTTP/1.1\nContent-Length: 67108865\n\n", LINHA_413},
        {fimDoServidor, ""},
    };
    const Diario diario;
    for (const auto &[fim, resto] : fins) {
        chamadas = 0;
        Cliente cliente(servidor.porta());
        cliente.envia(muito + muito + fim);
        EXPECT_TRUE(acontece([&] { return chamadas >= 2; }));
        const auto destruidor = emThreads(fim == fimDoServidor ? 1 : 0, [&](int) { servidor.libera(); });
        cliente.envia(std::string(4'000'000, 'c'));
        EXPECT_EQ(cliente.recebe().corpo.size() + cliente.recebe().corpo.size(), 2 * 120'017U) << fim;
        EXPECT_TRUE(cliente.recebeBytes().ends_with(resto)) << fim;
    }
}

TEST_F(Http, todosOsCorposJuntosTemLimite) {
    constexpr std::size_t MB = std::size_t{1} << 20;
    YWebServer_setLimiteDosCorpos(servidor, 2 * MB + MB / 2);
    const std::string um = requisicao("POST /x", "", std::string(MB, 'c'));
    EXPECT_TRUE(acontece([&] {
        Cliente parado(servidor.porta()); // its body is not all there, and leaves too little for another
        parado.envia(requisicao("POST /x", "", std::string(2 * MB, 'p')).substr(0, MB + MB / 2));
        // Unless that one was the first.
        return corpos(um) == LINHA_503 && corpos(requisicao("GET /x")) == "GET /x HTTP/1.1|/x|";
    }));
    EXPECT_TRUE(acontece([&] { return corpos(um).ends_with("cc"); })) << "there is room again";
    YWebServer_setLimiteDosCorpos(servidor, MB + 10);
    EXPECT_EQ(corpos(um), LINHA_503) << "an answer that finds no room";
}

TEST_F(Http, fechaLogo) {
    YWebServer_setFechaLogo(servidor, 1);
    const auto ultimo = [this](const std::string &resto) {
        const std::string todos = corpos("GET /a HTTP/" + resto + "\n" + requisicao("GET /b"));
        return todos.substr(todos.size() - 4);
    };
    confere(ultimo, {{"1.0\n", "|/a|"}, {"1.1\nConnection: TE,  Close \n", "|/a|"}});
    confere(ultimo, {{"1.1\n", "|/b|"}, {"1.0\nConnection: Keep-Alive\n", "|/b|"}});
}

// A connection ends two seconds after its last batch began, with nothing more written to it; a request that
// has begun, when its own time is over. Lines that drip in renew nothing.
TEST_F(Http, prazosDoLoteEDaRequisicao) {
    const std::string linha = "POST /x HTTP/1.1\r\n";
    const std::string meioCorpo = linha + "Content-Length: 9\r\n\r\nabc";
    const Servidor paciente(ecoa, &chamadas);
    const Servidor apressado(ecoa, &chamadas);
    YWebServer_setPrazoDaRequisicao(paciente, 20);
    YWebServer_setPrazoDaRequisicao(apressado, 1);
    Cliente lento(paciente.porta());
    lento.envia(meioCorpo);
    const std::time_t inicio = std::time(nullptr);
    std::vector<Cliente> mudos;
    for (const std::string &meia : {""s, "GET /x HT"s, meioCorpo, linha, linha}) {
        mudos.emplace_back((mudos.size() < 4 ? servidor : apressado).porta()).envia(meia);
    }
    const auto gotas = emThreads(2, [&](int qual) {
        for (int n = 0; n < 300 && mudos[3 + qual].envia("A: b\n"); n++) {
            std::this_thread::sleep_for(20ms);
        }
    });
    Cliente fiel(servidor.porta());
    EXPECT_EQ(fiel.pede(requisicao("GET /1")), "GET /1 HTTP/1.1|/1|") << "it does not wait for the others";
    for (Cliente &mudo : mudos) {
        EXPECT_TRUE(mudo.fechou());
        EXPECT_NEAR(static_cast<double>(std::time(nullptr) - inicio), 2.5, 1.5);
    }
    EXPECT_EQ(lento.pede("123456"), "POST /x HTTP/1.1|/x|abc123456");
    EXPECT_EQ(fiel.pede(requisicao("GET /2")), "GET /2 HTTP/1.1|/2|") << "its second batch has begun";
    EXPECT_TRUE(fiel.fechou());
}

// ---- Handlers ----

TEST_F(Http, excecoesAcabamSoAConexao) {
    const Diario diario;
    const std::string boa = requisicao("GET /x");
    EXPECT_EQ(corpos(requisicao("GET /501") + boa), LINHA_501);
    for (const char *uri : {"GET /yexc", "GET /std", "GET /int"}) {
        const std::string pedidos = requisicao("GET /detalhe") + requisicao(uri) + boa;
        EXPECT_EQ(corpos(pedidos), "GET /detalhe HTTP/1.1|/detalhe|") << uri;
    }
    EXPECT_EQ(corpos(boa), "GET /x HTTP/1.1|/x|");
    EXPECT_TRUE(acontece([&] { return YWebServer_getConexoes(servidor) == 0; }));
    EXPECT_EQ(diario.quantos("") + diario.quantos("de outra requisicao"), 3) << "each is logged once";
}

// The one handler would not survive the other one's context.
TEST_F(Http, oTratadorEOSeuContextoMudamJuntos) {
    const auto semContexto = [](void *contexto, char *, auto *, auto *) { EXPECT_EQ(contexto, nullptr); };
    const std::jthread troca([&](const std::stop_token &fim) {
        while (!fim.stop_requested()) {
            EXPECT_EQ(YWebServer_setTratador(servidor, nullptr, semContexto).funcao, ecoa);
            EXPECT_EQ(YWebServer_setTratador(servidor, &chamadas, ecoa).contexto, nullptr);
        }
    });
    Cliente cliente(servidor.porta());
    for (int i = 0; i < 1200; i++) {
        ASSERT_NE(cliente.pergunta(requisicao("GET /")).linha, "") << i;
    }
}

} // namespace
