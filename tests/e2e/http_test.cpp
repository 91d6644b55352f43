// The web server over TCP: framing, what reaches a handler, what is answered without one, bounds.
#include "apoio/cliente.hpp"
#include "apoio/servidor.hpp"

#include <gtest/gtest.h>

#include <atomic>

using apoio::acontece;
using apoio::Cliente;
using apoio::conversa;
using apoio::Diario;
using apoio::requisicao;
using apoio::Resposta;
using apoio::Servidor;

namespace {

const std::string LINHA_501 = "HTTP/1.1 501 Not Implemented.\n";
const std::string LINHA_411 = "HTTP/1.1 411 Length Required.\n";
const std::string LINHA_413 = "HTTP/1.1 413 Content Too Large.\n";
const std::string LINHA_503 = "HTTP/1.1 503 Service Unavailable.\n";
const std::string LINHA_431 = "HTTP/1.1 431 Request Header Fields Too Large.\n";

std::string texto(YStream *stream) {
    return {YStream_str(stream), static_cast<std::size_t>(YStream_tam(stream))};
}

/// Answers with what it was given: request line, URI, body. Counts its calls in the context.
void ecoa(void *contexto, char *uri, YMensagemHttp *requisicao, YMensagemHttp *resposta) {
    ++*static_cast<std::atomic<int> *>(contexto);
    if (std::string_view(uri) == "/falha") {
        throw std::runtime_error(uri);
    }
    YStream_puts(YMensagemHttp_getPrimeiraLinha(resposta), "200 OK");
    YMensagemHttp_printf(resposta, "%s|%s|", YStream_str(YMensagemHttp_getPrimeiraLinha(requisicao)), uri);
    const std::string corpo = texto(YMensagemHttp_getBody(requisicao));
    YMensagemHttp_putBloco(resposta, corpo.data(), static_cast<int64_t>(corpo.size()));
}

class Http : public testing::Test {
protected:
    std::atomic<int> chamadas{0};
    Servidor servidor{ecoa, &chamadas};

    /// A well-formed request on a connection of its own.
    void aindaServe(const std::string &depoisDe) {
        const std::string resposta = conversa(servidor.porta(), requisicao("GET /bem"));
        EXPECT_TRUE(resposta.ends_with("\n\nGET /bem HTTP/1.1|/bem|")) << resposta << "\nafter " << depoisDe;
    }
};

std::string seguidas(int quantas, const std::string &texto) {
    std::string todas;
    for (int i = 0; i < quantas; i++) {
        todas += texto;
    }
    return todas;
}

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
    ASSERT_NE(fim, nullptr) << data;
    EXPECT_EQ(*fim, 0);
    EXPECT_NEAR(static_cast<double>(timegm(&tm)), static_cast<double>(std::time(nullptr)), 3);

    cliente.envia(requisicao("HEAD /a"));
    r = cliente.recebe();
    EXPECT_EQ(r.linha, "HTTP/1.1 200 OK");
    EXPECT_EQ(r.campos["content-length"], "0");
    cliente.envia(requisicao("PUT /a", "", "corpo"));
    r = cliente.recebe();
    EXPECT_EQ(r.linha, "HTTP/1.1 501 Not Implemented");
    EXPECT_EQ(r.campos["content-length"], "0");
    EXPECT_EQ(r.campos["content-type"], "text/html; charset=ISO-8859-1");
    EXPECT_EQ(chamadas, 2) << "PUT does not reach the handler";
    cliente.envia(requisicao("POST /b", "", "12345"));
    EXPECT_EQ(cliente.recebe().corpo, "POST /b HTTP/1.1|/b|12345") << "the connection is still usable";
}

// What a connection gets for a text, after which it ends.
struct Caso {
    std::string pedido;
    std::vector<std::string> corpos; // of the answers of the handler
    std::string resto = "";          // what comes behind them
};

// Rows in which nothing may follow the text have another request in it, which must not be answered.
TEST_F(Http, requisicoesEstranhas) {
    const std::string outra = requisicao("GET /outra");
    const std::string zero(1, '\0');
    // Malformed request lines: no answer, and nothing after them is a request.
    const std::string malFormadas[] = {"\r",
                                       "GET /x",
                                       "GET",
                                       "     ",
                                       "GET /x FTP/1.0",
                                       "GET /x http/1.1",
                                       "GET /x HTTP/2.0",
                                       "GET /x HTTP/0.9",
                                       "GET /x HTTP/1.2",
                                       "GET /x HTTP/11.1",
                                       "GET /x HTTP/-1.1",
                                       "GET /x HTTP/1.",
                                       "GET /x HTTP",
                                       "DELETE /x HTTP/2.0",
                                       "GET /" + zero + " HTTP/1.1"};
    std::vector<Caso> casos = {
        // Line ends, blanks, words.
        {"GET /x HTTP/1.1\n\n", {"GET /x HTTP/1.1|/x|"}},
        {"GET /x HTTP/1.0\r\n\r\n", {"GET /x HTTP/1.0|/x|"}},
        {" \tGET \t /x   HTTP/1.1 de mais\n\n", {" \tGET \t /x   HTTP/1.1 de mais|/x|"}},
        {"GET /%n%s%n HTTP/1.1\n\n", {"GET /%n%s%n HTTP/1.1|/%n%s%n|"}},
        {"GET \xE7\xFF HTTP/1.1\n\n", {"GET \xE7\xFF HTTP/1.1|\xE7\xFF|"}},
        {"GET /x HTTPS1.1\n\n", {"GET /x HTTPS1.1|/x|"}},
        {"GET /" + std::string(60000, 'u') + " HTTP/1.1\n\n",
         {"GET /" + std::string(60000, 'u') + " HTTP/1.1|/" + std::string(60000, 'u') + "|"}},
        {"GET /x HTTP/1.1\nA: b" + zero + "c\n\n" + outra, {}},
        // Methods.
        {"DELETE /x HTTP/1.1\n\n" + outra, {}, LINHA_501},
        {"get /x HTTP/1.1\n\n" + outra, {}, LINHA_501},
        {"GETT /x HTTP/1.1\n\n" + outra, {}, LINHA_501},
        {outra + "OPTIONS * HTTP/1.1\n\n" + outra, {"GET /outra HTTP/1.1|/outra|"}, LINHA_501},
        // Header blocks.
        {"GET /x HTTP/1.1\nsem dois pontos\n" + outra, {"GET /x HTTP/1.1|/x|"}},
        {"GET /x HTTP/1.1\n:\n: \nA:\n\n", {"GET /x HTTP/1.1|/x|"}},
        {"GET /x HTTP/1.1\n" + seguidas(9000, "a: b\n") + "\n", {"GET /x HTTP/1.1|/x|"}},
        {"GET /x HTTP/1.1\nA: " + std::string(66000, 'a') + "\n\n" + outra, {}, LINHA_431},
        {"GET /x HTTP/1.1\n" + seguidas(70000, "a: b\n") + "\n" + outra, {}, LINHA_431},
        {std::string(70000, 'G'), {}, LINHA_431},
        // Bodies.
        {"POST /x HTTP/1.1\ncontent-LENGTH:  3  \n\nabc", {"POST /x HTTP/1.1|/x|abc"}},
        {"POST /x HTTP/1.1\nContent-Length: +3\n\nabc" + outra, {"POST /x HTTP/1.1|/x|abc"}},
        {"POST /x HTTP/1.1\nContent-Length: 3abc\n\nabc" + outra, {"POST /x HTTP/1.1|/x|abc"}},
        {"POST /x HTTP/1.1\nContent-Length: x\n\n" + outra, {"POST /x HTTP/1.1|/x|"}},
        {"POST /x HTTP/1.1\nContent-Length:\n\n" + outra, {"POST /x HTTP/1.1|/x|"}},
        {"POST /x HTTP/1.1\nContent-Length: -1\n\n" + outra, {}},
        {"POST /x HTTP/1.1\nContent-Length : 3\n\nabc" + outra, {}},
        {"GET /x HTTP/1.1\nA: b\n dobrada\n\n" + outra, {}},
        {"POST /x HTTP/1.1\nContent-Length: 4294967297\n\n" + outra, {}, LINHA_413},
        {"POST /x HTTP/1.1\nContent-Length: 99999999999999999999999\n\n" + outra, {}, LINHA_413},
        {"POST /x HTTP/1.1\nExpect: 100-continue\nContent-Length: 67108865\n\n" + outra, {}, LINHA_413},
        {"POST /x HTTP/1.1\nContent-Length: 3\nContent-Length: 3\n\nabc", {"POST /x HTTP/1.1|/x|abc"}},
        {"POST /x HTTP/1.1\nContent-Length: 3\ncontent-length: 4\n\nabcd" + outra, {}},
        {"POST /x HTTP/1.1\nContent-Length: 0\nA: b\nContent-Length: 30\n\n" + outra, {}},
        {"POST /x HTTP/1.1\nTransfer-Encoding: chunked\n\n3\nabc\n0\n\n" + outra, {}, LINHA_411},
        {"POST /x HTTP/1.1\nContent-Length: 3\ntransfer-encoding: identity\n\nabc" + outra, {}, LINHA_411},
        {"POST /x HTTP/1.1\nContent-Length: 3\n\n" + zero + "\n" + zero,
         {"POST /x HTTP/1.1|/x|" + zero + "\n" + zero}},
        // Cut before it was whole: half a request must not run anything.
        {"POST /x HTTP/1.1\nContent-Length: 9\n\nabc", {}},
        {"POST /x HTTP/1.1\nContent-Length: 9\n\n", {}},
        {"", {}},
        {"GET /x HTTP/1.1", {}},
        {"GET /x HTTP/1.1\n", {}},
        {"POST /x HTTP/1.1\nContent-Length: 3\nA: abc", {}},
    };
    for (const std::string &linha : malFormadas) {
        casos.push_back({linha + "\n\n" + outra, {}});
    }
    const Diario diario;
    for (const Caso &caso : casos) {
        Cliente cliente(servidor.porta());
        cliente.envia(caso.pedido);
        cliente.terminaEnvio();
        for (const std::string &corpo : caso.corpos) {
            EXPECT_EQ(cliente.recebe().corpo, corpo) << caso.pedido.substr(0, 200);
        }
        EXPECT_EQ(cliente.recebeAteFechar(), caso.resto) << caso.pedido.substr(0, 200);
        aindaServe(caso.pedido.substr(0, 200));
    }
}

TEST_F(Http, cortadaDepoisDeCadaByteEUmByteDeCadaVez) {
    const std::string inteira = "POST /x HTTP/1.1\r\nContent-Length: 5\r\nA: b\r\n\r\n12345";
    for (std::size_t n = 0; n < inteira.size(); n++) {
        EXPECT_EQ(conversa(servidor.porta(), inteira.substr(0, n)), "") << n;
    }
    EXPECT_EQ(chamadas, 0);
    Cliente cliente(servidor.porta());
    for (const char c : inteira) {
        cliente.envia({&c, 1});
    }
    EXPECT_EQ(cliente.recebe().corpo, "POST /x HTTP/1.1|/x|12345");
}

TEST_F(Http, continueAntesDoCorpo) {
    for (const char *valor : {"100-continue", "100-Continue", "100-CONTINUE"}) {
        Cliente cliente(servidor.porta());
        cliente.envia("POST /x HTTP/1.1\r\nExpect: " + std::string(valor) + "\r\nContent-Length: 5\r\n\r\n");
        EXPECT_EQ(cliente.recebeBytes(23), "HTTP/1.1 100 Continue\n\n") << valor;
        cliente.envia("12345");
        EXPECT_EQ(cliente.recebe().corpo, "POST /x HTTP/1.1|/x|12345");
    }
}

TEST_F(Http, limitesExatos) {
    YWebServer_setLimiteDoCabecalho(servidor.get(), 100);
    YWebServer_setLimiteDoCorpo(servidor.get(), 10);
    const std::string inicio = "POST /x HTTP/1.1\r\nContent-Length: 10\r\nA: ";
    const std::string exata = inicio + std::string(100 - inicio.size() - 4, 'a') + "\r\n\r\n";
    EXPECT_TRUE(conversa(servidor.porta(), exata + "0123456789").ends_with("|/x|0123456789"));
    const std::string umMais = inicio + std::string(101 - inicio.size() - 4, 'a') + "\r\n\r\n";
    EXPECT_EQ(conversa(servidor.porta(), umMais + "0123456789"), LINHA_431);
    EXPECT_EQ(conversa(servidor.porta(), requisicao("POST /x", "Expect: 100-continue\r\n", "0123456789a")),
              LINHA_413);
}

// A reset might take the last line away from a client that has not read it yet.
TEST_F(Http, quemAindaEnviaNaoRecebeReset) {
    YWebServer_setLimiteDoCorpo(servidor.get(), 1000);
    const std::string grande = requisicao("POST /x", "", std::string(4 << 20, 'c'));
    bool semReset = false;
    for (int tentativa = 0; tentativa < 3 && !semReset;
         tentativa++) { // it waits for a tenth of a second only
        Cliente cliente(servidor.porta());
        cliente.envia(std::string_view(grande).substr(0, 100'000));
        EXPECT_EQ(cliente.recebeBytes(LINHA_413.size()), LINHA_413);
        semReset = cliente.envia(std::string_view(grande).substr(100'000));
    }
    EXPECT_TRUE(semReset);
}

// The answer on its way arrives whole, whatever ends the connection while the client is still sending.
TEST(HttpFim, respostaNoCaminhoChegaInteira) {
    const std::string muito = "GET /" + std::string(60'000, 'u');
    const std::string fins[] = {
        "mal formada\n\n", requisicao("GET /falha"), "GET / HTTP/1.1\nsem dois pontos\n",
        "POST / HTTP/1.1\nContent-Length: 50000000\n\n", // ended by the server
    };
    for (const std::string &fim : fins) {
        std::atomic<int> chamadas{0};
        Servidor servidor(ecoa, &chamadas);
        const Diario diario;
        Cliente cliente(servidor.porta());
        cliente.envia(requisicao(muito) + requisicao(muito) + fim);
        EXPECT_TRUE(acontece([&] { return chamadas >= 2; }));
        std::thread enviador([&] {
            for (int i = 0; i < 400 && cliente.envia(std::string(10'000, 'c')); i++) {
            }
        });
        std::thread destruidor([&] { fim.starts_with("POST") ? servidor.libera() : void(); });
        enviador.join();
        for (int i = 0; i < 2; i++) {
            EXPECT_EQ(cliente.recebe().corpo.size(), 2 * muito.size() + 7) << fim;
        }
        destruidor.join();
    }
}

TEST_F(Http, todosOsCorposJuntosTemLimite) {
    constexpr std::size_t MB = std::size_t{1} << 20;
    YWebServer_setLimiteDosCorpos(servidor.get(), 2 * MB + MB / 2);
    const std::string um = requisicao("POST /x", "", std::string(MB, 'c'));
    Cliente parado(servidor.porta()); // its body is not all there, and leaves too little for another
    parado.envia(requisicao("POST /x", "", std::string(2 * MB, 'p')).substr(0, MB + MB / 2));
    const auto corpo = [&] { return conversa(servidor.porta(), um); };
    EXPECT_TRUE(acontece([&] { return corpo() == LINHA_503; }));
    EXPECT_EQ(conversa(servidor.porta(), requisicao("GET /pequena")).substr(0, 15), "HTTP/1.1 200 OK");
    parado.aborta();
    EXPECT_TRUE(acontece([&] { return corpo().ends_with(std::string(MB, 'c')); })) << "there is room again";
    YWebServer_setLimiteDosCorpos(servidor.get(), MB + 10);
    EXPECT_EQ(corpo(), LINHA_503) << "an answer that finds no room";
}

TEST_F(Http, falhasDeConexoesContadas) {
    const Diario diario;
    const std::time_t inicio = std::time(nullptr);
    for (int i = 0; i < 50; i++) {
        EXPECT_EQ(conversa(servidor.porta(), "lixo" + std::to_string(i) + "\n\n"), "");
    }
    EXPECT_TRUE(acontece([&] { return diario.quantos("Request-Line mal formada. (YWebServer") >= 2; }));
    EXPECT_GE(diario.quantos("[mais "), 1);
    EXPECT_LE(diario.quantos(""), std::time(nullptr) - inicio + 2) << "one line a second";
}

TEST_F(Http, fechaLogo) {
    struct {
        const char *versao;
        const char *campos;
        bool fecha;
    } const casos[] = {
        {"1.1", "", false},
        {"1.1", "Connection: close\n", true},
        {"1.1", "Connection: TE,  Close \n", true},
        {"1.1", "Connection: closer\n", false},
        {"1.1", "Connection: keep-alive\n", false},
        {"1.0", "", true},
        {"1.0", "Connection: Keep-Alive\n", false},
    };
    for (const bool ligado : {true, false}) {
        YWebServer_setFechaLogo(servidor.get(), ligado ? 1 : 0);
        for (const auto &caso : casos) {
            Cliente cliente(servidor.porta());
            cliente.envia(std::string("GET /a HTTP/") + caso.versao + "\n" + caso.campos + "\n");
            EXPECT_EQ(cliente.recebe().linha, "HTTP/1.1 200 OK");
            cliente.envia(requisicao("GET /b"));
            EXPECT_EQ(cliente.recebe().linha.empty(), ligado && caso.fecha)
                << ligado << caso.versao << caso.campos;
        }
    }
}

// ---- Time ----

void esperaSegundo(std::time_t segundo) {
    EXPECT_TRUE(acontece([&] { return std::time(nullptr) >= segundo; }));
}

// A connection ends two seconds after its last batch began, with nothing more written to it.
TEST_F(Http, lotesDeDoisSegundos) {
    const Diario diario;
    Cliente calado(servidor.porta());
    Cliente meiaLinha(servidor.porta());
    Cliente meiaCabeca(servidor.porta());
    Cliente meioCorpo(servidor.porta());
    Cliente fiel(servidor.porta());
    meiaLinha.envia("GET /x HT");
    meiaCabeca.envia("GET /x HTTP/1.1\r\nA: b\r\n");
    meioCorpo.envia("POST /x HTTP/1.1\r\nContent-Length: 9\r\n\r\nabc");
    const Servidor paciente(ecoa, &chamadas);
    YWebServer_setPrazoDaRequisicao(paciente.get(), 20);
    Cliente lento(paciente.porta());
    lento.envia("POST /x HTTP/1.1\r\nContent-Length: 9\r\n\r\nabc");
    fiel.envia(requisicao("GET /1"));
    EXPECT_EQ(fiel.recebe().corpo, "GET /1 HTTP/1.1|/1|");
    const std::time_t inicio = std::time(nullptr);
    aindaServe("a slow client");

    EXPECT_TRUE(calado.fechou());
    EXPECT_GE(std::time(nullptr), inicio + 1);
    EXPECT_LE(std::time(nullptr), inicio + 4);
    EXPECT_TRUE(meiaLinha.fechou());
    EXPECT_TRUE(meiaCabeca.fechou());
    EXPECT_TRUE(meioCorpo.fechou());
    lento.envia("123456");
    EXPECT_EQ(lento.recebe().corpo, "POST /x HTTP/1.1|/x|abc123456");
    fiel.envia(requisicao("GET /2"));
    EXPECT_EQ(fiel.recebe().corpo, "GET /2 HTTP/1.1|/2|") << "its second batch has begun";
    EXPECT_TRUE(fiel.fechou());
    EXPECT_EQ(chamadas, 4);
}

void esperaOutroSegundo(void * /*contexto*/, char * /*uri*/, YMensagemHttp * /*requisicao*/,
                        YMensagemHttp * /*resposta*/) {
    esperaSegundo(std::time(nullptr) + 1);
}

TEST(HttpLote, umaDataParaOLoteInteiro) {
    const Servidor servidor(esperaOutroSegundo);
    Cliente cliente(servidor.porta());
    cliente.envia(requisicao("GET /1") + requisicao("GET /2"));
    Resposta primeira = cliente.recebe();
    EXPECT_EQ(primeira.linha, "HTTP/1.1 ") << "what the handler did not complete is sent as it is";
    EXPECT_EQ(primeira.campos["date"], cliente.recebe().campos["date"]);
}

// ---- Handlers ----

void lancaConformeUri(void * /*contexto*/, char *uri, YMensagemHttp * /*requisicao*/,
                      YMensagemHttp *resposta) {
    const std::string qual = uri;
    YStream_puts(YMensagemHttp_getPrimeiraLinha(resposta), "200 OK");
    if (qual == "/implementado") {
        YContextoTry_throw(YExcNaoImplementado_rtti, "um dia", "Teste", 1);
    } else if (qual == "/yexc") {
        YContextoTry_throw(YExcIOError_rtti, "falha de teste", "Teste", 1);
    } else if (qual == "/std") {
        throw std::runtime_error("falha de teste");
    } else if (qual == "/int") {
        throw 7;
    } else if (qual == "/detalhe") {
        YContextoTry_printf("de outra requisicao. ");
    }
}

TEST(HttpTratador, excecoesAcabamSoAConexao) {
    const Servidor servidor(lancaConformeUri);
    const Diario diario;
    const std::string boa = requisicao("GET /");
    EXPECT_EQ(conversa(servidor.porta(), requisicao("GET /implementado") + boa), LINHA_501);
    for (const char *uri : {"GET /yexc", "GET /std", "GET /int"}) {
        const std::string dita =
            conversa(servidor.porta(), requisicao("GET /detalhe") + requisicao(uri) + boa);
        EXPECT_EQ(dita.rfind("HTTP/1.1"), 0U) << uri << ": one answer";
        EXPECT_TRUE(conversa(servidor.porta(), boa).starts_with("HTTP/1.1 200 OK\n"));
    }
    EXPECT_TRUE(acontece([&] { return YWebServer_getConexoes(servidor.get()) == 0; }));
    EXPECT_EQ(diario.quantos("falha de teste"), 2) << "each is logged once";
    EXPECT_EQ(diario.quantos("de outra requisicao"), 0);
    EXPECT_EQ(diario.quantos(""), 3);
}

struct Par {
    YFuncaoTratadorHttp funcao;
    std::atomic<int> chamadas{0};
    std::atomic<int> alheias{0};
};

void tratadorA(void *contexto, char *uri, YMensagemHttp *requisicao, YMensagemHttp *resposta);
void tratadorB(void *contexto, char *uri, YMensagemHttp *requisicao, YMensagemHttp *resposta);

void conta(void *contexto, YFuncaoTratadorHttp eu) {
    auto *par = static_cast<Par *>(contexto);
    par->chamadas++;
    par->alheias += par->funcao == eu ? 0 : 1;
}

void tratadorA(void *contexto, char * /*uri*/, YMensagemHttp * /*requisicao*/, YMensagemHttp * /*resposta*/) {
    conta(contexto, tratadorA);
}

void tratadorB(void *contexto, char * /*uri*/, YMensagemHttp * /*requisicao*/, YMensagemHttp * /*resposta*/) {
    conta(contexto, tratadorB);
}

TEST(HttpTratador, trocadoComoUmaUnidade) {
    Par a{tratadorA};
    Par b{tratadorB};
    const Servidor servidor;
    const YTratadorHttp primeiro = YWebServer_setTratador(servidor.get(), &a, tratadorA);
    EXPECT_EQ(primeiro.contexto, servidor.get());
    EXPECT_EQ(YWebServer_setTratador(servidor.get(), &b, tratadorB).funcao, tratadorA);

    std::vector<std::thread> clientes;
    for (int i = 0; i < 4; i++) {
        clientes.emplace_back([&] {
            Cliente cliente(servidor.porta());
            for (int j = 0; j < 300; j++) {
                cliente.envia(requisicao("GET /"));
                EXPECT_EQ(cliente.recebe().linha, "HTTP/1.1 ");
            }
        });
    }
    while (a.chamadas + b.chamadas < 1200) {
        EXPECT_EQ(YWebServer_setTratador(servidor.get(), &a, tratadorA).contexto, &b);
        EXPECT_EQ(YWebServer_setTratador(servidor.get(), &b, tratadorB).contexto, &a);
    }
    for (std::thread &cliente : clientes) {
        cliente.join();
    }
    EXPECT_EQ(a.alheias + b.alheias, 0);
}

} // namespace
