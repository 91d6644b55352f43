/* YSoapClient: calls methods of SOAP 1.1 RPC services, this library's and others'.
 *
 *     YSoapClient *cliente;
 *     YNo *pedido, *resposta;
 *     YalocaObjeto(&cliente, YSoapClient_rtti);
 *     YSoapClient_setEndereco(cliente, "10.0.0.1", 8080);
 *     YalocaObjeto(&pedido, YNo_rtti);
 *     YNo_setInt(pedido, "a", 2);
 *     YNo_setInt(pedido, "b", 3);
 *     resposta = YSoapClient_chama(cliente, "Calc", "soma", pedido);
 *     ... YNo_getInt(resposta, "return") is 5 ...
 *
 * A call is sent once. Whatever happens, it is never sent again by itself: the server may have
 * carried it out, and a payment must not be made twice. After a failure YSoapClient_foiEnviada says
 * whether that may be so.
 *
 * A service object that "constroi" made is called with its identity, the text of "return", in the
 * parameter "eu" of each call, and ended with "destroi".
 *
 * Everything that comes from the server is bounded: the head (64 KiB), the body, the tree's levels
 * and nodes (the defaults of YSoapParser.h), and the time. What its answer holds reaches no log,
 * but those of bodies (Y_LOG_CORPO), where card data is masked. The connection is TCP without
 * encryption.
 *
 * Owns: made with YalocaObjeto(&cliente, YSoapClient_rtti), freed with YliberaObjeto.
 * Threads: one at a time, so one call at a time. */
#ifndef Y3PRAMO_SOAP_YSOAPCLIENT_H
#define Y3PRAMO_SOAP_YSOAPCLIENT_H

#include <3pramo/node/YNo.h>
#include <3pramo/soap/YExcFalhaRemota.h>

Y_INICIO_C

Y_CLASSE(YSoapClient, YOb) {
    Y_PAI(YOb)
    void *privado;
};

typedef struct YSoapClient YSoapClient;

Y_EXPORTA extern const YRtti YSoapClient_definicaoRtti;
Y_EXPORTA const YRtti *YSoapClient_rtti(void);

/* ---- Settings, which count from the next call on ---- */

/* The server: a host name or numeric address, copied, and the port.
 * Raises: YExc "Endereço inválido." for a null one, and for anything but ASCII letters, digits and
 *   . : - _ % in it; nothing has changed then. */
Y_EXPORTA void YSoapClient_setEndereco(YSoapClient *cliente, const char *endereco, uint32_t porta);

/* The path that calls are posted to, copied, as "/soap/Calc". With null, as at first, it is "/soap/"
 * and the name of the port type.
 * Raises: YExc "Caminho inválido." for one that does not begin with "/", and for blanks, control
 *   characters and what is not ASCII in it; nothing has changed then. */
Y_EXPORTA void YSoapClient_setCaminho(YSoapClient *cliente, const char *caminho);

/* Milliseconds that a whole call may take: connecting with the search for the name, sending and
 * receiving together. 30,000 at first. */
Y_EXPORTA void YSoapClient_setPrazo(YSoapClient *cliente, uint32_t milissegundos);

/* Most bytes of an answer's body; 64 MiB at first. */
Y_EXPORTA void YSoapClient_setLimiteDaResposta(YSoapClient *cliente, uint64_t bytes);

/* ---- Calling ---- */

/* Calls the method of the port type. Its parameters are the children (or the content) of
 * `requisicao`, whose own name and attributes do not matter; null for none.
 *
 * A connection is used for another call within a second when the server keeps it: its answer is
 * HTTP/1.1 or says "keep-alive", does not say "close", and its end is known. Every other call
 * connects anew.
 *
 * An answer in UTF-8 is converted when its XML declaration or, without one, its Content-Type says
 * so. Elements that refer to others (href="#id") read as those, and encoded maps as plain elements.
 *
 * Gives: the response element of the Body, whose children are the results.
 * Raises: YExcFalhaRemota for a fault, whatever the HTTP status.
 *   YExc "Cliente sem endereço."; "Nome inválido." for a null or empty name of port type or method,
 *   or one that holds blanks, control characters or any of " # & ' / < >, and for such a name of an
 *   element below `requisicao` or of an attribute of one; nothing was sent then.
 *   YExcIOError, with "ADDRESS:PORT. " in front:
 *   - "Falha na conexão.": refused, or the name is not known; nothing was sent;
 *   - "Prazo da chamada esgotado.";
 *   - "A conexão acabou antes da resposta.": no whole line of it came, or the
 *     request could not be sent;
 *   - "Resposta incompleta.": the connection ended before the answer did;
 *   - "Resposta grande demais.";
 *   - "Resposta HTTP mal formada.";
 *   - "HTTP 404. Resposta sem envelope SOAP.", with the status: for any status but 200 when no
 *     fault came with it, and for 200 when the text is another document.
 *   YExcSoap, with "ADDRESS:PORT. " in front:
 *   - "Resposta não é XML.": the parser does not take it, or its tree is beyond a bound;
 *   - "Resposta sem elemento.": the Body is empty.
 *   YExcSoap "Caractere fora de ISO-8859-1." for a character in UTF-8 that ISO-8859-1 does not have
 *   (a fault has a "?" for it);
 *   "Mensagem SOAP mal formada." for references beyond a bound, "id: ID. Referência circular entre
 *   elementos." for a circle of them; what YNo_corrigeMaps raises for a bad map.
 * Owns: the caller owns the answer. */
Y_EXPORTA YNo *YSoapClient_chama(YSoapClient *cliente, const char *portType, const char *metodo,
                                 const YNo *requisicao);

/* 1 when sending the last call had begun: whatever it raised then, the server may have carried it
 * out. 0 when nothing of it was sent: it may be called again without harm. */
Y_EXPORTA int YSoapClient_foiEnviada(const YSoapClient *cliente);

Y_FIM_C

#endif
