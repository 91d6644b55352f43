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

/// Frees the object; an exception of a destructor is logged and goes no further.
void liberaSemLancar(void *objeto) noexcept;

} // namespace pramo

#endif
