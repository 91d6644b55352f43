// The accept loop, and the connections it knows of. One connection at a time is in hand-off: the loop leaves
// its socket in socketAceito and goes on when the connection's thread has taken it. From then until that
// thread leaves, the connection is listed in `abertas_`, where the loop can make an idle one leave and the
// end of the server reaches all of them.
#include <3pramo/foundation/Aceite.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YObLOG.h>
#include <3pramo/foundation/YObThread_interno.hpp>
#include <3pramo/foundation/YexecutaThread.h>
#include <3pramo/foundation/cria.hpp>

#include <algorithm>
#include <limits>
#include <sched.h>
#include <utility>

using namespace pramo;

namespace {

using Relogio = std::chrono::steady_clock;

// Between two looks at whether the server is still alive.
constexpr std::chrono::milliseconds ESPERA{100};
// How often the loop yields for the new thread before it sleeps.
constexpr int CESSOES = 16;
// How long a connection's end may take, and how long a peer that may still be sending must be silent for it
// to be shorter; milliseconds.
constexpr int DESPEDIDA = 1000;
constexpr int SILENCIO = 100;
// After a failure: the first one, and each that follows it.
constexpr std::uint32_t PRIMEIRA_PAUSA_MS = 1;
constexpr std::uint32_t PAUSA_MS = 100;

} // namespace

Aceite::Aceite(const Oficio &oficio, YObThread &servidor, std::uint32_t &porta, YSocket *&socketAceito)
    : oficio_(oficio), servidor_(servidor), socketAceito_(socketAceito), falhas_(oficio.classe),
      porta_(porta) {}

// ---- Listening ----

/// What the loop keeps from one round to the next: the listener, and the object for the next connection. That
/// one is there beforehand, so that a connection is never accepted only to be lost for want of memory.
struct Aceite::Laco {
    Ponteiro<YSocket> ouvinte;
    Ponteiro<YSocket> proxima;
    bool entregando = false; // a connection has left the queue: another try does not meet it again
};

/// Says that nothing listens any more, however the loop ends: a log sink may end its thread.
class Aceite::FimDaEscuta {
public:
    explicit FimDaEscuta(Aceite &aceite) : aceite_(aceite) {}
    ~FimDaEscuta() { aceite_.anunciaEscuta(Escuta::FECHADA, 0); }
    FimDaEscuta(const FimDaEscuta &) = delete;
    FimDaEscuta &operator=(const FimDaEscuta &) = delete;

private:
    Aceite &aceite_;
};

void Aceite::anunciaEscuta(Escuta escuta, std::uint32_t porta) {
    const Tranca tranca(trinco_);
    escuta_ = escuta;
    portaEmUso_ = porta;
    mudou_.avisa();
}

std::optional<std::string> Aceite::enderecoAtual() {
    const Tranca tranca(trinco_);
    return endereco_;
}

/// The listener is kept from round to round; one that has failed is closed, and a new one asks for the same
/// port, also when that had been the system's choice.
void Aceite::garanteEscuta(Laco &laco) {
    if (laco.ouvinte != nullptr && laco.ouvinte->fd >= 0 && !laco.ouvinte->acabou) {
        return;
    }
    try {
        laco.ouvinte = cria<YSocket>(YSocket_rtti, oficio_.classe);
        YObLOG_masc_print(Y_LOG_WEB, "%s_run(eu=%p):socket=%p.", oficio_.classe, endereco(&servidor_),
                          endereco(laco.ouvinte.get()));
        const std::optional<std::string> onde = enderecoAtual();
        YSocket_escutaEm(laco.ouvinte.get(), onde ? onde->c_str() : nullptr, porta());
    } catch (...) {
        anunciaEscuta(Escuta::RECUSADA, 0);
        throw;
    }
    anunciaEscuta(Escuta::ABERTA, YSocket_getPorta(laco.ouvinte.get()));
}

// ---- Room for one more ----

/// The one that has waited longest for a request leaves; none when all are at work.
void Aceite::despejaUma() {
    Conexao *escolhida = nullptr;
    std::int64_t desde = std::numeric_limits<std::int64_t>::max();
    for (Conexao *conexao : abertas_) {
        const std::int64_t dela = conexao->ociosaDesde();
        if (dela > 0 && dela < desde) {
            escolhida = conexao;
            desde = dela;
        }
    }
    // A request may just have come to it: then nobody leaves this time. Its socket is there, as it is listed
    // and we hold the lock.
    if (escolhida != nullptr && escolhida->despeja()) {
        despejando_++;
        encerraLeitura(escolhida->socket());
    }
}

/// Waits a moment for it, if need be. Nobody is told to leave before somebody has come.
bool Aceite::cabeOutraConexao(const YSocket &ouvinte) {
    Tranca tranca(trinco_);
    if (conexoes_ < limiteDeConexoes_) {
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
    if (conexoes_ >= limiteDeConexoes_ && despejando_ == 0) {
        despejaUma();
    }
    while (conexoes_ >= limiteDeConexoes_ && mudou_.esperaAte(trinco_, fim)) {
    }
    return conexoes_ < limiteDeConexoes_;
}

// ---- The hand-off ----

void Aceite::entraConexao() {
    const Tranca tranca(trinco_);
    // Its thread lists itself without asking for memory. When there is none, nothing is counted yet.
    abertas_.reserve(conexoes_ + 1);
    conexoes_++;
}

void Aceite::saiConexao(bool despejada) {
    const Tranca tranca(trinco_);
    conexoes_--;
    despejando_ -= despejada ? 1 : 0;
    // Under the lock: whoever frees the server waits for this count, so there may be no server after it.
    mudou_.avisa();
}

/// Hands the connection to a thread of its own; returns when that thread has taken it.
void Aceite::entregaConexao(Ponteiro<YSocket> conexao) {
    conexao->despertador = &fim_;
    // Counted before it has a thread, so that the server is not freed in between.
    entraConexao();
    socketAceito().store(conexao);
    try {
        YexecutaThread(trataConexao, this);
    } catch (...) {
        socketAceito().store(nullptr);
        saiConexao(false);
        throw;
    }
    // The thread frees it, perhaps already.
    (void)conexao.release();
    // It usually runs by now, and taking the socket is the first thing it does, which cannot fail.
    for (int vez = 0; vez < CESSOES && socketAceito().load() != nullptr; vez++) {
        sched_yield();
    }
    const Tranca tranca(trinco_);
    while (socketAceito().load() != nullptr) {
        entregue_.espera(trinco_);
    }
}

void Aceite::aceitaUma(Laco &laco) {
    laco.entregando = false;
    garanteEscuta(laco);
    if (!cabeOutraConexao(*laco.ouvinte)) {
        return;
    }
    if (laco.proxima == nullptr) {
        laco.proxima = cria<YSocket>(YSocket_rtti, oficio_.classe);
    }
    if (aceitaEm(*laco.ouvinte, *laco.proxima)) {
        YObLOG_masc_print(Y_LOG_WEB, "%s_run(eu=%p,socket=%p):aceitou %p.", oficio_.classe,
                          endereco(&servidor_), endereco(laco.ouvinte.get()), endereco(laco.proxima.get()));
        laco.entregando = true;
        entregaConexao(std::move(laco.proxima));
        YObLOG_masc_print(Y_LOG_WEB, "%s_run(eu=%p):thread filho copiou!", oficio_.classe,
                          endereco(&servidor_));
    }
}

void Aceite::roda() {
    Laco laco;
    const FimDaEscuta fim(*this);
    std::uint32_t pausa = PRIMEIRA_PAUSA_MS;
    while (YObThread_isAlive(&servidor_) != 0) {
        try {
            aceitaUma(laco);
            pausa = PRIMEIRA_PAUSA_MS;
        } catch (...) {
            falhas_.registra("run", Falhas::Quanto::UMA_VEZ);
            // What fails before a connection is accepted (no descriptors, no port) fails again at once.
            YObThread_dorme(&servidor_, laco.entregando ? PRIMEIRA_PAUSA_MS : pausa);
            pausa = PAUSA_MS;
        }
        falhas_.registraContagens();
        if (oficio_.entreDuas != nullptr) {
            oficio_.entreDuas(servidor_);
        }
    }
}

// ---- One connection, on its thread ----

/// From the hand-over of its socket until the thread leaves the server.
class Aceite::Permanencia {
public:
    explicit Permanencia(Aceite &aceite) : aceite_(aceite) { aceite_.leva(conexao_); }
    ~Permanencia() { aceite_.deixa(conexao_); }
    Permanencia(const Permanencia &) = delete;
    Permanencia &operator=(const Permanencia &) = delete;

    [[nodiscard]] Conexao &conexao() { return conexao_; }

private:
    Aceite &aceite_;
    Conexao conexao_;
};

/// Takes the accepted socket, which lets the accept loop go on.
void Aceite::leva(Conexao &conexao) {
    Tranca tranca(trinco_);
    // Under the lock that the loop waits with, so that it cannot miss the change; listed in the same step.
    conexao.socket_ = socketAceito().exchange(nullptr);
    conexao.lugar_ = abertas_.size();
    abertas_.push_back(&conexao);
    tranca.solta();
    entregue_.avisaUm();
}

/// Ends the connection, frees its socket and leaves the server, which the caller must not touch any more.
void Aceite::deixa(Conexao &conexao) {
    // Outside the lock, as it takes its time, and still listed: the end of the server may cut it short. The
    // peer of an idle connection has the last answer, or is still receiving it; it is not sending.
    despede(conexao.socket(), DESPEDIDA, conexao.ociosaDesde() > 0 ? 0 : SILENCIO);
    {
        // The last one takes its place. From here on nobody else reaches the socket.
        const Tranca tranca(trinco_);
        Conexao *ultima = abertas_.back();
        ultima->lugar_ = conexao.lugar_;
        abertas_[conexao.lugar_] = ultima;
        abertas_.pop_back();
    }
    YliberaObjeto_semLancar(&conexao.socket());
    saiConexao(conexao.despejada());
}

void Aceite::trataConexao(void *aceite) {
    auto &eu = *static_cast<Aceite *>(aceite);
    // Gone in the opposite order: once the thread has left, the server may be freed, and the end of `emUso`
    // touches what belongs to the thread alone.
    const EmUso emUso(&eu.servidor_);
    Permanencia permanencia(eu);
    const char *classe = eu.oficio_.classe;
    YObLOG_masc_print(Y_LOG_WEB, "%s_trataConexao(eu=%p)...", classe, endereco(&eu.servidor_));
    try {
        eu.oficio_.atende(eu.servidor_, permanencia.conexao());
        YObLOG_masc_print(Y_LOG_WEB, "%s_trataConexao(eu=%p).", classe, endereco(&eu.servidor_));
    } catch (...) {
        // A handler that ends its thread comes through here too: that is passed on.
        eu.falhas_.registra("trataConexao", Falhas::Quanto::UMA_POR_SEGUNDO);
    }
}

// ---- The end ----

void Aceite::encerra() {
    fim_.toca();
    const auto fim = Relogio::now() + std::chrono::seconds(prazoDeEncerramento_);
    const Tranca tranca(trinco_);
    while (conexoes_ > 0 && mudou_.esperaAte(trinco_, fim)) {
    }
    // The deadline has come: sends and receives fail from now on. A listed connection has its socket, as its
    // thread takes it off the list under this lock before it frees that.
    for (Conexao *conexao : abertas_) {
        encerraTudo(conexao->socket());
    }
    // Without a bound: a thread that is left, in a handler that does not return, uses this object.
    while (conexoes_ > 0) {
        mudou_.espera(trinco_);
    }
}

// ---- Settings, and what is asked ----

void Aceite::setPorta(std::uint32_t porta) {
    const Tranca tranca(trinco_);
    porta_ = porta;
}

void Aceite::setEndereco(const char *endereco) {
    // Copied, and the old text freed, outside the lock: it is declared before the lock is taken.
    auto copia = semFaltaDeMemoria(oficio_.classe, [endereco] {
        return endereco != nullptr ? std::optional<std::string>(endereco) : std::nullopt;
    });
    const Tranca tranca(trinco_);
    endereco_.swap(copia);
}

void Aceite::setLimiteDeConexoes(std::uint32_t conexoes) {
    const Tranca tranca(trinco_);
    limiteDeConexoes_ = std::max(conexoes, 1U);
    // The accept loop may be waiting for a place.
    mudou_.avisa();
}

std::uint32_t Aceite::porta() {
    const Tranca tranca(trinco_);
    return escuta_ == Escuta::ABERTA ? portaEmUso_ : porta_;
}

std::uint32_t Aceite::conexoes() {
    const Tranca tranca(trinco_);
    return conexoes_;
}

bool Aceite::esperaPronto(std::int64_t prazo) {
    const Prazo ate = Prazo::noSegundo(prazo);
    const Tranca tranca(trinco_);
    while (YObThread_isAlive(&servidor_) != 0 && escuta_ == Escuta::FECHADA && ate.resta() > 0) {
        // A stop is told under another lock and need not wake us.
        const std::chrono::milliseconds passo(std::min<std::int64_t>(ESPERA.count(), ate.resta()));
        mudou_.esperaAte(trinco_, Relogio::now() + passo);
    }
    return YObThread_isAlive(&servidor_) != 0 && escuta_ == Escuta::ABERTA;
}
