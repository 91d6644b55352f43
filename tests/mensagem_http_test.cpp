// HTTP messages over a socket pair on loopback: what is read, what is written, what stays untouched.
#include "apoio/arvore.hpp"

#include <3pramo/3pramo.hpp>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/resource.h>
#include <unistd.h>

namespace {

int64_t daqui(int segundos) {
    return std::time(nullptr) + segundos;
}

std::string texto(YStream *stream) {
    return {YStream_str(stream), static_cast<std::size_t>(YStream_tam(stream))};
}

class Mensagem : public testing::Test {
protected:
    pramo::Ponteiro<YSocket> ouvinte = pramo::cria<YSocket>(YSocket_rtti);
    pramo::Ponteiro<YSocket> cliente = pramo::cria<YSocket>(YSocket_rtti);
    pramo::Ponteiro<YSocket> conexao;
    pramo::Ponteiro<YMensagemHttp> m = pramo::cria<YMensagemHttp>(YMensagemHttp_rtti);

    void SetUp() override {
        YSocket_escuta(ouvinte.get(), 0);
        YSocket_conecta(cliente.get(), "127.0.0.1", YSocket_getPorta(ouvinte.get()), daqui(10));
        for (int i = 0; i < 100 && conexao == nullptr; i++) {
            conexao.reset(YSocket_aceitaConexao(ouvinte.get(), 0));
        }
        ASSERT_NE(conexao, nullptr);
        YMensagemHttp_setSocket(m.get(), conexao.get());
    }

    void envia(const std::string &bytes) const {
        const auto stream = pramo::cria<YStream>(YStream_rtti);
        YStream_putBloco(stream.get(), bytes.data(), static_cast<int64_t>(bytes.size()));
        YSocket_envia(cliente.get(), stream.get());
    }
    /// Ends our side and gives what the client got until then.
    std::string recebidoPeloCliente() {
        conexao.reset();
        const auto stream = pramo::cria<YStream>(YStream_rtti);
        YSocket_recebeBloco(cliente.get(), stream.get(), 1 << 20, daqui(10));
        return texto(stream.get());
    }
    [[nodiscard]] std::string campo(const char *nome) const {
        const char *valor = YDIC_recupera(YMensagemHttp_getHeader(m.get()), nome);
        return valor != nullptr ? valor : "(nenhum)";
    }
    [[nodiscard]] std::string linha() const { return texto(YMensagemHttp_getPrimeiraLinha(m.get())); }
    [[nodiscard]] std::string corpo() const { return texto(YMensagemHttp_getBody(m.get())); }
};

TEST_F(Mensagem, lidaDeNovoSoTemONovo) {
    envia("GET /a HTTP/1.1\r\nX-Um: 1\r\ncontent-length: 5\r\nX-Um: 2\r\n\r\n12345"
          "HTTP/1.1 200 OK\nX-Dois: a: b \n\n"
          "incompleta");
    ASSERT_EQ(YMensagemHttp_obtemDoSocket(m.get(), daqui(10)), 1);
    EXPECT_EQ(linha(), "GET /a HTTP/1.1");
    EXPECT_EQ(campo("x-UM"), "2") << "the later one, in any letter case";
    EXPECT_EQ(corpo(), "12345");

    ASSERT_EQ(YMensagemHttp_obtemDoSocket(m.get(), daqui(10)), 1);
    EXPECT_EQ(linha(), "HTTP/1.1 200 OK");
    EXPECT_EQ(campo("X-Dois"), "a: b");
    EXPECT_EQ(campo("X-Um"), "(nenhum)");
    EXPECT_EQ(corpo(), "");

    YMensagemHttp_printf(m.get(), "%d", 7);
    EXPECT_EQ(YMensagemHttp_obtemDoSocket(m.get(), daqui(1)), 0);
    EXPECT_EQ(linha() + campo("X-Dois") + corpo(), "HTTP/1.1 200 OKa: b7") << "a failed read changes nothing";
}

TEST_F(Mensagem, cortadaTrazOQueChegou) {
    envia("POST / HTTP/1.1\nA: b\nContent-Length: 9\n\nabc");
    EXPECT_EQ(YMensagemHttp_obtemDoSocket(m.get(), daqui(1)), 1);
    EXPECT_EQ(campo("A") + corpo(), "babc");
    envia("POST / HTTP/1.1\nA: c\nContent-Length: 3\nB: cor");
    EXPECT_EQ(YMensagemHttp_obtemDoSocket(m.get(), daqui(1)), 1);
    EXPECT_EQ(campo("A") + campo("B") + corpo(), "c(nenhum)") << "half a header line is no body";
}

TEST_F(Mensagem, recusasLevantamExcecao) {
    const auto recusa = [this](const std::string &bytes) {
        conexao.reset();
        cliente = pramo::cria<YSocket>(YSocket_rtti);
        SetUp();
        envia(bytes);
        return apoio::excecao([&] { YMensagemHttp_obtemDoSocket(m.get(), daqui(10)); });
    };
    const std::string mal = "YExc: Mensagem HTTP mal formada.";
    // What two readers might take differently.
    const char *const campos[] = {"Content-Length: 3\nContent-Length: 4",
                                  "Content-Length: 3\nContent-Length: 03",
                                  "Content-Length: -3\nContent-Length: -4",
                                  "Content-Length: -1",
                                  "Content-Length: 0x1A",
                                  "Content-Length: +0X1A",
                                  "Content-Length: 3, 5",
                                  "Content-Length: L, 5",
                                  "Content-Length: 3 4",
                                  "Content-Length: \v3",
                                  "Content-Length : 3",
                                  "Content-Length\t: 3",
                                  "\vContent-Length: 3",
                                  "B: c\n d",
                                  "B: c\n\tContent-Length: 3",
                                  "B: c\rContent-Length: 3",
                                  " B: c"};
    for (const char *campo : campos) {
        EXPECT_EQ(recusa(std::string("A HTTP/1.1\n") + campo + "\n\nabc"), mal) << campo;
    }
    for (const std::string &primeira : {std::string("B\0\n", 3), std::string("B\rC\n")}) {
        EXPECT_EQ(recusa(primeira), mal);
        EXPECT_EQ(linha(), "A HTTP/1.1") << "its first line was not read";
    }
    EXPECT_EQ(recusa(std::string(65537, 'x')), "YExc: Mensagem HTTP grande demais.");
    EXPECT_EQ(recusa("A HTTP/1.1\nExpect: 100-continue\nContent-Length: 67108865\n\n"),
              "YExc: Mensagem HTTP grande demais.");
    EXPECT_EQ(recebidoPeloCliente(), "") << "no 100 Continue for a body that is refused";
}

TEST_F(Mensagem, enviadaComOTamanhoReal) {
    YStream_puts(YMensagemHttp_getPrimeiraLinha(m.get()), "HTTP/1.1 200 OK\r\nX: y");
    YDIC *header = YMensagemHttp_getHeader(m.get());
    YDIC_guarda(header, "Zeta", "%n%s");
    YDIC_guarda(header, "content-length", "999");
    YDIC_guarda(header, "Alfa\n", "1\r\n\r\n2");
    YMensagemHttp_putBloco(m.get(), "a\0b", 3);
    YMensagemHttp_enviaPeloSocket(m.get());
    EXPECT_EQ(campo("Content-Length"), "3") << "the dictionary keeps it";
    EXPECT_EQ(recebidoPeloCliente(),
              std::string("HTTP/1.1 200 OKX: y\nZeta: %n%s\ncontent-length: 3\nAlfa: 12\n\na") + '\0' + "b")
        << "in the order of insertion";
}

TEST_F(Mensagem, vaziaESemSocket) {
    const auto vazia = pramo::cria<YMensagemHttp>(YMensagemHttp_rtti);
    EXPECT_EQ(YMensagemHttp_obtemDoSocket(vazia.get(), daqui(10)), 0);
    YMensagemHttp_enviaPeloSocket(vazia.get());
    YMensagemHttp_setSocket(vazia.get(), conexao.get());
    YMensagemHttp_enviaPeloSocket(vazia.get());
    EXPECT_EQ(recebidoPeloCliente(), "\nContent-Length: 0\n\n");
}

TEST_F(Mensagem, deveManterConectadoSoComOTextoExato) {
    for (const char *valor : {"Keep-Alive", "keep-alive, x", ""}) {
        YDIC_guarda(YMensagemHttp_getHeader(m.get()), "Connection", valor);
        EXPECT_EQ(YMensagemHttp_deveManterConectado(m.get()), 0) << valor;
    }
    YDIC_guarda(YMensagemHttp_getHeader(m.get()), "CONNECTION", "keep-alive");
    EXPECT_EQ(YMensagemHttp_deveManterConectado(m.get()), 1);
}

TEST_F(Mensagem, salvaNoFimDoArquivo) {
    std::string caminho = std::filesystem::temp_directory_path() / "mensagem-XXXXXX";
    close(mkstemp(caminho.data()));
    YStream_puts(YMensagemHttp_getPrimeiraLinha(m.get()), "POST / HTTP/1.1");
    YDIC_guarda(YMensagemHttp_getHeader(m.get()), "A", "b");
    YMensagemHttp_putBloco(m.get(), "corpo\0resto", 11);
    YMensagemHttp_salvaEmArquivo(m.get(), caminho.c_str());
    YMensagemHttp_salvaEmArquivo(m.get(), caminho.c_str());
    YMensagemHttp_salvaEmArquivo(m.get(), "/nao/existe/tal/pasta");
    // A file that may grow by ten bytes only: no half message stays.
    const std::string uma = "POST / HTTP/1.1\nA: b\n\ncorpo\n\n";
    rlimit antes{};
    getrlimit(RLIMIT_FSIZE, &antes);
    const rlimit quase{2 * uma.size() + 10, antes.rlim_max};
    const auto sinal = signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &quase);
    EXPECT_EQ(apoio::excecao([&] { YMensagemHttp_salvaEmArquivo(m.get(), caminho.c_str()); }),
              "YExcIOError: " + caminho + ". Falha na grava\xE7\xE3o do arquivo.");
    setrlimit(RLIMIT_FSIZE, &antes);
    signal(SIGXFSZ, sinal);
    std::ifstream arquivo(caminho, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(arquivo), {}), uma + uma);
    std::filesystem::remove(caminho);
}

} // namespace
