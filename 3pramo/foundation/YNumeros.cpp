#include <3pramo/foundation/YNumeros.h>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <optional>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YNumeros";
constexpr std::ptrdiff_t MENOS_ALGARISMOS = 4;

/// N bytes, least significant first.
template <std::size_t N>
using Bytes = std::array<std::uint8_t, N>;

template <std::size_t N>
bool temSinal(const Bytes<N> &n) {
    return (n[N - 1] & 0x80) != 0;
}

template <std::size_t N>
void nega(Bytes<N> &n) {
    // The two's complement: every bit turned, and one added.
    unsigned vai = 1;
    for (std::uint8_t &byte : n) {
        vai += static_cast<std::uint8_t>(~byte);
        byte = static_cast<std::uint8_t>(vai);
        vai >>= 8;
    }
}

/// n = n * 10 + algarismo, without sign; false when it does not fit.
template <std::size_t N>
bool acrescentaAlgarismo(Bytes<N> &n, unsigned algarismo) {
    unsigned vai = algarismo;
    for (std::uint8_t &byte : n) {
        vai += byte * 10U;
        byte = static_cast<std::uint8_t>(vai);
        vai >>= 8;
    }
    return vai == 0;
}

/// n = n / 10, without sign; gives the remainder.
template <std::size_t N>
unsigned retiraAlgarismo(Bytes<N> &n) {
    unsigned resto = 0;
    for (std::size_t i = N; i-- > 0;) {
        const unsigned parte = resto << 8 | n[i];
        n[i] = static_cast<std::uint8_t>(parte / 10);
        resto = parte % 10;
    }
    return resto;
}

/// Reads digits and points, moving the text past them; gives the number without sign, none without digits.
template <std::size_t N>
std::optional<Bytes<N>> leAlgarismos(const char *&texto) {
    Bytes<N> n{};
    bool tem = false;
    for (; *texto == '.' || ehAlgarismo(*texto); texto++) {
        if (*texto == '.') {
            continue;
        }
        tem = true;
        if (!acrescentaAlgarismo(n, static_cast<unsigned>(*texto - '0'))) {
            lanca(YExc_rtti, "Número não cabe no campo."_l1, FONTE);
        }
    }
    return tem ? std::optional(n) : std::nullopt;
}

const char *pulaBrancos(const char *texto) {
    while (ehBranco(*texto)) {
        texto++;
    }
    return texto;
}

template <std::size_t N>
Bytes<N> le(const char *texto) {
    texto = pulaBrancos(texto);
    if (*texto == 0) {
        return {};
    }
    const bool negativo = *texto == '-';
    if (negativo || *texto == '+') {
        texto++;
    }
    const auto algarismos = leAlgarismos<N>(texto);
    // Told first: "-x" has a wrong character rather than no digits.
    if (*pulaBrancos(texto) != 0) {
        lanca(YExc_rtti, "Caractere inválido em número."_l1, FONTE);
    }
    if (!algarismos) {
        lanca(YExc_rtti, "Número sem algarismos."_l1, FONTE);
    }
    Bytes<N> n = *algarismos;
    if (negativo) {
        nega(n);
    }
    // The most negative number is its own opposite; 0 has no sign whatever was written.
    if (temSinal(n) != negativo && n != Bytes<N>{}) {
        lanca(YExc_rtti, "Número não cabe no campo."_l1, FONTE);
    }
    return n;
}

template <std::size_t N>
void deTexto(void *destino, const char *texto) {
    const Bytes<N> n = texto != nullptr ? le<N>(texto) : Bytes<N>{};
    std::memcpy(destino, n.data(), N);
}

template <std::size_t N>
void paraTexto(char *texto, const void *origem) {
    Bytes<N> n;
    std::memcpy(n.data(), origem, N);
    if (temSinal(n)) {
        *texto++ = '-';
        nega(n); // right for the most negative one too, now that the number has no sign
    }
    char *fim = texto;
    // The last digit comes first, so the text is made backwards.
    while (n != Bytes<N>{} || fim - texto < MENOS_ALGARISMOS) {
        *fim++ = static_cast<char>('0' + retiraAlgarismo(n));
    }
    std::reverse(texto, fim);
    *fim++ = ' ';
    *fim = 0;
}

} // namespace

// The documented names, one pair for each width.
#define PEQUENO(N)                                                                                           \
    void _ato##N(void *destino, const char *texto) {                                                         \
        deTexto<N>(destino, texto);                                                                          \
    }                                                                                                        \
    void _##N##toafixo(char *texto, const void *origem, int32_t /*reservado*/) {                             \
        paraTexto<N>(texto, origem);                                                                         \
    }

#define GRANDE(N)                                                                                            \
    void BINQ##N##_atob(void *destino, const char *texto) {                                                  \
        deTexto<N>(destino, texto);                                                                          \
    }                                                                                                        \
    void BINQ##N##_btoa(char *texto, const void *origem) {                                                   \
        paraTexto<N>(texto, origem);                                                                         \
    }

PEQUENO(1)
PEQUENO(2)
PEQUENO(3)
PEQUENO(4)
PEQUENO(5)
PEQUENO(6)
PEQUENO(7)
PEQUENO(8)
GRANDE(9)
GRANDE(10)
GRANDE(11)
GRANDE(12)
GRANDE(13)
GRANDE(14)
GRANDE(15)
GRANDE(16)
GRANDE(17)
GRANDE(18)
