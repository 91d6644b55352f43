// What a server needs of a socket beyond its public operations, for every room. The layout is what the
// sources of YSocket share; elsewhere it is only read, but for `despertador`, which is set before the socket
// is used.
#ifndef Y3PRAMO_FOUNDATION_YSOCKET_INTERNO_HPP
#define Y3PRAMO_FOUNDATION_YSOCKET_INTERNO_HPP

#include <3pramo/foundation/Prazo.hpp>
#include <3pramo/foundation/YSocket.h>

#include <atomic>
#include <cstddef>
#include <span>
#include <string_view>

namespace pramo {

/// Ends the receives of all sockets that name it, those under way and those to come: for the end of a server.
/// A socket's own shutdown would not do: what the peer still sends would then reset the connection, and take
/// away answers on their way.
class Despertador {
public:
    /// Raises YExc when the system has no descriptor left.
    Despertador();
    ~Despertador();
    Despertador(const Despertador &) = delete;
    Despertador &operator=(const Despertador &) = delete;

    void toca() noexcept;
    [[nodiscard]] bool tocou() const { return tocou_.load(std::memory_order_relaxed); }
    [[nodiscard]] int fd() const { return fd_; }

private:
    int fd_;
    std::atomic<bool> tocou_{false};
};

} // namespace pramo

/// One thread reads, one writes, and any may cancel: what they share is atomic.
struct YSocket : YOb {
    std::atomic<int> fd;      // -1 until there is one; closed only when the object is freed
    std::atomic<bool> acabou; // the peer closed, or the connection failed
    std::atomic<bool> cancelado;
    const pramo::Despertador *despertador; // not owned; null for none
    char *buffer; // what was received and not yet consumed: [inicio, fim) of `capacidade` bytes
    std::size_t inicio;
    std::size_t fim;
    std::size_t capacidade;
};

namespace pramo {

enum class Linha { COMPLETA, PRAZO, FECHADA, LONGA };

/// As YSocket_recebeLinha, but a line that is not complete within `maximo` bytes, its end included, is LONGA.
/// `consumidos` receives how many bytes the complete line took.
Linha recebeLinha(YSocket &socket, YStream &stream, const Prazo &prazo, std::size_t maximo,
                  std::size_t &consumidos);

/// As YSocket_recebeBlocoMs.
YFimDaEspera recebeBloco(YSocket &socket, YStream &stream, std::uint64_t quantos, const Prazo &prazo);

/// True when received bytes wait in the socket, after waiting for some if need be.
bool temAlgo(const YSocket &socket);
bool esperaAlgo(YSocket &socket, const Prazo &prazo);

/// As YSocket_aceitaConexao on a listener, into an object that is there already: true when a connection came.
bool aceitaEm(YSocket &ouvinte, YSocket &nova);

/// True when a connection comes within 50 ms.
bool chegaConexao(const YSocket &ouvinte);

/// How long a window of the rhythm is that a write demands of its reader; milliseconds. Only tests change it.
inline std::atomic<int> janelaDoEnvio{30'000};

/// Sends the pieces in order, in one system call where the kernel takes them all. Raises as YSocket_envia.
/// The peer must take `porJanela` bytes in every window.
void enviaPartes(YSocket &socket, std::span<const std::string_view> partes, std::int64_t porJanela = 1);

/// Makes waiting and future receives give the end of the connection. From any thread while the socket lives.
/// Only for a peer with nothing on its way: what it sends from now on resets the connection.
void encerraLeitura(YSocket &socket);

/// The same for both directions: a send that waits fails.
void encerraTudo(YSocket &socket);

/// The one way to end a connection, so that what was sent last reaches a peer that is still sending: closes
/// our direction and reads away what comes, until the peer closes, or has acknowledged everything and sent
/// nothing for `silencio` milliseconds, or `limite` milliseconds have passed. Freeing the socket closes it.
void despede(YSocket &socket, int limite, int silencio);

} // namespace pramo

#endif
