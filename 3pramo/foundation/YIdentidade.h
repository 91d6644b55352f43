/* Text identities of pointers: what a client is given to name an object by.
 *
 * The text is 32 hexadecimal digits from the system's random source, never the address, and is
 * never given to a second pointer. One that was given to something freed since names what is made
 * at its address next, unless that is a service object.
 * Threads: all functions may be called from any thread. */
#ifndef Y3PRAMO_FOUNDATION_YIDENTIDADE_H
#define Y3PRAMO_FOUNDATION_YIDENTIDADE_H

#include <3pramo/foundation/exporta.h>
#include <stdint.h>

Y_INICIO_C

/* Bytes that hold any identity with its terminating zero. */
#define Y_TAMANHO_IDENTIDADE 33

/* Writes the pointer's identity into the buffer of `tamanho` bytes; null is written as "".
 * The same pointer gives the same text while its identity is kept. In the child of a fork other
 * texts are issued than in its parent.
 * Raises: YExc "Buffer pequeno para a identidade." for less than 33 bytes; "Falta de números
 * aleatórios." when the system gives no random bytes; "Memória insuficiente."
 * Lives: that of a service object (YWebService.h) that was in a live set, until the object is
 * destroyed; of other pointers the latest 100,000 are kept. */
Y_EXPORTA void YObPtrToStr(char *buffer, uint64_t tamanho, const void *ponteiro);

/* The pointer that has this identity; blanks around the text are ignored.
 * Gives: null for an unknown, an empty or a null text. */
Y_EXPORTA void *YObStrToPtr(const char *texto);

Y_FIM_C

#endif
