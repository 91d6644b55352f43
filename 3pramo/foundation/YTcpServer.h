/* The TCP server: listens on a port, gives each connection a thread, and calls one handler for each
 * connection, which speaks on it whatever it likes.
 *
 *     YTcpServer *servidor;
 *     YalocaObjeto(&servidor, YTcpServer_rtti);
 *     YTcpServer_setPorta(servidor, 7000);
 *     YTcpServer_setTratador(servidor, contexto, trata);
 *     YObThread_start((YObThread *)servidor);
 *     ...
 *     YliberaObjeto(servidor);
 *
 * Started, stopped and asked with YObThread_start, YObThread_stop and YObThread_isAlive.
 *
 * Threads: its functions may be called from any thread, also while it serves; it is freed from one
 * that is not its own.
 *
 * The log. Exceptions that leave handlers are errors, one line a second for each cause; the others
 * are counted. Failures of listening and accepting are logged once, and again after a minute without
 * them; the server goes on trying.
 *
 * Ending. Whatever ends a connection, our side is closed first and what the peer still sends is read
 * away for up to a second, so that an answer on its way arrives.
 * - A stop ends the listening. Connections go on, and do so after another start, too.
 * - Freeing the server stops it and ends what handlers receive, now and later, as if their peers had
 *   closed; it lets them finish and send up to the deadline (YTcpServer_setPrazoDeEncerramento), and
 *   returns when the last of them has returned, before the destructor of any derived class runs.
 * - From one of its own handlers stopping and freeing it, and starting it once it was stopped, raise
 *   YExc "Objeto em uso pela própria thread." and change nothing. */
#ifndef Y3PRAMO_FOUNDATION_YTCPSERVER_H
#define Y3PRAMO_FOUNDATION_YTCPSERVER_H

#include <3pramo/foundation/YObThread.h>
#include <3pramo/foundation/YSocket.h>

Y_INICIO_C

Y_CLASSE(YTcpServer, YObThread) {
    Y_PAI(YObThread)
    void *privado; /* the implementation's */
};

typedef struct YTcpServer YTcpServer;

/* A connection's handler: conducts the connection from its first byte on; the connection ends when it
 * returns. A peer that neither sends nor closes holds it, and one of the connections that the server
 * may have, for as long as it waits: give every wait a deadline.
 *
 * Raises: an exception of any kind that leaves it ends this connection alone and is logged;
 *   pthread_exit ends the connection and its thread.
 * Stops: one that does not wait on the socket asks YObThread_isAlive(servidor) now and then; 0 says
 *   that a stop or the freeing is asked. One that never returns holds the freeing for ever.
 * Owns: the socket is the server's, lent for the call: the handler does not free it, and keeps it no
 *   longer than the call.
 * Threads: the connection's; several at once. */
typedef void (*YFuncaoTratadorTcp)(void *contexto, YTcpServer *servidor, YSocket *socket);

/* A handler with its context, as one unit. */
typedef struct YTratadorTcp {
    void *contexto;
    YFuncaoTratadorTcp funcao;
} YTratadorTcp;

/* A derived class takes from it the slots that it keeps: at least run, which accepts connections. */
Y_EXPORTA extern const YObThread_Rtti YTcpServer_definicaoRtti;
Y_EXPORTA const YRtti *YTcpServer_rtti(void);

/* ---- What it serves, and where ---- */

/* The port to listen on from the next start; 0, the default, asks the system for a free one. */
Y_EXPORTA void YTcpServer_setPorta(YTcpServer *servidor, uint32_t porta);

/* The address to listen on from the next start, numeric ("127.0.0.1", "::1"). Null, the default, is
 * all addresses. One that is not numeric or not this machine's is as a port that cannot be used.
 * Owns: the text is copied. */
Y_EXPORTA void YTcpServer_setEndereco(YTcpServer *servidor, const char *endereco);

/* Installs a handler with its context, for the connections that come from now on. With a null one,
 * as at first, connections end at once.
 * Gives: the pair that was installed before, whose connections go on. */
Y_EXPORTA YTratadorTcp YTcpServer_setTratador(YTcpServer *servidor, void *contexto,
                                              YFuncaoTratadorTcp tratador);

/* ---- Bounds ---- */

/* Most connections at once; 1,024 by default, at least 1. The kernel's queue holds those that come
 * beyond it until one ends. */
Y_EXPORTA void YTcpServer_setLimiteDeConexoes(YTcpServer *servidor, uint32_t conexoes);

/* How long handlers may go on when the server is freed, in seconds; 5 by default. After it the sockets
 * are shut down: what a handler then sends raises, and a peer that does not read cannot hold the
 * server. */
Y_EXPORTA void YTcpServer_setPrazoDeEncerramento(YTcpServer *servidor, uint32_t segundos);

/* ---- While it runs ---- */

/* Waits until the server listens, or the deadline (absolute seconds).
 * Gives: 1 when it listens; 0 when the deadline passed, the server is not alive, or its port could
 *   not be used. */
Y_EXPORTA int YTcpServer_esperaPronto(YTcpServer *servidor, int64_t prazo);

/* The port in use while it listens; otherwise the one that was set. */
Y_EXPORTA uint32_t YTcpServer_getPorta(const YTcpServer *servidor);

/* How many connections are open. */
Y_EXPORTA uint32_t YTcpServer_getConexoes(const YTcpServer *servidor);

Y_FIM_C

#endif
