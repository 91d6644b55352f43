// Texts between ISO-8859-1, which everything in the library is, and UTF-8, which most of the world around it
// is.
#ifndef Y3PRAMO_CPP_TEXTO_HPP
#define Y3PRAMO_CPP_TEXTO_HPP

#include <3pramo/foundation/Ponteiro.hpp>
#include <3pramo/foundation/YStream.h>

#include <string>
#include <string_view>

namespace pramo {

namespace interno {

template <auto PUT>
std::string convertido(std::string_view texto) {
    YStream *novo = nullptr;
    YalocaObjeto(&novo, YStream_rtti);
    const Ponteiro<YStream> stream(novo);
    PUT(stream, texto.data(), static_cast<int64_t>(texto.size()));
    return {YStream_str(stream), static_cast<std::size_t>(YStream_tam(stream))};
}

} // namespace interno

/// The UTF-8 text as ISO-8859-1. Nothing is lost: raises what YStream_putDeUtf8 raises, with the position.
inline std::string latin1(std::string_view utf8) {
    return interno::convertido<YStream_putDeUtf8>(utf8);
}

/// The ISO-8859-1 text as UTF-8.
inline std::string utf8(std::string_view latin1) {
    return interno::convertido<YStream_putEmUtf8>(latin1);
}

} // namespace pramo

#endif
