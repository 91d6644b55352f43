/* Strict readings of a text: what is missing, malformed and out of range is told apart.
 *
 * Exactly the forms of XML Schema are read, white space (blank, tab, CR, LF) around them allowed,
 * and nothing else: no digits with something behind them, no empty number, no part of a date. The
 * lenient readings (atoy64, the getters of YNo.h) take what they can.
 *
 * A text is `tamanho` bytes; null is missing. `valor` is written for Y_LEITURA_OK and no other
 * result. Nothing raises, and no locale matters.
 * Threads: all functions may be called from any thread. */
#ifndef Y3PRAMO_FOUNDATION_YLEITURA_H
#define Y3PRAMO_FOUNDATION_YLEITURA_H

#include <3pramo/foundation/exporta.h>
#include <stdint.h>
#include <time.h>

Y_INICIO_C

/* How a reading ended. */
typedef enum YSituacao {
    Y_LEITURA_OK = 0,
    Y_LEITURA_AUSENTE = 1,      /* there is no text */
    Y_LEITURA_MAL_FORMADA = 2,  /* the text has not the form */
    Y_LEITURA_FORA_DA_FAIXA = 3 /* it has, but the type cannot hold its value */
} YSituacao;

/* A sign or none, and decimal digits. */
Y_EXPORTA YSituacao YLeitura_int64(const char *texto, uint64_t tamanho, int64_t *valor);
Y_EXPORTA YSituacao YLeitura_uint64(const char *texto, uint64_t tamanho, uint64_t *valor);

/* A decimal number with or without point and exponent; "INF", "-INF", "NaN".
 * Gives: Y_LEITURA_FORA_DA_FAIXA for a number too large, or too near to 0. */
Y_EXPORTA YSituacao YLeitura_double(const char *texto, uint64_t tamanho, double *valor);

/* "true", "1", "false", "0", in this letter case; 1 or 0. */
Y_EXPORTA YSituacao YLeitura_boolean(const char *texto, uint64_t tamanho, int *valor);

/* A date, "2024-03-05". A time zone behind it ("Z", "-03:00") is read and dropped: the day is the
 * one that is written. Year, month and day of the month are set in the record, everything else in
 * it is 0: tm_to_yuliano (yuliano.h) makes it a day number.
 * Gives: Y_LEITURA_FORA_DA_FAIXA for a day that is not in the Gregorian calendar, and for a year
 *   outside 1 to 9999. */
Y_EXPORTA YSituacao YLeitura_data(const char *texto, uint64_t tamanho, struct tm *valor);

Y_FIM_C

#endif
