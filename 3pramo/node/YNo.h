/* YNo: one element of an XML tree, with typed values, paths, an XML writer and the correction of
 * encoded maps.
 *
 *     YNo *soma;
 *     YalocaObjeto(&soma, YNo_rtti);
 *     YNo_setNome(soma, "soma");
 *     YNo_setInt(soma, "a", 2);
 *     YNo_gravaEm(soma, stream);             appends <soma><a>2</a></soma>
 *     YliberaObjeto(soma);
 *
 * Ownership: a node owns its children, its attributes and its texts; `pai` is a plain back-link.
 * YliberaObjeto takes a node out of its parent and frees its whole subtree.
 *
 * Texts are ISO-8859-1. Every setter copies its text, which so may come from the same node. Every
 * text returned belongs to the node: it is valid until that field changes or the node is freed.
 *
 * Whatever makes something raises YExc "Memória insuficiente." when there is no memory, and the
 * tree then is what it was. Depth is bounded by memory alone: no operation recurses.
 *
 * A path (`caminho`) is names separated by "/", as "Body/soma/a"; every name leads to the first
 * child that has exactly this name, without going back when the rest is not found there. Null or ""
 * is the node itself; a "/" at the end changes nothing; an empty name between or before two "/" is
 * the name "".
 *
 * A null node is allowed wherever a node is only looked at: it has nothing, a search in it finds
 * nothing, and an operation that requires an element raises as for a missing one. Operations that
 * change a node require it.
 *
 * Threads: a tree belongs to one thread at a time and may be handed on. */
#ifndef Y3PRAMO_NODE_YNO_H
#define Y3PRAMO_NODE_YNO_H

#include <3pramo/foundation/YDIC.h>
#include <3pramo/foundation/YLeitura.h>
#include <3pramo/foundation/YOb.h>
#include <3pramo/foundation/YStream.h>
#include <3pramo/foundation/YVetor.h>
#include <3pramo/node/YExcSoap.h>
#include <time.h>

Y_INICIO_C

/* Read the fields freely; change them through the functions. */
Y_CLASSE(YNo, YOb) {
    Y_PAI(YOb)
    char *nome;      /* local name (YNo_setNome takes a prefix off); null in a nameless container */
    char *valor;     /* content; null when there is none */
    struct YNo *pai; /* not owned; null in a root */
    YVetor *filhos;  /* YVetorQueDestroi of the children, in order; null until the first is
                        appended, then never again */
    YDIC *atributos; /* attribute name to value; null until the first YNo_setAtributo */
    char *prefixo;   /* written in front of the name; null when the parent's applies */
    void *privado;
};

typedef struct YNo YNo;

Y_EXPORTA extern const YRtti YNo_definicaoRtti;
Y_EXPORTA const YRtti *YNo_rtti(void);

/* ---- Name, content, prefix ---- */

/* The local name; null when the node has none. */
Y_EXPORTA const char *YNo_getNome(const YNo *no);

/* Names the node after what follows the first ":" of the text ("SOAP-ENV:Body" becomes "Body"), or
 * after the whole text when there is none. The prefix is not kept. Null makes the node nameless. */
Y_EXPORTA void YNo_setNome(YNo *no, const char *nome);

/* The content; null when there is none ("" is content). */
Y_EXPORTA const char *YNo_getValor(const YNo *no);

/* Replaces the content; null leaves the node without content. */
Y_EXPORTA void YNo_setValor(YNo *no, const char *valor);

/* The prefix that the node is written with.
 * Gives: its own, or that of the nearest ancestor that has one; else null. */
Y_EXPORTA const char *YNo_getPrefixo(const YNo *no);

/* Sets the node's own prefix, which its descendants without one share; null removes it. */
Y_EXPORTA void YNo_setPrefixo(YNo *no, const char *prefixo);

/* ---- Attributes ---- */

/* The attribute's value; null when the node does not have it. */
Y_EXPORTA const char *YNo_getAtributo(const YNo *no, const char *nome);

/* Stores an attribute, its name as given.
 * Gives: 1 when it is new; 0 when its value was replaced, and for a null name or value, which is
 *   not stored. */
Y_EXPORTA int YNo_setAtributo(YNo *no, const char *nome, const char *valor);

/* ---- Parent and children ---- */

/* The parent; null when there is none. */
Y_EXPORTA YNo *YNo_getPai(const YNo *no);

/* Takes the node out of its parent's list and links it to the new parent (null for none), without
 * placing it in that one's list.
 * It is neither found, written nor freed there before YNo_acrescentaFilho to that parent, or
 * YVetor_poe on its list, puts it there. When the parent is freed before that, the node has none.
 * Raises: YExcSoap "Um nó não pode ficar abaixo de si mesmo." when the parent is the node itself or
 *   lies below it; nothing has changed then.
 * Owns: the caller owns the node until it is in a list. */
Y_EXPORTA void YNo_setPai(YNo *no, YNo *pai);

/* The list of children itself, for iteration with the YVetor operations; it belongs to the node.
 * Gives: null when no child was ever appended. */
Y_EXPORTA YVetor *YNo_getFilhos(const YNo *no);

/* The child at this index, from 0, among those that have exactly this name.
 * Gives: null when there are not that many. A nameless child is never found. */
Y_EXPORTA YNo *YNo_getFilho(const YNo *no, const char *nome, uint32_t indice);

/* Appends the child as the last one.
 * A child of another node leaves that node; a child of this node moves to the end, and one that was
 * only linked to it is listed, once.
 * Raises: as YNo_setPai does; nothing has changed then.
 * Owns: the node owns the child from now on. */
Y_EXPORTA void YNo_acrescentaFilho(YNo *no, YNo *filho);

/* 1 when a child was ever appended, even if none is left; else 0. */
Y_EXPORTA int YNo_temFilho(const YNo *no);

/* Takes the child out of the node without freeing it.
 * Gives: 1; 0, and nothing changes, when it is not a child of this node.
 * Owns: the caller owns what was taken out. */
Y_EXPORTA int YNo_removeFilho(YNo *no, YNo *filho);

/* ---- Paths ---- */

/* The node at the path; null when there is none. */
Y_EXPORTA YNo *YNo_procuraDescendente(const YNo *no, const char *caminho);

/* Appends a new chain of nodes along the path, even where nodes of these names exist.
 * The names are taken as they are, with any ":" in them.
 * Gives: the last one, which belongs to the tree. */
Y_EXPORTA YNo *YNo_criaDescendente(YNo *no, const char *caminho);

/* The node at the path.
 * Raises: YExcSoap "Tag procurada: CAMINHO. Faltou tag." when there is none, with the path as its
 *   attribute campo (YContextoTry_atributo). */
Y_EXPORTA YNo *YNo_getFilhoUnico(const YNo *no, const char *caminho);

/* ---- Typed values ----
 *
 *   YNo_getXVal  reads the node's own content
 *   YNo_getX     reads that of YNo_getFilhoUnico(no, caminho), and raises as it does
 *   YNo_setXVal  replaces the node's content and returns the node
 *   YNo_setX     appends a new element, as YNo_criaDescendente does, gives it its content and
 *                returns it; with an empty path it is the node itself, as for YNo_setXVal
 *
 * No type is recorded and none is looked at. What says of a bad text that it is bad stands further
 * down (strict readings). Neither the process's locale nor, but for Date and
 * DateTime, its time zone matters. */

/* The text itself. Null is no content. */
Y_EXPORTA const char *YNo_getString(const YNo *no, const char *caminho);
Y_EXPORTA const char *YNo_getStringVal(const YNo *no);
Y_EXPORTA YNo *YNo_setString(YNo *no, const char *caminho, const char *valor);
Y_EXPORTA YNo *YNo_setStringVal(YNo *no, const char *valor);

/* Written as "true" for any value but 0, "false" for 0; read in any mix of letter case, as 1 or 0.
 * Raises: YExcSoap "valor desconhecido para boolean." for anything else, no content included. */
Y_EXPORTA int YNo_getBoolean(const YNo *no, const char *caminho);
Y_EXPORTA int YNo_getBooleanVal(const YNo *no);
Y_EXPORTA YNo *YNo_setBoolean(YNo *no, const char *caminho, int valor);
Y_EXPORTA YNo *YNo_setBooleanVal(YNo *no, int valor);

/* Integers are written in decimal, and read as white space, an optional sign and digits up to the
 * first other character.
 * Gives: 0 for no digits or no content; nothing raises. What does not fit 64 bits becomes the
 *   nearest number that does, and a narrower type then takes the low bits. */
Y_EXPORTA uint8_t YNo_getUnsignedByte(const YNo *no, const char *caminho);
Y_EXPORTA uint8_t YNo_getUnsignedByteVal(const YNo *no);
Y_EXPORTA YNo *YNo_setUnsignedByte(YNo *no, const char *caminho, uint8_t valor);
Y_EXPORTA YNo *YNo_setUnsignedByteVal(YNo *no, uint8_t valor);
Y_EXPORTA int16_t YNo_getShort(const YNo *no, const char *caminho);
Y_EXPORTA int16_t YNo_getShortVal(const YNo *no);
Y_EXPORTA YNo *YNo_setShort(YNo *no, const char *caminho, int16_t valor);
Y_EXPORTA YNo *YNo_setShortVal(YNo *no, int16_t valor);
Y_EXPORTA uint16_t YNo_getUnsignedShort(const YNo *no, const char *caminho);
Y_EXPORTA uint16_t YNo_getUnsignedShortVal(const YNo *no);
Y_EXPORTA YNo *YNo_setUnsignedShort(YNo *no, const char *caminho, uint16_t valor);
Y_EXPORTA YNo *YNo_setUnsignedShortVal(YNo *no, uint16_t valor);
Y_EXPORTA int32_t YNo_getInt(const YNo *no, const char *caminho);
Y_EXPORTA int32_t YNo_getIntVal(const YNo *no);
Y_EXPORTA YNo *YNo_setInt(YNo *no, const char *caminho, int32_t valor);
Y_EXPORTA YNo *YNo_setIntVal(YNo *no, int32_t valor);

/* The same as Int under the other name of the type. */
Y_EXPORTA int32_t YNo_getInteger(const YNo *no, const char *caminho);
Y_EXPORTA int32_t YNo_getIntegerVal(const YNo *no);
Y_EXPORTA YNo *YNo_setInteger(YNo *no, const char *caminho, int32_t valor);
Y_EXPORTA YNo *YNo_setIntegerVal(YNo *no, int32_t valor);

/* A 32-bit integer in a 64-bit type: the setter keeps the low 32 bits, as a signed number, and the
 * getter reads as Int does. Int64, below, carries all 64 bits. */
Y_EXPORTA int64_t YNo_getLong(const YNo *no, const char *caminho);
Y_EXPORTA int64_t YNo_getLongVal(const YNo *no);
Y_EXPORTA YNo *YNo_setLong(YNo *no, const char *caminho, int64_t valor);
Y_EXPORTA YNo *YNo_setLongVal(YNo *no, int64_t valor);
Y_EXPORTA int64_t YNo_getInt64(const YNo *no, const char *caminho);
Y_EXPORTA int64_t YNo_getInt64Val(const YNo *no);
Y_EXPORTA YNo *YNo_setInt64(YNo *no, const char *caminho, int64_t valor);
Y_EXPORTA YNo *YNo_setInt64Val(YNo *no, int64_t valor);

/* Written as printf writes "%f" in the C locale: six decimals, no exponent, infinities as "inf" and
 * no number as "nan". Read as strtod reads in the C locale, up to the first character that does not
 * fit. Float is read as Double and narrowed.
 * Gives: 0 for no number or no content; nothing raises. */
Y_EXPORTA float YNo_getFloat(const YNo *no, const char *caminho);
Y_EXPORTA float YNo_getFloatVal(const YNo *no);
Y_EXPORTA YNo *YNo_setFloat(YNo *no, const char *caminho, float valor);
Y_EXPORTA YNo *YNo_setFloatVal(YNo *no, float valor);
Y_EXPORTA double YNo_getDouble(const YNo *no, const char *caminho);
Y_EXPORTA double YNo_getDoubleVal(const YNo *no);
Y_EXPORTA YNo *YNo_setDouble(YNo *no, const char *caminho, double valor);
Y_EXPORTA YNo *YNo_setDoubleVal(YNo *no, double valor);

/* A decimal number as text; read it with YNo_getString. */
Y_EXPORTA YNo *YNo_setDecimal(YNo *no, const char *caminho, const char *valor);
Y_EXPORTA YNo *YNo_setDecimalVal(YNo *no, const char *valor);

/* Any text.
 * `tipo`, the name of an XML Schema type, stands before it and has no effect; it may be null. */
Y_EXPORTA const char *YNo_getAnyType(const YNo *no, const char *caminho);
Y_EXPORTA YNo *YNo_setAnyType(YNo *no, const char *tipo, const char *caminho, const char *valor);
Y_EXPORTA YNo *YNo_setAnyTypeVal(YNo *no, const char *tipo, const char *valor);

/* The identity of an object (YIdentidade.h): written as "" for null; read as null when it is
 * unknown, empty or missing.
 * Raises: the setters, as YObPtrToStr does. */
Y_EXPORTA void *YNo_getPtr(const YNo *no, const char *caminho);
Y_EXPORTA YNo *YNo_setPtr(YNo *no, const char *caminho, const void *valor);
Y_EXPORTA YNo *YNo_setPtrVal(YNo *no, const void *valor);

/* The date, "2024-03-05", of a time in seconds since the epoch, in local time.
 * Raises: YExc "Momento fora do calendário." as BIOSRTC_localtime does. */
Y_EXPORTA YNo *YNo_setDate(YNo *no, const char *caminho, time_t valor);
Y_EXPORTA YNo *YNo_setDateVal(YNo *no, time_t valor);

/* Date and time, "2024-03-05T14:07:09", written as Date is.
 * Read from such a text, or from its beginning up to the day or any later place (what is missing is
 * 0), as local standard time: where daylight-saving time holds, the result lies an hour later than
 * the clock shows. Characters are not tested to be digits; a year up to 1899 counts from 1900.
 * Raises: YExcSoap "DateTime inválido." for another separator, for more characters (a time zone, a
 *   fraction), for a month outside 1 to 12 or a day outside 1 to 31, and without content. */
Y_EXPORTA time_t YNo_getDateTime(const YNo *no, const char *caminho);
Y_EXPORTA time_t YNo_getDateTimeVal(const YNo *no);
Y_EXPORTA YNo *YNo_setDateTime(YNo *no, const char *caminho, time_t valor);
Y_EXPORTA YNo *YNo_setDateTimeVal(YNo *no, time_t valor);

/* A day number (yuliano.h) as a date, "1980-01-01" for day 1; read as DateTime is, with the time of
 * day left out.
 * Gives: 0 for a date before 1980, and for the whole text "1980-01-00", which is how day 0 is
 *   written. */
Y_EXPORTA uint32_t YNo_getDateY(const YNo *no, const char *caminho);
Y_EXPORTA uint32_t YNo_getDateYVal(const YNo *no);
Y_EXPORTA YNo *YNo_setDateY(YNo *no, const char *caminho, uint32_t valor);
Y_EXPORTA YNo *YNo_setDateYVal(YNo *no, uint32_t valor);

/* ---- Strict readings ----
 *
 * The content of the element at the path, as YLeitura.h reads it; nothing raises, and `valor` is
 * written for Y_LEITURA_OK alone.
 * Gives: Y_LEITURA_AUSENTE when there is no such element; an element without content is the empty
 *   text, which is no number; one that has children instead is malformed. */

/* The text as it stands, white space too.
 * Lives: as YNo_getString. */
Y_EXPORTA YSituacao YNo_leTexto(const YNo *no, const char *caminho, const char **valor);

Y_EXPORTA YSituacao YNo_leInt64(const YNo *no, const char *caminho, int64_t *valor);
Y_EXPORTA YSituacao YNo_leUint64(const YNo *no, const char *caminho, uint64_t *valor);
Y_EXPORTA YSituacao YNo_leDouble(const YNo *no, const char *caminho, double *valor);
Y_EXPORTA YSituacao YNo_leBoolean(const YNo *no, const char *caminho, int *valor);
Y_EXPORTA YSituacao YNo_leData(const YNo *no, const char *caminho, struct tm *valor);

/* ---- XML ---- */

/* Appends the node and its subtree to the stream as XML, without declaration, white space or
 * namespaces.
 * - An element without children list and content is written as <a/>; one with both has its text
 *   after its children. A nameless node has no tags of its own.
 * - Contents and attribute values are written through YStream_putHtmlString, as plain ASCII.
 * - Names are written as they are stored: a letter with an accent in one is a byte of ISO-8859-1,
 *   and whatever XML does not take in a name is the caller's to keep out.
 * When it raises, the stream holds what it held. */
Y_EXPORTA void YNo_gravaEm(const YNo *no, YStream *stream);

/* The same for what stands between the node's tags. */
Y_EXPORTA void YNo_gravaConteudo(const YNo *no, YStream *stream);

/* Reads one element from the stream's position (YSoapParser.h) and makes the node be it: name,
 * content, attributes and children.
 * What the node held is freed, its prefix too; its place under its parent stays. An XML declaration
 * is not skipped.
 * Raises: what the parser raises; YExcSoap "Mensagem SOAP mal formada." when the text begins with a
 *   closing tag or "<!". The node has not changed then. */
Y_EXPORTA void YNo_leDe(YNo *no, YStream *stream);

/* Turns every encoded map in the subtree into plain elements, from the leaves up.
 * - A map is an element with children whose attribute "type" ends in ":Map" after its only prefix
 *   ("ns2:Map").
 * - For each of its children (entries), in order, it gets a child named by the content of the
 *   entry's "key" as YNo_setNome names (so "ns:" gives the empty name).
 * - That child takes over the children of the entry's first "value", or else its content; an entry
 *   without "value" (a null) gives a child without content.
 * - The attribute "type" goes.
 * Raises: YExcSoap "Tag procurada: key. Faltou tag." for an entry without "key", or whose "key" has
 *   no content or the empty one; its map keeps its entries and its type, but entries before it have
 *   lost the children of their "value". */
Y_EXPORTA void YNo_corrigeMaps(YNo *no);

Y_FIM_C

#endif
