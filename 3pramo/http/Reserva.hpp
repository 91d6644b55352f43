// What the bodies of all messages of a server may take together.
#ifndef Y3PRAMO_HTTP_RESERVA_HPP
#define Y3PRAMO_HTTP_RESERVA_HPP

#include <atomic>
#include <cstdint>

namespace pramo {

constexpr std::uint64_t LIMITE_DOS_CORPOS = std::uint64_t{512} << 20;

struct Corpos {
    std::atomic<std::uint64_t> limite{LIMITE_DOS_CORPOS};
    std::atomic<std::uint64_t> tomados{0};
};

/// The part of one message. Small bodies are not counted: their number is bounded by that of the connections,
/// and the road of a call stays without what all threads write to.
class Reserva {
public:
    static constexpr std::uint64_t PEQUENO = std::uint64_t{64} << 10;

    Reserva() = default;
    ~Reserva() { ajusta(0); }
    Reserva(const Reserva &) = delete;
    Reserva &operator=(const Reserva &) = delete;

    /// From now on it counts in `corpos`, which outlives it; before, everything fits.
    void contaEm(Corpos &corpos) { corpos_ = &corpos; }

    /// Makes it that large; false, and as before, when that does not fit. Less always fits.
    bool ajusta(std::uint64_t bytes) noexcept {
        const std::uint64_t nova = bytes > PEQUENO ? bytes : 0;
        if (corpos_ == nullptr || nova == minha_) {
            return true;
        }
        if (nova < minha_) {
            corpos_->tomados -= minha_ - nova;
        } else if (!toma(nova - minha_)) {
            return false;
        }
        minha_ = nova;
        return true;
    }

private:
    bool toma(std::uint64_t quanto) noexcept {
        const std::uint64_t limite = corpos_->limite;
        std::uint64_t tomados = corpos_->tomados;
        do {
            if (tomados > limite || quanto > limite - tomados) {
                return false;
            }
        } while (!corpos_->tomados.compare_exchange_weak(tomados, tomados + quanto));
        return true;
    }

    Corpos *corpos_ = nullptr;
    std::uint64_t minha_ = 0;
};

} // namespace pramo

#endif
