/* YSoapParser: reads the XML of SOAP messages into trees of YNo.
 *
 * It takes elements, attributes and text, and no more of XML than that:
 * - prefixes of elements and attributes are dropped; namespace declarations become attributes under
 *   their local part;
 * - a value is in double quotes or a bare word; a single quote is a character like any other;
 * - an element holds text or children, not both; white space before a text is dropped, behind it is
 *   kept; white space alone is no content;
 * - a closing tag is not compared with the element that it closes;
 * - a child with the attribute nil (any prefix) of the value true is left out;
 * - references are read as YStream_getHtmlChar does, each within its own content or value, and
 *   raise what it raises;
 * - what begins with "<!" is read like a tag ("<!--x-->" passes, "<!-- x -->" does not) and
 *   dropped; between children it ends their list, and every closing tag behind it then closes one
 *   level further out than the element it names;
 * - there is no DTD, no CDATA section, no processing instruction; an XML declaration must be
 *   skipped before.
 *
 * One parser serves any number of reads, also after one that failed; it belongs to one thread at a
 * time.
 *
 *     YSoapParser *parser;
 *     YNo *raiz;
 *     YalocaObjeto(&parser, YSoapParser_rtti);
 *     YSoapParser_leNo(parser, &raiz, stream);
 *     ...
 *     YliberaObjeto(raiz);
 *     YliberaObjeto(parser); */
#ifndef Y3PRAMO_NODE_YSOAPPARSER_H
#define Y3PRAMO_NODE_YSOAPPARSER_H

#include <3pramo/node/YNo.h>

Y_INICIO_C

/* Kinds of token; a delimiter's kind is its character's code: '=', '<', '>' or '/'. */
#define TOKEN_PALAVRA 1 /* a word, in `palavra` */
#define TOKEN_STRING 2  /* a double-quoted value, in `texto` */
#define TOKEN_FIM 3     /* nothing but white space is left of the input */

/* The fields tell what the last read met last; after a failed one the two texts are undefined. */
Y_CLASSE(YSoapParser, YOb) {
    Y_PAI(YOb)
    int32_t token;    /* kind of the last token */
    YStream *entrada; /* the input; not owned, not touched between reads */
    YStream *texto;   /* the last double-quoted value or content, references decoded, without quotes */
    YStream *palavra; /* the last word */
    void *privado;
};

typedef struct YSoapParser YSoapParser;

Y_EXPORTA extern const YRtti YSoapParser_definicaoRtti;
Y_EXPORTA const YRtti *YSoapParser_rtti(void);

/* Reads one element, with everything in it, from the stream's position.
 * The position is left behind the last ">"; nothing after it has been looked at.
 * Gives: the element in `raiz`, which must not be null; null in it when the input begins with a
 *   closing tag or "<!", which is read then.
 * Raises: YExc as YStream_getHtmlChar does, and "Memória insuficiente.";
 *   YExcSoap "Mensagem SOAP mal formada." for an attribute without value, and beyond a bound;
 *   YExcSoap "Mensagem SOAP mal formada. Esperava tag fechando." for another tag than a closing one
 *   behind a text;
 *   YExcSoap "Token inesperado." for everything else, the end of the input and zero bytes included.
 *   Then `raiz` is unchanged, what was built is freed, and the position is where it was seen.
 * Owns: the caller owns the element. */
Y_EXPORTA void YSoapParser_leNo(YSoapParser *parser, YNo **raiz, YStream *entrada);

/* ---- Bounds on what one read builds ---- */

/* Levels of elements within elements, the root being the first. Default 1,000. */
Y_EXPORTA void YSoapParser_setLimiteDeNiveis(YSoapParser *parser, uint64_t niveis);

/* Elements and attributes together, those left out included. Default 1,000,000. */
Y_EXPORTA void YSoapParser_setLimiteDeNos(YSoapParser *parser, uint64_t nos);

/* Bytes of names, contents and attribute values together, those left out included.
 * Default 64 MiB. */
Y_EXPORTA void YSoapParser_setLimiteDeBytes(YSoapParser *parser, uint64_t bytes);

Y_FIM_C

#endif
