/* The log: one line a record, written when its mask is enabled.
 *
 * Only errors are enabled until an application enables more.
 *
 * Logging never holds up its caller for others: a record waits in a queue, and is delivered by the
 * thread that wrote it unless another one is delivering, which then takes it along (128 records at
 * most, before it goes on with its own work). So a sink that is slow, or does not return, holds one
 * thread.
 *
 * The queue is of 1,024 records and 1 MiB at most. What does not fit is left out, and before the
 * next record a line of the mask Y_LOG_ERRO tells how many: "Registros deixados de fora: 7.".
 * Without memory a record is cut to 1,023 bytes.
 *
 * In the child of a fork the log works on; the records that were waiting are the parent's.
 * Threads: all functions may be called from any thread at any time. */
#ifndef Y3PRAMO_FOUNDATION_YOBLOG_H
#define Y3PRAMO_FOUNDATION_YOBLOG_H

#include <3pramo/foundation/exporta.h>

Y_INICIO_C

#define Y_LOG_ERRO 1 /* failures that nobody else is told of; enabled from the start */
#define Y_LOG_WEB 64 /* traces of the web server and of the TCP server */
#define Y_LOG_CORPO                                                                                          \
    128 /* body of every SOAP request and response, before parsing; runs of digits that may be               \
           card data, and identities, are masked; of a body with a form only the tags remain */

/* Writes the formatted text as one record when any bit of the mask is enabled.
 * Control characters and backslashes in the text are escaped (\n, \r, \t, \xHH), so that a record
 * is one line whatever it holds. */
Y_EXPORTA void YObLOG_masc_print(int mascara, const char *formato, ...) Y_FORMATO(2, 3);

/* Replaces the enabled bits. Y_LOG_ERRO stays enabled only if it is among them.
 * Gives: the bits enabled before. */
Y_EXPORTA int YObLOG_habilita(int mascaras);

/* The bits that are enabled: ask before building a costly text. */
Y_EXPORTA int YObLOG_habilitadas(void);

/* A sink: called with its context, the record's mask and the escaped text (zero-terminated, no line
 * end), one record at a time, in the order in which they were written. The text is ISO-8859-1,
 * printable characters alone; into another encoding the sink converts it.
 * It may log itself: such a record goes to standard error, cut to 1,023 bytes.
 * Raises: may raise an exception of any kind; its record then goes to standard error, too. A sink
 * that ends its thread (pthread_exit) ends just that, unless it was called by a destructor that
 * runs for another exception: that ends the process, as C++ has it. Records from where that cannot
 * be (the freeing of owned objects whose destructors fail) reach the sink with the next record, or
 * when a connection ends.
 * Lives: the text is valid during the call. */
typedef void (*YFuncaoLog)(void *contexto, int mascara, const char *texto);

/* Sets where records go. A sink gets them in ISO-8859-1 with control characters escaped, as above.
 * Null brings back the default: a line "DATE TIME MASK TEXT" in UTC on standard error, in UTF-8.
 * That waits for no reader: what standard error (a pipe, say) does not take at once is left out and
 * counted as above, and a reader that went away is no signal to the process.
 * Lives: when it returns, the sink that was set before is no longer running and will not be called
 * again (except when called from inside that sink). */
Y_EXPORTA void YObLOG_setSaida(YFuncaoLog funcao, void *contexto);

Y_FIM_C

#endif
