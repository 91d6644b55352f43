// Functions run on threads of their own, which are kept for a while and used again.
#include <3pramo/foundation/YObThread.h>

#include <3pramo/foundation/Trinco.hpp>
#include <3pramo/foundation/YExc_interno.hpp>

#include <algorithm>
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

/// One idle thread, on its own stack.
struct Ociosa {
    Condicao chegou;
    Trabalho trabalho;
};

struct Piscina {
    Trinco trinco;
    std::vector<Ociosa *>
        ociosas Y_GUARDADO_POR(trinco); // the last one in is the first one out: its stack is warm
    std::uint64_t pilha Y_GUARDADO_POR(trinco) = std::uint64_t{1024} * 1024;
};

// Never destroyed: idle threads outlive main.
Piscina &piscina() {
    static auto *const unica = [] {
        auto *p = new Piscina;
        p->ociosas.reserve(MAXIMO_DE_OCIOSAS);
        return p;
    }();
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
bool esperaTrabalho(Trabalho &trabalho) {
    Piscina &p = piscina();
    const auto fim = std::chrono::steady_clock::now() + ESPERA_DA_OCIOSA;
    Ociosa eu;
    const Tranca tranca(p.trinco);
    if (p.ociosas.size() >= MAXIMO_DE_OCIOSAS) {
        return false;
    }
    p.ociosas.push_back(&eu);
    while (eu.trabalho.funcao == nullptr) {
        if (!eu.chegou.esperaAte(p.trinco, fim) && eu.trabalho.funcao == nullptr) {
            std::erase(p.ociosas, &eu);
            return false;
        }
    }
    trabalho = eu.trabalho;
    return true;
}

void *vidaDaThread(void *primeiro) {
    Trabalho trabalho = *static_cast<Trabalho *>(primeiro);
    delete static_cast<Trabalho *>(primeiro);
    do {
        executa(trabalho);
    } while (esperaTrabalho(trabalho));
    return nullptr;
}

bool entregaAOciosa(Piscina &p, const Trabalho &trabalho) Y_EXIGE(p.trinco) {
    if (p.ociosas.empty()) {
        return false;
    }
    Ociosa *ociosa = p.ociosas.back();
    p.ociosas.pop_back();
    ociosa->trabalho = trabalho;
    ociosa->chegou.avisaUm();
    return true;
}

bool criaThread(std::uint64_t pilha, Trabalho *trabalho) {
    pthread_attr_t atributos;
    pthread_attr_init(&atributos);
    pthread_attr_setdetachstate(&atributos, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&atributos, pilha);
    pthread_t thread{};
    const bool criada = pthread_create(&thread, &atributos, vidaDaThread, trabalho) == 0;
    pthread_attr_destroy(&atributos);
    return criada;
}

} // namespace

void YexecutaThread(void (*funcao)(void *argumento), void *argumento) {
    Piscina &p = piscina();
    std::uint64_t pilha = 0;
    {
        const Tranca tranca(p.trinco);
        if (entregaAOciosa(p, {funcao, argumento})) {
            return;
        }
        pilha = p.pilha;
    }
    auto trabalho = semFaltaDeMemoria("YObThread", [&] {
        return std::make_unique<Trabalho>(Trabalho{funcao, argumento});
    });
    if (!criaThread(pilha, trabalho.get())) {
        lanca(YExc_rtti, "Não foi possível criar a thread."_l1, "YObThread");
    }
    (void)trabalho.release(); // the new thread frees it
}

void YexecutaThread_setTamanhoDaPilha(uint64_t bytes) {
    Piscina &p = piscina();
    const Tranca tranca(p.trinco);
    p.pilha = std::max(bytes, MENOR_PILHA);
}
