/* The SOAP server: publishes port types over HTTP and keeps their service objects.
 *
 *     YSoapServer *servidor;
 *     YalocaObjeto(&servidor, YSoapServer_rtti);
 *     YSoapServer_setPorta(servidor, 8080);
 *     YSoapServer_registraPortType(servidor, &definicaoDoCalc);
 *     YObThread_start((YObThread *)servidor);
 *     ...
 *     YliberaObjeto(servidor);
 *
 * Calls
 * - A call goes to the port type named by the last segment of the URI; the method is the text after
 *   # in the SOAPAction header.
 * - With an "eu" it goes to the live service object of that identity; without one, or with one that
 *   holds nothing (<eu></eu>), to a temporary object.
 * - An object is called through the port type that carries its class's name, when that one is for
 *   objects of its class, else through the one of the URI; never through a port type for other
 *   objects.
 * - Without a handler of their own, three methods are built in: "constroi" makes a service object
 *   and answers its identity in "return"; "destroi" ends the one named by "eu"; "invoca" calls the
 *   method named by "metodo" with the text of "param" as its request.
 * - Failures are answered as SOAP faults, with HTTP status 200.
 * - A GET for /wsdl/NAME is answered with the WSDL of that port type, its own or the one that is
 *   made of its descriptions; everything else with the files under the base directory, or by the
 *   handler of YSoapServer_setTratadorHttp.
 *
 * Text
 * - A request whose XML declaration names UTF-8 is converted; other requests are taken as
 *   ISO-8859-1.
 * - Answers are plain ASCII but for accents in the names of elements and attributes.
 * - An element of the request without content that points at another one of the Body (href="#id")
 *   reads as that one.
 *
 * Life: started and stopped with YObThread_start and YObThread_stop. It may be started again after
 * a stop, and then keeps its port types, service objects, settings and the connections that are
 * still open. A start that raises has undone itself. Freeing it stops it, lets calls in flight
 * finish, before the destructors of derived classes run too, and frees all service objects and port
 * types. From one of its handlers starting, stopping and freeing raise.
 *
 * Threads: unless said otherwise, any thread may call its functions, also while it serves. */
#ifndef Y3PRAMO_SOAP_YSOAPSERVER_H
#define Y3PRAMO_SOAP_YSOAPSERVER_H

#include <3pramo/foundation/YObMutex.h>
#include <3pramo/foundation/YSet.h>
#include <3pramo/http/YWebServer.h>
#include <3pramo/node/YExcSoap.h>
#include <3pramo/soap/YPortType.h>

Y_INICIO_C

/* One method of a port type. */
typedef struct YDefinicaoMetodo {
    const char *metodo; /* null ends the table */
    YTratadorSoap tratador;
} YDefinicaoMetodo;

/* What YSoapServer_registraPortType is given. */
typedef struct YDefinicaoPortType {
    const char *nome;                   /* last segment of its calls' URI, and of its /wsdl/ URI */
    const YDefinicaoMetodo *tratadores; /* ended by an entry without metodo */
    YFuncaoRtti rttiDoServico;          /* class of its service objects, derived from YWebService */
    const char *wsdl;                   /* WSDL document with macros, or null; not copied */
    void *grupoDeRecursos;              /* given to every service object it makes */
} YDefinicaoPortType;

Y_CLASSE(YSoapServer, YObThread) {
    Y_PAI(YObThread)
    int32_t porta;                  /* 80 */
    YWebServer *webServer;          /* made by the first start, used by every later one; owned */
    YTratadorHttp tratadorAnterior; /* what serves requests that are neither SOAP calls nor WSDL */
    void *contexto;                 /* the application's; not owned */
    YMapa *portTypes;               /* name to YPortType; owned */
    YDIC *macros;                   /* WSDL macro name to text; owned */
    void *grupoDeRecursos;          /* not owned */
    YSet *servicos;                 /* the live service objects; owned */
    YObMutex *mutex;                /* guards servicos; owned */
    char *diretorioBase;            /* owned */
    void *privado;
};

typedef struct YSoapServer YSoapServer;

/* A derived class takes from it the slots that it keeps: its run sweeps, its start and stop conduct
 * the web server. */
Y_EXPORTA extern const YObThread_Rtti YSoapServer_definicaoRtti;
Y_EXPORTA const YRtti *YSoapServer_rtti(void);

/* ---- Settings ---- */

/* The port for the next start, also registered as the WSDL macro "PORTA".
 * With 0 the system chooses a free port; starting waits until it is known and registers that as
 * "PORTA". */
Y_EXPORTA void YSoapServer_setPorta(YSoapServer *servidor, int32_t porta);

/* The port in use while it listens, otherwise the one that was set last. */
Y_EXPORTA int32_t YSoapServer_getPorta(YSoapServer *servidor);

/* The address to listen on from the next start ("127.0.0.1", "::1"), copied.
 * Null, as at first: everywhere. */
Y_EXPORTA void YSoapServer_setEndereco(YSoapServer *servidor, const char *endereco);

/* The directory of static files, copied; null, as at first, serves none.
 * Reaches a running server at once. */
Y_EXPORTA void YSoapServer_setDiretorioBase(YSoapServer *servidor, const char *diretorio);

/* Stores copies of a WSDL macro's name and text.
 * $(NAME) in a WSDL becomes the text, $(*NAME) the header field NAME of the request. Names count up
 * to 31 characters in a WSDL. A /wsdl/ request that cannot be expanded ends without an answer, with
 *   YExcSoap "Faltou fechar a macro em WSDL." for a macro without its ")";
 *   YExcSoap "Macro desconhecida em WSDL." for one of no such name;
 *   YExcSoap "Valor inválido para o WSDL." for a field that holds markup (< > & or a quote), and
 *   for a Host that is no name or address with a port.
 * The first two, but for header fields, are also logged as errors, with the port type's name, when
 * the server starts and when it is given a port type while it serves. */
Y_EXPORTA void YSoapServer_registraMacro(YSoapServer *servidor, const char *nome, const char *texto);

/* Installs an HTTP handler for what is neither a SOAP call nor the WSDL of a port type, as
 * YWebServer_trocaTratador does, also while the server serves; no other need reach into
 * `webServer`. It stays over stops and starts, and after a stop it answers all requests of the
 * connections that are still open.
 * Gives: in `*anterior`, before the new pair is called, the one that was installed before: at first
 *   the web server and its handler of static files. Installing that one again takes this one out. */
Y_EXPORTA void YSoapServer_setTratadorHttp(YSoapServer *servidor, void *contexto,
                                           YFuncaoTratadorHttp tratador, YTratadorHttp *anterior);

/* The application's own pointer, which handlers reach through YWebService_getSoapServer. */
Y_EXPORTA void YSoapServer_setContexto(YSoapServer *servidor, void *contexto);
Y_EXPORTA void *YSoapServer_getContexto(const YSoapServer *servidor);

/* The resource group of service objects that have none of their own. */
Y_EXPORTA void YSoapServer_setGrupoDeRecursos(YSoapServer *servidor, void *grupo);
Y_EXPORTA void *YSoapServer_getGrupoDeRecursos(const YSoapServer *servidor);

/* With nonzero a fault tells its parts by themselves, so that no client takes its text to pieces;
 * with 0, as at first, it does not. Behind "faultactor", with accents whole, where the text has
 * none:
 *   <detail><f:falha xmlns:f="urn:3pramo">
 *     <classe>       the exception's class
 *     <mensagem>     its message
 *     <detalhe>      the detail text that stands in front of it, when there is one
 *     <lugar>        SOURCE:LINE
 *     and an element for each attribute of the exception (YContextoTry_atributo) that is not called
 *     like one of these, as <campo>, the name of the form's field or the path of the element that
 *     was refused or is missing, and <nome>, that of a method or port type that is not known.
 * Of an exception that is not the library's it tells what the text tells: YExc "Erro interno." */
Y_EXPORTA void YSoapServer_setDetalheDaFalha(YSoapServer *servidor, int comDetalhe);

/* ---- Bounds ---- */

/* Most live service objects; 100,000 by default.
 * Beyond it "constroi" is answered with the fault "Limite de serviços ativos atingido.". Objects
 * that the application attaches itself count, but are not refused. The temporary objects of calls
 * do not count; those of failed calls wait for the next sweep, as many as this bound. */
Y_EXPORTA void YSoapServer_setLimiteDeServicos(YSoapServer *servidor, uint64_t servicos);

/* Bounds of one request's tree, as YSoapParser has them: levels, nodes, bytes of text.
 * 0 means the default. */
Y_EXPORTA void YSoapServer_setLimitesDaMensagem(YSoapServer *servidor, uint64_t niveis, uint64_t nos,
                                                uint64_t bytes);

/* Those of the web server, and its promise to close promptly (YWebServer.h).
 * Kept over starts, and for a server that serves from now on. */
Y_EXPORTA void YSoapServer_setLimiteDoCabecalho(YSoapServer *servidor, uint64_t bytes);
Y_EXPORTA void YSoapServer_setLimiteDoCorpo(YSoapServer *servidor, uint64_t bytes);
Y_EXPORTA void YSoapServer_setLimiteDosCorpos(YSoapServer *servidor, uint64_t bytes);
Y_EXPORTA void YSoapServer_setLimiteDeConexoes(YSoapServer *servidor, uint32_t conexoes);
Y_EXPORTA void YSoapServer_setPrazoDaRequisicao(YSoapServer *servidor, uint32_t segundos);
Y_EXPORTA void YSoapServer_setPrazoDeEncerramento(YSoapServer *servidor, uint32_t segundos);
Y_EXPORTA void YSoapServer_setFechaLogo(YSoapServer *servidor, int fechaLogo);

/* ---- Port types ---- */

/* Registers a port type, in place of one of the same name.
 * Texts of the definition other than the WSDL are copied.
 * Gives: the port type.
 * Raises: YExcSoap "PortType sem nome." for a null name.
 * Owns: the server owns the port type. */
Y_EXPORTA YPortType *YSoapServer_registraPortType(YSoapServer *servidor, const YDefinicaoPortType *definicao);

/* Publishes a port type that the application has put together (YPortType.h), whole, in place of one
 * of the same name; calls that the earlier one is serving go on with its handlers.
 * Raises: YExcSoap "PortType sem nome." for a null name, "Nome inválido em WSDL." for one that a
 *   port type with descriptions cannot have; nothing has changed then.
 * Owns: the server owns the port type from now on; when it raises the caller still does. */
Y_EXPORTA void YSoapServer_poePortType(YSoapServer *servidor, const char *nome, YPortType *portType);

/* The port type of the name; null when there is none.
 * Lives: until another one is registered under its name. */
Y_EXPORTA YPortType *YSoapServer_recuperaPortType(YSoapServer *servidor, const char *nome);

/* ---- Live service objects ---- */

/* Puts the object into the live set, with a new deadline; YWebService_setSoapServer calls this.
 * It leaves the live set of another server, and the object's server becomes this one. Nothing
 * happens to an object that is being ended.
 * Raises: YExcSoap "O servidor está sendo liberado."; nothing has changed then.
 * Owns: the live set owns the object from now on. */
Y_EXPORTA void YSoapServer_registraServico(YSoapServer *servidor, YWebService *servico);

/* Takes the object out of the live set without freeing it.
 * Gives: nonzero when it was there; it then has no server.
 * Owns: the caller owns what was taken out. */
Y_EXPORTA int32_t YSoapServer_removeServico(YSoapServer *servidor, YWebService *servico);

/* How many service objects are live, temporary ones too. */
Y_EXPORTA uint64_t YSoapServer_getServicos(YSoapServer *servidor);

/* ---- Life ---- */

/* Waits until the started server listens, or the deadline (absolute seconds, as time() gives them).
 * Gives: 1 when it listens; 0 when the deadline passed, the port cannot be used or the server is
 *   not alive. */
Y_EXPORTA int YSoapServer_esperaPronto(YSoapServer *servidor, int64_t prazo);

Y_FIM_C

#endif
