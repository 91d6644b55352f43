/* What the named things of a form have in common: a name, and a module and a line number that
 * the application may attach to them.
 *
 * Raises: setters, YExc "Memória insuficiente.", and then change nothing.
 * Owns: the entity owns its texts, which are copied in.
 * Lives: a text that is returned, until that field is set again or the entity freed.
 * Threads: one at a time. */
#ifndef Y3PRAMO_FORMS_PRAMO_ENTIDADE_H
#define Y3PRAMO_FORMS_PRAMO_ENTIDADE_H

#include <3pramo/foundation/YOb.h>

Y_INICIO_C

/* Read the fields freely; change them through the functions. */
Y_CLASSE(Pramo_Entidade, YOb) {
    Y_PAI(YOb)
    char *nome;            /* of the field, the peripheral or, of a button, the operation; null at first */
    char *modulo;          /* the application's; null at first */
    int32_t numeroDaLinha; /* the application's; 0 at first */
    int32_t marcas;        /* private */
};

typedef struct Pramo_Entidade Pramo_Entidade;

Y_EXPORTA extern const YRtti Pramo_Entidade_definicaoRtti;
Y_EXPORTA const YRtti *Pramo_Entidade_rtti(void);

/* The name; null for none. Setting it does nothing to one of the six peripherals: theirs are
 * constant. */
Y_EXPORTA void Pramo_Entidade_setNome(Pramo_Entidade *entidade, const char *nome);
Y_EXPORTA const char *Pramo_Entidade_getNome(const Pramo_Entidade *entidade);

/* The module; null for none. The library makes no use of it. */
Y_EXPORTA void Pramo_Entidade_setModulo(Pramo_Entidade *entidade, const char *modulo);
Y_EXPORTA const char *Pramo_Entidade_getModulo(const Pramo_Entidade *entidade);

/* The line number. The library makes no use of it. */
Y_EXPORTA void Pramo_Entidade_setNumeroDaLinha(Pramo_Entidade *entidade, int32_t numero);
Y_EXPORTA int32_t Pramo_Entidade_getNumeroDaLinha(const Pramo_Entidade *entidade);

Y_FIM_C

#endif
