// A quantity of `tamanho` bytes whose last three digits are decimals.
#include <3pramo/forms/Pramo_Tipo_interno.hpp>

#include <3pramo/foundation/cria.hpp>

#include <algorithm>
#include <cstring>

using namespace pramo::forms;

namespace {

void le(Pramo_Tipo * /*tipo*/, Pramo_Variavel *variavel, const YNo *elemento) {
    const pramo::Ponteiro<char> semPontos(YduplicaString(YNo_getValor(elemento)));
    if (char *texto = semPontos) {
        *std::remove(texto, texto + std::strlen(texto), '.') = 0;
    }
    leNumero(*variavel, semPontos);
}

// "12345 " becomes "12.345": the point goes before the last three digits, and the blank behind them leaves.
void poePonto(char *texto) {
    const std::size_t tamanho = std::strlen(texto);
    if (tamanho > 3) {
        std::memmove(texto + tamanho - 3, texto + tamanho - 4, 3);
        texto[tamanho - 4] = '.';
    }
}

void grava(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    gravaValor(elemento, "qtde3", [&](YNo *valor) {
        TextoDoNumero texto = textoDoNumero(*variavel);
        poePonto(texto.bytes);
        YNo_setValor(valor, texto.bytes);
    });
}

} // namespace

PRAMO_TIPO(QTDE3, le, grava)
