// A bitmap as its text: sixteen upper-case hexadecimal digits.
#ifndef Y3PRAMO_ISO_BITMAP_HPP
#define Y3PRAMO_ISO_BITMAP_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace pramo::iso {

constexpr std::size_t DIGITOS_DO_BITMAP = 16;

/// A digit of a bitmap with its four bits in reverse: on the wire the first one is the highest.
constexpr std::uint64_t AO_CONTRARIO[] = {0, 8, 4, 12, 2, 10, 6, 14, 1, 9, 5, 13, 3, 11, 7, 15};
constexpr std::string_view DIGITOS = "0123456789ABCDEF";

/// By character: those four bits, or NENHUM for what is no digit of a bitmap.
constexpr std::uint8_t NENHUM = 0x10;
constexpr auto BITS_DO_DIGITO = [] {
    std::array<std::uint8_t, 256> bits{};
    bits.fill(NENHUM);
    for (std::size_t i = 0; i < DIGITOS.size(); i++) {
        bits[static_cast<unsigned char>(DIGITOS[i])] = static_cast<std::uint8_t>(AO_CONTRARIO[i]);
    }
    return bits;
}();

inline char *poeBitmap(char *destino, std::uint64_t bitmap) {
    for (std::size_t i = 0; i < DIGITOS_DO_BITMAP; i++, bitmap >>= 4) {
        destino[i] = DIGITOS[AO_CONTRARIO[bitmap & 0xF]];
    }
    return destino + DIGITOS_DO_BITMAP;
}

/// False when one of the sixteen characters is no digit of a bitmap.
inline bool leBitmap(const char *texto, std::uint64_t &bitmap) {
    bitmap = 0;
    // Judged together at the end: no branch for each digit of what is nearly always right.
    unsigned vistos = 0;
    for (std::size_t i = 0; i < DIGITOS_DO_BITMAP; i++) {
        const unsigned bits = BITS_DO_DIGITO[static_cast<unsigned char>(texto[i])];
        vistos |= bits;
        bitmap |= std::uint64_t{bits} << (4 * i);
    }
    return (vistos & NENHUM) == 0;
}

} // namespace pramo::iso

#endif
