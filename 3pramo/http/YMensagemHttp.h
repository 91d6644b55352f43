/* One HTTP/1.1 message, request or response: a first line, header fields and a body, bound to the
 * connection it is read from or written to. Lines are written with LF alone and read with LF or
 * CR LF.
 *
 * Owns: made with YalocaObjeto(&mensagem, YMensagemHttp_rtti), freed with YliberaObjeto.
 * Threads: a message belongs to one thread at a time. */
#ifndef Y3PRAMO_HTTP_YMENSAGEMHTTP_H
#define Y3PRAMO_HTTP_YMENSAGEMHTTP_H

#include <3pramo/foundation/YDIC.h>
#include <3pramo/foundation/YSocket.h>

Y_INICIO_C

Y_CLASSE(YMensagemHttp, YOb) {
    Y_PAI(YOb)
    YStream *primeiraLinha; /* request line or status line, without its line end; owned */
    YDIC *header;           /* field name to value, names without regard to letter case; owned */
    YStream *body;          /* owned */
    YSocket *socket;        /* not owned; null until YMensagemHttp_setSocket */
    void *privado;
};

typedef struct YMensagemHttp YMensagemHttp;

Y_EXPORTA const YRtti *YMensagemHttp_rtti(void);

/* Binds the message to a connection; null unbinds it.
 * Owns: nothing is taken; the socket must outlive the message's use of it. */
Y_EXPORTA void YMensagemHttp_setSocket(YMensagemHttp *mensagem, YSocket *socket);

/* ---- Reading ---- */

/* Reads one message until the deadline, absolute seconds as time() gives them. The message is
 * emptied once a first line is there. A header block or body that the deadline or the peer cuts
 * short is not reported: the message holds what arrived, whole header lines only.
 *
 * An "Expect: 100-continue" (any letter case) is answered before the body is read. The body is as
 * long as "Content-Length" says: "12abc" means 12 bytes, a text without a number no body, a number
 * too large for 64 bits the largest one.
 *
 * Gives: 1 when one was read; 0, and the message as it was, when no socket is bound, or the
 *   deadline or the peer's close came before a whole first line.
 * Raises: YExc "Mensagem HTTP mal formada." for what two readers might take differently:
 *   - in the head a zero byte or a CR within a line, a line that begins with a blank or tab, a
 *     blank or control character in a field's name;
 *   - two "Content-Length" that differ in their text; one that is negative, hexadecimal, a list, or
 *     has a blank or control character within.
 *   YExc "Mensagem HTTP grande demais." when first line and header block take more than 64 KiB or
 *   the body is announced with more than 64 MiB (the web server sets bounds of its own).
 *   What the socket raises. */
Y_EXPORTA int YMensagemHttp_obtemDoSocket(YMensagemHttp *mensagem, int64_t prazo);

/* 1 when the field "Connection" is exactly "keep-alive", else 0. */
Y_EXPORTA int YMensagemHttp_deveManterConectado(const YMensagemHttp *mensagem);

/* The parts of the message, which keeps owning them. */
Y_EXPORTA YStream *YMensagemHttp_getPrimeiraLinha(const YMensagemHttp *mensagem);
Y_EXPORTA YDIC *YMensagemHttp_getHeader(const YMensagemHttp *mensagem);
Y_EXPORTA YStream *YMensagemHttp_getBody(const YMensagemHttp *mensagem);

/* ---- Writing ---- */

/* Append to the body, as YStream_printf, YStream_vprintf and YStream_putBloco. */
Y_EXPORTA void YMensagemHttp_printf(YMensagemHttp *mensagem, const char *formato, ...) Y_FORMATO(2, 3);
Y_EXPORTA void YMensagemHttp_vprintf(YMensagemHttp *mensagem, const char *formato, va_list argumentos)
    Y_FORMATO(2, 0);
Y_EXPORTA void YMensagemHttp_putBloco(YMensagemHttp *mensagem, const void *bytes, int64_t quantos);

/* Writes the message: first line, header fields, empty line, body. "Content-Length" is first set to
 * the body's real length, in the message's own header too. Line breaks and zero bytes inside the
 * first line, a name or a value are left out. Does nothing when no socket is bound.
 * Raises: what the socket raises. */
Y_EXPORTA void YMensagemHttp_enviaPeloSocket(YMensagemHttp *mensagem);

/* Appends the message to a file: first line, header fields, empty line, the body up to its first
 * zero byte, an empty line; line breaks and zero bytes are left out as when it is sent. Does nothing
 * when the file cannot be opened.
 * Raises: YExcIOError "Falha na gravação do arquivo." with the path in front when it cannot be
 *   written. A part that was appended is taken back then, unless somebody else has appended
 *   behind it. */
Y_EXPORTA void YMensagemHttp_salvaEmArquivo(const YMensagemHttp *mensagem, const char *caminho);

Y_FIM_C

#endif
