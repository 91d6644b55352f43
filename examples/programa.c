#define _POSIX_C_SOURCE 200809L

#include "programa.h"

#include <argp.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>

/* Above every character, so that no option has a short form. */
enum { ENDERECO = 256, PORTA, BASE, FECHA_LOGO, LOG_CORPO };

static const struct argp_option OPCOES[SERVICO_SOAP] = {
    {"endereco", ENDERECO, "A", 0, "escuta em A, 127.0.0.1 se falta; vazio: em todos", 0},
    {"porta", PORTA, "N", 0, "escuta na porta N, 8080 se falta; 0: em uma livre", 0},
    {"base", BASE, "DIR", 0, "serve os arquivos da pasta DIR", 0},
    {"fecha-logo", FECHA_LOGO, NULL, 0, "encerra logo as conexões que o cliente quer encerradas", 0},
    {"log-corpo", LOG_CORPO, NULL, 0, "registra os corpos das mensagens", 0}};

static int32_t porta(const char *texto, struct argp_state *estado) {
    char *fim = NULL;
    const long numero = strtol(texto, &fim, 10);
    if (fim == texto || *fim != 0 || numero < 0 || numero > 65535) {
        argp_error(estado, "a porta vai de 0 a 65535, sem '%s'", texto); /* does not return */
    }
    return (int32_t)numero;
}

static error_t leOpcao(int chave, char *valor, struct argp_state *estado) {
    Opcoes *opcoes = estado->input;
    switch (chave) {
    case ENDERECO:
        opcoes->endereco = *valor != 0 ? valor : NULL;
        return 0;
    case PORTA:
        opcoes->porta = porta(valor, estado);
        return 0;
    case BASE:
        opcoes->base = valor;
        return 0;
    case FECHA_LOGO:
        opcoes->fechaLogo = 1;
        return 0;
    case LOG_CORPO:
        opcoes->logCorpo = 1;
        return 0;
    default:
        return ARGP_ERR_UNKNOWN;
    }
}

void leOpcoes(int argc, char **argv, Servico servico, const char *oque, Opcoes *opcoes) {
    struct argp_option dele[SERVICO_SOAP + 1] = {0}; /* the one behind the last ends them */
    const struct argp argp = {dele, leOpcao, NULL, oque, NULL, NULL, NULL};
    memcpy(dele, OPCOES, servico * sizeof *dele);
    argp_err_exit_status = 2;
    argp_parse(&argp, argc, argv, 0, NULL, opcoes);
}

static sigset_t sinaisDoFim(void) {
    sigset_t sinais;
    sigemptyset(&sinais);
    sigaddset(&sinais, SIGINT);
    sigaddset(&sinais, SIGTERM);
    return sinais;
}

void bloqueiaSinais(void) {
    const sigset_t sinais = sinaisDoFim();
    pthread_sigmask(SIG_BLOCK, &sinais, NULL);
}

void esperaSinal(void) {
    const sigset_t sinais = sinaisDoFim();
    int sinal;
    sigwait(&sinais, &sinal);
}
