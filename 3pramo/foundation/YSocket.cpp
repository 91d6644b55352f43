#include <3pramo/foundation/YSocket_interno.hpp>

#include <3pramo/foundation/Dono.hpp>
#include <3pramo/foundation/Formato.hpp>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YSocket_sistema.hpp>
#include <3pramo/foundation/YStream_interno.hpp>

#include <algorithm>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YSocket";
constexpr std::size_t CAPACIDADE_INICIAL = 8192;
constexpr std::size_t LINHA_MAXIMA = std::size_t{1} << 20;
constexpr std::size_t PEDACO_DIRETO = std::size_t{64} * 1024;

void constroiSocket(void *objeto) {
    static_cast<YSocket *>(objeto)->fd = -1;
}

void destroiSocket(void *objeto) {
    auto *socket = static_cast<YSocket *>(objeto);
    if (socket->fd >= 0) {
        close(socket->fd);
    }
    YliberaMemoria(socket->buffer);
}

std::string_view pendentes(const YSocket &socket) {
    return {socket.buffer + socket.inicio, socket.fim - socket.inicio};
}

void consome(YSocket &socket, std::size_t quantos) {
    socket.inicio += quantos;
    if (socket.inicio == socket.fim) {
        socket.inicio = socket.fim = 0;
    }
}

/// Makes room behind the pending bytes: moves them to the front, or grows.
void abreEspaco(YSocket &socket) {
    if (socket.fim < socket.capacidade) {
        return;
    }
    const std::string_view resto = pendentes(socket);
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

/// Receives some bytes straight to `destino`; 0 when the deadline passed or the connection ended.
std::size_t recebe(YSocket &socket, char *destino, std::size_t espaco, std::int64_t prazo) {
    if (socket.fd < 0 || socket.acabou) {
        return 0;
    }
    const ssize_t recebidos = sistema::recebe(socket.fd, destino, espaco, prazo);
    socket.acabou = recebidos == sistema::FIM;
    return recebidos > 0 ? static_cast<std::size_t>(recebidos) : 0;
}

bool recebeNoBuffer(YSocket &socket, std::int64_t prazo) {
    abreEspaco(socket);
    const std::size_t recebidos =
        recebe(socket, socket.buffer + socket.fim, socket.capacidade - socket.fim, prazo);
    socket.fim += recebidos;
    return recebidos > 0;
}

std::string_view semFimDeLinha(std::string_view linha) {
    linha.remove_suffix(1);
    if (linha.ends_with('\r')) {
        linha.remove_suffix(1);
    }
    return linha;
}

} // namespace

const YRtti YSocket_definicaoRtti = {YOb_rtti, "YSocket", sizeof(YSocket), constroiSocket, destroiSocket};

const YRtti *YSocket_rtti(void) {
    return &YSocket_definicaoRtti;
}

// ---- Listening and connecting ----

void YSocket_escuta(YSocket *ouvinte, uint32_t porta) {
    if (ouvinte->fd >= 0) {
        return;
    }
    ouvinte->fd = sistema::escuta(porta);
    if (ouvinte->fd < 0) {
        YContextoTry_printf("porta: %u. ", porta);
        lanca(YExc_rtti, "Porta não pôde ser usada."_l1, FONTE);
    }
    ouvinte->ouvinte = true;
}

YSocket *YSocket_aceitaConexao(YSocket *ouvinte, uint32_t porta) {
    YSocket_escuta(ouvinte, porta);
    // Made first: a connection is never accepted only to be lost for want of memory.
    Dono<YSocket> novo = cria<YSocket>(YSocket_rtti, FONTE);
    novo->fd = sistema::aceita(ouvinte->fd);
    if (novo->fd == sistema::FALTA_RECURSO) {
        novo->fd = -1;
        lanca(YExc_rtti, "Falha aceitando conexão."_l1, FONTE);
    }
    return novo->fd >= 0 ? novo.release() : nullptr;
}

uint32_t YSocket_getPorta(const YSocket *socket) {
    return socket->fd >= 0 ? sistema::portaLocal(socket->fd) : 0;
}

void YSocket_conecta(YSocket *socket, const char *endereco, uint32_t porta, int64_t prazo) {
    const int fd = socket->fd < 0 ? sistema::conecta(endereco, porta, prazo) : -1;
    if (fd < 0) {
        YContextoTry_printf("%s:%u. ", endereco, porta);
        lanca(YExcIOError_rtti, "Falha na conexão."_l1, FONTE);
    }
    socket->fd = fd;
}

// ---- Receiving ----

Linha pramo::recebeLinha(YSocket &socket, YStream &stream, std::int64_t prazo, std::size_t maximo,
                         std::size_t &consumidos) {
    YStream_clear(&stream);
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
        if (!recebeNoBuffer(socket, prazo)) {
            return Linha::INCOMPLETA;
        }
    }
}

int YSocket_recebeLinha(YSocket *socket, YStream *stream, int64_t prazo) {
    std::size_t consumidos = 0;
    const Linha linha = recebeLinha(*socket, *stream, prazo, LINHA_MAXIMA, consumidos);
    if (linha == Linha::LONGA) {
        lanca(YExcIOError_rtti, "Linha longa demais."_l1, FONTE);
    }
    return linha == Linha::COMPLETA ? 1 : 0;
}

int YSocket_recebeBloco(YSocket *socket, YStream *stream, int64_t quantos, int64_t prazo) {
    auto faltam = static_cast<std::size_t>(std::max<int64_t>(quantos, 0));
    const std::string_view prontos = pendentes(*socket).substr(0, faltam);
    acrescenta(*stream, prontos);
    consome(*socket, prontos.size());
    faltam -= prontos.size();
    while (faltam > 0) {
        // What is announced is not taken on trust: room is made for one piece at a time.
        const std::size_t pedaco = std::min(faltam, PEDACO_DIRETO);
        const std::size_t recebidos = recebe(*socket, reserva(*stream, pedaco), pedaco, prazo);
        if (recebidos == 0) {
            return 0;
        }
        avanca(*stream, recebidos);
        faltam -= recebidos;
    }
    return 1;
}

// ---- Sending ----

void pramo::enviaPartes(YSocket &socket, std::span<const std::string_view> partes) {
    if (socket.fd < 0 || !sistema::envia(socket.fd, partes)) {
        socket.acabou = true;
        lanca(YExcIOError_rtti, "Falha no envio pelo socket."_l1, FONTE);
    }
}

void YSocket_envia(YSocket *socket, YStream *stream) {
    const std::string_view parte = conteudo(*stream);
    enviaPartes(*socket, {&parte, 1});
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

void pramo::despede(YSocket &socket, int milissegundos) {
    if (socket.fd < 0 || socket.acabou) {
        return;
    }
    shutdown(socket.fd, SHUT_WR);
    sistema::jogaFora(socket.fd, milissegundos);
    socket.acabou = true;
}
