// What the field types share.
#ifndef Y3PRAMO_FORMS_PRAMO_TIPO_INTERNO_HPP
#define Y3PRAMO_FORMS_PRAMO_TIPO_INTERNO_HPP

#include <3pramo/forms/Pramo_Variavel.h>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YNumeros.h>

namespace pramo::forms {

constexpr const char *FONTE = "Pramo_Tipo";

struct TextoDoNumero {
    char bytes[Y_TAMANHO_NUMERO];
};

/// The variable's number of `tamanho` bytes from text and as text.
void leNumero(const Pramo_Variavel &variavel, const char *texto);
TextoDoNumero textoDoNumero(const Pramo_Variavel &variavel);

/// Runs a conversion from text: what it raises about the text becomes a YExcSoap.
template <typename CONVERSAO>
void converte(CONVERSAO conversao) {
    try {
        conversao();
    } catch (const YExcecao &e) {
        lanca(YExcSoap_rtti, e.what(), FONTE);
    }
}

/// Appends the child "valor", has `poe` give it its text, then names the type.
template <typename POE>
void gravaValor(YNo *elemento, const char *tipo, POE poe) {
    poe(YNo_criaDescendente(elemento, "valor"));
    YNo_setAtributo(elemento, "tipo", tipo);
}

} // namespace pramo::forms

/// The class of a field type, and its only object.
#define PRAMO_TIPO(nome, le, grava)                                                                          \
    const Pramo_Tipo_Rtti Pramo_Tipo##nome##_definicaoRtti = {                                               \
        {YOb_rtti, "Pramo_Tipo" #nome, sizeof(Pramo_Tipo), nullptr, nullptr}, le, grava};                    \
    const YRtti *Pramo_Tipo##nome##_rtti(void) {                                                             \
        return &Pramo_Tipo##nome##_definicaoRtti.rtti;                                                       \
    }                                                                                                        \
    Pramo_Tipo *Pramo_Tipo_getTipo##nome(void) {                                                             \
        static constinit Pramo_Tipo unico = {{&Pramo_Tipo##nome##_definicaoRtti.rtti}};                      \
        return &unico;                                                                                       \
    }

#endif
