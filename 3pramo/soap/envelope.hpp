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

} // namespace pramo::soap

#endif
