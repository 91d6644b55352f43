// Port types. Their fields have no lock of their own: a server reads them under its `trinco`, and they are
// changed only before it starts.
#include <3pramo/soap/YPortType_interno.hpp>

#include <3pramo/soap/YSoapServer_interno.hpp>

#include <string_view>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YPortType";

/// The map of handlers.
struct Tratadores : YMapa {
    soap::YPortType_Privado privado;
};

void constroiTratadores(void *objeto) {
    std::construct_at(&static_cast<Tratadores *>(objeto)->privado);
}

void destroiTratadores(void *objeto) {
    std::destroy_at(&static_cast<Tratadores *>(objeto)->privado);
}

const YRtti definicaoDosTratadores = {YMapa_rtti, "YMapa", sizeof(Tratadores), constroiTratadores,
                                      destroiTratadores};

void constroiPortType(void *objeto) {
    static_cast<YPortType *>(objeto)->tratadores =
        cria<YMapa>([] { return &definicaoDosTratadores; }, FONTE).release();
}

void destroiPortType(void *objeto) {
    YliberaObjeto(static_cast<YPortType *>(objeto)->tratadores);
}

} // namespace

const YRtti YPortType_definicaoRtti = {YOb_rtti, "YPortType", sizeof(YPortType), constroiPortType,
                                       destroiPortType};

const YRtti *YPortType_rtti(void) {
    return &YPortType_definicaoRtti;
}

const char *YPortType_getWsdl(const YPortType *portType) {
    return portType->wsdl;
}

void YPortType_setWsdl(YPortType *portType, const char *wsdl) {
    portType->wsdl = wsdl;
}

// ---- Handlers: those with a context stand beside the map, and a method has one of either kind ----

int YPortType_registraTratador(YPortType *portType, const char *metodo, YTratadorSoap tratador) {
    // A function's address in a map of data pointers: POSIX has them of one size.
    const int nova = YMapa_guarda(portType->tratadores, metodo, reinterpret_cast<void *>(tratador));
    const bool outro = metodo != nullptr && soap::privado(*portType).comContexto.erase(metodo) != 0;
    return outro ? 0 : nova;
}

int YPortType_registraTratadorComContexto(YPortType *portType, const char *metodo,
                                          YTratadorSoapComContexto tratador, void *contexto,
                                          void (*liberaContexto)(void *contexto)) {
    return semFaltaDeMemoria(FONTE, [=] {
        const auto novo = std::make_shared<soap::TratadorComContexto>();
        const auto [onde, nova] = soap::privado(*portType).comContexto.try_emplace(metodo);
        // Nothing fails from here on: the context changes hands.
        novo->funcao = tratador;
        novo->contexto = contexto;
        novo->libera = liberaContexto;
        onde->second = novo;
        return YMapa_retira(portType->tratadores, metodo) == nullptr && nova ? 1 : 0;
    });
}

soap::YPortType_Privado &soap::privado(const YPortType &portType) {
    return static_cast<Tratadores *>(portType.tratadores)->privado;
}

soap::TratadorComContexto::~TratadorComContexto() {
    try {
        libera != nullptr ? libera(contexto) : void();
    } catch (...) {
        registraExcecaoAdiada(FONTE);
    }
}

soap::Tratador soap::procuraTratador(const YPortType &portType, const char *metodo) {
    const auto &comContexto = soap::privado(portType).comContexto;
    const auto achado = comContexto.find(std::string_view(metodo));
    if (achado != comContexto.end() && achado->second->funcao != nullptr) {
        return {nullptr, achado->second};
    }
    return {YPortType_obtemTratador(&portType, metodo), nullptr};
}

void soap::Tratador::operator()(YWebService *servico, YNo *requisicao, YNo *resposta) const {
    if (comContexto != nullptr) {
        comContexto->funcao(comContexto->contexto, servico, requisicao, resposta);
    } else {
        simples(servico, requisicao, resposta);
    }
}

YTratadorSoap YPortType_obtemTratador(const YPortType *portType, const char *metodo) {
    return reinterpret_cast<YTratadorSoap>(YMapa_recupera(portType->tratadores, metodo));
}

void YPortType_setRttiDoServico(YPortType *portType, YFuncaoRtti classe) {
    portType->rttiDoServico = classe;
}

Ponteiro<YWebService> soap::criaServico(YFuncaoRtti classe, void *grupoDeRecursos) {
    if (classe == nullptr || YRtti_deriva(classe(), YWebService_rtti) == 0) {
        lanca(YExcSoap_rtti, "PortType sem classe de serviço."_l1, ::FONTE);
    }
    YWebService *novo = nullptr;
    // The application's constructors run here; one that raises leaves nothing behind.
    YalocaObjeto(&novo, classe);
    YWebService_setGrupoDeRecursos(novo, grupoDeRecursos);
    return Ponteiro<YWebService>(novo);
}

void YPortType_constroiObjeto(YPortType *portType, YWebService **servico) {
    *servico = soap::criaServico(portType->rttiDoServico, portType->grupoDeRecursos).release();
}

void YPortType_setGrupoDeRecursos(YPortType *portType, void *grupo) {
    portType->grupoDeRecursos = grupo;
}
