/* Field types: how a variable's bytes in the application's memory become the text of an XML
 * element, and back.
 *
 * A type touches N = `tamanho` bytes at the variable's `endereco`, dates and times always two;
 * the address need not be aligned. What raises stores nothing, and no exception holds the text
 * that was refused.
 *
 * The library's types are objects that are there from the start and never freed. They hold
 * nothing: any thread may use them, on different variables at the same time. By their names in
 * the attribute "tipo":
 *
 *     bin, id, senha    a number of N bytes: "0005 ". Points in the text are ignored; `bin` records
 *                       how many characters stand before and after the first (the latter only if
 *                       there is one)
 *     qtde3             a number of N bytes whose last three digits are decimals: "0.005"
 *     data              a packed date (DATAC.h): "2024-03-05"
 *     hora              hours * 100 + minutes in 16 bits of the machine's byte order: "09:05"
 *     autorizacao,      a text of N bytes at most, without a terminating zero when it has them all:
 *     escolhaMultipla   a longer one is cut, a shorter one filled up with zeros
 *     dinheiro          cents in an int64_t of the machine's byte order: "12.50"
 *     texto             a text of N - 1 bytes at most, with zeros up to the end
 *     segredo           a PIN or password: as `texto`, but written without a "valor"
 *
 * Numbers have 1 to 18 bytes, signed, least significant first, and the texts of YNumeros.h; no
 * content is 0.
 * Raises: reading, YExcSoap with that header's messages; both ways, YExc "Tamanho não suportado."
 *   for another N.
 *
 * Dates are read and written as YNo_getDateY and YNo_setDateY do.
 * Raises: reading, YExcSoap "DateTime inválido." and "Data posterior a 2107."; writing, YExc "Data
 *   compactada inválida.".
 *
 * Hours and minutes are read as white space, a sign and digits; digits may be missing, and what
 * follows the minutes is ignored. Nothing is out of range: the low 16 bits are kept.
 * Raises: reading, YExcSoap "Conteúdo de hora mal formado." without a ":" right after the hours,
 *   and without content.
 *
 * Money is read as a `-` when it is negative, digits and, if there are decimals, a comma or a point
 * and one or two digits, with white space around; it is written with a point and two decimals.
 * Nothing is guessed: separators of thousands, other signs, exponents, more decimals, a comma or
 * point without digits on both sides, and no content are refused.
 * Raises: reading, YExcSoap "Conteúdo de dinheiro mal formado." and "Número não cabe no campo.";
 *   both ways, YExc "Tamanho não suportado." for another N than 8.
 *
 * A `texto` or `segredo` keeps every character of the content, also zeros in front (white space in
 * front the parser drops, YSoapParser.h); no content is the empty text. What a `segredo` holds in an
 * operation's own memory is wiped when the operation is cleared or freed; memory of the application is the
 * application's to wipe. Raises: reading, YExcSoap "Texto não cabe no campo." and, for a control character
 * other than tab, LF and CR, "Caractere inválido em texto."; both ways, YExc "Tamanho não suportado." for an
 * N of 0. */
#ifndef Y3PRAMO_FORMS_PRAMO_TIPO_H
#define Y3PRAMO_FORMS_PRAMO_TIPO_H

#include <3pramo/node/YNo.h>

Y_INICIO_C

struct Pramo_Variavel;

/* A type of your own derives from it, fills both slots and is made with YalocaObjeto.
 * Lives: longer than its variables. */
Y_CLASSE(Pramo_Tipo, YOb) {
    Y_PAI(YOb)
};

typedef struct Pramo_Tipo Pramo_Tipo;

/* Descriptor of a type's class. */
typedef struct Pramo_Tipo_Rtti {
    YRtti rtti;

    /* Reads the element's content into the variable's memory.
     * Raises: what the type likes, and then stores nothing. It reaches the client and maybe a
     *   log, so it should not quote the content.
     * Owns: the bytes must own nothing, for strict loading (Pramo_Operacao_setCargaEstrita) may
     *   put those back that stood there before. */
    void (*leDeYNo)(Pramo_Tipo *tipo, struct Pramo_Variavel *variavel, const YNo *elemento);

    /* Appends a child "valor" with the value's text, unless it is not to be shown, and names the
     * type in the element's attribute "tipo". */
    void (*gravaEmYNo)(Pramo_Tipo *tipo, const struct Pramo_Variavel *variavel, YNo *elemento);
} Pramo_Tipo_Rtti;

/* The class itself has no implementation of its slots. */
Y_EXPORTA extern const Pramo_Tipo_Rtti Pramo_Tipo_definicaoRtti;
Y_EXPORTA const YRtti *Pramo_Tipo_rtti(void);

/* Call the slots of the type's class; raise what they raise. */
Y_EXPORTA void Pramo_Tipo_leDeYNo(Pramo_Tipo *tipo, struct Pramo_Variavel *variavel, const YNo *elemento);
Y_EXPORTA void Pramo_Tipo_gravaEmYNo(Pramo_Tipo *tipo, const struct Pramo_Variavel *variavel, YNo *elemento);

/* The library's types. */
Y_EXPORTA Pramo_Tipo *Pramo_Tipo_getTipoBIN(void);
Y_EXPORTA Pramo_Tipo *Pramo_Tipo_getTipoDATAC(void);
Y_EXPORTA Pramo_Tipo *Pramo_Tipo_getTipoHORAC(void);
Y_EXPORTA Pramo_Tipo *Pramo_Tipo_getTipoQTDE3(void);
Y_EXPORTA Pramo_Tipo *Pramo_Tipo_getTipoId(void);
Y_EXPORTA Pramo_Tipo *Pramo_Tipo_getTipoSenha(void);
Y_EXPORTA Pramo_Tipo *Pramo_Tipo_getTipoAutorizacao(void);
Y_EXPORTA Pramo_Tipo *Pramo_Tipo_getTipoEscolhaMultipla(void);
Y_EXPORTA Pramo_Tipo *Pramo_Tipo_getTipoDinheiro(void);
Y_EXPORTA Pramo_Tipo *Pramo_Tipo_getTipoTexto(void);
Y_EXPORTA Pramo_Tipo *Pramo_Tipo_getTipoSegredo(void);

/* Their classes, each directly under YOb. */
Y_EXPORTA extern const Pramo_Tipo_Rtti Pramo_TipoBIN_definicaoRtti;
Y_EXPORTA extern const Pramo_Tipo_Rtti Pramo_TipoDATAC_definicaoRtti;
Y_EXPORTA extern const Pramo_Tipo_Rtti Pramo_TipoHORAC_definicaoRtti;
Y_EXPORTA extern const Pramo_Tipo_Rtti Pramo_TipoQTDE3_definicaoRtti;
Y_EXPORTA extern const Pramo_Tipo_Rtti Pramo_TipoId_definicaoRtti;
Y_EXPORTA extern const Pramo_Tipo_Rtti Pramo_TipoSenha_definicaoRtti;
Y_EXPORTA extern const Pramo_Tipo_Rtti Pramo_TipoAutorizacao_definicaoRtti;
Y_EXPORTA extern const Pramo_Tipo_Rtti Pramo_TipoEscolhaMultipla_definicaoRtti;
Y_EXPORTA extern const Pramo_Tipo_Rtti Pramo_TipoDinheiro_definicaoRtti;
Y_EXPORTA extern const Pramo_Tipo_Rtti Pramo_TipoTexto_definicaoRtti;
Y_EXPORTA extern const Pramo_Tipo_Rtti Pramo_TipoSegredo_definicaoRtti;
Y_EXPORTA const YRtti *Pramo_TipoBIN_rtti(void);
Y_EXPORTA const YRtti *Pramo_TipoDATAC_rtti(void);
Y_EXPORTA const YRtti *Pramo_TipoHORAC_rtti(void);
Y_EXPORTA const YRtti *Pramo_TipoQTDE3_rtti(void);
Y_EXPORTA const YRtti *Pramo_TipoId_rtti(void);
Y_EXPORTA const YRtti *Pramo_TipoSenha_rtti(void);
Y_EXPORTA const YRtti *Pramo_TipoAutorizacao_rtti(void);
Y_EXPORTA const YRtti *Pramo_TipoEscolhaMultipla_rtti(void);
Y_EXPORTA const YRtti *Pramo_TipoDinheiro_rtti(void);
Y_EXPORTA const YRtti *Pramo_TipoTexto_rtti(void);
Y_EXPORTA const YRtti *Pramo_TipoSegredo_rtti(void);

Y_FIM_C

#endif
