/* One port type: its methods' handlers, the class of its service objects, its WSDL.
 *
 * YSoapServer_registraPortType makes one of a table and owns it. One whose handlers have contexts,
 * or that is to take the place of another while its server serves, is made with YalocaObjeto, put
 * together with the functions below, and given to YSoapServer_poePortType.
 * Threads: a port type is changed only before its server has it or before its server starts; to
 * change one later, put another one in its place. */
#ifndef Y3PRAMO_SOAP_YPORTTYPE_H
#define Y3PRAMO_SOAP_YPORTTYPE_H

#include <3pramo/foundation/YMapa.h>
#include <3pramo/node/YNo.h>
#include <3pramo/soap/YWebService.h>

Y_INICIO_C

/* A method handler.
 *   servico     the object that the call names, or a temporary one
 *   requisicao  the method's element; null when the request has no body
 *   resposta    an empty, nameless node that the results are written into, usually with the
 *               typed setters
 * Stops: one that runs long asks YObThread_isAlive of its server, which YWebService_getSoapServer
 *   gives while the object is in a live set; 0 says that a stop or the freeing is asked. The server
 *   lives until it has returned.
 * Raises: an exception of the library's classes, or of a class derived from them, becomes a SOAP
 *   fault with its class, message and place. Any other (a std::exception) is logged, with what may
 *   be card data masked, and answered as YExc "Erro interno.": its text was not written for a
 *   client.
 * Lives: the nodes, until the handler returns.
 * Threads: runs on that of the connection that brought the call. */
typedef void (*YTratadorSoap)(YWebService *servico, YNo *requisicao, YNo *resposta);

Y_CLASSE(YPortType, YOb) {
    Y_PAI(YOb)
    const char *wsdl;          /* not owned */
    YMapa *tratadores;         /* method name to handler; owned */
    YFuncaoRtti rttiDoServico; /* class of the service objects */
    void *grupoDeRecursos;     /* not owned */
};

typedef struct YPortType YPortType;

Y_EXPORTA extern const YRtti YPortType_definicaoRtti;
Y_EXPORTA const YRtti *YPortType_rtti(void);

/* The WSDL document, with macros; null for none. With null, as at first, a port type whose methods
 * are described (YPortType_descreveMetodo) is published with a document that is made of them.
 * Lives: kept by reference, so it must live as long as the port type. */
Y_EXPORTA const char *YPortType_getWsdl(const YPortType *portType);
Y_EXPORTA void YPortType_setWsdl(YPortType *portType, const char *wsdl);

/* Stores the handler under the method name, in place of an earlier one.
 * Gives: 1 when the name is new, else 0. */
Y_EXPORTA int YPortType_registraTratador(YPortType *portType, const char *metodo, YTratadorSoap tratador);

/* The handler of the method; null when there is none without a context. */
Y_EXPORTA YTratadorSoap YPortType_obtemTratador(const YPortType *portType, const char *metodo);

/* A method handler with a context of the application's, which calls on many threads share.
 * Its other arguments, what it may raise and its threads are those of a YTratadorSoap. */
typedef void (*YTratadorSoapComContexto)(void *contexto, YWebService *servico, YNo *requisicao,
                                         YNo *resposta);

/* Stores the handler and its context under the method name, in place of an earlier one of either
 * kind.
 * Gives: 1 when the name is new, else 0.
 * Raises: YExc "Memória insuficiente." and has changed nothing then.
 * Owns: the port type owns the context from now on, and lets `liberaContexto` free it (unless that
 *   is null) once the port type has gone or another handler has taken this one's place, and the
 *   last call of this one has returned.
 * Threads: `liberaContexto` runs once, on whichever thread is the last; what it raises is logged. */
Y_EXPORTA int YPortType_registraTratadorComContexto(YPortType *portType, const char *metodo,
                                                    YTratadorSoapComContexto tratador, void *contexto,
                                                    void (*liberaContexto)(void *contexto));

/* The types of parameters and results, by their names in XML Schema. */
typedef enum YTipoXsd {
    Y_XSD_NENHUM, /* no result */
    Y_XSD_ANY_TYPE,
    Y_XSD_BOOLEAN,
    Y_XSD_BYTE,
    Y_XSD_UNSIGNED_BYTE,
    Y_XSD_SHORT,
    Y_XSD_UNSIGNED_SHORT,
    Y_XSD_INT,
    Y_XSD_UNSIGNED_INT,
    Y_XSD_LONG,
    Y_XSD_UNSIGNED_LONG,
    Y_XSD_FLOAT,
    Y_XSD_DOUBLE,
    Y_XSD_DECIMAL,
    Y_XSD_STRING,
    Y_XSD_DATE,
    Y_XSD_DATE_TIME
} YTipoXsd;

/* One parameter of a method. */
typedef struct YDefinicaoParametro {
    const char *nome;
    YTipoXsd tipo;
} YDefinicaoParametro;

/* Describes a method for the WSDL document of a port type that has none of its own, in place of an
 * earlier description.
 * - The document is rpc/encoded; methods stand in it in the order in which they were described, a
 *   result under the name "return". Its address is the host that the client asked, $(*Host), and
 *   /soap/NAME.
 * - A method with a parameter "eu" is one of service objects: the document then has "constroi" and
 *   "destroi", too, as they are built in, unless they are described themselves.
 * - A description changes no call: nothing is checked by it, and a method without one is called as
 *   before.
 * Raises: YExcSoap "Nome inválido em WSDL." for a name that is not a letter or "_" followed by
 *   letters, digits, "_", "-" and "." of ASCII, the port type's own included (then also
 *   YSoapServer_poePortType); "Nome repetido em WSDL." for two parameters of one name; "Tipo
 *   desconhecido em WSDL." for a type that is none, or Y_XSD_NENHUM of a parameter. Nothing has
 *   changed then.
 * Owns: everything is copied. */
Y_EXPORTA void YPortType_descreveMetodo(YPortType *portType, const char *metodo,
                                        const YDefinicaoParametro *parametros, uint32_t quantos,
                                        YTipoXsd tipoDoResultado);

/* The class of the service objects; it must derive from YWebService. */
Y_EXPORTA void YPortType_setRttiDoServico(YPortType *portType, YFuncaoRtti classe);

/* The resource group that its service objects are given; not owned. */
Y_EXPORTA void YPortType_setGrupoDeRecursos(YPortType *portType, void *grupo);

/* Makes a service object into `servico`, and gives it the port type's resource group.
 * Raises: YExcSoap "PortType sem classe de serviço." when the port type has no class or one that
 *   does not derive from YWebService; what the class's constructors raise.
 * Owns: the caller owns the object. */
Y_EXPORTA void YPortType_constroiObjeto(YPortType *portType, YWebService **servico);

Y_FIM_C

#endif
