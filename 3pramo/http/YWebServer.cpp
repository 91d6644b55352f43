// The server's life and its settings. A number that a request reads by itself is atomic; what is more than a
// word (handler with context, directory, address) is read and replaced under `trinco`.
#include <3pramo/http/YWebServer_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YObThread_interno.hpp>
#include <3pramo/foundation/cria.hpp>

#include <algorithm>
#include <memory>
#include <utility>

using namespace pramo;

namespace {

using Relogio = std::chrono::steady_clock;

constexpr const char *FONTE = "YWebServer";
// Milliseconds between two looks at whether the server is still alive.
constexpr int ESPERA = 100;

/// Lets the handlers that run finish and returns when the last connection thread has left.
void encerraConexoes(YObThread *thread) {
    YWebServer_Privado &p = privado(*static_cast<YWebServer *>(thread));
    p.fim.toca();
    const auto fim = Relogio::now() + std::chrono::seconds(p.prazoDeEncerramento);
    const Tranca tranca(p.trinco);
    while (p.conexoes > 0 && p.mudou.esperaAte(p.trinco, fim)) {
    }
    // The deadline has come: sends and receives fail from now on. A listed connection has its socket, as its
    // thread takes it off the list under this lock before it frees that.
    for (Conexao *conexao : p.abertas) {
        encerraTudo(conexao->socket());
    }
    // Without a bound: a thread that is left, in a handler that does not return, uses this object.
    while (p.conexoes > 0) {
        p.mudou.espera(p.trinco);
    }
}

void constroiWebServer(void *objeto) {
    auto *eu = static_cast<YWebServer *>(objeto);
    semFaltaDeMemoria(FONTE, [&] {
        auto privado = std::make_unique<YWebServer_Privado>();
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

// ---- For the connection threads ----

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
    const Tranca tranca(privado(*servidor).trinco);
    servidor->porta = porta;
}

uint32_t YWebServer_getPorta(const YWebServer *servidor) {
    YWebServer_Privado &p = privado(*servidor);
    const Tranca tranca(p.trinco);
    return p.escuta == Escuta::ABERTA ? p.portaEmUso : servidor->porta;
}

void YWebServer_setEndereco(YWebServer *servidor, const char *novo) {
    // Copied, and the old text freed, outside the lock: it is declared before the lock is taken.
    auto copia = semFaltaDeMemoria(
        FONTE, [novo] { return novo != nullptr ? std::optional<std::string>(novo) : std::nullopt; });
    YWebServer_Privado &p = privado(*servidor);
    const Tranca tranca(p.trinco);
    p.endereco.swap(copia);
}

YTratadorHttp YWebServer_setTratador(YWebServer *servidor, void *contexto, YFuncaoTratadorHttp tratador) {
    const Tranca tranca(privado(*servidor).trinco);
    return {std::exchange(servidor->contextoTratador, contexto), std::exchange(servidor->tratador, tratador)};
}

void YWebServer_setDiretorioBase(YWebServer *servidor, const char *diretorio) {
    Ponteiro<char> diretorioBase(YduplicaString(diretorio));
    const Tranca tranca(privado(*servidor).trinco);
    diretorioBase.reset(std::exchange(servidor->diretorioBase, diretorioBase.release()));
}

int YWebServer_esperaPronto(YWebServer *servidor, int64_t prazo) {
    YWebServer_Privado &p = privado(*servidor);
    const Prazo ate = Prazo::noSegundo(prazo);
    const Tranca tranca(p.trinco);
    while (YObThread_isAlive(servidor) != 0 && p.escuta == Escuta::FECHADA && ate.resta() > 0) {
        // A stop is told under another lock and need not wake us.
        const std::chrono::milliseconds passo(std::min(ESPERA, ate.resta()));
        p.mudou.esperaAte(p.trinco, Relogio::now() + passo);
    }
    return YObThread_isAlive(servidor) != 0 && p.escuta == Escuta::ABERTA ? 1 : 0;
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
    privado(*servidor).prazoDeEncerramento = segundos;
}

void YWebServer_setLimiteDeConexoes(YWebServer *servidor, uint32_t conexoes) {
    YWebServer_Privado &p = privado(*servidor);
    const Tranca tranca(p.trinco);
    p.limiteDeConexoes = std::max(conexoes, 1U);
    // The accept loop may be waiting for a place.
    p.mudou.avisa();
}

void YWebServer_setFechaLogo(YWebServer *servidor, int fechaLogo) {
    privado(*servidor).fechaLogo = fechaLogo != 0;
}

uint32_t YWebServer_getConexoes(const YWebServer *servidor) {
    YWebServer_Privado &p = privado(*servidor);
    const Tranca tranca(p.trinco);
    return p.conexoes;
}
