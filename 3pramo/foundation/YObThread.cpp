#include <3pramo/foundation/YObThread_interno.hpp>

#include <3pramo/foundation/Trinco.hpp>
#include <3pramo/foundation/YExc_interno.hpp>

#include <atomic>
#include <system_error>
#include <thread>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YObThread";

struct Estado {
    std::atomic<bool> viva{false};
    void (*aoLiberar)(YObThread *) = nullptr; // set by a constructor
    Trinco trinco;
    Condicao mudou;
    bool rodando Y_GUARDADO_POR(trinco) = false; // from the start until run has returned
    std::thread fio Y_GUARDADO_POR(trinco);
};

Estado &estadoDe(const YObThread *thread) {
    return *static_cast<Estado *>(thread->estado);
}

const YObThread_Rtti &slotsDe(const YObThread *thread) {
    return *reinterpret_cast<const YObThread_Rtti *>(thread->rtti);
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

void roda(YObThread *thread) {
    Estado &estado = estadoDe(thread);
    try {
        const EmUso emUso(thread);
        slotsDe(thread).run(thread);
    } catch (...) {
        registraExcecaoCorrente("run");
    }
    const Tranca tranca(estado.trinco);
    estado.viva = false;
    estado.rodando = false;
    estado.mudou.avisa();
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

const YRtti *YObThread_rtti(void) {
    return &YObThread_definicaoRtti.rtti;
}

void YObThread_start(YObThread *thread) {
    slotsDe(thread).startImpl(thread);
}

void YObThread_stop(YObThread *thread) {
    slotsDe(thread).stopImpl(thread);
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
    const Tranca tranca(estado.trinco);
    if (estado.rodando) {
        return;
    }
    if (estado.fio.joinable()) {
        estado.fio.join(); // it ended by itself; run has returned, so this does not wait
    }
    estado.rodando = true;
    estado.viva = true;
    try {
        estado.fio = std::thread(roda, thread);
    } catch (const std::system_error &) {
        estado.rodando = false;
        estado.viva = false;
        lanca(YExc_rtti, "Não foi possível criar a thread."_l1, FONTE);
    }
}

void YObThread_stopImpl(YObThread *thread) {
    Estado &estado = estadoDe(thread);
    Tranca tranca(estado.trinco);
    estado.viva = false;
    estado.mudou.avisa();
    if (estado.fio.get_id() == std::this_thread::get_id()) {
        return;
    }
    while (estado.rodando) {
        estado.mudou.espera(estado.trinco);
    }
    std::thread fio = std::move(estado.fio);
    tranca.solta();
    if (fio.joinable()) {
        fio.join();
    }
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

void pramo::aoLiberar(YObThread *thread, void (*funcao)(YObThread *)) {
    estadoDe(thread).aoLiberar = funcao;
}

void pramo::preparaLiberacao(YObThread *thread) {
    if (EmUso::por(thread)) {
        lanca(YExc_rtti, "Objeto em uso pela própria thread."_l1, FONTE);
    }
    YObThread_stop(thread);
    if (estadoDe(thread).aoLiberar != nullptr) {
        estadoDe(thread).aoLiberar(thread);
    }
}
