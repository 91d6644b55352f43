// Functions run on threads of their own, which are kept for a while and used again.
#include <3pramo/foundation/YObThread.h>

#include <3pramo/foundation/Trinco.hpp>
#include <3pramo/foundation/YExc_interno.hpp>

#include <algorithm>
#include <memory>
#include <pthread.h>
#include <vector>

using namespace pramo;

namespace {

constexpr std::size_t MAXIMO_DE_OCIOSAS = 64;
constexpr std::chrono::seconds ESPERA_DA_OCIOSA{10};
constexpr std::uint64_t MENOR_PILHA = std::uint64_t{128} * 1024;

struct Trabalho {
    void (*funcao)(void *) = nullptr;
    void *argumento = nullptr;
};

/// One thread's place to wait for work; shared, so that whoever wakes it may do so after letting go of the
/// lock.
struct Ociosa {
    Condicao chegou;
    Trabalho trabalho;
};

using Vaga = std::shared_ptr<Ociosa>;

struct Piscina {
    Piscina() { ociosas.reserve(MAXIMO_DE_OCIOSAS); }

    Trinco trinco;
    // The last one in is the first one out: its stack is warm.
    std::vector<Vaga> ociosas Y_GUARDADO_POR(trinco);
    std::uint64_t pilha Y_GUARDADO_POR(trinco) = std::uint64_t{1024} * 1024;
};

// Never destroyed: idle threads outlive main.
Piscina &piscina() {
    static auto *const unica = new Piscina;
    return *unica;
}

void executa(const Trabalho &trabalho) {
    try {
        trabalho.funcao(trabalho.argumento);
    } catch (...) {
        registraExcecaoCorrente("YexecutaThread");
    }
}

/// Waits for another function; false when none came.
bool esperaTrabalho(const Vaga &eu) {
    Piscina &p = piscina();
    const auto fim = std::chrono::steady_clock::now() + ESPERA_DA_OCIOSA;
    const Tranca tranca(p.trinco);
    if (p.ociosas.size() >= MAXIMO_DE_OCIOSAS) {
        return false;
    }
    eu->trabalho.funcao = nullptr;
    p.ociosas.push_back(eu);
    while (eu->trabalho.funcao == nullptr) {
        if (!eu->chegou.esperaAte(p.trinco, fim) && eu->trabalho.funcao == nullptr) {
            std::erase(p.ociosas, eu);
            return false;
        }
    }
    return true;
}

void *vidaDaThread(void *primeiro) {
    const std::unique_ptr<Vaga> vaga(static_cast<Vaga *>(primeiro));
    const Vaga eu = *vaga;
    do {
        executa(eu->trabalho);
    } while (esperaTrabalho(eu));
    return nullptr;
}

/// Gives the work to an idle thread, which the caller then wakes; null when there is none.
Vaga entregaAOciosa(Piscina &p, const Trabalho &trabalho) Y_EXIGE(p.trinco) {
    if (p.ociosas.empty()) {
        return nullptr;
    }
    Vaga ociosa = std::move(p.ociosas.back());
    p.ociosas.pop_back();
    ociosa->trabalho = trabalho;
    return ociosa;
}

bool criaThread(std::uint64_t pilha, Vaga *dela) {
    pthread_attr_t atributos;
    pthread_attr_init(&atributos);
    pthread_attr_setdetachstate(&atributos, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&atributos, pilha);
    pthread_t thread{};
    const bool criada = pthread_create(&thread, &atributos, vidaDaThread, dela) == 0;
    pthread_attr_destroy(&atributos);
    return criada;
}

} // namespace

void YexecutaThread(void (*funcao)(void *argumento), void *argumento) {
    Piscina &p = piscina();
    Tranca tranca(p.trinco);
    const Vaga ociosa = entregaAOciosa(p, {funcao, argumento});
    const std::uint64_t pilha = p.pilha;
    tranca.solta(); // a thread woken under the lock would wait for it at once
    if (ociosa != nullptr) {
        ociosa->chegou.avisaUm();
        return;
    }
    auto dela =
        semFaltaDeMemoria("YObThread", [] { return std::make_unique<Vaga>(std::make_shared<Ociosa>()); });
    (*dela)->trabalho = {funcao, argumento};
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
