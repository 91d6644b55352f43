/* A field of a form: bound to the application's memory, of a field type that turns that memory
 * into text and back (Pramo_Tipo.h), with what the client needs to present it and, once the
 * client has answered, how it did. Its name is that of the entity (Pramo_Entidade.h).
 *
 * Raises: setters, YExc "Memória insuficiente.", and then change nothing.
 * Owns: the operation owns its variables (Pramo_Operacao_criaVariavel). Texts are copied in, so a
 *   text may be set from the variable's own.
 * Lives: a text that is returned, until that field is set again or the variable freed.
 * Threads: one at a time. */
#ifndef Y3PRAMO_FORMS_PRAMO_VARIAVEL_H
#define Y3PRAMO_FORMS_PRAMO_VARIAVEL_H

#include <3pramo/forms/Pramo_Periferico.h>
#include <3pramo/forms/Pramo_Tipo.h>
#include <3pramo/foundation/YSet.h>
#include <3pramo/foundation/YVetor.h>

Y_INICIO_C

/* One choice that a field offers; the variable owns both texts. */
typedef struct Opcao {
    char *chave; /* comes back in a request */
    char *texto; /* what the client shows */
} Opcao;

/* Read the fields freely; change them through the functions. All are zero at first. */
Y_CLASSE(Pramo_Variavel, Pramo_Entidade) {
    Y_PAI(Pramo_Entidade)
    Pramo_Tipo *tipo;        /* not owned */
    void *endereco;          /* where the value stands; not owned, not aligned */
    uint64_t tamanho;        /* of the value, in bytes */
    int32_t somenteLeitura;  /* the client shows the field without letting it be edited */
    int32_t requerValidacao; /* what is put in needs validation */
    char *titulo;
    char *descricao;
    YSet *perifericos;                     /* that may fill the field; the set alone is owned */
    Pramo_Periferico *perifericoUtilizado; /* that the client used; null when unknown */
    uint64_t caracteresAntesDaVirgula;     /* of the last text that the type `bin` read */
    uint64_t caracteresDepoisDaVirgula;
    int32_t usada;        /* the field goes into the next response */
    YVetor *opcoes;       /* of Opcao, in the order added; null until the first */
    char *opcaoEscolhida; /* key of the option that the client chose */
};

typedef struct Pramo_Variavel Pramo_Variavel;

Y_EXPORTA extern const YRtti Pramo_Variavel_definicaoRtti;
Y_EXPORTA const YRtti *Pramo_Variavel_rtti(void);

/* ---- Storage ---- */

/* The field type; required before the variable is loaded or written.
 * Owns: the application. It must outlive the variable. */
Y_EXPORTA void Pramo_Variavel_setTipo(Pramo_Variavel *variavel, Pramo_Tipo *tipo);
Y_EXPORTA Pramo_Tipo *Pramo_Variavel_getTipo(const Pramo_Variavel *variavel);

/* Where the value stands, aligned or not, and how many bytes it has there; the type says how
 * much of it is used.
 * Owns: the application. The memory must outlive the variable. */
Y_EXPORTA void Pramo_Variavel_setEndereco(Pramo_Variavel *variavel, void *endereco);
Y_EXPORTA void *Pramo_Variavel_getEndereco(const Pramo_Variavel *variavel);
Y_EXPORTA void Pramo_Variavel_setTamanho(Pramo_Variavel *variavel, uint64_t tamanho);
Y_EXPORTA uint64_t Pramo_Variavel_getTamanho(const Pramo_Variavel *variavel);

/* ---- Presentation ---- */

/* Flags, written as "true" when they are nonzero. Only a strict operation refuses what comes
 * back for a read-only field (Pramo_Operacao_setCargaEstrita). */
Y_EXPORTA void Pramo_Variavel_setSomenteLeitura(Pramo_Variavel *variavel, int32_t somenteLeitura);
Y_EXPORTA int32_t Pramo_Variavel_getSomenteLeitura(const Pramo_Variavel *variavel);
Y_EXPORTA void Pramo_Variavel_setRequerValidacao(Pramo_Variavel *variavel, int32_t requerValidacao);
Y_EXPORTA int32_t Pramo_Variavel_getRequerValidacao(const Pramo_Variavel *variavel);

/* Title and description; null for none, which is not written. */
Y_EXPORTA void Pramo_Variavel_setTitulo(Pramo_Variavel *variavel, const char *titulo);
Y_EXPORTA const char *Pramo_Variavel_getTitulo(const Pramo_Variavel *variavel);
Y_EXPORTA void Pramo_Variavel_setDescricao(Pramo_Variavel *variavel, const char *descricao);
Y_EXPORTA const char *Pramo_Variavel_getDescricao(const Pramo_Variavel *variavel);

/* Adds one peripheral, or all of a set, to those that may fill the field; one that is there
 * stays once. Null adds none, as the peripheral, in the set or as the set. */
Y_EXPORTA void Pramo_Variavel_incluiPeriferico(Pramo_Variavel *variavel, Pramo_Periferico *periferico);
Y_EXPORTA void Pramo_Variavel_incluiPerifericos(Pramo_Variavel *variavel, const YSet *perifericos);

/* Adds an option after the others; keys may repeat.
 * Owns: the variable, copies of key and text. */
Y_EXPORTA void Pramo_Variavel_acrescentaOpcao(Pramo_Variavel *variavel, const char *chave, const char *texto);

/* The mark with which the application offers the field: a marked field goes into every response
 * until a request returns it or the application takes the mark off.
 * Gives: foiUsada 1 when it is marked, else 0. */
Y_EXPORTA void Pramo_Variavel_marcaUsada(Pramo_Variavel *variavel);
Y_EXPORTA void Pramo_Variavel_desmarcaUsada(Pramo_Variavel *variavel);
Y_EXPORTA int32_t Pramo_Variavel_foiUsada(const Pramo_Variavel *variavel);

/* ---- The client's answer ---- */

/* The peripheral that filled the field, or null. */
Y_EXPORTA void Pramo_Variavel_setPerifericoUtilizado(Pramo_Variavel *variavel, Pramo_Periferico *periferico);
Y_EXPORTA Pramo_Periferico *Pramo_Variavel_getPerifericoUtilizado(const Pramo_Variavel *variavel);

/* Key of the chosen option, or null. */
Y_EXPORTA void Pramo_Variavel_setOpcaoEscolhida(Pramo_Variavel *variavel, const char *chave);
Y_EXPORTA const char *Pramo_Variavel_getOpcaoEscolhida(const Pramo_Variavel *variavel);

/* Characters before and after the decimal point in the last text that the type `bin` read. */
Y_EXPORTA void Pramo_Variavel_setCaracteresAntesDaVirgula(Pramo_Variavel *variavel, uint64_t caracteres);
Y_EXPORTA uint64_t Pramo_Variavel_getCaracteresAntesDaVirgula(const Pramo_Variavel *variavel);
Y_EXPORTA void Pramo_Variavel_setCaracteresDepoisDaVirgula(Pramo_Variavel *variavel, uint64_t caracteres);
Y_EXPORTA uint64_t Pramo_Variavel_getCaracteresDepoisDaVirgula(const Pramo_Variavel *variavel);

/* ---- Exchange; operations call these ---- */

/* Reads a field element of a request: the peripheral used from its attribute "periferico" (null
 * when that names none), the chosen option from "opcao" (null without it), then the value from
 * its content.
 * Raises: what the type raises; peripheral and option are recorded then. */
Y_EXPORTA void Pramo_Variavel_leDeYNo(Pramo_Variavel *variavel, const YNo *elemento);

/* Writes the field into an element of a response; children are appended:
 * - child "valor" (not of a `segredo`) and attribute "tipo", by the type;
 * - attributes "somenteLeitura", "requerValidacao" and, when there is one, "titulo";
 * - a child "periferico" for each peripheral;
 * - a child "opcao" with "chave" and "texto" for each option.
 * Raises: what the type raises. */
Y_EXPORTA void Pramo_Variavel_gravaEmYNo(const Pramo_Variavel *variavel, YNo *elemento);

Y_FIM_C

#endif
