// What the sources of the field types share.
#ifndef Y3PRAMO_FORMS_PRAMO_TIPO_INTERNO_HPP
#define Y3PRAMO_FORMS_PRAMO_TIPO_INTERNO_HPP

#include <3pramo/forms/Pramo_Variavel.h>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/cria.hpp>

namespace pramo {

constexpr const char *FONTE_DO_TIPO = "Pramo_Tipo";

/// The content that a request brought; "" for none.
inline const char *textoDe(const YNo *elemento) {
    const char *texto = YNo_getValor(elemento);
    return texto != nullptr ? texto : "";
}

[[noreturn]] inline void tamanhoNaoSuportado() {
    lanca(YExc_rtti, "Tamanho não suportado."_l1, FONTE_DO_TIPO);
}

/// Appends the child "valor", has `poe` give it its text, then names the type: when `poe` raises, the child
/// stays, without a text.
template <typename POE>
void gravaValor(YNo *elemento, const char *tipo, POE poe) {
    poe(YNo_criaDescendente(elemento, "valor"));
    YNo_setAtributo(elemento, "tipo", tipo);
}

} // namespace pramo

/// The class of a field type, and its only object, made at compile time: there is no first use that threads
/// could meet in. The parent is YOb, so that no such class is a Pramo_Tipo to YRtti_deriva.
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
