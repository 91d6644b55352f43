/* The input devices through which a client fills a field; they travel by name.
 *
 * There are six, each one object that is there from the start and never freed. Their functions
 * raise nothing.
 * Threads: any. */
#ifndef Y3PRAMO_FORMS_PRAMO_PERIFERICO_H
#define Y3PRAMO_FORMS_PRAMO_PERIFERICO_H

#include <3pramo/forms/Pramo_Entidade.h>

Y_INICIO_C

Y_CLASSE(Pramo_Periferico, Pramo_Entidade) {
    Y_PAI(Pramo_Entidade)
    int32_t codigo;
    int32_t finalizadora;
};

typedef struct Pramo_Periferico Pramo_Periferico;

Y_EXPORTA extern const YRtti Pramo_Periferico_definicaoRtti;
Y_EXPORTA const YRtti *Pramo_Periferico_rtti(void);

/* The six. The name of each is that of its function, "TECLADO" to "TOUCH"; the codes are 1, 2,
 * 4, 8, 16 and 32. */
Y_EXPORTA Pramo_Periferico *Pramo_Periferico_getTECLADO(void);   /* keyboard */
Y_EXPORTA Pramo_Periferico *Pramo_Periferico_getCMC7(void);      /* reader of the CMC-7 line of cheques */
Y_EXPORTA Pramo_Periferico *Pramo_Periferico_getMAGNETICO(void); /* magnetic stripe card reader */
Y_EXPORTA Pramo_Periferico *Pramo_Periferico_getOPTICO(void);    /* optical reader */
Y_EXPORTA Pramo_Periferico *Pramo_Periferico_getPIN(void);       /* PIN pad */
Y_EXPORTA Pramo_Periferico *Pramo_Periferico_getTOUCH(void);     /* touch screen */

/* Looks a peripheral up by its exact name.
 * Gives: the peripheral; null for any other text and for null. */
Y_EXPORTA Pramo_Periferico *Pramo_Periferico_getPeriferico(const char *nome);

/* The code. The name is read with Pramo_Entidade_getNome. */
Y_EXPORTA int32_t Pramo_Periferico_getCodigo(const Pramo_Periferico *periferico);

/* A number of the application's, 0 at first; the whole process shares it. */
Y_EXPORTA void Pramo_Periferico_setFinalizadora(Pramo_Periferico *periferico, int32_t finalizadora);
Y_EXPORTA int32_t Pramo_Periferico_getFinalizadora(const Pramo_Periferico *periferico);

Y_FIM_C

#endif
