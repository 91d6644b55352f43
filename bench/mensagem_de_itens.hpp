// A SOAP message of 500 items, some 56 KB, as a client sends a list of products.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace bench {

constexpr int QUANTOS_ITENS = 500;

inline std::string item(int i, const char *tipo) {
    char texto[160];
    const char *nome = i % 10 == 0 ? "Pilha &amp; cabo" : "Caderno A4";
    const int tamanho =
        std::snprintf(texto, sizeof texto,
                      "<item><codigo>%d</codigo><nome>%s</nome><preco %s=\"xsd:double\">%d.%02d</preco>"
                      "<qtd>%d</qtd></item>",
                      100000 + i, nome, tipo, i % 90 + 10, i % 100, i % 7 + 1);
    return {texto, static_cast<std::size_t>(tamanho)};
}

// As it comes over the wire, with prefixes and namespaces.
inline std::string mensagemRecebida() {
    std::string texto =
        "<SOAP-ENV:Envelope SOAP-ENV:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\" "
        "xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\" "
        "xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\" "
        "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">"
        "<SOAP-ENV:Body><ns1:cadastra xmlns:ns1=\"urn:Estoque\">";
    for (int i = 0; i < QUANTOS_ITENS; i++) {
        texto += item(i, "xsi:type");
    }
    return texto + "</ns1:cadastra></SOAP-ENV:Body></SOAP-ENV:Envelope>";
}

// The same without prefixes: a tree read from it is written back byte for byte by every library.
inline std::string mensagemSemPrefixos() {
    std::string texto = "<Envelope><Body><cadastra>";
    for (int i = 0; i < QUANTOS_ITENS; i++) {
        texto += item(i, "type");
    }
    return texto + "</cadastra></Body></Envelope>";
}

} // namespace bench
