// The body of a SOAP message, made fit for a log.
#ifndef Y3PRAMO_SOAP_MASCARA_HPP
#define Y3PRAMO_SOAP_MASCARA_HPP

#include <string>
#include <string_view>

namespace pramo::soap {

/// A SOAP body as it may be logged. Nothing says before it is parsed which field of a form is a password or
/// came from a card, so of a body that names an element `campo`, escaped inside another one's text too, only
/// the tags remain. What remains is masked by mascaraDadosDeCartao.
std::string mascaraCorpo(std::string_view corpo);

/// Logs the body of a call, masked, if bodies are logged; `sentido` says what it is.
void registraCorpo(const char *sentido, const char *portType, const char *metodo, std::string_view corpo);

} // namespace pramo::soap

#endif
