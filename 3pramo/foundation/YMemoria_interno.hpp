// Wiping what may have held a secret (apaga, liberaSemApagar), for every room; the report of what is alive is
// what the sources of YMemoria and YOb share.
#ifndef Y3PRAMO_FOUNDATION_YMEMORIA_INTERNO_HPP
#define Y3PRAMO_FOUNDATION_YMEMORIA_INTERNO_HPP

#include <3pramo/foundation/YMemoria.h>

#include <atomic>
#include <cstring>

namespace pramo {

extern std::atomic<bool> relatorioLigado;

void entraNoRelatorio(void *bloco, const char *classe, std::uint64_t tamanho, const char *arquivo, int linha);
void saiDoRelatorio(const void *bloco);

/// `classe` is null for a plain block.
inline void anotaAlocacao(void *bloco, const char *classe, std::uint64_t tamanho, const char *arquivo,
                          int linha) {
    if (relatorioLigado.load(std::memory_order_relaxed)) [[unlikely]] {
        entraNoRelatorio(bloco, classe, tamanho, arquivo, linha);
    }
}

/// To be called before the block is freed: its address may be given out again right after.
inline void anotaLiberacao(const void *bloco) {
    if (relatorioLigado.load(std::memory_order_relaxed)) [[unlikely]] {
        saiDoRelatorio(bloco);
    }
}

/// Overwrites what may have been a card number, a password or a PIN. The compiler does not leave it out,
/// since for all it knows the empty instruction reads what was written.
inline void apaga(void *bytes, std::size_t quantos) {
    if (quantos != 0) {
        std::memset(bytes, 0, quantos);
        asm volatile("" : : "r"(bytes) : "memory");
    }
}

/// YliberaMemoria for a block in which nothing secret stands, or no longer does.
void liberaSemApagar(void *bloco);

} // namespace pramo

#endif
