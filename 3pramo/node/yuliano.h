/* Day numbers: a count of days in which day 1 is 1 January 1980.
 *
 * Every fourth year is a leap year, centuries too; the scale agrees with the Gregorian calendar
 * until 28 February 2100. It is the scale of DATAC_yuliano. Any thread may call these functions. */
#ifndef Y3PRAMO_NODE_YULIANO_H
#define Y3PRAMO_NODE_YULIANO_H

#include <3pramo/foundation/exporta.h>
#include <stdint.h>
#include <time.h>

Y_INICIO_C

/* Overwrites the whole record with the day's year, month and day of the month; other fields are 0.
 * Day 0 is day 0 of January 1980. All 32 bits of the day count. */
Y_EXPORTA void yuliano_to_tm(uint32_t dia, struct tm *registro);

/* The day number of the record's year, month and day of the month; nothing else of it is read.
 * The day is only added: 32 January is 1 February.
 * Gives: 0 for a date before 1980, a month outside 0 to 11, or a date that 32 bits cannot
 *   number. */
Y_EXPORTA uint32_t tm_to_yuliano(const struct tm *registro);

Y_FIM_C

#endif
