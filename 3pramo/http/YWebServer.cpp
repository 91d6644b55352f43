// The server's life and its settings. A number that a request reads by itself is atomic; what is more than a
// word (handler with context, directory) is read and replaced under `trinco`. What it has in common with
// other servers is its Aceite's.
#include <3pramo/http/YWebServer_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YObThread_interno.hpp>
#include <3pramo/foundation/cria.hpp>

#include <chrono>
#include <memory>
#include <utility>

#ifdef __GLIBC__
#include <malloc.h>
#endif

using namespace pramo;

namespace {

using Relogio = std::chrono::steady_clock;

constexpr const char *FONTE = "YWebServer";
// Without much memory being freed, before it is given back to the system.
constexpr std::chrono::nanoseconds SOSSEGO = std::chrono::seconds(1);

std::int64_t agora() {
    return Relogio::now().time_since_epoch().count();
}

YWebServer &web(YObThread &thread) {
    return static_cast<YWebServer &>(thread);
}

/// What a flood of large messages left behind goes back to the system; the allocator by itself would keep it.
void poda(YObThread &servidor) {
    YWebServer_Privado &p = privado(web(servidor));
    // Asked for again meanwhile, it waits again: the exchange fails.
    std::int64_t pedida = p.podaPedida;
    if (pedida == 0 || agora() - pedida < SOSSEGO.count() ||
        !p.podaPedida.compare_exchange_strong(pedida, 0)) {
        return;
    }
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

constexpr Oficio OFICIO = {FONTE, atendeConexao, poda};

void aceitaConexoes(YObThread *thread) {
    privado(web(*thread)).aceite.roda();
}

void encerraConexoes(YObThread *thread) {
    privado(web(*thread)).aceite.encerra();
}

void constroiWebServer(void *objeto) {
    auto *eu = static_cast<YWebServer *>(objeto);
    semFaltaDeMemoria(FONTE, [&] {
        auto privado = std::make_unique<YWebServer_Privado>(*eu);
        eu->diretorioBase = YduplicaString("www");
        eu->privado = privado.release();
        return 0;
    });
    eu->porta = 8880;
    eu->contextoTratador = eu;
    eu->tratador = trataArquivo;
    // Handlers that still run may use the fields of a derived class: they end before its destructor.
    aoLiberar(eu, encerraConexoes);
}

void destroiWebServer(void *objeto) {
    auto *eu = static_cast<YWebServer *>(objeto);
    // Mostly done by now; but a derived class whose constructor raised may have started it.
    YObThread_stopImpl(eu);
    encerraConexoes(eu);
    YliberaMemoria(eu->diretorioBase);
    delete &privado(*eu);
}

} // namespace

const YObThread_Rtti YWebServer_definicaoRtti = {
    {YObThread_rtti, "YWebServer", sizeof(YWebServer), constroiWebServer, destroiWebServer},
    aceitaConexoes,
    YObThread_startImpl,
    YObThread_stopImpl};

const YRtti *YWebServer_rtti(void) {
    return &YWebServer_definicaoRtti.rtti;
}

YWebServer_Privado::YWebServer_Privado(YWebServer &eu) : aceite(OFICIO, eu, eu.porta, eu.socketAceito) {}

// ---- For the connection threads ----

void pramo::pedePoda(YWebServer_Privado &p) {
    p.podaPedida = agora();
}

YTratadorHttp pramo::tratadorAtual(const YWebServer &servidor) {
    // Both under one lock: no handler is called with the context of another.
    const Tranca tranca(privado(servidor).trinco);
    return {servidor.contextoTratador, servidor.tratador};
}

std::optional<std::string> pramo::diretorioBaseAtual(const YWebServer &servidor) {
    // A copy: a setter may free the text once the lock is let go.
    const Tranca tranca(privado(servidor).trinco);
    return servidor.diretorioBase != nullptr ? std::optional<std::string>(servidor.diretorioBase)
                                             : std::nullopt;
}

// ---- Configuration ----

void YWebServer_setPorta(YWebServer *servidor, uint32_t porta) {
    privado(*servidor).aceite.setPorta(porta);
}

uint32_t YWebServer_getPorta(const YWebServer *servidor) {
    return privado(*servidor).aceite.porta();
}

void YWebServer_setEndereco(YWebServer *servidor, const char *endereco) {
    privado(*servidor).aceite.setEndereco(endereco);
}

YTratadorHttp YWebServer_setTratador(YWebServer *servidor, void *contexto, YFuncaoTratadorHttp tratador) {
    YTratadorHttp anterior;
    YWebServer_trocaTratador(servidor, contexto, tratador, &anterior);
    return anterior;
}

void YWebServer_trocaTratador(YWebServer *servidor, void *contexto, YFuncaoTratadorHttp tratador,
                              YTratadorHttp *anterior) {
    // Whoever calls the new handler has taken its pair under this lock, after the old one was written.
    const Tranca tranca(privado(*servidor).trinco);
    *anterior = {std::exchange(servidor->contextoTratador, contexto),
                 std::exchange(servidor->tratador, tratador)};
}

void YWebServer_setDiretorioBase(YWebServer *servidor, const char *diretorio) {
    Ponteiro<char> diretorioBase(YduplicaString(diretorio));
    const Tranca tranca(privado(*servidor).trinco);
    diretorioBase.reset(std::exchange(servidor->diretorioBase, diretorioBase.release()));
}

int YWebServer_esperaPronto(YWebServer *servidor, int64_t prazo) {
    return privado(*servidor).aceite.esperaPronto(prazo) ? 1 : 0;
}

void YWebServer_setLimiteDoCabecalho(YWebServer *servidor, uint64_t bytes) {
    privado(*servidor).limiteDoCabecalho = bytes;
}

void YWebServer_setLimiteDoCorpo(YWebServer *servidor, uint64_t bytes) {
    privado(*servidor).limiteDoCorpo = bytes;
}

void YWebServer_setLimiteDosCorpos(YWebServer *servidor, uint64_t bytes) {
    privado(*servidor).corpos.limite = bytes;
}

void YWebServer_setPrazoDaRequisicao(YWebServer *servidor, uint32_t segundos) {
    privado(*servidor).prazoDaRequisicao = segundos;
}

void YWebServer_setPrazoDeEncerramento(YWebServer *servidor, uint32_t segundos) {
    privado(*servidor).aceite.setPrazoDeEncerramento(segundos);
}

void YWebServer_setLimiteDeConexoes(YWebServer *servidor, uint32_t conexoes) {
    privado(*servidor).aceite.setLimiteDeConexoes(conexoes);
}

void YWebServer_setFechaLogo(YWebServer *servidor, int fechaLogo) {
    privado(*servidor).fechaLogo = fechaLogo != 0;
}

uint32_t YWebServer_getConexoes(const YWebServer *servidor) {
    return privado(*servidor).aceite.conexoes();
}
