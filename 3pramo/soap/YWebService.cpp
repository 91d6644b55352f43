// The base class of service objects: its fields, and the pins that say who frees an object. Whoever ends
// one ("destroi", the sweep, the end of the server, YliberaObjeto) takes it out of its set and condemns it;
// it goes with its last pin.
#include <3pramo/soap/YWebService_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YIdentidade_interno.hpp>
#include <3pramo/foundation/YOb_interno.hpp>
#include <3pramo/soap/YSoapServer_interno.hpp>

#include <ctime>

using namespace pramo;
using namespace pramo::soap;

namespace {

constexpr std::int64_t VIDA_SEM_CHAMADAS = 1800; // seconds

void constroiServico(void *objeto) {
    auto *servico = static_cast<YWebService *>(objeto);
    servico->privado = semFaltaDeMemoria("YWebService", [&] { return new YWebService_Privado(servico); });
    esqueceIdentidade(servico); // one that was given out for what lived at this address before
}

void destroiServico(void *objeto) {
    auto *servico = static_cast<YWebService *>(objeto);
    YWebService_Privado &p = privado(*servico);
    saiDoConjunto(*servico); // it is still there only when a derived class's constructor failed
    esqueceIdentidade(servico);
    // The record goes with the last who knows it: this destructor or, behind it, a pin.
    if ((p.palavra.fetch_or(MORTO) & PINOS) == 0) {
        delete &p;
    }
}

// The object leaves its live set at once and goes when nobody uses it; false also when it is going already.
bool podeLiberar(void *objeto) {
    auto &servico = *static_cast<YWebService *>(objeto);
    saiDoConjunto(servico);
    // One step: either a pin was there and its holder will free the object, or there is none and never will
    // be.
    std::atomic<std::uint32_t> &palavra = privado(servico).palavra;
    std::uint32_t antes = palavra.load();
    std::uint32_t depois = 0;
    do {
        depois = antes | CONDENADO | ((antes & PINOS) == 0 ? MORTO : 0);
    } while (!palavra.compare_exchange_weak(antes, depois));
    return (antes & (PINOS | MORTO)) == 0;
}

// The accessors of a const object read through the same atomic reference.
YWebService &mutavel(const YWebService *servico) {
    return *const_cast<YWebService *>(servico);
}

} // namespace

const YRtti YWebService_definicaoRtti = {YOb_rtti, "YWebService", sizeof(YWebService), constroiServico,
                                         destroiServico};

static const AntesDeLiberar liberacaoDoServico(YWebService_definicaoRtti, podeLiberar);

const YRtti *YWebService_rtti(void) {
    return &YWebService_definicaoRtti;
}

// ---- Pins ----

bool YWebService_Privado::pina() {
    std::uint32_t antes = palavra.load();
    while ((antes & (CONDENADO | MORTO)) == 0) {
        if (palavra.compare_exchange_weak(antes, antes + 1)) {
            return true;
        }
    }
    return false;
}

Pino Pino::daIdentidade(const char *texto) {
    Pino pino;
    // Found and counted in one step, under the lock that the destructor takes in esqueceIdentidade: the
    // record cannot go between the two.
    pino.privado_ = static_cast<YWebService_Privado *>(
        pinaIdentidade(texto, [](void *deste) { return static_cast<YWebService_Privado *>(deste)->pina(); }));
    return pino;
}

Pino::~Pino() {
    try {
        // The object may go here, amid another exception: what its destructor raises is only logged.
        solta();
    } catch (...) {
        registraExcecaoAdiada("YWebService");
    }
}

void Pino::solta() {
    YWebService_Privado *p = std::exchange(privado_, nullptr);
    if (p == nullptr) {
        return;
    }
    // Read before the pin goes: whoever lets go last frees the record.
    YWebService *servico = p->servico;
    const std::uint32_t antes = p->palavra.fetch_sub(1);
    // A condemned object gets no new pin, so for it the count comes to zero once, on one thread.
    if ((antes & PINOS) > 1) {
        return;
    }
    // Its destructors have run already: nothing but the record is left.
    if ((antes & MORTO) != 0) {
        delete p;
    } else if ((antes & CONDENADO) != 0) {
        YliberaObjeto(servico);
    }
}

void Fila::poe(Pino pino) {
    // The chain runs through the records: a set is emptied also when there is no memory.
    YWebService_Privado *p = std::exchange(pino.privado_, nullptr);
    p->proximo = std::exchange(primeiro_, p);
}

Pino Fila::toma() {
    Pino pino;
    // The pin that was put in, handed on: it is not counted anew.
    pino.privado_ = primeiro_;
    primeiro_ = primeiro_ != nullptr ? primeiro_->proximo : nullptr;
    return pino;
}

Fila::~Fila() {
    while (toma()) {
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
    if (servidor != nullptr) {
        YSoapServer_registraServico(servidor, servico);
        return;
    }
    saiDoConjunto(*servico);
    // Out of its set neither sweep nor server condemns it any more: the mark that is taken off stays off.
    servidorDe(*servico).store(nullptr);
    privado(*servico).palavra.fetch_and(~CONDENADO); // the library frees it no more
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
