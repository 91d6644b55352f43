// Thread objects and functions run on threads of their own.
#include "apoio/servidor.hpp"

#include <3pramo/3pramo.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <pthread.h>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using apoio::acontece;
using Relogio = std::chrono::steady_clock;

Y_CLASSE(Contador, YObThread) {
    std::atomic<int64_t> voltas;
    std::atomic<int64_t>
        acao; // 1: throw, 2: stop itself, 3: free itself, 4: pthread_exit, 5: 2 and go on for a while
    std::atomic<int64_t> recusada;
    bool *inteiroNaParada;
};

void rodaContador(YObThread *thread) {
    auto *c = static_cast<Contador *>(thread);
    do {
        c->voltas++;
        if (c->acao == 1) {
            throw std::runtime_error("fim");
        }
        if (c->acao == 2 || c->acao == 5) {
            YObThread_stop(c);
        }
        if (c->acao == 4) {
            pthread_exit(nullptr);
        }
        if (c->acao == 5) {
            c->recusada = 1;
            acontece([&] { return c->acao == 0; });
        }
        if (c->acao == 3) {
            try {
                YliberaObjeto(c);
            } catch (const YExcecao &) {
                c->recusada = 1;
                c->acao = 0;
            }
        }
    } while (YObThread_dorme(c, 60'000) != 0);
}

void paraContador(YObThread *thread) {
    auto *c = static_cast<Contador *>(thread);
    if (c->inteiroNaParada != nullptr) {
        *c->inteiroNaParada = c->voltas > 0;
    }
    YObThread_stopImpl(thread);
}

const YObThread_Rtti contador = {{YObThread_rtti, "Contador", sizeof(Contador), nullptr, nullptr},
                                 rodaContador,
                                 YObThread_startImpl,
                                 paraContador};
const YRtti *contador_rtti() {
    return &contador.rtti;
}

TEST(Thread, comecaParaEComecaDeNovo) {
    auto c = pramo::cria<Contador>(contador_rtti);
    EXPECT_FALSE(YObThread_isAlive(c.get()));
    YObThread_stop(c.get()); // never started: nothing to wait for
    for (int vez = 1; vez <= 3; vez++) {
        YObThread_start(c.get());
        EXPECT_TRUE(YObThread_isAlive(c.get()));
        YObThread_start(c.get()); // does nothing
        ASSERT_TRUE(acontece([&] { return c->voltas == vez; }));
        const auto antes = Relogio::now();
        YObThread_stop(c.get());
        EXPECT_FALSE(YObThread_isAlive(c.get()));
        EXPECT_LT(Relogio::now() - antes, std::chrono::seconds(10)) << "a stop ends the sleep of a minute";
        YObThread_stop(c.get());
        EXPECT_EQ(c->voltas, vez);
    }
}

TEST(Thread, excecaoSaidaOuParadaPropriaSoTerminaARodada) {
    const apoio::Diario diario(0);
    for (const int acao : {1, 2, 4}) {
        auto c = pramo::cria<Contador>(contador_rtti);
        c->acao = acao;
        YObThread_start(c.get());
        ASSERT_TRUE(acontece([&] { return YObThread_isAlive(c.get()) == 0; })) << acao;
        c->acao = 0;
        YObThread_stop(c.get());
        YObThread_start(c.get());
        ASSERT_TRUE(acontece([&] { return c->voltas == 2; })) << acao;
    }
}

TEST(Thread, umComecoEsperaOFimDeUmaParadaPropria) {
    auto c = pramo::cria<Contador>(contador_rtti);
    c->acao = 5;
    YObThread_start(c.get());
    ASSERT_TRUE(acontece([&] { return c->recusada == 1; }));
    EXPECT_FALSE(YObThread_isAlive(c.get()));
    std::thread comeco([&] { YObThread_start(c.get()); });
    c->acao = 0;
    comeco.join();
    EXPECT_TRUE(YObThread_isAlive(c.get()));
    EXPECT_TRUE(acontece([&] { return c->voltas == 2; }));
}

TEST(Thread, liberarParaAntesDeQualquerDestrutorENuncaDeDentro) {
    bool inteiro = false;
    auto c = pramo::cria<Contador>(contador_rtti);
    c->inteiroNaParada = &inteiro;
    c->acao = 3;
    YObThread_start(c.get());
    ASSERT_TRUE(acontece([&] { return c->recusada == 1; })) << "a thread cannot free its own object";
    c.reset();
    EXPECT_TRUE(inteiro);
}

TEST(Thread, variasParadasAoMesmoTempoEsperamTodas) {
    auto c = pramo::cria<Contador>(contador_rtti);
    YObThread_start(c.get());
    std::vector<std::jthread> paradas;
    for (int i = 0; i < 4; i++) {
        paradas.emplace_back([&] {
            YObThread_stop(c.get());
            EXPECT_FALSE(YObThread_isAlive(c.get()));
        });
    }
}

TEST(ExecutaThread, cadaFuncaoTemASuaEExcecaoNaoPassaDela) {
    const apoio::Diario diario(0);
    struct {
        std::atomic<int> entraram, sairam;
    } juntas = {};
    const auto funcao = [](void *argumento) {
        auto *j = static_cast<decltype(juntas) *>(argumento);
        j->entraram++;
        acontece([&] { return j->entraram >= 100; });
        j->sairam++;
        throw std::runtime_error("so esta termina");
    };
    for (int i = 0; i < 100; i++) {
        YexecutaThread(funcao, &juntas);
    }
    EXPECT_TRUE(acontece([&] { return juntas.entraram == 100; })) << "all run at once";
    ASSERT_TRUE(acontece([&] { return juntas.sairam == 100; }));
}

TEST(Mutex, reentraEExclui) {
    auto m = pramo::cria<YObMutex>(YObMutex_rtti);
    int total = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; i++) {
        threads.emplace_back([&] {
            for (int n = 0; n < 1000; n++) {
                YObMutex_requisita0(m.get(), "teste", __LINE__);
                YObMutex_requisita0(m.get(), "teste", __LINE__);
                total++;
                YObMutex_libera(m.get());
                YObMutex_libera(m.get());
            }
        });
    }
    for (std::thread &t : threads) {
        t.join();
    }
    EXPECT_EQ(total, 4000);
}

} // namespace
