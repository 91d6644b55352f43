/* A channel for ISO 8583 messages over one TCP connection, accepted or connected: cuts the stream of
 * bytes into messages, and gives each request that is under way its own answer, however many threads
 * ask at once.
 *
 *     YCanalIso *canal;
 *     YalocaObjeto(&canal, YCanalIso_rtti);
 *     YCanalIso_setSocket(canal, socket);
 *     YCanalIso_setQuadro(canal, Y_ISO_QUADRO_2_BYTES, 0);
 *     ...
 *     if (YCanalIso_troca(canal, pedido, resposta, 30000) == Y_ESPERA_PRONTA) ...
 *     YliberaObjeto(canal);
 *     YliberaObjeto(socket);
 *
 * The channel has no thread of its own. The threads that wait on it read for each other, one at a
 * time: while nobody waits nothing is read. What a message holds reaches no log.
 *
 * Owns: the socket and the table stay the caller's, and outlive the channel or its last call; so a
 *   handler of a YTcpServer makes a channel of the socket that it is lent.
 * Ends: a connection that was closed stays closed for the channel; YSocket_cancela ends all its waits
 *   as Y_ESPERA_CANCELADA. A peer that closed its own direction only may still be sent messages.
 * Threads: any number send, receive and exchange at once; the settings belong to one thread, while no
 *   other uses the channel. It is freed when no call is using it. */
#ifndef Y3PRAMO_ISO_YCANALISO_H
#define Y3PRAMO_ISO_YCANALISO_H

#include <3pramo/foundation/YSocket.h>
#include <3pramo/iso/YMensagemIso.h>

Y_INICIO_C

/* How messages follow each other on the connection. A length counts the bytes behind it. */
typedef enum YQuadroIso {
    Y_ISO_QUADRO_2_BYTES = 0,   /* a length of two bytes, the more significant first */
    Y_ISO_QUADRO_4_BYTES = 1,   /* of four bytes, the most significant first */
    Y_ISO_QUADRO_4_DIGITOS = 2, /* of four decimal digits */
    Y_ISO_QUADRO_LINHA = 3,     /* no length: LF ends each message; a CR in front of it is dropped */
} YQuadroIso;

/* What came and had no one waiting for it. */
typedef enum YAvulsaIso {
    Y_ISO_TARDIA = 0,      /* an answer whose asker gave up, or has had one already */
    Y_ISO_ESTRANHA = 1,    /* an answer that nobody asked for, or no answer at all */
    Y_ISO_MAL_FORMADA = 2, /* what is no message, whole as it came */
} YAvulsaIso;

Y_CLASSE(YCanalIso, YOb) {
    Y_PAI(YOb)
    void *privado;
};

typedef struct YCanalIso YCanalIso;

Y_EXPORTA extern const YRtti YCanalIso_definicaoRtti;
Y_EXPORTA const YRtti *YCanalIso_rtti(void);

/* ---- Settings ---- */

/* The connection; another one begins anew, without what was read in part. Null for none. */
Y_EXPORTA void YCanalIso_setSocket(YCanalIso *canal, YSocket *socket);

/* The frame, Y_ISO_QUADRO_2_BYTES at first; with `contaASiMesmo` the length counts its own bytes,
 * too.
 * Raises: YExc "Quadro desconhecido." for any other; nothing has changed then. */
Y_EXPORTA void YCanalIso_setQuadro(YCanalIso *canal, YQuadroIso quadro, int contaASiMesmo);

/* Bytes that stand in front of each message and belong to its frame (a TPDU); none at first. They are
 * sent as they are. As many are taken off what is received, not compared, since a peer may answer
 * with others: YCanalIso_recebe gives them.
 * Owns: the bytes are copied. */
Y_EXPORTA void YCanalIso_setCabecalho(YCanalIso *canal, const void *bytes, uint32_t quantos);

/* The network's table; null, as at first, is the form without one (YMensagemIso_carrega). */
Y_EXPORTA void YCanalIso_setTabela(YCanalIso *canal, const YTabelaIso *tabela);

/* Most bytes of one message with its header, sent or received; 65,535 at first. */
Y_EXPORTA void YCanalIso_setLimite(YCanalIso *canal, uint32_t bytes);

/* Told what nobody waits for, on the thread that read it, whose own wait lasts as much longer; others
 * read on, and may be calling it at the same time. It may send on the channel; YCanalIso_recebe and
 * YCanalIso_troca, of any channel, raise YExc "Recebimento dentro do aviso de uma avulsa."
 * `motivo` is null, but for Y_ISO_MAL_FORMADA: why it is none, without a character of its elements;
 * the message then holds what was read before.
 * Raises: an exception of any kind that leaves it is logged, and goes no further.
 * Lives: message and reason during the call. */
typedef void (*YFuncaoAvulsaIso)(void *contexto, YCanalIso *canal, YAvulsaIso qual,
                                 const YMensagemIso *mensagem, const char *motivo);

/* Null, as at first, tells nobody. */
Y_EXPORTA void YCanalIso_setAvulsas(YCanalIso *canal, void *contexto, YFuncaoAvulsaIso funcao);

/* How many came of them so far. What YCanalIso_recebe gave does not count.
 * Threads: any. */
Y_EXPORTA uint64_t YCanalIso_getAvulsas(const YCanalIso *canal, YAvulsaIso qual);

/* ---- Messages: deadlines in milliseconds from the call; 0 takes what is possible at once ----
 *
 * All raise YExc "Canal sem conexão.", and YExc "Memória insuficiente." */

/* Sends one message.
 * Gives: Y_ESPERA_PRONTA when the system has taken it; Y_ESPERA_PRAZO when other threads' messages
 *   took all the time and nothing of it was sent, or the peer took it too slowly, and the connection
 *   is then closed, as nobody knows how much of it was sent.
 * Raises: before anything is sent:
 *   YExc "Código da transação fora de 0 a 9999.";
 *   YExc "tamanho: N. Mensagem grande demais para o canal." beyond the limit, or what the frame's
 *   length can say;
 *   YExc "Mensagem com fim de linha." for a LF in it, or a CR at its end, with Y_ISO_QUADRO_LINHA;
 *   what YMensagemIso_emiteCom raises. */
Y_EXPORTA YFimDaEspera YCanalIso_envia(YCanalIso *canal, const YMensagemIso *mensagem,
                                       uint32_t milissegundos);

/* Receives the next message, but answers that YCanalIso_troca waits for or waited for. Frames without
 * a byte, by which peers keep a connection, are passed over. What has come of a message when the time
 * passes waits in the channel. `cabecalho`, which may be null, becomes the bytes in front of it.
 * Gives: other than Y_ESPERA_PRONTA, the message is what it was.
 * Raises: what YMensagemIso_carregaCom or _carregaBloco raises; YExc "Mensagem menor que o
 *   cabeçalho."; YExc "byte N. Bytes depois da mensagem." when the frame goes on behind the message:
 *   that message is lost, it holds what was read of it, and the channel goes on.
 *   YExcIOError "Quadro ISO 8583 mal formado." for a length, or a line, that cannot be or is beyond
 *   the limit, with "tamanho: N. " in front when it is a number: where the next message would begin
 *   nobody knows, and the connection is closed (YSocket_cancela). Other threads' waits then give
 *   Y_ESPERA_FECHADA, and so do all later ones. */
Y_EXPORTA YFimDaEspera YCanalIso_recebe(YCanalIso *canal, YMensagemIso *mensagem, YStream *cabecalho,
                                        uint32_t milissegundos);

/* Sends the request and waits for its answer, which replaces `resposta`; the two may be one message.
 *
 * The answer is the message whose code is the request's plus 10 (their last digits, who sent it and
 * whether again, are not compared: 210 answers 201, too) and whose elements 11 and 41 are the
 * request's, byte for byte or absent in both. Others' answers that come meanwhile reach their askers.
 * An answer that comes twice, or too late, is Y_ISO_TARDIA and nobody's, as long as its request is
 * among the latest 8,192. But where the application asks again with the same code and elements, no
 * answer tells which of the two requests it is for.
 *
 * Gives: with any end but Y_ESPERA_PRONTA `resposta` is what it was, and nobody knows whether the
 *   peer carried the request out. A malformed answer is nobody's: its asker waits on.
 * Raises: before anything is sent, as YCanalIso_envia and also
 *   YExc "A mensagem não é um pedido.": the third digit of its code, of four, is odd;
 *   YExc "Falta o elemento 11.";
 *   YExc "Pedido igual em andamento." when another thread waits for the same answer.
 *   As YCanalIso_recebe, YExcIOError "Quadro ISO 8583 mal formado." */
Y_EXPORTA YFimDaEspera YCanalIso_troca(YCanalIso *canal, const YMensagemIso *pedido, YMensagemIso *resposta,
                                       uint32_t milissegundos);

Y_FIM_C

#endif
