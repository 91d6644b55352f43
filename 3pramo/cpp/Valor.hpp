// Values of C++ as parameters and results of SOAP calls. What is read is read strictly: a text that is not
// one of the type is a fault that names the parameter, unlike what the typed getters of YNo make of it.
#ifndef Y3PRAMO_CPP_VALOR_HPP
#define Y3PRAMO_CPP_VALOR_HPP

#include <3pramo/cpp/leitura.hpp>
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
    YContextoTry_atributo("campo", nome);
    YContextoTry_throw(YExcSoap_rtti, mensagem, "PortType", __LINE__);
}
[[noreturn]] inline void valorInvalido(const char *nome) {
    recusa(nome, "Valor inválido."_l1);
}
[[noreturn]] inline void foraDaFaixa(const char *nome) {
    recusa(nome, "Valor fora da faixa.");
}

template <typename T>
T valorLido(const Leitura<T> &lido, const char *nome) {
    if (!lido) {
        lido.situacao() == Y_LEITURA_FORA_DA_FAIXA ? foraDaFaixa(nome) : valorInvalido(nome);
    }
    return *lido;
}

/// The parameter of this name, as leitura.hpp reads it; raises YExcSoap as YNo_getFilhoUnico when it is
/// missing, and "parâmetro: NAME. Valor inválido." or "... Valor fora da faixa." for what is not of the type.
/// A text without content is empty; an element that has others in it is no text.
template <typename T>
T leParametro(const YNo *requisicao, const char *nome) {
    YNo *no = YNo_getFilhoUnico(requisicao, nome);
    if constexpr (EhNo<T>) {
        return no;
    } else if constexpr (EhTexto<T>) {
        const char *conteudo = nullptr;
        if (YNo_leTexto(no, "", &conteudo) != Y_LEITURA_OK) {
            valorInvalido(nome);
        }
        return conteudo;
    } else if constexpr (std::is_same_v<T, float>) {
        const double valor = valorLido(le<double>(no, ""), nome);
        const bool grande = std::isfinite(valor) && std::abs(valor) > std::numeric_limits<float>::max();
        if (grande || (valor != 0 && static_cast<float>(valor) == 0)) {
            foraDaFaixa(nome);
        }
        return static_cast<float>(valor);
    } else {
        return valorLido(le<T>(no, ""), nome);
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
    } else if constexpr (std::is_same_v<T, std::string>) {
        YNo_setString(resposta, "return", valor.c_str());
    } else if constexpr (std::is_same_v<T, std::string_view>) {
        poeResultado(resposta, std::string(valor));
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
