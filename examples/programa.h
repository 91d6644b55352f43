/* What the examples need beside the library: their command line, and the wait for the signal that ends them.
 */
#pragma once

#include <3pramo/3pramo.h>

Y_INICIO_C

typedef struct Opcoes {
    const char *endereco; /* numeric; null: all addresses */
    int32_t porta;        /* 0: a free one */
    const char *base;     /* folder of the files that are served; null: none are */
    int fechaLogo;        /* as YWebServer_setFechaLogo */
    int logCorpo;         /* the bodies of requests and responses are logged */
} Opcoes;

/* What a program serves; each has the options of those before it, in the order of Opcoes. */
typedef enum Servico { SERVICO_TCP = 2, SERVICO_HTTP = 4, SERVICO_SOAP = 5 } Servico;

/* Puts what the command line says over what stands in `opcoes`. `oque` says in the text of --help what the
 * program does. Ends the program after that text and, with status 2, when the command line is wrong. */
void leOpcoes(int argc, char **argv, Servico servico, const char *oque, Opcoes *opcoes);

/* Blocks SIGINT and SIGTERM in this thread and so in those that it starts: esperaSinal alone receives them.
 */
void bloqueiaSinais(void);
void esperaSinal(void);

Y_FIM_C
