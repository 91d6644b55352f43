// A number of `tamanho` bytes; the place of the point in what was read is recorded.
#include <3pramo/forms/Pramo_Tipo_interno.hpp>

#include <string_view>

using namespace pramo::forms;

namespace {

void contaCaracteres(Pramo_Variavel &variavel, std::string_view texto) {
    const std::size_t ponto = texto.find('.');
    if (ponto == std::string_view::npos) {
        variavel.caracteresAntesDaVirgula = texto.size();
        return;
    }
    variavel.caracteresAntesDaVirgula = ponto;
    variavel.caracteresDepoisDaVirgula = texto.size() - ponto - 1;
}

void le(Pramo_Tipo * /*tipo*/, Pramo_Variavel *variavel, const YNo *elemento) {
    const char *texto = YNo_getValor(elemento);
    contaCaracteres(*variavel, texto != nullptr ? texto : "");
    leNumero(*variavel, texto);
}

void grava(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    gravaValor(elemento, "bin", [&](YNo *valor) { YNo_setValor(valor, textoDoNumero(*variavel).bytes); });
}

} // namespace

PRAMO_TIPO(BIN, le, grava)
