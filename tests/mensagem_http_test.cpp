// HTTP messages over a connection on loopback: what is read, what is written, what stays untouched.
#include "apoio/servidor.hpp"

namespace {

struct Mensagem : testing::Test {
    Ponteiro<YSocket> ouvinte = cria<YSocket>(YSocket_rtti);
    std::optional<Cliente> cliente;
    Ponteiro<YSocket> conexao;
    Ponteiro<YMensagemHttp> m = cria<YMensagemHttp>(YMensagemHttp_rtti);

    Mensagem() { YSocket_escuta(ouvinte, 0); }

    int obtem() { return YMensagemHttp_obtemDoSocket(m, INT64_MAX); }
    /// Reads the first message of what a new client sends; "CLASS: message" of the refusal.
    std::string le(const std::string &bytes) {
        cliente.emplace(YSocket_getPorta(ouvinte)).envia(bytes);
        cliente->terminaEnvio();
        YSocket *aceita = nullptr;
        EXPECT_EQ(YSocket_aceitaConexaoMs(ouvinte, 0, &aceita, 9000), Y_ESPERA_PRONTA);
        conexao.reset(aceita);
        YMensagemHttp_setSocket(m, aceita);
        return excecao([&] { obtem(); });
    }
    /// First line, the value of a header, body; "+" when the connection is to be kept.
    [[nodiscard]] std::string conteudo() const {
        const char *valor = YDIC_recupera(YMensagemHttp_getHeader(m), "x-UM");
        return YStream_str(YMensagemHttp_getPrimeiraLinha(m)) + "|"s + (valor != nullptr ? valor : "nenhum") +
               "|" + YStream_str(YMensagemHttp_getBody(m)) +
               (YMensagemHttp_deveManterConectado(m) == 1 ? "+" : "");
    }
};

TEST_F(Mensagem, lidaDeNovoSoTemONovo) {
    EXPECT_EQ(le("GET /a HTTP/1.1\r\nX-Um: 1\r\ncontent-length: 5\r\nX-Um: 2: b \r\nCONNECTION: "
                 "keep-alive\n\r\n12345"
                 "HTTP/1.1 200 OK\nConnection: Keep-Alive\n\n"
                 "incompleta"),
              "");
    EXPECT_EQ(conteudo(), "GET /a HTTP/1.1|2: b|12345+") << "the later one, in any letter case";
    EXPECT_EQ(obtem(), 1);
    YMensagemHttp_printf(m, "%d", 7);
    EXPECT_EQ(obtem(), 0);
    EXPECT_EQ(conteudo(), "HTTP/1.1 200 OK|nenhum|7") << "a failed read changes nothing";
    EXPECT_EQ(le("POST / HTTP/1.1\nX-Um: b\nConnection: keep-alive, x\nContent-Length: 9\n\nabc"), "");
    EXPECT_EQ(conteudo(), "POST / HTTP/1.1|b|abc") << "cut, it has what came";
    EXPECT_EQ(le("POST / HTTP/1.1\nX-Dois: c\nContent-Length: 3\nX-Um: cor"), "");
    EXPECT_EQ(conteudo(), "POST / HTTP/1.1|nenhum|") << "half a header line is no body";
}

TEST_F(Mensagem, recusaOQueDoisLeitoresLeriamDiferente) {
    const std::string mal = "YExc: Mensagem HTTP mal formada.";
    const std::string grande = "YExc: Mensagem HTTP grande demais.";
    // clang-format off
    for (const char *campo : {"Content-Length: 3\nContent-Length: 03", "Content-Length: -1", "Content-Length: +0X1A", "Content-Length: 3, 5",
             "Content-Length: L, 5", "Content-Length: 3 4", "Content-Length: \v3", "Content-Length : 3", "\vContent-Length: 3",
             "B: c\n\tContent-Length: 3", "B: c\rContent-Length: 3", " B: c"}) {
        // clang-format on
        EXPECT_EQ(le("A HTTP/1.1\n"s + campo + "\n\nabc"), mal) << campo;
    }
    EXPECT_EQ(le("B\0\n"s) + le("B\rC\n"s), mal + mal);
    EXPECT_EQ(le(std::string(65537, 'x')), grande);
    EXPECT_EQ(le("A HTTP/1.1\nContent-Length: 67108865\n\n"), grande);
}

TEST_F(Mensagem, enviadaComOTamanhoRealESalvaInteira) {
    EXPECT_EQ(obtem(), 0) << "from nowhere";
    YMensagemHttp_enviaPeloSocket(m); // nor to there
    le("");
    YStream_puts(YMensagemHttp_getPrimeiraLinha(m), "HTTP/1.1 200 OK\r\nX: y");
    YDIC *header = YMensagemHttp_getHeader(m);
    YDIC_guarda(header, "Zeta", "%n%s");
    YDIC_guarda(header, "content-length", "999");
    YDIC_guarda(header, "Alfa\n", "1\r\n\r\n2");
    YMensagemHttp_putBloco(m, "a\0b", 3);
    YMensagemHttp_enviaPeloSocket(m);
    EXPECT_STREQ(YDIC_recupera(header, "Content-Length"), "3") << "the dictionary keeps it";
    conexao.reset();
    const std::string ateOZero =
        "HTTP/1.1 200 OKX: y\nZeta: %n%s\ncontent-length: 3\nAlfa: 12\n\na"; // in the order of insertion
    EXPECT_EQ(cliente->recebeBytes(), ateOZero + '\0' + "b");

    const std::string caminho = "/proc/self/fd/" + std::to_string(memfd_create("mensagem", 0));
    YMensagemHttp_salvaEmArquivo(m, caminho.c_str());
    YMensagemHttp_salvaEmArquivo(m, "/nao/existe/tal/pasta");
    rlimit antes{};
    getrlimit(RLIMIT_FSIZE, &antes);
    const rlimit quase{ateOZero.size() + 10, antes.rlim_max}; // room for a part of a second one
    signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &quase);
    EXPECT_EQ(excecao([&] { YMensagemHttp_salvaEmArquivo(m, caminho.c_str()); }),
              "YExcIOError: " + caminho + ". Falha na grava\xE7\xE3o do arquivo.");
    setrlimit(RLIMIT_FSIZE, &antes);
    YMensagemHttp_salvaEmArquivo(m, caminho.c_str());
    EXPECT_EQ(conteudoDe(caminho), ateOZero + "\n\n" + ateOZero + "\n\n");
}

} // namespace
