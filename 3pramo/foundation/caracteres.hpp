// Characters: what they are, texts that differ in letter case alone, what stands around a text. All by ASCII,
// as the protocols have it: a byte from 128 up is never a blank, a digit or a letter, and no locale changes
// that.
#ifndef Y3PRAMO_FOUNDATION_CARACTERES_HPP
#define Y3PRAMO_FOUNDATION_CARACTERES_HPP

#include <algorithm>
#include <string_view>

namespace pramo {

/// White space, and the two characters of it that may stand around the value of a header field.
constexpr std::string_view BRANCOS = " \t\n\v\f\r";
constexpr std::string_view ESPACOS = " \t";

constexpr bool ehBranco(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr bool ehAlgarismo(char c) {
    return c >= '0' && c <= '9';
}

constexpr bool ehHexadecimal(char c) {
    return ehAlgarismo(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

constexpr bool ehAlfanumerico(char c) {
    return ehAlgarismo(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

constexpr char minuscula(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr bool iguaisSemCaixa(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return minuscula(x) == minuscula(y); });
}

/// The text without the characters of `quais` in front of it.
constexpr std::string_view aparaAntes(std::string_view texto, std::string_view quais = BRANCOS) {
    texto.remove_prefix(std::min(texto.find_first_not_of(quais), texto.size()));
    return texto;
}

/// The text without the characters of `quais` around it.
constexpr std::string_view apara(std::string_view texto, std::string_view quais = BRANCOS) {
    texto = aparaAntes(texto, quais);
    return texto.substr(0, texto.find_last_not_of(quais) + 1);
}

/// True when the list of words, separated by commas, has the word in any letter case.
constexpr bool temNaLista(std::string_view lista, std::string_view procurada) {
    while (!lista.empty()) {
        const std::size_t fim = std::min(lista.find(','), lista.size());
        if (iguaisSemCaixa(apara(lista.substr(0, fim), ESPACOS), procurada)) {
            return true;
        }
        lista.remove_prefix(std::min(fim + 1, lista.size()));
    }
    return false;
}

} // namespace pramo

#endif
