/* A button of a form; its name (Pramo_Entidade.h) is the name of the operation that it opens.
 * Pramo_Operacao_criaBotao makes it, and its operation owns it. */
#ifndef Y3PRAMO_FORMS_PRAMO_BOTAO_H
#define Y3PRAMO_FORMS_PRAMO_BOTAO_H

#include <3pramo/forms/Pramo_Entidade.h>

Y_INICIO_C

Y_CLASSE(Pramo_Botao, Pramo_Entidade) {
    Y_PAI(Pramo_Entidade)
    char *titulo; /* read it freely; change it through the function */
};

typedef struct Pramo_Botao Pramo_Botao;

Y_EXPORTA extern const YRtti Pramo_Botao_definicaoRtti;
Y_EXPORTA const YRtti *Pramo_Botao_rtti(void);

/* The title that the client shows, copied; null for none.
 * Lives: until the next set. */
Y_EXPORTA void Pramo_Botao_setTitulo(Pramo_Botao *botao, const char *titulo);
Y_EXPORTA const char *Pramo_Botao_getTitulo(const Pramo_Botao *botao);

/* Whether the client is offered the button, as it is at first: with 0 it is withheld from the
 * responses, and is none that a request can press, until it is offered again with nonzero.
 * Gives: getOferecido 1 when it is offered, else 0. */
Y_EXPORTA void Pramo_Botao_setOferecido(Pramo_Botao *botao, int32_t oferecido);
Y_EXPORTA int32_t Pramo_Botao_getOferecido(const Pramo_Botao *botao);

Y_FIM_C

#endif
