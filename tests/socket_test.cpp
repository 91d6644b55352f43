// Sockets over loopback.
#include <3pramo/3pramo.hpp>

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <atomic>
#include <csignal>
#include <ctime>
#include <functional>
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

std::string erroDe(const std::function<void()> &funcao) {
    try {
        funcao();
    } catch (const YExcecao &e) {
        return e.what();
    }
    return "";
}

TEST_F(Socket, escutaOndeSePede) {
    liga("::1");
    cliente = pramo::cria<YSocket>(YSocket_rtti);
    auto outro = pramo::cria<YSocket>(YSocket_rtti);
    const uint32_t porta = YSocket_getPorta(ouvinte.get());
    const std::string fim = "Porta n\xE3o p\xF4"
                            "de ser usada.";
    struct {
        const char *endereco;
        uint32_t porta;
        std::string mensagem;
    } const recusas[] = {
        {nullptr, porta, "porta: " + std::to_string(porta) + ". J\xE1 est\xE1 em uso. "},
        {nullptr, 70'000, "porta: 70000. N\xE3o existe. "},
        {"localhost", 0, "endere\xE7o: localhost, porta: 0. O endere\xE7o n\xE3o \xE9 num\xE9rico. "},
        {"192.0.2.1", 0, "endere\xE7o: 192.0.2.1, porta: 0. O endere\xE7o n\xE3o \xE9 desta m\xE1quina. "},
    };
    for (const auto &r : recusas) {
        EXPECT_EQ(erroDe([&] { YSocket_escutaEm(outro.get(), r.endereco, r.porta); }), r.mensagem + fim);
    }
    EXPECT_EQ(YSocket_getPorta(outro.get()), 0U);
    for (const char *endereco : {"127.0.0.1", "::1"}) {
        outro = pramo::cria<YSocket>(YSocket_rtti);
        YSocket_escutaEm(outro.get(), endereco, 0);
        for (const char *alvo : {"127.0.0.1", "::1", "127.0.0.2"}) {
            cliente = pramo::cria<YSocket>(YSocket_rtti);
            const int fim2 = YSocket_conectaMs(cliente.get(), alvo, YSocket_getPorta(outro.get()), 5000);
            EXPECT_EQ(fim2, std::string(alvo) == endereco ? Y_ESPERA_PRONTA : Y_ESPERA_FECHADA) << alvo;
        }
    }
}

// Each operation that waits, under each end that a wait can have.
TEST_F(Socket, cadaFimDeCadaEspera) {
    liga();
    const auto muito = pramo::cria<YStream>(YStream_rtti);
    YStream_puts(muito.get(), std::string(32 << 20, 'm').c_str());
    auto nova = pramo::cria<YSocket>(YSocket_rtti);
    YSocket *aceita = nullptr;
    const uint32_t porta = YSocket_getPorta(ouvinte.get());
    YSocket_printf(cliente.get(), "uma\nab");
    EXPECT_EQ(YSocket_recebeLinhaMs(conexao.get(), s.get(), 9000), Y_ESPERA_PRONTA);
    EXPECT_EQ(YSocket_recebeLinhaMs(conexao.get(), s.get(), 20), Y_ESPERA_PRAZO);
    EXPECT_EQ(YSocket_recebeBlocoMs(conexao.get(), s.get(), 3, 20), Y_ESPERA_PRAZO);
    EXPECT_EQ(texto(), "ab") << "what came is there";
    EXPECT_EQ(YSocket_aceitaConexaoMs(ouvinte.get(), 0, &aceita, 20), Y_ESPERA_PRAZO);
    EXPECT_EQ(YSocket_enviaMs(cliente.get(), muito.get(), 20), Y_ESPERA_PRAZO);
    EXPECT_EQ(YSocket_conectaMs(nova.get(), "localhost", porta, 9000), Y_ESPERA_PRONTA) << "a name";
    EXPECT_EQ(YSocket_aceitaConexaoMs(ouvinte.get(), 0, &aceita, 9000), Y_ESPERA_PRONTA);
    EXPECT_EQ(YSocket_enviaMs(nova.get(), s.get(), 9000), Y_ESPERA_PRONTA);
    const pramo::Ponteiro<YSocket> outra(aceita);

    // The second of time() has come when the first form gives up, so that the two can be told apart.
    const int64_t prazo = daqui(1);
    EXPECT_EQ(YSocket_recebeBloco(outra.get(), s.get(), 3, prazo), 0);
    EXPECT_GE(std::time(nullptr), prazo);

    const std::function<int()> esperas[] = {
        [&] { return YSocket_recebeLinhaMs(outra.get(), s.get(), 9000); },
        [&] { return YSocket_enviaMs(conexao.get(), muito.get(), 9000); },
        [&] { return YSocket_aceitaConexaoMs(ouvinte.get(), 0, &aceita, 9000); },
    };
    YSocket *const sockets[] = {outra.get(), conexao.get(), ouvinte.get()};
    for (const int i : {0, 1, 2}) {
        std::thread cancela([&] {
            std::this_thread::yield(); // before the wait or within it
            YSocket_cancela(sockets[i]);
        });
        EXPECT_EQ(esperas[i](), Y_ESPERA_CANCELADA) << i;
        cancela.join();
        EXPECT_EQ(esperas[i](), Y_ESPERA_CANCELADA) << i << ": for good";
    }
    cliente = pramo::cria<YSocket>(YSocket_rtti);
    YSocket_cancela(cliente.get());
    EXPECT_EQ(YSocket_conectaMs(cliente.get(), "127.0.0.1", porta, 9000), Y_ESPERA_CANCELADA);
    EXPECT_EQ(YSocket_recebeBlocoMs(nova.get(), s.get(), 0, 0), Y_ESPERA_PRONTA) << "nothing to wait for";

    ouvinte = pramo::cria<YSocket>(YSocket_rtti);
    cliente = pramo::cria<YSocket>(YSocket_rtti);
    conexao.reset();
    liga();
    conexao.reset();
    EXPECT_EQ(YSocket_recebeLinhaMs(cliente.get(), s.get(), 9000), Y_ESPERA_FECHADA);
    EXPECT_EQ(YSocket_enviaMs(cliente.get(), muito.get(), 9000), Y_ESPERA_FECHADA);
    EXPECT_THROW(YSocket_printf(cliente.get(), "x"), YExcecao) << "and no signal";
    EXPECT_EQ(YSocket_conectaMs(nova.get(), "127.0.0.1", 1, 9000), Y_ESPERA_FECHADA);
}

// Signals all the time: no wait ends for them, none begins anew, and none takes one for what it waits for.
TEST_F(Socket, sinaisNaoMudamNada) {
    liga();
    struct sigaction acao {};
    struct sigaction antiga {};
    acao.sa_handler = [](int) {};
    sigaction(SIGUSR1, &acao, &antiga);
    // A listener whose queue is full: a connection to it stays on its way.
    const int surdo = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t tamanho = sizeof local;
    ASSERT_EQ(bind(surdo, reinterpret_cast<sockaddr *>(&local), sizeof local) + listen(surdo, 0), 0);
    ASSERT_EQ(getsockname(surdo, reinterpret_cast<sockaddr *>(&local), &tamanho), 0);
    const uint32_t porta = ntohs(local.sin_port);
    const auto naFila = pramo::cria<YSocket>(YSocket_rtti);
    ASSERT_EQ(YSocket_conectaMs(naFila.get(), "127.0.0.1", porta, 9000), Y_ESPERA_PRONTA);

    int chegou = -1;
    int conectou = -1;
    std::atomic<bool> acabou{false};
    std::thread leitor([&] {
        const auto novo = pramo::cria<YSocket>(YSocket_rtti);
        conectou = YSocket_conectaMs(novo.get(), "127.0.0.1", porta, 200);
        YSocket_printf(cliente.get(), "linha\n");
        chegou = YSocket_recebeLinha(conexao.get(), s.get(), daqui(20));
        acabou = true;
    });
    while (!acabou) {
        pthread_kill(leitor.native_handle(), SIGUSR1);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    leitor.join();
    close(surdo);
    sigaction(SIGUSR1, &antiga, nullptr);
    EXPECT_EQ(conectou, Y_ESPERA_PRAZO);
    EXPECT_EQ(chegou, 1);
    EXPECT_EQ(texto(), "linha");
}

} // namespace
