// Publishes the port type Formulario, which conducts a sale as a form.
//
//     formulario [--endereco A] [--porta N] [--base DIR] [--log-corpo]
//
// Listens on the loopback unless told otherwise ("": everywhere), prints its address and serves until SIGINT
// or SIGTERM.
#include "Formulario.hpp"

#include <charconv>
#include <csignal>
#include <cstring>
#include <ctime>
#include <getopt.h>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>

namespace {

constexpr int PRAZO_PARA_ESCUTAR = 10; // seconds

struct Opcoes {
    std::string endereco = "127.0.0.1"; // numeric; empty: all addresses
    std::int32_t porta = 8080;
    const char *base = nullptr; // without it no files are served
    bool logCorpo = false;
};

bool lePorta(const char *texto, std::int32_t &porta) {
    const char *fim = texto + std::strlen(texto);
    const auto [parou, erro] = std::from_chars(texto, fim, porta);
    return erro == std::errc{} && parou == fim && porta >= 0 && porta <= 65535;
}

std::optional<Opcoes> leOpcoes(int argc, char **argv) {
    static const option longas[] = {{"endereco", required_argument, nullptr, 'e'},
                                    {"porta", required_argument, nullptr, 'p'},
                                    {"base", required_argument, nullptr, 'b'},
                                    {"log-corpo", no_argument, nullptr, 'l'},
                                    {nullptr, 0, nullptr, 0}};
    Opcoes opcoes;
    bool certas = true;
    for (int letra = 0; certas && (letra = getopt_long(argc, argv, "", longas, nullptr)) != -1;) {
        if (letra == 'p') {
            certas = lePorta(optarg, opcoes.porta);
        } else if (letra == 'e') {
            opcoes.endereco = optarg;
        } else if (letra == 'b') {
            opcoes.base = optarg;
        } else if (letra == 'l') {
            opcoes.logCorpo = true;
        } else {
            certas = false;
        }
    }
    return certas && optind == argc ? std::optional(opcoes) : std::nullopt;
}

/// Blocks the signals in this thread and so in those that it starts: sigwait alone receives them.
sigset_t bloqueiaSinais() {
    sigset_t sinais;
    sigemptyset(&sinais);
    sigaddset(&sinais, SIGINT);
    sigaddset(&sinais, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &sinais, nullptr);
    return sinais;
}

void serve(const Opcoes &opcoes) {
    const sigset_t sinais = bloqueiaSinais();
    if (opcoes.logCorpo) {
        YObLOG_habilita(YObLOG_habilitadas() | Y_LOG_CORPO);
    }
    const YDefinicaoPortType portType = definicaoDoFormulario();
    const auto servidor = pramo::cria<YSoapServer>(YSoapServer_rtti);
    YSoapServer_setEndereco(servidor, opcoes.endereco.empty() ? nullptr : opcoes.endereco.c_str());
    YSoapServer_setPorta(servidor, opcoes.porta);
    YSoapServer_setDiretorioBase(servidor, opcoes.base);
    YSoapServer_registraPortType(servidor, &portType);
    YObThread_start(servidor);
    if (YSoapServer_esperaPronto(servidor, std::time(nullptr) + PRAZO_PARA_ESCUTAR) == 0) {
        throw std::runtime_error("a porta " + std::to_string(opcoes.porta) + " foi recusada");
    }
    std::cout << "pronto: http://127.0.0.1:" << YSoapServer_getPorta(servidor) << "/soap/Formulario"
              << std::endl;
    int sinal = 0;
    sigwait(&sinais, &sinal);
}

} // namespace

int main(int argc, char **argv) {
    const auto opcoes = leOpcoes(argc, argv);
    if (!opcoes) {
        std::cerr << "uso: formulario [--endereco A] [--porta N] [--base DIR] [--log-corpo]   (porta 0: uma "
                     "livre)\n";
        return 2;
    }
    try {
        serve(*opcoes);
    } catch (const std::exception &erro) {
        std::cerr << "formulario: " << erro.what() << '\n';
        return 1;
    }
    return 0;
}
