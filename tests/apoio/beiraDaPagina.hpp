// Memory that ends where a page begins that may not be touched: an access beyond it ends the test at once.
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace apoio {

/// The page; it stays until the process ends.
inline std::span<std::uint8_t> beiraDaPagina() {
    const auto tamanho = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void *inicio = mmap(nullptr, 2 * tamanho, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    const std::span<std::uint8_t> paginas(static_cast<std::uint8_t *>(inicio), 2 * tamanho);
    if (inicio == MAP_FAILED || mprotect(&paginas[tamanho], tamanho, PROT_NONE) != 0) {
        throw std::runtime_error("no page of its own");
    }
    return paginas.first(tamanho);
}

} // namespace apoio
