// Strict readings that answer optional values:
//
//     const auto valor = pramo::le<int32_t>(requisicao, "valor");
//     if (!valor) {
//         recusa(valor.situacao()); // missing, malformed or out of range
//     }
//     cobra(*valor);
#ifndef Y3PRAMO_CPP_LEITURA_HPP
#define Y3PRAMO_CPP_LEITURA_HPP

#include <3pramo/foundation/Ponteiro.hpp>
#include <3pramo/foundation/YLeitura.h>
#include <3pramo/iso/YMensagemIso.h>
#include <3pramo/node/YNo.h>

#include <chrono>
#include <concepts>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace pramo {

/// What was read, as std::optional has it; when it is empty, situacao() says why.
template <typename T>
class Leitura : public std::optional<T> {
public:
    Leitura(T valor) : std::optional<T>(std::move(valor)) {}
    Leitura(YSituacao falta) : falta_(falta) {}

    [[nodiscard]] YSituacao situacao() const { return this->has_value() ? Y_LEITURA_OK : falta_; }

private:
    YSituacao falta_ = Y_LEITURA_AUSENTE;
};

namespace interno {

template <typename T>
concept Inteiro = std::integral<T> && !std::same_as<T, bool>;

template <typename T, typename VALOR>
Leitura<T> naFaixa(YSituacao situacao, VALOR valor) {
    if (situacao == Y_LEITURA_OK && !std::in_range<T>(valor)) {
        situacao = Y_LEITURA_FORA_DA_FAIXA;
    }
    return situacao == Y_LEITURA_OK ? Leitura<T>(static_cast<T>(valor)) : Leitura<T>(situacao);
}

template <typename>
constexpr bool NENHUM = false;

} // namespace interno

/// The element at the path, read as YNo_leInt64 and its like in YNo.h do: T is an integer of any width,
/// double, bool, std::string or, for a date, std::chrono::year_month_day.
template <typename T>
Leitura<T> le(const YNo *no, const char *caminho) {
    if constexpr (std::same_as<T, bool>) {
        int valor = 0;
        const YSituacao situacao = YNo_leBoolean(no, caminho, &valor);
        return situacao == Y_LEITURA_OK ? Leitura<T>(valor != 0) : Leitura<T>(situacao);
    } else if constexpr (interno::Inteiro<T>) {
        std::conditional_t<std::signed_integral<T>, int64_t, uint64_t> valor = 0;
        const YSituacao situacao = [&] {
            if constexpr (std::signed_integral<T>) {
                return YNo_leInt64(no, caminho, &valor);
            } else {
                return YNo_leUint64(no, caminho, &valor);
            }
        }();
        return interno::naFaixa<T>(situacao, valor);
    } else if constexpr (std::same_as<T, double>) {
        double valor = 0;
        const YSituacao situacao = YNo_leDouble(no, caminho, &valor);
        return situacao == Y_LEITURA_OK ? Leitura<T>(valor) : Leitura<T>(situacao);
    } else if constexpr (std::same_as<T, std::string>) {
        const char *valor = nullptr;
        const YSituacao situacao = YNo_leTexto(no, caminho, &valor);
        return situacao == Y_LEITURA_OK ? Leitura<T>(valor) : Leitura<T>(situacao);
    } else if constexpr (std::same_as<T, std::chrono::year_month_day>) {
        struct tm valor;
        const YSituacao situacao = YNo_leData(no, caminho, &valor);
        return situacao == Y_LEITURA_OK
                   ? Leitura<T>(T(std::chrono::year(valor.tm_year + 1900),
                                  std::chrono::month(static_cast<unsigned>(valor.tm_mon + 1)),
                                  std::chrono::day(static_cast<unsigned>(valor.tm_mday))))
                   : Leitura<T>(situacao);
    } else {
        static_assert(interno::NENHUM<T>, "an element is no T");
    }
}

/// The element of the message: as YMensagemIso_leNumero when T is an integer of any width, every byte of it
/// when T is std::string.
template <typename T>
Leitura<T> le(const YMensagemIso *mensagem, int32_t bit) {
    if constexpr (interno::Inteiro<T>) {
        uint64_t valor = 0;
        const YSituacao situacao = YMensagemIso_leNumero(mensagem, bit, &valor);
        return interno::naFaixa<T>(situacao, valor);
    } else if constexpr (std::same_as<T, std::string>) {
        const char *texto = YMensagemIso_getBit(mensagem, bit);
        return texto != nullptr ? Leitura<T>(T(texto, YMensagemIso_getTamanhoBit(mensagem, bit)))
                                : Leitura<T>(Y_LEITURA_AUSENTE);
    } else {
        static_assert(interno::NENHUM<T>, "an element of a message is no T");
    }
}

/// Of what is owned, also by a temporary: what was read is a copy.
template <typename T, typename OBJETO, typename QUAL>
Leitura<T> le(const Ponteiro<OBJETO> &objeto, QUAL qual) {
    return le<T>(objeto.get(), qual);
}

} // namespace pramo

#endif
