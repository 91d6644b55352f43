// The owning pointer of C++ code, the library's own and an application's.
#ifndef Y3PRAMO_FOUNDATION_PONTEIRO_HPP
#define Y3PRAMO_FOUNDATION_PONTEIRO_HPP

#include <3pramo/foundation/YDIC.h>
#include <3pramo/foundation/YMemoria.h>
#include <3pramo/foundation/YOb.h>

#include <memory>

namespace pramo {

/// Frees an object, a dictionary or a text block. An exception of an object's destructor is logged and ends
/// here.
struct Liberador {
    void operator()(void *objeto) const noexcept { YliberaObjeto_semLancar(objeto); }
    void operator()(YDIC *dic) const noexcept { YDIC_destroi(dic); }
    void operator()(char *texto) const noexcept { YliberaMemoria(texto); }
};

/// Owns an object of the object system, a YDIC, or a text of YduplicaString. It goes as it is where a
/// function takes the plain pointer; to hand over what it owns, release() it. What takes any pointer
/// (YliberaObjeto, YNo_setPtr) asks for get(), so that nothing is freed twice by mistake.
template <typename T>
class Ponteiro : public std::unique_ptr<T, Liberador> {
public:
    using std::unique_ptr<T, Liberador>::unique_ptr;

    operator T *() const & { return this->get(); }
    operator T *() const && = delete; // what it owns would be gone before the pointer is used
    operator void *() const = delete;
};

} // namespace pramo

#endif
