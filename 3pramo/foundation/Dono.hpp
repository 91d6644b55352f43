// Owning pointers over the library's own ways of freeing.
#ifndef Y3PRAMO_FOUNDATION_DONO_HPP
#define Y3PRAMO_FOUNDATION_DONO_HPP

#include <3pramo/foundation/YDIC.h>
#include <3pramo/foundation/YMemoria.h>
#include <3pramo/foundation/YOb_interno.hpp>

#include <memory>

namespace pramo {

struct Libera {
    void operator()(void *objeto) const { liberaSemLancar(objeto); }
    void operator()(YDIC *dic) const { YDIC_destroi(dic); }
    void operator()(char *texto) const { YliberaMemoria(texto); }
};

/// Owns an object, a dictionary or a text.
template <typename T>
using Dono = std::unique_ptr<T, Libera>;

/// A new object of the class, entered in the allocation report under `fonte` and the caller's line.
template <typename T>
Dono<T> cria(YFuncaoRtti classe, const char *fonte, int linha = __builtin_LINE()) {
    T *novo = nullptr;
    YalocaObjeto_debug(&novo, classe, fonte, linha);
    return Dono<T>(novo);
}

/// Replaces an owned text by a copy of another: the copy is made first, so the new text may be part of the
/// old one.
inline void trocaTexto(char *&campo, const char *novo) {
    char *copia = YduplicaString(novo);
    YliberaMemoria(campo);
    campo = copia;
}

} // namespace pramo

#endif
