// Publishes the port type Formulario, which conducts a sale as a form, until SIGINT or SIGTERM.
#include "Formulario.hpp"
#include "arquivo.hpp"
#include "programa.h"

#include <ctime>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

constexpr int PRAZO_PARA_ESCUTAR = 10; // seconds

/// What stands between the tags of the schema of forms: the WSDL takes it into a schema of its own.
std::string tiposDoFormulario() {
    const std::string schema = leArquivo(PASTA_DOS_EXEMPLOS "/../docs/formulario.xsd");
    const std::size_t inicio = schema.find('>', schema.find("<xs:schema")) + 1;
    return schema.substr(inicio, schema.rfind("</xs:schema>") - inicio);
}

void serve(const Opcoes &opcoes) {
    // Kept by reference, so it stands before the server, which goes first.
    const std::string wsdl = leArquivo(PASTA_DOS_EXEMPLOS "/formulario/Formulario.wsdl");
    const YDefinicaoPortType portType = definicaoDoFormulario(wsdl.c_str());
    const auto servidor = pramo::cria<YSoapServer>(YSoapServer_rtti);
    YSoapServer_setEndereco(servidor, opcoes.endereco);
    YSoapServer_setPorta(servidor, opcoes.porta);
    YSoapServer_setDiretorioBase(servidor, opcoes.base);
    YSoapServer_setFechaLogo(servidor, opcoes.fechaLogo);
    YSoapServer_registraMacro(servidor, "FORMULARIO", tiposDoFormulario().c_str());
    YSoapServer_registraPortType(servidor, &portType);
    YObThread_start(servidor);
    if (YSoapServer_esperaPronto(servidor, std::time(nullptr) + PRAZO_PARA_ESCUTAR) == 0) {
        throw std::runtime_error("a porta " + std::to_string(opcoes.porta) + " foi recusada");
    }
    const std::string onde = "http://127.0.0.1:" + std::to_string(YSoapServer_getPorta(servidor));
    std::cout << "pronto: " << onde << "/soap/Formulario  " << onde << "/wsdl/Formulario" << std::endl;
    esperaSinal();
}

} // namespace

int main(int argc, char **argv) {
    Opcoes opcoes = {"127.0.0.1", 8080, nullptr, 0, 0};
    leOpcoes(argc, argv, SERVICO_SOAP, "Publica o port type Formulario: uma venda em forma de formulário.",
             &opcoes);
    bloqueiaSinais(); // before the server's threads start
    if (opcoes.logCorpo != 0) {
        YObLOG_habilita(YObLOG_habilitadas() | Y_LOG_CORPO);
    }
    try {
        serve(opcoes);
    } catch (const std::exception &erro) {
        std::cerr << "formulario: " << erro.what() << '\n';
        return 1;
    }
    return 0;
}
