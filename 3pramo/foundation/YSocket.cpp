// The socket object, its buffer, and what it receives and sends. What was received and not yet asked for
// waits in the buffer; large blocks go past it. What a peer announces is never taken on trust: memory grows
// with the bytes that have come, and every wait and line has a bound.
// One thread reads and one writes, so the buffer belongs to the reader; what both and a cancelling one look
// at is atomic.
#include <3pramo/foundation/YSocket_interno.hpp>

#include <3pramo/foundation/Formato.hpp>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YSocket_sistema.hpp>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/foundation/cria.hpp>

#include <algorithm>
#include <cstring>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YSocket";
constexpr std::size_t CAPACIDADE_INICIAL = 8192;
constexpr std::size_t CAPACIDADE_GUARDADA = std::size_t{64} * 1024;
constexpr std::size_t LINHA_MAXIMA = std::size_t{1} << 20;
constexpr std::size_t PEDACO_DIRETO = std::size_t{64} * 1024;

void constroiSocket(void *objeto) {
    // Zero is a descriptor, too.
    static_cast<YSocket *>(objeto)->fd = -1;
}

void destroiSocket(void *objeto) {
    auto *socket = static_cast<YSocket *>(objeto);
    if (socket->fd >= 0) {
        close(socket->fd);
    }
    // Wiped: a request may have held anything.
    YliberaMemoria(socket->buffer);
}

std::string_view pendentes(const YSocket &socket) {
    return {socket.buffer + socket.inicio, socket.fim - socket.inicio};
}

void consome(YSocket &socket, std::size_t quantos) {
    socket.inicio += quantos;
    if (socket.inicio < socket.fim) {
        return;
    }
    socket.inicio = socket.fim = 0;
    // One long line does not keep its memory for the rest of the connection.
    if (socket.capacidade > CAPACIDADE_GUARDADA) {
        YliberaMemoria(socket.buffer);
        socket.buffer = nullptr;
        socket.capacidade = 0;
    }
}

/// Makes room behind the pending bytes: moves them to the front, or grows.
void abreEspaco(YSocket &socket) {
    if (socket.fim < socket.capacidade) {
        return;
    }
    const std::string_view resto = pendentes(socket);
    // Moved only after as much was consumed: each byte is copied a bounded number of times, however they
    // come.
    if (socket.inicio > socket.capacidade / 2) {
        std::memmove(socket.buffer, resto.data(), resto.size());
    } else {
        const std::size_t capacidade = std::max(2 * socket.capacidade, CAPACIDADE_INICIAL);
        auto *novo = static_cast<char *>(YalocaMemoria_debug(capacidade, FONTE, __LINE__));
        std::copy(resto.begin(), resto.end(), novo);
        YliberaMemoria(socket.buffer);
        socket.buffer = novo;
        socket.capacidade = capacidade;
    }
    socket.inicio = 0;
    socket.fim = resto.size();
}

/// How a connection stands that gives no more bytes.
YFimDaEspera fimDaConexao(const YSocket &socket) {
    return socket.cancelado ? Y_ESPERA_CANCELADA : Y_ESPERA_FECHADA;
}

/// Receives some bytes straight to `destino`.
YFimDaEspera recebe(YSocket &socket, char *destino, std::size_t espaco, const Prazo &prazo,
                    std::size_t &recebidos) {
    recebidos = 0;
    // What has ended stays ended: no system call could bring another answer.
    const Despertador *despertador = socket.despertador;
    if (socket.fd < 0 || socket.acabou || socket.cancelado ||
        (despertador != nullptr && despertador->tocou())) {
        return fimDaConexao(socket);
    }
    const ssize_t n =
        sistema::recebe(socket.fd, destino, espaco, prazo, despertador != nullptr ? despertador->fd() : -1);
    if (n > 0) {
        recebidos = static_cast<std::size_t>(n);
        return Y_ESPERA_PRONTA;
    }
    // The descriptor stays until the object goes: another thread may be using it, and the system would give
    // its number to somebody else.
    if (n == sistema::FIM) {
        socket.acabou = true;
    }
    // A wait that a cancel or the end of the server cut short is no deadline.
    return n == sistema::PRAZO && !socket.cancelado ? Y_ESPERA_PRAZO : fimDaConexao(socket);
}

YFimDaEspera recebeNoBuffer(YSocket &socket, const Prazo &prazo) {
    abreEspaco(socket);
    std::size_t recebidos = 0;
    const YFimDaEspera fim =
        recebe(socket, socket.buffer + socket.fim, socket.capacidade - socket.fim, prazo, recebidos);
    socket.fim += recebidos;
    return fim;
}

std::string_view semFimDeLinha(std::string_view linha) {
    linha.remove_suffix(1);
    if (linha.ends_with('\r')) {
        linha.remove_suffix(1);
    }
    return linha;
}

YFimDaEspera recebeLinhaAte(YSocket &socket, YStream &stream, const Prazo &prazo) {
    std::size_t consumidos = 0;
    switch (recebeLinha(socket, stream, prazo, LINHA_MAXIMA, consumidos)) {
    case Linha::COMPLETA:
        return Y_ESPERA_PRONTA;
    case Linha::PRAZO:
        return Y_ESPERA_PRAZO;
    case Linha::FECHADA:
        return fimDaConexao(socket);
    case Linha::LONGA:
        break;
    }
    lanca(YExcIOError_rtti, "Linha longa demais."_l1, FONTE);
}

sistema::Envio envia(YSocket &socket, std::span<const std::string_view> partes, const Prazo &prazo,
                     sistema::Ritmo ritmo) {
    const bool aberta = socket.fd >= 0 && !socket.cancelado;
    const auto fim = aberta ? sistema::envia(socket.fd, partes, prazo, ritmo) : sistema::Envio::ACABOU;
    if (fim != sistema::Envio::FEITO) {
        socket.acabou = true; // whatever followed would stand behind a part
    }
    return fim;
}

} // namespace

const YRtti YSocket_definicaoRtti = {YOb_rtti, "YSocket", sizeof(YSocket), constroiSocket, destroiSocket};

const YRtti *YSocket_rtti(void) {
    return &YSocket_definicaoRtti;
}

// ---- Receiving ----

Linha pramo::recebeLinha(YSocket &socket, YStream &stream, const Prazo &prazo, std::size_t maximo,
                         std::size_t &consumidos) {
    YStream_clear(&stream);
    // What was searched is not searched again: a peer that sends byte by byte costs no more than its bytes.
    std::size_t vistos = 0;
    for (;;) {
        const std::string_view chegaram = pendentes(socket).substr(0, maximo);
        const std::size_t fim = chegaram.find('\n', vistos);
        if (fim != std::string_view::npos) {
            consumidos = fim + 1;
            acrescenta(stream, semFimDeLinha(chegaram.substr(0, consumidos)));
            consome(socket, consumidos);
            return Linha::COMPLETA;
        }
        vistos = chegaram.size();
        if (vistos == maximo) {
            return Linha::LONGA;
        }
        const YFimDaEspera fimDaEspera = recebeNoBuffer(socket, prazo);
        if (fimDaEspera != Y_ESPERA_PRONTA) {
            return fimDaEspera == Y_ESPERA_PRAZO ? Linha::PRAZO : Linha::FECHADA;
        }
    }
}

int YSocket_recebeLinha(YSocket *socket, YStream *stream, int64_t prazo) {
    return recebeLinhaAte(*socket, *stream, Prazo::noSegundo(prazo)) == Y_ESPERA_PRONTA ? 1 : 0;
}

YFimDaEspera YSocket_recebeLinhaMs(YSocket *socket, YStream *stream, uint32_t milissegundos) {
    return recebeLinhaAte(*socket, *stream, Prazo::daqui(milissegundos));
}

YFimDaEspera pramo::recebeBloco(YSocket &socket, YStream &stream, std::uint64_t quantos, const Prazo &prazo) {
    // What waits in the buffer first; the rest goes straight into the stream.
    const std::string_view prontos = pendentes(socket).substr(0, quantos);
    acrescenta(stream, prontos);
    consome(socket, prontos.size());
    std::uint64_t faltam = quantos - prontos.size();
    while (faltam > 0) {
        // What is announced is not taken on trust: room is made for one piece at a time.
        const std::size_t pedaco = std::min<std::uint64_t>(faltam, PEDACO_DIRETO);
        std::size_t recebidos = 0;
        const YFimDaEspera fim = recebe(socket, reserva(stream, pedaco), pedaco, prazo, recebidos);
        if (fim != Y_ESPERA_PRONTA) {
            return fim;
        }
        avanca(stream, recebidos);
        faltam -= recebidos;
    }
    return Y_ESPERA_PRONTA;
}

int YSocket_recebeBloco(YSocket *socket, YStream *stream, int64_t quantos, int64_t prazo) {
    const auto n = static_cast<std::uint64_t>(std::max<int64_t>(quantos, 0));
    return recebeBloco(*socket, *stream, n, Prazo::noSegundo(prazo)) == Y_ESPERA_PRONTA ? 1 : 0;
}

YFimDaEspera YSocket_recebeBlocoMs(YSocket *socket, YStream *stream, int64_t quantos,
                                   uint32_t milissegundos) {
    const auto n = static_cast<std::uint64_t>(std::max<int64_t>(quantos, 0));
    return recebeBloco(*socket, *stream, n, Prazo::daqui(milissegundos));
}

bool pramo::temAlgo(const YSocket &socket) {
    return socket.inicio < socket.fim;
}

bool pramo::esperaAlgo(YSocket &socket, const Prazo &prazo) {
    return temAlgo(socket) || recebeNoBuffer(socket, prazo) == Y_ESPERA_PRONTA;
}

// ---- Sending ----

void pramo::enviaPartes(YSocket &socket, std::span<const std::string_view> partes, std::int64_t porJanela) {
    // The rhythm is the bound: a peer that goes on taking may be as slow as that.
    const Prazo sempre = Prazo::daqui(INT64_MAX);
    if (envia(socket, partes, sempre, {porJanela, janelaDoEnvio}) != sistema::Envio::FEITO) {
        lanca(YExcIOError_rtti, "Falha no envio pelo socket."_l1, FONTE);
    }
}

void YSocket_envia(YSocket *socket, YStream *stream) {
    const std::string_view parte = conteudo(*stream);
    enviaPartes(*socket, {&parte, 1});
}

YFimDaEspera YSocket_enviaMs(YSocket *socket, YStream *stream, uint32_t milissegundos) {
    const std::string_view parte = conteudo(*stream);
    const auto prazo = Prazo::daqui(milissegundos);
    // A rhythm of no bytes is always kept: the deadline is the bound.
    switch (envia(*socket, {&parte, 1}, prazo, {0, janelaDoEnvio})) {
    case sistema::Envio::FEITO:
        return Y_ESPERA_PRONTA;
    case sistema::Envio::LENTO:
        return Y_ESPERA_PRAZO;
    case sistema::Envio::ACABOU:
        break;
    }
    return fimDaConexao(*socket);
}

void YSocket_printf(YSocket *socket, const char *formato, ...) {
    va_list argumentos;
    va_start(argumentos, formato);
    const std::string texto = semFaltaDeMemoria(FONTE, [&] { return formataTexto(formato, argumentos); });
    va_end(argumentos);
    const std::string_view parte = texto;
    enviaPartes(*socket, {&parte, 1});
}

void YSocket_putchar(YSocket *socket, int byte) {
    const char c = static_cast<char>(byte);
    const std::string_view parte(&c, 1);
    enviaPartes(*socket, {&parte, 1});
}

// ---- Ending ----

void pramo::encerraLeitura(YSocket &socket) {
    shutdown(socket.fd, SHUT_RD);
}

void pramo::encerraTudo(YSocket &socket) {
    shutdown(socket.fd, SHUT_RDWR);
}

void YSocket_cancela(YSocket *socket) {
    // In this order: a thread that is just connecting looks at the mark after it has stored the descriptor.
    socket->cancelado = true;
    if (socket->fd >= 0) {
        encerraTudo(*socket);
    }
}

void pramo::despede(YSocket &socket, int limite, int silencio) {
    if (socket.fd < 0 || socket.acabou) {
        return;
    }
    // Closed with bytes of the peer still to come, the connection would be reset, and the peer's system
    // throw away what we sent last.
    shutdown(socket.fd, SHUT_WR);
    sistema::jogaFora(socket.fd, limite, silencio);
    socket.acabou = true;
}

Despertador::Despertador() : fd_(sistema::acimaDosPadroes(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))) {
    if (fd_ < 0) {
        lanca(YExc_rtti, "Falta descritor."_l1, FONTE);
    }
}

Despertador::~Despertador() {
    close(fd_);
}

void Despertador::toca() noexcept {
    // The mark ends the waits to come, the descriptor those under way. Nobody reads it empty: it wakes them
    // all.
    tocou_ = true;
    eventfd_write(fd_, 1);
}
