// The accept loop, and the connections it knows of. One connection at a time is in hand-off: the loop leaves
// its socket in socketAceito and goes on when the connection's thread has taken it. From then until that
// thread leaves, the connection is listed in `abertas`, where the loop can make an idle one leave and the end
// of the server reaches all of them.
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
// For a place, between two looks at whether the server is still alive.
constexpr std::chrono::milliseconds ESPERA{100};
// Without much memory being freed, before it is given back to the system.
constexpr std::chrono::nanoseconds SOSSEGO = std::chrono::seconds(1);
// How often the loop yields for the new thread before it sleeps.
constexpr int CESSOES = 16;
// How long a connection's end may take, and how long a peer that may still be sending must be silent for it
// to be shorter; milliseconds.
constexpr int DESPEDIDA = 1000;
constexpr int SILENCIO = 100;
// After a failure: the first one, and each that follows it.
constexpr std::uint32_t PRIMEIRA_PAUSA_MS = 1;
constexpr std::uint32_t PAUSA_MS = 100;

// A documented field, so its type is plain; both threads reach it through this.
std::atomic_ref<YSocket *> socketAceito(YWebServer &servidor) {
    return std::atomic_ref(servidor.socketAceito);
}

std::int64_t agora() {
    return Relogio::now().time_since_epoch().count();
}

// ---- Listening ----

void anunciaEscuta(YWebServer_Privado &p, Escuta escuta, std::uint32_t porta) {
    const Tranca tranca(p.trinco);
    p.escuta = escuta;
    p.portaEmUso = porta;
    p.mudou.avisa();
}

std::optional<std::string> enderecoAtual(YWebServer_Privado &p) {
    const Tranca tranca(p.trinco);
    return p.endereco;
}

/// What the loop keeps from one round to the next: the listener, and the object for the next connection. That
/// one is there beforehand, so that a connection is never accepted only to be lost for want of memory.
struct Laco {
    Ponteiro<YSocket> ouvinte;
    Ponteiro<YSocket> proxima;
    bool entregando = false; // a connection has left the queue: another try does not meet it again
};

/// The listener is kept from round to round; one that has failed is closed, and a new one asks for the same
/// port, also when that had been the system's choice.
void garanteEscuta(YWebServer &eu, Laco &laco) {
    if (laco.ouvinte != nullptr && laco.ouvinte->fd >= 0 && !laco.ouvinte->acabou) {
        return;
    }
    try {
        laco.ouvinte = cria<YSocket>(YSocket_rtti, FONTE);
        YObLOG_masc_print(Y_LOG_WEB, "YWebServer_run(eu=%p):socket=%p.", endereco(&eu),
                          endereco(laco.ouvinte.get()));
        const std::optional<std::string> onde = enderecoAtual(privado(eu));
        YSocket_escutaEm(laco.ouvinte.get(), onde ? onde->c_str() : nullptr, YWebServer_getPorta(&eu));
    } catch (...) {
        anunciaEscuta(privado(eu), Escuta::RECUSADA, 0);
        throw;
    }
    anunciaEscuta(privado(eu), Escuta::ABERTA, YSocket_getPorta(laco.ouvinte.get()));
}

// ---- Room for one more ----

/// The one that has waited longest for a request leaves; none when all are at work.
void despejaUma(YWebServer_Privado &p) Y_EXIGE(p.trinco) {
    Conexao *escolhida = nullptr;
    std::int64_t desde = std::numeric_limits<std::int64_t>::max();
    for (Conexao *conexao : p.abertas) {
        const std::int64_t dela = conexao->ociosaDesde();
        if (dela > 0 && dela < desde) {
            escolhida = conexao;
            desde = dela;
        }
    }
    // A request may just have come to it: then nobody leaves this time. Its socket is there, as it is listed
    // and we hold the lock.
    if (escolhida != nullptr && escolhida->despeja()) {
        p.despejando++;
        encerraLeitura(escolhida->socket());
    }
}

/// Waits a moment for it, if need be. Nobody is told to leave before somebody has come.
bool cabeOutraConexao(YWebServer_Privado &p, const YSocket &ouvinte) {
    Tranca tranca(p.trinco);
    if (p.conexoes < p.limiteDeConexoes) {
        return true;
    }
    // Up to 50 ms, in which connection threads must be able to leave.
    tranca.solta();
    if (!chegaConexao(ouvinte)) {
        return false;
    }
    const auto fim = Relogio::now() + ESPERA;
    tranca.tranca();
    // One place for one newcomer: whoever was told to leave before is on the way.
    if (p.conexoes >= p.limiteDeConexoes && p.despejando == 0) {
        despejaUma(p);
    }
    while (p.conexoes >= p.limiteDeConexoes && p.mudou.esperaAte(p.trinco, fim)) {
    }
    return p.conexoes < p.limiteDeConexoes;
}

// ---- The hand-off ----

void entraConexao(YWebServer_Privado &p) {
    const Tranca tranca(p.trinco);
    // Its thread lists itself without asking for memory. When there is none, nothing is counted yet.
    p.abertas.reserve(p.conexoes + 1);
    p.conexoes++;
}

void saiConexao(YWebServer_Privado &p, bool despejada) {
    const Tranca tranca(p.trinco);
    p.conexoes--;
    p.despejando -= despejada ? 1 : 0;
    // Under the lock: whoever frees the server waits for this count, so there may be no server after it.
    p.mudou.avisa();
}

/// Hands the connection to a thread of its own; returns when that thread has taken it.
void entregaConexao(YWebServer &eu, Ponteiro<YSocket> conexao) {
    YWebServer_Privado &p = privado(eu);
    conexao->despertador = &p.fim;
    // Counted before it has a thread, so that the server is not freed in between.
    entraConexao(p);
    socketAceito(eu).store(conexao);
    try {
        YexecutaThread(trataConexao, &eu);
    } catch (...) {
        socketAceito(eu).store(nullptr);
        saiConexao(p, false);
        throw;
    }
    // The thread frees it, perhaps already.
    (void)conexao.release();
    // It usually runs by now, and taking the socket is the first thing it does, which cannot fail.
    for (int vez = 0; vez < CESSOES && socketAceito(eu).load() != nullptr; vez++) {
        sched_yield();
    }
    const Tranca tranca(p.trinco);
    while (socketAceito(eu).load() != nullptr) {
        p.entregue.espera(p.trinco);
    }
}

void aceitaUma(YWebServer &eu, Laco &laco) {
    laco.entregando = false;
    garanteEscuta(eu, laco);
    if (!cabeOutraConexao(privado(eu), *laco.ouvinte)) {
        return;
    }
    if (laco.proxima == nullptr) {
        laco.proxima = cria<YSocket>(YSocket_rtti, FONTE);
    }
    if (aceitaEm(*laco.ouvinte, *laco.proxima)) {
        YObLOG_masc_print(Y_LOG_WEB, "YWebServer_run(eu=%p,socket=%p):aceitou %p.", endereco(&eu),
                          endereco(laco.ouvinte.get()), endereco(laco.proxima.get()));
        laco.entregando = true;
        entregaConexao(eu, std::move(laco.proxima));
        YObLOG_masc_print(Y_LOG_WEB, "YWebServer_run(eu=%p):thread filho copiou!", endereco(&eu));
    }
}

// ---- Between two connections ----

/// What a flood of large messages left behind goes back to the system; the allocator by itself would keep it.
void poda(YWebServer_Privado &p) {
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

/// Says that nothing listens any more, however the loop ends: a log sink may end its thread.
class FimDaEscuta {
public:
    explicit FimDaEscuta(YWebServer_Privado &p) : p_(p) {}
    ~FimDaEscuta() { anunciaEscuta(p_, Escuta::FECHADA, 0); }
    FimDaEscuta(const FimDaEscuta &) = delete;
    FimDaEscuta &operator=(const FimDaEscuta &) = delete;

private:
    YWebServer_Privado &p_;
};

} // namespace

void pramo::aceitaConexoes(YObThread *servidor) {
    auto &eu = *static_cast<YWebServer *>(servidor);
    YWebServer_Privado &p = privado(eu);
    Laco laco;
    const FimDaEscuta fim(p);
    std::uint32_t pausa = PRIMEIRA_PAUSA_MS;
    while (YObThread_isAlive(&eu) != 0) {
        try {
            aceitaUma(eu, laco);
            pausa = PRIMEIRA_PAUSA_MS;
        } catch (...) {
            p.falhas.registra("YWebServer_run", Falhas::Quanto::UMA_VEZ);
            // What fails before a connection is accepted (no descriptors, no port) fails again at once.
            YObThread_dorme(&eu, laco.entregando ? PRIMEIRA_PAUSA_MS : pausa);
            pausa = PAUSA_MS;
        }
        p.falhas.registraContagens();
        poda(p);
    }
}

// ---- For the connection threads ----

void Conexao::ficaOciosa() {
    // Only from OCUPADA: a further wait keeps its moment, and who was told to leave stays told.
    std::int64_t ocupada = OCUPADA;
    desde_.compare_exchange_strong(ocupada, agora());
}

bool Conexao::ficaOcupada() {
    // The one race, against despeja: whichever exchange comes first decides, and the other gives false.
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
    YWebServer_Privado &p = privado(servidor);
    Tranca tranca(p.trinco);
    // Under the lock that the loop waits with, so that it cannot miss the change; listed in the same step.
    conexao.socket_ = socketAceito(servidor).exchange(nullptr);
    conexao.lugar_ = p.abertas.size();
    p.abertas.push_back(&conexao);
    tranca.solta();
    p.entregue.avisaUm();
}

void pramo::deixaServidor(YWebServer &servidor, Conexao &conexao) {
    YWebServer_Privado &p = privado(servidor);
    // Outside the lock, as it takes its time, and still listed: the end of the server may cut it short. The
    // peer of an idle connection has the last answer, or is still receiving it; it is not sending.
    despede(conexao.socket(), DESPEDIDA, conexao.ociosaDesde() > 0 ? 0 : SILENCIO);
    {
        // The last one takes its place. From here on nobody else reaches the socket.
        const Tranca tranca(p.trinco);
        Conexao *ultima = p.abertas.back();
        ultima->lugar_ = conexao.lugar_;
        p.abertas[conexao.lugar_] = ultima;
        p.abertas.pop_back();
    }
    YliberaObjeto_semLancar(&conexao.socket());
    saiConexao(p, conexao.despejada());
}

void pramo::pedePoda(YWebServer_Privado &p) {
    p.podaPedida = agora();
}
