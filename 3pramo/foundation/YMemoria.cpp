// Memory blocks and the report of those alive. A block is malloc's own, without a header: how long it is,
// malloc is asked when it is wiped, and the report knows it by its address. So with the report off a block
// costs what malloc costs.
#include <3pramo/foundation/Eterno.hpp>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YMemoria_interno.hpp>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <map>
#include <optional>
#include <unordered_map>

namespace pramo {

std::atomic<bool> relatorioLigado{false};

namespace {

struct Anotacao {
    const char *classe;
    std::uint64_t tamanho;
    const char *arquivo;
    int linha;
};

// Two tables of the same entries, each with its own key. Their memory does not come through the functions
// below: the report never enters itself.
struct Relatorio {
    Trinco trinco;
    std::map<std::uint64_t, Anotacao> vivos Y_GUARDADO_POR(trinco); // by the order they were made in
    std::unordered_map<const void *, std::uint64_t> ordens Y_GUARDADO_POR(trinco);
    std::uint64_t ordem Y_GUARDADO_POR(trinco) = 0; // of the next one

    // What the parent made is alive in the child, too.
    void noFilho() {}
};

Eterno<Relatorio> unico;

Relatorio &relatorio() {
    return *unico;
}

const Bifurcavel<relatorio> bifurcavel;

} // namespace

void entraNoRelatorio(void *bloco, const char *classe, std::uint64_t tamanho, const char *arquivo,
                      int linha) try {
    Relatorio &r = relatorio();
    const Tranca tranca(r.trinco);
    // An order for which the second step finds no memory leads to no entry and harms nothing.
    r.ordens.insert_or_assign(bloco, r.ordem);
    r.vivos.emplace_hint(r.vivos.end(), r.ordem++, Anotacao{classe, tamanho, arquivo, linha});
} catch (const std::bad_alloc &) {
    // The block exists; only its entry is missing.
}

void saiDoRelatorio(const void *bloco) {
    Relatorio &r = relatorio();
    const Tranca tranca(r.trinco);
    if (const auto it = r.ordens.find(bloco); it != r.ordens.end()) {
        r.vivos.erase(it->second);
        r.ordens.erase(it);
    }
}

void liberaSemApagar(void *bloco) {
    anotaLiberacao(bloco);
    std::free(bloco);
}

} // namespace pramo

using namespace pramo;

void *YalocaMemoria(uint64_t tamanho) {
    return YalocaMemoria_debug(tamanho, "?", 0);
}

void *YalocaMemoria_debug(uint64_t tamanho, const char *arquivo, int linha) {
    // malloc(0) may give null, which would pass for a lack of memory.
    void *bloco = std::malloc(tamanho != 0 ? tamanho : 1);
    if (bloco == nullptr) {
        faltaMemoria(arquivo, linha);
    }
    anotaAlocacao(bloco, nullptr, tamanho, arquivo, linha);
    return bloco;
}

// Not realloc: what it leaves behind when a block moves would not be wiped.
void *YrealocaMemoria_debug(void *bloco, uint64_t tamanho, const char *arquivo, int linha) {
    void *novo = YalocaMemoria_debug(tamanho, arquivo, linha);
    if (bloco != nullptr) {
        // What is copied beyond the size that was once asked for means nothing and harms nothing.
        std::memcpy(novo, bloco, std::min<std::size_t>(malloc_usable_size(bloco), tamanho));
        YliberaMemoria(bloco);
    }
    return novo;
}

void YliberaMemoria(void *bloco) {
    if (bloco != nullptr) {
        // All that malloc gave: nobody kept how much of it was asked for.
        apaga(bloco, malloc_usable_size(bloco));
        liberaSemApagar(bloco);
    }
}

void YliberaMemoria_debug(void *bloco, const char * /*arquivo*/, int /*linha*/) {
    YliberaMemoria(bloco);
}

char *YduplicaString(const char *texto) {
    return texto != nullptr ? YduplicaStringTam(texto, std::strlen(texto)) : nullptr;
}

char *YduplicaStringTam(const char *texto, uint64_t tamanho) {
    if (texto == nullptr) {
        return nullptr;
    }
    auto *copia = static_cast<char *>(YalocaMemoria(tamanho + 1));
    std::memcpy(copia, texto, tamanho);
    copia[tamanho] = 0;
    return copia;
}

void YMemoria_habilitaRelatorio(int ligado) {
    Relatorio &r = relatorio();
    const Tranca tranca(r.trinco);
    // On the way on, too: a thread that had read the old flag may have entered a block after the way off.
    r.vivos.clear();
    r.ordens.clear();
    relatorioLigado.store(ligado != 0, std::memory_order_relaxed);
}

uint64_t YMemoria_vivos(void) {
    Relatorio &r = relatorio();
    const Tranca tranca(r.trinco);
    return r.vivos.size();
}

namespace {

/// The entry of `ordem`, or the next one before `fim`, whose order is then put there.
std::optional<Anotacao> proxima(std::uint64_t &ordem, std::uint64_t fim) {
    Relatorio &r = relatorio();
    const Tranca tranca(r.trinco);
    const auto it = r.vivos.lower_bound(ordem);
    if (it == r.vivos.end() || it->first >= fim) {
        return std::nullopt;
    }
    ordem = it->first;
    return it->second;
}

std::uint64_t proximaOrdem() {
    Relatorio &r = relatorio();
    const Tranca tranca(r.trinco);
    return r.ordem;
}

} // namespace

void YMemoria_relatorio(YFuncaoRelatorio funcao, void *contexto) {
    const std::uint64_t fim = proximaOrdem(); // others may go on making blocks
    std::uint64_t ordem = 0;
    // Entry by entry, so that the function runs without the lock, which everybody needs who makes a block.
    while (const auto a = proxima(ordem, fim)) {
        funcao(contexto, a->classe, a->tamanho, a->arquivo, a->linha);
        ordem++;
    }
}
