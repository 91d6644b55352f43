// Text literals with accents: written in UTF-8 in the source, ISO-8859-1 in the program.
//
//     YContextoTry_throw(YExc_rtti, "Versão desconhecida."_l1, ...);
//
// The conversion happens at compile time; a character that ISO-8859-1 does not have does not compile.
#ifndef Y3PRAMO_FOUNDATION_LATIN1_HPP
#define Y3PRAMO_FOUNDATION_LATIN1_HPP

#include <cstddef>

namespace pramo {

template <std::size_t N>
struct TextoLatin1 {
    char bytes[N]{};

    // NOLINTNEXTLINE(google-explicit-constructor): a literal operator takes it from the literal itself.
    consteval TextoLatin1(const char (&utf8)[N]) {
        std::size_t escrito = 0;
        for (std::size_t i = 0; i + 1 < N; i++) {
            const auto c = static_cast<unsigned char>(utf8[i]);
            if (c < 0x80) {
                bytes[escrito++] = utf8[i];
            } else if (c == 0xC2 || c == 0xC3) {
                const auto seguinte = static_cast<unsigned char>(utf8[++i]);
                bytes[escrito++] = static_cast<char>(((c & 3) << 6) | (seguinte & 0x3F));
            } else {
                throw "a character outside ISO-8859-1";
            }
        }
    }
};

inline namespace literais {

/// The literal as zero-terminated ISO-8859-1 text that lives as long as the program.
template <TextoLatin1 TEXTO>
constexpr const char *operator""_l1() {
    return TEXTO.bytes;
}

} // namespace literais
} // namespace pramo

#endif
