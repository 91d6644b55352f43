// What the HTTP layer needs of a socket beyond its public operations.
#ifndef Y3PRAMO_FOUNDATION_YSOCKET_INTERNO_HPP
#define Y3PRAMO_FOUNDATION_YSOCKET_INTERNO_HPP

#include <3pramo/foundation/YSocket.h>

#include <cstddef>
#include <span>
#include <string_view>

struct YSocket : YOb {
    int fd; // -1 when there is none
    bool ouvinte;
    bool acabou;  // the peer closed, or the connection failed
    char *buffer; // what was received and not yet consumed: [inicio, fim) of `capacidade` bytes
    std::size_t inicio;
    std::size_t fim;
    std::size_t capacidade;
};

namespace pramo {

enum class Linha { COMPLETA, INCOMPLETA, LONGA };

/// As YSocket_recebeLinha, but a line that is not complete within `maximo` bytes, its end included, is LONGA.
/// `consumidos` receives how many bytes the complete line took.
Linha recebeLinha(YSocket &socket, YStream &stream, std::int64_t prazo, std::size_t maximo,
                  std::size_t &consumidos);

/// Sends the pieces in order, in one system call where the kernel takes them all. Raises as YSocket_envia.
void enviaPartes(YSocket &socket, std::span<const std::string_view> partes);

/// Makes waiting and future receives give the end of the connection. From any thread while the socket lives.
void encerraLeitura(YSocket &socket);

/// The same for both directions: a send that waits fails.
void encerraTudo(YSocket &socket);

/// Ends the connection so that what was sent last reaches a peer that is still sending: closes our direction
/// and reads away what comes, until the peer closes or `milissegundos` have passed. Freeing the socket closes
/// it.
void despede(YSocket &socket, int milissegundos);

} // namespace pramo

#endif
