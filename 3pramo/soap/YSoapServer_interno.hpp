// What the sources of the SOAP server share.
#ifndef Y3PRAMO_SOAP_YSOAPSERVER_INTERNO_HPP
#define Y3PRAMO_SOAP_YSOAPSERVER_INTERNO_HPP

#include <3pramo/foundation/Trinco.hpp>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/cria.hpp>
#include <3pramo/soap/YPortType_interno.hpp>
#include <3pramo/soap/YSoapServer.h>
#include <3pramo/soap/YWebService_interno.hpp>

#include <atomic>
#include <optional>

namespace pramo::soap {

inline constexpr const char *FONTE = "YSoapServer";

/// Bounds of the tree of one request; 0 for the parser's own default.
struct LimitesDaMensagem {
    std::uint64_t niveis = 0;
    std::uint64_t nos = 0;
    std::uint64_t bytes = 0;
};

/// What stands behind YSoapServer.privado. `trinco` also guards the fields porta, webServer,
/// tratadorAnterior, portTypes, macros and diretorioBase of the server itself; no application code runs under
/// it. The web server is there from the beginning, so that a setting stands in one place only, and is freed
/// with the server; the field webServer names it from the first start on.
struct YSoapServer_Privado {
    Trinco trinco;
    LimitesDaMensagem limites Y_GUARDADO_POR(trinco);
    YWebServer *web Y_GUARDADO_POR(trinco) = nullptr; // null once its server ends
    bool servindo Y_GUARDADO_POR(trinco) =
        false; // the web server was started with our handler and not stopped since
    std::atomic<std::uint64_t> limiteDeServicos{100'000};
    std::atomic<bool> detalheDaFalha{false};
    std::uint64_t temporarios = 0; // of the live set, those of one call; guarded by the registry lock
};

inline YSoapServer_Privado &privado(const YSoapServer *servidor) {
    return *static_cast<YSoapServer_Privado *>(servidor->privado);
}

/// Holds the registry lock for its scope.
class TrancaDoRegistro {
public:
    explicit TrancaDoRegistro(const YSoapServer *servidor) : mutex_(servidor->mutex) {
        YObMutex_requisita0(mutex_, FONTE, __LINE__);
    }
    ~TrancaDoRegistro() { YObMutex_libera(mutex_); }
    TrancaDoRegistro(const TrancaDoRegistro &) = delete;
    TrancaDoRegistro &operator=(const TrancaDoRegistro &) = delete;

private:
    YObMutex *mutex_;
};

// ---- Registry ----

/// For whom an object enters the live set: one that a client made by "constroi" is refused beyond the bound,
/// the temporary one of a call does not count for it and has no identity that a client could use.
enum class Origem { CLIENTE, APLICACAO, CHAMADA };

/// Puts the object into the live set, out of another server's, and pins it; empty, and nothing has changed,
/// when the object is on its way out. Raises YExcSoap "Limite de serviços ativos atingido." and "O servidor
/// está sendo liberado.".
Pino entraNoConjunto(YSoapServer *servidor, YWebService *servico, Origem origem);

/// Takes the object out of whatever live set it is in.
void saiDoConjunto(YWebService &servico);

/// The pin of the live object of this server that has this identity; empty when there is none.
Pino pinaVivo(YSoapServer *servidor, const char *identidade);

/// Takes the pinned object out of the live set and condemns it, unless it is in this server's set no more.
void derruba(YSoapServer *servidor, const Pino &pino);

/// The temporary object of a call that failed, unless its handler took it: the next sweep takes it, or its
/// last pin when there are too many.
void abandonaTemporario(YSoapServer *servidor, const Pino &pino);

/// Frees the live objects whose deadline has passed.
void varre(YSoapServer *servidor);

/// Empties the live set for good and frees what was in it.
void esvazia(YSoapServer *servidor);

/// What one call needs of a port type, read under the lock: a port type may be replaced at any moment.
struct PortTypeLido {
    Tratador tratador;
    YFuncaoRtti rttiDoServico;
    void *grupoDeRecursos;

    /// Whether its handlers may be called on the object.
    [[nodiscard]] bool serve(const YWebService &servico) const {
        return rttiDoServico == nullptr || YRtti_deriva(servico.rtti, rttiDoServico) != 0;
    }
};
std::optional<PortTypeLido> procuraPortType(YSoapServer *servidor, const char *nome, const char *metodo);

/// What YPortType_constroiObjeto makes of this class and this group; raises as it does. Called outside any
/// lock: constructors are the application's.
Ponteiro<YWebService> criaServico(YFuncaoRtti classe, void *grupoDeRecursos);

// ---- Road of a request ----

/// The request handler installed in the web server; `contexto` is the SOAP server.
void trataRequisicao(void *contexto, char *uri, YMensagemHttp *requisicao, YMensagemHttp *resposta);

/// One SOAP call.
struct Chamada {
    YSoapServer *servidor;
    const char *portType;
    const char *metodo;
    bool comPrefixo;     // false for a call inside "invoca"
    unsigned invocacoes; // how many "invoca" it is inside of
};

/// Runs the call and appends its response element to `saida`. `entrada` is the request text, or null for
/// none; `dado` the service object that an outer call already found, or null. Raises what the call raises.
void processaChamada(const Chamada &chamada, YStream *entrada, YStream *saida, Pino *dado);

/// True when the port type's WSDL was written; false when there is no such port type, or it has none.
bool emiteWsdl(YSoapServer *servidor, const char *nome, const YDIC *header, YStream *saida);

/// Logs as errors the macros that nobody registered or closed, of the WSDL of this port type; null: of all.
void registraDefeitosDosWsdls(YSoapServer *servidor, const char *soDeste);

} // namespace pramo::soap

#endif
