/* Plain functions run on threads of their own.
 *
 * Threads that have ended their function are kept for ten seconds (64 at most) and used again. Both
 * functions may be called from any thread. */
#ifndef Y3PRAMO_FOUNDATION_YEXECUTATHREAD_H
#define Y3PRAMO_FOUNDATION_YEXECUTATHREAD_H

#include <3pramo/foundation/exporta.h>
#include <stdint.h>

Y_INICIO_C

/* Runs funcao(argumento) on a thread of its own and returns at once; nobody waits for it.
 * An exception that leaves the function ends its run and is logged.
 * Raises: YExc "Não foi possível criar a thread." */
Y_EXPORTA void YexecutaThread(void (*funcao)(void *argumento), void *argumento);

/* Stack size in bytes of the threads that YexecutaThread makes from now on; 1 MiB by default, at
 * least 128 KiB. */
Y_EXPORTA void YexecutaThread_setTamanhoDaPilha(uint64_t bytes);

Y_FIM_C

#endif
