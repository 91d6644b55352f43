#include <3pramo/foundation/YOb_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YMemoria_interno.hpp>
#include <3pramo/foundation/YObLOG.h>
#include <3pramo/versao.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

using namespace pramo;

const YRtti YOb_definicaoRtti = {nullptr, "YOb", sizeof(YOb), nullptr, nullptr};

const YRtti *YOb_rtti(void) {
    return &YOb_definicaoRtti;
}

const char *Y3PRAMO_versao(void) {
    return Y3PRAMO_VERSAO;
}

namespace {

// Runs every destructor from the class up; gives the first exception, if any.
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

struct Pergunta {
    const YRtti *classe;
    PodeLiberar pode;
};
constinit Pergunta perguntas[2] = {};

bool podeLiberar(void *objeto, const YRtti *classe) {
    PodeLiberar pode = nullptr;
    percorreClasses(classe, [&](const YRtti &c) {
        for (const Pergunta &pergunta : perguntas) {
            pode = pergunta.classe == &c ? pergunta.pode : pode;
        }
        return pode == nullptr;
    });
    return pode == nullptr || pode(objeto);
}

} // namespace

pramo::AntesDeLiberar::AntesDeLiberar(const YRtti &classe, PodeLiberar pode) {
    *std::find_if(std::begin(perguntas), std::end(perguntas),
                  [](const Pergunta &p) { return p.classe == nullptr; }) = {&classe, pode};
}

std::size_t pramo::tamanhoDaInstancia(const YRtti *classe) {
    std::uint64_t tamanho = sizeof(YOb);
    percorreClasses(classe, [&](const YRtti &c) {
        tamanho = std::max(tamanho, c.size);
        return true;
    });
    return tamanho;
}

void YliberaObjeto_semLancar(void *objeto) noexcept {
    try {
        YliberaObjeto(objeto);
    } catch (...) {
        registraExcecaoAdiada("YliberaObjeto");
    }
}

void YalocaObjeto(void *lugar, YFuncaoRtti classe) {
    YalocaObjeto_debug(lugar, classe, "?", 0);
}

void YalocaObjeto_debug(void *lugar, YFuncaoRtti classe, const char *arquivo, int linha) {
    const YRtti *descritor = classe();
    const std::size_t tamanho = tamanhoDaInstancia(descritor);
    auto *objeto = static_cast<YOb *>(std::calloc(1, tamanho));
    if (objeto == nullptr) {
        faltaMemoria(arquivo, linha);
    }
    objeto->rtti = descritor;
    anotaAlocacao(objeto, descritor->name, tamanho, arquivo, linha);
    try {
        constroi(objeto, descritor);
    } catch (...) {
        anotaLiberacao(objeto);
        std::free(objeto);
        throw;
    }
    std::memcpy(lugar, &objeto, sizeof objeto);
}

void YliberaObjeto(void *objeto) {
    if (objeto == nullptr) {
        return;
    }
    const YRtti *classe = static_cast<YOb *>(objeto)->rtti;
    if (!podeLiberar(objeto, classe)) {
        return;
    }
    const std::exception_ptr falha = destroi(objeto, classe);
    anotaLiberacao(objeto);
    std::free(objeto);
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
