// Sockets over loopback.
#include <3pramo/3pramo.hpp>

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <csignal>
#include <ctime>
#include <netinet/in.h>
#include <pthread.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

int64_t daqui(int segundos) {
    return std::time(nullptr) + segundos;
}

class Socket : public testing::Test {
protected:
    pramo::Ponteiro<YSocket> ouvinte = pramo::cria<YSocket>(YSocket_rtti);
    pramo::Ponteiro<YSocket> cliente = pramo::cria<YSocket>(YSocket_rtti);
    pramo::Ponteiro<YSocket> conexao;
    pramo::Ponteiro<YStream> s = pramo::cria<YStream>(YStream_rtti);

    void liga(const char *endereco = "127.0.0.1") {
        YSocket_escuta(ouvinte.get(), 0);
        YSocket_conecta(cliente.get(), endereco, YSocket_getPorta(ouvinte.get()), daqui(10));
        for (int i = 0; i < 100 && conexao == nullptr; i++) {
            conexao.reset(YSocket_aceitaConexao(ouvinte.get(), 9));
        }
        ASSERT_NE(conexao, nullptr);
    }
    std::string texto() { return YStream_str(s.get()); }
};

TEST_F(Socket, linhasEBlocosComOQueSobraEsperando) {
    liga();
    YSocket_printf(cliente.get(), "GET / HTTP/1.1\r\n\nresto%s", "inacabado");
    EXPECT_EQ(YSocket_recebeLinha(conexao.get(), s.get(), daqui(10)), 1);
    EXPECT_EQ(texto(), "GET / HTTP/1.1");
    EXPECT_EQ(YSocket_recebeLinha(conexao.get(), s.get(), daqui(10)), 1);
    EXPECT_EQ(texto(), "") << "an empty line is a line";
    EXPECT_EQ(YSocket_recebeLinha(conexao.get(), s.get(), daqui(1)), 0);
    EXPECT_EQ(texto(), "");
    YSocket_putchar(cliente.get(), '\n');
    EXPECT_EQ(YSocket_recebeLinha(conexao.get(), s.get(), daqui(10)), 1);
    EXPECT_EQ(texto(), "restoinacabado") << "the unfinished line had waited";

    YStream_clear(s.get());
    YSocket_printf(cliente.get(), "12345678");
    EXPECT_EQ(YSocket_recebeBloco(conexao.get(), s.get(), 5, daqui(10)), 1);
    EXPECT_EQ(YSocket_recebeBloco(conexao.get(), s.get(), -1, daqui(10)), 1);
    EXPECT_EQ(texto(), "12345");
    cliente.reset();
    EXPECT_EQ(YSocket_recebeBloco(conexao.get(), s.get(), INT64_MAX, daqui(10)), 0) << "the peer closed";
    EXPECT_EQ(texto(), "12345678");
    EXPECT_EQ(YSocket_recebeLinha(conexao.get(), s.get(), daqui(10)), 0);
}

TEST_F(Socket, grandeVolumeChegaInteiroEAosPedacos) {
    liga();
    std::string dados;
    for (int i = 0; i < 400'000; i++) {
        dados += std::to_string(i % 1000) + "\n";
    }
    std::thread remetente([&] {
        auto tudo = pramo::cria<YStream>(YStream_rtti);
        YStream_putBloco(tudo.get(), dados.data(), static_cast<int64_t>(dados.size()));
        YSocket_envia(cliente.get(), tudo.get());
    });
    std::string linhas;
    for (int i = 0; i < 1000; i++) {
        EXPECT_EQ(YSocket_recebeLinha(conexao.get(), s.get(), daqui(20)), 1);
        linhas += texto() + "\n";
    }
    YStream_clear(s.get());
    EXPECT_EQ(YSocket_recebeBloco(conexao.get(), s.get(), static_cast<int64_t>(dados.size() - linhas.size()),
                                  daqui(20)),
              1);
    remetente.join();
    EXPECT_TRUE(linhas + texto() == dados);
}

TEST_F(Socket, ouveIPv4EIPv6) {
    const int v6 = socket(AF_INET6, SOCK_STREAM, 0);
    sockaddr_in6 local{};
    local.sin6_family = AF_INET6;
    local.sin6_addr = in6addr_loopback;
    const bool temV6 = v6 >= 0 && bind(v6, reinterpret_cast<sockaddr *>(&local), sizeof local) == 0;
    close(v6);
    if (!temV6) {
        GTEST_SKIP() << "no IPv6 loopback here";
    }
    liga("::1");
}

TEST_F(Socket, escritaParaQuemSeFoiLancaSemSinal) {
    liga();
    cliente.reset();
    EXPECT_THROW(
        for (int i = 0; i < 1000; i++) {
            YSocket_printf(conexao.get(), "x");
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        },
        YExcecao);
}

TEST_F(Socket, portaOcupadaEPortaImpossivelLancam) {
    YSocket_escuta(ouvinte.get(), 0);
    auto outro = pramo::cria<YSocket>(YSocket_rtti);
    EXPECT_THROW(YSocket_aceitaConexao(outro.get(), YSocket_getPorta(ouvinte.get())), YExcecao);
    EXPECT_THROW(YSocket_escuta(outro.get(), 70'000), YExcecao);
    EXPECT_EQ(YSocket_getPorta(outro.get()), 0U);
    EXPECT_EQ(YSocket_aceitaConexao(ouvinte.get(), 0), nullptr) << "nobody came";
    EXPECT_THROW(YSocket_conecta(outro.get(), "127.0.0.1", 1, daqui(5)), YExcecao);
}

TEST_F(Socket, sinaisNaoInterrompemARecepcao) {
    liga();
    struct sigaction acao {};
    struct sigaction antiga {};
    acao.sa_handler = [](int) {};
    sigaction(SIGUSR1, &acao, &antiga);
    int chegou = -1;
    std::thread leitor([&] { chegou = YSocket_recebeLinha(conexao.get(), s.get(), daqui(20)); });
    for (int i = 0; i < 50; i++) {
        pthread_kill(leitor.native_handle(), SIGUSR1);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    YSocket_printf(cliente.get(), "linha\n");
    leitor.join();
    sigaction(SIGUSR1, &antiga, nullptr);
    EXPECT_EQ(chegou, 1);
    EXPECT_EQ(texto(), "linha");
}

} // namespace
