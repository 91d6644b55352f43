/* Serves the files of a folder, with every step of the server in a log of its own form: to standard error,
 * with the local time to the millisecond, until SIGINT or SIGTERM. */
#define _POSIX_C_SOURCE 200809L

#include "programa.h"

#include <stdio.h>
#include <time.h>

enum { PRAZO_PARA_ESCUTAR = 10 }; /* seconds */

/* The text is ISO-8859-1, in which a character is its own number; a file of today is UTF-8. */
static void escreveEmUtf8(FILE *arquivo, const char *texto) {
    for (; *texto != 0; texto++) {
        const unsigned char c = (unsigned char)*texto;
        if (c < 0x80) {
            putc(c, arquivo);
        } else {
            putc(0xC0 | c >> 6, arquivo);
            putc(0x80 | (c & 0x3F), arquivo);
        }
    }
}

/* The sink: called with one record at a time, on whichever thread brings it. It may take its time: the others
 * go on meanwhile, and their records wait. */
static void registra(void *contexto, int mascara, const char *texto) {
    FILE *arquivo = contexto;
    struct timespec agora = {0};
    struct tm local = {0};
    char quando[32];
    clock_gettime(CLOCK_REALTIME, &agora);
    localtime_r(&agora.tv_sec, &local);
    strftime(quando, sizeof quando, "%Y-%m-%d %H:%M:%S", &local);
    fprintf(arquivo, "%s.%03ld %s ", quando, agora.tv_nsec / 1000000, mascara == Y_LOG_ERRO ? "ERRO" : "web");
    escreveEmUtf8(arquivo, texto);
    putc('\n', arquivo);
    fflush(arquivo); /* a record is there when something goes wrong after it */
}

typedef struct Execucao {
    Opcoes opcoes;
    YWebServer *servidor;
    int serviu;
} Execucao;

/* Runs in a protected region: functions of the library may raise. */
static void serve(void *argumento) {
    Execucao *execucao = argumento;
    YalocaObjeto(&execucao->servidor, YWebServer_rtti);
    YWebServer_setEndereco(execucao->servidor, execucao->opcoes.endereco);
    YWebServer_setPorta(execucao->servidor, (uint32_t)execucao->opcoes.porta);
    YWebServer_setDiretorioBase(execucao->servidor, execucao->opcoes.base);
    YWebServer_setFechaLogo(execucao->servidor, execucao->opcoes.fechaLogo);
    YObThread_start(&execucao->servidor->pai_);
    if (!YWebServer_esperaPronto(execucao->servidor, time(NULL) + PRAZO_PARA_ESCUTAR)) {
        YContextoTry_throw(YExc_rtti, "A porta foi recusada.", "main", __LINE__);
    }
    printf("pronto: http://127.0.0.1:%u/index.html\n", YWebServer_getPorta(execucao->servidor));
    fflush(stdout);
    esperaSinal();
    execucao->serviu = 1;
}

int main(int argc, char **argv) {
    Execucao execucao = {{"127.0.0.1", 8080, PASTA_DOS_EXEMPLOS "/web/www", 0, 0}, NULL, 0};
    YContextoTry contexto = {0};
    leOpcoes(argc, argv, SERVICO_HTTP, "Serve uma pasta e registra tudo o que faz.", &execucao.opcoes);
    bloqueiaSinais();                  /* before the server's threads start */
    YObLOG_setSaida(registra, stderr); /* any FILE that is open for writing would do */
    YObLOG_habilita(Y_LOG_ERRO | Y_LOG_WEB);
    YContextoTry_inicia(&contexto);
    YContextoTry_executa(&contexto, serve, &execucao);
    if (YContextoTry_catch(&contexto, YExc_rtti)) {
        YExc_descreve_no_log();
    }
    YliberaObjeto(execucao.servidor);
    YContextoTry_finaliza(&contexto);
    YObLOG_setSaida(NULL, NULL); /* nobody uses the file from here on: one of our own would be closed now */
    return execucao.serviu ? 0 : 1;
}
