// The rhythm that a write demands of its reader, with windows that a test can wait for.
#include <3pramo/foundation/YSocket.h>
#include <3pramo/foundation/YSocket_sistema.hpp>
#include <3pramo/foundation/cria.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <netdb.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using namespace pramo;
using sistema::Envio;

namespace {

constexpr int JANELA = 300; // milliseconds

/// Sends much to a reader that takes so many bytes every millisecond, in front of signals all the time.
Envio enviaA(std::size_t porMilissegundo, std::int64_t exigidos) {
    int par[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, par), 0);
    const std::string muito(std::size_t{4} << 20, 'm');
    const std::string_view partes[] = {muito};
    std::jthread leitor([&, escritor = pthread_self()](const std::stop_token &fim) {
        for (std::string lidos(65536, 0); !fim.stop_requested();) {
            pthread_kill(escritor, SIGUSR1);
            recv(par[1], lidos.data(), porMilissegundo, MSG_DONTWAIT);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    // A window that began anew at every signal would last until the deadline.
    const Envio fim = sistema::envia(par[0], partes, Prazo::daqui(5'000), {exigidos, JANELA});
    leitor = {};
    close(par[0]);
    close(par[1]);
    return fim;
}

TEST(Ritmo, quemLeDevagarDemaisAcabaTambemComSinais) {
    signal(SIGUSR1, [](int) {});
    EXPECT_EQ(enviaA(0, 1), Envio::LENTO) << "no progress";
    EXPECT_EQ(enviaA(1, 60'000), Envio::LENTO) << "too little";
    EXPECT_EQ(enviaA(65536, 60'000), Envio::FEITO);
}

std::atomic<bool> responde{false};
std::atomic<int> perguntas{0};

} // namespace

// The linker sends the searches for names here (-Wl,--wrap): one name's server does not answer.
extern "C" {
decltype(getaddrinfo) __real_getaddrinfo; // NOLINT(bugprone-reserved-identifier)
int __wrap_getaddrinfo(const char *nome, const char *porta, const addrinfo *pedido,
                       addrinfo **achados) { // NOLINT
    if (nome != std::string_view("mudo.invalid") || pedido->ai_flags != 0) {
        return __real_getaddrinfo(nome, porta, pedido, achados);
    }
    perguntas++;
    responde.wait(false);
    perguntas--;
    return EAI_AGAIN;
}
}

namespace {

TEST(Busca, naoSeguraQuemPerguntaAlemDoSeuPrazo) {
    for (int n = 0; n < 65; n++) { // more than may search at once
        const auto socket = cria<YSocket>(YSocket_rtti, "teste");
        const auto fim = n < 64 ? Y_ESPERA_PRAZO : Y_ESPERA_FECHADA;
        EXPECT_EQ(YSocket_conectaMs(socket, "mudo.invalid", 1, n < 64 ? 5 : 20'000), fim) << n;
    }
    responde = true;
    responde.notify_all();
    while (perguntas > 0) {
        std::this_thread::yield();
    }
}

} // namespace
