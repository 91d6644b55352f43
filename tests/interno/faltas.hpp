// Allocations and threads that the system refuses.
#ifndef TESTES_INTERNO_FALTAS_HPP
#define TESTES_INTERNO_FALTAS_HPP

#include <atomic>
#include <climits>

namespace apoio {

constexpr int NUNCA = INT_MIN;

/// After `ainda` more, so many fail in a row; then, and while it is NUNCA, none.
struct Contagem {
    std::atomic<int> ainda{NUNCA};
    std::atomic<int> seguidas{1};
};
extern Contagem alocacoes; // of all threads that are not spared
extern thread_local bool poupada;
extern Contagem threads;

} // namespace apoio

#endif
