// The accept loop, and the connections it knows of.
#include <3pramo/http/YWebServer_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YObLOG.h>
#include <3pramo/foundation/cria.hpp>

#include <algorithm>
#include <limits>
#include <sched.h>
#include <utility>

#ifdef __GLIBC__
#include <malloc.h>
#endif

using namespace pramo;

namespace {

using Relogio = std::chrono::steady_clock;

constexpr const char *FONTE = "YWebServer";
constexpr std::chrono::milliseconds ESPERA{
    100}; // for a place, between two looks at whether it is still alive
constexpr std::chrono::nanoseconds SOSSEGO = std::chrono::seconds(1); // before memory is given back
constexpr int CESSOES = 16;
constexpr int DESPEDIDA = 1000; // milliseconds, at most
constexpr int SILENCIO = 100;   // milliseconds without a byte from a peer that may still be sending
constexpr std::uint32_t PRIMEIRA_PAUSA_MS = 1;
constexpr std::uint32_t PAUSA_MS = 100;

std::atomic_ref<YSocket *> socketAceito(YWebServer &servidor) {
    return std::atomic_ref(servidor.socketAceito);
}

std::int64_t agora() {
    return Relogio::now().time_since_epoch().count();
}

// ---- Listening ----

void anunciaEscuta(WebServerInterno &i, Escuta escuta, std::uint32_t porta) {
    const Tranca tranca(i.trinco);
    i.escuta = escuta;
    i.portaEmUso = porta;
    i.mudou.avisa();
}

std::optional<std::string> enderecoAtual(WebServerInterno &i) {
    const Tranca tranca(i.trinco);
    return i.endereco;
}

/// What the loop keeps from one round to the next: the listener, and the object for the next connection. That
/// one is there beforehand, so that a connection is never accepted only to be lost for want of memory.
struct Ouvinte {
    Ponteiro<YSocket> ouvinte;
    Ponteiro<YSocket> proxima;
    bool entregando = false; // a connection has left the queue: another try does not meet it again
};

void escuta(YWebServer &eu, Ouvinte &o) {
    if (o.ouvinte != nullptr && o.ouvinte->fd >= 0 && !o.ouvinte->acabou) {
        return;
    }
    try {
        o.ouvinte = cria<YSocket>(YSocket_rtti, FONTE);
        YObLOG_masc_print(Y_LOG_WEB, "YWebServer_run(eu=%p):socket=%p.", endereco(&eu),
                          endereco(o.ouvinte.get()));
        const std::optional<std::string> onde = enderecoAtual(interno(eu));
        YSocket_escutaEm(o.ouvinte.get(), onde ? onde->c_str() : nullptr, YWebServer_getPorta(&eu));
    } catch (...) {
        anunciaEscuta(interno(eu), Escuta::RECUSADA, 0);
        throw;
    }
    anunciaEscuta(interno(eu), Escuta::ABERTA, YSocket_getPorta(o.ouvinte.get()));
}

// ---- Room for one more ----

/// The one that has waited longest for a request leaves; none when all are at work.
void despejaUma(WebServerInterno &i) Y_EXIGE(i.trinco) {
    Conexao *escolhida = nullptr;
    std::int64_t desde = std::numeric_limits<std::int64_t>::max();
    for (Conexao *conexao : i.abertas) {
        const std::int64_t dela = conexao->ociosaDesde();
        if (dela > 0 && dela < desde) {
            escolhida = conexao;
            desde = dela;
        }
    }
    if (escolhida != nullptr && escolhida->despeja()) {
        i.despejando++;
        encerraLeitura(escolhida->socket());
    }
}

/// Waits a moment for it, if need be. Nobody is told to leave before somebody has come.
bool cabeOutraConexao(WebServerInterno &i, const YSocket &ouvinte) {
    Tranca tranca(i.trinco);
    if (i.conexoes < i.limiteDeConexoes) {
        return true;
    }
    tranca.solta();
    if (!chegaConexao(ouvinte)) {
        return false;
    }
    const auto fim = Relogio::now() + ESPERA;
    tranca.tranca();
    if (i.conexoes >= i.limiteDeConexoes && i.despejando == 0) {
        despejaUma(i);
    }
    while (i.conexoes >= i.limiteDeConexoes && i.mudou.esperaAte(i.trinco, fim)) {
    }
    return i.conexoes < i.limiteDeConexoes;
}

// ---- The hand-off ----

void entraConexao(WebServerInterno &i) {
    const Tranca tranca(i.trinco);
    i.abertas.reserve(i.conexoes + 1); // so that its thread need not ask for memory
    i.conexoes++;
}

void saiConexao(WebServerInterno &i, bool despejada) {
    const Tranca tranca(i.trinco);
    i.conexoes--;
    i.despejando -= despejada ? 1 : 0;
    i.mudou.avisa();
}

/// Hands the connection to a thread of its own; returns when that thread has taken it.
void entregaConexao(YWebServer &eu, Ponteiro<YSocket> conexao) {
    WebServerInterno &i = interno(eu);
    conexao->despertador = &i.fim;
    entraConexao(i);
    socketAceito(eu).store(conexao);
    try {
        YexecutaThread(trataConexao, &eu);
    } catch (...) {
        socketAceito(eu).store(nullptr);
        saiConexao(i, false);
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

void tentaAceitar(YWebServer &eu, Ouvinte &o) {
    o.entregando = false;
    escuta(eu, o);
    if (!cabeOutraConexao(interno(eu), *o.ouvinte)) {
        return;
    }
    if (o.proxima == nullptr) {
        o.proxima = cria<YSocket>(YSocket_rtti, FONTE);
    }
    if (aceitaEm(*o.ouvinte, *o.proxima)) {
        YObLOG_masc_print(Y_LOG_WEB, "YWebServer_run(eu=%p,socket=%p):aceitou %p.", endereco(&eu),
                          endereco(o.ouvinte.get()), endereco(o.proxima.get()));
        o.entregando = true;
        entregaConexao(eu, std::move(o.proxima));
        YObLOG_masc_print(Y_LOG_WEB, "YWebServer_run(eu=%p):thread filho copiou!", endereco(&eu));
    }
}

// ---- Between two connections ----

/// What a flood of large messages left behind goes back to the system; the allocator by itself would keep it.
void poda(WebServerInterno &i) {
    std::int64_t pedida = i.podaPedida;
    if (pedida == 0 || agora() - pedida < SOSSEGO.count() ||
        !i.podaPedida.compare_exchange_strong(pedida, 0)) {
        return;
    }
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

/// Says that nothing listens any more, however the loop ends: a log sink may end its thread.
class FimDaEscuta {
public:
    explicit FimDaEscuta(WebServerInterno &i) : i_(i) {}
    ~FimDaEscuta() { anunciaEscuta(i_, Escuta::FECHADA, 0); }
    FimDaEscuta(const FimDaEscuta &) = delete;
    FimDaEscuta &operator=(const FimDaEscuta &) = delete;

private:
    WebServerInterno &i_;
};

} // namespace

void pramo::aceitaConexoes(YObThread *servidor) {
    auto &eu = *static_cast<YWebServer *>(servidor);
    WebServerInterno &i = interno(eu);
    Ouvinte ouvinte;
    const FimDaEscuta fim(i);
    std::uint32_t pausa = PRIMEIRA_PAUSA_MS;
    while (YObThread_isAlive(&eu) != 0) {
        try {
            tentaAceitar(eu, ouvinte);
            pausa = PRIMEIRA_PAUSA_MS;
        } catch (...) {
            i.falhas.registra("YWebServer_run", Falhas::Quanto::UMA_VEZ);
            YObThread_dorme(&eu, ouvinte.entregando ? PRIMEIRA_PAUSA_MS : pausa);
            pausa = PAUSA_MS;
        }
        i.falhas.registraContagens();
        poda(i);
    }
}

// ---- For the connection threads ----

void Conexao::ficaOciosa() {
    std::int64_t ocupada = OCUPADA;
    desde_.compare_exchange_strong(ocupada, agora());
}

bool Conexao::ficaOcupada() {
    std::int64_t desde = desde_;
    return desde != DESPEJADA && desde_.compare_exchange_strong(desde, OCUPADA);
}

std::int64_t Conexao::ociosaDesde() const {
    return std::max<std::int64_t>(desde_, 0);
}

bool Conexao::despeja() {
    std::int64_t desde = desde_;
    return desde > 0 && desde_.compare_exchange_strong(desde, DESPEJADA);
}

void pramo::levaSocketAceito(YWebServer &servidor, Conexao &conexao) {
    WebServerInterno &i = interno(servidor);
    Tranca tranca(i.trinco);
    conexao.socket_ = socketAceito(servidor).exchange(nullptr);
    conexao.lugar_ = i.abertas.size();
    i.abertas.push_back(&conexao);
    tranca.solta();
    i.entregue.avisaUm();
}

void pramo::deixaServidor(YWebServer &servidor, Conexao &conexao) {
    WebServerInterno &i = interno(servidor);
    // The peer of an idle connection has the last answer, or is still receiving it; it is not sending.
    despede(conexao.socket(), DESPEDIDA, conexao.ociosaDesde() > 0 ? 0 : SILENCIO);
    {
        const Tranca tranca(i.trinco);
        Conexao *ultima = i.abertas.back();
        ultima->lugar_ = conexao.lugar_;
        i.abertas[conexao.lugar_] = ultima;
        i.abertas.pop_back();
    }
    YliberaObjeto_semLancar(&conexao.socket());
    saiConexao(i, conexao.despejada());
}

void pramo::pedePoda(WebServerInterno &i) {
    i.podaPedida = agora();
}
