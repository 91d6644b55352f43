// What the private field of an entity keeps for the classes derived from it.
#ifndef Y3PRAMO_FORMS_PRAMO_ENTIDADE_INTERNO_HPP
#define Y3PRAMO_FORMS_PRAMO_ENTIDADE_INTERNO_HPP

#include <3pramo/forms/Pramo_Entidade.h>

namespace pramo {

/// Bits of Pramo_Entidade::marcas. They stand there because the objects of the derived classes must not grow:
/// an application may have derived from them.
enum MarcaDaEntidade : int32_t {
    NOME_FIXO = 1,    // of a peripheral: the name is no block and is never replaced
    BOTAO_RETIDO = 2, // of a button: it is not offered
};

} // namespace pramo

#endif
