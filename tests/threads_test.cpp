// Thread objects and functions run on threads of their own.
#include "apoio/filho.hpp"
#include "apoio/servidor.hpp"

#include <3pramo/3pramo.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <pthread.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using apoio::acontece;
using namespace pramo::literais;
using Relogio = std::chrono::steady_clock;

Y_CLASSE(Contador, YObThread) {
    void (*acao)(Contador *);
    std::atomic<int64_t> voltas, passo;
};

std::atomic<int> inteirosNaParada;

const YObThread_Rtti CONTADOR = {{YObThread_rtti, "Contador", sizeof(Contador), nullptr,
                                  [](void *objeto) { static_cast<Contador *>(objeto)->voltas = 0; }},
                                 [](YObThread *thread) {
                                     auto *c = static_cast<Contador *>(thread);
                                     do {
                                         c->voltas++;
                                         c->acao(c);
                                     } while (YObThread_dorme(c, 60'000) != 0);
                                 },
                                 YObThread_startImpl,
                                 [](YObThread *thread) {
                                     inteirosNaParada += static_cast<Contador *>(thread)->voltas > 0 ? 1 : 0;
                                     YObThread_stopImpl(thread);
                                 }};

pramo::Ponteiro<Contador> novoContador(void (*acao)(Contador *)) {
    auto c = pramo::cria<Contador>([] { return &CONTADOR.rtti; });
    c->acao = acao;
    return c;
}

TEST(Thread, comecaParaEComecaDeNovo) {
    auto c =
        novoContador([](Contador *eu) { EXPECT_THROW(YliberaObjeto(eu), YExcecao) << "never from within"; });
    YObThread_stop(c); // never started: nothing to wait for
    for (int vez = 1; vez <= 3; vez++) {
        YObThread_start(c);
        EXPECT_TRUE(YObThread_isAlive(c));
        YObThread_start(c); // does nothing
        ASSERT_TRUE(acontece([&] { return c->voltas == vez; }));
        const auto antes = Relogio::now();
        std::vector<std::jthread> paradas;
        for (int i = 0; i < 4; i++) {
            paradas.emplace_back([&] {
                YObThread_stop(c);
                EXPECT_FALSE(YObThread_isAlive(c));
            });
        }
        paradas.clear();
        EXPECT_LT(Relogio::now() - antes, std::chrono::seconds(10)) << "a stop ends the sleep of a minute";
        EXPECT_EQ(c->voltas, vez);
    }
    YObThread_start(c);
    ASSERT_TRUE(acontece([&] { return c->voltas == 4; }));
    inteirosNaParada = 0;
    c.reset();
    EXPECT_EQ(inteirosNaParada, 1) << "freeing stops it before any destructor";
}

TEST(Thread, excecaoSaidaOuParadaPropriaSoTerminaARodada) {
    const apoio::Diario diario(0);
    void (*const acoes[])(Contador *) = {
        [](Contador *) { throw std::runtime_error("fim"); },
        [](Contador *c) { YObThread_stop(c); },
        [](Contador *) { pthread_exit(nullptr); },
    };
    for (const auto acao : acoes) {
        const auto c = novoContador(acao);
        for (int vez = 1; vez <= 2; vez++) {
            YObThread_start(c);
            ASSERT_TRUE(acontece([&] { return YObThread_isAlive(c) == 0; }));
            YObThread_stop(c);
            EXPECT_EQ(c->voltas, vez);
        }
    }
}

TEST(Thread, umComecoEsperaOFimDeUmaParadaPropria) {
    const auto c = novoContador([](Contador *eu) {
        if (eu->voltas == 1) {
            YObThread_stop(eu);
            eu->passo = 1;
            acontece([eu] { return eu->passo == 2; });
        }
    });
    YObThread_start(c);
    ASSERT_TRUE(acontece([&] { return c->passo == 1; }));
    EXPECT_FALSE(YObThread_isAlive(c));
    std::thread comeco([&] { YObThread_start(c); });
    c->passo = 2;
    comeco.join();
    EXPECT_TRUE(YObThread_isAlive(c));
    EXPECT_TRUE(acontece([&] { return c->voltas == 2; }));
}

/// Runs the function on so many threads at once; false when one of them never came.
bool rodam(int quantas, void (*funcao)() = nullptr) {
    struct Juntas {
        int quantas;
        void (*funcao)();
        std::atomic<int> rodaram{0}, acabaram{0};
    } juntas{quantas, funcao};
    const auto roda = [](void *argumento) {
        auto *j = static_cast<Juntas *>(argumento);
        j->funcao != nullptr ? j->funcao() : void();
        j->rodaram++;
        acontece([j] { return j->rodaram >= j->quantas; });
        j->acabaram++;
    };
    for (int i = 0; i < quantas; i++) {
        YexecutaThread(roda, &juntas);
    }
    return acontece([&] { return juntas.acabaram == quantas; });
}

TEST(ExecutaThread, nadaDeUmTrabalhoChegaAoSeguinte) {
    const apoio::Diario diario;
    ASSERT_TRUE(rodam(100, [] {
        YContextoTry regiao{};
        YContextoTry_inicia(&regiao);
        YContextoTry_executa(
            &regiao, [](void *) { throw std::runtime_error("de A"); }, nullptr);
        YContextoTry_catch(&regiao, YExc_rtti);
        YContextoTry_finaliza(&regiao);
        YContextoTry_printf("de A. ");
    }));
    ASSERT_TRUE(rodam(60, [] { // most of them where the first ran
        YExc_descreve_no_log();
        try {
            YContextoTry_throw(YExc_rtti, "de B", "teste", 1);
        } catch (...) {
            YExc_descreve_no_log();
        }
    }));
    EXPECT_TRUE(acontece([&] { return diario.quantos("YExc: de B") == 60; }));
    EXPECT_EQ(diario.quantos(""), 60);
}

TEST(ExecutaThread, oFilhoDeUmForkNaoContaComAsThreadsDoPai) {
    ASSERT_TRUE(rodam(20)); // and then wait for more
    EXPECT_TRUE(apoio::noFilho([] {
        YexecutaThread_setTamanhoDaPilha(uint64_t{1} << 60);
        try {
            rodam(1); // nobody waits here: it needs a new thread, which cannot be made
            return false;
        } catch (const YExcecao &e) {
            YexecutaThread_setTamanhoDaPilha(0);
            return e.what() == std::string("Não foi possível criar a thread."_l1) && rodam(20) && rodam(70);
        }
    }));
    EXPECT_TRUE(rodam(20));
}

std::atomic<int> chamadas;

TEST(ExecutaThread, quemTerminaAThreadSoTerminaEla) {
    const YFuncaoLog termina = [](void *, int, const char *) { chamadas++, pthread_exit(nullptr); };
    const YFuncaoLog lanca = [](void *, int, const char *) { chamadas++, throw 42; };
    const YFuncaoLog registraDeDentro = [](void *, int, const char *) {
        chamadas++;
        YObLOG_masc_print(Y_LOG_ERRO, "de dentro");
    };
    const auto registra = [](void *) { YObLOG_masc_print(Y_LOG_ERRO, "registro"); };
    const auto registraApanhada = [](void *) {
        try {
            throw 42;
        } catch (...) {
            YExc_descreve_no_log();
        }
    };
    const std::pair<YFuncaoLog, void (*)(void *)> casos[] = {
        {termina, registra},
        {termina, registraApanhada}, // in a catch block
        {termina, [](void *) { throw 42; }},
        {nullptr, [](void *) { chamadas++, pthread_exit(nullptr); }},
        {lanca, registraApanhada},
        {registraDeDentro, registra},
    };
    for (const auto &[saida, funcao] : casos) {
        chamadas = 0;
        YObLOG_setSaida(saida, nullptr);
        YexecutaThread(funcao, nullptr);
        ASSERT_TRUE(acontece([] { return chamadas == 1; }));
        const apoio::Diario diario;
        YObLOG_masc_print(Y_LOG_ERRO, "adiante");
        EXPECT_TRUE(acontece([&] { return diario.quantos("adiante") == 1; }));
    }
    EXPECT_TRUE(rodam(20));
}

TEST(Mutex, reentraEExclui) {
    const auto m = pramo::cria<YObMutex>(YObMutex_rtti);
    int total = 0;
    const auto soma = [&] {
        for (int n = 0; n < 1000; n++) {
            YObMutex_requisita0(m, "teste", __LINE__);
            YObMutex_requisita0(m, "teste", __LINE__);
            total++;
            YObMutex_libera(m);
            YObMutex_libera(m);
        }
    };
    { const std::jthread uma(soma), outra(soma); }
    EXPECT_EQ(total, 2000);
}

} // namespace
