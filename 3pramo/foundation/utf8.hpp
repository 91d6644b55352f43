// UTF-8 read as ISO-8859-1: the one conversion that streams and requests go through.
#ifndef Y3PRAMO_FOUNDATION_UTF8_HPP
#define Y3PRAMO_FOUNDATION_UTF8_HPP

#include <cstddef>
#include <string_view>

namespace pramo {

/// Whether all of the text is valid: no overlong form, no half of a pair, nothing beyond Unicode, nothing
/// cut.
bool ehUtf8(std::string_view texto);

enum class FimDaConversao {
    TODA,
    INVALIDO, // the bytes there are no character
    FORA,     // ISO-8859-1 does not have the character there
};

struct Conversao {
    FimDaConversao fim;
    std::size_t lidos; // where it ended
    std::size_t escritos;
};

/// Writes the text as ISO-8859-1 to `destino`, which has as many bytes as the text and may be the text's own
/// place: what is written never overtakes what is read. Ends in front of what it cannot write.
Conversao converteParaLatin1(std::string_view utf8, char *destino);

} // namespace pramo

#endif
