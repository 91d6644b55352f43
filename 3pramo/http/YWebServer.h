/* The web server: listens on a port, gives each connection a thread, calls one handler for each request.
 *
 * Made with YalocaObjeto(&servidor, YWebServer_rtti); started, stopped and asked with YObThread_start,
 * YObThread_stop and YObThread_isAlive; freed with YliberaObjeto. Its setters may be called from any
 * thread, also while it serves.
 *
 * Connections: a connection stays open as long as requests keep coming. A batch of requests lasts two
 * seconds; a batch that answered nothing ends the connection. Every answer says "Connection: close" unless
 * the handler says otherwise, and yet the connection goes on (see YWebServer_setFechaLogo). After a request
 * whose body was cut by the end of its batch, or whose header block ended at a line that is neither a field
 * nor empty, it ends with the answer.
 *
 * Not every request reaches the handler. PUT is answered "501 Not Implemented"; for another method than GET,
 * HEAD and POST the client gets the line "HTTP/1.1 501 Not Implemented.", for a Transfer-Encoding "HTTP/1.1
 * 411 Length Required.", and the connection ends. It ends without an answer when the request is malformed,
 * of another version than HTTP/1.0 and 1.1, or cut before its header block was whole.
 *
 * Ending: freeing the server (from a thread that is not one of its own) stops it, lets the handlers that run
 * finish, ends idle connections at once, and returns when the last connection thread has left it. Sockets
 * are shut down for reading at once and for writing after five seconds; a handler that never returns holds
 * it for ever. All this happens before the destructor of any derived class runs. */
#ifndef Y3PRAMO_HTTP_YWEBSERVER_H
#define Y3PRAMO_HTTP_YWEBSERVER_H

#include <3pramo/foundation/YObThread.h>
#include <3pramo/http/YMensagemHttp.h>

Y_INICIO_C

/* A request handler: runs on the connection's thread, several at once. `uri` is the second word of the
 * request line, in a writable buffer that the server frees after the answer. `resposta` begins as status line
 * "HTTP/1.1 " (one blank at its end), the fields Content-Type "text/html; charset=ISO-8859-1", Connection
 * "close" and Date, and an empty body; the handler appends code and reason ("200 OK") to its first line and
 * fills fields and body. It sends nothing itself. An exception that leaves it ends the connection without an
 * answer, except YExcNaoImplementado, which is answered with the line "HTTP/1.1 501 Not Implemented.". */
typedef void (*YFuncaoTratadorHttp)(void *contexto, char *uri, YMensagemHttp *requisicao,
                                    YMensagemHttp *resposta);

/* A handler with its context, as one unit. */
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

Y_EXPORTA const YRtti *YWebServer_rtti(void);

/* The port to listen on from the next start; 0 asks the system for a free one. */
Y_EXPORTA void YWebServer_setPorta(YWebServer *servidor, uint32_t porta);

/* The port in use while it listens; otherwise the one that was set. */
Y_EXPORTA uint32_t YWebServer_getPorta(const YWebServer *servidor);

/* Installs a handler with its context, for the requests that begin from now on, and returns the pair that was
 * installed before, whose calls under way go on. The first call returns the server itself and the handler of
 * static files. A handler that passes a request on calls the previous function with the previous context and
 * its own other arguments. */
Y_EXPORTA YTratadorHttp YWebServer_setTratador(YWebServer *servidor, void *contexto,
                                               YFuncaoTratadorHttp tratador);

/* The directory under which static files are served; copied. Null serves nothing (404). The URI without its
 * leading slashes and backslashes names the file, as it stands: nothing is decoded, a query is part of the
 * name. A path with ".." anywhere gets 403; one that cannot be opened, or is longer than 511 characters,
 * 404; a directory, or whatever else is no regular file, ends the connection without an answer
 * (YExcIOError). "Date" is the time at which the file was modified. */
Y_EXPORTA void YWebServer_setDiretorioBase(YWebServer *servidor, const char *diretorio);

/* Waits until the server listens, or the deadline (absolute seconds): 1 when it listens, 0 when the deadline
 * passed, the server is not alive, or its port could not be used. */
Y_EXPORTA int YWebServer_esperaPronto(YWebServer *servidor, int64_t prazo);

/* ---- Bounds ---- */

/* Largest request line and header block together, in bytes; 65,536 by default. Beyond it the client gets the
 * line "HTTP/1.1 431 Request Header Fields Too Large." and the connection ends. */
Y_EXPORTA void YWebServer_setLimiteDoCabecalho(YWebServer *servidor, uint64_t bytes);

/* Largest body of a request, in bytes; 67,108,864 by default. Beyond it the client gets the line "HTTP/1.1
 * 413 Content Too Large." and the connection ends. Memory is taken as bytes arrive. */
Y_EXPORTA void YWebServer_setLimiteDoCorpo(YWebServer *servidor, uint64_t bytes);

/* Most connections at once; 1,024 by default, at least 1. Beyond it no connection is accepted: the kernel's
 * queue holds the rest until one ends. */
Y_EXPORTA void YWebServer_setLimiteDeConexoes(YWebServer *servidor, uint32_t conexoes);

/* Whether a request that says "Connection: close", or is HTTP/1.0 without "Connection: keep-alive", is the
 * last one of its connection, which then ends right after its answer (nonzero). Off (0) by default: the
 * connection stays open until its batches end, and clients that read until it closes wait for that. */
Y_EXPORTA void YWebServer_setFechaLogo(YWebServer *servidor, int fechaLogo);

/* How many connections are open. */
Y_EXPORTA uint32_t YWebServer_getConexoes(const YWebServer *servidor);

Y_FIM_C

#endif
