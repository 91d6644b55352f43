// Making what an owning pointer holds, inside the library.
#ifndef Y3PRAMO_FOUNDATION_CRIA_HPP
#define Y3PRAMO_FOUNDATION_CRIA_HPP

#include <3pramo/foundation/Ponteiro.hpp>

namespace pramo {

/// A new object of the class, entered in the allocation report under `fonte` and the caller's line.
template <typename T>
Ponteiro<T> cria(YFuncaoRtti classe, const char *fonte, int linha = __builtin_LINE()) {
    T *novo = nullptr;
    YalocaObjeto_debug(&novo, classe, fonte, linha);
    return Ponteiro<T>(novo);
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
