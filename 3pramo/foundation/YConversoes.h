/* Integers of 64 bits as text, and moments as broken-down times.
 *
 * None depends on the process's locale.
 * Threads: all functions may be called from any thread. */
#ifndef Y3PRAMO_FOUNDATION_YCONVERSOES_H
#define Y3PRAMO_FOUNDATION_YCONVERSOES_H

#include <3pramo/foundation/exporta.h>
#include <stdint.h>
#include <time.h>

Y_INICIO_C

/* Bytes that hold what y64toa writes, with the terminating zero. */
#define Y_TAMANHO_Y64 21

/* Reads leading white space, an optional sign and decimal digits up to the first other character.
 * Gives: 0 without digits and for null; for a number out of range the nearest one in it. */
Y_EXPORTA int64_t atoy64(const char *texto);

/* Writes the decimal text of the value, zero-terminated: up to Y_TAMANHO_Y64 bytes. */
Y_EXPORTA void y64toa(int64_t valor, char *texto);

/* Fill the broken-down time of the moment (seconds since the epoch), in UTC and in the process's
 * time zone, as gmtime_r and localtime_r do. A change of the environment variable TZ counts after
 * tzset.
 * Raises: YExc "Momento fora do calendário." when the year does not fit the record; nothing is
 * filled. */
Y_EXPORTA void BIOSRTC_gmtime(const time_t *momento, struct tm *partes);
Y_EXPORTA void BIOSRTC_localtime(const time_t *momento, struct tm *partes);

Y_FIM_C

#endif
