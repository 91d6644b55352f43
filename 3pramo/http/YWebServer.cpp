// The server's life, its accept loop, and the connections it knows of.
#include <3pramo/http/YWebServer_interno.hpp>

#include <3pramo/foundation/Dono.hpp>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YObLOG.h>
#include <3pramo/foundation/YObThread_interno.hpp>
#include <3pramo/foundation/YSocket_interno.hpp>

#include <algorithm>
#include <ctime>
#include <map>
#include <sched.h>
#include <utility>

using namespace pramo;

namespace {

using Relogio = std::chrono::steady_clock;

constexpr const char *FONTE = "YWebServer";
constexpr std::chrono::milliseconds ESPERA{100}; // between two looks at whether the server is still alive
constexpr std::chrono::seconds TOLERANCIA{5};    // for answers under way when the server is freed
constexpr std::chrono::seconds SILENCIO{60};
constexpr int CESSOES = 16;
constexpr std::uint32_t PRIMEIRA_PAUSA_MS = 1;
constexpr std::uint32_t PAUSA_MS = 100;

std::atomic_ref<YSocket *> socketAceito(YWebServer &servidor) {
    return std::atomic_ref(servidor.socketAceito);
}

// ---- Life ----

/// Lets the handlers that run finish and returns when the last connection thread has left.
void encerraConexoes(YObThread *thread) {
    WebServerInterno &i = interno(*static_cast<YWebServer *>(thread));
    i.encerrando = true;
    const auto fim = Relogio::now() + TOLERANCIA;
    const Tranca tranca(i.trinco);
    for (YSocket *socket : i.abertas) {
        encerraLeitura(*socket);
    }
    while (i.conexoes > 0 && i.mudou.esperaAte(i.trinco, fim)) {
    }
    for (YSocket *socket : i.abertas) {
        encerraTudo(*socket);
    }
    while (i.conexoes > 0) {
        i.mudou.espera(i.trinco);
    }
}

void constroiWebServer(void *objeto) {
    auto *eu = static_cast<YWebServer *>(objeto);
    semFaltaDeMemoria(FONTE, [&] {
        auto privado = std::make_unique<WebServerInterno>();
        eu->diretorioBase = YduplicaString("www");
        eu->privado = privado.release();
        return 0;
    });
    eu->porta = 8880;
    eu->contextoTratador = eu;
    eu->tratador = emiteArquivoOuDiretorio;
    aoLiberar(eu, encerraConexoes);
}

void destroiWebServer(void *objeto) {
    auto *eu = static_cast<YWebServer *>(objeto);
    YObThread_stopImpl(eu); // a derived class whose constructor failed may have started it
    encerraConexoes(eu);
    YliberaMemoria(eu->diretorioBase);
    delete &interno(*eu);
}

// ---- The accept loop ----

/// The failures of the accept loop: each cause is logged once, and again only after a minute without it.
class Falhas {
public:
    void registra(const YExcecao &falha) {
        const auto agora = Relogio::now();
        auto &ultima = ultimas_.try_emplace(falha.descricao(), agora - 2 * SILENCIO).first->second;
        if (agora - ultima > SILENCIO) {
            YExc_descreve_no_log();
        }
        ultima = agora;
    }

private:
    std::map<std::string, Relogio::time_point> ultimas_;
};

void anunciaEscuta(WebServerInterno &i, Escuta escuta, std::uint32_t porta) {
    const Tranca tranca(i.trinco);
    i.escuta = escuta;
    i.portaEmUso = porta;
    i.mudou.avisa();
}

void escuta(YWebServer &eu, YSocket &ouvinte) {
    if (ouvinte.fd >= 0) {
        return;
    }
    try {
        YSocket_escuta(&ouvinte, YWebServer_getPorta(&eu));
    } catch (...) {
        anunciaEscuta(interno(eu), Escuta::RECUSADA, 0);
        throw;
    }
    anunciaEscuta(interno(eu), Escuta::ABERTA, YSocket_getPorta(&ouvinte));
}

/// Waits a moment for it, if need be.
bool cabeOutraConexao(WebServerInterno &i) {
    const auto fim = Relogio::now() + ESPERA;
    const Tranca tranca(i.trinco);
    while (i.conexoes >= i.limiteDeConexoes && i.mudou.esperaAte(i.trinco, fim)) {
    }
    return i.conexoes < i.limiteDeConexoes;
}

void entraConexao(WebServerInterno &i, YSocket *socket) {
    const Tranca tranca(i.trinco);
    i.abertas.insert(socket);
    i.conexoes++;
}

void saiConexao(WebServerInterno &i, YSocket *socket) {
    const Tranca tranca(i.trinco);
    i.abertas.erase(socket);
    i.conexoes--;
    i.mudou.avisa();
}

/// Hands the connection to a thread of its own; returns when that thread has taken it.
void entregaConexao(YWebServer &eu, Dono<YSocket> conexao) {
    WebServerInterno &i = interno(eu);
    entraConexao(i, conexao.get());
    socketAceito(eu).store(conexao.get());
    try {
        YexecutaThread(trataConexao, &eu);
    } catch (...) {
        socketAceito(eu).store(nullptr);
        saiConexao(i, conexao.get());
        throw;
    }
    (void)conexao.release(); // the thread frees it
    for (int vez = 0; vez < CESSOES && socketAceito(eu).load() != nullptr; vez++) {
        sched_yield(); // it usually runs by now, and taking the socket is the first thing it does
    }
    const Tranca tranca(i.trinco);
    while (socketAceito(eu).load() != nullptr) {
        i.entregue.espera(i.trinco);
    }
}

void tentaAceitar(YWebServer &eu, YSocket &ouvinte) {
    escuta(eu, ouvinte);
    if (!cabeOutraConexao(interno(eu))) {
        return;
    }
    Dono<YSocket> conexao(YSocket_aceitaConexao(&ouvinte, YWebServer_getPorta(&eu)));
    if (conexao != nullptr) {
        YObLOG_masc_print(Y_LOG_WEB, "YWebServer_run(eu=%p,socket=%p):aceitou %p.", endereco(&eu),
                          endereco(&ouvinte), endereco(conexao.get()));
        entregaConexao(eu, std::move(conexao));
        YObLOG_masc_print(Y_LOG_WEB, "YWebServer_run(eu=%p):thread filho copiou!", endereco(&eu));
    }
}

void run(YObThread *thread) {
    auto &eu = *static_cast<YWebServer *>(thread);
    const Dono<YSocket> ouvinte = cria<YSocket>(YSocket_rtti, FONTE);
    YObLOG_masc_print(Y_LOG_WEB, "YWebServer_run(eu=%p):socket=%p.", endereco(&eu), endereco(ouvinte.get()));
    Falhas falhas;
    std::uint32_t pausa = PRIMEIRA_PAUSA_MS;
    while (YObThread_isAlive(&eu) != 0) {
        try {
            tentaAceitar(eu, *ouvinte);
            pausa = PRIMEIRA_PAUSA_MS;
        } catch (...) {
            falhas.registra(excecaoCorrente());
            YObThread_dorme(&eu, pausa);
            pausa = PAUSA_MS;
        }
    }
    anunciaEscuta(interno(eu), Escuta::FECHADA, 0);
}

const YObThread_Rtti definicaoRtti = {
    {YObThread_rtti, "YWebServer", sizeof(YWebServer), constroiWebServer, destroiWebServer},
    run,
    YObThread_startImpl,
    YObThread_stopImpl};

} // namespace

const YRtti *YWebServer_rtti(void) {
    return &definicaoRtti.rtti;
}

// ---- For the connection threads ----

YSocket &pramo::levaSocketAceito(YWebServer &servidor) {
    WebServerInterno &i = interno(servidor);
    Tranca tranca(i.trinco);
    YSocket *socket = socketAceito(servidor).exchange(nullptr);
    tranca.solta();
    i.entregue.avisaUm();
    return *socket;
}

void pramo::deixaServidor(YWebServer &servidor, YSocket &socket) {
    WebServerInterno &i = interno(servidor);
    despede(socket, 0);
    {
        const Tranca tranca(i.trinco);
        i.abertas.erase(&socket);
    }
    liberaSemLancar(&socket);
    const Tranca tranca(i.trinco);
    i.conexoes--;
    i.mudou.avisa();
}

YTratadorHttp pramo::tratadorAtual(const YWebServer &servidor) {
    const Tranca tranca(interno(servidor).trinco);
    return {servidor.contextoTratador, servidor.tratador};
}

std::optional<std::string> pramo::diretorioBaseAtual(const YWebServer &servidor) {
    const Tranca tranca(interno(servidor).trinco);
    return servidor.diretorioBase != nullptr ? std::optional<std::string>(servidor.diretorioBase)
                                             : std::nullopt;
}

// ---- Configuration ----

void YWebServer_setPorta(YWebServer *servidor, uint32_t porta) {
    const Tranca tranca(interno(*servidor).trinco);
    servidor->porta = porta;
}

uint32_t YWebServer_getPorta(const YWebServer *servidor) {
    WebServerInterno &i = interno(*servidor);
    const Tranca tranca(i.trinco);
    return i.escuta == Escuta::ABERTA ? i.portaEmUso : servidor->porta;
}

YTratadorHttp YWebServer_setTratador(YWebServer *servidor, void *contexto, YFuncaoTratadorHttp tratador) {
    const Tranca tranca(interno(*servidor).trinco);
    return {std::exchange(servidor->contextoTratador, contexto), std::exchange(servidor->tratador, tratador)};
}

void YWebServer_setDiretorioBase(YWebServer *servidor, const char *diretorio) {
    Dono<char> diretorioBase(YduplicaString(diretorio));
    const Tranca tranca(interno(*servidor).trinco);
    diretorioBase.reset(std::exchange(servidor->diretorioBase, diretorioBase.release()));
}

int YWebServer_esperaPronto(YWebServer *servidor, int64_t prazo) {
    WebServerInterno &i = interno(*servidor);
    const Tranca tranca(i.trinco);
    while (YObThread_isAlive(servidor) != 0 && i.escuta == Escuta::FECHADA && std::time(nullptr) < prazo) {
        i.mudou.esperaAte(i.trinco, Relogio::now() + ESPERA);
    }
    return YObThread_isAlive(servidor) != 0 && i.escuta == Escuta::ABERTA ? 1 : 0;
}

void YWebServer_setLimiteDoCabecalho(YWebServer *servidor, uint64_t bytes) {
    interno(*servidor).limiteDoCabecalho = bytes;
}

void YWebServer_setLimiteDoCorpo(YWebServer *servidor, uint64_t bytes) {
    interno(*servidor).limiteDoCorpo = bytes;
}

void YWebServer_setLimiteDeConexoes(YWebServer *servidor, uint32_t conexoes) {
    WebServerInterno &i = interno(*servidor);
    const Tranca tranca(i.trinco);
    i.limiteDeConexoes = std::max(conexoes, 1U);
    i.mudou.avisa();
}

void YWebServer_setFechaLogo(YWebServer *servidor, int fechaLogo) {
    interno(*servidor).fechaLogo = fechaLogo != 0;
}

uint32_t YWebServer_getConexoes(const YWebServer *servidor) {
    WebServerInterno &i = interno(*servidor);
    const Tranca tranca(i.trinco);
    return i.conexoes;
}
