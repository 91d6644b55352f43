#include <3pramo/soap/mascara.hpp>

#include <algorithm>

namespace pramo::soap {

namespace {

constexpr std::size_t MENOR_SEGREDO = 12;
constexpr std::size_t MENOR_CARTAO = 13;
constexpr std::size_t MAIOR_CARTAO = 19;
constexpr std::string_view BRANCOS = " \t\n\v\f\r";

bool ehDecimal(char c) {
    return c >= '0' && c <= '9';
}

bool ehDigito(char c) {
    return ehDecimal(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool ehSeparador(char c) {
    return c == ' ' || c == '-' || c == '=' || c == '^';
}

/// Length of the run at the start of the text, 0 when it does not begin with a digit.
std::size_t tamanhoDaSequencia(std::string_view texto) {
    std::size_t i = 0;
    while (i < texto.size() &&
           (ehDigito(texto[i]) || (i > 0 && i + 1 < texto.size() && ehSeparador(texto[i]) &&
                                   ehDecimal(texto[i - 1]) && ehDecimal(texto[i + 1])))) {
        i++;
    }
    return i;
}

std::string mascarada(std::string_view sequencia) {
    if (std::all_of(sequencia.begin(), sequencia.end(), ehDecimal) && sequencia.size() >= MENOR_CARTAO &&
        sequencia.size() <= MAIOR_CARTAO) {
        return std::string(sequencia.substr(0, 6)) + std::string(sequencia.size() - 10, '*') +
               std::string(sequencia.substr(sequencia.size() - 4));
    }
    return std::to_string(sequencia.size()).insert(0, 1, '[').append("*]");
}

/// True when a `campo` stands where a tag's name does: behind "<", "/", a prefix, or an escaped one of these.
bool temFormulario(std::string_view corpo) {
    constexpr std::string_view CAMPO = "campo";
    for (std::size_t i = corpo.find(CAMPO); i != std::string_view::npos; i = corpo.find(CAMPO, i + 1)) {
        const std::size_t antes = corpo.substr(0, i).find_last_not_of(BRANCOS);
        if (antes != std::string_view::npos &&
            std::string_view("<:;/").find(corpo[antes]) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

std::string soTags(std::string_view corpo) {
    std::string saida;
    while (!corpo.empty()) {
        // A tag is closed before another one begins; everything else is content.
        const std::size_t fim = corpo.find_first_of("<>", 1);
        const bool tag = corpo.front() == '<' && fim != std::string_view::npos && corpo[fim] == '>';
        const std::string_view pedaco = corpo.substr(0, tag ? fim + 1 : corpo.find('<', 1));
        const bool mostra = tag || pedaco.find_first_not_of(BRANCOS) == std::string_view::npos;
        saida += mostra ? pedaco : "[*]";
        corpo.remove_prefix(pedaco.size());
    }
    return saida;
}

} // namespace

std::string mascaraCorpo(std::string_view corpo) {
    return temFormulario(corpo) ? mascaraDadosDeCartao(soTags(corpo)) : mascaraDadosDeCartao(corpo);
}

std::string mascaraDadosDeCartao(std::string_view texto) {
    std::string saida;
    saida.reserve(texto.size());
    while (!texto.empty()) {
        const std::size_t tamanho = std::max<std::size_t>(tamanhoDaSequencia(texto), 1);
        const std::string_view sequencia = texto.substr(0, tamanho);
        const bool segredo = std::count_if(sequencia.begin(), sequencia.end(), ehDigito) >=
                                 static_cast<std::ptrdiff_t>(MENOR_SEGREDO) &&
                             std::any_of(sequencia.begin(), sequencia.end(), ehDecimal);
        saida += segredo ? mascarada(sequencia) : std::string(sequencia);
        texto.remove_prefix(tamanho);
    }
    return saida;
}

} // namespace pramo::soap
