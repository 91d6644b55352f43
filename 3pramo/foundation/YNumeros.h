/* Integers of 1 to 18 bytes as text.
 *
 * A number is stored as two's complement, least significant byte first, anywhere in memory: nothing
 * needs to be aligned. The range is signed: one byte holds -128 to 127.
 *
 * Its text is a `-` when it is negative, at least four digits (zeros in front), and one blank: 5 is
 * "0005 ", -12 is "-0012 ". What is written always reads back as the same number.
 *
 * Reading takes white space in front, a sign, digits, decimal points anywhere among them, which are
 * ignored ("12.50" is 1250), and white space behind. Null, and a text of nothing but white space,
 * is 0.
 * Raises: YExc "Caractere inválido em número.", "Número sem algarismos." or "Número não cabe no
 * campo." from reading, never with the text itself; nothing is stored then.
 * Threads: all functions may be called from any thread. */
#ifndef Y3PRAMO_FOUNDATION_YNUMEROS_H
#define Y3PRAMO_FOUNDATION_YNUMEROS_H

#include <3pramo/foundation/exporta.h>
#include <stdint.h>

Y_INICIO_C

/* Bytes that hold the text of any of these numbers, with the terminating zero. */
#define Y_TAMANHO_NUMERO 47

/* Text to the integer of 1 to 8 bytes at `destino`. */
Y_EXPORTA void _ato1(void *destino, const char *texto);
Y_EXPORTA void _ato2(void *destino, const char *texto);
Y_EXPORTA void _ato3(void *destino, const char *texto);
Y_EXPORTA void _ato4(void *destino, const char *texto);
Y_EXPORTA void _ato5(void *destino, const char *texto);
Y_EXPORTA void _ato6(void *destino, const char *texto);
Y_EXPORTA void _ato7(void *destino, const char *texto);
Y_EXPORTA void _ato8(void *destino, const char *texto);

/* The integer of 1 to 8 bytes at `origem` as text. The third argument is not used; give 0. The
 * texts take, with the terminating zero, up to 7, 8, 10, 13, 15, 18, 20 and 22 bytes. */
Y_EXPORTA void _1toafixo(char *texto, const void *origem, int32_t reservado);
Y_EXPORTA void _2toafixo(char *texto, const void *origem, int32_t reservado);
Y_EXPORTA void _3toafixo(char *texto, const void *origem, int32_t reservado);
Y_EXPORTA void _4toafixo(char *texto, const void *origem, int32_t reservado);
Y_EXPORTA void _5toafixo(char *texto, const void *origem, int32_t reservado);
Y_EXPORTA void _6toafixo(char *texto, const void *origem, int32_t reservado);
Y_EXPORTA void _7toafixo(char *texto, const void *origem, int32_t reservado);
Y_EXPORTA void _8toafixo(char *texto, const void *origem, int32_t reservado);

/* Text to the quantity of 9 to 18 bytes at `destino`. */
Y_EXPORTA void BINQ9_atob(void *destino, const char *texto);
Y_EXPORTA void BINQ10_atob(void *destino, const char *texto);
Y_EXPORTA void BINQ11_atob(void *destino, const char *texto);
Y_EXPORTA void BINQ12_atob(void *destino, const char *texto);
Y_EXPORTA void BINQ13_atob(void *destino, const char *texto);
Y_EXPORTA void BINQ14_atob(void *destino, const char *texto);
Y_EXPORTA void BINQ15_atob(void *destino, const char *texto);
Y_EXPORTA void BINQ16_atob(void *destino, const char *texto);
Y_EXPORTA void BINQ17_atob(void *destino, const char *texto);
Y_EXPORTA void BINQ18_atob(void *destino, const char *texto);

/* The quantity of 9 to 18 bytes at `origem` as text of up to Y_TAMANHO_NUMERO bytes. */
Y_EXPORTA void BINQ9_btoa(char *texto, const void *origem);
Y_EXPORTA void BINQ10_btoa(char *texto, const void *origem);
Y_EXPORTA void BINQ11_btoa(char *texto, const void *origem);
Y_EXPORTA void BINQ12_btoa(char *texto, const void *origem);
Y_EXPORTA void BINQ13_btoa(char *texto, const void *origem);
Y_EXPORTA void BINQ14_btoa(char *texto, const void *origem);
Y_EXPORTA void BINQ15_btoa(char *texto, const void *origem);
Y_EXPORTA void BINQ16_btoa(char *texto, const void *origem);
Y_EXPORTA void BINQ17_btoa(char *texto, const void *origem);
Y_EXPORTA void BINQ18_btoa(char *texto, const void *origem);

Y_FIM_C

#endif
