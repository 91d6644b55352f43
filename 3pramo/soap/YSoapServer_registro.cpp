// The registry: live service objects and port types.
// An object is in a live set when it is in `servicos` and `conjunto` of its record names the server; both
// change together under that server's registry lock. The lock is held for these few steps, for one server
// at a time, and never while application code runs: destructors come after it, when the last pin goes.
#include <3pramo/soap/YSoapServer_interno.hpp>

#include <3pramo/foundation/YIdentidade_interno.hpp>

#include <algorithm>
#include <ctime>
#include <utility>

using namespace pramo;
using namespace pramo::soap;

// ---- Live service objects ----

namespace {

// Takes the object out of this server's set, unless it is not there, and condemns it if it is to be freed;
// under the registry lock. Whoever sees that it has left sees that, too: taking it out then undoes its end.
bool tira(YSoapServer *servidor, YWebService_Privado &p, std::uint32_t marca = 0) {
    if (servidor->servicos == nullptr || p.conjunto.load() != servidor) {
        return false;
    }
    // The set is first and `conjunto` last: another server may take the object in as soon as that is null.
    YSet_remove(servidor->servicos, p.servico);
    privado(servidor).temporarios -= std::exchange(p.temporario, false) ? 1 : 0;
    p.palavra.fetch_or(marca);
    p.conjunto = nullptr;
    return true;
}

std::uint64_t quantosContam(const YSoapServer *servidor) {
    return YSet_tam(servidor->servicos) - privado(servidor).temporarios;
}

// Puts the pinned object into the set, and renews its deadline; under the registry lock. False when it is in
// another one.
bool tentaEntrar(YSoapServer *servidor, const Pino &pino, Origem origem) {
    YWebService &servico = *pino.servico();
    YWebService_Privado &p = pino.privado();
    if (origem == Origem::CLIENTE && quantosContam(servidor) >= privado(servidor).limiteDeServicos.load()) {
        lanca(YExcSoap_rtti, "Limite de serviços ativos atingido."_l1, FONTE);
    }
    if (origem != Origem::CHAMADA) {
        // Should the object not enter, this is harmless: `conjunto` does not name us, and pinaVivo looks
        // there.
        conservaIdentidade(&servico, &p);
    }
    // What can fail comes before the object is seen to be in the set.
    YSet_poe(servidor->servicos, &servico);
    // Two servers may try at once, each under its own lock: one of them turns the null into itself.
    YSoapServer *onde = nullptr;
    if (!p.conjunto.compare_exchange_strong(onde, servidor) && onde != servidor) {
        YSet_remove(servidor->servicos, &servico);
        return false;
    }
    const bool temporario = origem == Origem::CHAMADA;
    // An object that was here already counts as what it is now.
    privado(servidor).temporarios += temporario ? 1 : 0;
    privado(servidor).temporarios -= std::exchange(p.temporario, temporario) ? 1 : 0;
    servidorDe(servico).store(servidor);
    YWebService_protelaDerrubada(&servico);
    return true;
}

} // namespace

Pino soap::entraNoConjunto(YSoapServer *servidor, YWebService *servico, Origem origem) {
    for (;;) {
        Pino pino(*servico); // goes after the lock
        {
            const TrancaDoRegistro tranca(servidor);
            if (servidor->servicos == nullptr) {
                lanca(YExcSoap_rtti, "O servidor está sendo liberado."_l1, FONTE);
            }
            if (!pino || tentaEntrar(servidor, pino, origem)) {
                return pino;
            }
        }
        saiDoConjunto(*servico); // under that set's lock alone; another thread may move it meanwhile
    }
}

void soap::saiDoConjunto(YWebService &servico) {
    YWebService_Privado &p = privado(servico);
    // Read without a lock, and looked at again under it, as the object may have moved. That the server is
    // still there is the caller's part: a handler's server waits for it, and elsewhere nobody else may end
    // them.
    while (YSoapServer *servidor = p.conjunto.load()) {
        const TrancaDoRegistro tranca(servidor);
        if (tira(servidor, p)) {
            return;
        }
    }
}

Pino soap::pinaVivo(YSoapServer *servidor, const char *identidade) {
    // The pin first: the object cannot go between the look at its set and the call. To this server an
    // object of another one is as unknown as none.
    Pino pino = Pino::daIdentidade(identidade);
    return pino && pino.privado().conjunto.load() == servidor ? std::move(pino) : Pino();
}

void soap::derruba(YSoapServer *servidor, const Pino &pino) {
    const TrancaDoRegistro tranca(servidor);
    // The mark is all that happens here; the pin's holder frees it, after the lock.
    if (pino.vivo()) {
        tira(servidor, pino.privado(), CONDENADO);
    }
}

void soap::abandonaTemporario(YSoapServer *servidor, const Pino &pino) {
    const TrancaDoRegistro tranca(servidor);
    if (!pino.vivo() || pino.privado().conjunto.load() != servidor) {
        return; // the handler took it
    }
    // Calls may fail faster than sweeps come: beyond the bound its last pin frees it at once.
    if (privado(servidor).temporarios > privado(servidor).limiteDeServicos.load()) {
        tira(servidor, pino.privado(), CONDENADO);
    } else {
        YWebService_setMomentoLimite(pino.servico(), std::time(nullptr));
    }
}

namespace {

// The next expired object below place `i`, out of the set and condemned; empty when there is none.
// Downwards: what leaves meanwhile puts the last one, which was looked at, in its place.
Pino tiraVencido(YSoapServer *servidor, std::int64_t agora, std::uint64_t &i) {
    const TrancaDoRegistro tranca(servidor);
    // The lock is held for one object at a time: calls go on between them, and the set may have shrunk.
    i = std::min(i, YSet_tam(servidor->servicos));
    while (i > 0) {
        auto *servico = static_cast<YWebService *>(YSet_inicio(servidor->servicos)[--i]);
        const std::int64_t limite = momentoDe(*servico).load(); // whoever set it has let go of the object
        if (limite == 0 || agora <= limite) {
            continue;
        }
        Pino pino(*servico);
        tira(servidor, privado(*servico), CONDENADO);
        if (pino) {
            return pino;
        }
    }
    return {};
}

// Its destructors may raise, log, and end the thread: not from a destructor of ours.
void soltaSemLancar(Pino pino) {
    try {
        pino.solta();
    } catch (...) {
        registraExcecaoCorrente("YWebService");
    }
}

} // namespace

void soap::varre(YSoapServer *servidor) {
    const std::int64_t agora = std::time(nullptr);
    std::uint64_t i = UINT64_MAX;
    // Each goes without the lock: its destructors are the application's, and may use this server.
    while (Pino vencido = tiraVencido(servidor, agora, i)) {
        soltaSemLancar(std::move(vencido));
    }
}

// All are condemned before the first goes, as its destructor may free another one.
void soap::esvazia(YSoapServer *servidor) {
    Fila todos;
    YSet *servicos = nullptr;
    {
        const TrancaDoRegistro tranca(servidor);
        while (YSet_tam(servidor->servicos) != 0) {
            auto *servico = static_cast<YWebService *>(YSet_fim(servidor->servicos)[-1]);
            Pino pino(*servico);
            if ((privado(*servico).palavra.load() & PINOS) > 1) {
                servidorDe(*servico).store(nullptr); // a call of another server outlives this one
            }
            tira(servidor, privado(*servico), CONDENADO);
            if (pino) {
                todos.poe(std::move(pino));
            }
        }
        // From now on nothing enters, not even what the destructors below would put in.
        servicos = std::exchange(servidor->servicos, nullptr);
    }
    YliberaObjeto(servicos);
    while (Pino pino = todos.toma()) {
        soltaSemLancar(std::move(pino));
    }
}

void YSoapServer_registraServico(YSoapServer *servidor, YWebService *servico) {
    entraNoConjunto(servidor, servico, Origem::APLICACAO);
}

int32_t YSoapServer_removeServico(YSoapServer *servidor, YWebService *servico) {
    const TrancaDoRegistro tranca(servidor);
    if (!tira(servidor, privado(*servico))) {
        return 0;
    }
    servidorDe(*servico).store(nullptr);
    return 1;
}

uint64_t YSoapServer_getServicos(YSoapServer *servidor) {
    const TrancaDoRegistro tranca(servidor);
    return servidor->servicos != nullptr ? YSet_tam(servidor->servicos) : 0;
}

// ---- Port types ----

namespace {

// Gives the port type to the server; true when this serves already, and so looks at the WSDL now.
bool publica(YSoapServer *servidor, const char *nome, YPortType *portType) {
    if (nome == nullptr) {
        lanca(YExcSoap_rtti, "PortType sem nome."_l1, FONTE);
    }
    daNome(*portType, nome);
    // The one of that name goes after the lock: the release of its contexts is the application's, and so are
    // the destructors of a derived class.
    Ponteiro<YPortType> antigo;
    const Tranca tranca(privado(servidor).trinco);
    if (const YMapaIt entrada = YMapa_busca(servidor->portTypes, nome)) {
        void *velho = std::exchange(entrada->valor, portType);
        antigo.reset(velho != portType ? static_cast<YPortType *>(velho) : nullptr);
    } else {
        YMapa_guarda(servidor->portTypes, nome, portType);
    }
    return privado(servidor).servindo;
}

} // namespace

YPortType *YSoapServer_registraPortType(YSoapServer *servidor, const YDefinicaoPortType *definicao) {
    // Whole before it is published: no call sees half a port type.
    Ponteiro<YPortType> novo = cria<YPortType>(YPortType_rtti, FONTE);
    YPortType_setWsdl(novo, definicao->wsdl);
    YPortType_setRttiDoServico(novo, definicao->rttiDoServico);
    for (const YDefinicaoMetodo *m = definicao->tratadores; m != nullptr && m->metodo != nullptr; m++) {
        YPortType_registraTratador(novo, m->metodo, m->tratador);
    }
    YPortType_setGrupoDeRecursos(novo, definicao->grupoDeRecursos);
    const bool servindo = publica(servidor, definicao->nome, novo);
    YPortType *portType = novo.release(); // the server's, before the log's sink runs
    if (servindo) {
        registraDefeitosDosWsdls(servidor, definicao->nome);
    }
    return portType;
}

void YSoapServer_poePortType(YSoapServer *servidor, const char *nome, YPortType *portType) {
    if (publica(servidor, nome, portType)) {
        registraDefeitosDosWsdls(servidor, nome);
    }
}

YPortType *YSoapServer_recuperaPortType(YSoapServer *servidor, const char *nome) {
    const Tranca tranca(privado(servidor).trinco);
    return static_cast<YPortType *>(YMapa_recupera(servidor->portTypes, nome));
}

std::optional<PortTypeLido> soap::procuraPortType(YSoapServer *servidor, const char *nome,
                                                  const char *metodo) {
    const Tranca tranca(privado(servidor).trinco);
    const auto *portType = static_cast<const YPortType *>(YMapa_recupera(servidor->portTypes, nome));
    if (portType == nullptr) {
        return std::nullopt;
    }
    // Copied out: the port type itself may be replaced as soon as the lock is let go.
    return PortTypeLido{procuraTratador(*portType, metodo), portType->rttiDoServico,
                        portType->grupoDeRecursos};
}
