// Texts and numbers between characters and the wire. What is nearly always right is judged once, at the end
// of a loop without branches; where the fault lies is looked for afterwards.
#include <3pramo/iso/codificacao.hpp>

#include <algorithm>
#include <array>

namespace pramo::iso {

namespace {

/// What a nibble may be. In the tables below these bits say what a character or a byte is not.
enum Alfabeto : std::uint8_t { DECIMAL = 0x10, TRILHA = 0x20, HEXADECIMAL = 0x40 };

constexpr std::uint8_t TODOS = DECIMAL | TRILHA | HEXADECIMAL;
constexpr std::uint8_t NIBBLE = 0xF;
constexpr std::uint8_t SEPARADOR = 0xD;

// ISO 7813 writes the sixteen nibbles of a track as the characters from 0 to ?.
constexpr std::string_view LETRAS_DA_TRILHA = "0123456789:;<=>?";
constexpr std::string_view LETRAS = "0123456789ABCDEF";

constexpr unsigned char byte(char c) {
    return static_cast<unsigned char>(c);
}

/// By character: its nibble, and the alphabets that it is not in.
constexpr auto DO_CARACTERE = [] {
    std::array<std::uint8_t, 256> nibbles{};
    nibbles.fill(TODOS);
    for (std::uint8_t i = 0; i < 10; i++) {
        nibbles['0' + i] = i;
    }
    for (std::uint8_t i = 10; i <= NIBBLE; i++) {
        nibbles['A' + i - 10] = nibbles['a' + i - 10] = static_cast<std::uint8_t>(DECIMAL | TRILHA | i);
    }
    nibbles['D'] = DECIMAL | SEPARADOR;
    nibbles['='] = DECIMAL | HEXADECIMAL | SEPARADOR;
    return nibbles;
}();

/// By byte: the alphabets that one of its two nibbles is not in.
constexpr auto DO_BYTE = [] {
    std::array<std::uint8_t, 256> fora{};
    for (unsigned i = 0; i < fora.size(); i++) {
        for (const unsigned nibble : {i >> 4, i & NIBBLE}) {
            fora[i] |= nibble > 9 ? DECIMAL : 0;
            fora[i] |= nibble > 9 && nibble != SEPARADOR ? TRILHA : 0;
        }
    }
    return fora;
}();

/// The two characters of each byte.
constexpr auto pares(std::string_view letras) {
    std::array<std::array<char, 2>, 256> dois{};
    for (unsigned i = 0; i < dois.size(); i++) {
        dois[i] = {letras[i >> 4], letras[i & NIBBLE]};
    }
    return dois;
}
constexpr auto PARES = pares(LETRAS);
constexpr auto PARES_DA_TRILHA = pares(LETRAS_DA_TRILHA);

// Code page 037, which has every character of ISO-8859-1 exactly once.
constexpr std::array<std::uint8_t, 256> DE_EBCDIC = {
    // clang-format off
    0x00, 0x01, 0x02, 0x03, 0x9C, 0x09, 0x86, 0x7F, 0x97, 0x8D, 0x8E, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F,
    0x10, 0x11, 0x12, 0x13, 0x9D, 0x85, 0x08, 0x87, 0x18, 0x19, 0x92, 0x8F, 0x1C, 0x1D, 0x1E, 0x1F,
    0x80, 0x81, 0x82, 0x83, 0x84, 0x0A, 0x17, 0x1B, 0x88, 0x89, 0x8A, 0x8B, 0x8C, 0x05, 0x06, 0x07,
    0x90, 0x91, 0x16, 0x93, 0x94, 0x95, 0x96, 0x04, 0x98, 0x99, 0x9A, 0x9B, 0x14, 0x15, 0x9E, 0x1A,
    0x20, 0xA0, 0xE2, 0xE4, 0xE0, 0xE1, 0xE3, 0xE5, 0xE7, 0xF1, 0xA2, 0x2E, 0x3C, 0x28, 0x2B, 0x7C,
    0x26, 0xE9, 0xEA, 0xEB, 0xE8, 0xED, 0xEE, 0xEF, 0xEC, 0xDF, 0x21, 0x24, 0x2A, 0x29, 0x3B, 0xAC,
    0x2D, 0x2F, 0xC2, 0xC4, 0xC0, 0xC1, 0xC3, 0xC5, 0xC7, 0xD1, 0xA6, 0x2C, 0x25, 0x5F, 0x3E, 0x3F,
    0xF8, 0xC9, 0xCA, 0xCB, 0xC8, 0xCD, 0xCE, 0xCF, 0xCC, 0x60, 0x3A, 0x23, 0x40, 0x27, 0x3D, 0x22,
    0xD8, 0x61, 0x62, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68, 0x69, 0xAB, 0xBB, 0xF0, 0xFD, 0xFE, 0xB1,
    0xB0, 0x6A, 0x6B, 0x6C, 0x6D, 0x6E, 0x6F, 0x70, 0x71, 0x72, 0xAA, 0xBA, 0xE6, 0xB8, 0xC6, 0xA4,
    0xB5, 0x7E, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7A, 0xA1, 0xBF, 0xD0, 0xDD, 0xDE, 0xAE,
    0x5E, 0xA3, 0xA5, 0xB7, 0xA9, 0xA7, 0xB6, 0xBC, 0xBD, 0xBE, 0x5B, 0x5D, 0xAF, 0xA8, 0xB4, 0xD7,
    0x7B, 0x41, 0x42, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0xAD, 0xF4, 0xF6, 0xF2, 0xF3, 0xF5,
    0x7D, 0x4A, 0x4B, 0x4C, 0x4D, 0x4E, 0x4F, 0x50, 0x51, 0x52, 0xB9, 0xFB, 0xFC, 0xF9, 0xFA, 0xFF,
    0x5C, 0xF7, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5A, 0xB2, 0xD4, 0xD6, 0xD2, 0xD3, 0xD5,
    0x30, 0x31, 0x32, 0x33, 0x34, 0x35, 0x36, 0x37, 0x38, 0x39, 0xB3, 0xDB, 0xDC, 0xD9, 0xDA, 0x9F,
    // clang-format on
};
constexpr std::uint32_t EBCDIC_DO_ZERO = 0xF0; // the digits follow each other, and nothing follows the 9
constexpr auto EM_EBCDIC = [] {
    std::array<std::uint8_t, 256> codigos{};
    for (unsigned i = 0; i < codigos.size(); i++) {
        codigos[DE_EBCDIC[i]] = static_cast<std::uint8_t>(i);
    }
    return codigos;
}();

void converte(const std::array<std::uint8_t, 256> &tabela, const char *origem, std::size_t quantos,
              char *destino) {
    std::transform(origem, origem + quantos, destino,
                   [&](char c) { return static_cast<char>(tabela[byte(c)]); });
}

bool ehEmNibbles(FormaDoTexto forma) {
    return forma.codificacao == Codificacao::BCD || forma.codificacao == Codificacao::BINARIO;
}

Alfabeto alfabetoDe(FormaDoTexto forma) {
    if (forma.codificacao == Codificacao::BINARIO) {
        return HEXADECIMAL;
    }
    return forma.trilha ? TRILHA : DECIMAL;
}

// Which of the two nibbles of which byte is the filling of a text of odd length.
std::size_t byteCheio(FormaDoTexto forma, std::size_t caracteres) {
    return forma.enchimento.direita ? caracteres / 2 : 0;
}

char *codificaNibbles(FormaDoTexto forma, std::string_view texto, char *destino) {
    const auto [direita, enchimento] = forma.enchimento;
    unsigned vistos = 0;
    const auto nibble = [&](char c) {
        vistos |= DO_CARACTERE[byte(c)];
        return DO_CARACTERE[byte(c)] & NIBBLE;
    };
    const bool impar = texto.size() % 2 != 0;
    const char *c = texto.data();
    const char *const fim = c + texto.size();
    if (impar && !direita) {
        *destino++ = static_cast<char>(enchimento << 4 | nibble(*c++));
    }
    for (; fim - c >= 2; c += 2) {
        *destino++ = static_cast<char>(nibble(c[0]) << 4 | nibble(c[1]));
    }
    if (impar && direita) {
        *destino++ = static_cast<char>(nibble(*c) << 4 | enchimento);
    }
    return (vistos & alfabetoDe(forma)) == 0 ? destino : nullptr;
}

// The byte with zero in place of the filling; what no text may have when the filling is another one.
unsigned semEnchimento(FormaDoTexto forma, unsigned cheio) {
    const auto [direita, nibble] = forma.enchimento;
    const unsigned achado = direita ? cheio & NIBBLE : cheio >> 4;
    if (achado != nibble) {
        return 0xFF;
    }
    return direita ? cheio & ~unsigned{NIBBLE} : cheio & NIBBLE;
}

void decodificaNibbles(FormaDoTexto forma, const char *bytes, std::size_t caracteres, char *destino) {
    const auto &dois = forma.trilha ? PARES_DA_TRILHA : PARES;
    const bool impar = caracteres % 2 != 0;
    if (impar && !forma.enchimento.direita) {
        *destino++ = dois[byte(*bytes++)][1];
    }
    for (std::size_t i = caracteres / 2; i > 0; i--, destino += 2) {
        std::memcpy(destino, dois[byte(*bytes++)].data(), 2);
    }
    if (impar && forma.enchimento.direita) {
        *destino = dois[byte(*bytes)][0];
    }
}

/// What one byte of a number counts to; the byte of such a digit, and the digit of a byte, BASE or more for
/// what is none.
template <Codificacao CODIFICACAO>
constexpr std::uint32_t BASE = 10;
template <>
constexpr std::uint32_t BASE<Codificacao::BCD> = 100;
template <>
constexpr std::uint32_t BASE<Codificacao::BINARIO> = 256;

template <Codificacao CODIFICACAO>
constexpr std::uint32_t byteDe(std::uint32_t algarismo) {
    switch (CODIFICACAO) {
    case Codificacao::BCD:
        return algarismo / 10 << 4 | algarismo % 10;
    case Codificacao::BINARIO:
        return algarismo;
    case Codificacao::EBCDIC:
        return EBCDIC_DO_ZERO + algarismo;
    default:
        return '0' + algarismo;
    }
}

template <Codificacao CODIFICACAO>
constexpr std::uint32_t algarismoDe(unsigned char c) {
    switch (CODIFICACAO) {
    case Codificacao::BCD:
        return (DO_BYTE[c] & DECIMAL) == 0 ? (c >> 4) * 10U + (c & NIBBLE) : BASE<CODIFICACAO>;
    case Codificacao::BINARIO:
        return c;
    case Codificacao::EBCDIC:
        return std::uint32_t{c} - EBCDIC_DO_ZERO;
    default:
        return std::uint32_t{c} - '0';
    }
}

/// The base is known where the function is compiled, so that no number is divided by what is not.
template <typename FUNCAO>
auto naCodificacao(Codificacao codificacao, FUNCAO funcao) {
    switch (codificacao) {
    case Codificacao::BCD:
        return funcao.template operator()<Codificacao::BCD>();
    case Codificacao::BINARIO:
        return funcao.template operator()<Codificacao::BINARIO>();
    case Codificacao::EBCDIC:
        return funcao.template operator()<Codificacao::EBCDIC>();
    default:
        return funcao.template operator()<Codificacao::CARACTERES>();
    }
}

} // namespace

char *codificaOutra(FormaDoTexto forma, std::string_view texto, char *destino) {
    if (forma.codificacao != Codificacao::EBCDIC) {
        return codificaNibbles(forma, texto, destino);
    }
    converte(EM_EBCDIC, texto.data(), texto.size(), destino);
    return destino + texto.size();
}

void decodificaOutra(FormaDoTexto forma, const char *bytes, std::size_t caracteres, char *destino) {
    if (forma.codificacao != Codificacao::EBCDIC) {
        decodificaNibbles(forma, bytes, caracteres, destino);
    } else {
        converte(DE_EBCDIC, bytes, caracteres, destino);
    }
}

std::size_t primeiroSemLugar(FormaDoTexto forma, std::string_view texto) {
    if (!ehEmNibbles(forma)) {
        return texto.size();
    }
    const auto *const estranho = std::find_if(
        texto.begin(), texto.end(), [&](char c) { return (DO_CARACTERE[byte(c)] & alfabetoDe(forma)) != 0; });
    return static_cast<std::size_t>(estranho - texto.begin());
}

std::size_t primeiroErradoEmBcd(FormaDoTexto forma, const char *bytes, std::size_t caracteres) {
    const std::size_t quantos = bytesDoTexto(forma, caracteres);
    const std::size_t cheio = caracteres % 2 != 0 ? byteCheio(forma, caracteres) : quantos;
    const auto errado = [&](std::size_t i) {
        const unsigned dois = i == cheio ? semEnchimento(forma, byte(bytes[i])) : byte(bytes[i]);
        return (DO_BYTE[dois] & alfabetoDe(forma)) != 0;
    };
    // Nearly always no byte is: then they are only read, and the one with the filling is looked at.
    unsigned vistos = 0;
    for (std::size_t i = 0; i < quantos; i++) {
        vistos |= DO_BYTE[byte(bytes[i])];
    }
    if ((vistos & alfabetoDe(forma)) == 0 && (cheio == quantos || !errado(cheio))) [[likely]] {
        return quantos;
    }
    std::size_t i = 0;
    while (i < quantos && !errado(i)) {
        i++;
    }
    return i;
}

std::uint32_t maiorNumero(Codificacao codificacao, std::size_t digitos) {
    // A binary length uses its bytes whole; two packed digits, of which only one is the number's, do not.
    const bool binario = codificacao == Codificacao::BINARIO;
    std::uint32_t depois = 1;
    for (std::size_t i = binario ? bytesDoNumero(codificacao, digitos) : digitos; i > 0; i--) {
        depois *= binario ? 256 : 10;
    }
    return depois - 1;
}

char *codificaNumeroEmOutra(Codificacao codificacao, std::uint32_t numero, std::size_t digitos,
                            char *destino) {
    const std::size_t bytes = bytesDoNumero(codificacao, digitos);
    naCodificacao(codificacao, [&]<Codificacao ESTA>() {
        for (std::size_t i = bytes; i-- > 0; numero /= BASE<ESTA>) {
            destino[i] = static_cast<char>(byteDe<ESTA>(numero % BASE<ESTA>));
        }
    });
    return destino + bytes;
}

bool decodificaNumero(Codificacao codificacao, const char *bytes, std::size_t digitos,
                      std::uint32_t &numero) {
    return naCodificacao(codificacao, [&]<Codificacao ESTA>() {
        std::uint32_t valor = 0;
        bool certo = true;
        for (std::size_t i = 0; i < bytesDoNumero(ESTA, digitos); i++) {
            const std::uint32_t algarismo = algarismoDe<ESTA>(byte(bytes[i]));
            certo = certo && algarismo < BASE<ESTA>;
            valor = valor * BASE<ESTA> + algarismo;
        }
        numero = valor;
        return certo;
    });
}

} // namespace pramo::iso
