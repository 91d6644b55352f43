// Until when a wait lasts.
#ifndef Y3PRAMO_FOUNDATION_PRAZO_HPP
#define Y3PRAMO_FOUNDATION_PRAZO_HPP

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdint>
#include <ctime>

namespace pramo {

/// A moment of the monotonic clock, so that neither a signal nor a change of the system's time moves it.
class Prazo {
public:
    using Relogio = std::chrono::steady_clock;

    static Prazo daqui(std::int64_t milissegundos) {
        return {Relogio::now() + std::chrono::milliseconds(std::min(milissegundos, MAIOR)), SEM_SEGUNDO};
    }

    /// The beginning of a second of the clock of time(). It does not come before time() gives that second.
    static Prazo noSegundo(std::int64_t segundo) {
        return {Relogio::now() + std::chrono::milliseconds(milissegundosAte(segundo)), segundo};
    }

    /// Milliseconds that remain, at least 1 until it has come; then 0.
    [[nodiscard]] int resta() const {
        using namespace std::chrono;
        const auto ms = ceil<milliseconds>(momento_ - Relogio::now()).count();
        if (ms > 0) {
            return static_cast<int>(std::min<std::int64_t>(ms, INT_MAX));
        }
        return segundo_ != SEM_SEGUNDO ? static_cast<int>(milissegundosAte(segundo_)) : 0;
    }

    /// How far away the second is, by the clock that time() reads, which runs a tick behind the fine one.
    static std::int64_t milissegundosAte(std::int64_t segundo) {
        timespec agora{};
        clock_gettime(CLOCK_REALTIME_COARSE, &agora);
        if (segundo <= agora.tv_sec) {
            return 0;
        }
        return std::min(segundo - agora.tv_sec, MAIOR / 1000) * 1000 - agora.tv_nsec / 1'000'000;
    }

private:
    static constexpr std::int64_t MAIOR = INT_MAX; // 24 days
    static constexpr std::int64_t SEM_SEGUNDO = INT64_MIN;

    Prazo(Relogio::time_point momento, std::int64_t segundo) : momento_(momento), segundo_(segundo) {}

    Relogio::time_point momento_;
    std::int64_t segundo_;
};

} // namespace pramo

#endif
