// The library for C++ applications: its C functions, exceptions by class, pointers that own, classes of the
// object system written in C++ (cpp/Objeto.hpp) and method handlers with typed parameters
// (cpp/PortType.hpp).
//
//     auto servidor = pramo::cria<YSoapServer>(YSoapServer_rtti);
//     YSoapServer_setPorta(servidor, 8080);
//     pramo::PortType calc("Calc");
//     calc.metodo("soma", {"a", "b"}, [](int a, int b) { return a + b; });
//     calc.registra(servidor);
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
#include <3pramo/cpp/Objeto.hpp>
#include <3pramo/cpp/PortType.hpp>
#include <3pramo/cpp/cliente.hpp>
#include <3pramo/cpp/cria.hpp>
#include <3pramo/cpp/leitura.hpp>
#include <3pramo/cpp/texto.hpp>
#include <3pramo/foundation/Ponteiro.hpp>
#include <3pramo/foundation/YExcecao.hpp>
#include <3pramo/foundation/latin1.hpp>

#endif
