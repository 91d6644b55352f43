#include <3pramo/foundation/YContextoTry.h>
#include <3pramo/foundation/YContextoTry_interno.hpp>
#include <3pramo/foundation/YExc_interno.hpp>

using namespace pramo;

namespace {

// `estado` of a region.
constexpr std::int32_t ABERTA = 1;
constexpr std::int32_t FECHADA = 2;

thread_local std::exception_ptr ultimaTratada;
thread_local const YContextoTry *regiaoQueTrata = nullptr;

YExcecao *pendente(const YContextoTry *contexto) {
    return static_cast<YExcecao *>(contexto->pendente);
}

} // namespace

std::exception_ptr pramo::excecaoDaRegiao(bool aberta) {
    return !aberta || regiaoQueTrata != nullptr ? ultimaTratada : nullptr;
}

void YContextoTry_inicia(YContextoTry *contexto) {
    *contexto = {ABERTA, 0, nullptr};
}

int YContextoTry_executa(YContextoTry *contexto, void (*corpo)(void *), void *argumento) {
    if (contexto->estado != ABERTA || contexto->pendente != nullptr) {
        lanca(YExc_rtti, "Região protegida não está aberta."_l1, "YContextoTry");
    }
    try {
        corpo(argumento);
        return 1;
    } catch (...) {
        contexto->pendente = new YExcecao(excecaoCorrente());
        return 0;
    }
}

int YContextoTry_catch(YContextoTry *contexto, YFuncaoRtti classe) {
    const YExcecao *e = pendente(contexto);
    if (e == nullptr || !e->ehDaClasse(classe)) {
        return 0;
    }
    contexto->tratada = 1;
    ultimaTratada = std::make_exception_ptr(*e);
    regiaoQueTrata = contexto;
    return 1;
}

void YContextoTry_voltaContexto(YContextoTry *contexto) {
    contexto->estado = FECHADA;
}

void YContextoTry_finaliza(YContextoTry *contexto) {
    const std::unique_ptr<YExcecao> excecao(pendente(contexto));
    const bool tratada = contexto->tratada != 0;
    *contexto = {0, 0, nullptr};
    if (regiaoQueTrata == contexto) {
        regiaoQueTrata = nullptr;
    }
    if (excecao != nullptr && !tratada) {
        throw YExcecao(*excecao);
    }
}

const char *YContextoTry_mensagem(const YContextoTry *contexto) {
    return contexto->pendente != nullptr ? pendente(contexto)->what() : nullptr;
}
