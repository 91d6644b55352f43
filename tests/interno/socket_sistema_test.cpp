// The rhythm that a write demands of its reader, with windows that a test can wait for.
#include <3pramo/foundation/YSocket_sistema.hpp>

#include <gtest/gtest.h>

#include <csignal>
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
    const Envio fim = sistema::envia(par[0], partes, Prazo::daqui(20'000), {exigidos, JANELA});
    leitor = {};
    close(par[0]);
    close(par[1]);
    return fim;
}

TEST(Ritmo, quemLeDevagarDemaisAcabaTambemComSinais) {
    signal(SIGUSR1, [](int) {});
    const auto inicio = std::chrono::steady_clock::now();
    EXPECT_EQ(enviaA(0, 1), Envio::LENTO) << "no progress";
    EXPECT_EQ(enviaA(1, 60'000), Envio::LENTO) << "too little";
    EXPECT_LT(std::chrono::steady_clock::now() - inicio, std::chrono::seconds(10)) << "no window began anew";
    EXPECT_EQ(enviaA(65536, 60'000), Envio::FEITO);
}

} // namespace
