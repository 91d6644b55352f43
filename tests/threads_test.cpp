// Thread objects and functions run on threads of their own.
#include <3pramo/3pramo.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace {

using Relogio = std::chrono::steady_clock;

/// Waits, with a bound, for a condition that other threads bring about.
template <typename CONDICAO>
bool chegaA(CONDICAO condicao) {
    const auto fim = Relogio::now() + std::chrono::seconds(20);
    while (!condicao()) {
        if (Relogio::now() > fim) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

Y_CLASSE(Contador, YObThread) {
    std::atomic<int64_t> voltas;
    std::atomic<int64_t> acao; // 1: throw, 2: stop itself, 3: free itself
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
        if (c->acao == 2) {
            YObThread_stop(c);
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
        ASSERT_TRUE(chegaA([&] { return c->voltas == vez; }));
        const auto antes = Relogio::now();
        YObThread_stop(c.get());
        EXPECT_FALSE(YObThread_isAlive(c.get()));
        EXPECT_LT(Relogio::now() - antes, std::chrono::seconds(10)) << "a stop ends the sleep of a minute";
        YObThread_stop(c.get());
        EXPECT_EQ(c->voltas, vez);
    }
}

TEST(Thread, excecaoOuParadaPropriaSoTerminaARodada) {
    YObLOG_habilita(0);
    for (const int acao : {1, 2}) {
        auto c = pramo::cria<Contador>(contador_rtti);
        c->acao = acao;
        YObThread_start(c.get());
        ASSERT_TRUE(chegaA([&] { return YObThread_isAlive(c.get()) == 0; })) << acao;
        c->acao = 0;
        YObThread_stop(c.get());
        YObThread_start(c.get());
        ASSERT_TRUE(chegaA([&] { return c->voltas == 2; })) << acao;
    }
    YObLOG_habilita(Y_LOG_ERRO);
}

TEST(Thread, liberarParaAntesDeQualquerDestrutorENuncaDeDentro) {
    bool inteiro = false;
    auto c = pramo::cria<Contador>(contador_rtti);
    c->inteiroNaParada = &inteiro;
    c->acao = 3;
    YObThread_start(c.get());
    ASSERT_TRUE(chegaA([&] { return c->recusada == 1; })) << "a thread cannot free its own object";
    c.reset();
    EXPECT_TRUE(inteiro);
}

TEST(Thread, variasParadasAoMesmoTempoEsperamTodas) {
    auto c = pramo::cria<Contador>(contador_rtti);
    YObThread_start(c.get());
    std::vector<std::thread> paradas;
    for (int i = 0; i < 4; i++) {
        paradas.emplace_back([&] {
            YObThread_stop(c.get());
            EXPECT_FALSE(YObThread_isAlive(c.get()));
        });
    }
    for (std::thread &p : paradas) {
        p.join();
    }
}

struct Barreira {
    std::mutex mutex;
    std::condition_variable mudou;
    int juntas = 0;
    bool livre = false;
};

TEST(ExecutaThread, cadaFuncaoTemASuaEExcecaoNaoPassaDela) {
    constexpr int QUANTAS = 100;
    YObLOG_habilita(0);
    Barreira b;
    for (int i = 0; i < QUANTAS; i++) {
        YexecutaThread(
            [](void *argumento) {
                auto *barreira = static_cast<Barreira *>(argumento);
                std::unique_lock trava(barreira->mutex);
                barreira->juntas++;
                barreira->mudou.notify_all();
                barreira->mudou.wait(trava, [&] { return barreira->livre; });
                if (--barreira->juntas == 0) {
                    barreira->mudou.notify_all();
                }
                throw std::runtime_error("so esta termina");
            },
            &b);
    }
    std::unique_lock trava(b.mutex);
    EXPECT_TRUE(b.mudou.wait_for(trava, std::chrono::seconds(30), [&] { return b.juntas == QUANTAS; }))
        << "all run at once";
    b.livre = true;
    b.mudou.notify_all();
    EXPECT_TRUE(b.mudou.wait_for(trava, std::chrono::seconds(30), [&] { return b.juntas == 0; }));
    YObLOG_habilita(Y_LOG_ERRO);
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
