// A number of `tamanho` bytes that identifies something, and the same as a password.
#include <3pramo/forms/Pramo_Tipo_interno.hpp>

using namespace pramo::forms;

namespace {

void le(Pramo_Tipo * /*tipo*/, Pramo_Variavel *variavel, const YNo *elemento) {
    leNumero(*variavel, YNo_getValor(elemento));
}

void gravaComo(const char *tipo, const Pramo_Variavel &variavel, YNo *elemento) {
    gravaValor(elemento, tipo, [&](YNo *valor) { YNo_setValor(valor, textoDoNumero(variavel).bytes); });
}

void gravaId(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    gravaComo("id", *variavel, elemento);
}

void gravaSenha(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    gravaComo("senha", *variavel, elemento);
}

} // namespace

PRAMO_TIPO(Id, le, gravaId)
PRAMO_TIPO(Senha, le, gravaSenha)
