// Memory that ends where a page begins that may not be touched: an access beyond it ends the test at once.
#ifndef TESTES_APOIO_BEIRADAPAGINA_HPP
#define TESTES_APOIO_BEIRADAPAGINA_HPP

#include <cstdint>
#include <span>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace apoio {

class BeiraDaPagina {
public:
    BeiraDaPagina() {
        void *inicio = mmap(nullptr, 2 * TAMANHO, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (inicio == MAP_FAILED) {
            throw std::runtime_error("mmap");
        }
        inicio_ = static_cast<std::uint8_t *>(inicio);
        if (mprotect(inicio_ + TAMANHO, TAMANHO, PROT_NONE) != 0) {
            throw std::runtime_error("mprotect");
        }
    }
    ~BeiraDaPagina() { munmap(inicio_, 2 * TAMANHO); }
    BeiraDaPagina(const BeiraDaPagina &) = delete;
    BeiraDaPagina &operator=(const BeiraDaPagina &) = delete;

    [[nodiscard]] std::span<std::uint8_t> pagina() const { return {inicio_, TAMANHO}; }

    /// The last bytes of the page.
    [[nodiscard]] std::uint8_t *ultimos(std::size_t quantos) const { return inicio_ + TAMANHO - quantos; }

private:
    const std::size_t TAMANHO = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    std::uint8_t *inicio_;
};

} // namespace apoio

#endif
