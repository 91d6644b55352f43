// The web server over TCP: framing, what reaches a handler, what is answered without one, bounds.
#include "apoio/cliente.hpp"
#include "apoio/servidor.hpp"

#include <gtest/gtest.h>

#include <atomic>

using namespace apoio;
using namespace std::literals;

namespace {

const std::string LINHA_501 = "HTTP/1.1 501 Not Implemented.\n";
const std::string LINHA_411 = "HTTP/1.1 411 Length Required.\n";
const std::string LINHA_413 = "HTTP/1.1 413 Content Too Large.\n";
const std::string LINHA_431 = "HTTP/1.1 431 Request Header Fields Too Large.\n";
const std::string LINHA_503 = "HTTP/1.1 503 Service Unavailable.\n";

/// Answers with what it was given: request line, URI, body; some URIs fail or wait. Counts its calls in the
/// context.
void ecoa(void *contexto, char *uri, YMensagemHttp *requisicao, YMensagemHttp *resposta) {
    ++*static_cast<std::atomic<int> *>(contexto);
    const std::string_view qual = uri;
    if (qual == "/501") {
        YContextoTry_throw(YExcNaoImplementado_rtti, "um dia", "Teste", 1);
    } else if (qual == "/yexc") {
        YContextoTry_throw(YExcIOError_rtti, "falha de teste", "Teste", 1);
    } else if (qual == "/std") {
        throw std::runtime_error("falha de teste");
    } else if (qual == "/int") {
        throw 7;
    } else if (qual == "/detalhe") {
        YContextoTry_printf("de outra requisicao. ");
    } else if (qual == "/outroSegundo") {
        EXPECT_TRUE(acontece([agora = std::time(nullptr)] { return std::time(nullptr) > agora; }));
    }
    YStream *corpo = YMensagemHttp_getBody(requisicao);
    YStream_puts(YMensagemHttp_getPrimeiraLinha(resposta), "200 OK");
    YMensagemHttp_printf(resposta, "%s|%s|", YStream_str(YMensagemHttp_getPrimeiraLinha(requisicao)), uri);
    YMensagemHttp_putBloco(resposta, YStream_str(corpo), YStream_tam(corpo));
}

class Http : public testing::Test {
protected:
    std::atomic<int> chamadas{0};
    Servidor servidor{ecoa, &chamadas};

    /// The bodies of all answers on a connection of its own, and what is no answer behind them.
    [[nodiscard]] std::string corpos(const std::string &bytes) const {
        Cliente cliente(servidor.porta());
        cliente.envia(bytes);
        cliente.terminaEnvio();
        std::string todos;
        for (Resposta r = cliente.recebe(); !r.linha.empty(); r = cliente.recebe()) {
            todos += r.corpo;
        }
        return todos + cliente.recebeBytes();
    }
};

TEST_F(Http, oQueTodaRespostaTraz) {
    Cliente cliente(servidor.porta());
    cliente.envia(requisicao("GET /a"));
    Resposta r = cliente.recebe();
    const std::string data = r.campos["date"];
    EXPECT_EQ(r.bytes,
              "HTTP/1.1 200 OK\nContent-Type: text/html; charset=ISO-8859-1\nConnection: close\nDate: " +
                  data + "\nContent-Length: 19\n\nGET /a HTTP/1.1|/a|");
    std::tm tm{};
    const char *fim = strptime(data.c_str(), "%d %b %Y %H:%M:%S GMT", &tm);
    ASSERT_TRUE(fim != nullptr && *fim == 0) << data;
    EXPECT_NEAR(static_cast<double>(timegm(&tm)), static_cast<double>(std::time(nullptr)), 3);
    for (const std::string metodo : {"HEAD", "PUT"}) {
        cliente.envia(requisicao(metodo + " /a"));
        r = cliente.recebe();
        EXPECT_EQ(r.linha, metodo == "PUT" ? "HTTP/1.1 501 Not Implemented" : "HTTP/1.1 200 OK");
        EXPECT_EQ(r.campos["content-length"] + r.campos["content-type"], "0text/html; charset=ISO-8859-1");
    }
    EXPECT_EQ(chamadas, 2) << "PUT does not reach the handler";
    EXPECT_EQ(cliente.pede(requisicao("POST /b", "", "12345")), "POST /b HTTP/1.1|/b|12345")
        << "the connection is still usable";
}

// Rows in which nothing may follow the text have another request in it, which must not be answered.
TEST_F(Http, requisicoesEstranhas) {
    const std::string outra = requisicao("GET /outra");
    const std::string longa(60000, 'u');
    std::vector<std::pair<std::string, std::string>> casos = {
        // Line ends, blanks, words.
        {" \tGET \t /%n%s   HTTP/1.1 de mais\n\n", " \tGET \t /%n%s   HTTP/1.1 de mais|/%n%s|"},
        {"GET \xE7\xFF HTTPS1.1\n\n", "GET \xE7\xFF HTTPS1.1|\xE7\xFF|"},
        {"GET /" + longa + " HTTP/1.1\n\n", "GET /" + longa + " HTTP/1.1|/" + longa + "|"},
        // Methods.
        {outra + "OPTIONS * HTTP/1.1\n\n" + outra, "GET /outra HTTP/1.1|/outra|" + LINHA_501},
        // Header blocks.
        {"GET /x HTTP/1.1\nsem dois pontos\n" + outra, "GET /x HTTP/1.1|/x|"},
        {longa + longa, LINHA_431},
        // Bodies.
        {"POST /x HTTP/1.1\ncontent-LENGTH:  3  \n\na\0\n"s, "POST /x HTTP/1.1|/x|a\0\n"s},
        {"POST /x HTTP/1.1\nContent-Length: +3\n\nabc" + outra, "POST /x HTTP/1.1|/x|abc"},
        {"POST /x HTTP/1.1\nContent-Length: -1\n\n" + outra, ""},
        {"POST /x HTTP/1.1\nContent-Length: 99999999999999999999\n\n" + outra, LINHA_413},
        {"POST /x HTTP/1.1\nContent-Length: 3\ntransfer-encoding: identity\n\nabc" + outra, LINHA_411},
    };
    for (const std::string malFormada : {"\r", "GET /x", "     ", "GET /x FTP/1.0", "GET /x http/1.1",
                                         "GET /x HTTP/1.2", "GET /x HTTP/1.", "DELETE /x HTTP/2.0"}) {
        casos.emplace_back(malFormada + "\n\n" + outra, "");
    }
    const Diario diario;
    for (const auto &[pedido, esperado] : casos) {
        EXPECT_EQ(corpos(pedido), esperado) << pedido.substr(0, 200);
        EXPECT_EQ(corpos(outra), "GET /outra HTTP/1.1|/outra|") << "after " << pedido.substr(0, 200);
    }
}

TEST_F(Http, cortadaDepoisDeCadaByteEUmByteDeCadaVez) {
    const std::string cabeca = "POST /x HTTP/1.1\r\nContent-Length: 5\r\nExpect: 100-Continue\r\n\r\n";
    const std::string inteira = cabeca + "12345";
    const std::string continua = "HTTP/1.1 100 Continue\n\n";
    Cliente cliente(servidor.porta());
    for (std::size_t n = 0; n < inteira.size(); n++) {
        EXPECT_EQ(conversa(servidor.porta(), inteira.substr(0, n)), n < cabeca.size() ? "" : continua) << n;
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
    EXPECT_EQ(corpos(exata + "a\r\n\r\n0123456789"), LINHA_431);
    EXPECT_EQ(corpos(requisicao("POST /x", "Expect: 100-continue\r\n", "0123456789a")), LINHA_413);
}

// A reset might take answers on their way from a client that is still sending, whatever ends the connection.
TEST_F(Http, quemAindaEnviaRecebeTudo) {
    const std::string muito = "GET /" + std::string(60'000, 'u');
    const std::pair<std::string, std::string> fins[] = {
        {"mal formada\n\n", ""},
        {requisicao("GET /std"), ""},
        {"GET / HTTP/1.1\nsem dois pontos\n", "|/|"},
        {"POST / HTTP/1.1\nContent-Length: 67108865\n\n", LINHA_413},
        {"POST / HTTP/1.1\nContent-Length: 50000000\n\n", ""}, // ended by the server
    };
    const Diario diario;
    for (const auto &[fim, resto] : fins) {
        chamadas = 0;
        Cliente cliente(servidor.porta());
        cliente.envia(requisicao(muito) + requisicao(muito) + fim);
        EXPECT_TRUE(acontece([&] { return chamadas >= 2; }));
        std::jthread destruidor([&] { &fim == &fins[4].first ? servidor.libera() : void(); });
        cliente.envia(std::string(4'000'000, 'c'));
        for (int i = 0; i < 2; i++) {
            EXPECT_EQ(cliente.recebe().corpo.size(), 2 * muito.size() + 7) << fim;
        }
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

TEST_F(Http, falhasDeConexoesContadas) {
    const Diario diario;
    const std::time_t inicio = std::time(nullptr);
    EXPECT_TRUE(acontece([&] {
        conversa(servidor.porta(), "lixo\n\n");
        return diario.quantos("Request-Line mal formada. (YWebServer") >= 2;
    }));
    EXPECT_GE(diario.quantos("[mais "), 1);
    EXPECT_LE(diario.quantos(""), std::time(nullptr) - inicio + 2) << "one line a second";
}

TEST_F(Http, fechaLogo) {
    const std::pair<const char *, bool> casos[] = {
        {"GET /a HTTP/1.1\n", false},
        {"GET /a HTTP/1.1\nConnection: TE,  Close \n", true},
        {"GET /a HTTP/1.0\n", true},
        {"GET /a HTTP/1.0\nConnection: Keep-Alive\n", false},
    };
    for (const bool ligado : {true, false}) {
        YWebServer_setFechaLogo(servidor, ligado ? 1 : 0);
        for (const auto &[inicio, fecha] : casos) {
            EXPECT_EQ(corpos(inicio + "\n"s + requisicao("GET /b")).ends_with("|/b|"), !ligado || !fecha)
                << ligado << inicio;
        }
    }
}

// A connection ends two seconds after its last batch began, with nothing more written to it.
TEST_F(Http, umaDataParaOLoteInteiro) {
    Cliente cliente(servidor.porta());
    cliente.envia(requisicao("GET /outroSegundo") + requisicao("GET /outroSegundo"));
    const std::string data = cliente.recebe().campos["date"];
    EXPECT_EQ(data, cliente.recebe().campos["date"]);
}

TEST_F(Http, lotesDeDoisSegundos) {
    const Diario diario;
    const std::string meiaPost = "POST /x HTTP/1.1\r\nContent-Length: 9\r\n\r\nabc";
    const Servidor paciente(ecoa, &chamadas);
    YWebServer_setPrazoDaRequisicao(paciente, 20);
    Cliente lento(paciente.porta());
    lento.envia(meiaPost);
    const std::time_t inicio = std::time(nullptr);
    std::vector<Cliente> mudos;
    for (const std::string &meia : {""s, "GET /x HT"s, meiaPost}) {
        mudos.emplace_back(servidor.porta()).envia(meia);
    }
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
        EXPECT_EQ(corpos(requisicao("GET /detalhe") + requisicao(uri) + boa),
                  "GET /detalhe HTTP/1.1|/detalhe|")
            << uri;
        EXPECT_EQ(corpos(boa), "GET /x HTTP/1.1|/x|");
    }
    EXPECT_TRUE(acontece([&] { return YWebServer_getConexoes(servidor) == 0; }));
    EXPECT_EQ(diario.quantos("falha de teste"), 2) << "each is logged once";
    EXPECT_EQ(diario.quantos("de outra requisicao"), 0);
    EXPECT_EQ(diario.quantos(""), 3);
}

std::atomic<int> alheias{0};
int contextos[2];

template <int QUAL>
void tratador(void *contexto, char * /*uri*/, YMensagemHttp * /*requisicao*/, YMensagemHttp * /*resposta*/) {
    alheias += contexto != &contextos[QUAL] ? 1 : 0;
}

TEST(HttpTratador, trocadoComoUmaUnidade) {
    const Servidor servidor(tratador<1>, &contextos[1]);
    const std::jthread troca([&](const std::stop_token &fim) {
        while (!fim.stop_requested()) {
            EXPECT_EQ(YWebServer_setTratador(servidor, &contextos[0], tratador<0>).funcao, tratador<1>);
            EXPECT_EQ(YWebServer_setTratador(servidor, &contextos[1], tratador<1>).contexto, &contextos[0]);
        }
    });
    Cliente cliente(servidor.porta());
    for (int i = 0; i < 1200; i++) {
        ASSERT_EQ((cliente.envia(requisicao("GET /")), cliente.recebe().campos["content-length"]), "0") << i;
    }
    EXPECT_EQ(alheias, 0);
}

} // namespace
