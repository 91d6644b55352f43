// The layout of a list, for every room that walks it directly.
#ifndef Y3PRAMO_FOUNDATION_YVETOR_INTERNO_HPP
#define Y3PRAMO_FOUNDATION_YVETOR_INTERNO_HPP

#include <3pramo/foundation/YVetor.h>

#include <cstddef>
#include <span>

/// `dados` is null or has room for `capacidade` elements, of which the first `tam` are there.
struct YVetor : YOb {
    void **dados;
    std::size_t tam;
    std::size_t capacidade;
};

namespace pramo {

inline std::span<void *> elementos(const YVetor &vetor) {
    return {vetor.dados, vetor.tam};
}

/// Takes out the last element of a list that is not empty; never fails.
inline void *tiraUltimo(YVetor &vetor) {
    return vetor.dados[--vetor.tam];
}

} // namespace pramo

#endif
