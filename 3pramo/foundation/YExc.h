/* Exceptions: their classes, raising (YContextoTry_throw.h), and the description of the one just
 * caught.
 *
 * An exception carries its class, a message (with the detail text in front), the name of the source
 * that raised it, the line, and the attributes that it was given (YContextoTry_atributo); where
 * memory is short, "Memória insuficiente." stands for the message and "YExc" for the source. It
 * travels as a C++ exception (YExcecao.hpp); C code guards itself with a protected region
 * (YContextoTry.h) and is compiled with -fexceptions where exceptions pass through it. */
#ifndef Y3PRAMO_FOUNDATION_YEXC_H
#define Y3PRAMO_FOUNDATION_YEXC_H

#include <3pramo/foundation/YContextoTry_throw.h>

Y_INICIO_C

/* The root of the exception classes, and the two that the foundation adds.
 * A class of your own names one of these as its parent in its descriptor, with size 0. */
Y_EXPORTA extern const YRtti YExc_definicaoRtti;
Y_EXPORTA extern const YRtti YExcIOError_definicaoRtti;
Y_EXPORTA extern const YRtti YExcNaoImplementado_definicaoRtti;
Y_EXPORTA const YRtti *YExc_rtti(void);
Y_EXPORTA const YRtti *YExcIOError_rtti(void);
Y_EXPORTA const YRtti *YExcNaoImplementado_rtti(void);

/* Writes "CLASS: MESSAGE (SOURCE:LINE)" of the exception just caught on this thread to the log, as
 * an error. Needs no memory to succeed.
 * "Just caught" is the one that is handled innermost: by a C++ catch block that is running, or by a
 * protected region between YContextoTry_catch and YContextoTry_finaliza. While none is handled it
 * is the last one that YContextoTry_catch marked as handled; without one nothing is written. */
Y_EXPORTA void YExc_descreve_no_log(void);

/* Appends the same description to the stream.
 * Raises: YExc "Memória insuficiente." */
struct YStream;
Y_EXPORTA void YExc_descreveEmStream(struct YStream *stream);

Y_FIM_C

#endif
