#include <3pramo/foundation/YObThread_interno.hpp>

#include <3pramo/foundation/Trinco.hpp>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YOb_interno.hpp>

#include <atomic>
#include <pthread.h>
#include <thread>
#include <utility>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YObThread";

struct Estado {
    std::atomic<bool> viva{false};
    void (*aoLiberar)(YObThread *) = nullptr; // set by a constructor

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
};

Estado &estadoDe(const YObThread *thread) {
    return *static_cast<Estado *>(thread->estado);
}

const YObThread_Rtti &slotsDe(const YObThread *thread) {
    return *reinterpret_cast<const YObThread_Rtti *>(thread->rtti);
}

// ---- Changes of life ----

/// Starts, stops and frees of one object come one after the other. `entrou` is false when the object is being
/// freed: nothing of it may be touched then.
class Mudanca {
public:
    explicit Mudanca(Estado &estado) : estado_(estado) {
        const Tranca tranca(estado_.trinco);
        const std::thread::id eu = std::this_thread::get_id();
        estado_.esperam++;
        while (!estado_.liberando && estado_.mudancas != 0 && estado_.quemMuda != eu) {
            estado_.mudou.espera(estado_.trinco);
        }
        estado_.esperam--;
        const bool jaDentro = estado_.mudancas != 0 && estado_.quemMuda == eu;
        entrou_ = jaDentro || !estado_.liberando;
        if (entrou_) {
            estado_.quemMuda = eu;
            estado_.mudancas++;
        } else {
            estado_.mudou.avisa();
        }
    }
    ~Mudanca() {
        if (entrou_) {
            const Tranca tranca(estado_.trinco);
            estado_.mudancas--;
            estado_.mudou.avisa();
        }
    }
    Mudanca(const Mudanca &) = delete;
    Mudanca &operator=(const Mudanca &) = delete;

    [[nodiscard]] bool entrou() const { return entrou_; }

private:
    Estado &estado_;
    bool entrou_;
};

bool ehPropria(const Estado &estado) Y_EXIGE(estado.trinco) {
    return estado.rodando && estado.aJuntar && pthread_equal(estado.fio, pthread_self()) != 0;
}

bool naPropriaThread(const YObThread *thread) {
    Estado &estado = estadoDe(thread);
    const Tranca tranca(estado.trinco);
    return ehPropria(estado);
}

/// Waits for the end of the thread that ran last; its run has returned.
void junta(Estado &estado) {
    Tranca tranca(estado.trinco);
    const bool ha = std::exchange(estado.aJuntar, false);
    const pthread_t fio = estado.fio;
    tranca.solta();
    if (ha) {
        pthread_join(fio, nullptr);
    }
}

// ---- The thread itself ----

/// Marks the end of a run however it comes: pthread_exit unwinds past every catch.
class FimDaRodada {
public:
    explicit FimDaRodada(Estado &estado) : estado_(estado) {}
    ~FimDaRodada() {
        esqueceExcecoes();
        const Tranca tranca(estado_.trinco);
        estado_.viva = false;
        estado_.rodando = false;
        estado_.mudou.avisa();
    }
    FimDaRodada(const FimDaRodada &) = delete;
    FimDaRodada &operator=(const FimDaRodada &) = delete;

private:
    Estado &estado_;
};

void *roda(void *argumento) {
    auto *thread = static_cast<YObThread *>(argumento);
    const FimDaRodada fim(estadoDe(thread));
    try {
        const EmUso emUso(thread);
        slotsDe(thread).run(thread);
    } catch (...) {
        registraExcecaoCorrente("run");
    }
    return nullptr;
}

void constroiThread(void *objeto) {
    semFaltaDeMemoria(FONTE, [&] {
        static_cast<YObThread *>(objeto)->estado = new Estado;
        return 0;
    });
}

void destroiThread(void *objeto) {
    auto *thread = static_cast<YObThread *>(objeto);
    YObThread_stopImpl(thread); // a derived class's stop may have left its own thread running
    delete &estadoDe(thread);
}

/// Before any destructor: stops the object through its slot and has its class end what else works for it.
bool preparaLiberacao(void *objeto) {
    auto *thread = static_cast<YObThread *>(objeto);
    recusaEmUso(thread);
    Estado &estado = estadoDe(thread);
    const Mudanca mudanca(estado);
    if (!mudanca.entrou()) {
        return false; // another thread frees it
    }
    slotsDe(thread).stopImpl(thread);
    if (estado.aoLiberar != nullptr) {
        estado.aoLiberar(thread);
    }
    const Tranca tranca(estado.trinco);
    estado.liberando = true;
    estado.mudou.avisa();
    while (estado.esperam != 0) {
        estado.mudou.espera(estado.trinco);
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
    if (EmUso::por(thread)) { // a new run would wait for this very thread
        if (YObThread_isAlive(thread) == 0) {
            recusaEmUso(thread);
        }
        return;
    }
    const Mudanca mudanca(estadoDe(thread));
    if (mudanca.entrou()) {
        slotsDe(thread).startImpl(thread);
    }
}

void YObThread_stop(YObThread *thread) {
    if (naPropriaThread(thread)) {
        return slotsDe(thread).stopImpl(thread); // only asks for it: whoever changes its life may wait for us
    }
    recusaEmUso(thread);
    const Mudanca mudanca(estadoDe(thread));
    if (mudanca.entrou()) {
        slotsDe(thread).stopImpl(thread);
    }
}

int YObThread_isAlive(const YObThread *thread) {
    return estadoDe(thread).viva.load() ? 1 : 0;
}

int YObThread_dorme(YObThread *thread, uint32_t milissegundos) {
    Estado &estado = estadoDe(thread);
    const auto fim = std::chrono::steady_clock::now() + std::chrono::milliseconds(milissegundos);
    const Tranca tranca(estado.trinco);
    while (estado.viva && estado.mudou.esperaAte(estado.trinco, fim)) {
    }
    return estado.viva ? 1 : 0;
}

void YObThread_startImpl(YObThread *thread) {
    Estado &estado = estadoDe(thread);
    Tranca tranca(estado.trinco);
    if (estado.viva) {
        return;
    }
    while (estado.rodando) { // a stop that was only asked for ends first
        estado.mudou.espera(estado.trinco);
    }
    tranca.solta();
    junta(estado);
    tranca.tranca();
    estado.rodando = estado.viva = true;
    estado.aJuntar = pthread_create(&estado.fio, nullptr, roda, thread) == 0;
    if (!estado.aJuntar) {
        estado.rodando = estado.viva = false;
        lanca(YExc_rtti, "Não foi possível criar a thread."_l1, FONTE);
    }
}

void YObThread_stopImpl(YObThread *thread) {
    Estado &estado = estadoDe(thread);
    Tranca tranca(estado.trinco);
    estado.viva = false;
    estado.mudou.avisa();
    if (ehPropria(estado)) {
        return;
    }
    while (estado.rodando) {
        estado.mudou.espera(estado.trinco);
    }
    tranca.solta();
    junta(estado);
}

// ---- Who works for whom ----

namespace {

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
    estadoDe(thread).aoLiberar = funcao;
}
