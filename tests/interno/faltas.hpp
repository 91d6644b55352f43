// Allocations and threads that the system refuses.
#pragma once

#include <atomic>
#include <climits>

namespace apoio {

constexpr int NUNCA = INT_MIN;

/// After `ainda` more, so many fail in a row; then, and while it is NUNCA, none.
struct Contagem {
    std::atomic<int> ainda{NUNCA};
    std::atomic<int> seguidas{1};

    bool chegouAVez() {
        int antes = ainda;
        while (antes != NUNCA &&
               !ainda.compare_exchange_weak(antes, antes - 1 > -seguidas ? antes - 1 : NUNCA)) {
        }
        return antes != NUNCA && antes <= 0;
    }
};

inline Contagem alocacoes; // of all threads that are not spared
inline thread_local bool poupada = false;
inline Contagem threads;

} // namespace apoio
