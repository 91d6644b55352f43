/* A dictionary of texts: one value a key, copies of both, iterated in the order of first insertion.
 *
 * Not an object of the object system: made with YDIC_constroi, freed with YDIC_destroi. Looking up
 * does not slow down with hostile keys.
 * Raises: YExc "Memória insuficiente." from whatever stores.
 * Threads: one at a time. */
#ifndef Y3PRAMO_FOUNDATION_YDIC_H
#define Y3PRAMO_FOUNDATION_YDIC_H

#include <3pramo/foundation/exporta.h>

Y_INICIO_C

typedef struct YDIC YDIC;

/* Option 1 of YDIC_muda_opcoes: keys that differ only in ASCII letter case are the same key. */
#define YDIC_SEM_CAIXA 1

/* A new empty dictionary.
 * Raises: YExc "Memória insuficiente." */
Y_EXPORTA YDIC *YDIC_constroi(void);

/* Frees the dictionary and its copies; null is ignored. */
Y_EXPORTA void YDIC_destroi(YDIC *dic);

/* Changes the options (YDIC_SEM_CAIXA or 0). Set them while the dictionary is empty: keys already
 * stored that the new option makes equal stay apart. */
Y_EXPORTA void YDIC_muda_opcoes(YDIC *dic, int opcoes);

/* Stores copies of key and value. The value may be one of this dictionary's own texts.
 * Gives: 1 when the key is new; 0 when its value was replaced (the key then keeps its place and its
 * letters), or when key or value is null and nothing was stored. */
Y_EXPORTA int YDIC_guarda(YDIC *dic, const char *chave, const char *valor);

/* The value; null when the key is null or not there.
 * Lives: until that key is stored again or removed; it is the dictionary's. */
Y_EXPORTA const char *YDIC_recupera(const YDIC *dic, const char *chave);

/* Removes the key, if it is there. */
Y_EXPORTA void YDIC_remove(YDIC *dic, const char *chave);

/* Removes all keys. */
Y_EXPORTA void YDIC_clear(YDIC *dic);

/* Splits the line at the first separator, drops blanks and tabs around key and value and stores
 * them.
 * Gives: 1; 0 for an empty line or one without the separator, and then nothing is stored. */
Y_EXPORTA int YDIC_trata_linha(YDIC *dic, const char *linha, char separador);

/* ---- Iteration: for (i = YDIC_inicio(d); i != YDIC_fim(d); YDIC_IT_anda(&i)) ---- */

/* A place in the dictionary; null behind the last one.
 * Lives: until its own entry is removed; the texts as with YDIC_recupera. */
typedef struct YDIC_Entrada *YDIC_IT;
Y_EXPORTA YDIC_IT YDIC_inicio(const YDIC *dic);
Y_EXPORTA YDIC_IT YDIC_fim(const YDIC *dic);
Y_EXPORTA void YDIC_IT_anda(YDIC_IT *iterador);
Y_EXPORTA const char *YDIC_IT_getChave(YDIC_IT iterador);
Y_EXPORTA const char *YDIC_IT_getValor(YDIC_IT iterador);

Y_FIM_C

#endif
