// The system calls behind YSocket, on plain file descriptors.
#ifndef Y3PRAMO_FOUNDATION_YSOCKET_SISTEMA_HPP
#define Y3PRAMO_FOUNDATION_YSOCKET_SISTEMA_HPP

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <sys/types.h>

namespace pramo::sistema {

/// A listening socket on all addresses, or -1.
int escuta(std::uint32_t porta);

constexpr int NENHUMA = -1;
constexpr int FALTA_RECURSO = -2;

/// Waits up to 100 ms for a connection: its descriptor, NENHUMA, or FALTA_RECURSO when the system is out of
/// means.
int aceita(int ouvinte);

/// A connected socket, or -1.
int conecta(const char *endereco, std::uint32_t porta, std::int64_t prazo);

std::uint32_t portaLocal(int fd);

constexpr ssize_t PRAZO = -1;
constexpr ssize_t FIM = 0;

/// How many bytes came, at least one; PRAZO when the deadline came first, FIM when the connection has ended.
ssize_t recebe(int fd, char *destino, std::size_t espaco, std::int64_t prazo);

/// True when the system took every byte; false when the peer is gone or took nothing for 30 seconds.
bool envia(int fd, std::span<const std::string_view> partes);

/// Reads and forgets until the peer closes, `milissegundos` have passed or 64 MiB have come.
void jogaFora(int fd, int milissegundos);

} // namespace pramo::sistema

#endif
