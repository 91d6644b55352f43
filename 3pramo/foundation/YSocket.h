/* A TCP endpoint with a receive buffer of its own.
 *
 * Made with YalocaObjeto(&socket, YSocket_rtti), freed with YliberaObjeto, which closes the
 * connection.
 *
 * Each operation that waits comes in two forms. The first takes a deadline in absolute whole
 * seconds as time() gives them. It waits until that second begins, so that time() has reached it
 * when the wait was in vain, and does not tell a deadline from a closed connection: a peer may
 * close in the second of the deadline. The second form, whose name ends in Ms, takes milliseconds
 * from the call (0: only what is there already), measured on a clock that nobody sets, and says how
 * the wait ended.
 *
 * Interrupted system calls are taken up again, with what remains of the time. No write ever raises
 * SIGPIPE. Its descriptor is none of the three standard ones, also in a process that was started
 * without them: what that prints and logs never goes to a peer.
 * Raises: YExcIOError "Falha no envio pelo socket." from a write to a peer that has gone, or that
 * takes nothing for 30 seconds.
 * Threads: one at a time reads and one writes; any may cancel (YSocket_cancela). */
#ifndef Y3PRAMO_FOUNDATION_YSOCKET_H
#define Y3PRAMO_FOUNDATION_YSOCKET_H

#include <3pramo/foundation/YStream.h>

Y_INICIO_C

typedef struct YSocket YSocket;

/* How a wait ended. */
typedef enum YFimDaEspera {
    Y_ESPERA_PRONTA = 1,     /* what was waited for is there, whole */
    Y_ESPERA_PRAZO = 0,      /* the time passed first */
    Y_ESPERA_FECHADA = -1,   /* the peer closed, the connection failed, or there is none */
    Y_ESPERA_CANCELADA = -2, /* YSocket_cancela */
} YFimDaEspera;

Y_EXPORTA extern const YRtti YSocket_definicaoRtti;
Y_EXPORTA const YRtti *YSocket_rtti(void);

/* ---- Listening ---- */

/* Makes the socket listen on the port (0: a free one that the system chooses), on all IPv4 and IPv6
 * addresses; nothing when it already does.
 * Raises: YExc "Porta não pôde ser usada." when the port cannot be used, with the reason in front:
 * "porta: 80. Permissão negada. " */
Y_EXPORTA void YSocket_escuta(YSocket *ouvinte, uint32_t porta);

/* The same on one address of this machine, numeric ("127.0.0.1", "::1"; "::" is all of IPv6 alone);
 * null is all addresses. Later calls of YSocket_aceitaConexao go on with it.
 * Raises: as YSocket_escuta, also for an address that is not numeric or not this machine's. */
Y_EXPORTA void YSocket_escutaEm(YSocket *ouvinte, const char *endereco, uint32_t porta);

/* Waits up to 100 ms for a connection. The first call makes the socket listen as YSocket_escuta
 * does; later ones go on with that port whatever they are given.
 * Gives: a new socket, or null.
 * Raises: as YSocket_escuta; YExc "Falha aceitando conexão." when the system has no means for
 * another connection or the listener has failed.
 * Owns: the new socket is the caller's. */
Y_EXPORTA YSocket *YSocket_aceitaConexao(YSocket *ouvinte, uint32_t porta);

/* The same with the time given; stores the new socket or null at `nova`.
 * Gives: never Y_ESPERA_FECHADA. */
Y_EXPORTA YFimDaEspera YSocket_aceitaConexaoMs(YSocket *ouvinte, uint32_t porta, YSocket **nova,
                                               uint32_t milissegundos);

/* The local port, of a listener or a connection; 0 when there is none. */
Y_EXPORTA uint32_t YSocket_getPorta(const YSocket *socket);

/* ---- Connecting ---- */

/* Connects to a numeric address or host name; waits until the deadline, also for the name.
 * A name whose search lasts longer goes on being searched for on a thread of its own; with 64 such
 * searches under way the next name fails at once. Several addresses of a name are tried one after the
 * other, each with its equal share of the time that is left.
 * Raises: YExcIOError "Falha na conexão." with the address as detail. */
Y_EXPORTA void YSocket_conecta(YSocket *socket, const char *endereco, uint32_t porta, int64_t prazo);

/* The same.
 * Gives: Y_ESPERA_FECHADA when it is refused or the name is not known. */
Y_EXPORTA YFimDaEspera YSocket_conectaMs(YSocket *socket, const char *endereco, uint32_t porta,
                                         uint32_t milissegundos);

/* ---- Receiving ---- */

/* Empties the stream, then stores one line without its LF and without a CR just before it.
 * Gives: 1 when a whole line arrived, which may be empty; 0 when the deadline passed or the peer
 * closed first: the stream is then empty and the bytes of the unfinished line wait in the socket.
 * Raises: YExcIOError "Linha longa demais." when 1 MiB came without an end of line; the bytes stay
 * in the socket. */
Y_EXPORTA int YSocket_recebeLinha(YSocket *socket, YStream *stream, int64_t prazo);
Y_EXPORTA YFimDaEspera YSocket_recebeLinhaMs(YSocket *socket, YStream *stream, uint32_t milissegundos);

/* Appends the next `quantos` bytes to the stream. Memory is taken as bytes arrive.
 * Gives: 1 when all arrived, and for zero or less; 0 when it stopped early at the deadline or
 * because the peer closed. What arrived is in the stream, in the second form too: ask again for the
 * rest. */
Y_EXPORTA int YSocket_recebeBloco(YSocket *socket, YStream *stream, int64_t quantos, int64_t prazo);
Y_EXPORTA YFimDaEspera YSocket_recebeBlocoMs(YSocket *socket, YStream *stream, int64_t quantos,
                                             uint32_t milissegundos);

/* ---- Sending: returns when the system has taken all bytes ---- */

/* The stream's whole content. */
Y_EXPORTA void YSocket_envia(YSocket *socket, YStream *stream);

/* The same with the time given; raises nothing.
 * Gives: after another end than Y_ESPERA_PRONTA nobody knows how much was sent, and the connection
 * is of no more use. */
Y_EXPORTA YFimDaEspera YSocket_enviaMs(YSocket *socket, YStream *stream, uint32_t milissegundos);

/* Text formatted as YStream_printf does. */
Y_EXPORTA void YSocket_printf(YSocket *socket, const char *formato, ...) Y_FORMATO(2, 3);

Y_EXPORTA void YSocket_putchar(YSocket *socket, int byte);

/* ---- Cancelling ---- */

/* Ends what the socket's threads wait for, now and later; its connection is over.
 * Waits end within 50 ms as Y_ESPERA_CANCELADA; the forms without a result end as with a peer that
 * closed. Lines and bytes that had already arrived may still be received.
 * Threads: any, while the socket lives. */
Y_EXPORTA void YSocket_cancela(YSocket *socket);

Y_FIM_C

#endif
