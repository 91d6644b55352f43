/* Retainers: objects that applications give resources out by.
 *
 * The library only passes a request on. What the values and the result mean, and which threads may
 * ask, is the retainer's affair. */
#ifndef Y3PRAMO_FOUNDATION_YRETENTOR_H
#define Y3PRAMO_FOUNDATION_YRETENTOR_H

#include <3pramo/foundation/YOb.h>

Y_INICIO_C

/* A retainer; derive from it and fill the slot. */
Y_CLASSE(YRetentor, YOb) {
    Y_PAI(YOb)
};

typedef struct YRetentor YRetentor;

/* Descriptor of a retainer class. */
typedef struct YRetentor_Rtti {
    YRtti rtti;
    int32_t (*requisita0)(YRetentor *retentor, void *grupoDeRecursos, uint32_t a, void *ponteiro, uint32_t b);
} YRetentor_Rtti;

/* The class itself has no implementation of its slot. */
Y_EXPORTA extern const YRetentor_Rtti YRetentor_definicaoRtti;
Y_EXPORTA const YRtti *YRetentor_rtti(void);

/* Calls the requisita0 slot of the retainer's class. The group may be null.
 * Gives: the slot's result. */
Y_EXPORTA int32_t YRetentor_requisita0(YRetentor *retentor, void *grupoDeRecursos, uint32_t a, void *ponteiro,
                                       uint32_t b);

Y_FIM_C

#endif
