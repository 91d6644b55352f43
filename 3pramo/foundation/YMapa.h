/* A map from texts, compared by content, to pointers. Made with YalocaObjeto.
 *
 * Owns: copies of its keys. YMapaQueDestroi frees its values with YliberaObjeto when it is
 * destroyed and when one is replaced; YMapa leaves them to their owner.
 * Threads: one at a time. */
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

/* Stores the value under the key. A YMapaQueDestroi frees the value it replaces, unless it is the
 * same pointer.
 * Gives: 1 when the key is new; 0 when its value was replaced, or when the key is null and nothing
 * was stored.
 * Raises: YExc "Memória insuficiente." and then holds what it held. */
Y_EXPORTA int YMapa_guarda(YMapa *mapa, const char *chave, void *valor);

/* The value; null for a null key or one that is not stored. */
Y_EXPORTA void *YMapa_recupera(const YMapa *mapa, const char *chave);

/* The entry; null for a null key or one that is not stored.
 * Lives: until its key is removed or the map destroyed. */
Y_EXPORTA YMapaIt YMapa_busca(const YMapa *mapa, const char *chave);
Y_EXPORTA void *YMapaIt_getValor(YMapaIt entrada);

/* Takes the key out.
 * Gives: its value, which is not freed; null when it is not stored. */
Y_EXPORTA void *YMapa_retira(YMapa *mapa, const char *chave);

Y_FIM_C

#endif
