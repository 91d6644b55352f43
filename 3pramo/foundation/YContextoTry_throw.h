/* Raising exceptions.
 *
 * An exception belongs to its thread, as do the detail texts; every thread may raise. */
#ifndef Y3PRAMO_FOUNDATION_YCONTEXTOTRY_THROW_H
#define Y3PRAMO_FOUNDATION_YCONTEXTOTRY_THROW_H

#include <3pramo/foundation/YOb.h>

Y_INICIO_C

/* Raises an exception of the class on the calling thread; never returns.
 * The detail text, if one is waiting, goes in front of the message and is used up.
 * `arquivo` is the source's name without extension, `linha` its line.
 * Owns: the texts are copied. */
Y_NAO_VOLTA Y_EXPORTA void YContextoTry_throw(YFuncaoRtti classe, const char *mensagem, const char *arquivo,
                                              int linha);

/* Formats a detail text that the next raise on this thread puts in front of its message.
 * End it with a full stop and a blank ("nome: %s. "). A second call replaces the first, also when
 * it raises. Of a text longer than 64 KiB the middle is left out, the end is kept.
 * Raises: YExc "Memória insuficiente."
 * Lives: until a raise uses it up, and no longer than the function that a thread of the library
 * runs. */
Y_EXPORTA void YContextoTry_printf(const char *formato, ...) Y_FORMATO(1, 2);

/* Gives the exception that the next raise on this thread makes an attribute: what stands in its
 * texts, once more by itself, for who handles it (`campo`, the name of the field that was refused).
 * It is used up and lives as the detail text does. Of a value longer than 4 KiB the rest is left
 * out.
 * Gives: 1; 0, and nothing is kept, for a null name or value, a name that is not ASCII letters and
 *   digits (a letter first, 64 at most), and beyond 16 attributes. A name that was given before gets
 *   the new value.
 * Raises: YExc "Memória insuficiente." */
Y_EXPORTA int YContextoTry_atributo(const char *nome, const char *valor);

Y_FIM_C

#endif
