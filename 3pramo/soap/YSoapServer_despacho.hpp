// One SOAP call, from its request text to the response element.
#ifndef Y3PRAMO_SOAP_YSOAPSERVER_DESPACHO_HPP
#define Y3PRAMO_SOAP_YSOAPSERVER_DESPACHO_HPP

#include <3pramo/soap/YSoapServer_interno.hpp>

namespace pramo::soap {

struct Chamada {
    YSoapServer *servidor;
    const char *portType;
    const char *metodo;
    bool comPrefixo;     // false for a call inside "invoca"
    unsigned invocacoes; // how many "invoca" it is inside of
};

/// Runs the call and appends its response element to `saida`. `entrada` is the request text, or null for
/// none; `dado` the service object that an outer call already found, or null. Raises what the call raises.
void processaChamada(const Chamada &chamada, YStream *entrada, YStream *saida, Pino *dado);

} // namespace pramo::soap

#endif
