/* The web server: listens on a port, gives each connection a thread, calls one handler for each
 * request.
 *
 *     YWebServer *servidor;
 *     YalocaObjeto(&servidor, YWebServer_rtti);
 *     YWebServer_setPorta(servidor, 8080);
 *     YWebServer_setTratador(servidor, contexto, trata);
 *     YObThread_start((YObThread *)servidor);
 *     ...
 *     YliberaObjeto(servidor);
 *
 * Started, stopped and asked with YObThread_start, YObThread_stop and YObThread_isAlive.
 *
 * Threads: its functions may be called from any thread, also while it serves; it is freed from one
 * that is not its own.
 *
 * Connections. A connection stays open as long as requests keep coming: a batch of requests lasts
 * two seconds, and a batch that answered nothing ends the connection. Every answer says
 * "Connection: close" unless the handler says otherwise, and yet the connection goes on (see
 * YWebServer_setFechaLogo). It ends with the answer to a request whose header block ended at a line
 * that is neither a field nor empty, or whose "Content-Length" is not digits alone ("12abc", "+5",
 * none): nothing after it is read as a request.
 *
 * Not every request reaches the handler:
 * - PUT is answered "501 Not Implemented";
 * - for another method than GET, HEAD and POST the client gets the line
 *   "HTTP/1.1 501 Not Implemented.", for a Transfer-Encoding the line
 *   "HTTP/1.1 411 Length Required.", and the connection ends;
 * - the connection ends without an answer when the request is malformed
 *   (YMensagemHttp_obtemDoSocket says what is), of another version than HTTP/1.0 and 1.1, or cut
 *   before its header block and its body were whole.
 *
 * The log. Failures of connections are errors, one line a second for each cause; the others are
 * counted. Those of listening and accepting are logged once, and again after a minute without them;
 * the server goes on trying.
 *
 * Ending. Whatever ends a connection, our side is closed first and what the peer still sends is
 * read away for up to a second, so that an answer on its way arrives. Freeing the server stops it,
 * lets the handlers that run finish, ends idle connections at once, and returns when the last
 * connection thread has left it, all before the destructor of any derived class runs. From the
 * moment it is asked no request is begun; see YWebServer_setPrazoDeEncerramento for answers under
 * way. A handler that never returns holds it for ever: one that may run long asks
 * YObThread_isAlive(servidor) now and then, which gives 0 once a stop or the freeing is asked. */
#ifndef Y3PRAMO_HTTP_YWEBSERVER_H
#define Y3PRAMO_HTTP_YWEBSERVER_H

#include <3pramo/foundation/YObThread.h>
#include <3pramo/http/YMensagemHttp.h>

Y_INICIO_C

/* A request handler. It sends nothing itself: it appends code and reason ("200 OK") to the answer's
 * first line and fills fields and body.
 * - `uri` is the second word of the request line, in a writable buffer.
 * - `resposta` begins as status line "HTTP/1.1 " (one blank at its end), the fields Content-Type
 *   "text/html; charset=ISO-8859-1", Connection "close" and Date, and an empty body.
 *
 * Raises: an exception that leaves it ends the connection without an answer, except
 *   YExcNaoImplementado, which is answered with the line "HTTP/1.1 501 Not Implemented.".
 * Stops: one that runs long asks YObThread_isAlive of its server, to which its context leads; 0 says
 *   that a stop or the freeing is asked. The server lives until it has returned.
 * Owns: all of them are the server's.
 * Lives: `uri` until the answer is sent.
 * Threads: the connection's; several at once. */
typedef void (*YFuncaoTratadorHttp)(void *contexto, char *uri, YMensagemHttp *requisicao,
                                    YMensagemHttp *resposta);

/* A handler with its context, as one unit. There is always one: `funcao` is not null. */
typedef struct YTratadorHttp {
    void *contexto;
    YFuncaoTratadorHttp funcao;
} YTratadorHttp;

Y_CLASSE(YWebServer, YObThread) {
    Y_PAI(YObThread)
    uint32_t porta;               /* 8880 */
    YSocket *socketAceito;        /* the connection on its way to its thread */
    void *contextoTratador;       /* the server itself */
    YFuncaoTratadorHttp tratador; /* serves the files under diretorioBase */
    char *diretorioBase;          /* "www"; owned */
    void *privado;
};

typedef struct YWebServer YWebServer;

/* A derived class takes from it the slots that it keeps: at least run, which accepts
 * connections. */
Y_EXPORTA extern const YObThread_Rtti YWebServer_definicaoRtti;
Y_EXPORTA const YRtti *YWebServer_rtti(void);

/* ---- What it serves, and where ---- */

/* The port to listen on from the next start; 0 asks the system for a free one. */
Y_EXPORTA void YWebServer_setPorta(YWebServer *servidor, uint32_t porta);

/* The address to listen on from the next start, numeric ("127.0.0.1", "::1"). Null, the default, is
 * all addresses. One that is not numeric or not this machine's is as a port that cannot be used.
 * Owns: the text is copied. */
Y_EXPORTA void YWebServer_setEndereco(YWebServer *servidor, const char *endereco);

/* Installs a handler with its context, for the requests that begin from now on. A handler that
 * passes a request on calls the previous function with the previous context and its own other
 * arguments.
 * Gives: the pair that was installed before, whose calls under way go on; from the first call the
 *   server itself and the handler of static files. */
Y_EXPORTA YTratadorHttp YWebServer_setTratador(YWebServer *servidor, void *contexto,
                                               YFuncaoTratadorHttp tratador);

/* The same, for a handler that passes requests on: it may be called as soon as it is installed, and
 * finds the previous pair in `*anterior` from its first call on. */
Y_EXPORTA void YWebServer_trocaTratador(YWebServer *servidor, void *contexto, YFuncaoTratadorHttp tratador,
                                        YTratadorHttp *anterior);

/* The directory under which static files are served; null serves nothing (404). The URI without its
 * leading slashes and backslashes names the file, as it stands: nothing is decoded, a query is part
 * of the name. "Date" is the time at which the file was modified. Where there is no file to serve:
 * - 403 for a path with ".." anywhere;
 * - 404 for one that cannot be opened or is longer than 511 characters, and for a file outside the
 *   directory to which a symbolic link leads (which the system must be able to tell, in /proc);
 * - 503 for a file that finds no room (YWebServer_setLimiteDosCorpos);
 * - no answer, and the end of the connection (YExcIOError), for a directory or whatever else is no
 *   regular file.
 * Owns: the text is copied. */
Y_EXPORTA void YWebServer_setDiretorioBase(YWebServer *servidor, const char *diretorio);

/* ---- Bounds ---- */

/* Largest request line and header block together, in bytes; 65,536 by default. Beyond it the client
 * gets the line "HTTP/1.1 431 Request Header Fields Too Large." and the connection ends. */
Y_EXPORTA void YWebServer_setLimiteDoCabecalho(YWebServer *servidor, uint64_t bytes);

/* Largest body of a request, in bytes; 67,108,864 by default. Beyond it the client gets the line
 * "HTTP/1.1 413 Content Too Large." and the connection ends. Memory is taken as bytes arrive. */
Y_EXPORTA void YWebServer_setLimiteDoCorpo(YWebServer *servidor, uint64_t bytes);

/* What all bodies together may take, of requests and of answers, in bytes; 536,870,912 by default.
 * One that finds no room gets the line "HTTP/1.1 503 Service Unavailable." in place of an answer
 * and the connection ends.
 * - Bodies up to 64 KiB are not counted.
 * - A body that is being received counts as it arrives, an answer when its handler has returned and
 *   until it is sent.
 * - A reader must take 30 KiB of an answer every 30 seconds, or the connection ends.
 * - Memory of large bodies goes back to the system a second after the last of them. */
Y_EXPORTA void YWebServer_setLimiteDosCorpos(YWebServer *servidor, uint64_t bytes);

/* Most connections at once; 1,024 by default, at least 1. When another one comes, the one that has
 * waited longest for a request ends; while all of them are within a request, the kernel's queue
 * holds the newcomers. */
Y_EXPORTA void YWebServer_setLimiteDeConexoes(YWebServer *servidor, uint32_t conexoes);

/* How long the rest of a request may take once its first line is there, in seconds; 0, the default:
 * until its batch ends. A client on a slow line needs longer than that for a long body. */
Y_EXPORTA void YWebServer_setPrazoDaRequisicao(YWebServer *servidor, uint32_t segundos);

/* How long answers under way may take when the server is freed, in seconds; 5 by default. After it
 * the sockets are shut down: a peer that does not read cannot hold the server, and a handler that
 * is still at work loses its answer. */
Y_EXPORTA void YWebServer_setPrazoDeEncerramento(YWebServer *servidor, uint32_t segundos);

/* Whether a request that says "Connection: close", or is HTTP/1.0 without "Connection: keep-alive",
 * is the last one of its connection, which then ends right after its answer (nonzero). Off (0) by
 * default: the connection stays open until its batches end, and clients that read until it closes
 * wait for that. */
Y_EXPORTA void YWebServer_setFechaLogo(YWebServer *servidor, int fechaLogo);

/* ---- While it runs ---- */

/* Waits until the server listens, or the deadline (absolute seconds).
 * Gives: 1 when it listens; 0 when the deadline passed, the server is not alive, or its port could
 *   not be used. */
Y_EXPORTA int YWebServer_esperaPronto(YWebServer *servidor, int64_t prazo);

/* The port in use while it listens; otherwise the one that was set. */
Y_EXPORTA uint32_t YWebServer_getPorta(const YWebServer *servidor);

/* How many connections are open. */
Y_EXPORTA uint32_t YWebServer_getConexoes(const YWebServer *servidor);

Y_FIM_C

#endif
