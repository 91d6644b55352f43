#include <3pramo/soap/YWebService_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YIdentidade_interno.hpp>
#include <3pramo/foundation/YObLOG.h>
#include <3pramo/soap/YSoapServer.h>

#include <ctime>

using namespace pramo;

namespace {

constexpr std::int64_t VIDA_SEM_CHAMADAS = 1800; // seconds

void destroiServico(void *objeto) {
    auto *servico = static_cast<YWebService *>(objeto);
    if (YSoapServer *servidor = servidorDe(*servico).load()) {
        YSoapServer_removeServico(servidor, servico);
    }
    esqueceIdentidade(servico);
    auto *registro = static_cast<Registro *>(servico->privado);
    if (registro != nullptr && (registro->palavra.fetch_or(Registro::MORTO) & Registro::PINOS) == 0) {
        delete registro;
    }
}

// The accessors of a const object read through the same atomic reference.
YWebService &mutavel(const YWebService *servico) {
    return *const_cast<YWebService *>(servico);
}

} // namespace

const YRtti YWebService_definicaoRtti = {YOb_rtti, "YWebService", sizeof(YWebService), nullptr,
                                         destroiServico};

const YRtti *YWebService_rtti(void) {
    return &YWebService_definicaoRtti;
}

// ---- Pins ----

Registro &pramo::registroDe(YWebService &servico) {
    if (servico.privado == nullptr) {
        servico.privado = semFaltaDeMemoria("YWebService", [&] { return new Registro{0, &servico}; });
    }
    return *static_cast<Registro *>(servico.privado);
}

Pino::~Pino() {
    try {
        solta();
    } catch (...) {
        registraExcecaoCorrente("YWebService");
    }
}

void Pino::condena() {
    esqueceIdentidade(registro_->servico);
    registro_->palavra.fetch_or(Registro::CONDENADO);
}

void Pino::solta() {
    Registro *registro = std::exchange(registro_, nullptr);
    if (registro == nullptr) {
        return;
    }
    const std::uint32_t antes = registro->palavra.fetch_sub(1);
    if ((antes & Registro::PINOS) > 1) {
        return;
    }
    if ((antes & Registro::MORTO) != 0) {
        delete registro;
    } else if ((antes & Registro::CONDENADO) != 0) {
        YliberaObjeto(registro->servico);
    }
}

// ---- Accessors ----

void YWebService_protelaDerrubada(YWebService *servico) {
    momentoDe(*servico).store(std::time(nullptr) + VIDA_SEM_CHAMADAS);
}

void YWebService_setMomentoLimite(YWebService *servico, int64_t momento) {
    momentoDe(*servico).store(momento);
}

int64_t YWebService_getMomentoLimite(const YWebService *servico) {
    return momentoDe(mutavel(servico)).load();
}

void YWebService_setSoapServer(YWebService *servico, YSoapServer *servidor) {
    if (YSoapServer *antigo = servidorDe(*servico).load()) {
        YSoapServer_removeServico(antigo, servico);
    }
    servidorDe(*servico).store(servidor);
    if (servidor != nullptr) {
        YSoapServer_registraServico(servidor, servico);
    }
}

YSoapServer *YWebService_getSoapServer(const YWebService *servico) {
    return servidorDe(mutavel(servico)).load();
}

void YWebService_setGrupoDeRecursos(YWebService *servico, void *grupo) {
    servico->grupoDeRecursos = grupo;
}

void *YWebService_getGrupoDeRecursos(const YWebService *servico) {
    if (servico->grupoDeRecursos != nullptr) {
        return servico->grupoDeRecursos;
    }
    const YSoapServer *servidor = YWebService_getSoapServer(servico);
    return servidor != nullptr ? YSoapServer_getGrupoDeRecursos(servidor) : nullptr;
}

int32_t YWebService_retemRecurso(YWebService *servico, uint32_t a, YRetentor *retentor, void *ponteiro,
                                 uint32_t b) {
    return YRetentor_requisita0(retentor, YWebService_getGrupoDeRecursos(servico), a, ponteiro, b);
}
