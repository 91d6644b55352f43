/* Writes the version through a stream, and lets an exception pass through a function with a clean-up of its
 * own, which runs because what the package says has the compiler take exceptions into account. */
#include <3pramo/3pramo.h>
#include <stdio.h>
#include <string.h>

static int limpou = 0;

static void limpa(const int *quanto) {
    limpou += *quanto;
}

static void levanta(void *argumento) {
    __attribute__((cleanup(limpa))) const int um = 1;
    YStream_printf(argumento, "%d.%d.%d", Y3PRAMO_VERSAO_MAIOR, Y3PRAMO_VERSAO_MENOR,
                   Y3PRAMO_VERSAO_CORRECAO);
    YContextoTry_atributo("campo", "valor");
    YContextoTry_throw(YExcIOError_rtti, "teste", "consumidor", __LINE__);
}

int main(void) {
    YContextoTry contexto = {0};
    YStream *stream = NULL;
    int certo;

    YalocaObjeto(&stream, YStream_rtti);
    YContextoTry_inicia(&contexto);
    certo = !YContextoTry_executa(&contexto, levanta, stream) && YContextoTry_catch(&contexto, YExc_rtti);
    certo = certo && strcmp(YContextoTry_getAtributo(&contexto, "campo"), "valor") == 0;
    YContextoTry_finaliza(&contexto);
    certo = certo && limpou == 1 && strcmp(Y3PRAMO_VERSAO, Y3PRAMO_versao()) == 0;
    puts(YStream_str(stream));
    YliberaObjeto(stream);
    return certo ? 0 : 1;
}
