/* Values of an ISO 8583 message in the form that its elements have: padded numbers and texts,
 * moments, amounts; and names of codes for people.
 *
 *     YMensagemIso_setNumero(pedido, NULL, 11, 123);          "000123"
 *     YMensagemIso_setTexto(pedido, NULL, 41, "TERM1");       "TERM1   "
 *     YMensagemIso_setMomento(pedido, 7, agora);              "1122093015"
 *     YMensagemIso_setTexto(pedido, NULL, 49, "BRL");
 *     YMensagemIso_setQuantia(pedido, NULL, 4, 1250, 2);      "000000001250"
 *
 * `tabela` is the network's table that the message travels by; null is elementosIso. Element
 * numbers, forms and codes are those of the standard's version of 1987.
 *
 * Raises: whatever stores, as YMensagemIso_setBit, and YExc
 *   "Elemento 3 (Processing code): REASON. Elemento fora da tabela.", where REASON is one of
 *   YMensagemIso_valida's, for a value that does not fit the element: one too long, or with a
 *   character outside its classes or its encoding. Nothing has changed then, and no message holds a
 *   character of the value. Readings raise nothing.
 * A reading writes what it gives for Y_LEITURA_OK alone; Y_LEITURA_AUSENTE is where
 *   YMensagemIso_getBit gives null.
 * Threads: as the message; what takes none, from any thread. */
#ifndef Y3PRAMO_ISO_YMENSAGEMISO_VALORES_H
#define Y3PRAMO_ISO_YMENSAGEMISO_VALORES_H

#include <3pramo/iso/YMensagemIso.h>

Y_INICIO_C

/* ---- Numbers and texts ---- */

/* Stores the number in decimal digits, with zeros in front up to the length of an element of fixed
 * length. YMensagemIso_leNumero reads it.
 * Raises: with the reason "não numérico" also for an element whose classes have no n. */
Y_EXPORTA void YMensagemIso_setNumero(YMensagemIso *mensagem, const YTabelaIso *tabela, int32_t bit,
                                      uint64_t valor);

/* Stores the text, filled up to the length of an element of fixed length: with zeros in front where
 * the class is n alone, with blanks behind where the classes have an a; all others need their
 * exact length. Null removes the element. */
Y_EXPORTA void YMensagemIso_setTexto(YMensagemIso *mensagem, const YTabelaIso *tabela, int32_t bit,
                                     const char *texto);

/* The element's text, without the blanks that fill up one of fixed length whose classes have an a:
 * its first `tamanho` bytes; blanks may follow, so the zero does not end it.
 * Gives: Y_LEITURA_FORA_DA_FAIXA for a length that is not the table's, Y_LEITURA_MAL_FORMADA for a
 *   character outside the element's classes.
 * Lives: as a text of YMensagemIso_getBit. */
Y_EXPORTA YSituacao YMensagemIso_leTexto(const YMensagemIso *mensagem, const YTabelaIso *tabela, int32_t bit,
                                         const char **texto, uint64_t *tamanho);

/* ---- Moments ----
 *
 * In seconds since the epoch. No element has the year: readings give, of the moments that are
 * written so, the one nearest to `referencia` (the present, or when the message was received), the
 * earlier of two equally near.
 * Readings give: Y_LEITURA_MAL_FORMADA for what are not exactly the digits,
 *   Y_LEITURA_FORA_DA_FAIXA for a day or time that does not exist, and for a reference outside the
 *   years 1 to 9999. */

/* Stores the moment as element 7 (MMDDhhmmss, in GMT), 12 (hhmmss) or 13 (MMDD), these two in the
 * process's time zone, as BIOSRTC_localtime has it.
 * Raises: YExc "Elemento N. O elemento não é um momento." for any other number.
 *   YExc "Momento fora do calendário." as BIOSRTC_localtime. */
Y_EXPORTA void YMensagemIso_setMomento(YMensagemIso *mensagem, int32_t bit, time_t momento);

/* The moment of element 7. */
Y_EXPORTA YSituacao YMensagemIso_leTransmissao(const YMensagemIso *mensagem, time_t referencia,
                                               time_t *momento);

/* The moment of elements 12 and 13 in the process's time zone. A time that its clock shows twice is
 * the nearer one; one that it skips in the year nearest to the reference does not exist.
 * Gives: Y_LEITURA_AUSENTE also when only one of the two is there. */
Y_EXPORTA YSituacao YMensagemIso_leMomentoLocal(const YMensagemIso *mensagem, time_t referencia,
                                                time_t *momento);

/* ---- Amounts ----
 *
 * An amount is an integer that counts units of so many decimals, `casas`, 0 to 18: 1250 with 2 is
 * 12.50. In the message it has the decimals of its currency, which is another element's text:
 *
 *     amounts               currency
 *     4, 28, 30             49
 *     5, 29, 31, 82-89, 97  50
 *     6, 8                  51
 *
 * No amount has a sign. */

/* Decimals of the currency of ISO 4217 with this alphabetic ("BRL") or numeric ("986") code.
 * Gives: -1 for a code that is none, null, and those of metals, funds of account and tests. */
Y_EXPORTA int32_t YMensagemIso_casasDaMoeda(const char *moeda);

/* Stores the amount as number, in the decimals of the currency that the message has already.
 * Raises: YExc "Elemento N. REASON", where REASON is
 *   "O elemento não é uma quantia.";
 *   "Moeda ausente ou desconhecida.";
 *   "A quantia não cabe nas casas da moeda.", when digits other than 0 would be lost, the number
 *   is beyond 64 bits, or `casas` is outside 0 to 18. */
Y_EXPORTA void YMensagemIso_setQuantia(YMensagemIso *mensagem, const YTabelaIso *tabela, int32_t bit,
                                       uint64_t valor, int32_t casas);

/* The amount, with so many decimals.
 * Gives: Y_LEITURA_AUSENTE also for an element that is no amount; Y_LEITURA_MAL_FORMADA also
 *   without a currency that is known; Y_LEITURA_FORA_DA_FAIXA when digits other than 0 would be
 *   lost, the number is beyond 64 bits, or `casas` is outside 0 to 18. */
Y_EXPORTA YSituacao YMensagemIso_leQuantia(const YMensagemIso *mensagem, int32_t bit, int32_t casas,
                                           uint64_t *valor);

/* ---- Names for people ----
 *
 * In English, as the names of the elements. Networks have codes of their own and use some of these
 * otherwise: to be shown, not to be decided by.
 * Lives: as long as the program. */

/* The name of a transaction code: 100 is "Authorization request".
 * Gives: null for one that has none. */
Y_EXPORTA const char *YMensagemIso_nomeDaTransacao(int32_t transacao);

/* The name of an element's code, `texto` being the element's text:
 * - 3, of its first two digits: "003000" is "Goods and services";
 * - 22, of its first two digits, how the card was read: "051" is "Integrated circuit card";
 * - 39: "51" is "Not sufficient funds".
 * Gives: null for a code that has none, a text of another length than the element's, null, and
 *   any other element. */
Y_EXPORTA const char *YMensagemIso_nomeDoCodigo(int32_t bit, const char *texto);

Y_FIM_C

#endif
