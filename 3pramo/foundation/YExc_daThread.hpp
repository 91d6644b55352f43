// What a thread remembers of exceptions between calls: shared by the sources of YExc and YContextoTry alone.
#ifndef Y3PRAMO_FOUNDATION_YEXC_DATHREAD_HPP
#define Y3PRAMO_FOUNDATION_YEXC_DATHREAD_HPP

#include <3pramo/foundation/YContextoTry.h>
#include <3pramo/foundation/YExcecao.hpp>

#include <array>
#include <exception>
#include <string>

namespace pramo {

/// A region of C code that handles an exception and has not ended.
struct RegiaoQueTrata {
    const YContextoTry *regiao = nullptr; // to compare only: the region may have been abandoned
    std::exception_ptr tratada;
    std::exception_ptr corrente; // whose C++ catch block ran when the region took its own
};

struct Lembrancas {
    std::string detalhe; // waits for the next raise, as do the attributes
    std::vector<YExcecao::Atributo> atributos;
    std::exception_ptr ultimaTratada;
    std::array<RegiaoQueTrata, 4> regioes; // innermost last; of a deeper nest the innermost ones
    std::size_t abertas = 0;
};

/// The calling thread's; null while it has none.
Lembrancas *lembrancas() noexcept;

/// The same, made when there are none yet; null when the thread's end could not be made to free them.
Lembrancas *lembrancasOuNovas() noexcept;

} // namespace pramo

#endif
