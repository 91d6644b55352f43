/* Memory blocks, text copies, and the report of what is still alive.
 *
 * Owns: a block belongs to its caller until YliberaMemoria.
 * Threads: all functions may be called from any thread. */
#ifndef Y3PRAMO_FOUNDATION_YMEMORIA_H
#define Y3PRAMO_FOUNDATION_YMEMORIA_H

#include <3pramo/foundation/exporta.h>
#include <stddef.h>
#include <stdint.h>

Y_INICIO_C

/* ---- Blocks ---- */

/* A new block of `tamanho` bytes, contents undefined, aligned for any type.
 * Gives: never null; for a size of 0 a block that may only be freed.
 * Raises: YExc "Memória insuficiente." */
Y_EXPORTA void *YalocaMemoria(uint64_t tamanho);
Y_EXPORTA void *YalocaMemoria_debug(uint64_t tamanho, const char *arquivo, int linha);

/* Resizes a block, keeping its contents up to the smaller size; null makes a new one.
 * Gives: the block's address from now on; what stood at the old one is overwritten.
 * Raises: YExc "Memória insuficiente.", and the block stays as it was. */
Y_EXPORTA void *YrealocaMemoria_debug(void *bloco, uint64_t tamanho, const char *arquivo, int linha);

/* Frees a block of the functions of this header. Null is ignored.
 * It is overwritten with zeros first: it may have held a card number, a password or a PIN. */
Y_EXPORTA void YliberaMemoria(void *bloco);
Y_EXPORTA void YliberaMemoria_debug(void *bloco, const char *arquivo, int linha);

/* A new block with a copy of the text; null for null.
 * Raises: YExc "Memória insuficiente." */
Y_EXPORTA char *YduplicaString(const char *texto);

/* A new block with the first `tamanho` bytes of the text, which must have as many, and a zero; null
 * for null.
 * Raises: YExc "Memória insuficiente." */
Y_EXPORTA char *YduplicaStringTam(const char *texto, uint64_t tamanho);

/* ---- Report of live blocks and objects ----
 *
 * Off by default, and then it costs one relaxed read for each allocation. While on, every block and
 * object made is entered with file and line (those of the `_debug` variants; "?" otherwise) under a
 * lock. Blocks made before it was turned on are not in it; turning it off forgets everything. */

/* Turns the report on (nonzero) or off (0). */
Y_EXPORTA void YMemoria_habilitaRelatorio(int ligado);

/* How many blocks and objects entered since the report was turned on are still alive. */
Y_EXPORTA uint64_t YMemoria_vivos(void);

/* Called with the class name of an object, null for a block; size in bytes, file, line. It must not
 * allocate or free through this library. */
typedef void (*YFuncaoRelatorio)(void *contexto, const char *classe, uint64_t tamanho, const char *arquivo,
                                 int linha);

/* Calls `funcao` with `contexto` once for each live block and object, in the order they were
 * made. */
Y_EXPORTA void YMemoria_relatorio(YFuncaoRelatorio funcao, void *contexto);

Y_FIM_C

#endif
