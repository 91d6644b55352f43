/* The port type Calc in C: operations, a service class with state, and a handler that cleans up after a
 * failure. */
#include "calc.h"

#include <stdatomic.h>

/* One service object: made by "constroi" and named by "eu" in later calls, or made for a single call. */
Y_CLASSE(Calc, YWebService) {
    Y_PAI(YWebService)
    _Atomic int64_t ultimaSoma; /* two connections may call the same object at once */
};

static const YRtti definicao = {YWebService_rtti, "Calc", sizeof(Calc), NULL, NULL};

static const YRtti *Calc_rtti(void) {
    return &definicao;
}

/* ---- Methods: they read children of the request, and append children to the answer. Texts are ISO-8859-1.
 * ---- */

static void soma(YWebService *servico, YNo *requisicao, YNo *resposta) {
    const int64_t resultado = (int64_t)YNo_getInt(requisicao, "a") + YNo_getInt(requisicao, "b");
    if (resultado < INT32_MIN || resultado > INT32_MAX) {
        YContextoTry_throw(YExcSoap_rtti, "A soma n\343o cabe em um int.", "calc", __LINE__);
    }
    ((Calc *)servico)->ultimaSoma = resultado;
    YNo_setInt(resposta, "return", (int32_t)resultado);
}

static void valor(YWebService *servico, YNo *requisicao, YNo *resposta) {
    (void)requisicao;
    YNo_setInt64(resposta, "return", ((Calc *)servico)->ultimaSoma);
}

static void divide(YWebService *servico, YNo *requisicao, YNo *resposta) {
    const double divisor = YNo_getDouble(requisicao, "b");
    (void)servico;
    if (divisor == 0) {
        YContextoTry_throw(YExcSoap_rtti, "Divis\343o por zero.", "calc", __LINE__);
    }
    YNo_setDouble(resposta, "return", YNo_getDouble(requisicao, "a") / divisor);
}

static void eco(YWebService *servico, YNo *requisicao, YNo *resposta) {
    (void)servico;
    YNo_setString(resposta, "return", YNo_getString(requisicao, "texto"));
}

static void lema(YWebService *servico, YNo *requisicao, YNo *resposta) {
    (void)servico;
    (void)requisicao;
    YNo_setString(resposta, "return", "O cora\347\343o tem raz\365es que a pr\363pria raz\343o desconhece");
}

static void falha(YWebService *servico, YNo *requisicao, YNo *resposta) {
    (void)servico;
    (void)requisicao;
    (void)resposta;
    YContextoTry_throw(YExcSoap_rtti, "Esta opera\347\343o sempre falha.", "calc", __LINE__);
}

/* An encoded map arrives as plain elements, one for each key; a map inside it, as elements below its key. */

typedef struct Cadastro {
    const YNo *requisicao;
    YNo *resposta;
    YStream *resumo;
} Cadastro;

static void resume(void *argumento) {
    static const char *const CAMPOS[] = {"nome", "cidade", "uf", "endereco/rua", "endereco/num"};
    const Cadastro *cadastro = argumento;
    const YNo *dados = YNo_getFilhoUnico(cadastro->requisicao, "dados"); /* raises when it is missing */
    for (size_t i = 0; i < sizeof CAMPOS / sizeof *CAMPOS; i++) {
        const char *texto =
            YNo_getValor(YNo_procuraDescendente(dados, CAMPOS[i])); /* null when it is missing */
        if (texto != NULL) {
            const char *separador = YStream_tam(cadastro->resumo) > 0 ? "; " : "";
            YStream_printf(cadastro->resumo, "%s%s=%s", separador, CAMPOS[i], texto);
        }
    }
    if (YStream_tam(cadastro->resumo) == 0) {
        YContextoTry_throw(YExcSoap_rtti, "Nenhum dado conhecido.", "calc", __LINE__);
    }
    YNo_setString(cadastro->resposta, "return", YStream_str(cadastro->resumo));
}

/* The stream is this handler's own: the region frees it whether or not the body fails, and then passes on its
 * failure. */
static void cadastra(YWebService *servico, YNo *requisicao, YNo *resposta) {
    Cadastro cadastro = {requisicao, resposta, NULL};
    YContextoTry contexto = {0};
    (void)servico;
    YalocaObjeto(&cadastro.resumo, YStream_rtti);
    YContextoTry_inicia(&contexto);
    YContextoTry_executa(&contexto, resume, &cadastro);
    YliberaObjeto(cadastro.resumo);
    YContextoTry_finaliza(&contexto);
}

static const YDefinicaoMetodo METODOS[] = {{"soma", soma},   {"valor", valor}, {"divide", divide},
                                           {"eco", eco},     {"lema", lema},   {"cadastra", cadastra},
                                           {"falha", falha}, {NULL, NULL}};

YDefinicaoPortType definicaoDoCalc(const char *wsdl) {
    return (YDefinicaoPortType){"Calc", METODOS, Calc_rtti, wsdl, NULL};
}
