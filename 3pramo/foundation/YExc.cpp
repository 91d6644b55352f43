#include <3pramo/foundation/YExc_interno.hpp>

#include <3pramo/foundation/Formato.hpp>
#include <3pramo/foundation/YContextoTry_interno.hpp>
#include <3pramo/foundation/YObLOG.h>
#include <3pramo/foundation/YStream_interno.hpp>

#include <cxxabi.h>

#include <algorithm>
#include <utility>

using namespace pramo;

const YRtti YExc_definicaoRtti = {YOb_rtti, "YExc", 0, nullptr, nullptr};
const YRtti YExcIOError_definicaoRtti = {YExc_rtti, "YExcIOError", 0, nullptr, nullptr};
const YRtti YExcNaoImplementado_definicaoRtti = {YExc_rtti, "YExcNaoImplementado", 0, nullptr, nullptr};

const YRtti *YExc_rtti(void) {
    return &YExc_definicaoRtti;
}

const YRtti *YExcIOError_rtti(void) {
    return &YExcIOError_definicaoRtti;
}

const YRtti *YExcNaoImplementado_rtti(void) {
    return &YExcNaoImplementado_definicaoRtti;
}

// ---- The exception itself ----

YExcecao::YExcecao(YFuncaoRtti qual, const char *detalhe, const char *mensagem, const char *arquivo,
                   int linha)
    : classe_(qual), linha_(linha) {
    // Made beforehand, for when there is no memory even for the texts.
    // By itself: clang 14 crashes on the literal within the next line.
    static const char *const FALTA = "Memória insuficiente."_l1;
    static const auto semMemoria = std::make_shared<const Textos>(Textos{FALTA, "YExc"});
    try {
        textos_ = std::make_shared<const Textos>(Textos{std::string(detalhe) + mensagem, arquivo});
    } catch (const std::bad_alloc &) {
        textos_ = semMemoria;
    }
}

YExcecao::~YExcecao() = default;

const char *YExcecao::what() const noexcept {
    return textos_->mensagem.c_str();
}

const char *YExcecao::arquivo() const noexcept {
    return textos_->arquivo.c_str();
}

bool YExcecao::ehDaClasse(YFuncaoRtti qual) const noexcept {
    return YRtti_deriva(classe_(), qual) != 0;
}

std::string YExcecao::descricao() const {
    return std::string(classe_()->name) + ": " + what() + " (" + arquivo() + ":" + std::to_string(linha_) +
           ")";
}

// ---- Raising ----

namespace {

constexpr std::size_t MAXIMO_DO_DETALHE = 1000;
thread_local std::string detalheDaThread;

} // namespace

void YContextoTry_printf(const char *formato, ...) {
    va_list argumentos;
    va_start(argumentos, formato);
    std::string detalhe = semFaltaDeMemoria("YExc", [&] { return formataTexto(formato, argumentos); });
    va_end(argumentos);
    detalhe.resize(std::min(detalhe.size(), MAXIMO_DO_DETALHE));
    detalheDaThread = std::move(detalhe);
}

void YContextoTry_throw(YFuncaoRtti classe, const char *mensagem, const char *arquivo, int linha) {
    const std::string detalhe = std::exchange(detalheDaThread, std::string());
    throw YExcecao(classe, detalhe.c_str(), mensagem, arquivo, linha);
}

// ---- Describing ----

namespace {

/// The exception that YExc_descreve_no_log speaks of: the one a protected region of C code handles now, else
/// the one whose catch block is running, else the last that a region handled.
std::exception_ptr excecaoApanhada() {
    if (std::exception_ptr emTratamento = excecaoDaRegiao(true)) {
        return emTratamento;
    }
    if (std::exception_ptr corrente = std::current_exception()) {
        return corrente;
    }
    return excecaoDaRegiao(false);
}

std::string descricaoDa(const std::exception_ptr &excecao) {
    try {
        std::rethrow_exception(excecao);
    } catch (...) {
        return excecaoCorrente().descricao();
    }
}

} // namespace

void YExc_descreve_no_log(void) {
    if (const std::exception_ptr excecao = excecaoApanhada()) {
        YObLOG_masc_print(Y_LOG_ERRO, "%s", descricaoDa(excecao).c_str());
    }
}

void YExc_descreveEmStream(YStream *stream) {
    if (const std::exception_ptr excecao = excecaoApanhada()) {
        acrescenta(*stream, descricaoDa(excecao));
    }
}

YExcecao pramo::excecaoCorrente() {
    try {
        throw;
    } catch (const abi::__forced_unwind &) {
        throw;
    } catch (const YExcecao &e) {
        return e;
    } catch (const std::bad_alloc &) {
        return {YExc_rtti, "", "Memória insuficiente."_l1, "YExc", __LINE__};
    } catch (const std::exception &e) {
        return {YExc_rtti, "", e.what(), "YExc", __LINE__};
    } catch (...) {
        return {YExc_rtti, "", "Exceção desconhecida."_l1, "YExc", __LINE__};
    }
}

void pramo::registraExcecaoCorrente(const char *onde) {
    const YExcecao e = excecaoCorrente();
    YObLOG_masc_print(Y_LOG_ERRO, "%s: %s", onde, e.descricao().c_str());
}

void pramo::esqueceExcecoes() noexcept {}
