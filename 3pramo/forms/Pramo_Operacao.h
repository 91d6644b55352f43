/* A form that an application conducts with a client over SOAP calls.
 *
 * An application derives its operation's class from Pramo_Operacao and makes variables, bound to
 * its own memory, and buttons. It marks the variables that the client is to see or fill
 * (Pramo_Variavel_marcaUsada); the response carries exactly those. The request brings fields
 * back by name, and loading a field takes its mark off. A method handler is three calls:
 *
 *     Pramo_Operacao_carregaDaRequisicao(operacao, requisicao);   the client's answers into memory
 *     Pramo_Operacao_trataCampos(operacao);                       the application looks at them
 *     Pramo_Operacao_descarregaNaResposta(operacao, resposta);    the next form
 *
 * What fields hold may be secret: no exception quotes it, and of a request or response with
 * fields the log of SOAP bodies (Y_LOG_CORPO) has nothing but the tags.
 *
 * Raises: whatever makes something, YExc "Memória insuficiente.".
 * Owns: the operation owns its variables, buttons and texts.
 * Threads: one at a time; only esperaCondicao, esperaCondicaoMs and sinalizaCondicao may be called
 *   from any thread while it lives. */
#ifndef Y3PRAMO_FORMS_PRAMO_OPERACAO_H
#define Y3PRAMO_FORMS_PRAMO_OPERACAO_H

#include <3pramo/forms/Pramo_Botao.h>
#include <3pramo/forms/Pramo_Variavel.h>
#include <3pramo/foundation/YDIC.h>
#include <3pramo/foundation/YMapa.h>

Y_INICIO_C

/* Bytes of storage that an operation has for variables made without an address. */
#define PRAMO_AREA_PRE_ALOCADA 1024

/* Read the fields freely; change them through the functions. */
Y_CLASSE(Pramo_Operacao, YOb) {
    Y_PAI(YOb)
    char *titulo;
    YVetor *variaveis;            /* YVetorQueDestroi of Pramo_Variavel, in the order made */
    YVetor *botoes;               /* YVetorQueDestroi of Pramo_Botao, in the order made */
    Pramo_Variavel *foco;         /* null or one of the variables */
    YMapa *mensagens;             /* the recorded messages, keys without value */
    uint8_t *areaPreAlocada;      /* PRAMO_AREA_PRE_ALOCADA bytes, two spare; null until needed */
    uint64_t areaOcupada;         /* bytes of it handed out */
    YSet *perifericosHabilitados; /* given to every variable made from now on */
    void *sincronizacao;          /* private; null until the first wait */
    YDIC *respostasDoPopup;
    void *privado;
};

typedef struct Pramo_Operacao Pramo_Operacao;

/* Descriptor of an operation's class. */
typedef struct Pramo_Operacao_Rtti {
    YRtti rtti;
    /* The application's: looks at what was loaded and marks what comes next. */
    void (*trataCampos)(Pramo_Operacao *operacao);
} Pramo_Operacao_Rtti;

/* The class itself has no implementation of its slot. */
Y_EXPORTA extern const Pramo_Operacao_Rtti Pramo_Operacao_definicaoRtti;
Y_EXPORTA const YRtti *Pramo_Operacao_rtti(void);

/* ---- The form ---- */

/* The title, copied; null for none. The application's: no response carries it.
 * Lives: until the next set. */
Y_EXPORTA void Pramo_Operacao_setTitulo(Pramo_Operacao *operacao, const char *titulo);
Y_EXPORTA const char *Pramo_Operacao_getTitulo(const Pramo_Operacao *operacao);

/* Enables a peripheral for the variables made from now on; null disables all. */
Y_EXPORTA void Pramo_Operacao_habilitaPeriferico(Pramo_Operacao *operacao, Pramo_Periferico *periferico);

/* Makes a variable, unless one of this name exists: that one stays as it is.
 *
 * With a null address the variable gets the next `tamanho` bytes of the operation's own area, not
 * aligned, zero at first; after Pramo_Operacao_clear the area is given out again from its start,
 * with the bytes that were left there (those of a `segredo` are zero again).
 * Gives: the variable of this name, with the peripherals enabled now when it is new.
 * Raises: YExcSoap "Nova variável da operação não coube na área pré-alocada." when they do not
 *   fit in what is left of PRAMO_AREA_PRE_ALOCADA bytes; nothing has changed then.
 * Owns: the operation, the variable and a copy of the name; the application, the type and the
 *   memory, which must both outlive the variable. */
Y_EXPORTA Pramo_Variavel *Pramo_Operacao_criaVariavel(Pramo_Operacao *operacao, const char *nome,
                                                      Pramo_Tipo *tipo, void *endereco, uint64_t tamanho);

/* Looks the variable of exactly this name up.
 * Gives: the operation's variable; null when there is none. */
Y_EXPORTA Pramo_Variavel *Pramo_Operacao_recuperaVariavel(const Pramo_Operacao *operacao, const char *nome);

/* Looks the variable of exactly this name up, which must be there.
 * Raises: YExc "Variável desconhecida." when it is not. */
Y_EXPORTA Pramo_Variavel *Pramo_Operacao_getVariavel(const Pramo_Operacao *operacao, const char *nome);

/* Gives the focus to a variable of this operation, or with null to none. */
Y_EXPORTA void Pramo_Operacao_focaEm(Pramo_Operacao *operacao, Pramo_Variavel *variavel);

/* Makes a button, after the others, that opens the operation of this name.
 * Owns: the operation, the button and copies of both texts. */
Y_EXPORTA Pramo_Botao *Pramo_Operacao_criaBotao(Pramo_Operacao *operacao, const char *nome,
                                                const char *titulo);

/* Frees all variables and buttons, drops the focus, the button pressed and the notice, forgets the
 * messages and gives the area out from its start again, in which the bytes of a `segredo` have
 * been wiped. Title, enabled peripherals, answers to popups, strictness and whoever waits stay. */
Y_EXPORTA void Pramo_Operacao_clear(Pramo_Operacao *operacao);

/* ---- Messages and answers ---- */

/* Records a message, once; null is no message.
 * Gives: temMensagem 1 when it is recorded, else 0. */
Y_EXPORTA void Pramo_Operacao_guardaMensagem(Pramo_Operacao *operacao, const char *mensagem);
Y_EXPORTA int32_t Pramo_Operacao_temMensagem(const Pramo_Operacao *operacao, const char *mensagem);

/* The answer to a popup under its key, both copied, replacing an earlier one; a null key or
 * answer is not stored.
 * Gives: the answer; null when there is none.
 * Lives: until that key is set again. */
Y_EXPORTA void Pramo_Operacao_setRespostaDoPopup(Pramo_Operacao *operacao, const char *chave,
                                                 const char *resposta);
Y_EXPORTA const char *Pramo_Operacao_getRespostaDoPopup(const Pramo_Operacao *operacao, const char *chave);

/* The notice: a line for the person at the till, written into every response until it is set again
 * or cleared; null, as at first, for none. Copied.
 * Lives: until the next set or clear. */
Y_EXPORTA void Pramo_Operacao_setAviso(Pramo_Operacao *operacao, const char *aviso);
Y_EXPORTA const char *Pramo_Operacao_getAviso(const Pramo_Operacao *operacao);

/* ---- Exchange ---- */

/* Loads the fields below the element of a request: each child "campo" is read into the variable
 * that its attribute "nome" names (Pramo_Variavel_leDeYNo), whose mark then goes. A child
 * "botaoAcionado" names the button that was pressed (getBotaoAcionado). Other children are
 * skipped; a null element has none.
 * Raises: YExcSoap "Faltou atributo nome na tag campo.", "Não existe o campo "NAME"." and what
 *   the field's type raises; the fields before it stay loaded and unmarked, the ones after it
 *   are not touched. */
Y_EXPORTA void Pramo_Operacao_carregaDaRequisicao(Pramo_Operacao *operacao, const YNo *elemento);

/* The button with which the client sent the last request that was loaded. A button's name says which
 * operation it opens: the client sends it as the content of an element "botaoAcionado" beside the
 * fields, with those that it wants to have loaded or with none, and the application, in
 * trataCampos or after it, opens that operation, or does what else the button stands for.
 * Gives: the first button of that name that is offered (Pramo_Botao_setOferecido); null when the
 *   request named none that is offered, and when its loading raised. Of several that are offered
 *   the last counts; an element without content is none.
 * Lives: until the next loading or clear. */
Y_EXPORTA Pramo_Botao *Pramo_Operacao_getBotaoAcionado(const Pramo_Operacao *operacao);

/* With nonzero, loading takes the fields of a request all or not at all, so that a client can
 * correct what was refused; with 0, as at first, every field that names a variable is stored.
 *
 * Strict loading first looks at all fields, then loads them. Whatever is raised, also by a type of
 * the application, these are again what they were: every variable's memory (the bytes that
 * Pramo_Tipo.h says a type touches, copied as they are), its mark and what is recorded of the
 * client's answer. The peripheral that a field names is the application's to check.
 * Raises, looking: YExcSoap for a field that is nameless or unknown, as above, and
 * - "campo: NAME. O campo "NAME" não foi oferecido." for one that is not marked,
 * - "campo: NAME. O campo "NAME" é somente para leitura.",
 * - "campo: NAME. O campo "NAME" veio duas vezes.",
 * - "campo: NAME. A opção escolhida não existe no campo "NAME"." for an attribute "opcao" that
 *   is no key of its options,
 * - "O botão "NAME" não foi oferecido." for a button pressed that is unknown or withheld, and
 *   "Veio mais de um botão acionado.".
 * Raises, loading: what a type raises, as YExcSoap with "campo: NAME. " in front.
 * Each of these about a field has its name as its attribute campo, too (YContextoTry_atributo). */
Y_EXPORTA void Pramo_Operacao_setCargaEstrita(Pramo_Operacao *operacao, int32_t estrita);
Y_EXPORTA int32_t Pramo_Operacao_getCargaEstrita(const Pramo_Operacao *operacao);

/* Calls the trataCampos slot of the operation's class. */
Y_EXPORTA void Pramo_Operacao_trataCampos(Pramo_Operacao *operacao);

/* Appends the form to an element of a response; marks stay:
 * - for each marked variable, in the order made, an element "campo" with its description in
 *   "descricao", if it has one, its name in the attribute "nome", "estilo" = "CampoSenha" and
 *   what Pramo_Variavel_gravaEmYNo writes; if it has the focus, then an element "focado" with
 *   its name;
 * - for each button that is offered an element "botao" with the attributes "nomeDaOperacao",
 *   "titulo" and "estilo" = "BotaoAbertura";
 * - an element "estilo" with "DialogoPadrao";
 * - last, if there is a notice, an element "aviso" with it.
 * Raises: what a type raises; what was written then stays. */
Y_EXPORTA void Pramo_Operacao_descarregaNaResposta(const Pramo_Operacao *operacao, YNo *elemento);

/* ---- Waiting for each other ---- */

/* Blocks until another thread calls sinalizaCondicao, without a limit.
 * Threads: any, while the operation lives. */
Y_EXPORTA void Pramo_Operacao_esperaCondicao(Pramo_Operacao *operacao);

/* The same for `milissegundos` at most (beyond 24 days: 24 days); with 0 or less it does not wait.
 * Gives: 1 when a signal came, 0 when the time had passed without one.
 * Threads: any, while the operation lives. */
Y_EXPORTA int32_t Pramo_Operacao_esperaCondicaoMs(Pramo_Operacao *operacao, int64_t milissegundos);

/* Wakes every thread that waits at this moment. It is not remembered: who waits later waits for
 * the next one.
 * Threads: any, while the operation lives. */
Y_EXPORTA void Pramo_Operacao_sinalizaCondicao(Pramo_Operacao *operacao);

Y_FIM_C

#endif
