/* One financial message in the manner of ISO 8583: a transaction code and up to 128 elements, each
 * a text addressed by its bit number.
 *
 *     YMensagemIso *pedido;
 *     YalocaObjeto(&pedido, YMensagemIso_rtti);
 *     YMensagemIso_setTransacao(pedido, 200);
 *     YMensagemIso_setBit(pedido, 3, "003000");
 *     YMensagemIso_emiteEmStream(pedido, stream);
 *     YliberaObjeto(pedido);
 *
 * Texts are bytes, ISO-8859-1 where they are letters, stored as given: nothing is padded, trimmed
 * or converted, and only YMensagemIso_valida compares them with the table. A text may hold zero
 * bytes; its length then tells what a zero-terminated reading does not show.
 *
 * Owns: a message owns its texts; setters copy, also a text of the same message.
 * Lives: a text that a getter gave, until that element changes or the message is cleared, loaded,
 *   made anew or freed.
 * Raises: whatever stores a text, YExc "Memória insuficiente." when there is no memory, and the
 *   message then is what it was. No exception's message ever holds an element's text.
 * Threads: a message belongs to one thread at a time and may be handed on. */
#ifndef Y3PRAMO_ISO_YMENSAGEMISO_H
#define Y3PRAMO_ISO_YMENSAGEMISO_H

#include <3pramo/foundation/YLeitura.h>
#include <3pramo/foundation/YOb.h>
#include <3pramo/foundation/YStream.h>
#include <3pramo/iso/YTabelaIso.h>

Y_INICIO_C

/* ---- The table of elements ---- */

/* What the low seven bits of an element's format say: its character classes, and the digits of its
 * length prefix. */
enum {
    Y_ISO_Z = 0x01,       /* track data */
    Y_ISO_B = 0x02,       /* binary: the maximum counts bits, the text has a hexadecimal digit per four */
    Y_ISO_A = 0x04,       /* letters */
    Y_ISO_N = 0x08,       /* digits */
    Y_ISO_S = 0x10,       /* special characters */
    Y_ISO_CLASSES = 0x1F, /* all of the above */
    Y_ISO_PREFIXO = 0x60  /* these two bits, divided by 32: 0 is an element of fixed length */
};

#define Y_ISO_ELEMENTOS 128

typedef struct YElementoIso {
    uint64_t formato;   /* maximum length * 128 + flags */
    const char *rotulo; /* the element's name */
} YElementoIso;

/* The elements 1 to 128, at index 0 to 127. */
Y_EXPORTA extern const YElementoIso elementosIso[Y_ISO_ELEMENTOS];

/* Of a format: decimal digits of the length prefix, 0 for fixed length. */
#define Y_ISO_DIGITOS(formato) ((uint32_t)(((formato)&Y_ISO_PREFIXO) / 32))
/* Maximum length as the table says it: bits for a binary element. */
#define Y_ISO_MAXIMO(formato) ((uint32_t)((formato) / 128))
/* The same in characters of the text. */
#define Y_ISO_CARACTERES(formato) (Y_ISO_MAXIMO(formato) / (((formato)&Y_ISO_B) != 0 ? 4 : 1))

/* ---- The message ---- */

/* Read the fields freely; change them through the functions. */
Y_CLASSE(YMensagemIso, YOb) {
    Y_PAI(YOb)
    char **bits;        /* slot i is the text of element i + 1, or null; null while capacidade is 0 */
    int32_t capacidade; /* number of slots: 0, 64 or 128; only clearing takes it back */
    int32_t transacao;  /* transaction code (message type) */
    void *privado;      /* private */
};

typedef struct YMensagemIso YMensagemIso;

Y_EXPORTA extern const YRtti YMensagemIso_definicaoRtti;
Y_EXPORTA const YRtti *YMensagemIso_rtti(void);

/* The transaction code, 0 in a new message. The wire form has room for 0 to 9999. */
Y_EXPORTA void YMensagemIso_setTransacao(YMensagemIso *mensagem, int32_t transacao);
Y_EXPORTA int32_t YMensagemIso_getTransacao(const YMensagemIso *mensagem);

/* Stores the text as the element; null removes it. The slots grow to hold the bit, also for null,
 * and that decides how many bitmaps the wire form has. Element 1 as a text announces the second
 * bitmap, so it makes 128 slots.
 * Raises: YExc "Elemento N. O número do elemento vai de 1 a 128." for any other number.
 *   YExc "O elemento 65 anunciaria um terceiro bitmap." for a text in element 65.
 *   Nothing has changed then. */
Y_EXPORTA void YMensagemIso_setBit(YMensagemIso *mensagem, int32_t bit, const char *texto);

/* The same with a text of so many bytes, any bytes. */
Y_EXPORTA void YMensagemIso_setBitTam(YMensagemIso *mensagem, int32_t bit, const char *texto,
                                      uint64_t tamanho);

/* The element's text.
 * Gives: null when it is absent, beyond the slots or no number from 1 to 128. */
Y_EXPORTA const char *YMensagemIso_getBit(const YMensagemIso *mensagem, int32_t bit);

/* Its length in bytes; 0 where YMensagemIso_getBit gives null. */
Y_EXPORTA uint64_t YMensagemIso_getTamanhoBit(const YMensagemIso *mensagem, int32_t bit);

/* The element as a number: digits and nothing else, zeros in front allowed.
 * Gives: Y_LEITURA_AUSENTE where YMensagemIso_getBit gives null. `valor` is written for
 *   Y_LEITURA_OK alone. */
Y_EXPORTA YSituacao YMensagemIso_leNumero(const YMensagemIso *mensagem, int32_t bit, uint64_t *valor);

/* Makes the message a copy of the other: code, elements and number of slots. A copy onto itself
 * changes nothing. */
Y_EXPORTA void YMensagemIso_copiaDe(YMensagemIso *destino, const YMensagemIso *origem);

/* Makes `resposta` the answer to a request: this code, and copies of those of the listed elements
 * that the request has. Everything else of the answer is the caller's to set. The two may be the
 * same message.
 * Raises: as YMensagemIso_setBit for a number outside 1 to 128; nothing has changed then. */
Y_EXPORTA void YMensagemIso_montaResposta(YMensagemIso *resposta, const YMensagemIso *requisicao,
                                          int32_t transacao, const int32_t *ecoados, int32_t quantos);

/* Told of one failure: the bit, the element's name, and the reason, which never holds a character
 * of the text.
 * Lives: the reason during the call. */
typedef void (*YFuncaoFalhaIso)(void *contexto, int32_t bit, const char *rotulo, const char *motivo);

/* Holds the message against the table and tells `funcao` (which may be null) each failure, in the
 * order of the bits. Failures are
 * - as bit 0, a transaction code outside 0 to 9999;
 * - a length that is not exactly that of an element of fixed length, or is beyond the maximum of
 *   another;
 * - the first character outside the element's classes.
 *
 * The classes: n digits; a letters without accents; s every other printable character;
 * b hexadecimal digits in either case; z digits, the characters : ; < = > ? and D. Blanks that fill
 * up an element of fixed length whose classes have an a are good.
 * Gives: the number of failures. */
Y_EXPORTA int32_t YMensagemIso_valida(const YMensagemIso *mensagem, YFuncaoFalhaIso funcao, void *contexto);

/* ---- Wire form ----
 *
 * The code in four decimal digits; a bitmap of 16 upper-case hexadecimal digits for every 64 slots
 * (none for a message without slots); the elements from 2 up in increasing order, those of variable
 * length behind their length in one to three digits. */

/* Appends the wire form. A text longer than the maximum of the table is cut to that many
 * characters; nothing else changes a text, so one of fixed length must have exactly the length that
 * loading reads (YMensagemIso_valida tells). A code of more than four digits is written whole;
 * reading takes four. */
Y_EXPORTA void YMensagemIso_emiteEmStream(const YMensagemIso *mensagem, YStream *stream);

/* Replaces the message by the one that begins at *posicao, in a zero-terminated text, and moves
 * *posicao behind it. Reads only what the message needs, never past the zero. A text that ends
 * right after the code is a message without slots. Nothing is validated but the bitmaps: what is no
 * digit in the code or in a length is skipped; element 1 is not loaded.
 * Raises: YExc "PARTE. Mensagem ISO 8583 incompleta." when the text ends too early, where PARTE is
 *   "Código da transação", "Bitmap 1", "Bitmap 2" or as "Elemento 35 (Track 2 data)".
 *   YExc "PARTE. Bitmap com caractere inválido." when a bitmap holds anything but upper-case
 *   hexadecimal digits.
 *   YExc "Mensagem ISO 8583 com terceiro bitmap." when the second bitmap announces a third.
 *   The message then holds what was read before that part, and *posicao stands at the first
 *   character of the part (its length prefix, if it has one), or behind the second bitmap. When
 *   there is no memory, message and position are what they were. */
Y_EXPORTA void YMensagemIso_carrega(YMensagemIso *mensagem, const char **posicao);

/* The same from `tamanho` bytes, any bytes. */
Y_EXPORTA void YMensagemIso_carregaBloco(YMensagemIso *mensagem, const char **posicao, uint64_t tamanho);

/* ---- Wire form of a table ----
 *
 * Code, bitmaps, lengths and elements in the encodings that the table says (YTabelaIso.h). In the
 * message every element stays a text of characters: what is packed as its digits, with = where a
 * track has the nibble D; what is binary as upper-case hexadecimal digits; EBCDIC (code page 037) as
 * ISO-8859-1. Reading and writing are strict: what one writes the other reads, and every byte that
 * is read is written again as it was. */

/* Replaces the message by the one that begins at *posicao, in `tamanho` bytes, and moves *posicao
 * behind it. Reads only what the message needs. Bytes that end right after the code are a message
 * without slots. Of the contents only what the encoding cannot have is refused; element 1 is not
 * loaded.
 * Raises: YExc "PARTE, byte N. REASON", where PARTE is as in YMensagemIso_carrega, with the table's
 *   names, N counts from the start of the message, 0 the first byte, and REASON is
 *   "Mensagem ISO 8583 incompleta." N is where the missing bytes should begin with those there are;
 *   "Código com caractere inválido.", "Bitmap com caractere inválido." or "Tamanho com caractere
 *   inválido.", N is where the number or bitmap begins;
 *   "Tamanho além do máximo.", N is where the length begins;
 *   "Algarismo compactado inválido.", N is the byte with a nibble beyond 9 (in a track, beyond 9 and
 *   not D) or whose filling is not the table's.
 *   YExc "Mensagem ISO 8583 com terceiro bitmap."
 *   The message then holds what was read before that part, and *posicao stands at the part. When
 *   there is no memory, message and position are what they were. */
Y_EXPORTA void YMensagemIso_carregaCom(YMensagemIso *mensagem, const YTabelaIso *tabela, const char **posicao,
                                       uint64_t tamanho);

/* Appends the wire form. Nothing is cut or filled up. In packed tracks = and D are the same.
 * Raises: YExc "Elemento 3 (Processing code): REASON. Elemento fora da tabela.", with the reason
 *   that YMensagemIso_validaCom gives, for a text that the table cannot carry: of another length, or
 *   with a character that its encoding does not have. Character classes are not looked at.
 *   YExc "Código da transação fora de 0 a 9999."
 *   Nothing has been appended then. */
Y_EXPORTA void YMensagemIso_emiteCom(const YMensagemIso *mensagem, const YTabelaIso *tabela, YStream *stream);

/* As YMensagemIso_valida, by the lengths, classes and names of the table. One failure more, of an
 * element that has no other:
 * - a text that its encoding cannot carry. */
Y_EXPORTA int32_t YMensagemIso_validaCom(const YMensagemIso *mensagem, const YTabelaIso *tabela,
                                         YFuncaoFalhaIso funcao, void *contexto);

/* ---- Dump ----
 *
 * For reading: the line "Código da Transação: 200", then a line as `  3 Processing code : "003000"`
 * for every element. What is appended to a stream, here and below, is appended whole or, when there
 * is no memory, not at all. */

/* Appends the dump, every text as it is: with card numbers, track data and PIN blocks. Not for
 * logs. */
Y_EXPORTA void YMensagemIso_dumpEmStream(const YMensagemIso *mensagem, YStream *stream);

/* Writes it into a file, made or emptied. Nothing is reported when that fails. */
Y_EXPORTA void YMensagemIso_dumpEmArquivo(const YMensagemIso *mensagem, const char *caminho);

/* Appends the dump for logs and screens: what is not known to be harmless is masked.
 * - Element 2: its first six and last four digits; nothing when it is not 13 to 19 digits.
 * - 35, 36, 45 and 52: the length alone, as (37 caracteres).
 * - 20, 34, 53 and 55: a * for every character.
 * - Private and reserved ones, 44, 46 to 48, 54, 56 to 63 and 102 to 127: the length alone.
 * - Every other: the text, but of a run of 13 or more digits, with single blanks and hyphens
 *   between them or not, only the first six and the last four.
 * Control characters are written as \x0A. */
Y_EXPORTA void YMensagemIso_dumpMascaradoEmStream(const YMensagemIso *mensagem, YStream *stream);

/* The same with the names of the table. Of an element that the table has in binary, and elementosIso
 * has not, only the length is shown: its text is another writing of digits that would be masked. */
Y_EXPORTA void YMensagemIso_dumpMascaradoCom(const YMensagemIso *mensagem, const YTabelaIso *tabela,
                                             YStream *stream);

/* Has masked dumps show the element's text as it is (nonzero), or masked again (0), in the whole
 * process and for all messages: for the elements of which the application knows that they never
 * hold card data.
 * Raises: as YMensagemIso_setBit for a number outside 1 to 128.
 *   YExc "Elemento N. Dados do cartão nunca são mostrados." for 2, 20, 34 to 36, 45, 52, 53 and 55.
 *   Nothing has changed then.
 * Threads: any. */
Y_EXPORTA void YMensagemIso_mostraElemento(int32_t bit, int32_t mostra);

/* Appends the line of one element, masked (nonzero) or as it is (0); nothing when
 * YMensagemIso_getBit gives null. */
Y_EXPORTA void YMensagemIso_dumpElemento(const YMensagemIso *mensagem, int32_t bit, int mascarado,
                                         YStream *stream);

/* ---- Text file ----
 *
 * The code in decimal, then a line as "003 003000" for every element. What it does not keep:
 * - a line feed in a text breaks the line;
 * - white space at the start of a text is lost in reading;
 * - what follows the first 2043 characters of a text is lost, and read as a line of its own;
 * - slots without elements are not written. */

/* Writes the text file, made or emptied. Nothing is reported when that fails: to know, write a
 * stream. */
Y_EXPORTA void YMensagemIso_salvaEmArquivo(const YMensagemIso *mensagem, const char *caminho);

/* Appends the content of the text file. */
Y_EXPORTA void YMensagemIso_salvaEmStream(const YMensagemIso *mensagem, YStream *stream);

/* Reads a text file into the message, which is not cleared: elements that the file does not name
 * stay. A file that cannot be opened changes nothing and is not reported. What was read before
 * memory ran out stays.
 * - The first line is the code, as atoi reads it.
 * - Of every other, in pieces of at most 2047 characters, the number is read as strtol does, white
 *   space behind it is skipped, and the rest, possibly empty, is the element's text; a carriage
 *   return at its end is part of it.
 * - Lines without a number from 1 to 128 are skipped, and those of element 65. */
Y_EXPORTA void YMensagemIso_leDeArquivo(YMensagemIso *mensagem, const char *caminho);

Y_FIM_C

#endif
