// How texts and numbers stand on the wire: as characters, packed two digits a byte, as bytes whose text is
// their hexadecimal digits, or in EBCDIC.
#ifndef Y3PRAMO_ISO_CODIFICACAO_HPP
#define Y3PRAMO_ISO_CODIFICACAO_HPP

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace pramo::iso {

enum class Codificacao : std::uint8_t { CARACTERES, BCD, BINARIO, EBCDIC };

/// What fills the byte that a text of odd length leaves half empty: a nibble, on either side.
struct Enchimento {
    bool direita = false;
    std::uint8_t nibble = 0;
};

struct FormaDoTexto {
    Codificacao codificacao = Codificacao::CARACTERES;
    Enchimento enchimento;
    bool trilha = false; // packed track data: the separator = is the nibble D
};

// ---- Texts ----

/// Bytes on the wire of so many characters. Binary texts have an even number of them.
constexpr std::size_t bytesDoTexto(FormaDoTexto forma, std::size_t caracteres) {
    switch (forma.codificacao) {
    case Codificacao::BCD:
        return (caracteres + 1) / 2;
    case Codificacao::BINARIO:
        return caracteres / 2;
    default:
        return caracteres;
    }
}

/// How many characters one of what a length counts is: a length counts bytes of what is binary, characters or
/// digits of anything else.
constexpr std::uint32_t caracteresPorUnidade(Codificacao codificacao) {
    return codificacao == Codificacao::BINARIO ? 2 : 1;
}

/// What the functions below do where the wire has anything but the characters as they are.
char *codificaOutra(FormaDoTexto forma, std::string_view texto, char *destino);
void decodificaOutra(FormaDoTexto forma, const char *bytes, std::size_t caracteres, char *destino);
std::size_t primeiroErradoEmBcd(FormaDoTexto forma, const char *bytes, std::size_t caracteres);

/// Writes the text; gives where it ends, or null when it has a character that the form cannot carry.
inline char *codifica(FormaDoTexto forma, std::string_view texto, char *destino) {
    if (forma.codificacao != Codificacao::CARACTERES) {
        return codificaOutra(forma, texto, destino);
    }
    std::memcpy(destino, texto.data(), texto.size());
    return destino + texto.size();
}

/// The first character of the text that the form cannot carry; the text's size when there is none.
std::size_t primeiroSemLugar(FormaDoTexto forma, std::string_view texto);

/// The first of the bytes that is wrong for a text of so many characters; how many bytes there are when none
/// is. Every byte is a character, and the text of two hexadecimal digits.
inline std::size_t primeiroErrado(FormaDoTexto forma, const char *bytes, std::size_t caracteres) {
    return forma.codificacao == Codificacao::BCD ? primeiroErradoEmBcd(forma, bytes, caracteres)
                                                 : bytesDoTexto(forma, caracteres);
}

/// Writes the text of so many characters that the bytes, which are right, stand for.
inline void decodifica(FormaDoTexto forma, const char *bytes, std::size_t caracteres, char *destino) {
    if (forma.codificacao == Codificacao::CARACTERES) {
        std::memcpy(destino, bytes, caracteres);
    } else {
        decodificaOutra(forma, bytes, caracteres, destino);
    }
}

// ---- Numbers ----

/// Bytes on the wire of a number of so many decimal digits.
constexpr std::size_t bytesDoNumero(Codificacao codificacao, std::size_t digitos) {
    const bool dois = codificacao == Codificacao::BCD || codificacao == Codificacao::BINARIO;
    return dois ? (digitos + 1) / 2 : digitos;
}

/// The largest number that a length of so many digits can say.
std::uint32_t maiorNumero(Codificacao codificacao, std::size_t digitos);

char *codificaNumeroEmOutra(Codificacao codificacao, std::uint32_t numero, std::size_t digitos,
                            char *destino);

/// Writes the number with zeros in front; gives where it ends. The caller sees to it that it fits.
inline char *codificaNumero(Codificacao codificacao, std::uint32_t numero, std::size_t digitos,
                            char *destino) {
    if (codificacao != Codificacao::CARACTERES) {
        return codificaNumeroEmOutra(codificacao, numero, digitos, destino);
    }
    for (std::size_t i = digitos; i-- > 0; numero /= 10) {
        destino[i] = static_cast<char>('0' + numero % 10);
    }
    return destino + digitos;
}

/// False when there is anything but digits in it.
bool decodificaNumero(Codificacao codificacao, const char *bytes, std::size_t digitos, std::uint32_t &numero);

} // namespace pramo::iso

#endif
