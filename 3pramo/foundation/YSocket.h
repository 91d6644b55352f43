/* A TCP endpoint with a receive buffer of its own.
 *
 * Made with YalocaObjeto(&socket, YSocket_rtti), freed with YliberaObjeto, which closes the connection. One
 * thread at a time reads and one writes. A deadline is an absolute time in whole seconds as time() gives it;
 * a wait ends when that second begins. Interrupted system calls are begun again. No write ever raises
 * SIGPIPE: a write to a peer that has gone, or that takes nothing for 30 seconds, raises YExcIOError "Falha
 * no envio pelo socket." */
#ifndef Y3PRAMO_FOUNDATION_YSOCKET_H
#define Y3PRAMO_FOUNDATION_YSOCKET_H

#include <3pramo/foundation/YStream.h>

Y_INICIO_C

typedef struct YSocket YSocket;

Y_EXPORTA extern const YRtti YSocket_definicaoRtti;
Y_EXPORTA const YRtti *YSocket_rtti(void);

/* ---- Listening ---- */

/* The first call makes the socket listen on the port (0: a free one that the system chooses), on all IPv4
 * and IPv6 addresses; later calls go on with that port whatever they are given. Waits up to 100 ms for a
 * connection: a new socket that the caller owns, or null. Raises YExc "Porta não pôde ser usada." when
 * the port cannot be used, and "Falha aceitando conexão." when the system has no means for another
 * connection. */
Y_EXPORTA YSocket *YSocket_aceitaConexao(YSocket *ouvinte, uint32_t porta);

/* Makes the socket listen now, as the first YSocket_aceitaConexao would; nothing when it already does. */
Y_EXPORTA void YSocket_escuta(YSocket *ouvinte, uint32_t porta);

/* The local port, of a listener or a connection; 0 when there is none. */
Y_EXPORTA uint32_t YSocket_getPorta(const YSocket *socket);

/* ---- Connecting ---- */

/* Connects to a numeric address or host name; waits until the deadline. Raises YExcIOError "Falha na
 * conexão." with the address as detail. */
Y_EXPORTA void YSocket_conecta(YSocket *socket, const char *endereco, uint32_t porta, int64_t prazo);

/* ---- Receiving ---- */

/* Empties the stream, then stores one line without its LF and without a CR just before it: 1 when a whole
 * line arrived, which may be empty. 0 when the deadline passed or the peer closed first: the stream is then
 * empty and the bytes of the unfinished line wait in the socket. */
Y_EXPORTA int YSocket_recebeLinha(YSocket *socket, YStream *stream, int64_t prazo);

/* Appends the next `quantos` bytes to the stream; 1 when all arrived, 0 when it stopped early at the
 * deadline or because the peer closed (what arrived is in the stream). Memory is taken as bytes arrive.
 * Zero or less gives 1. */
Y_EXPORTA int YSocket_recebeBloco(YSocket *socket, YStream *stream, int64_t quantos, int64_t prazo);

/* ---- Sending: returns when the system has taken all bytes ---- */

/* The stream's whole content. */
Y_EXPORTA void YSocket_envia(YSocket *socket, YStream *stream);

/* Text formatted as YStream_printf does. */
Y_EXPORTA void YSocket_printf(YSocket *socket, const char *formato, ...) Y_FORMATO(2, 3);

Y_EXPORTA void YSocket_putchar(YSocket *socket, int byte);

Y_FIM_C

#endif
