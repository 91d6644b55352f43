/* Publishes the port type Calc, and a page that calls soma.
 *
 *     calc-c [--endereco A] [--porta N] [--base DIR] [--fecha-logo] [--log-corpo]
 *
 * Listens on the loopback unless told otherwise ("": everywhere), prints its address and serves until SIGINT
 * or SIGTERM. */
#define _POSIX_C_SOURCE 200809L

#include "calc.h"

#include <getopt.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

enum { PRAZO_PARA_ESCUTAR = 10 }; /* seconds */

/* What one run of the server uses; the region around it frees what stands here. */
typedef struct Execucao {
    const char *endereco; /* numeric; empty: all addresses */
    int32_t porta;
    const char *base;
    int fechaLogo;
    int logCorpo;
    sigset_t sinais;
    YStream *wsdl; /* the document is kept by reference */
    YSoapServer *servidor;
    int serviu;
} Execucao;

static int lePorta(const char *texto, int32_t *porta) {
    char *fim = NULL;
    const long numero = strtol(texto, &fim, 10);
    *porta = (int32_t)numero;
    return fim != texto && *fim == 0 && numero >= 0 && numero <= 65535;
}

static int leOpcoes(int argc, char **argv, Execucao *execucao) {
    static const struct option LONGAS[] = {
        {"endereco", required_argument, NULL, 'e'}, {"porta", required_argument, NULL, 'p'},
        {"base", required_argument, NULL, 'b'},     {"fecha-logo", no_argument, NULL, 'f'},
        {"log-corpo", no_argument, NULL, 'l'},      {NULL, 0, NULL, 0}};
    for (int letra; (letra = getopt_long(argc, argv, "", LONGAS, NULL)) != -1;) {
        if (letra == 'p' && lePorta(optarg, &execucao->porta)) {
            continue;
        }
        if (letra == 'e') {
            execucao->endereco = optarg;
        } else if (letra == 'b') {
            execucao->base = optarg;
        } else if (letra == 'f') {
            execucao->fechaLogo = 1;
        } else if (letra == 'l') {
            execucao->logCorpo = 1;
        } else {
            return 0;
        }
    }
    return optind == argc;
}

static void leArquivo(const char *caminho, YStream *destino) {
    char bloco[4096];
    size_t quantos;
    FILE *arquivo = fopen(caminho, "rb");
    if (arquivo == NULL) {
        YContextoTry_printf("%s: ", caminho);
        YContextoTry_throw(YExcIOError_rtti, "Falta o arquivo.", "main", __LINE__);
    }
    while ((quantos = fread(bloco, 1, sizeof bloco, arquivo)) > 0) {
        YStream_putBloco(destino, bloco, (int64_t)quantos);
    }
    fclose(arquivo);
}

/* Blocks the signals in this thread and so in those that it starts: sigwait alone receives them. */
static void bloqueiaSinais(sigset_t *sinais) {
    sigemptyset(sinais);
    sigaddset(sinais, SIGINT);
    sigaddset(sinais, SIGTERM);
    pthread_sigmask(SIG_BLOCK, sinais, NULL);
}

static void serve(void *argumento) {
    Execucao *execucao = argumento;
    YDefinicaoPortType calc;
    int sinal;
    YalocaObjeto(&execucao->wsdl, YStream_rtti);
    leArquivo(PASTA_DOS_EXEMPLOS "/calc/Calc.wsdl", execucao->wsdl);
    calc = definicaoDoCalc(YStream_str(execucao->wsdl));

    YalocaObjeto(&execucao->servidor, YSoapServer_rtti);
    YSoapServer_setEndereco(execucao->servidor, *execucao->endereco != 0 ? execucao->endereco : NULL);
    YSoapServer_setPorta(execucao->servidor, execucao->porta);
    YSoapServer_setDiretorioBase(execucao->servidor, execucao->base);
    YSoapServer_setFechaLogo(execucao->servidor, execucao->fechaLogo);
    YSoapServer_registraPortType(execucao->servidor, &calc);
    YObThread_start(&execucao->servidor->pai_);
    if (!YSoapServer_esperaPronto(execucao->servidor, time(NULL) + PRAZO_PARA_ESCUTAR)) {
        YContextoTry_throw(YExc_rtti, "A porta foi recusada.", "main", __LINE__);
    }
    printf("pronto: http://127.0.0.1:%d/index.html\n", YSoapServer_getPorta(execucao->servidor));
    fflush(stdout);
    sigwait(&execucao->sinais, &sinal);
    execucao->serviu = 1;
}

int main(int argc, char **argv) {
    Execucao execucao = {.endereco = "127.0.0.1", .porta = 8080, .base = PASTA_DOS_EXEMPLOS "/calc/www"};
    YContextoTry contexto = {0};
    if (!leOpcoes(argc, argv, &execucao)) {
        fputs("uso: calc-c [--endereco A] [--porta N] [--base DIR] [--fecha-logo] [--log-corpo]   (porta 0: "
              "uma livre)\n",
              stderr);
        return 2;
    }
    bloqueiaSinais(&execucao.sinais);
    if (execucao.logCorpo) {
        YObLOG_habilita(YObLOG_habilitadas() | Y_LOG_CORPO);
    }
    YContextoTry_inicia(&contexto);
    YContextoTry_executa(&contexto, serve, &execucao);
    if (YContextoTry_catch(&contexto, YExc_rtti)) {
        YExc_descreve_no_log();
    }
    YliberaObjeto(execucao.servidor); /* before the texts that it refers to */
    YliberaObjeto(execucao.wsdl);
    YContextoTry_finaliza(&contexto);
    return execucao.serviu ? 0 : 1;
}
