/* How a network speaks ISO 8583, as data: of every element the name, the character classes, the
 * length and the encoding on the wire; of the message the encoding of code, bitmaps and lengths.
 *
 *     YTabelaIso *rede = YTabelaIso_leArquivo("rede.tabela", NULL, NULL);
 *     YMensagemIso_carregaCom(pedido, rede, &posicao, tamanho);
 *     YMensagemIso_emiteCom(resposta, rede, stream);
 *     YliberaObjeto(rede);
 *
 * A table is written as text, one element a line, beside the network's manual
 * (docs/iso8583-tabelas.md has the language); what the text does not name is as in elementosIso, in
 * characters. Tables to start from are installed in share/3pramo/iso8583. A table made with
 * YalocaObjeto is that of the empty text.
 *
 * Owns: a table is the caller's, who frees it with YliberaObjeto when no call is using it.
 * Threads: a table never changes once it is made; any number of threads use it without a lock. */
#ifndef Y3PRAMO_ISO_YTABELAISO_H
#define Y3PRAMO_ISO_YTABELAISO_H

#include <3pramo/foundation/YOb.h>

Y_INICIO_C

typedef struct YTabelaIso YTabelaIso;

Y_EXPORTA extern const YRtti YTabelaIso_definicaoRtti;
Y_EXPORTA const YRtti *YTabelaIso_rtti(void);

/* The largest text of a table, in bytes. */
#define Y_ISO_MAIOR_TABELA 262144

/* Told of one error of a table's text: the line, 1 the first, and the reason, which has no control
 * characters.
 * Lives: the reason during the call. */
typedef void (*YFuncaoErroTabelaIso)(void *contexto, int32_t linha, const char *motivo);

/* A new table from a text of `tamanho` bytes, ISO-8859-1. All of it is checked, and `funcao` (which
 * may be null) is told every error, in the order of the lines.
 * Gives: never null.
 * Raises: YExc "Linha N: REASON. Tabela ISO 8583 com erros.", with the first error.
 *   YExc "Tabela ISO 8583 grande demais." beyond Y_ISO_MAIOR_TABELA.
 *   YExc "Memória insuficiente." */
Y_EXPORTA YTabelaIso *YTabelaIso_leTexto(const char *texto, uint64_t tamanho, YFuncaoErroTabelaIso funcao,
                                         void *contexto);

/* The same from a file.
 * Raises: also YExcIOError "nome: PATH. Falha na leitura do arquivo." */
Y_EXPORTA YTabelaIso *YTabelaIso_leArquivo(const char *caminho, YFuncaoErroTabelaIso funcao, void *contexto);

Y_FIM_C

#endif
