// The SOAP server's life and settings.
#include <3pramo/soap/YSoapServer_interno.hpp>

#include <algorithm>
#include <ctime>

using namespace pramo;
using namespace pramo::soap;

namespace {

constexpr std::int32_t PORTA_INICIAL = 80;
constexpr std::uint32_t INTERVALO_DA_VARREDURA = 1000; // milliseconds
constexpr std::int64_t ESPERA_PELA_PORTA = 3;          // seconds

void destroiSoapServer(void *objeto);

void constroiSoapServer(void *objeto) {
    auto *servidor = static_cast<YSoapServer *>(objeto);
    try {
        servidor->privado = semFaltaDeMemoria(FONTE, [] { return new Privado; });
        servidor->portTypes = cria<YMapa>(YMapaQueDestroi_rtti, FONTE).release();
        servidor->mutex = cria<YObMutex>(YObMutex_rtti, FONTE).release();
        servidor->servicos = cria<YSet>(YSetQueDestroi_rtti, FONTE).release();
        servidor->macros = YDIC_constroi();
    } catch (...) {
        destroiSoapServer(servidor);
        throw;
    }
    servidor->porta = PORTA_INICIAL;
}

YWebServer *retiraWebServer(YSoapServer *servidor) {
    const Tranca tranca(privado(servidor).trinco);
    return std::exchange(servidor->webServer, nullptr);
}

// Waits for the calls in flight, so no lock is held. The previous handler is back in place meanwhile.
void destroiWebServer(YSoapServer *servidor) {
    if (YWebServer *web = retiraWebServer(servidor)) {
        YWebServer_setTratador(web, servidor->tratadorAnterior.contexto, servidor->tratadorAnterior.funcao);
        YliberaObjeto(web);
    }
}

void destroiSoapServer(void *objeto) {
    auto *servidor = static_cast<YSoapServer *>(objeto);
    if (servidor->privado != nullptr) {
        destroiWebServer(servidor);
    }
    if (servidor->servicos != nullptr) {
        esvazia(servidor);
    }
    YliberaObjeto(servidor->portTypes);
    YliberaObjeto(servidor->mutex);
    YDIC_destroi(servidor->macros);
    YliberaMemoria(servidor->diretorioBase);
    delete static_cast<Privado *>(servidor->privado);
}

template <typename VALOR>
void aplica(YWebServer *web, void (*ajuste)(YWebServer *, VALOR), const std::optional<VALOR> &valor) {
    if (valor) {
        ajuste(web, *valor);
    }
}

void configura(YSoapServer *servidor, YWebServer *web) {
    Privado &p = privado(servidor);
    const Tranca tranca(p.trinco);
    YWebServer_setPorta(web, static_cast<std::uint32_t>(servidor->porta));
    YWebServer_setDiretorioBase(web, servidor->diretorioBase);
    aplica(web, YWebServer_setLimiteDoCabecalho, p.limiteDoCabecalho);
    aplica(web, YWebServer_setLimiteDoCorpo, p.limiteDoCorpo);
    aplica(web, YWebServer_setLimiteDeConexoes, p.limiteDeConexoes);
    aplica(web, YWebServer_setFechaLogo, p.fechaLogo);
    servidor->webServer = web;
}

// With port 0 the macro names the port that the system chose.
void publicaPortaEscolhida(YSoapServer *servidor, YWebServer *web) {
    if (YWebServer_esperaPronto(web, std::time(nullptr) + ESPERA_PELA_PORTA) != 0) {
        YSoapServer_registraMacro(servidor, "PORTA", std::to_string(YWebServer_getPorta(web)).c_str());
    }
}

void inicia(YObThread *thread) {
    auto *servidor = static_cast<YSoapServer *>(thread);
    if (YObThread_isAlive(servidor) != 0) {
        return;
    }
    YObThread_stopImpl(servidor); // a stop that was only asked for ends now
    destroiWebServer(servidor);
    YWebServer *web = cria<YWebServer>(YWebServer_rtti, FONTE).release();
    configura(servidor, web);
    servidor->tratadorAnterior = YWebServer_setTratador(web, servidor, trataRequisicao);
    YObThread_start(web);
    if (servidor->porta == 0) {
        publicaPortaEscolhida(servidor, web);
    }
    YObThread_startImpl(servidor);
}

void para(YObThread *thread) {
    auto *servidor = static_cast<YSoapServer *>(thread);
    if (YObThread_isAlive(servidor) != 0) {
        YWebServer_setTratador(servidor->webServer, servidor->tratadorAnterior.contexto,
                               servidor->tratadorAnterior.funcao);
        YObThread_stop(servidor->webServer);
    }
    YObThread_stopImpl(servidor); // waits for a stop that is under way
}

void roda(YObThread *thread) {
    auto *servidor = static_cast<YSoapServer *>(thread);
    while (YObThread_dorme(servidor, INTERVALO_DA_VARREDURA) != 0) {
        try {
            varre(servidor);
        } catch (...) {
            registraExcecaoCorrente("YSoapServer_run");
        }
    }
}

const YObThread_Rtti YSoapServer_definicao = {
    {YObThread_rtti, "YSoapServer", sizeof(YSoapServer), constroiSoapServer, destroiSoapServer},
    roda,
    inicia,
    para};

} // namespace

const YRtti *YSoapServer_rtti(void) {
    return &YSoapServer_definicao.rtti;
}

int YSoapServer_esperaPronto(YSoapServer *servidor, int64_t prazo) {
    return YObThread_isAlive(servidor) != 0 ? YWebServer_esperaPronto(servidor->webServer, prazo) : 0;
}

// ---- Settings ----

void YSoapServer_setPorta(YSoapServer *servidor, int32_t porta) {
    YSoapServer_registraMacro(servidor, "PORTA", std::to_string(porta).c_str());
    const Tranca tranca(privado(servidor).trinco);
    servidor->porta = porta;
}

int32_t YSoapServer_getPorta(YSoapServer *servidor) {
    const Tranca tranca(privado(servidor).trinco);
    return servidor->webServer != nullptr ? static_cast<int32_t>(YWebServer_getPorta(servidor->webServer))
                                          : servidor->porta;
}

void YSoapServer_setDiretorioBase(YSoapServer *servidor, const char *diretorio) {
    const Tranca tranca(privado(servidor).trinco);
    trocaTexto(servidor->diretorioBase, diretorio);
    if (servidor->webServer != nullptr) {
        YWebServer_setDiretorioBase(servidor->webServer, servidor->diretorioBase);
    }
}

void YSoapServer_setContexto(YSoapServer *servidor, void *contexto) {
    std::atomic_ref<void *>(servidor->contexto).store(contexto);
}

void *YSoapServer_getContexto(const YSoapServer *servidor) {
    return std::atomic_ref<void *>(const_cast<YSoapServer *>(servidor)->contexto).load();
}

void YSoapServer_setGrupoDeRecursos(YSoapServer *servidor, void *grupo) {
    std::atomic_ref<void *>(servidor->grupoDeRecursos).store(grupo);
}

void *YSoapServer_getGrupoDeRecursos(const YSoapServer *servidor) {
    return std::atomic_ref<void *>(const_cast<YSoapServer *>(servidor)->grupoDeRecursos).load();
}

void YSoapServer_setLimiteDeServicos(YSoapServer *servidor, uint64_t servicos) {
    privado(servidor).limiteDeServicos = servicos;
}

void YSoapServer_setLimitesDaMensagem(YSoapServer *servidor, uint64_t niveis, uint64_t nos, uint64_t bytes) {
    Privado &p = privado(servidor);
    const Tranca tranca(p.trinco);
    p.limites = {niveis, nos, bytes};
}

namespace {

// Keeps a setting for the next start and passes it on to a web server that is there.
template <typename VALOR>
void ajusta(YSoapServer *servidor, std::optional<VALOR> Privado::*campo, void (*ajuste)(YWebServer *, VALOR),
            VALOR valor) {
    Privado &p = privado(servidor);
    const Tranca tranca(p.trinco);
    p.*campo = valor;
    if (servidor->webServer != nullptr) {
        ajuste(servidor->webServer, valor);
    }
}

} // namespace

void YSoapServer_setLimiteDoCabecalho(YSoapServer *servidor, uint64_t bytes) {
    ajusta(servidor, &Privado::limiteDoCabecalho, YWebServer_setLimiteDoCabecalho, bytes);
}

void YSoapServer_setLimiteDoCorpo(YSoapServer *servidor, uint64_t bytes) {
    ajusta(servidor, &Privado::limiteDoCorpo, YWebServer_setLimiteDoCorpo, bytes);
}

void YSoapServer_setLimiteDeConexoes(YSoapServer *servidor, uint32_t conexoes) {
    ajusta(servidor, &Privado::limiteDeConexoes, YWebServer_setLimiteDeConexoes, conexoes);
}

void YSoapServer_setFechaLogo(YSoapServer *servidor, int fechaLogo) {
    ajusta(servidor, &Privado::fechaLogo, YWebServer_setFechaLogo, fechaLogo);
}
