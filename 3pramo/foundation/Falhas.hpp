// The log of what fails again and again.
#ifndef Y3PRAMO_FOUNDATION_FALHAS_HPP
#define Y3PRAMO_FOUNDATION_FALHAS_HPP

#include <3pramo/foundation/Trinco.hpp>

#include <array>
#include <chrono>
#include <cstdint>

namespace pramo {

/// Whoever can make something fail must not fill the log with it: each cause, which is the place of its
/// raise, gets one line, and the others are counted. Of fixed size and without allocations, as memory may be
/// what fails. From any thread.
class Falhas {
public:
    enum class Quanto {
        UMA_POR_SEGUNDO,
        UMA_VEZ, // and again only after a minute without it
    };

    /// `classe` names whose failures they are in each line.
    explicit Falhas(const char *classe) : classe_(classe) {}

    /// In a catch block: the exception in flight; `operacao` says what it ended. Only the forced unwinding of
    /// a cancelled thread passes on.
    void registra(const char *operacao, Quanto quanto);

    /// Writes the counts that have waited for a second.
    void registraContagens();

    using Texto = std::array<char, 300>; // of one line of the log

private:
    using Momento = std::chrono::steady_clock::time_point;

    struct Causa {
        std::uint64_t chave = 0; // 0: a free place
        Quanto quanto = Quanto::UMA_VEZ;
        Momento vista;
        Momento registrada;
        std::uint32_t caladas = 0;
        Texto texto{};
    };

    std::uint64_t descreve(const char *operacao, Texto &texto) const;
    Causa &lugarPara(std::uint64_t chave) Y_EXIGE(trinco_);
    static bool contagemVencida(const Causa &causa, Momento agora);

    const char *const classe_;
    Trinco trinco_;
    std::array<Causa, 16> causas_ Y_GUARDADO_POR(trinco_);
};

} // namespace pramo

#endif
