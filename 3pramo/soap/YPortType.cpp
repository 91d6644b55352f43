// Port types. Their fields have no lock of their own: a server reads them under its `trinco`, and they are
// changed only before it starts.
#include <3pramo/soap/YPortType.h>

#include <3pramo/soap/YSoapServer_interno.hpp>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YPortType";

void constroiPortType(void *objeto) {
    static_cast<YPortType *>(objeto)->tratadores = cria<YMapa>(YMapa_rtti, FONTE).release();
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

int YPortType_registraTratador(YPortType *portType, const char *metodo, YTratadorSoap tratador) {
    // A function's address in a map of data pointers: POSIX has them of one size.
    return YMapa_guarda(portType->tratadores, metodo, reinterpret_cast<void *>(tratador));
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
