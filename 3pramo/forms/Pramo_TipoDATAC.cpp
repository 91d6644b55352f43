// A packed date of two bytes.
#include <3pramo/forms/Pramo_Tipo_interno.hpp>

#include <3pramo/foundation/DATAC.h>

using namespace pramo::forms;

namespace {

void le(Pramo_Tipo * /*tipo*/, Pramo_Variavel *variavel, const YNo *elemento) {
    const std::uint32_t dia = YNo_getDateYVal(elemento);
    converte([&] { DATAC_de_yuliano(variavel->endereco, dia); });
}

void grava(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    gravaValor(elemento, "data", [&](YNo *valor) {
        YNo_setDateYVal(valor, static_cast<std::uint32_t>(DATAC_yuliano(variavel->endereco)));
    });
}

} // namespace

PRAMO_TIPO(DATAC, le, grava)
