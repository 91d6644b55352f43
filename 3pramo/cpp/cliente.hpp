// Calls to SOAP services:
//
//     const auto cliente = pramo::cria<YSoapClient>(YSoapClient_rtti);
//     YSoapClient_setEndereco(cliente, "10.0.0.1", 8080);
//     const std::string eu = pramo::constroi(cliente, "Contador");
//     const auto pedido = pramo::cria<YNo>(YNo_rtti);
//     YNo_setString(pedido, "eu", eu.c_str());
//     const auto resposta = pramo::chama(cliente, "Contador", "proximo", pedido);
#ifndef Y3PRAMO_CPP_CLIENTE_HPP
#define Y3PRAMO_CPP_CLIENTE_HPP

#include <3pramo/foundation/Ponteiro.hpp>
#include <3pramo/soap/YSoapClient.h>

#include <string>

namespace pramo {

/// YSoapClient_chama, whose answer is then owned.
inline Ponteiro<YNo> chama(YSoapClient *cliente, const char *portType, const char *metodo,
                           const YNo *requisicao = nullptr) {
    return Ponteiro<YNo>(YSoapClient_chama(cliente, portType, metodo, requisicao));
}

/// Has the server make a service object of the port type; gives its identity, for the parameter "eu".
inline std::string constroi(YSoapClient *cliente, const char *portType) {
    const Ponteiro<YNo> resposta = chama(cliente, portType, "constroi");
    const char *identidade = YNo_getString(resposta, "return");
    return identidade != nullptr ? identidade : "";
}

} // namespace pramo

#endif
