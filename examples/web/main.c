/* A web server with a handler of its own in front of the static files, until SIGINT or SIGTERM: /hora gives
 * the time as JSON, / is index.html, and everything else goes on to the files. */
#define _POSIX_C_SOURCE 200809L

#include "programa.h"

#include <stdio.h>
#include <string.h>
#include <time.h>

enum { PRAZO_PARA_ESCUTAR = 10 }; /* seconds */

static void respondeHora(YMensagemHttp *resposta) {
    const time_t agora = time(NULL);
    struct tm utc = {0};
    char texto[32];
    gmtime_r(&agora, &utc);
    strftime(texto, sizeof texto, "%Y-%m-%dT%H:%M:%SZ", &utc);
    YStream_puts(YMensagemHttp_getPrimeiraLinha(resposta), "200 OK"); /* "HTTP/1.1 " stands there */
    YDIC_guarda(YMensagemHttp_getHeader(resposta), "Content-Type", "application/json");
    YDIC_guarda(YMensagemHttp_getHeader(resposta), "Cache-Control", "no-store");
    YMensagemHttp_printf(resposta, "{\"hora\": \"%s\"}\n", texto);
}

/* Called for every request, on the thread of its connection, several at once. The context is the handler that
 * was there before, that of the static files. */
static void trata(void *contexto, char *uri, YMensagemHttp *requisicao, YMensagemHttp *resposta) {
    const YTratadorHttp *arquivos = contexto;
    char inicio[] = "/index.html";
    if (strcmp(uri, "/hora") == 0) {
        respondeHora(resposta);
        return;
    }
    arquivos->funcao(arquivos->contexto, strcmp(uri, "/") == 0 ? inicio : uri, requisicao, resposta);
}

typedef struct Execucao {
    Opcoes opcoes;
    YTratadorHttp arquivos;
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
    /* Before the start, so that no request comes while `arquivos` is still to be written. */
    execucao->arquivos = YWebServer_setTratador(execucao->servidor, &execucao->arquivos, trata);
    YObThread_start(&execucao->servidor->pai_);
    if (!YWebServer_esperaPronto(execucao->servidor, time(NULL) + PRAZO_PARA_ESCUTAR)) {
        YContextoTry_throw(YExc_rtti, "A porta foi recusada.", "main", __LINE__);
    }
    printf("pronto: http://127.0.0.1:%u/\n", YWebServer_getPorta(execucao->servidor));
    fflush(stdout);
    esperaSinal();
    execucao->serviu = 1;
}

int main(int argc, char **argv) {
    Execucao execucao = {{"127.0.0.1", 8080, PASTA_DOS_EXEMPLOS "/web/www", 0, 0}, {NULL, NULL}, NULL, 0};
    YContextoTry contexto = {0};
    leOpcoes(argc, argv, SERVICO_HTTP, "Serve uma pasta, e a hora em /hora.", &execucao.opcoes);
    bloqueiaSinais(); /* before the server's threads start */
    YContextoTry_inicia(&contexto);
    YContextoTry_executa(&contexto, serve, &execucao);
    if (YContextoTry_catch(&contexto, YExc_rtti)) {
        YExc_descreve_no_log();
    }
    YliberaObjeto(execucao.servidor); /* the handler runs no more: its context may go */
    YContextoTry_finaliza(&contexto);
    return execucao.serviu ? 0 : 1;
}
