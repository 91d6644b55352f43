// The registry: live service objects and port types.
#include <3pramo/soap/YSoapServer_interno.hpp>

#include <3pramo/foundation/YIdentidade_interno.hpp>

#include <ctime>
#include <vector>

using namespace pramo;
using namespace pramo::soap;

// ---- Live service objects ----

Pino soap::entraNoConjunto(YSoapServer *servidor, YWebService *servico, Entrada entrada) {
    const TrancaDoRegistro tranca(servidor);
    Pino pino(*servico);
    if (servidor->servicos == nullptr || registroDe(*servico).tem(Registro::CONDENADO)) {
        return pino;
    }
    if (entrada == Entrada::DO_CLIENTE &&
        YSet_tam(servidor->servicos) >= privado(servidor).limiteDeServicos.load()) {
        lanca(YExcSoap_rtti, "Limite de serviços ativos atingido."_l1, FONTE);
    }
    if (entrada != Entrada::TEMPORARIA) {
        conservaIdentidade(servico);
    }
    YSet_poe(servidor->servicos, servico);
    YSoapServer *nenhum = nullptr;
    servidorDe(*servico).compare_exchange_strong(nenhum, servidor);
    YWebService_protelaDerrubada(servico);
    return pino;
}

Pino soap::pinaVivo(YSoapServer *servidor, void *ponteiro) {
    const TrancaDoRegistro tranca(servidor);
    if (servidor->servicos == nullptr || YSet_tem(servidor->servicos, ponteiro) == 0) {
        return {};
    }
    return Pino(*static_cast<YWebService *>(ponteiro));
}

void soap::derruba(YSoapServer *servidor, Pino &pino) {
    const TrancaDoRegistro tranca(servidor);
    if (pino.vivo() && YSoapServer_removeServico(servidor, pino.servico()) != 0) {
        pino.condena();
    }
}

void soap::varre(YSoapServer *servidor) {
    std::vector<Pino> vencidos; // freed as it goes, after the lock
    const TrancaDoRegistro tranca(servidor);
    if (servidor->servicos == nullptr || YSet_tam(servidor->servicos) == 0) {
        return;
    }
    const std::int64_t agora = std::time(nullptr);
    for (YSetIt it = YSet_inicio(servidor->servicos); it != YSet_fim(servidor->servicos);) {
        auto *servico = static_cast<YWebService *>(*it);
        const std::int64_t limite = momentoDe(*servico).load(std::memory_order_relaxed);
        if (limite == 0 || agora <= limite) {
            it++;
            continue;
        }
        vencidos.emplace_back(*servico);
        YSet_remove(servidor->servicos, servico);
        vencidos.back().condena();
    }
}

void soap::esvazia(YSoapServer *servidor) {
    YSet *servicos = nullptr;
    {
        const TrancaDoRegistro tranca(servidor);
        servicos = std::exchange(servidor->servicos, nullptr);
    }
    // All are pinned before the first goes, as its destructor may free another one; the pins stand in the
    // set's own slots, so that ending a server takes no memory.
    for (YSetIt it = YSet_inicio(servicos); it != YSet_fim(servicos); it++) {
        Pino pino(*static_cast<YWebService *>(*it));
        pino.condena();
        *it = pino.cede();
    }
    for (YSetIt it = YSet_inicio(servicos); it != YSet_fim(servicos); it++) {
        const Pino pino = Pino::adota(*it);
    }
    YSet_clear(servicos);
    YliberaObjeto(servicos);
}

void YSoapServer_registraServico(YSoapServer *servidor, YWebService *servico) {
    entraNoConjunto(servidor, servico, Entrada::DA_APLICACAO);
}

int32_t YSoapServer_removeServico(YSoapServer *servidor, YWebService *servico) {
    const TrancaDoRegistro tranca(servidor);
    return servidor->servicos != nullptr ? YSet_remove(servidor->servicos, servico) : 0;
}

uint64_t YSoapServer_getServicos(YSoapServer *servidor) {
    const TrancaDoRegistro tranca(servidor);
    return servidor->servicos != nullptr ? YSet_tam(servidor->servicos) : 0;
}

// ---- Port types ----

YPortType *YSoapServer_registraPortType(YSoapServer *servidor, const YDefinicaoPortType *definicao) {
    // Whole before it is published: no call sees half a port type.
    Dono<YPortType> novo = cria<YPortType>(YPortType_rtti, FONTE);
    YPortType_setWsdl(novo.get(), definicao->wsdl);
    YPortType_setRttiDoServico(novo.get(), definicao->rttiDoServico);
    for (const YDefinicaoMetodo *m = definicao->tratadores; m != nullptr && m->metodo != nullptr; m++) {
        YPortType_registraTratador(novo.get(), m->metodo, m->tratador);
    }
    YPortType_setGrupoDeRecursos(novo.get(), definicao->grupoDeRecursos);

    const Tranca tranca(privado(servidor).trinco);
    YMapa_guarda(servidor->portTypes, definicao->nome, novo.get());
    return novo.release();
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
    return PortTypeLido{YPortType_obtemTratador(portType, metodo), portType->rttiDoServico};
}

Dono<YWebService> soap::fabricaServico(YSoapServer *servidor, const char *nome) {
    YPortType copia{}; // only what construction reads; the original may go away meanwhile
    {
        const Tranca tranca(privado(servidor).trinco);
        const auto *portType = static_cast<const YPortType *>(YMapa_recupera(servidor->portTypes, nome));
        if (portType == nullptr) {
            return nullptr;
        }
        copia.rttiDoServico = portType->rttiDoServico;
        copia.grupoDeRecursos = portType->grupoDeRecursos;
    }
    YWebService *novo = nullptr;
    YPortType_constroiObjeto(&copia, &novo);
    return Dono<YWebService>(novo);
}
