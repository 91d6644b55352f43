// What stands around every message of this library, request and answer alike.
#ifndef Y3PRAMO_SOAP_ENVELOPE_HPP
#define Y3PRAMO_SOAP_ENVELOPE_HPP

#include <string_view>

namespace pramo::soap {

constexpr const char *TIPO_XML = "text/xml; charset=ISO-8859-1";

constexpr std::string_view INICIO_DO_ENVELOPE =
    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
    "<SOAP-ENV:Envelope"
    " SOAP-ENV:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\""
    " xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\""
    " xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\""
    " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
    " xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\">"
    "<SOAP-ENV:Body>";
constexpr std::string_view FIM_DO_ENVELOPE = "</SOAP-ENV:Body></SOAP-ENV:Envelope>";

/// What every detail of a fault tells, so that no attribute of an exception can stand for it.
constexpr bool ehParteDaFalha(std::string_view nome) {
    return nome == "classe" || nome == "mensagem" || nome == "detalhe" || nome == "lugar";
}

} // namespace pramo::soap

#endif
