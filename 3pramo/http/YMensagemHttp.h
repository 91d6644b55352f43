/* One HTTP/1.1 message, request or response: a first line, header fields and a body, bound to the connection
 * it is read from or written to.
 *
 * Made with YalocaObjeto(&mensagem, YMensagemHttp_rtti), freed with YliberaObjeto. A message belongs to one
 * thread at a time. Lines are written with LF alone and read with LF or CR LF. */
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

/* Binds the message to a connection, which must outlive the message's use of it; null unbinds it. */
Y_EXPORTA void YMensagemHttp_setSocket(YMensagemHttp *mensagem, YSocket *socket);

/* Reads one message: 1 when one was read, 0 when no socket is bound or no first line arrived whole before
 * the deadline (absolute seconds, as time() gives them) or the peer closed; the message is then as it was. A
 * message that is read again is emptied once its first line is there. A header block or body cut short by
 * the deadline is not reported: the message holds what arrived, whole header lines only. An
 * "Expect: 100-continue" (any letter case) is answered before the body is read. The body is as long as
 * "Content-Length" says: "12abc" means 12 bytes and a text without a number no body; a number too large for
 * 64 bits is the largest one.
 *
 * Raises YExc "Mensagem HTTP mal formada." for what two readers might take differently: in the head a zero
 * byte or a CR within a line, a line that begins with a blank or tab, a blank or control character in a
 * field's name; two "Content-Length" that differ in their text, or one that is negative, hexadecimal, a list,
 * or has a blank or control character within. YExc "Mensagem HTTP grande demais." when the first line and
 * header block take more than 64 KiB or the body is announced with more than 64 MiB (the web server sets
 * bounds of its own); and what the socket raises. */
Y_EXPORTA int YMensagemHttp_obtemDoSocket(YMensagemHttp *mensagem, int64_t prazo);

/* Writes the message: first line, header fields, empty line, body. "Content-Length" is first set to the
 * body's real length, in the message's own header too. Line breaks and zero bytes inside the first line, a
 * name or a value are left out. Nothing happens when no socket is bound. Raises what the socket raises. */
Y_EXPORTA void YMensagemHttp_enviaPeloSocket(YMensagemHttp *mensagem);

/* 1 when the field "Connection" is exactly "keep-alive", else 0. */
Y_EXPORTA int YMensagemHttp_deveManterConectado(const YMensagemHttp *mensagem);

/* Append to the body; as YStream_printf, YStream_vprintf and YStream_putBloco. */
Y_EXPORTA void YMensagemHttp_printf(YMensagemHttp *mensagem, const char *formato, ...) Y_FORMATO(2, 3);
Y_EXPORTA void YMensagemHttp_vprintf(YMensagemHttp *mensagem, const char *formato, va_list argumentos)
    Y_FORMATO(2, 0);
Y_EXPORTA void YMensagemHttp_putBloco(YMensagemHttp *mensagem, const void *bytes, int64_t quantos);

/* The parts of the message, which keeps owning them. */
Y_EXPORTA YDIC *YMensagemHttp_getHeader(const YMensagemHttp *mensagem);
Y_EXPORTA YStream *YMensagemHttp_getPrimeiraLinha(const YMensagemHttp *mensagem);
Y_EXPORTA YStream *YMensagemHttp_getBody(const YMensagemHttp *mensagem);

/* Appends the message to a file: first line, header fields, empty line, the body up to its first zero byte,
 * an empty line. Line breaks and zero bytes are left out as when it is sent. Nothing happens when the file
 * cannot be opened. When it cannot be written, a part that was appended is taken back (unless somebody else
 * has appended behind it), and YExcIOError "Falha na gravação do arquivo." is raised, with the path in front.
 */
Y_EXPORTA void YMensagemHttp_salvaEmArquivo(const YMensagemHttp *mensagem, const char *caminho);

Y_FIM_C

#endif
