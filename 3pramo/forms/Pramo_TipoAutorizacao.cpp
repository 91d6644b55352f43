// A text of at most `tamanho` bytes, without a terminating zero when it has them all; and the same for a
// choice.
#include <3pramo/forms/Pramo_Tipo_interno.hpp>

#include <3pramo/foundation/cria.hpp>

#include <cstring>

using namespace pramo;

namespace {

void le(Pramo_Tipo * /*tipo*/, Pramo_Variavel *variavel, const YNo *elemento) {
    const char *texto = YNo_getValor(elemento);
    // Exactly what is wanted: cuts without a zero, fills with zeros.
    std::strncpy(static_cast<char *>(variavel->endereco), texto != nullptr ? texto : "", variavel->tamanho);
}

void gravaComo(const char *tipo, const Pramo_Variavel &variavel, YNo *elemento) {
    forms::gravaValor(elemento, tipo, [&](YNo *valor) {
        const auto *texto = static_cast<const char *>(variavel.endereco);
        const Ponteiro<char> copia(YduplicaStringTam(texto, strnlen(texto, variavel.tamanho)));
        YNo_setValor(valor, copia);
    });
}

void gravaAutorizacao(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    gravaComo("autorizacao", *variavel, elemento);
}

void gravaEscolhaMultipla(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    gravaComo("escolhaMultipla", *variavel, elemento);
}

} // namespace

PRAMO_TIPO(Autorizacao, le, gravaAutorizacao)
PRAMO_TIPO(EscolhaMultipla, le, gravaEscolhaMultipla)
