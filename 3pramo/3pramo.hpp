// The library for C++ applications: its C functions, exceptions by class, and pointers that own.
//
//     auto servidor = pramo::cria<YSoapServer>(YSoapServer_rtti);
//     YSoapServer_setPorta(servidor, 8080);
//     YObThread_start(servidor);
//
//     try { ... }
//     catch (const YExcecao &e) {
//         if (!e.ehDaClasse(YExcSoap_rtti)) throw;
//         ...
//     }
#ifndef Y3PRAMO_3PRAMO_HPP
#define Y3PRAMO_3PRAMO_HPP

#include <3pramo/3pramo.h>
#include <3pramo/foundation/Ponteiro.hpp>
#include <3pramo/foundation/YExcecao.hpp>
#include <3pramo/foundation/latin1.hpp>

namespace pramo {

/// A new object of the class; T is the struct that the class's instances are.
template <typename T>
Ponteiro<T> cria(YFuncaoRtti classe) {
    T *novo = nullptr;
    YalocaObjeto(&novo, classe);
    return Ponteiro<T>(novo);
}

} // namespace pramo

#endif
