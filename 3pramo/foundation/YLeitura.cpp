#include <3pramo/foundation/YLeitura.h>

#include <3pramo/foundation/caracteres.hpp>

#include <charconv>
#include <limits>
#include <optional>
#include <string_view>

using namespace pramo;

namespace {

constexpr std::string_view BRANCOS_DO_XML = " \t\r\n";

/// The text without white space around it; none for null.
std::optional<std::string_view> textoAparado(const char *texto, std::uint64_t tamanho) {
    if (texto == nullptr) {
        return std::nullopt;
    }
    return apara({texto, tamanho}, BRANCOS_DO_XML);
}

/// Takes the character off the front, if it is there.
bool tira(std::string_view &texto, char c) {
    const bool tem = texto.starts_with(c);
    texto.remove_prefix(tem ? 1 : 0);
    return tem;
}

/// Takes the digits off the front.
std::string_view tiraAlgarismos(std::string_view &texto) {
    std::size_t quantos = 0;
    while (quantos < texto.size() && ehAlgarismo(texto[quantos])) {
        quantos++;
    }
    const std::string_view algarismos = texto.substr(0, quantos);
    texto.remove_prefix(quantos);
    return algarismos;
}

/// A number of exactly so many digits, taken off the front; -1 when they are not there.
int tiraNumero(std::string_view &texto, std::size_t algarismos) {
    const std::string_view achados = tiraAlgarismos(texto);
    int numero = -1;
    if (achados.size() == algarismos) {
        std::from_chars(achados.data(), achados.data() + achados.size(), numero);
    }
    return numero;
}

template <typename INTEIRO>
YSituacao leInteiro(const char *texto, std::uint64_t tamanho, INTEIRO *valor) {
    auto resto = textoAparado(texto, tamanho);
    if (!resto) {
        return Y_LEITURA_AUSENTE;
    }
    const bool negativo = tira(*resto, '-');
    if (!negativo) {
        tira(*resto, '+');
    }
    const std::string_view algarismos = tiraAlgarismos(*resto);
    if (algarismos.empty() || !resto->empty()) {
        return Y_LEITURA_MAL_FORMADA;
    }
    std::uint64_t lido = 0;
    const auto erro = std::from_chars(algarismos.data(), algarismos.data() + algarismos.size(), lido).ec;
    const auto maximo = static_cast<std::uint64_t>(std::numeric_limits<INTEIRO>::max());
    // Below zero a signed type holds one more, an unsigned one nothing.
    const std::uint64_t limite = !negativo                                 ? maximo
                                 : std::numeric_limits<INTEIRO>::is_signed ? maximo + 1
                                                                           : 0;
    if (erro != std::errc() || lido > limite) {
        return Y_LEITURA_FORA_DA_FAIXA;
    }
    *valor = static_cast<INTEIRO>(negativo ? 0 - lido : lido);
    return Y_LEITURA_OK;
}

/// Digits on one side of a point or on both, and an exponent or none.
bool ehNumeroDecimal(std::string_view texto) {
    const bool antes = !tiraAlgarismos(texto).empty();
    const bool depois = tira(texto, '.') && !tiraAlgarismos(texto).empty();
    if (tira(texto, 'e') || tira(texto, 'E')) {
        if (!tira(texto, '-')) {
            tira(texto, '+');
        }
        if (tiraAlgarismos(texto).empty()) {
            return false;
        }
    }
    return (antes || depois) && texto.empty();
}

/// A time zone, or nothing.
bool ehZona(std::string_view texto) {
    if (texto.empty() || texto == "Z") {
        return true;
    }
    if (!tira(texto, '+') && !tira(texto, '-')) {
        return false;
    }
    const int horas = tiraNumero(texto, 2);
    const int minutos = tira(texto, ':') ? tiraNumero(texto, 2) : -1;
    return texto.empty() && horas >= 0 && minutos >= 0 && minutos <= 59 && horas * 60 + minutos <= 14 * 60;
}

int diasDoMes(int ano, int mes) {
    constexpr int DIAS[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool bissexto = ano % 4 == 0 && (ano % 100 != 0 || ano % 400 == 0);
    return DIAS[mes - 1] + (mes == 2 && bissexto ? 1 : 0);
}

} // namespace

YSituacao YLeitura_int64(const char *texto, uint64_t tamanho, int64_t *valor) {
    return leInteiro(texto, tamanho, valor);
}

YSituacao YLeitura_uint64(const char *texto, uint64_t tamanho, uint64_t *valor) {
    return leInteiro(texto, tamanho, valor);
}

YSituacao YLeitura_double(const char *texto, uint64_t tamanho, double *valor) {
    const auto tudo = textoAparado(texto, tamanho);
    if (!tudo) {
        return Y_LEITURA_AUSENTE;
    }
    std::string_view numero = *tudo;
    const bool negativo = tira(numero, '-');
    if (!negativo) {
        tira(numero, '+');
    }
    const bool especial = *tudo == "INF" || *tudo == "-INF" || *tudo == "NaN";
    if (!especial && !ehNumeroDecimal(numero)) {
        return Y_LEITURA_MAL_FORMADA;
    }
    double lido = 0;
    if (std::from_chars(numero.data(), numero.data() + numero.size(), lido).ec != std::errc()) {
        return Y_LEITURA_FORA_DA_FAIXA;
    }
    *valor = negativo ? -lido : lido;
    return Y_LEITURA_OK;
}

YSituacao YLeitura_boolean(const char *texto, uint64_t tamanho, int *valor) {
    const auto tudo = textoAparado(texto, tamanho);
    if (!tudo) {
        return Y_LEITURA_AUSENTE;
    }
    const bool sim = *tudo == "true" || *tudo == "1";
    if (!sim && *tudo != "false" && *tudo != "0") {
        return Y_LEITURA_MAL_FORMADA;
    }
    *valor = sim ? 1 : 0;
    return Y_LEITURA_OK;
}

YSituacao YLeitura_data(const char *texto, uint64_t tamanho, struct tm *valor) {
    auto resto = textoAparado(texto, tamanho);
    if (!resto) {
        return Y_LEITURA_AUSENTE;
    }
    const bool negativo = tira(*resto, '-');
    const std::string_view algarismosDoAno = tiraAlgarismos(*resto);
    const int mes = tira(*resto, '-') ? tiraNumero(*resto, 2) : -1;
    const int dia = tira(*resto, '-') ? tiraNumero(*resto, 2) : -1;
    // A year of more than four digits does not begin with a zero.
    const bool anoCerto =
        algarismosDoAno.size() == 4 || (algarismosDoAno.size() > 4 && !algarismosDoAno.starts_with('0'));
    if (!anoCerto || mes < 0 || dia < 0 || !ehZona(*resto)) {
        return Y_LEITURA_MAL_FORMADA;
    }
    std::string_view quatro = algarismosDoAno;
    const int ano = tiraNumero(quatro, 4);
    if (negativo || ano < 1 || mes < 1 || mes > 12 || dia < 1 || dia > diasDoMes(ano, mes)) {
        return Y_LEITURA_FORA_DA_FAIXA;
    }
    *valor = {};
    valor->tm_year = ano - 1900;
    valor->tm_mon = mes - 1;
    valor->tm_mday = dia;
    return Y_LEITURA_OK;
}
