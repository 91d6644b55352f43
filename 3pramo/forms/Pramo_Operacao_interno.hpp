// What the sources of Pramo_Operacao share.
#ifndef Y3PRAMO_FORMS_PRAMO_OPERACAO_INTERNO_HPP
#define Y3PRAMO_FORMS_PRAMO_OPERACAO_INTERNO_HPP

#include <3pramo/forms/Pramo_Operacao.h>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/cria.hpp>

namespace pramo {

constexpr const char *FONTE_DA_OPERACAO = "Pramo_Operacao";

/// What stands behind `privado`.
struct Pramo_Operacao_Privado {
    bool cargaEstrita = false;
    Pramo_Botao *botaoAcionado = nullptr; // one of the operation's
    Ponteiro<char> aviso;
};

inline Pramo_Operacao_Privado &privado(const Pramo_Operacao &operacao) {
    return *static_cast<Pramo_Operacao_Privado *>(operacao.privado);
}

} // namespace pramo

#endif
