/* Packed dates: two bytes anywhere in memory, not aligned, least significant first.
 *
 * Year - 1980 stands in the 7 highest bits, then the month in 4 bits, the day in 5. Day numbers
 * count from 1 January 1980, which is day 1; every fourth year is a leap year, 2100 included. Day
 * 0, "no date", is packed as sixteen zero bits.
 * Threads: both functions may be called from any thread. */
#ifndef Y3PRAMO_FOUNDATION_DATAC_H
#define Y3PRAMO_FOUNDATION_DATAC_H

#include <3pramo/foundation/exporta.h>
#include <stdint.h>

Y_INICIO_C

/* The day number of the packed date at the address.
 * Raises: YExc "Data compactada inválida." when the two bytes are no date: month 0 or above 12, day
 * 0 or beyond the month. */
Y_EXPORTA int32_t DATAC_yuliano(const void *endereco);

/* Stores the day number as a packed date at the address.
 * Raises: YExc "Data posterior a 2107." for a day after 31 December 2107 (46752), the last that can
 * be packed; nothing is stored then. */
Y_EXPORTA void DATAC_de_yuliano(void *endereco, uint32_t dia);

Y_FIM_C

#endif
