// A time of day: hours * 100 + minutes in 16 bits.
#include <3pramo/forms/Pramo_Tipo_interno.hpp>

#include <3pramo/foundation/YConversoes.h>
#include <3pramo/foundation/caracteres.hpp>

#include <cstdio>
#include <cstring>

using namespace pramo;
using namespace pramo::forms;

namespace {

/// The end of the integer at the start of the text, the start itself when there is none.
const char *fimDoInteiro(const char *texto) {
    const char *c = texto;
    while (ehBranco(*c)) {
        c++;
    }
    c += *c == '-' || *c == '+' ? 1 : 0;
    if (!ehAlgarismo(*c)) {
        return texto;
    }
    while (ehAlgarismo(*c)) {
        c++;
    }
    return c;
}

void le(Pramo_Tipo * /*tipo*/, Pramo_Variavel *variavel, const YNo *elemento) {
    const char *texto = YNo_getValor(elemento);
    const char *doisPontos = texto != nullptr ? fimDoInteiro(texto) : "";
    if (*doisPontos != ':') {
        lanca(YExcSoap_rtti, "Conteúdo de hora mal formado."_l1, FONTE);
    }
    const auto horas = static_cast<std::uint64_t>(atoy64(texto));
    const auto minutos = static_cast<std::uint64_t>(atoy64(doisPontos + 1));
    const auto hora = static_cast<std::uint16_t>(horas * 100 + minutos);
    std::memcpy(variavel->endereco, &hora, sizeof hora);
}

void grava(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    std::uint16_t hora = 0;
    std::memcpy(&hora, variavel->endereco, sizeof hora);
    char texto[sizeof "655:99"];
    std::snprintf(texto, sizeof texto, "%02d:%02d", hora / 100, hora % 100);
    gravaValor(elemento, "hora", [&](YNo *valor) { YNo_setValor(valor, texto); });
}

} // namespace

PRAMO_TIPO(HORAC, le, grava)
