// Port types whose methods are functions of C++.
//
//     pramo::PortType calc("Calc");
//     calc.metodo("soma", {"a", "b"}, [](int a, int b) { return a + b; });
//     calc.registra(servidor);
//
//     pramo::PortType<Venda> vendas("Venda"); // a class of Objeto.hpp
//     vendas.metodo("inclui", {"item", "valor"}, &Venda::inclui)
//         .metodo("total", [&moedas](const Venda &venda) { return venda.total() / moedas; })
//         .registra(servidor);
//
// A method is called with
// - the service object, when it is a member function or its first parameter is a reference to one;
// - a parameter of the call for each name, in the order of the names: bool, integers of 8 to 64 bits (char is
//   none), float, double, std::string and std::string_view (ISO-8859-1), std::chrono::year_month_day, and for
//   a structure its YNo *, which lives until the method returns;
// - last, if it has one parameter more than there are names, a YNo * that is the result, to be filled: an
//   element "return", empty at first.
// It gives one of these values, which travels as "return", or nothing. Reals travel as the shortest text that
// reads back as the same number.
//
// A parameter that is missing is a fault ("Tag procurada: a. Faltou tag."), and so is one that is not of its
// type ("parametro: a. Valor invalido.") or does not fit it ("parametro: a. Valor fora da faixa."); the
// method does not run then. What it raises is answered as YTratadorSoap says.
//
// Calls run on many threads at once, on one object too, and share what a function captured: it is called as
// const, and protects what it changes behind that. It goes when the port type has gone and the last call of
// it has returned.
//
// The WSDL is made of names and types. A method on a service object takes its identity in "eu".
#ifndef Y3PRAMO_CPP_PORTTYPE_HPP
#define Y3PRAMO_CPP_PORTTYPE_HPP

#include <3pramo/cpp/Valor.hpp>
#include <3pramo/cpp/cria.hpp>
#include <3pramo/foundation/YExc.h>
#include <3pramo/soap/YSoapServer.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

namespace pramo {

namespace interno {

// ---- The signature of a method: its result and the types of its parameters ----

template <typename RESULTADO, typename... PARAMETROS>
struct Assinatura {
    using Resultado = RESULTADO;
    using Parametros = std::tuple<PARAMETROS...>;
};

// A member function may be that of a further base of the service object's class.
template <typename SERVICO, typename C>
using ComoServico = std::conditional_t<std::is_base_of_v<C, SERVICO>, SERVICO, C>;

template <typename SERVICO, typename R, typename... P>
Assinatura<R, P...> assinaturaDe(R (*)(P...));
template <typename SERVICO, typename R, typename C, typename... P>
Assinatura<R, ComoServico<SERVICO, C> &, P...> assinaturaDe(R (C::*)(P...));
template <typename SERVICO, typename R, typename C, typename... P>
Assinatura<R, const ComoServico<SERVICO, C> &, P...> assinaturaDe(R (C::*)(P...) const);

// Of a function object: that of its operator.
template <typename R, typename C, typename... P>
Assinatura<R, P...> assinaturaDoOperador(R (C::*)(P...) const);

template <typename SERVICO, typename FUNCAO>
auto assinatura() {
    if constexpr (std::is_class_v<FUNCAO>) {
        static_assert(
            requires { assinaturaDoOperador(&FUNCAO::operator()); },
            "a function with one signature, and not mutable: calls run on many threads at once");
        return decltype(assinaturaDoOperador(&FUNCAO::operator()))();
    } else {
        return decltype(assinaturaDe<SERVICO>(FUNCAO()))();
    }
}

// ---- A method: a function with the names of its parameters ----

template <typename... P>
inline constexpr bool COM_SERVICO = false;
template <typename PRIMEIRO, typename... P>
inline constexpr bool COM_SERVICO<PRIMEIRO &, P...> = std::is_base_of_v<YWebService, PRIMEIRO>;

template <typename FUNCAO, std::size_t NOMES, typename ASSINATURA>
struct Forma;
template <typename FUNCAO, std::size_t NOMES, typename R, typename... P>
struct Forma<FUNCAO, NOMES, Assinatura<R, P...>> {
    using Resultado = std::remove_cvref_t<R>;
    /// That of the parameter at this place, void where there is none.
    template <std::size_t I>
    using Parametro = std::tuple_element_t<std::min(I, sizeof...(P)), std::tuple<P..., void>>;
    template <std::size_t I>
    using Valor = std::remove_cvref_t<Parametro<I + (COM_SERVICO<P...> ? 1 : 0)>>;

    static constexpr std::size_t ANTES = COM_SERVICO<P...> ? 1 : 0; // of the first one that has a name
    static constexpr bool COM_NO = sizeof...(P) == ANTES + NOMES + 1;

    static_assert(sizeof...(P) == ANTES + NOMES || COM_NO, "a name for each parameter");
    static_assert(!COM_NO || (std::is_same_v<Valor<NOMES>, YNo *> && std::is_void_v<R>),
                  "one parameter more than names: the YNo * of the result, which is void then");
    static_assert(std::is_void_v<R> || EhValor<Resultado>, "no type of a result");
};

template <typename SERVICO, typename FUNCAO, std::size_t NOMES>
class Metodo {
    using F = Forma<FUNCAO, NOMES, decltype(assinatura<SERVICO, FUNCAO>())>;
    template <std::size_t I>
    using Valor = typename F::template Valor<I>;
    using Resultado = typename F::Resultado;

    using Indices = std::make_index_sequence<NOMES>;

public:
    Metodo(FUNCAO funcao, const char *const *nomes) : funcao_(std::move(funcao)) {
        std::copy_n(nomes, NOMES, nomes_.begin());
    }

    void descreve(YPortType *portType, const char *metodo) const { descreve(portType, metodo, Indices()); }

    // The YTratadorSoapComContexto of the method.
    static void trata(void *contexto, YWebService *servico, YNo *requisicao, YNo *resposta) {
        static_cast<const Metodo *>(contexto)->trata(servico, requisicao, resposta, Indices());
    }
    static void libera(void *contexto) { delete static_cast<Metodo *>(contexto); }

private:
    template <std::size_t... I>
    void descreve(YPortType *portType, const char *metodo, std::index_sequence<I...>) const {
        // "eu" first; without a service object it is left out.
        const std::array<YDefinicaoParametro, NOMES + 1> todos = {
            {{"eu", Y_XSD_STRING}, {nomes_[I].c_str(), tipoXsd<Valor<I>>()}...}};
        constexpr YTipoXsd RESULTADO = F::COM_NO ? Y_XSD_ANY_TYPE : tipoXsd<Resultado>();
        YPortType_descreveMetodo(portType, metodo, todos.data() + 1 - F::ANTES, NOMES + F::ANTES, RESULTADO);
    }

    template <std::size_t... I>
    void trata([[maybe_unused]] YWebService *servico, [[maybe_unused]] const YNo *requisicao,
               [[maybe_unused]] YNo *resposta, std::index_sequence<I...>) const {
        static_assert(((EhValor<Valor<I>> || EhNo<Valor<I>>)&&...), "no type of a parameter");
        // All are read, in their order, before the method runs.
        [[maybe_unused]] std::tuple<Valor<I>...> valores{
            leParametro<Valor<I>>(requisicao, nomes_[I].c_str())...};
        const auto chama = [&](auto &&...resto) -> decltype(auto) {
            if constexpr (F::ANTES != 0) {
                using Servico = std::remove_reference_t<typename F::template Parametro<0>>;
                static_assert(std::is_convertible_v<SERVICO *, Servico *>,
                              "the service object is of another class than the port type's");
                return std::invoke(funcao_, *static_cast<Servico *>(servico), std::get<I>(valores)...,
                                   resto...);
            } else {
                return std::invoke(funcao_, std::get<I>(valores)..., resto...);
            }
        };
        if constexpr (F::COM_NO) {
            chama(YNo_criaDescendente(resposta, "return"));
        } else if constexpr (std::is_void_v<Resultado>) {
            chama();
        } else {
            poeResultado<Resultado>(resposta, chama());
        }
    }

    FUNCAO funcao_;
    std::array<std::string, NOMES> nomes_;
};

// The function that names the class of T.
template <typename T>
YFuncaoRtti classeDe() {
    if constexpr (TemClasse<T>) {
        return T::rtti;
    } else {
        return rttiDe<T>(Classes());
    }
}

} // namespace interno

/// A port type while it is put together; its service objects are of the class SERVICO.
template <typename SERVICO = YWebService>
class PortType {
    static_assert(std::is_base_of_v<YWebService, SERVICO>,
                  "service objects are of a class derived from YWebService");

public:
    /// `classe` is needed for a class of C of the application's own.
    explicit PortType(const char *nome, YFuncaoRtti classe = interno::classeDe<SERVICO>())
        : nome_(nome), portType_(cria<YPortType>(YPortType_rtti)) {
        YPortType_setRttiDoServico(portType_, classe);
    }

    /// Adds a method. Raises what YPortType_descreveMetodo raises, and has changed nothing then.
    template <std::size_t NOMES, typename FUNCAO>
    PortType &metodo(const char *metodo, const char *const (&parametros)[NOMES], FUNCAO funcao) {
        return poe<NOMES>(metodo, parametros, std::move(funcao));
    }
    template <typename FUNCAO>
    PortType &metodo(const char *metodo, FUNCAO funcao) {
        return poe<0>(metodo, nullptr, std::move(funcao));
    }

    /// For the functions of YPortType.h: a document of its own, a resource group, handlers without types.
    /// Null once it is registered.
    operator YPortType *() const { return portType_; }

    /// Publishes it, as YSoapServer_poePortType does; nothing can be added any more. Raises YExc "PortType já
    /// registrado." the second time.
    void registra(YSoapServer *servidor) {
        YSoapServer_poePortType(servidor, nome_.c_str(), emConstrucao());
        (void)portType_.release();
    }

private:
    template <std::size_t NOMES, typename FUNCAO>
    PortType &poe(const char *metodo, const char *const *parametros, FUNCAO funcao) {
        using Metodo = interno::Metodo<SERVICO, FUNCAO, NOMES>;
        YPortType *portType = emConstrucao();
        auto novo = std::make_unique<Metodo>(std::move(funcao), parametros);
        novo->descreve(portType, metodo);
        YPortType_registraTratadorComContexto(portType, metodo, Metodo::trata, novo.get(), Metodo::libera);
        (void)novo.release();
        return *this;
    }

    YPortType *emConstrucao() {
        if (portType_ == nullptr) {
            YContextoTry_throw(YExc_rtti, "PortType já registrado."_l1, "PortType", __LINE__);
        }
        return portType_;
    }

    std::string nome_;
    Ponteiro<YPortType> portType_;
};

} // namespace pramo

#endif
