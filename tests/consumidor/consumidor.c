/* Writes the version through a stream, and lets an exception pass through a function with a clean-up of its
 * own, which runs because what the package says has the compiler take exceptions into account. */
#include <3pramo/foundation/YContextoTry.h>
#include <3pramo/foundation/YStream.h>
#include <3pramo/versao.h>
#include <stdio.h>
#include <string.h>

static int limpou = 0;

static void limpa(const int *quanto) {
    limpou += *quanto;
}

static void levanta(void *argumento) {
    __attribute__((cleanup(limpa))) const int um = 1;
    YStream_puts(argumento, Y3PRAMO_VERSAO);
    YContextoTry_throw(YExcIOError_rtti, "teste", "consumidor", __LINE__);
}

int main(void) {
    YContextoTry contexto;
    YStream *stream = NULL;
    YStream *esperado = NULL;
    int certo;

    YalocaObjeto(&stream, YStream_rtti);
    YalocaObjeto(&esperado, YStream_rtti);
    YStream_printf(esperado, "%d.%d.%d", Y3PRAMO_VERSAO_MAIOR, Y3PRAMO_VERSAO_MENOR, Y3PRAMO_VERSAO_CORRECAO);

    contexto.estado = 0;
    YContextoTry_inicia(&contexto);
    certo = !YContextoTry_executa(&contexto, levanta, stream) && YContextoTry_catch(&contexto, YExc_rtti);
    YContextoTry_finaliza(&contexto);

    certo = certo && limpou == 1 && strcmp(YStream_str(stream), YStream_str(esperado)) == 0 &&
            strcmp(YStream_str(stream), Y3PRAMO_versao()) == 0;
    puts(YStream_str(stream));
    YliberaObjeto(esperado);
    YliberaObjeto(stream);
    return certo ? 0 : 1;
}
