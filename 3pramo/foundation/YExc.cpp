// Exceptions: their classes, the C++ exception that carries them all, what a foreign one is taken for, and
// the description in the log. Everything here goes on when memory is short, with less text.
#include <3pramo/foundation/YExc_interno.hpp>

#include <3pramo/foundation/YExc_daThread.hpp>
#include <3pramo/foundation/YObLOG_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/foundation/mascara.hpp>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
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

namespace {

// By themselves: clang 14 crashes on the literals within the lines that use them.
constexpr const char *SEM_MEMORIA = "Memória insuficiente."_l1;
constexpr const char *DESCONHECIDA = "Exceção desconhecida."_l1;

} // namespace

struct YExcecao::Textos {
    std::string mensagem;
    std::size_t detalhe; // so much of it is the detail text
    std::string arquivo;
    std::vector<Atributo> atributos;
};

YExcecao::YExcecao(YFuncaoRtti qual, const char *detalhe, const char *mensagem, const char *arquivo,
                   int linha)
    : YExcecao(qual, detalhe, mensagem, arquivo, linha, {}) {}

// Without texts when there is no memory for them: SEM_MEMORIA then stands for the message.
YExcecao::YExcecao(YFuncaoRtti qual, const char *detalhe, const char *mensagem, const char *arquivo,
                   int linha, std::vector<Atributo> atributos)
    : classe_(qual), linha_(linha) {
    try {
        textos_ = std::make_shared<const Textos>(
            Textos{std::string(detalhe) + mensagem, std::strlen(detalhe), arquivo, std::move(atributos)});
    } catch (const std::bad_alloc &) {
        // Raised from here it would take the place of the very exception that is being made.
        textos_ = nullptr;
    }
}

YExcecao::~YExcecao() = default;

const char *YExcecao::what() const noexcept {
    return textos_ != nullptr ? textos_->mensagem.c_str() : SEM_MEMORIA;
}

const char *YExcecao::mensagem() const noexcept {
    // Not from what(), which a derived class may have made its own.
    return textos_ != nullptr ? textos_->mensagem.c_str() + textos_->detalhe : SEM_MEMORIA;
}

std::string YExcecao::detalhe() const {
    return semFaltaDeMemoria("YExc", [this] {
        return textos_ != nullptr ? textos_->mensagem.substr(0, textos_->detalhe) : std::string();
    });
}

const char *YExcecao::atributo(const char *nome) const noexcept {
    const auto todos = atributos();
    const auto achado = std::ranges::find(todos, std::string_view(nome), &Atributo::first);
    return achado != todos.end() ? achado->second.c_str() : nullptr;
}

std::span<const YExcecao::Atributo> YExcecao::atributos() const noexcept {
    return textos_ != nullptr ? std::span<const Atributo>(textos_->atributos) : std::span<const Atributo>();
}

const char *YExcecao::arquivo() const noexcept {
    return textos_ != nullptr ? textos_->arquivo.c_str() : "YExc";
}

bool YExcecao::ehDaClasse(YFuncaoRtti qual) const noexcept {
    return YRtti_deriva(classe_(), qual) != 0;
}

// The form that registraDescricao writes without memory, too.
std::string YExcecao::descricao() const {
    return semFaltaDeMemoria("YExc", [this] {
        return std::string(classe_()->name) + ": " + what() + " (" + arquivo() + ":" +
               std::to_string(linha_) + ")";
    });
}

void pramo::faltaMemoria(const char *fonte, int linha) {
    YContextoTry_throw(YExc_rtti, SEM_MEMORIA, fonte, linha);
}

// ---- Translating ----

namespace {

/// In a catch (...) block.
const char *mensagemCorrente() {
    try {
        throw;
    } catch (const std::bad_alloc &) {
        return SEM_MEMORIA;
    } catch (const std::exception &e) {
        return e.what();
    } catch (...) {
        return DESCONHECIDA;
    }
}

} // namespace

// A forced unwinding is no exception that could be copied; `throw;` hands it on to the frames above.
YExcecao pramo::excecaoCorrente() {
    if (terminaAThread()) {
        throw;
    }
    try {
        throw;
    } catch (const YExcecao &e) {
        return e;
    } catch (...) {
        // A foreign exception has no source to name; the line is this one.
        return {YExc_rtti, "", mensagemCorrente(), "YExc", __LINE__};
    }
}

// Raising it again is the only way to look at a kept exception. The copy shares its texts.
YExcecao pramo::traduz(const std::exception_ptr &excecao) {
    try {
        std::rethrow_exception(excecao);
    } catch (...) {
        return excecaoCorrente();
    }
}

// The text belongs to the exception object, which the caller's pointer keeps alive beyond the catch block.
const char *pramo::mensagemDe(const std::exception_ptr &excecao) {
    try {
        std::rethrow_exception(excecao);
    } catch (...) {
        return mensagemCorrente();
    }
}

// ---- Describing ----

namespace {

/// The exception that YExc_descreve_no_log speaks of: what is handled innermost, by a C++ catch block or by a
/// protected region of C code, else the last that a region handled.
std::exception_ptr excecaoApanhada() {
    // That of a C++ block is the runtime's to know, those of C regions are in what this thread remembers.
    std::exception_ptr corrente = std::current_exception();
    const Lembrancas *l = lembrancas();
    if (l == nullptr) {
        return corrente;
    }
    // A catch block that was entered after the region took its exception is within the region.
    if (l->abertas > 0 && l->regioes[l->abertas - 1].corrente == corrente) {
        return l->regioes[l->abertas - 1].tratada;
    }
    return corrente != nullptr ? corrente : l->ultimaTratada;
}

/// "ONDE: CLASS: MESSAGE (SOURCE:LINE)", with what may be card data masked: a message may quote what it
/// failed on. Cut only when there is no memory for all of it.
template <typename REGISTRA>
void registraDescricao(const char *onde, const YExcecao &e, REGISTRA registra) {
    // Twice the same format: once to learn the length, and again if memory of that length was to be had.
    const auto escreve = [&](char *texto, std::size_t tamanho) {
        const char *separa = *onde != 0 ? ": " : "";
        return static_cast<std::size_t>(std::snprintf(texto, tamanho, "%s%s%s: %s (%s:%d)", onde, separa,
                                                      e.classe()->name, e.what(), e.arquivo(), e.linha()));
    };
    char curto[1024];
    std::size_t tamanho = escreve(curto, sizeof curto);
    const std::unique_ptr<char[]> longo(tamanho >= sizeof curto ? new (std::nothrow) char[tamanho + 1]
                                                                : nullptr);
    tamanho = longo != nullptr ? escreve(longo.get(), tamanho + 1) : std::min(tamanho, sizeof curto - 1);
    char *texto = longo != nullptr ? longo.get() : curto;
    // The whole line, for each of its texts may quote card data; in place, so without memory.
    mascaraNoLugar(texto, tamanho);
    registra(Y_LOG_ERRO, std::string_view(texto, tamanho));
}

} // namespace

void YExc_descreve_no_log(void) {
    if (const std::exception_ptr excecao = excecaoApanhada()) {
        registraDescricao("", traduz(excecao), registraTexto);
    }
}

void YExc_descreveEmStream(YStream *stream) {
    if (const std::exception_ptr excecao = excecaoApanhada()) {
        acrescenta(*stream, traduz(excecao).descricao());
    }
}

void pramo::registraExcecaoCorrente(const char *onde) {
    registraDescricao(onde, excecaoCorrente(), registraTexto);
}

// Where no unwinding may pass: the record waits for a place where a sink of the application may be called.
void pramo::registraExcecaoAdiada(const char *onde) {
    registraDescricao(onde, excecaoCorrente(), registraAdiado);
}
