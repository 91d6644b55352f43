// What makes card data unreadable. The rules for texts look for runs of digits in one way and differ in
// what counts as a digit, what may stand between two, and what is made of a run. They rather hide too much:
// a long number that is no card is masked as well.
#include <3pramo/foundation/mascara.hpp>

#include <3pramo/foundation/caracteres.hpp>

#include <algorithm>
#include <span>

namespace pramo {

namespace {

constexpr std::ptrdiff_t MENOR_SEGREDO = 12;
constexpr std::size_t MENOR_CARTAO = 13;
constexpr std::size_t MAIOR_CARTAO = 19;
constexpr std::size_t INICIO_VISIVEL = 6;
constexpr std::size_t FIM_VISIVEL = 4;
constexpr std::string_view SEPARADORES = " -=^";

std::size_t decimais(std::string_view texto) {
    return static_cast<std::size_t>(std::count_if(texto.begin(), texto.end(), ehAlgarismo));
}

/// Length of the run at the start of the text, 0 when it does not begin with a digit. A separator belongs to
/// it between two decimal digits.
template <typename DIGITO>
std::size_t tamanhoDaSequencia(std::string_view texto, DIGITO ehDaSequencia, std::string_view separadores) {
    const auto separa = [&](std::size_t i) {
        return i > 0 && i + 1 < texto.size() && separadores.find(texto[i]) != std::string_view::npos &&
               ehAlgarismo(texto[i - 1]) && ehAlgarismo(texto[i + 1]);
    };
    std::size_t i = 0;
    while (i < texto.size() && (ehDaSequencia(texto[i]) || separa(i))) {
        i++;
    }
    return i;
}

/// The text with what `mascara` makes of each of its runs.
template <typename DIGITO, typename MASCARA>
std::string mascaraSequencias(std::string_view texto, DIGITO ehDaSequencia, std::string_view separadores,
                              MASCARA mascara) {
    std::string saida;
    saida.reserve(texto.size());
    while (!texto.empty()) {
        const std::size_t tamanho = tamanhoDaSequencia(texto, ehDaSequencia, separadores);
        saida += tamanho != 0 ? mascara(texto.substr(0, tamanho)) : std::string(1, texto.front());
        texto.remove_prefix(std::max<std::size_t>(tamanho, 1));
    }
    return saida;
}

/// A * for each decimal digit but the first six and the last four.
void tiraOMeio(std::span<char> texto) {
    std::size_t antes = 0;
    const std::size_t total = decimais({texto.data(), texto.size()});
    for (char &c : texto) {
        if (ehAlgarismo(c) && antes++ >= INICIO_VISIVEL && antes + FIM_VISIVEL <= total) {
            c = '*';
        }
    }
}

std::string semOMeio(std::string_view texto) {
    std::string saida(texto);
    tiraOMeio(saida);
    return saida;
}

bool pareceCartao(std::string_view texto) {
    return texto.size() >= MENOR_CARTAO && texto.size() <= MAIOR_CARTAO && decimais(texto) == texto.size();
}

bool ehSegredo(std::string_view sequencia) {
    return std::count_if(sequencia.begin(), sequencia.end(), ehHexadecimal) >= MENOR_SEGREDO &&
           decimais(sequencia) != 0;
}

std::string semSegredo(std::string_view sequencia) {
    if (!ehSegredo(sequencia)) {
        return std::string(sequencia);
    }
    // A key or PIN block has no part that may be shown; its length helps whoever looks for a fault.
    return pareceCartao(sequencia) ? semOMeio(sequencia) : "[" + std::to_string(sequencia.size()) + "*]";
}

} // namespace

std::string mascaraDadosDeCartao(std::string_view texto) {
    return mascaraSequencias(texto, ehHexadecimal, SEPARADORES, semSegredo);
}

std::string mascaraNumeros(std::string_view texto) {
    return mascaraSequencias(texto, ehAlgarismo, " -", [](std::string_view sequencia) {
        return decimais(sequencia) >= MENOR_CARTAO ? semOMeio(sequencia) : std::string(sequencia);
    });
}

std::string mascaraCartao(std::string_view texto) {
    return pareceCartao(texto) ? semOMeio(texto) : std::string(texto.size(), '*');
}

void mascaraNoLugar(char *texto, std::size_t tamanho) noexcept {
    for (std::span<char> resto(texto, tamanho); !resto.empty();) {
        const std::size_t n = tamanhoDaSequencia({resto.data(), resto.size()}, ehHexadecimal, SEPARADORES);
        const std::span<char> sequencia = resto.first(n);
        if (pareceCartao({sequencia.data(), n})) {
            tiraOMeio(sequencia);
        } else if (ehSegredo({sequencia.data(), n})) {
            // Every digit, but not the separators, so that the text keeps its length and shape.
            std::replace_if(sequencia.begin(), sequencia.end(), ehHexadecimal, '*');
        }
        resto = resto.subspan(std::max<std::size_t>(n, 1));
    }
}

} // namespace pramo
