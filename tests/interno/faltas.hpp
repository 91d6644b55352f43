// Allocations and threads that the system refuses.
#pragma once

#include "apoio/teste.hpp"

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

/// Runs the action with the n-th allocation of the threads that are not spared failing, alone and with five
/// that follow it, for every n until there is none, and `depois` behind each.
template <typename ACAO, typename DEPOIS>
void emCadaAlocacao(ACAO acao, DEPOIS depois) {
    acao(); // what is made once for the whole process exists now
    YObLOG_habilita(0);
    for (const int seguidas : {1, 6}) {
        alocacoes.seguidas = seguidas;
        int n = 0;
        for (bool passou = false; !passou; n += seguidas) {
            ASSERT_LT(n, 4000);
            alocacoes.ainda = n;
            acao();
            passou = alocacoes.ainda.exchange(NUNCA) >= 0;
            depois("allocation " + std::to_string(n));
        }
        EXPECT_GT(n, 4) << "the library allocates on its way";
    }
    YObLOG_habilita(Y_LOG_ERRO);
}

} // namespace apoio
