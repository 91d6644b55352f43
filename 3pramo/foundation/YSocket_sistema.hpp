// The system calls behind YSocket, on plain file descriptors. No signal ends a wait or begins it anew.
#ifndef Y3PRAMO_FOUNDATION_YSOCKET_SISTEMA_HPP
#define Y3PRAMO_FOUNDATION_YSOCKET_SISTEMA_HPP

#include <3pramo/foundation/Prazo.hpp>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <sys/types.h>

struct addrinfo;

namespace pramo::sistema {

constexpr std::uint32_t MAIOR_PORTA = 65535;

/// What was just opened, by a number that is none of standard input, output and error: a process may have
/// been started without those, and what it prints, the log above all, must not go to a peer. -1 stays it,
/// with errno.
int acimaDosPadroes(int fd);

enum class Espera { EVENTO, PRAZO, DESPERTADOR };

/// Waits until `evento` of the descriptor, or until the descriptor `despertador` (-1: none) can be read.
Espera espera(int fd, short evento, const Prazo &prazo, int despertador = -1);

/// A listening socket on the numeric address, null for all, or -1 with errno; EINVAL for an address that is
/// not numeric.
int escuta(const char *endereco, std::uint32_t porta);

constexpr int NENHUMA = -1;
constexpr int FALHA = -2;
constexpr int OUVINTE_RUIM = -3;

/// Waits up to 50 ms for a connection: its descriptor or NENHUMA; with errno FALHA, mostly when the system is
/// out of means, and OUVINTE_RUIM when the listener will never accept any more. Both fail again at once.
int aceita(int ouvinte);

/// Begins to connect a new socket: its descriptor, or -1.
int comecaConexao(const addrinfo &endereco);

/// After the socket became writable: true when it is connected, and then ready for use.
bool terminaConexao(int fd);

std::uint32_t portaLocal(int fd);

constexpr ssize_t FIM = 0;
constexpr ssize_t PRAZO = -1;
constexpr ssize_t DESPERTADO = -2;

/// How many bytes came, at least one; PRAZO when the deadline came first, FIM when the connection has ended,
/// DESPERTADO when `despertador` (-1: none) can be read and a wait would have been long.
ssize_t recebe(int fd, char *destino, std::size_t espaco, const Prazo &prazo, int despertador);

/// The least that the peer must take: whenever it has taken `bytes`, a new window begins. Counted as the
/// peer's system acknowledges them: our own takes them in lumps that may be minutes apart on a slow line.
struct Ritmo {
    std::int64_t bytes;
    int janela; // milliseconds
};

enum class Envio { FEITO, LENTO, ACABOU };

/// Sends all the bytes: LENTO when that lasted beyond the deadline or fell behind the rhythm, ACABOU when the
/// connection is no more.
Envio envia(int fd, std::span<const std::string_view> partes, const Prazo &prazo, Ritmo ritmo);

/// Reads and forgets until the peer closes; or until it has acknowledged all that was sent and sends nothing
/// for `silencio` milliseconds; or until `limite` milliseconds have passed or 64 MiB have come.
void jogaFora(int fd, int limite, int silencio);

} // namespace pramo::sistema

#endif
