/* Publishes the port type Calc, and a page that calls soma, until SIGINT or SIGTERM. */
#include "calc.h"
#include "programa.h"

#include <stdio.h>
#include <time.h>

enum { PRAZO_PARA_ESCUTAR = 10 }; /* seconds */

/* What one run of the server uses; main frees what stands here, whatever `serve` raises. */
typedef struct Execucao {
    Opcoes opcoes;
    YStream *wsdl; /* the server keeps the text by reference */
    YSoapServer *servidor;
    int serviu;
} Execucao;

static void leArquivo(const char *caminho, YStream *destino);

/* Runs in a protected region: functions of the library may raise. */
static void serve(void *argumento) {
    Execucao *execucao = argumento;
    const Opcoes *opcoes = &execucao->opcoes;
    YDefinicaoPortType calc;
    YalocaObjeto(&execucao->wsdl, YStream_rtti);
    leArquivo(PASTA_DOS_EXEMPLOS "/calc/Calc.wsdl", execucao->wsdl);
    calc = definicaoDoCalc(YStream_str(execucao->wsdl));

    YalocaObjeto(&execucao->servidor, YSoapServer_rtti);
    YSoapServer_setEndereco(execucao->servidor, opcoes->endereco);
    YSoapServer_setPorta(execucao->servidor, opcoes->porta);
    YSoapServer_setDiretorioBase(execucao->servidor, opcoes->base);
    YSoapServer_setFechaLogo(execucao->servidor, opcoes->fechaLogo);
    YSoapServer_registraPortType(execucao->servidor, &calc);
    YObThread_start(&execucao->servidor->pai_);
    if (!YSoapServer_esperaPronto(execucao->servidor, time(NULL) + PRAZO_PARA_ESCUTAR)) {
        YContextoTry_throw(YExc_rtti, "A porta foi recusada.", "main", __LINE__);
    }
    printf("pronto: http://127.0.0.1:%d/index.html\n", YSoapServer_getPorta(execucao->servidor));
    fflush(stdout);
    esperaSinal();
    execucao->serviu = 1;
}

int main(int argc, char **argv) {
    Execucao execucao = {{"127.0.0.1", 8080, PASTA_DOS_EXEMPLOS "/calc/www", 0, 0}, NULL, NULL, 0};
    YContextoTry contexto = {0};
    leOpcoes(argc, argv, SERVICO_SOAP, "Publica o port type Calc.", &execucao.opcoes);
    bloqueiaSinais(); /* before the server's threads start */
    if (execucao.opcoes.logCorpo) {
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
