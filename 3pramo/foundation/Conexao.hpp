// One connection of a server, between its thread and the accept loop.
#ifndef Y3PRAMO_FOUNDATION_CONEXAO_HPP
#define Y3PRAMO_FOUNDATION_CONEXAO_HPP

#include <3pramo/foundation/YSocket.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace pramo {

/// A connection that waits for a request may be told to make room for another; the same atomic step decides
/// that and the beginning of a request. One whose thread never calls it idle is always busy.
class Conexao {
public:
    [[nodiscard]] YSocket &socket() const { return *socket_; }

    /// Its thread: nothing of another request has come. Keeps the first moment.
    void ficaOciosa();
    /// Its thread: something came. False when it must leave instead.
    bool ficaOcupada();

    /// 0 when it is not idle.
    [[nodiscard]] std::int64_t ociosaDesde() const;
    /// Tells it to leave; false when it is idle no longer.
    bool despeja();
    [[nodiscard]] bool despejada() const { return desde_ == DESPEJADA; }

private:
    friend class Aceite;

    static constexpr std::int64_t OCUPADA = 0;
    static constexpr std::int64_t DESPEJADA = -1;

    YSocket *socket_ = nullptr;
    std::size_t lugar_ = 0;                    // among the open ones
    std::atomic<std::int64_t> desde_{OCUPADA}; // nanoseconds of the monotonic clock
};

} // namespace pramo

#endif
