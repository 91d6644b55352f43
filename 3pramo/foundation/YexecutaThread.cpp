// Functions run on threads of their own. A thread that has ended its function takes a free place, waits
// there ten seconds for the next one, and ends without one. So a server under load makes threads only as
// its load grows, and one at rest has none. Nobody joins them: they are detached.
// Work goes to the place under the lock; whoever gave it wakes the thread after letting go of the lock.
#include <3pramo/foundation/YexecutaThread.h>

#include <3pramo/foundation/Eterno.hpp>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YObLOG_interno.hpp>
#include <3pramo/foundation/YObThread_interno.hpp>

#include <algorithm>
#include <array>
#include <memory>
#include <pthread.h>
#include <utility>

using namespace pramo;

namespace {

constexpr std::size_t MAXIMO_DE_OCIOSAS = 64;
constexpr std::uint64_t MENOR_PILHA = std::uint64_t{128} * 1024;

/// Without a function it is none: the thread ends.
struct Trabalho {
    void (*funcao)(void *) = nullptr;
    void *argumento = nullptr;
};

/// One thread's place to wait for work. Places are never freed, so that whoever wakes a thread may do so
/// after letting go of the lock: at worst it wakes the next one that waits there, which waits on.
struct Vaga {
    Condicao chegou;
    Trabalho trabalho;
    Vaga *abaixo = nullptr;
};

struct Piscina {
    Piscina() noexcept {
        const Tranca tranca(trinco);
        noFilho();
    }

    /// In the child of a fork no thread waits; what is known of those that did, conditions included, is the
    /// parent's.
    void noFilho() Y_EXIGE(trinco) {
        ociosas = livres = nullptr;
        for (Vaga &vaga : vagas) {
            new (&vaga) Vaga;
            vaga.abaixo = std::exchange(livres, &vaga);
        }
    }

    Trinco trinco;
    std::array<Vaga, MAXIMO_DE_OCIOSAS> vagas; // each is in one of the two lists, or was just given work
    // The last one in is the first one out: its stack is warm.
    Vaga *ociosas Y_GUARDADO_POR(trinco) = nullptr;
    Vaga *livres Y_GUARDADO_POR(trinco) = nullptr;
    std::uint64_t pilha Y_GUARDADO_POR(trinco) = std::uint64_t{1024} * 1024;
};

Eterno<Piscina> unica;

Piscina &piscina() {
    return *unica;
}

const Bifurcavel<piscina> bifurcavel;

void executa(const Trabalho &trabalho) {
    try {
        trabalho.funcao(trabalho.argumento);
    } catch (...) {
        // Nobody is there to catch it. That of pthread_exit goes on, and takes this thread with it.
        registraExcecaoCorrente("YexecutaThread");
    }
    // The thread's next work is somebody else's.
    esqueceExcecoes();
    // Here a sink may be called: what destructors of this run had to leave waiting is delivered.
    entregaAdiados();
}

void tira(Vaga *&lista, const Vaga *vaga) {
    Vaga **lugar = &lista;
    while (*lugar != vaga) {
        lugar = &(*lugar)->abaixo;
    }
    *lugar = vaga->abaixo;
}

void poe(Vaga *&lista, Vaga *vaga) {
    vaga->abaixo = std::exchange(lista, vaga);
}

/// Waits for another function; one without address when none came.
Trabalho esperaTrabalho() {
    Piscina &p = piscina();
    const auto fim = std::chrono::steady_clock::now() + esperaDaOciosa.load();
    const Tranca tranca(p.trinco);
    // As many wait as there are places; the next one ends.
    Vaga *eu = p.livres;
    if (eu == nullptr) {
        return {};
    }
    p.livres = eu->abaixo;
    poe(p.ociosas, eu);
    // It is woken for nothing now and then (see Vaga), and late work counts: whoever gave it has taken the
    // place off the list of the idle and relies on it.
    while (eu->trabalho.funcao == nullptr) {
        if (!eu->chegou.esperaAte(p.trinco, fim) && eu->trabalho.funcao == nullptr) {
            tira(p.ociosas, eu);
            break;
        }
    }
    poe(p.livres, eu);
    return std::exchange(eu->trabalho, {});
}

void *vidaDaThread(void *primeiro) {
    // Freed before the first function runs, which may last as long as the process.
    Trabalho trabalho = *std::unique_ptr<Trabalho>(static_cast<Trabalho *>(primeiro));
    while (trabalho.funcao != nullptr) {
        executa(trabalho);
        // Nobody ends it while it waits, which is in functions that no unwinding may leave.
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
        trabalho = esperaTrabalho();
        pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
    }
    return nullptr;
}

/// Gives the work to an idle thread, which the caller then wakes; null when there is none.
Vaga *entregaAOciosa(Piscina &p, const Trabalho &trabalho) Y_EXIGE(p.trinco) {
    Vaga *ociosa = p.ociosas;
    if (ociosa != nullptr) {
        p.ociosas = ociosa->abaixo;
        ociosa->trabalho = trabalho;
    }
    return ociosa;
}

/// On success the thread frees `dela`.
/// Threads that are kept keep the stack they were made with.
bool criaThread(std::uint64_t pilha, Trabalho *dela) {
    pthread_attr_t atributos;
    if (dela == nullptr || pthread_attr_init(&atributos) != 0) {
        return false;
    }
    pthread_t thread{};
    const bool criada = pthread_attr_setdetachstate(&atributos, PTHREAD_CREATE_DETACHED) == 0 &&
                        pthread_attr_setstacksize(&atributos, pilha) == 0 &&
                        pthread_create(&thread, &atributos, vidaDaThread, dela) == 0;
    pthread_attr_destroy(&atributos);
    return criada;
}

} // namespace

void YexecutaThread(void (*funcao)(void *argumento), void *argumento) {
    Piscina &p = piscina();
    Tranca tranca(p.trinco);
    Vaga *const ociosa = entregaAOciosa(p, {funcao, argumento});
    // Read here, not to take the lock a second time.
    const std::uint64_t pilha = p.pilha;
    tranca.solta(); // a thread woken under the lock would wait for it at once
    if (ociosa != nullptr) {
        ociosa->chegou.avisaUm();
        return;
    }
    std::unique_ptr<Trabalho> dela(new (std::nothrow) Trabalho{funcao, argumento});
    if (!criaThread(pilha, dela.get())) {
        lanca(YExc_rtti, "Não foi possível criar a thread."_l1, "YObThread");
    }
    (void)dela.release(); // the new thread frees it
}

void YexecutaThread_setTamanhoDaPilha(uint64_t bytes) {
    Piscina &p = piscina();
    const Tranca tranca(p.trinco);
    p.pilha = std::max(bytes, MENOR_PILHA);
}
