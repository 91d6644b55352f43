/* The base class of service objects, which carry the state of a conversation with a client between
 * calls.
 *
 * An application derives its service classes from it: the descriptor names YWebService_rtti as the
 * parent, the struct begins with YWebService. A service object is in the live set of its server,
 * where clients can name it in "eu".
 *
 * Who frees it
 * - An object in a live set belongs to the server, which ends it for "destroi", after its deadline,
 *   and when the server is freed. An object in none belongs to the application.
 * - The application takes one out with YWebService_setSoapServer(servico, NULL), and ends one with
 *   YliberaObjeto, which takes it out too. Either is safe in a handler that is called on the
 *   object, whatever other connections do meanwhile. Anywhere else it is for an object that nobody
 *   else can end: one whose identity no client has, without a deadline, and whose server lives.
 *
 * When it goes
 * - However it is ended, an object leaves its live set at once, so that no further call reaches it.
 *   Its destructors run when the last call on it has returned: at once when there is none.
 * - Until then it keeps its identity and its server. A server does not wait for calls that came
 *   through another one: freed before them, it leaves the objects in its set without a server.
 * - Once its end has begun it enters no live set again; only taking it out in a handler undoes an
 *   end that "destroi" or the sweep has begun.
 *
 * Threads: two connections may call the same object at once; handlers protect what they share. The
 * deadline and the server may be read and set from any thread while the object lives; threads that
 * put one object into different servers leave it in the one that came last.
 *
 * A constructor does not put its own object into a server: what derives from its class is not made
 * yet. */
#ifndef Y3PRAMO_SOAP_YWEBSERVICE_H
#define Y3PRAMO_SOAP_YWEBSERVICE_H

#include <3pramo/foundation/YRetentor.h>

Y_INICIO_C

struct YSoapServer;

Y_CLASSE(YWebService, YOb) {
    Y_PAI(YOb)
    int64_t momentoLimite;          /* seconds since the epoch; 0: no deadline */
    struct YSoapServer *soapServer; /* not owned; null when in no live set */
    void *grupoDeRecursos;          /* not owned; null: the server's */
    void *privado;
};

typedef struct YWebService YWebService;

Y_EXPORTA extern const YRtti YWebService_definicaoRtti;
Y_EXPORTA const YRtti *YWebService_rtti(void);

/* Sets the deadline to 1,800 seconds from now, as every call on the object does. */
Y_EXPORTA void YWebService_protelaDerrubada(YWebService *servico);

/* The deadline, in seconds since the epoch; 0 for none.
 * The first sweep after that second frees the object. */
Y_EXPORTA void YWebService_setMomentoLimite(YWebService *servico, int64_t momento);
Y_EXPORTA int64_t YWebService_getMomentoLimite(const YWebService *servico);

/* Takes the object out of its server's live set, if it has one, and puts it into that of
 * `servidor`, if that is not null, with a new deadline.
 * Raises: as YSoapServer_registraServico does.
 * Owns: the server owns the object from now on; after null the caller does, and the library does
 *   not free it. */
Y_EXPORTA void YWebService_setSoapServer(YWebService *servico, struct YSoapServer *servidor);

/* The server whose live set the object is in; null for none. */
Y_EXPORTA struct YSoapServer *YWebService_getSoapServer(const YWebService *servico);

/* The resource group, which is handed on and never looked into.
 * Gives: the object's own; when that is null its server's; null when it has neither. */
Y_EXPORTA void YWebService_setGrupoDeRecursos(YWebService *servico, void *grupo);
Y_EXPORTA void *YWebService_getGrupoDeRecursos(const YWebService *servico);

/* Asks the retainer for a resource in the object's group.
 * Gives: what YRetentor_requisita0(retentor, group, a, ponteiro, b) gives. */
Y_EXPORTA int32_t YWebService_retemRecurso(YWebService *servico, uint32_t a, YRetentor *retentor,
                                           void *ponteiro, uint32_t b);

Y_FIM_C

#endif
