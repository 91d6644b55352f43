// Raising and translating exceptions inside the library, for every room.
#ifndef Y3PRAMO_FOUNDATION_YEXC_INTERNO_HPP
#define Y3PRAMO_FOUNDATION_YEXC_INTERNO_HPP

#include <3pramo/foundation/YExcecao.hpp>
#include <3pramo/foundation/latin1.hpp>

#include <cstddef>
#include <exception>
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

/// In a catch (...) block: true when no exception is in flight but the unwinding of a thread that ends, which
/// must go on (`throw;`): the process ends otherwise.
inline bool terminaAThread() noexcept {
    return std::current_exception() == nullptr;
}

/// Runs the function; of several that fail, one after the other, the first exception is kept.
template <typename FUNCAO>
void guardaPrimeira(std::exception_ptr &primeira, FUNCAO funcao) {
    try {
        funcao();
    } catch (...) {
        if (terminaAThread()) {
            throw;
        }
        if (primeira == nullptr) {
            primeira = std::current_exception();
        }
    }
}

/// In a catch (...) block: the exception in flight as one of ours; a standard one becomes YExc with its
/// what(), anything else YExc "Exceção desconhecida.". The forced unwinding of a thread that ends is passed
/// on; nothing else is raised, also when there is no memory for the texts.
YExcecao excecaoCorrente();

/// The same of an exception that is kept.
YExcecao traduz(const std::exception_ptr &excecao);

/// The message of an exception that is kept; lives as long as the exception.
const char *mensagemDe(const std::exception_ptr &excecao);

/// In a catch (...) block: logs the exception in flight as an error; works without memory. `onde` says what
/// it ended. Passes on the forced unwinding of a thread that ends, and that of a log sink that ends its
/// thread.
void registraExcecaoCorrente(const char *onde);

/// The same from a destructor or a noexcept function: a sink of the application gets the record with the
/// next one.
void registraExcecaoAdiada(const char *onde);

/// Forgets the detail text and the handled exceptions of the calling thread: for a thread that goes on to
/// work for somebody else.
void esqueceExcecoes() noexcept;

} // namespace pramo

#endif
