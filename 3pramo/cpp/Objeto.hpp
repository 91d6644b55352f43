// A class of the object system written as a class of C++.
//
//     class Venda : public pramo::Objeto<Venda, YWebService> {
//     public:
//         Venda() : itens_(10) {}
//         void vende(const std::string &item);
//
//     private:
//         std::mutex trinco_;
//         std::vector<std::string> itens_;
//     };
//
//     pramo::Ponteiro<Venda> venda = pramo::cria<Venda>();
//     const YDefinicaoPortType definicao = {"Venda", metodos, Venda::rtti, wsdl, nullptr};
//
// - Constructor and destructor run as written, those of the members too. The object system makes the base
//   part before, which the constructor finds whole, and ends it after the destructor. A constructor that
//   raises leaves nothing behind, as in any class.
// - The constructor takes no arguments: "constroi" has none. Members are what it makes of them; zeroed, as in
//   a class of C, are those of a class without a constructor of its own.
// - The class is made with pramo::cria alone: on the stack, as a member or with new it does not compile, or
//   raises YExc "Objeto fora do sistema de objetos.".
// - It has no virtual functions, and Objeto is its first base: the object system's header stands at its
//   beginning. What does not fit does not compile. Two classes of C++ are not derived from one another; what
//   they share they have as further bases or members.
// - A class of a thread (YObThread) has a public `void run()`, which is its thread's body, and is started by
//   who made the object, not by its constructor: one that raised would take the members from under the
//   thread. The other slots of a base are kept; a class fills those it wants in a public
//   `static void poeSlots(TABELA &)`, as one of a YRetentor its requisita0 in a YRetentor_Rtti.
// - The class is named in the SOAP server and in reports as its type is, without namespace; a public
//   `static constexpr const char *NOME` names it otherwise.
#ifndef Y3PRAMO_CPP_OBJETO_HPP
#define Y3PRAMO_CPP_OBJETO_HPP

#include <3pramo/cpp/cria.hpp>
#include <3pramo/foundation/YExc.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <new>
#include <string_view>
#include <type_traits>

namespace pramo {

namespace interno {

// ---- The table of slots of a class that others derive from ----

template <typename BASE>
consteval auto tabelaDe() {
    if constexpr (std::is_base_of_v<YObThread, BASE>) {
        return std::type_identity<YObThread_Rtti>();
    } else if constexpr (std::is_base_of_v<YRetentor, BASE>) {
        return std::type_identity<YRetentor_Rtti>();
    } else if constexpr (std::is_base_of_v<Pramo_Operacao, BASE>) {
        return std::type_identity<Pramo_Operacao_Rtti>();
    } else if constexpr (std::is_base_of_v<Pramo_Tipo, BASE>) {
        return std::type_identity<Pramo_Tipo_Rtti>();
    } else {
        return std::type_identity<YRtti>();
    }
}

// ---- The name of a type ----

// Its last part: neither namespaces nor what it is a template of.
consteval std::string_view ultimoNome(std::string_view tipo) {
    if (tipo.ends_with('>')) {
        int abertos = 0;
        do {
            abertos += tipo.ends_with('>') ? 1 : tipo.ends_with('<') ? -1 : 0;
            tipo.remove_suffix(1);
        } while (abertos != 0);
    }
    const std::size_t separador = tipo.rfind(':');
    return tipo.substr(separador != std::string_view::npos ? separador + 1 : 0);
}

template <typename TIPO>
consteval std::string_view nomeDoTipo() {
    std::string_view funcao =
        __PRETTY_FUNCTION__; // "... [with TIPO = ns::Venda; ...]", "... [TIPO = ns::Venda]"
    funcao.remove_prefix(funcao.find("TIPO = ") + 7);
    return ultimoNome(funcao.substr(0, std::min(funcao.find(';'), funcao.rfind(']'))));
}

template <typename TIPO>
inline constexpr auto NOME_DO_TIPO = [] {
    constexpr std::string_view nome = nomeDoTipo<TIPO>();
    std::array<char, nome.size() + 1> texto{};
    nome.copy(texto.data(), nome.size());
    return texto;
}();

// ---- Where the base part of an object stands ----

template <typename CLASSE>
struct Molde {
    union Lugar { // nothing of the object is ever made
        Lugar();
        ~Lugar();
        char nada;
        CLASSE objeto;
    };
    static Lugar lugar;
};

#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wundefined-var-template"
#endif
template <typename CLASSE, typename BASE>
consteval bool comecaPor() {
    const CLASSE *objeto = &Molde<CLASSE>::lugar.objeto;
    return static_cast<const void *>(static_cast<const BASE *>(objeto)) == static_cast<const void *>(objeto);
}
#ifdef __clang__
#pragma clang diagnostic pop
#endif

// ---- The base part of an object while a constructor or destructor of C++ runs ----

// To the compiler an object holds nothing before its constructor and after its destructor, so the base part,
// which lives longer, is carried past both: out of the memory before, back into it behind.
class Travessia {
public:
    Travessia(void *objeto, void *base, std::size_t tamanho)
        : objeto_(objeto), base_(base), tamanho_(tamanho) {
        std::memcpy(base_, objeto_, tamanho_);
        atual = this;
    }
    ~Travessia() {
        atual = anterior_;
        if (terminou_) {
            std::memcpy(objeto_, base_, tamanho_);
        }
    }
    Travessia(const Travessia &) = delete;
    Travessia &operator=(const Travessia &) = delete;

    // The base part for the object whose construction begins.
    static const void *toma(const void *objeto) {
        if (atual == nullptr || atual->objeto_ != objeto) {
            YContextoTry_throw(YExc_rtti, "Objeto fora do sistema de objetos.", "Objeto", __LINE__);
        }
        return atual->base_;
    }
    // That of the object that ends, be it since its constructor raised.
    static void guarda(const void *objeto) noexcept {
        if (atual != nullptr && atual->objeto_ == objeto) {
            std::memcpy(atual->base_, objeto, atual->tamanho_);
            atual->terminou_ = true;
        }
    }

private:
    void *objeto_;
    void *base_;
    std::size_t tamanho_;
    bool terminou_ = false;
    // Constructors make other objects, destructors end them: a list along the stack of the thread.
    static constinit inline thread_local Travessia *atual = nullptr;
    Travessia *anterior_ = atual;
};

} // namespace interno

/// The base of the class CLASSE, which is derived from BASE: YWebService, YObThread, another class of the
/// library that may be derived from, or one of C of the application's own, whose function and table of slots
/// are given then.
template <typename CLASSE, typename BASE,
          YFuncaoRtti RTTI_DA_BASE = interno::rttiDe<BASE>(interno::Classes()),
          typename TABELA = typename decltype(interno::tabelaDe<BASE>())::type>
class Objeto : public BASE {
    static_assert(std::is_base_of_v<YOb, BASE>, "the base is a class of the object system");
    static_assert(
        std::is_trivially_copyable_v<BASE> && std::is_trivially_destructible_v<BASE>,
        "the base is a class of C, without constructors: of two classes of C++ only one can be made of it");

public:
    /// Which class of the object system CLASSE is; a class derived from it in C++ alone is none.
    using ClasseDoObjeto = CLASSE;

    /// The function that names the class, a YFuncaoRtti.
    static const YRtti *rtti() {
        static const TABELA tabela = fazTabela();
        return reinterpret_cast<const YRtti *>(&tabela); // its first member
    }

    // What a class says otherwise by a member of the same name.
    static constexpr const char *NOME = nullptr;
    static void poeSlots(TABELA & /*tabela*/) {}

    Objeto(const Objeto &) = delete;
    Objeto &operator=(const Objeto &) = delete;
    static void *operator new(std::size_t) = delete;
    static void operator delete(void *) = delete;

protected:
    Objeto() : BASE(*static_cast<const BASE *>(interno::Travessia::toma(this))) {}
    ~Objeto() { interno::Travessia::guarda(static_cast<const BASE *>(this)); }

private:
    static void constroi(void *objeto) {
        alignas(BASE) std::byte base[sizeof(BASE)];
        const interno::Travessia travessia(objeto, base, sizeof(BASE));
        ::new (objeto) CLASSE();
    }

    static void destroi(void *objeto) {
        alignas(BASE) std::byte base[sizeof(BASE)];
        const interno::Travessia travessia(objeto, base, sizeof(BASE));
        static_cast<CLASSE *>(static_cast<BASE *>(objeto))->~CLASSE();
    }

    static void preenche(TABELA &tabela) {
        if constexpr (std::is_base_of_v<YObThread, BASE>) {
            if constexpr (requires(CLASSE & objeto) { objeto.run(); }) {
                tabela.run = [](YObThread *thread) { static_cast<CLASSE *>(thread)->run(); };
            } else {
                static_assert(!std::is_same_v<BASE, YObThread>,
                              "the class of a thread has a public void run()");
            }
        }
        CLASSE::poeSlots(tabela);
    }

    static TABELA fazTabela() {
        static_assert(std::is_convertible_v<CLASSE *, Objeto *>,
                      "the class names itself, publicly: class Venda : public pramo::Objeto<Venda, ...>");
        static_assert(!std::is_polymorphic_v<CLASSE>,
                      "no virtual functions: the object system's header stands where their table would");
        static_assert(interno::comecaPor<CLASSE, BASE>(), "pramo::Objeto is the first base of its class");
        static_assert(alignof(CLASSE) <= alignof(std::max_align_t), "objects are aligned as malloc aligns");
        TABELA tabela;
        std::memcpy(&tabela, RTTI_DA_BASE(), sizeof tabela); // the slots that the class keeps
        const char *nome = CLASSE::NOME != nullptr ? CLASSE::NOME : interno::NOME_DO_TIPO<CLASSE>.data();
        const YRtti definicao = {RTTI_DA_BASE, nome, sizeof(CLASSE), constroi, destroi};
        std::memcpy(&tabela, &definicao, sizeof definicao);
        preenche(tabela);
        return tabela;
    }
};

} // namespace pramo

#endif
