#include <3pramo/foundation/utf8.hpp>

#include <cstdint>

namespace pramo {

namespace {

// One character of UTF-8. A length of 0: the bytes are no valid UTF-8.
struct Caractere {
    std::uint32_t codigo;
    std::size_t bytes;
};

Caractere decodifica(std::string_view texto) {
    const auto primeiro = static_cast<unsigned char>(texto[0]);
    if (primeiro < 0x80) {
        return {primeiro, 1};
    }
    const std::size_t bytes = primeiro >= 0xF0 ? 4 : primeiro >= 0xE0 ? 3 : 2;
    constexpr std::uint32_t MENORES[] = {0, 0, 0x80, 0x800, 0x10000};
    // 80 to BF continue a character, C0 and C1 would begin an overlong form, F5 lies beyond the last
    // character.
    if (primeiro < 0xC2 || primeiro > 0xF4 || texto.size() < bytes) {
        return {0, 0};
    }
    // As many of the first byte's low bits as the length in front of them leaves.
    std::uint32_t codigo = primeiro & (0xFFU >> (bytes + 1));
    for (std::size_t i = 1; i < bytes; i++) {
        const auto c = static_cast<unsigned char>(texto[i]);
        if ((c & 0xC0) != 0x80) {
            return {0, 0};
        }
        codigo = codigo << 6 | (c & 0x3FU);
    }
    // Halves of a pair, overlong forms and numbers beyond Unicode are no characters.
    const bool substituto = codigo >= 0xD800 && codigo <= 0xDFFF;
    return codigo < MENORES[bytes] || codigo > 0x10FFFF || substituto ? Caractere{0, 0}
                                                                      : Caractere{codigo, bytes};
}

} // namespace

bool ehUtf8(std::string_view texto) {
    while (!texto.empty()) {
        const Caractere c = decodifica(texto);
        if (c.bytes == 0) {
            return false;
        }
        texto.remove_prefix(c.bytes);
    }
    return true;
}

Conversao converteParaLatin1(std::string_view utf8, char *destino) {
    std::size_t escritos = 0;
    for (std::size_t lidos = 0; lidos < utf8.size();) {
        const Caractere c = decodifica(utf8.substr(lidos));
        if (c.bytes == 0 || c.codigo > 0xFF) {
            return {c.bytes == 0 ? FimDaConversao::INVALIDO : FimDaConversao::FORA, lidos, escritos};
        }
        destino[escritos++] = static_cast<char>(c.codigo);
        lidos += c.bytes;
    }
    return {FimDaConversao::TODA, utf8.size(), escritos};
}

} // namespace pramo
