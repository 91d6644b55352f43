// Publishes the port types Calc and Contador, and a page that calls soma, until SIGINT or SIGTERM.
#include "arquivo.hpp"
#include "portTypes.hpp"
#include "programa.h"

#include <ctime>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

constexpr int PRAZO_PARA_ESCUTAR = 10; // seconds

void anuncia(std::int32_t porta);

void serve(const Opcoes &opcoes) {
    // Kept by reference, so it stands before the server, which goes first.
    const std::string wsdlDoCalc = leArquivo(PASTA_DOS_EXEMPLOS "/calc/Calc.wsdl");
    const YDefinicaoPortType definicaoDoCalc = calc::definicaoDoCalc(wsdlDoCalc.c_str());

    const auto servidor = pramo::cria<YSoapServer>(YSoapServer_rtti);
    YSoapServer_setEndereco(servidor, opcoes.endereco);
    YSoapServer_setPorta(servidor, opcoes.porta);
    YSoapServer_setDiretorioBase(servidor, opcoes.base);
    YSoapServer_setFechaLogo(servidor, opcoes.fechaLogo);
    YSoapServer_registraPortType(servidor, &definicaoDoCalc);
    calc::registraContador(servidor);
    YObThread_start(servidor);
    if (YSoapServer_esperaPronto(servidor, std::time(nullptr) + PRAZO_PARA_ESCUTAR) == 0) {
        throw std::runtime_error("a porta " + std::to_string(opcoes.porta) + " foi recusada");
    }
    anuncia(YSoapServer_getPorta(servidor));
    esperaSinal();
}

} // namespace

int main(int argc, char **argv) {
    Opcoes opcoes = {"127.0.0.1", 8080, PASTA_DOS_EXEMPLOS "/calc/www", 0, 0};
    leOpcoes(argc, argv, SERVICO_SOAP, "Publica os port types Calc e Contador.", &opcoes);
    bloqueiaSinais(); // before the server's threads start
    if (opcoes.logCorpo != 0) {
        YObLOG_habilita(YObLOG_habilitadas() | Y_LOG_CORPO);
    }
    try {
        serve(opcoes);
    } catch (const std::exception &erro) {
        std::cerr << "calc: " << erro.what() << '\n';
        return 1;
    }
    return 0;
}

namespace {

void anuncia(std::int32_t porta) {
    const std::string endereco = "http://127.0.0.1:" + std::to_string(porta);
    std::cout << "pronto: " << endereco << "/index.html\n";
    for (const char *nome : {"Calc", "Contador"}) {
        std::cout << "  " << endereco << "/soap/" << nome << "  " << endereco << "/wsdl/" << nome << '\n';
    }
    std::cout << std::flush;
}

} // namespace
