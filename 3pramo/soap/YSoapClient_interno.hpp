// What the sources of the SOAP client share.
#ifndef Y3PRAMO_SOAP_YSOAPCLIENT_INTERNO_HPP
#define Y3PRAMO_SOAP_YSOAPCLIENT_INTERNO_HPP

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/cria.hpp>
#include <3pramo/http/YMensagemHttp.h>
#include <3pramo/soap/YSoapClient.h>

#include <string>

namespace pramo::soap {

inline constexpr const char *FONTE_DO_CLIENTE = "YSoapClient";

/// Raises with what `onde` says ("ADDRESS:PORT. ") in front.
[[noreturn]] inline void falhaDaChamada(YFuncaoRtti classe, const std::string &onde, const char *mensagem,
                                        int linha = __builtin_LINE()) {
    YContextoTry_printf("%s", onde.c_str());
    lanca(classe, mensagem, FONTE_DO_CLIENTE, linha);
}

/// The response element of a whole answer with this HTTP status, taken out of its envelope; raises what
/// YSoapClient_chama raises for a fault and for what is no envelope. The body is used up.
Ponteiro<YNo> interpretaResposta(YMensagemHttp &mensagem, int status, const char *metodo,
                                 const std::string &onde);

} // namespace pramo::soap

#endif
