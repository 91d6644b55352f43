// What travels in one call of soma(2, 3): the request as a client of today sends it, and an answer of exactly
// the form and length of this system's own.
#pragma once

#include <string>

namespace bench {

inline const std::string ENVELOPE_DE_PEDIDO =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\" xmlns:ns1=\"urn:Calc\" "
    "xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
    "xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\" "
    "SOAP-ENV:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\"><SOAP-ENV:Body><ns1:soma>"
    "<a xsi:type=\"xsd:int\">2</a><b "
    "xsi:type=\"xsd:int\">3</b></ns1:soma></SOAP-ENV:Body></SOAP-ENV:Envelope>\n";

inline const std::string PEDIDO_SOMA = "POST /soap/Calc HTTP/1.1\r\n"
                                       "Host: 127.0.0.1\r\n"
                                       "Content-Type: text/xml; charset=utf-8\r\n"
                                       "SOAPAction: \"urn:Calc#soma\"\r\n"
                                       "Content-Length: " +
                                       std::to_string(ENVELOPE_DE_PEDIDO.size()) + "\r\n\r\n" +
                                       ENVELOPE_DE_PEDIDO;

inline const std::string ENVELOPE_DE_RESPOSTA =
    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
    "<SOAP-ENV:Envelope SOAP-ENV:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\" "
    "xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\" "
    "xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\" "
    "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
    "xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\"><SOAP-ENV:Body>"
    "<ns1:somaResponse xmlns:ns1=\"urn:Calc\"><ns1:return>5</ns1:return></ns1:somaResponse>"
    "</SOAP-ENV:Body></SOAP-ENV:Envelope>";

inline const std::string RESPOSTA_SOMA = "HTTP/1.1 200 OK\n"
                                         "Content-Type: text/xml; charset=ISO-8859-1\n"
                                         "Connection: close\n"
                                         "Date: 06 Nov 2026 08:49:37 GMT\n"
                                         "Content-Length: " +
                                         std::to_string(ENVELOPE_DE_RESPOSTA.size()) + "\n\n" +
                                         ENVELOPE_DE_RESPOSTA;

// Part of every right answer, whatever server gives it and whatever prefixes it writes.
inline const std::string SOMA_ESPERADA = ">5</";

} // namespace bench
