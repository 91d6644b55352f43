/* A map from texts, compared by content, to pointers. Made with YalocaObjeto; it keeps copies of its keys.
 * YMapaQueDestroi frees its values with YliberaObjeto when it is destroyed and when one is replaced; YMapa
 * leaves them to their owner. Belongs to one thread at a time. */
#ifndef Y3PRAMO_FOUNDATION_YMAPA_H
#define Y3PRAMO_FOUNDATION_YMAPA_H

#include <3pramo/foundation/YOb.h>

Y_INICIO_C

typedef struct YMapa YMapa;
typedef struct YMapaEntrada *YMapaIt;

Y_EXPORTA extern const YRtti YMapa_definicaoRtti;
Y_EXPORTA extern const YRtti YMapaQueDestroi_definicaoRtti;
Y_EXPORTA const YRtti *YMapa_rtti(void);
Y_EXPORTA const YRtti *YMapaQueDestroi_rtti(void);

/* Stores the value under the key: 1 when the key is new, 0 when its value was replaced. A YMapaQueDestroi
 * then frees the old value, unless it is the same pointer. A null key is not stored and gives 0. Raises YExc
 * "Memória insuficiente." and then holds what it held. */
Y_EXPORTA int YMapa_guarda(YMapa *mapa, const char *chave, void *valor);

/* The value, or null for a null key or one that is not stored. */
Y_EXPORTA void *YMapa_recupera(const YMapa *mapa, const char *chave);

/* The entry, valid until its key is removed or the map destroyed; null for a null key or one that is not
 * stored. */
Y_EXPORTA YMapaIt YMapa_busca(const YMapa *mapa, const char *chave);
Y_EXPORTA void *YMapaIt_getValor(YMapaIt entrada);

/* Takes the key out and gives its value, which is not freed; null when it is not stored. */
Y_EXPORTA void *YMapa_retira(YMapa *mapa, const char *chave);

Y_FIM_C

#endif
