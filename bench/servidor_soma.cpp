// The server that the load generator is pointed at: soma of Calc, published as any application would, with
// every default. Prints its port and serves until SIGTERM or SIGINT.
#include <3pramo/3pramo.hpp>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <getopt.h>

namespace {

void soma(YWebService *, YNo *requisicao, YNo *resposta) {
    const auto a = static_cast<std::uint32_t>(YNo_getInt(requisicao, "a"));
    const auto b = static_cast<std::uint32_t>(YNo_getInt(requisicao, "b"));
    YNo_setInt(resposta, "return", static_cast<std::int32_t>(a + b));
}

constexpr YDefinicaoMetodo METODOS[] = {{"soma", soma}, {nullptr, nullptr}};
constexpr YDefinicaoPortType CALC = {"Calc", METODOS, YWebService_rtti, nullptr, nullptr};

} // namespace

int main(int argc, char **argv) {
    static const option longas[] = {{"porta", required_argument, nullptr, 'p'}, {nullptr, 0, nullptr, 0}};
    int porta = 0;
    for (int letra = 0; (letra = getopt_long(argc, argv, "", longas, nullptr)) != -1;) {
        if (letra != 'p') {
            std::fputs("uso: servidor_soma [--porta P]   (0, the default: any free port, which it prints)\n",
                       stderr);
            return 2;
        }
        porta = std::atoi(optarg);
    }
    // Blocked before any thread starts, so that sigwait alone receives them.
    sigset_t sinais;
    sigemptyset(&sinais);
    sigaddset(&sinais, SIGINT);
    sigaddset(&sinais, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &sinais, nullptr);

    const auto servidor = pramo::cria<YSoapServer>(YSoapServer_rtti);
    YSoapServer_setPorta(servidor, porta);
    YSoapServer_registraPortType(servidor, &CALC);
    YObThread_start(servidor);
    const bool pronto = YSoapServer_esperaPronto(servidor, std::time(nullptr) + 10) != 0;
    if (pronto) {
        std::printf("porta %d\n", YSoapServer_getPorta(servidor));
        std::fflush(stdout);
        int sinal = 0;
        sigwait(&sinais, &sinal);
    }
    return pronto ? 0 : 1;
}
