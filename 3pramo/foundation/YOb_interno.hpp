// What the object system offers inside the library.
#ifndef Y3PRAMO_FOUNDATION_YOB_INTERNO_HPP
#define Y3PRAMO_FOUNDATION_YOB_INTERNO_HPP

#include <3pramo/foundation/YOb.h>

#include <cstddef>

namespace pramo {

/// Calls `visita` with the class and its ancestors, the class first, until it gives false.
template <typename VISITA>
void percorreClasses(const YRtti *classe, VISITA visita) {
    while (classe != nullptr && visita(*classe)) {
        classe = classe->parent != nullptr ? classe->parent() : nullptr;
    }
}

/// Instance size of the class, at least that of its ancestors.
std::size_t tamanhoDaInstancia(const YRtti *classe);

/// Says to YliberaObjeto, before the first destructor of an object of the class or of one derived from it,
/// whether it may go now. False: somebody still uses it, and whoever does so last frees it. It may raise: the
/// object then stays as it was.
using PodeLiberar = bool (*)(void *objeto);

/// A static of namespace scope: enters a class's question while the library is loaded. Few classes have one.
struct AntesDeLiberar {
    AntesDeLiberar(const YRtti &deQual, PodeLiberar pergunta);
    AntesDeLiberar(const AntesDeLiberar &) = delete;
    AntesDeLiberar &operator=(const AntesDeLiberar &) = delete;

    const YRtti *classe;
    PodeLiberar pode;
    const AntesDeLiberar *seguinte;
};

} // namespace pramo

#endif
