// The SOAP server's life and settings.
#include <3pramo/soap/YSoapServer_interno.hpp>

#include <3pramo/foundation/YObThread_interno.hpp>

#include <algorithm>
#include <ctime>

using namespace pramo;
using namespace pramo::soap;

namespace {

constexpr std::int32_t PORTA_INICIAL = 80;
constexpr std::uint32_t INTERVALO_DA_VARREDURA = 1000; // milliseconds
constexpr std::int64_t ESPERA_PELA_PORTA = 3;          // seconds

// Also undoes our constructor: the object system undoes only those that had finished.
void destroiSoapServer(void *objeto);
void liberaWebServer(YObThread *thread);

void poeWebServer(YSoapServer *servidor, Ponteiro<YWebServer> web) {
    const Tranca tranca(privado(servidor).trinco);
    privado(servidor).web = web.release();
}

void constroiSoapServer(void *objeto) {
    auto *servidor = static_cast<YSoapServer *>(objeto);
    try {
        servidor->privado = semFaltaDeMemoria(FONTE, [] { return new YSoapServer_Privado; });
        poeWebServer(servidor, cria<YWebServer>(YWebServer_rtti, FONTE));
        servidor->portTypes = cria<YMapa>(YMapaQueDestroi_rtti, FONTE).release();
        // Before the set, which is emptied under it, also when what follows fails.
        servidor->mutex = cria<YObMutex>(YObMutex_rtti, FONTE).release();
        servidor->servicos = cria<YSet>(YSetQueDestroi_rtti, FONTE).release();
        servidor->macros = YDIC_constroi();
    } catch (...) {
        destroiSoapServer(servidor);
        throw;
    }
    servidor->porta = PORTA_INICIAL;
    // Calls end before the first destructor: that of a derived class may free what its handlers use.
    aoLiberar(servidor, liberaWebServer);
}

// Gives the web server its previous handler back and stops it, if it serves for us.
void desliga(YSoapServer *servidor) {
    YSoapServer_Privado &p = privado(servidor);
    Tranca tranca(p.trinco);
    YWebServer *web = p.web;
    recusaEmUso(web); // before anything changes: a thread of the web server cannot wait for its own end
    if (!std::exchange(p.servindo, false)) {
        return;
    }
    // Connections outlive the stop: what they ask from now on goes to the earlier handler.
    YWebServer_setTratador(web, servidor->tratadorAnterior.contexto, servidor->tratadorAnterior.funcao);
    tranca.solta(); // the stop waits, and our handlers may take the lock meanwhile
    YObThread_stop(web);
}

// Waits for the calls in flight. Only the end of the server frees its web server.
void liberaWebServer(YObThread *thread) {
    auto *servidor = static_cast<YSoapServer *>(thread);
    desliga(servidor);
    YSoapServer_Privado &p = privado(servidor);
    Tranca tranca(p.trinco);
    // Whoever asks for the address from now on finds none; the free waits for calls, so without the lock.
    YWebServer *web = std::exchange(p.web, nullptr);
    servidor->webServer = nullptr;
    tranca.solta();
    YliberaObjeto(web);
}

void destroiSoapServer(void *objeto) {
    auto *servidor = static_cast<YSoapServer *>(objeto);
    // Callers first, then the objects, whose destructors may still ask the server, then what both used.
    // What a constructor that failed did not make is null.
    if (servidor->privado != nullptr) {
        YObThread_stopImpl(servidor); // a derived class whose constructor failed may have started it
        liberaWebServer(servidor);
    }
    if (servidor->servicos != nullptr) {
        esvazia(servidor);
    }
    YliberaObjeto(servidor->portTypes);
    YliberaObjeto(servidor->mutex);
    YDIC_destroi(servidor->macros);
    YliberaMemoria(servidor->diretorioBase);
    delete static_cast<YSoapServer_Privado *>(servidor->privado);
}

// The web server with our port, our files and our handler in front of what it had.
YWebServer *liga(YSoapServer *servidor) {
    YSoapServer_Privado &p = privado(servidor);
    const Tranca tranca(p.trinco);
    YWebServer *web = servidor->webServer = p.web;
    YWebServer_setPorta(web, static_cast<std::uint32_t>(servidor->porta));
    YWebServer_setDiretorioBase(web, servidor->diretorioBase);
    servidor->tratadorAnterior = YWebServer_setTratador(web, servidor, trataRequisicao);
    p.servindo = true;
    return web;
}

std::uint32_t portaPedida(YSoapServer *servidor) {
    const Tranca tranca(privado(servidor).trinco);
    return static_cast<std::uint32_t>(servidor->porta);
}

// With port 0 the macro names the port that the system chose.
void publicaPortaEscolhida(YSoapServer *servidor, YWebServer *web) {
    if (YWebServer_esperaPronto(web, std::time(nullptr) + ESPERA_PELA_PORTA) != 0) {
        YSoapServer_registraMacro(servidor, "PORTA", std::to_string(YWebServer_getPorta(web)).c_str());
    }
}

// Starts, stops and frees come one after the other (YObThread_start); what fails here is undone.
void inicia(YObThread *thread) {
    auto *servidor = static_cast<YSoapServer *>(thread);
    if (YObThread_isAlive(servidor) != 0) {
        return;
    }
    YObThread_stopImpl(servidor); // a stop that was only asked for ends now
    desliga(servidor);            // a thread that ended by itself left the web server serving
    registraDefeitosDosWsdls(servidor, nullptr);
    try {
        YWebServer *web = liga(servidor);
        // The sweep's thread comes last: who sees the server alive finds its web server started.
        YObThread_start(web);
        if (portaPedida(servidor) == 0) {
            publicaPortaEscolhida(servidor, web);
        }
        YObThread_startImpl(servidor);
    } catch (...) {
        desliga(servidor);
        throw;
    }
}

void para(YObThread *thread) {
    auto *servidor = static_cast<YSoapServer *>(thread);
    if (!EmUso::por(servidor)) { // on its own thread a stop is only asked for
        desliga(servidor);
    }
    YObThread_stopImpl(servidor);
}

void roda(YObThread *thread) {
    auto *servidor = static_cast<YSoapServer *>(thread);
    // The sweep, on the server's own thread: what fails ends this round alone.
    while (YObThread_dorme(servidor, INTERVALO_DA_VARREDURA) != 0) {
        try {
            varre(servidor);
        } catch (...) {
            registraExcecaoCorrente("YSoapServer_run");
        }
    }
}

// The address stays good without the lock: only the end of the server frees the web server.
YWebServer *webServerDe(YSoapServer *servidor) {
    const Tranca tranca(privado(servidor).trinco);
    return servidor->webServer;
}

} // namespace

const YObThread_Rtti YSoapServer_definicaoRtti = {
    {YObThread_rtti, "YSoapServer", sizeof(YSoapServer), constroiSoapServer, destroiSoapServer},
    roda,
    inicia,
    para};

const YRtti *YSoapServer_rtti(void) {
    return &YSoapServer_definicaoRtti.rtti;
}

int YSoapServer_esperaPronto(YSoapServer *servidor, int64_t prazo) {
    YWebServer *web = webServerDe(servidor);
    return web != nullptr && YObThread_isAlive(servidor) != 0 ? YWebServer_esperaPronto(web, prazo) : 0;
}

// ---- Settings ----

void YSoapServer_setPorta(YSoapServer *servidor, int32_t porta) {
    // First what may lack memory, then the field.
    YSoapServer_registraMacro(servidor, "PORTA", std::to_string(porta).c_str());
    const Tranca tranca(privado(servidor).trinco);
    servidor->porta = porta;
}

int32_t YSoapServer_getPorta(YSoapServer *servidor) {
    YWebServer *web = webServerDe(servidor);
    const bool escuta = web != nullptr && YWebServer_esperaPronto(web, 0) != 0;
    return static_cast<int32_t>(escuta ? YWebServer_getPorta(web) : portaPedida(servidor));
}

void YSoapServer_setDiretorioBase(YSoapServer *servidor, const char *diretorio) {
    const Tranca tranca(privado(servidor).trinco);
    trocaTexto(servidor->diretorioBase, diretorio);
    if (servidor->webServer != nullptr) {
        YWebServer_setDiretorioBase(servidor->webServer, servidor->diretorioBase);
    }
}

void YSoapServer_setTratadorHttp(YSoapServer *servidor, void *contexto, YFuncaoTratadorHttp tratador,
                                 YTratadorHttp *anterior) {
    YSoapServer_Privado &p = privado(servidor);
    const Tranca tranca(p.trinco);
    // Behind our own handler while that is installed; the next start puts ours in front of it otherwise.
    if (p.servindo) {
        *anterior = std::exchange(servidor->tratadorAnterior, {contexto, tratador});
    } else if (p.web != nullptr) {
        YWebServer_trocaTratador(p.web, contexto, tratador, anterior);
    } else {
        *anterior = {}; // the server ends: neither is called any more
    }
}

// Context and group are read by handlers at any moment, without a lock: one atomic word each.
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

void YSoapServer_setDetalheDaFalha(YSoapServer *servidor, int comDetalhe) {
    privado(servidor).detalheDaFalha = comDetalhe != 0;
}

void YSoapServer_setLimitesDaMensagem(YSoapServer *servidor, uint64_t niveis, uint64_t nos, uint64_t bytes) {
    YSoapServer_Privado &p = privado(servidor);
    const Tranca tranca(p.trinco);
    p.limites = {niveis, nos, bytes};
}

namespace {

// The web server keeps the setting; a destructor of a service object may set one when it has gone.
template <typename VALOR>
void ajusta(YSoapServer *servidor, void (*ajuste)(YWebServer *, VALOR), VALOR valor) {
    YSoapServer_Privado &p = privado(servidor);
    const Tranca tranca(p.trinco);
    if (p.web != nullptr) {
        ajuste(p.web, valor);
    }
}

} // namespace

void YSoapServer_setEndereco(YSoapServer *servidor, const char *endereco) {
    ajusta(servidor, YWebServer_setEndereco, endereco);
}

void YSoapServer_setLimiteDoCabecalho(YSoapServer *servidor, uint64_t bytes) {
    ajusta(servidor, YWebServer_setLimiteDoCabecalho, bytes);
}

void YSoapServer_setLimiteDoCorpo(YSoapServer *servidor, uint64_t bytes) {
    ajusta(servidor, YWebServer_setLimiteDoCorpo, bytes);
}

void YSoapServer_setLimiteDosCorpos(YSoapServer *servidor, uint64_t bytes) {
    ajusta(servidor, YWebServer_setLimiteDosCorpos, bytes);
}

void YSoapServer_setPrazoDaRequisicao(YSoapServer *servidor, uint32_t segundos) {
    ajusta(servidor, YWebServer_setPrazoDaRequisicao, segundos);
}

void YSoapServer_setPrazoDeEncerramento(YSoapServer *servidor, uint32_t segundos) {
    ajusta(servidor, YWebServer_setPrazoDeEncerramento, segundos);
}

void YSoapServer_setLimiteDeConexoes(YSoapServer *servidor, uint32_t conexoes) {
    ajusta(servidor, YWebServer_setLimiteDeConexoes, conexoes);
}

void YSoapServer_setFechaLogo(YSoapServer *servidor, int fechaLogo) {
    ajusta(servidor, YWebServer_setFechaLogo, fechaLogo);
}
