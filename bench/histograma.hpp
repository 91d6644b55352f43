// Latencies in a fixed amount of memory: 64 cells for every power of two of nanoseconds, so a percentile is
// read to within 1.6 %.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

namespace bench {

class Histograma {
public:
    void poe(std::uint64_t nanossegundos) {
        celulas_[indice(nanossegundos)]++;
        total_++;
    }

    std::uint64_t total() const { return total_; }

    // The latency, in microseconds, that a share (0 to 1) of the calls did not exceed; 0 without calls.
    double percentil(double parte) const {
        const auto alvo = static_cast<std::uint64_t>(parte * static_cast<double>(total_));
        std::uint64_t ate = 0;
        for (std::size_t i = 0; i < celulas_.size(); i++) {
            ate += celulas_[i];
            if (celulas_[i] != 0 && (ate > alvo || ate == total_)) {
                return meio(i) / 1000.0;
            }
        }
        return 0;
    }

private:
    static constexpr unsigned BITS = 6;
    static constexpr std::uint64_t POR_POTENCIA = 1U << BITS;
    static constexpr unsigned POTENCIAS = 40;

    // Values below 128 have a cell each; above, the leading bit chooses the row and the next six the cell in
    // it.
    static std::size_t indice(std::uint64_t valor) {
        valor = std::min(valor, (std::uint64_t{1} << POTENCIAS) - 1);
        const auto largura = static_cast<unsigned>(std::bit_width(valor));
        const auto linha = largura > BITS + 1 ? largura - BITS - 1 : 0;
        return linha * POR_POTENCIA + (valor >> linha);
    }

    static double meio(std::size_t i) {
        const auto linha = i < 2 * POR_POTENCIA ? 0 : i / POR_POTENCIA - 1;
        const auto inicio = (i - linha * POR_POTENCIA) << linha;
        return static_cast<double>(inicio) + static_cast<double>((std::uint64_t{1} << linha) - 1) / 2;
    }

    std::array<std::uint64_t, (POTENCIAS - BITS + 1) * POR_POTENCIA> celulas_{};
    std::uint64_t total_ = 0;
};

} // namespace bench
