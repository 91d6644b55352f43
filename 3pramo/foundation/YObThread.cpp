// Thread objects. `viva` says whether the thread should go on, `rodando` that its run has not returned,
// `aJuntar` that its pthread is still to be joined. A change of life (start, stop, free) may wait for the
// thread to end, so it cannot hold the lock all along: a Mudanca keeps the other changes out instead, and
// the lock is held only where the fields are looked at.
// What a change does, the slots of the class say; the Impl functions are those of this class, which derived
// ones call. Who works for an object (EmUso) may neither free nor restart it: it would wait for itself.
#include <3pramo/foundation/YObThread_interno.hpp>

#include <3pramo/foundation/Trinco.hpp>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YOb_interno.hpp>

#include <atomic>
#include <cstdio>
#include <pthread.h>
#include <thread>
#include <utility>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YObThread";

struct Privado {
    // Written under the lock, so that whoever waits misses no change; asked without it, by every round of a
    // run.
    std::atomic<bool> viva{false};
    // Set by a constructor, while no second thread knows the object.
    void (*aoLiberar)(YObThread *) = nullptr;

    Trinco trinco;
    Condicao mudou;                              // any of the fields below
    bool rodando Y_GUARDADO_POR(trinco) = false; // from the start until run has returned
    bool aJuntar Y_GUARDADO_POR(trinco) = false; // `fio` was made and not yet joined
    pthread_t fio Y_GUARDADO_POR(trinco) = {};
    // The change of life (start, stop, free) under way: one thread's, which may go into another one from it.
    std::thread::id quemMuda Y_GUARDADO_POR(trinco);
    unsigned mudancas Y_GUARDADO_POR(trinco) = 0;
    unsigned esperam Y_GUARDADO_POR(trinco) = 0;
    bool liberando Y_GUARDADO_POR(trinco) = false; // whoever waits for a change leaves
    bool acordada Y_GUARDADO_POR(trinco) = false;  // and no sleep has taken that yet
};

Privado &privado(const YObThread *thread) {
    return *static_cast<Privado *>(thread->privado);
}

const YObThread_Rtti &slotsDe(const YObThread *thread) {
    return *reinterpret_cast<const YObThread_Rtti *>(thread->rtti);
}

// ---- Changes of life ----

/// Starts, stops and frees of one object come one after the other. `entrou` is false when the object is being
/// freed: nothing of it may be touched then.
class Mudanca {
public:
    explicit Mudanca(Privado &privado) : p_(privado) {
        const Tranca tranca(p_.trinco);
        // A change within a change of the same thread (a slot may start or stop) goes in at once. Who waits
        // is counted: the one that frees lets all of them leave before the memory goes.
        const std::thread::id eu = std::this_thread::get_id();
        p_.esperam++;
        while (!p_.liberando && p_.mudancas != 0 && p_.quemMuda != eu) {
            p_.mudou.espera(p_.trinco);
        }
        p_.esperam--;
        const bool jaDentro = p_.mudancas != 0 && p_.quemMuda == eu;
        entrou_ = jaDentro || !p_.liberando;
        if (entrou_) {
            p_.quemMuda = eu;
            p_.mudancas++;
        } else {
            p_.mudou.avisa();
        }
    }
    ~Mudanca() {
        if (entrou_) {
            const Tranca tranca(p_.trinco);
            p_.mudancas--;
            p_.mudou.avisa();
        }
    }
    Mudanca(const Mudanca &) = delete;
    Mudanca &operator=(const Mudanca &) = delete;

    [[nodiscard]] bool entrou() const { return entrou_; }

private:
    Privado &p_;
    bool entrou_;
};

// A pthread_t that was joined may be given out again; only one that is to be joined says something.
bool ehPropria(const Privado &p) Y_EXIGE(p.trinco) {
    return p.rodando && p.aJuntar && pthread_equal(p.fio, pthread_self()) != 0;
}

bool naPropriaThread(const YObThread *thread) {
    Privado &p = privado(thread);
    const Tranca tranca(p.trinco);
    return ehPropria(p);
}

/// Waits for the end of the thread that ran last; its run has returned.
void junta(Privado &p) {
    Tranca tranca(p.trinco);
    // Taken under the lock: one of several stops joins, the others find nothing to do.
    const bool ha = std::exchange(p.aJuntar, false);
    const pthread_t fio = p.fio;
    tranca.solta();
    if (ha) {
        // Without the lock: destructors that run at the end of a thread are the application's, too.
        pthread_join(fio, nullptr);
    }
}

// ---- The thread itself ----

/// Marks the end of a run however it comes: pthread_exit unwinds past every catch.
class FimDaRodada {
public:
    explicit FimDaRodada(Privado &privado) : p_(privado) {}
    ~FimDaRodada() {
        // First: the destructors of exceptions belong to the run, and the object may go once it has ended.
        esqueceExcecoes();
        const Tranca tranca(p_.trinco);
        p_.viva = false;
        p_.rodando = false;
        p_.mudou.avisa();
    }
    FimDaRodada(const FimDaRodada &) = delete;
    FimDaRodada &operator=(const FimDaRodada &) = delete;

private:
    Privado &p_;
};

void *roda(void *argumento) {
    auto *thread = static_cast<YObThread *>(argumento);
    // Outermost: what of the application still runs on this thread behind `run` (a sink, the destructors of
    // exceptions) may not free the object either. It is of this thread alone, so it may outlive the object.
    const EmUso emUso(thread);
    const FimDaRodada fim(privado(thread));
    try {
        slotsDe(thread).run(thread);
    } catch (...) {
        // Of any length: cut to it, for there may be no memory.
        char onde[128];
        std::snprintf(onde, sizeof onde, "%s_run", thread->rtti->name);
        // Hands the unwinding of pthread_exit on, which `fim` then ends.
        registraExcecaoCorrente(onde);
    }
    return nullptr;
}

void constroiThread(void *objeto) {
    semFaltaDeMemoria(FONTE, [&] {
        static_cast<YObThread *>(objeto)->privado = new Privado;
        return 0;
    });
}

void destroiThread(void *objeto) {
    auto *thread = static_cast<YObThread *>(objeto);
    YObThread_stopImpl(thread); // a derived class's stop may have left its own thread running
    delete &privado(thread);
}

/// Before any destructor: stops the object through its slot and has its class end what else works for it.
bool preparaLiberacao(void *objeto) {
    auto *thread = static_cast<YObThread *>(objeto);
    // Before anything has changed: whoever asked for it may go on with the object.
    recusaEmUso(thread);
    Privado &p = privado(thread);
    const Mudanca mudanca(p);
    if (!mudanca.entrou()) {
        return false; // another thread frees it
    }
    // The derived class is still whole: its slot ends its threads before a destructor takes their fields.
    slotsDe(thread).stopImpl(thread);
    if (p.aoLiberar != nullptr) {
        // Also those threads that work for the object beside its own.
        p.aoLiberar(thread);
    }
    const Tranca tranca(p.trinco);
    // From here on no change enters. Those that waited leave with nothing done; the last one ends this wait.
    p.liberando = true;
    p.mudou.avisa();
    while (p.esperam != 0) {
        p.mudou.espera(p.trinco);
    }
    return true;
}

void runSemImplementacao(YObThread * /*thread*/) {
    YchamouFuncaoVirtualPura();
}

} // namespace

const YObThread_Rtti YObThread_definicaoRtti = {
    {YOb_rtti, "YObThread", sizeof(YObThread), constroiThread, destroiThread},
    runSemImplementacao,
    YObThread_startImpl,
    YObThread_stopImpl};

static const AntesDeLiberar liberacaoDaThread(YObThread_definicaoRtti.rtti, preparaLiberacao);

const YRtti *YObThread_rtti(void) {
    return &YObThread_definicaoRtti.rtti;
}

void YObThread_start(YObThread *thread) {
    // A new run would wait for this very thread; of one that is alive there is nothing to ask.
    if (EmUso::por(thread)) {
        if (YObThread_isAlive(thread) == 0) {
            recusaEmUso(thread);
        }
        return;
    }
    const Mudanca mudanca(privado(thread));
    if (mudanca.entrou()) {
        slotsDe(thread).startImpl(thread);
    }
}

void YObThread_stop(YObThread *thread) {
    if (naPropriaThread(thread)) {
        return slotsDe(thread).stopImpl(thread); // only asks for it: whoever changes its life may wait for us
    }
    recusaEmUso(thread);
    const Mudanca mudanca(privado(thread));
    if (mudanca.entrou()) {
        slotsDe(thread).stopImpl(thread);
    }
}

int YObThread_isAlive(const YObThread *thread) {
    return privado(thread).viva.load() ? 1 : 0;
}

int YObThread_dorme(YObThread *thread, uint32_t milissegundos) {
    Privado &p = privado(thread);
    const auto fim = std::chrono::steady_clock::now() + std::chrono::milliseconds(milissegundos);
    const Tranca tranca(p.trinco);
    // Other changes wake it, too: it sleeps on until the time has passed or the life is over.
    while (p.viva && !p.acordada && p.mudou.esperaAte(p.trinco, fim)) {
    }
    if (!p.viva) {
        return 0; // and the wake, if there is one, stays for the next run
    }
    p.acordada = false;
    return 1;
}

void YObThread_acorda(YObThread *thread) {
    Privado &p = privado(thread);
    const Tranca tranca(p.trinco);
    p.acordada = true;
    // Under the lock: once it is let go, the thread may end and the object with it.
    p.mudou.avisa();
}

void YObThread_startImpl(YObThread *thread) {
    Privado &p = privado(thread);
    Tranca tranca(p.trinco);
    if (p.viva) {
        return;
    }
    while (p.rodando) { // a stop that was only asked for ends first
        p.mudou.espera(p.trinco);
    }
    // Without the lock while the last thread is joined; this is the change under way, so no other start
    // comes between.
    tranca.solta();
    junta(p);
    tranca.tranca();
    // Before the thread exists: it may ask at once, and so may its starter as soon as this returns.
    p.rodando = p.viva = true;
    // Under the lock, so that nobody sees the new thread without its handle.
    p.aJuntar = pthread_create(&p.fio, nullptr, roda, thread) == 0;
    if (!p.aJuntar) {
        p.rodando = p.viva = false;
        lanca(YExc_rtti, "Não foi possível criar a thread."_l1, FONTE);
    }
}

void YObThread_stopImpl(YObThread *thread) {
    Privado &p = privado(thread);
    Tranca tranca(p.trinco);
    p.viva = false;
    p.mudou.avisa();
    // It cannot wait for its own end: that is asked for only, and the next change of life joins it.
    if (ehPropria(p)) {
        return;
    }
    while (p.rodando) {
        p.mudou.espera(p.trinco);
    }
    tranca.solta();
    junta(p);
}

// ---- Who works for whom ----

namespace {

// The objects that this thread works for, the latest first: a list along its stack, for who serves a
// connection may work for two servers, one built on the other.
thread_local EmUso *usosDaThread = nullptr;

} // namespace

EmUso::EmUso(const YObThread *thread) : thread_(thread), anterior_(usosDaThread) {
    usosDaThread = this;
}

EmUso::~EmUso() {
    usosDaThread = anterior_;
}

bool EmUso::por(const YObThread *thread) {
    const EmUso *uso = usosDaThread;
    while (uso != nullptr && uso->thread_ != thread) {
        uso = uso->anterior_;
    }
    return uso != nullptr;
}

void pramo::recusaEmUso(const YObThread *thread) {
    if (EmUso::por(thread)) {
        lanca(YExc_rtti, "Objeto em uso pela própria thread."_l1, FONTE);
    }
}

void pramo::aoLiberar(YObThread *thread, void (*funcao)(YObThread *)) {
    privado(thread).aoLiberar = funcao;
}
