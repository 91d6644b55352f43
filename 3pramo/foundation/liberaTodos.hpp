// How a container that owns its elements frees them.
#ifndef Y3PRAMO_FOUNDATION_LIBERATODOS_HPP
#define Y3PRAMO_FOUNDATION_LIBERATODOS_HPP

#include <3pramo/foundation/YExc_interno.hpp>

#include <exception>

namespace pramo {

/// Frees what `tira` takes out of the container, until `vazio` says that nothing is left. Each element is out
/// before its destructor runs, so a destructor may use the container, also to remove another element or to
/// remove itself. An exception of a destructor does not stop the others; the first one is raised at the end.
template <typename Vazio, typename Tira>
void liberaTodos(Vazio vazio, Tira tira) {
    std::exception_ptr primeira;
    while (!vazio()) {
        guardaPrimeira(primeira, [&] { YliberaObjeto(tira()); });
    }
    if (primeira) {
        std::rethrow_exception(primeira);
    }
}

} // namespace pramo

#endif
