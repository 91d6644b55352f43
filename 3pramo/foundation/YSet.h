/* A set of pointers, compared by address. Made with YalocaObjeto.
 *
 * Adding, removing and asking take constant time.
 * Owns: YSetQueDestroi frees its elements with YliberaObjeto when it is destroyed; YSet leaves them
 * to their owner.
 * Threads: one at a time. */
#ifndef Y3PRAMO_FOUNDATION_YSET_H
#define Y3PRAMO_FOUNDATION_YSET_H

#include <3pramo/foundation/YOb.h>

Y_INICIO_C

typedef struct YSet YSet;

/* Points to an element's slot: `*it` is the element.
 * Lives: until an element is added. Removing the element under an iterator leaves it on one that
 * was not visited yet (the last element moves into the hole), so a walk that removes sees every
 * element once if it asks YSet_fim again after each removal. */
typedef void **YSetIt;

Y_EXPORTA extern const YRtti YSet_definicaoRtti;
Y_EXPORTA extern const YRtti YSetQueDestroi_definicaoRtti;
Y_EXPORTA const YRtti *YSet_rtti(void);
Y_EXPORTA const YRtti *YSetQueDestroi_rtti(void);

/* Adds the element if it is absent.
 * Raises: YExc "Memória insuficiente." and then holds what it held. */
Y_EXPORTA void YSet_poe(YSet *set, void *elemento);

/* Adds every element of the other set.
 * Raises: YExc "Memória insuficiente." and then holds what it held. */
Y_EXPORTA void YSet_poeTudo(YSet *set, const YSet *outro);

/* Removes the element without freeing it.
 * Gives: nonzero when it was there. */
Y_EXPORTA int YSet_remove(YSet *set, const void *elemento);

/* Nonzero when the element is there. */
Y_EXPORTA int YSet_tem(const YSet *set, const void *elemento);

Y_EXPORTA uint64_t YSet_tam(const YSet *set);

/* Removes all elements without freeing them. */
Y_EXPORTA void YSet_clear(YSet *set);

/* First slot, and one past the last; equal when the set is empty. */
Y_EXPORTA YSetIt YSet_inicio(const YSet *set);
Y_EXPORTA YSetIt YSet_fim(const YSet *set);
Y_EXPORTA void YSetIt_anda(YSetIt *iterador);

Y_FIM_C

#endif
