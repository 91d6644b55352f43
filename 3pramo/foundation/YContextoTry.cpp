// Raising, and protected regions for C. A region keeps the exception that left its body as it was raised,
// in the place of the one pointer that the caller's struct has for it. What is being handled is remembered
// for the thread (YExc_daThread.hpp) as well: whoever asks for a description has no region at hand.
#include <3pramo/foundation/YContextoTry.h>

#include <3pramo/foundation/Formato.hpp>
#include <3pramo/foundation/YExc_daThread.hpp>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <utility>

using namespace pramo;

// ---- Raising ----

namespace {

constexpr std::size_t MAXIMO_DO_DETALHE = std::size_t{64} * 1024;
constexpr std::size_t FIM_DO_DETALHE = 64; // what is kept of the end of a longer one, its ". " above all
constexpr std::size_t MAXIMO_DE_ATRIBUTOS = 16;
constexpr std::size_t MAXIMO_DO_NOME = 64;
constexpr std::size_t MAXIMO_DO_VALOR = std::size_t{4} * 1024;

bool ehNomeDeAtributo(std::string_view nome) {
    return !nome.empty() && nome.size() <= MAXIMO_DO_NOME && !ehAlgarismo(nome.front()) &&
           std::ranges::all_of(nome, ehAlfanumerico);
}

} // namespace

void YContextoTry_printf(const char *formato, ...) {
    Lembrancas *l = lembrancasOuNovas();
    if (l == nullptr) {
        return;
    }
    l->detalhe.clear(); // an old one must not survive a failure
    va_list argumentos;
    va_start(argumentos, formato);
    std::string detalhe = semFaltaDeMemoria("YExc", [&] { return formataTexto(formato, argumentos); });
    va_end(argumentos);
    if (detalhe.size() > MAXIMO_DO_DETALHE) {
        detalhe.erase(MAXIMO_DO_DETALHE - FIM_DO_DETALHE, detalhe.size() - MAXIMO_DO_DETALHE);
    }
    l->detalhe = std::move(detalhe);
}

int YContextoTry_atributo(const char *nome, const char *valor) {
    Lembrancas *l = lembrancasOuNovas();
    if (l == nullptr || nome == nullptr || valor == nullptr || !ehNomeDeAtributo(nome)) {
        return 0;
    }
    return semFaltaDeMemoria("YExc", [&] {
        auto &atributos = l->atributos;
        std::string cortado(valor, strnlen(valor, MAXIMO_DO_VALOR));
        const auto achado = std::ranges::find(atributos, std::string_view(nome), &YExcecao::Atributo::first);
        if (achado != atributos.end()) {
            achado->second = std::move(cortado);
            return 1;
        }
        if (atributos.size() == MAXIMO_DE_ATRIBUTOS) {
            return 0;
        }
        atributos.emplace_back(nome, std::move(cortado));
        return 1;
    });
}

void YContextoTry_throw(YFuncaoRtti classe, const char *mensagem, const char *arquivo, int linha) {
    std::string detalhe;
    std::vector<YExcecao::Atributo> atributos;
    if (Lembrancas *l = lembrancas()) {
        // Used up by this raise in any case: they must not decorate a later, unrelated one.
        detalhe.swap(l->detalhe);
        atributos.swap(l->atributos);
    }
    throw YExcecao(classe, detalhe.c_str(), mensagem, arquivo, linha, std::move(atributos));
}

// ---- Regions ----

namespace {

// `estado` of a region.
constexpr std::int32_t ABERTA = 1;
constexpr std::int32_t FECHADA = 2;

// `pendente` is the exception itself, as it was raised: keeping it takes no memory. An empty one is zero.
static_assert(sizeof(std::exception_ptr) == sizeof(YContextoTry::pendente));

std::exception_ptr &pendente(YContextoTry *contexto) {
    // Between YContextoTry_inicia and _finaliza an exception_ptr lives in the field.
    return *std::launder(reinterpret_cast<std::exception_ptr *>(&contexto->pendente));
}

/// The region handles nothing any more; nor do those begun within it, which were abandoned.
void deixaDeTratar(const YContextoTry *contexto) {
    Lembrancas *l = lembrancas();
    if (l == nullptr) {
        return;
    }
    const auto inicio = l->regioes.begin();
    const auto fim = inicio + static_cast<std::ptrdiff_t>(l->abertas);
    const auto achada =
        std::find_if(inicio, fim, [contexto](const RegiaoQueTrata &r) { return r.regiao == contexto; });
    l->abertas = static_cast<std::size_t>(achada - inicio);
    std::fill(achada, fim, RegiaoQueTrata());
}

void passaATratar(const YContextoTry *contexto, const std::exception_ptr &excecao) {
    Lembrancas *l = lembrancasOuNovas();
    if (l == nullptr) {
        return;
    }
    l->ultimaTratada = excecao;
    // The outermost one makes room. When its turn comes the last handled exception stands in for it.
    if (l->abertas == l->regioes.size()) {
        std::move(l->regioes.begin() + 1, l->regioes.end(), l->regioes.begin());
        l->abertas--;
    }
    // The C++ exception in flight goes along: a catch block that begins later lies within the region.
    l->regioes[l->abertas++] = {contexto, excecao, std::current_exception()};
}

} // namespace

void YContextoTry_inicia(YContextoTry *contexto) {
    // One that was abandoned here (by longjmp, say) may have had the same address: it ends now.
    deixaDeTratar(contexto);
    contexto->estado = ABERTA;
    contexto->tratada = 0;
    // The caller set only `estado`: what the field holds is not to be destroyed first.
    new (&contexto->pendente) std::exception_ptr();
}

int YContextoTry_executa(YContextoTry *contexto, void (*corpo)(void *), void *argumento) {
    // Another body may run after one that returned; after one that raised there is no place for its
    // exception.
    if (contexto->estado != ABERTA || pendente(contexto) != nullptr) {
        lanca(YExc_rtti, "Região protegida não está aberta."_l1, "YContextoTry");
    }
    try {
        corpo(argumento);
        return 1;
    } catch (...) {
        // The thread's own end is no exception of the body: a region that kept it would end the process.
        if (terminaAThread()) {
            throw;
        }
        pendente(contexto) = std::current_exception();
        return 0;
    }
}

int YContextoTry_catch(YContextoTry *contexto, YFuncaoRtti classe) {
    const std::exception_ptr &excecao = pendente(contexto);
    if (excecao == nullptr || !traduz(excecao).ehDaClasse(classe)) {
        return 0;
    }
    // A second catch that also fits changes nothing: it is the same exception.
    if (contexto->tratada == 0) {
        contexto->tratada = 1;
        passaATratar(contexto, excecao);
    }
    return 1;
}

void YContextoTry_voltaContexto(YContextoTry *contexto) {
    contexto->estado = FECHADA;
}

void YContextoTry_finaliza(YContextoTry *contexto) {
    // Everything is put back before the raise, which may be caught in a frame that begins this region anew.
    const std::exception_ptr excecao = std::exchange(pendente(contexto), nullptr);
    const bool tratada = std::exchange(contexto->tratada, 0) != 0;
    contexto->estado = 0;
    deixaDeTratar(contexto);
    if (excecao != nullptr && !tratada) {
        std::rethrow_exception(excecao);
    }
}

const char *YContextoTry_getAtributo(const YContextoTry *contexto, const char *nome) {
    const std::exception_ptr &excecao = pendente(const_cast<YContextoTry *>(contexto));
    // The copy shares the texts of the exception, which the region keeps.
    return excecao != nullptr ? traduz(excecao).atributo(nome) : nullptr;
}

const char *YContextoTry_mensagem(const YContextoTry *contexto) {
    const std::exception_ptr &excecao = pendente(const_cast<YContextoTry *>(contexto));
    return excecao != nullptr ? mensagemDe(excecao) : nullptr;
}
