/* A re-entrant mutex.
 *
 * Made with YalocaObjeto(&mutex, YObMutex_rtti), freed with YliberaObjeto when no thread holds
 * it. */
#ifndef Y3PRAMO_FOUNDATION_YOBMUTEX_H
#define Y3PRAMO_FOUNDATION_YOBMUTEX_H

#include <3pramo/foundation/YOb.h>

Y_INICIO_C

typedef struct YObMutex YObMutex;

Y_EXPORTA extern const YRtti YObMutex_definicaoRtti;
Y_EXPORTA const YRtti *YObMutex_rtti(void);

/* Locks, waiting as long as needed. The thread that holds it may lock it again, and unlocks as
 * often. File and line say who asked; they are not kept. */
Y_EXPORTA void YObMutex_requisita0(YObMutex *mutex, const char *arquivo, int linha);

/* Unlocks once; only the thread that holds it may. */
Y_EXPORTA void YObMutex_libera(YObMutex *mutex);

Y_FIM_C

#endif
