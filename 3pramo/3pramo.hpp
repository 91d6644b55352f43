// The library for C++ applications: its C functions, exceptions by class, and pointers that own.
//
//     auto servidor = pramo::cria<YSoapServer>(YSoapServer_rtti);
//     YSoapServer_setPorta(servidor.get(), 8080);
//     YObThread_start(servidor.get());
//
//     try { ... }
//     catch (const YExcecao &e) {
//         if (!e.ehDaClasse(YExcSoap_rtti)) throw;
//         ...
//     }
#ifndef Y3PRAMO_3PRAMO_HPP
#define Y3PRAMO_3PRAMO_HPP

#include <3pramo/3pramo.h>
#include <3pramo/foundation/YExcecao.hpp>
#include <3pramo/foundation/latin1.hpp>

#include <memory>

namespace pramo {

/// Frees an object, a dictionary or a text block. A destructor's exception ends here: it is logged.
struct Liberador {
    void operator()(void *objeto) const noexcept {
        try {
            YliberaObjeto(objeto);
        } catch (...) {
            YExc_descreve_no_log();
        }
    }
    void operator()(YDIC *dic) const noexcept { YDIC_destroi(dic); }
    void operator()(char *texto) const noexcept { YliberaMemoria(texto); }
};

/// Owns an object of the object system, a YDIC, or a text of YduplicaString.
template <typename T>
using Ponteiro = std::unique_ptr<T, Liberador>;

/// A new object of the class; T is the struct that the class's instances are.
template <typename T>
Ponteiro<T> cria(YFuncaoRtti classe) {
    T *novo = nullptr;
    YalocaObjeto(&novo, classe);
    return Ponteiro<T>(novo);
}

} // namespace pramo

#endif
