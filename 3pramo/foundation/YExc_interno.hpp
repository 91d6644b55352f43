// Raising and translating exceptions inside the library.
#ifndef Y3PRAMO_FOUNDATION_YEXC_INTERNO_HPP
#define Y3PRAMO_FOUNDATION_YEXC_INTERNO_HPP

#include <3pramo/foundation/YExcecao.hpp>
#include <3pramo/foundation/latin1.hpp>

#include <new>

namespace pramo {

using namespace literais;

/// Raises with the line of the caller. `fonte` is the class's source name.
[[noreturn]] inline void lanca(YFuncaoRtti classe, const char *mensagem, const char *fonte,
                               int linha = __builtin_LINE()) {
    YContextoTry_throw(classe, mensagem, fonte, linha);
}

[[noreturn]] void faltaMemoria(const char *fonte, int linha);

/// Runs the function; a std::bad_alloc becomes YExc "Memória insuficiente.".
template <typename FUNCAO>
auto semFaltaDeMemoria(const char *fonte, FUNCAO funcao, int linha = __builtin_LINE()) {
    try {
        return funcao();
    } catch (const std::bad_alloc &) {
        faltaMemoria(fonte, linha);
    }
}

/// In a catch (...) block: the exception in flight as one of ours; a standard one becomes YExc with its
/// what(), anything else YExc "Exceção desconhecida.". The forced unwinding of a cancelled thread is passed
/// on.
YExcecao excecaoCorrente();

/// Forgets this thread's detail text and last handled exception.
void esqueceExcecoes() noexcept;

/// In a catch (...) block: logs the exception in flight as an error. `onde` says what it ended.
void registraExcecaoCorrente(const char *onde);

} // namespace pramo

#endif
