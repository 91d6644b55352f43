// Thread objects and functions run on threads of their own.
#include "apoio/servidor.hpp"

namespace {

Y_CLASSE(Contador, YObThread) {
    void (*acao)(Contador *);
    std::atomic<int> voltas, passo;
};

void roda(YObThread *thread) {
    auto *contador = static_cast<Contador *>(thread);
    do {
        contador->voltas++;
        contador->acao(contador);
    } while (YObThread_dorme(thread, 600'000) != 0);
}

const YObThread_Rtti CONTADOR = {{YObThread_rtti, "Contador", sizeof(Contador), nullptr, nullptr},
                                 roda,
                                 YObThread_startImpl,
                                 YObThread_stopImpl};

Ponteiro<Contador> novoContador(void (*acao)(Contador *)) {
    auto c = cria<Contador>([] { return &CONTADOR.rtti; });
    c->acao = acao;
    return c;
}

TEST(Thread, cadaRodadaTerminaAoSeuModoEOutraComeca) {
    const Diario diario(0);
    void (*const acoes[])(Contador *) = {
        [](Contador *) { throw std::runtime_error("fim"); }, [](Contador *c) { YObThread_stop(c); },
        [](Contador *) { pthread_exit(nullptr); },
        [](Contador *c) { EXPECT_THROW(YliberaObjeto(c), YExcecao) << "never from within"; }};
    for (const auto acao : acoes) {
        const auto c = novoContador(acao);
        const auto para = [&] {
            YObThread_stop(c); // at first it was never started: nothing to wait for
            EXPECT_FALSE(YObThread_isAlive(c));
        };
        for (int vez = 0; vez < 3; vez++) {
            { const std::jthread uma(para), outra(para); } // they end the last one's sleep
            EXPECT_EQ(c->voltas, vez);
            YObThread_start(c);
            const bool dorme = acao == acoes[3];
            EXPECT_TRUE(acontece([&] { return c->voltas == vez + 1 && YObThread_isAlive(c) == dorme; }));
            dorme ? YObThread_start(c) : void(); // does nothing
        }
    }
}

TEST(Thread, umComecoEsperaOFimDeUmaParadaPropria) {
    const auto c = novoContador([](Contador *eu) {
        if (eu->voltas == 1) {
            YObThread_acorda(eu); // not for the sleep that the stop ends
            YObThread_stop(eu);
            eu->passo = 1;
            acontece([eu] { return eu->passo == 2; });
        }
    });
    YObThread_start(c);
    EXPECT_TRUE(acontece([&] { return c->passo == 1 && YObThread_isAlive(c) == 0; }));
    std::thread comeco([&] { YObThread_start(c); });
    c->passo = 2;
    comeco.join();
    EXPECT_TRUE(YObThread_isAlive(c));
    EXPECT_TRUE(acontece([&] { return c->voltas == 3; }));
}

TEST(Thread, acordaQuemDormeENadaSePerde) {
    const apoio::Diario diario;
    const auto c = novoContador([](Contador *eu) { eu->voltas == 400 ? throw std::bad_alloc() : void(); });
    YObThread_acorda(c); // kept for the first sleep
    YObThread_start(c);
    for (int vez = 2; vez < 400; vez++) { // asleep or on its way there
        EXPECT_TRUE(acontece([&] { return c->voltas == vez; }));
        YObThread_acorda(c);
    }
    EXPECT_TRUE(acontece([&] { return c->voltas == 400 && YObThread_isAlive(c) == 0; }));
    EXPECT_EQ(diario.quantos("Contador_run: YExc: Mem"), 1);
}

/// Runs the function on so many threads at once; false when one of them never came.
bool rodam(
    int quantas, void (*funcao)() = [] {}) {
    std::atomic<int> rodaram{0};
    std::atomic<int> acabaram{0};
    auto todas = [&] {
        funcao();
        rodaram++;
        acontece([&] { return rodaram >= quantas; });
        acabaram++;
    };
    for (int i = 0; i < quantas; i++) {
        YexecutaThread([](void *f) { (*static_cast<decltype(&todas)>(f))(); }, &todas);
    }
    return acontece([&] { return acabaram == quantas; });
}

TEST(ExecutaThread, nadaDeUmTrabalhoChegaAoSeguinte) {
    EXPECT_TRUE(rodam(100, [] { YContextoTry_printf("de A. "); }));
    EXPECT_TRUE(rodam(60, [] { // most of them where the first ran
        EXPECT_EQ(excecao([] { YContextoTry_throw(YExc_rtti, "de B", "", 1); }), "YExc: de B");
    }));
}

TEST(ExecutaThread, oFilhoDeUmForkNaoContaComAsThreadsDoPai) {
    ASSERT_TRUE(rodam(20)); // and then wait for more
    EXPECT_TRUE(noFilho([] {
        YexecutaThread_setTamanhoDaPilha(uint64_t{1} << 60);
        // Nobody waits here: it needs a new thread, which cannot be made.
        const std::string recusa = excecao([] { rodam(1); });
        YexecutaThread_setTamanhoDaPilha(0);
        return recusa == "YExc: Não foi possível criar a thread."_l1 && rodam(20) && rodam(70);
    }));
    EXPECT_TRUE(rodam(20));
}

TEST(ExecutaThread, quemTerminaAThreadSoTerminaEla) {
    using Funcao = void (*)();
    static std::atomic<int> chamadas;
    static const auto chama = [](void *funcao) {
        const Funcao qual = *static_cast<Funcao *>(funcao);
        chamadas++; // from here on the test may go on
        qual();
    };
    const Funcao sai = [] { pthread_exit(nullptr); };
    const Funcao lanca = [] { throw 42; };
    const Funcao registra = [] { YObLOG_masc_print(Y_LOG_ERRO, "registro"); };
    // On the thread, and in the sink.
    std::pair<Funcao, Funcao> casos[] = {{registra, sai}, {lanca, sai}, {lanca, lanca}, {registra, registra}};
    for (auto &[naThread, naSaida] : casos) {
        chamadas = 0;
        YObLOG_setSaida([](void *funcao, int, const char *) { chama(funcao); }, &naSaida);
        YexecutaThread(chama, &naThread);
        EXPECT_TRUE(acontece([] { return chamadas == 2; }));
        const Diario diario;
        YObLOG_masc_print(Y_LOG_ERRO, "adiante");
        EXPECT_TRUE(acontece([&] { return diario.quantos("adiante") == 1; }));
    }
    EXPECT_TRUE(rodam(20));
}

TEST(Mutex, reentraEExclui) {
    const auto m = cria<YObMutex>(YObMutex_rtti);
    int total = 0;
    emThreads(2, [&](int) {
        for (int n = 0; n < 1000; n++) {
            YObMutex_requisita0(m, "teste", 1);
            YObMutex_requisita0(m, "teste", 2);
            total++;
            YObMutex_libera(m);
            YObMutex_libera(m);
        }
    });
    EXPECT_EQ(total, 2000);
}

} // namespace
