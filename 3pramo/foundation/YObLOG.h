/* The log: one line a record, written when its mask is enabled.
 *
 * Only errors are enabled until an application enables more. May be called from any thread at any time. */
#ifndef Y3PRAMO_FOUNDATION_YOBLOG_H
#define Y3PRAMO_FOUNDATION_YOBLOG_H

#include <3pramo/foundation/exporta.h>

Y_INICIO_C

#define Y_LOG_ERRO 1 /* failures that nobody else is told of; enabled from the start */
#define Y_LOG_WEB 64 /* traces of the web server */
#define Y_LOG_CORPO                                                                                          \
    128 /* body of every SOAP request and response, before parsing; runs of digits that may be               \
           card data, and identities, are masked; of a body with a form only the tags remain */

/* Writes the formatted text as one record when any bit of the mask is enabled. Control characters and
 * backslashes in the text are escaped (\n, \r, \t, \xHH), so that a record is one line whatever it holds. */
Y_EXPORTA void YObLOG_masc_print(int mascara, const char *formato, ...) Y_FORMATO(2, 3);

/* Replaces the enabled bits; returns those enabled before. Y_LOG_ERRO stays enabled only if it is among them.
 */
Y_EXPORTA int YObLOG_habilita(int mascaras);

/* The bits that are enabled: ask before building a costly text. */
Y_EXPORTA int YObLOG_habilitadas(void);

/* Where records go: `funcao` is called with the context, the record's mask and the escaped text (zero-
 * terminated, no line end, valid during the call), one record at a time. It may log itself: such a record
 * goes to standard error. Null brings back the default: a line "DATE TIME MASK TEXT" in UTC on standard
 * error, in UTF-8. When it returns, the sink that was set before is no longer running and will not be called
 * again (except when called from inside that sink). */
typedef void (*YFuncaoLog)(void *contexto, int mascara, const char *texto);
Y_EXPORTA void YObLOG_setSaida(YFuncaoLog funcao, void *contexto);

Y_FIM_C

#endif
