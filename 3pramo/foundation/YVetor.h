/* An ordered list of pointers. Made with YalocaObjeto.
 *
 * Owns: YVetorQueDestroi frees its elements with YliberaObjeto, the last one first, when it is
 * destroyed; YVetor leaves them to their owner.
 * Threads: one at a time. */
#ifndef Y3PRAMO_FOUNDATION_YVETOR_H
#define Y3PRAMO_FOUNDATION_YVETOR_H

#include <3pramo/foundation/YOb.h>

Y_INICIO_C

typedef struct YVetor YVetor;

/* Points to an element's slot: `*it` is the element.
 * Lives: until the list changes. */
typedef void **YVetorIt;

Y_EXPORTA extern const YRtti YVetor_definicaoRtti;
Y_EXPORTA extern const YRtti YVetorQueDestroi_definicaoRtti;
Y_EXPORTA const YRtti *YVetor_rtti(void);
Y_EXPORTA const YRtti *YVetorQueDestroi_rtti(void);

/* Appends.
 * Raises: YExc "Memória insuficiente." and then holds what it held. */
Y_EXPORTA void YVetor_poe(YVetor *vetor, void *elemento);

/* Removes the first occurrence of the element, keeping the order of the others and without freeing
 * it.
 * Gives: 1; 0 when it is not there. */
Y_EXPORTA int YVetor_remove(YVetor *vetor, const void *elemento);

Y_EXPORTA uint64_t YVetor_tam(const YVetor *vetor);

/* First slot, and one past the last; equal when the list is empty. */
Y_EXPORTA YVetorIt YVetor_inicio(const YVetor *vetor);
Y_EXPORTA YVetorIt YVetor_fim(const YVetor *vetor);
Y_EXPORTA void YVetorIt_anda(YVetorIt *iterador);

Y_FIM_C

#endif
