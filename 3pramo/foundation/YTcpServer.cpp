// The TCP server: an Aceite with a handler.
#include <3pramo/foundation/YTcpServer.h>

#include <3pramo/foundation/Aceite.hpp>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YObThread_interno.hpp>

#include <utility>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YTcpServer";

void atendeConexao(YObThread &servidor, Conexao &conexao);

constexpr Oficio OFICIO = {FONTE, atendeConexao, nullptr};

struct Privado {
    explicit Privado(YTcpServer &eu) : aceite(OFICIO, eu, porta, socketAceito) {}

    std::uint32_t porta = 0;
    YSocket *socketAceito = nullptr;
    Aceite aceite;
    Trinco trinco;
    YTratadorTcp tratador Y_GUARDADO_POR(trinco) = {};
};

Privado &privado(const YTcpServer &servidor) {
    return *static_cast<Privado *>(servidor.privado);
}

Aceite &aceite(YObThread &thread) {
    return privado(static_cast<YTcpServer &>(thread)).aceite;
}

YTratadorTcp tratadorAtual(Privado &p) {
    // Both under one lock: no handler is called with the context of another.
    const Tranca tranca(p.trinco);
    return p.tratador;
}

void atendeConexao(YObThread &servidor, Conexao &conexao) {
    auto &eu = static_cast<YTcpServer &>(servidor);
    const YTratadorTcp tratador = tratadorAtual(privado(eu));
    if (tratador.funcao != nullptr) {
        tratador.funcao(tratador.contexto, &eu, &conexao.socket());
    }
}

void aceitaConexoes(YObThread *thread) {
    aceite(*thread).roda();
}

void encerraConexoes(YObThread *thread) {
    aceite(*thread).encerra();
}

void constroiTcpServer(void *objeto) {
    auto *eu = static_cast<YTcpServer *>(objeto);
    eu->privado = semFaltaDeMemoria(FONTE, [eu] { return new Privado(*eu); });
    // Handlers that still run may use the fields of a derived class: they end before its destructor.
    aoLiberar(eu, encerraConexoes);
}

void destroiTcpServer(void *objeto) {
    auto *eu = static_cast<YTcpServer *>(objeto);
    // Mostly done by now; but a derived class whose constructor raised may have started it.
    YObThread_stopImpl(eu);
    encerraConexoes(eu);
    delete &privado(*eu);
}

} // namespace

const YObThread_Rtti YTcpServer_definicaoRtti = {
    {YObThread_rtti, "YTcpServer", sizeof(YTcpServer), constroiTcpServer, destroiTcpServer},
    aceitaConexoes,
    YObThread_startImpl,
    YObThread_stopImpl};

const YRtti *YTcpServer_rtti(void) {
    return &YTcpServer_definicaoRtti.rtti;
}

void YTcpServer_setPorta(YTcpServer *servidor, uint32_t porta) {
    privado(*servidor).aceite.setPorta(porta);
}

void YTcpServer_setEndereco(YTcpServer *servidor, const char *endereco) {
    privado(*servidor).aceite.setEndereco(endereco);
}

YTratadorTcp YTcpServer_setTratador(YTcpServer *servidor, void *contexto, YFuncaoTratadorTcp tratador) {
    Privado &p = privado(*servidor);
    const Tranca tranca(p.trinco);
    return std::exchange(p.tratador, {contexto, tratador});
}

void YTcpServer_setLimiteDeConexoes(YTcpServer *servidor, uint32_t conexoes) {
    privado(*servidor).aceite.setLimiteDeConexoes(conexoes);
}

void YTcpServer_setPrazoDeEncerramento(YTcpServer *servidor, uint32_t segundos) {
    privado(*servidor).aceite.setPrazoDeEncerramento(segundos);
}

int YTcpServer_esperaPronto(YTcpServer *servidor, int64_t prazo) {
    return privado(*servidor).aceite.esperaPronto(prazo) ? 1 : 0;
}

uint32_t YTcpServer_getPorta(const YTcpServer *servidor) {
    return privado(*servidor).aceite.porta();
}

uint32_t YTcpServer_getConexoes(const YTcpServer *servidor) {
    return privado(*servidor).aceite.conexoes();
}
