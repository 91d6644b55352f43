/* A growable byte buffer with a read position.
 *
 * Made with YalocaObjeto(&stream, YStream_rtti), freed with YliberaObjeto. Sizes and counts are in
 * bytes.
 * Raises: YExc "Memória insuficiente." from whatever appends; the stream then holds what it held.
 * Threads: one at a time. */
#ifndef Y3PRAMO_FOUNDATION_YSTREAM_H
#define Y3PRAMO_FOUNDATION_YSTREAM_H

#include <3pramo/foundation/YOb.h>
#include <stdarg.h>

Y_INICIO_C

typedef struct YStream YStream;

Y_EXPORTA extern const YRtti YStream_definicaoRtti;
Y_EXPORTA const YRtti *YStream_rtti(void);

/* ---- The content ---- */

/* The whole content as zero-terminated text, read or not; "" when empty, never null.
 * It may itself hold zero bytes: YStream_tam gives its length.
 * Lives: until the stream changes. */
Y_EXPORTA const char *YStream_str(YStream *stream);

/* Length of the whole content. */
Y_EXPORTA int64_t YStream_tam(const YStream *stream);

/* Empties the content and resets the read position; the memory is kept for what comes next.
 * The content is overwritten with zeros, as it is whenever a stream gives memory back. */
Y_EXPORTA void YStream_clear(YStream *stream);

/* Prepares the stream to receive `bytes` more; only a matter of speed. Zero or less does
 * nothing. */
Y_EXPORTA void YStream_aloca(YStream *stream, int64_t bytes);

/* ---- Appending ---- */

/* Text formatted as printf does in the C locale, whatever the process's locale is. A text taken
 * from this stream may be among the arguments.
 * Raises: YExc "Formato inválido." when printf would fail. */
Y_EXPORTA void YStream_printf(YStream *stream, const char *formato, ...) Y_FORMATO(2, 3);
Y_EXPORTA void YStream_vprintf(YStream *stream, const char *formato, va_list argumentos) Y_FORMATO(2, 0);

/* The text, without anything after it; it may be the stream's own text. Null appends nothing. */
Y_EXPORTA void YStream_puts(YStream *stream, const char *texto);

Y_EXPORTA void YStream_put(YStream *stream, int byte);

/* `quantos` bytes; they may be part of the stream's own content. Zero or less appends nothing. */
Y_EXPORTA void YStream_putBloco(YStream *stream, const void *bytes, int64_t quantos);

/* The text as XML content or attribute value; YStream_getHtmlChar reads it all back. Null appends
 * nothing. & < > " become &amp; &lt; &gt; &quot;, and CR and every character from 128 up become
 * decimal references (&#231;), so that what is written is plain ASCII. */
Y_EXPORTA void YStream_putHtmlString(YStream *stream, const char *texto);

/* The text with accented letters replaced by their plain ones (ç by c); the rest unchanged. */
Y_EXPORTA void YStream_putTirandoAcentos(YStream *stream, const char *texto);

/* `quantos` bytes of UTF-8 as ISO-8859-1, and of ISO-8859-1 as UTF-8; they may be part of the
 * stream's own content. Zero or less appends nothing.
 * Raises: the first, when nothing may be lost without a word: YExc "posição: N. Texto não é UTF-8."
 *   for bytes that are no character (overlong, half of a pair, cut), and YExc "posição: N.
 *   Caractere fora de ISO-8859-1."; N is the first such byte, counted from 0. The stream then holds
 *   what it held. */
Y_EXPORTA void YStream_putDeUtf8(YStream *stream, const char *texto, int64_t quantos);
Y_EXPORTA void YStream_putEmUtf8(YStream *stream, const char *texto, int64_t quantos);

/* The text as it is: nothing is expanded. */
Y_EXPORTA void YStream_putExpandindo(YStream *stream, const char *texto);

/* ---- Reading ---- */

/* The next unread byte, 0 to 255; YStream_get moves past it. Past the end both give 0 and stay
 * there. */
Y_EXPORTA int YStream_get(YStream *stream);
Y_EXPORTA int YStream_peek(const YStream *stream);

/* The next unread character, where a reference is one character: &amp; &lt; &gt; &quot; &apos; and
 * decimal or hexadecimal numbers from 1 to 255. An & that no ; follows within ten characters is
 * itself.
 * Raises: YExc "Referência a caractere fora de ISO-8859-1." for another number; "Referência a
 * caractere desconhecida." for anything else between an & and a ;, blanks and signs too. The
 * position then stays in front of the &. */
Y_EXPORTA int YStream_getHtmlChar(YStream *stream);

/* How many bytes are unread. */
Y_EXPORTA int64_t YStream_disponiveis(const YStream *stream);

/* Scans the unread content, up to its first zero byte, as sscanf does in the C locale. The read
 * position stays. Give %s a width: the destination is the caller's.
 * Gives: the number of items converted. */
Y_EXPORTA int YStream_scanf(const YStream *stream, const char *formato, ...) Y_FORMATO_SCANF(2, 3);

Y_FIM_C

#endif
