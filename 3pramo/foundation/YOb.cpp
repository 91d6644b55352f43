// Objects. An instance is one zeroed block whose first word is its class's descriptor; constructors run
// from the root class down, destructors from its class up. An exception of a constructor leaves nothing
// behind, one of a destructor stops none of the others.
// What is special about freeing an object of some class (a thread, a service object), that class says
// itself through an AntesDeLiberar: nothing here knows a class but the root.
#include <3pramo/foundation/YOb_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YMemoria_interno.hpp>
#include <3pramo/foundation/YObLOG.h>
#include <3pramo/versao.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

using namespace pramo;

const YRtti YOb_definicaoRtti = {nullptr, "YOb", sizeof(YOb), nullptr, nullptr};

const YRtti *YOb_rtti(void) {
    return &YOb_definicaoRtti;
}

const char *Y3PRAMO_versao(void) {
    return Y3PRAMO_VERSAO;
}

namespace {

/// Calls `visita` with the class and its ancestors, the class first, until it gives false.
template <typename VISITA>
void percorreClasses(const YRtti *classe, VISITA visita) {
    while (classe != nullptr && visita(*classe)) {
        classe = classe->parent != nullptr ? classe->parent() : nullptr;
    }
}

/// At least that of its ancestors.
std::size_t tamanhoDaInstancia(const YRtti *classe) {
    std::uint64_t tamanho = sizeof(YOb);
    percorreClasses(classe, [&](const YRtti &c) {
        tamanho = std::max(tamanho, c.size);
        return true;
    });
    return tamanho;
}

// Runs every destructor from the class up; gives the first exception, if any.
// A destructor that ends its thread (pthread_exit) is let through: no catch block may hold that up. The
// instance is then lost.
std::exception_ptr destroi(void *objeto, const YRtti *classe) {
    std::exception_ptr primeira;
    percorreClasses(classe, [&](const YRtti &c) {
        if (c.destructor != nullptr) {
            guardaPrimeira(primeira, [&] { c.destructor(objeto); });
        }
        return true;
    });
    return primeira;
}

// The ancestors first; the recursion is as deep as the class. A constructor that raises has cleaned up
// after itself, so only its ancestors are undone here.
void constroi(void *objeto, const YRtti *classe) {
    const YRtti *mae = classe->parent != nullptr ? classe->parent() : nullptr;
    if (mae != nullptr) {
        constroi(objeto, mae);
    }
    if (classe->constructor == nullptr) {
        return;
    }
    try {
        classe->constructor(objeto);
    } catch (...) {
        destroi(objeto, mae);
        throw;
    }
}

// The questions of the few classes that have one. They are entered while the library is loaded, by statics
// in no known order (hence constinit), and only read from then on: no lock.
constinit const AntesDeLiberar *perguntas = nullptr;

// The nearest class with a question answers, also for its own ancestors.
bool podeLiberar(void *objeto, const YRtti *classe) {
    PodeLiberar pode = nullptr;
    percorreClasses(classe, [&](const YRtti &c) {
        for (const AntesDeLiberar *p = perguntas; p != nullptr && pode == nullptr; p = p->seguinte) {
            pode = p->classe == &c ? p->pode : nullptr;
        }
        return pode == nullptr;
    });
    return pode == nullptr || pode(objeto);
}

} // namespace

pramo::AntesDeLiberar::AntesDeLiberar(const YRtti &deQual, PodeLiberar pergunta)
    : classe(&deQual), pode(pergunta), seguinte(perguntas) {
    perguntas = this;
}

void YliberaObjeto_semLancar(void *objeto) noexcept {
    try {
        YliberaObjeto(objeto);
    } catch (...) {
        // No sink of the application runs in here: one that ended its thread could not unwind through
        // noexcept.
        registraExcecaoAdiada("YliberaObjeto");
    }
}

void YalocaObjeto(void *lugar, YFuncaoRtti classe) {
    YalocaObjeto_debug(lugar, classe, "?", 0);
}

void YalocaObjeto_debug(void *lugar, YFuncaoRtti classe, const char *arquivo, int linha) {
    const YRtti *descritor = classe();
    const std::size_t tamanho = tamanhoDaInstancia(descritor);
    // Zeroed: a constructor writes only what is not zero, and a class may do without one.
    auto *objeto = static_cast<YOb *>(std::calloc(1, tamanho));
    if (objeto == nullptr) {
        faltaMemoria(arquivo, linha);
    }
    // The final class from the start: a constructor that calls a slot reaches the derived class.
    objeto->rtti = descritor;
    anotaAlocacao(objeto, descritor->name, tamanho, arquivo, linha);
    try {
        constroi(objeto, descritor);
    } catch (...) {
        anotaLiberacao(objeto);
        std::free(objeto);
        throw;
    }
    // Last, so that the variable of the caller changes only on success; by bytes, since its type is
    // unknown.
    std::memcpy(lugar, &objeto, sizeof objeto);
}

void YliberaObjeto(void *objeto) {
    if (objeto == nullptr) {
        return;
    }
    const YRtti *classe = static_cast<YOb *>(objeto)->rtti;
    // May raise, and then nothing has happened. False: whoever still uses the object, or is freeing it
    // already, ends it; it may be gone now.
    if (!podeLiberar(objeto, classe)) {
        return;
    }
    const std::exception_ptr falha = destroi(objeto, classe);
    // Out of the report before the address can be given out again.
    anotaLiberacao(objeto);
    std::free(objeto);
    // While another exception unwinds, a second one that left a destructor would end the process.
    if (falha != nullptr && std::uncaught_exceptions() == 0) {
        std::rethrow_exception(falha);
    }
}

void YliberaObjeto_debug(void *objeto, const char * /*arquivo*/, int /*linha*/) {
    YliberaObjeto(objeto);
}

int YRtti_deriva(const YRtti *classe, YFuncaoRtti ancestral) {
    const YRtti *procurada = ancestral();
    bool achou = false;
    percorreClasses(classe, [&](const YRtti &c) {
        achou = &c == procurada;
        return !achou;
    });
    return achou ? 1 : 0;
}

void YchamouFuncaoVirtualPura(void) {
    YObLOG_masc_print(Y_LOG_ERRO, "%s", "Chamada de operação sem implementação."_l1);
}
