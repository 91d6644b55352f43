/* Integers of 64 bits as text, and moments as broken-down times.
 *
 * All functions may be called from any thread; none depends on the process's locale. */
#ifndef Y3PRAMO_FOUNDATION_YCONVERSOES_H
#define Y3PRAMO_FOUNDATION_YCONVERSOES_H

#include <3pramo/foundation/exporta.h>
#include <stdint.h>
#include <time.h>

Y_INICIO_C

/* Bytes that hold what y64toa writes, with the terminating zero. */
#define Y_TAMANHO_Y64 21

/* Reads leading white space, an optional sign and decimal digits up to the first other character. No digits,
 * and null, give 0; a number out of range gives the nearest one in it. */
Y_EXPORTA int64_t atoy64(const char *texto);

/* Writes the decimal text of the value, zero-terminated: up to Y_TAMANHO_Y64 bytes. */
Y_EXPORTA void y64toa(int64_t valor, char *texto);

/* Fills the broken-down time of the moment (seconds since the epoch), in UTC and in the process's time zone,
 * as gmtime_r and localtime_r do. Both raise YExc "Momento fora do calendário." and fill nothing when the
 * year does not fit the record. A change of the environment variable TZ counts after tzset. */
Y_EXPORTA void BIOSRTC_gmtime(const time_t *momento, struct tm *partes);
Y_EXPORTA void BIOSRTC_localtime(const time_t *momento, struct tm *partes);

Y_FIM_C

#endif
