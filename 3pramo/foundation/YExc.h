/* Exceptions: their classes, raising, and the description of the one just caught.
 *
 * An exception carries its class, a message (with the detail text in front), the name of the source that
 * raised it and the line; where memory is short, "Memória insuficiente." stands for message and source. It
 * travels as a C++ exception (YExcecao.hpp); C code guards itself with a protected region (YContextoTry.h)
 * and is compiled with -fexceptions where exceptions pass through it. */
#ifndef Y3PRAMO_FOUNDATION_YEXC_H
#define Y3PRAMO_FOUNDATION_YEXC_H

#include <3pramo/foundation/YOb.h>

Y_INICIO_C

/* The root of the exception classes, and the two that the foundation adds. A class of your own names one
 * of these as its parent in its descriptor, with size 0. */
Y_EXPORTA extern const YRtti YExc_definicaoRtti;
Y_EXPORTA extern const YRtti YExcIOError_definicaoRtti;
Y_EXPORTA extern const YRtti YExcNaoImplementado_definicaoRtti;
Y_EXPORTA const YRtti *YExc_rtti(void);
Y_EXPORTA const YRtti *YExcIOError_rtti(void);
Y_EXPORTA const YRtti *YExcNaoImplementado_rtti(void);

/* Raises an exception of the class on the calling thread; never returns. The texts are copied. `arquivo`
 * is the source's name without extension, `linha` its line. The detail text, if one is waiting, goes in
 * front of the message and is used up. */
Y_NAO_VOLTA Y_EXPORTA void YContextoTry_throw(YFuncaoRtti classe, const char *mensagem, const char *arquivo,
                                              int linha);

/* Formats a detail text that the next raise on this thread puts in front of its message; end it with a
 * full stop and a blank ("nome: %s. "). A second call replaces the first, also when it raises YExc "Memória
 * insuficiente." for want of memory. Of a text longer than 64 KiB the middle is left out, the end is kept.
 * A text that no raise has used up does not outlive the function that a thread of the library runs. */
Y_EXPORTA void YContextoTry_printf(const char *formato, ...) Y_FORMATO(1, 2);

/* Writes the description of the exception just caught on this thread to the log, as an error:
 * "CLASS: MESSAGE (SOURCE:LINE)". "Just caught" is the one that is handled innermost: by a C++ catch block
 * that is running, or by a protected region between YContextoTry_catch and YContextoTry_finaliza. While none
 * is handled it is the last one that YContextoTry_catch marked as handled; without one nothing is written.
 * Needs no memory to succeed. */
Y_EXPORTA void YExc_descreve_no_log(void);

/* Appends the same description to the stream. Raises YExc "Memória insuficiente.". */
struct YStream;
Y_EXPORTA void YExc_descreveEmStream(struct YStream *stream);

Y_FIM_C

#endif
