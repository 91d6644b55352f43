// The server's life and its settings.
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
constexpr int ESPERA = 100; // milliseconds between two looks at whether the server is still alive

/// Lets the handlers that run finish and returns when the last connection thread has left.
void encerraConexoes(YObThread *thread) {
    YWebServer_Privado &p = privado(*static_cast<YWebServer *>(thread));
    p.fim.toca();
    const auto fim = Relogio::now() + std::chrono::seconds(p.prazoDeEncerramento);
    const Tranca tranca(p.trinco);
    while (p.conexoes > 0 && p.mudou.esperaAte(p.trinco, fim)) {
    }
    for (Conexao *conexao : p.abertas) {
        encerraTudo(conexao->socket());
    }
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
    aoLiberar(eu, encerraConexoes);
}

void destroiWebServer(void *objeto) {
    auto *eu = static_cast<YWebServer *>(objeto);
    YObThread_stopImpl(eu); // a derived class whose constructor failed may have started it
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
    const Tranca tranca(privado(servidor).trinco);
    return {servidor.contextoTratador, servidor.tratador};
}

std::optional<std::string> pramo::diretorioBaseAtual(const YWebServer &servidor) {
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
