// Publishes the port types Calc and Contador, and a page that calls soma.
//
//     calc [--endereco A] [--porta N] [--base DIR] [--fecha-logo] [--log-corpo]
//
// Listens on the loopback unless told otherwise ("": everywhere), prints its address and serves until SIGINT
// or SIGTERM.
#include "portTypes.hpp"

#include <charconv>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fstream>
#include <getopt.h>
#include <iostream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>

namespace {

constexpr int PRAZO_PARA_ESCUTAR = 10; // seconds

struct Opcoes {
    std::string endereco = "127.0.0.1"; // numeric; empty: all addresses
    std::int32_t porta = 8080;
    std::string base = PASTA_DOS_EXEMPLOS "/calc/www";
    bool fechaLogo = false;
    bool logCorpo = false;
};

std::optional<std::int32_t> lePorta(const char *texto) {
    std::int32_t porta = 0;
    const char *fim = texto + std::strlen(texto);
    const auto [parou, erro] = std::from_chars(texto, fim, porta);
    return erro == std::errc{} && parou == fim && porta >= 0 && porta <= 65535 ? std::optional(porta)
                                                                               : std::nullopt;
}

std::optional<Opcoes> leOpcoes(int argc, char **argv) {
    static const option longas[] = {
        {"endereco", required_argument, nullptr, 'e'}, {"porta", required_argument, nullptr, 'p'},
        {"base", required_argument, nullptr, 'b'},     {"fecha-logo", no_argument, nullptr, 'f'},
        {"log-corpo", no_argument, nullptr, 'l'},      {nullptr, 0, nullptr, 0}};
    Opcoes opcoes;
    for (int letra = 0; (letra = getopt_long(argc, argv, "", longas, nullptr)) != -1;) {
        if (letra == 'p') {
            const auto porta = lePorta(optarg);
            if (!porta) {
                return std::nullopt;
            }
            opcoes.porta = *porta;
        } else if (letra == 'e') {
            opcoes.endereco = optarg;
        } else if (letra == 'b') {
            opcoes.base = optarg;
        } else if (letra == 'f') {
            opcoes.fechaLogo = true;
        } else if (letra == 'l') {
            opcoes.logCorpo = true;
        } else {
            return std::nullopt;
        }
    }
    return optind == argc ? std::optional(opcoes) : std::nullopt;
}

std::string leArquivo(const char *caminho) {
    std::ifstream arquivo(caminho, std::ios::binary);
    if (!arquivo) {
        throw std::runtime_error(std::string("falta o arquivo ") + caminho);
    }
    return {std::istreambuf_iterator<char>(arquivo), {}};
}

void anuncia(std::int32_t porta) {
    const std::string endereco = "http://127.0.0.1:" + std::to_string(porta);
    std::cout << "pronto: " << endereco << "/index.html\n";
    for (const char *nome : {"Calc", "Contador"}) {
        std::cout << "  " << endereco << "/soap/" << nome << "  " << endereco << "/wsdl/" << nome << '\n';
    }
    std::cout << std::flush;
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
    // Kept by reference, so they stand before the server, which goes first.
    const std::string wsdlDoCalc = leArquivo(PASTA_DOS_EXEMPLOS "/calc/Calc.wsdl");
    const std::string wsdlDoContador = leArquivo(PASTA_DOS_EXEMPLOS "/calc/Contador.wsdl");
    const YDefinicaoPortType portTypes[] = {calc::definicaoDoCalc(wsdlDoCalc.c_str()),
                                            calc::definicaoDoContador(wsdlDoContador.c_str())};

    const auto servidor = pramo::cria<YSoapServer>(YSoapServer_rtti);
    YSoapServer_setEndereco(servidor, opcoes.endereco.empty() ? nullptr : opcoes.endereco.c_str());
    YSoapServer_setPorta(servidor, opcoes.porta);
    YSoapServer_setDiretorioBase(servidor, opcoes.base.c_str());
    YSoapServer_setFechaLogo(servidor, opcoes.fechaLogo ? 1 : 0);
    for (const YDefinicaoPortType &portType : portTypes) {
        YSoapServer_registraPortType(servidor, &portType);
    }
    YObThread_start(servidor);
    if (YSoapServer_esperaPronto(servidor, std::time(nullptr) + PRAZO_PARA_ESCUTAR) == 0) {
        throw std::runtime_error("a porta " + std::to_string(opcoes.porta) + " foi recusada");
    }
    anuncia(YSoapServer_getPorta(servidor));
    int sinal = 0;
    sigwait(&sinais, &sinal);
}

} // namespace

int main(int argc, char **argv) {
    const auto opcoes = leOpcoes(argc, argv);
    if (!opcoes) {
        std::cerr << "uso: calc [--endereco A] [--porta N] [--base DIR] [--fecha-logo] [--log-corpo]   "
                     "(porta 0: uma livre)\n";
        return 2;
    }
    try {
        serve(*opcoes);
    } catch (const std::exception &erro) {
        std::cerr << "calc: " << erro.what() << '\n';
        return 1;
    }
    return 0;
}
