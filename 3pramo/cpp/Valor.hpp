// Values of C++ as parameters and results of SOAP calls. What is read is read whole: a text that is not one
// of the type is a fault that names the parameter, unlike what the typed getters of YNo make of it.
#ifndef Y3PRAMO_CPP_VALOR_HPP
#define Y3PRAMO_CPP_VALOR_HPP

#include <3pramo/foundation/YContextoTry_throw.h>
#include <3pramo/foundation/latin1.hpp>
#include <3pramo/node/YNo.h>
#include <3pramo/soap/YPortType.h>

#include <charconv>
#include <chrono>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace pramo::interno {

using Data = std::chrono::year_month_day;

template <typename T, typename... TIPOS>
concept EhUmDe = (std::is_same_v<T, TIPOS> || ...);

// No characters: whoever reads one as a number is mistaken.
template <typename T>
concept EhInteiro = EhUmDe<T, signed char, unsigned char, short, unsigned short, int, unsigned, long,
                           unsigned long, long long, unsigned long long>;

template <typename T>
concept EhTexto = EhUmDe<T, std::string, std::string_view>;

template <typename T>
concept EhNo = EhUmDe<T, YNo *, const YNo *>;

template <typename T>
concept EhValor = EhInteiro<T> || EhTexto<T> || EhUmDe<T, bool, float, double, Data>;

template <EhInteiro T>
consteval YTipoXsd tipoDoInteiro() {
    constexpr bool COM_SINAL = std::is_signed_v<T>;
    switch (sizeof(T)) {
    case 1:
        return COM_SINAL ? Y_XSD_BYTE : Y_XSD_UNSIGNED_BYTE;
    case 2:
        return COM_SINAL ? Y_XSD_SHORT : Y_XSD_UNSIGNED_SHORT;
    case 4:
        return COM_SINAL ? Y_XSD_INT : Y_XSD_UNSIGNED_INT;
    default:
        return COM_SINAL ? Y_XSD_LONG : Y_XSD_UNSIGNED_LONG;
    }
}

template <typename T>
consteval YTipoXsd tipoXsd() {
    if constexpr (std::is_void_v<T>) {
        return Y_XSD_NENHUM;
    } else if constexpr (EhNo<T>) {
        return Y_XSD_ANY_TYPE;
    } else if constexpr (std::is_same_v<T, bool>) {
        return Y_XSD_BOOLEAN;
    } else if constexpr (EhInteiro<T>) {
        return tipoDoInteiro<T>();
    } else if constexpr (std::floating_point<T>) {
        return std::is_same_v<T, float> ? Y_XSD_FLOAT : Y_XSD_DOUBLE;
    } else {
        return std::is_same_v<T, Data> ? Y_XSD_DATE : Y_XSD_STRING;
    }
}

// ---- Reading ----

// The value itself is not in the message: it may be what no log should hold.
[[noreturn]] inline void recusa(const char *nome, const char *mensagem) {
    YContextoTry_printf("%s: %s. ", "parâmetro"_l1, nome);
    YContextoTry_throw(YExcSoap_rtti, mensagem, "PortType", __LINE__);
}
[[noreturn]] inline void valorInvalido(const char *nome) {
    recusa(nome, "Valor inválido."_l1);
}
[[noreturn]] inline void foraDaFaixa(const char *nome) {
    recusa(nome, "Valor fora da faixa.");
}

// As XML has it: white space around a value is none of it.
inline std::string_view apara(std::string_view texto) {
    constexpr std::string_view BRANCOS = " \t\n\r";
    const std::size_t inicio = texto.find_first_not_of(BRANCOS);
    return inicio == texto.npos ? "" : texto.substr(inicio, texto.find_last_not_of(BRANCOS) - inicio + 1);
}

inline bool leBooleano(std::string_view texto, const char *nome) {
    std::string minusculas(texto.substr(0, 6));
    for (char &c : minusculas) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    const bool sim = minusculas == "true" || minusculas == "1";
    if (!sim && minusculas != "false" && minusculas != "0") {
        valorInvalido(nome);
    }
    return sim;
}

// The modulus of a decimal number.
inline std::uint64_t leModulo(std::string_view algarismos, const char *nome) {
    std::uint64_t modulo = 0;
    const char *fim = algarismos.data() + algarismos.size();
    const auto [ate, erro] = std::from_chars(algarismos.data(), fim, modulo);
    if (erro == std::errc::invalid_argument || ate != fim) {
        valorInvalido(nome);
    }
    if (erro != std::errc()) {
        foraDaFaixa(nome);
    }
    return modulo;
}

template <EhInteiro T>
T leInteiro(std::string_view texto, const char *nome) {
    const bool negativo = texto.starts_with('-');
    const std::uint64_t modulo = leModulo(texto.substr(negativo || texto.starts_with('+') ? 1 : 0), nome);
    constexpr auto MAIOR = static_cast<std::uint64_t>(std::numeric_limits<T>::max());
    const std::uint64_t maior = negativo ? (std::is_signed_v<T> ? MAIOR + 1 : 0) : MAIOR;
    if (modulo > maior) {
        foraDaFaixa(nome);
    }
    return static_cast<T>(negativo ? 0 - modulo : modulo);
}

template <std::floating_point T>
T leReal(std::string_view texto, const char *nome) {
    texto.remove_prefix(texto.starts_with('+') && !texto.starts_with("+-") ? 1 : 0);
    T valor = 0;
    const char *fim = texto.data() + texto.size();
    const auto [ate, erro] = std::from_chars(texto.data(), fim, valor);
    if (erro == std::errc::invalid_argument || ate != fim) {
        valorInvalido(nome);
    }
    if (erro != std::errc()) {
        foraDaFaixa(nome);
    }
    return valor;
}

// "2024-03-05", a day of the calendar.
inline Data leData(std::string_view texto, const char *nome) {
    if (texto.size() != 10 || texto[4] != '-' || texto[7] != '-') {
        valorInvalido(nome);
    }
    const auto parte = [&](std::size_t de, std::size_t quantos) {
        return static_cast<unsigned>(leModulo(texto.substr(de, quantos), nome));
    };
    const Data data = std::chrono::year(static_cast<int>(parte(0, 4))) / std::chrono::month(parte(5, 2)) /
                      std::chrono::day(parte(8, 2));
    if (!data.ok()) {
        valorInvalido(nome);
    }
    return data;
}

/// The parameter of this name; raises YExcSoap as YNo_getFilhoUnico when it is missing, and "parâmetro: NAME.
/// Valor inválido." or "... Valor fora da faixa." for what is not of the type. A text without content is
/// empty.
template <typename T>
T leParametro(const YNo *requisicao, const char *nome) {
    YNo *no = YNo_getFilhoUnico(requisicao, nome);
    if constexpr (EhNo<T>) {
        return no;
    } else {
        const char *conteudo = YNo_getValor(no);
        const std::string_view inteiro = conteudo != nullptr ? conteudo : "";
        const std::string_view texto = apara(inteiro);
        if constexpr (EhTexto<T>) {
            return T(inteiro);
        } else if constexpr (std::is_same_v<T, bool>) {
            return leBooleano(texto, nome);
        } else if constexpr (EhInteiro<T>) {
            return leInteiro<T>(texto, nome);
        } else if constexpr (std::floating_point<T>) {
            return leReal<T>(texto, nome);
        } else {
            return leData(texto, nome);
        }
    }
}

// ---- Writing ----

template <typename NUMERO>
std::string textoDoNumero(NUMERO valor) {
    if constexpr (std::floating_point<NUMERO>) {
        if (!std::isfinite(valor)) {
            return std::isnan(valor) ? "NaN" : valor < 0 ? "-INF" : "INF";
        }
    }
    char texto[64]; // the shortest that reads back as the same number
    return {texto, std::to_chars(texto, texto + sizeof texto, valor).ptr};
}

/// Appends the result of a method, as "return".
template <EhValor T>
void poeResultado(YNo *resposta, const T &valor) {
    if constexpr (std::is_same_v<T, bool>) {
        YNo_setBoolean(resposta, "return", valor ? 1 : 0);
    } else if constexpr (EhTexto<T>) {
        YNo_setString(resposta, "return", std::string(valor).c_str());
    } else if constexpr (std::is_same_v<T, Data>) {
        char texto[32];
        std::snprintf(texto, sizeof texto, "%04d-%02u-%02u", static_cast<int>(valor.year()),
                      static_cast<unsigned>(valor.month()), static_cast<unsigned>(valor.day()));
        YNo_setString(resposta, "return", texto);
    } else {
        YNo_setString(resposta, "return", textoDoNumero(valor).c_str());
    }
}

} // namespace pramo::interno

#endif
