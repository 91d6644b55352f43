// The log. A record is formatted and escaped without the lock, queued under it, and delivered with the lock
// let go by whoever logs while nobody delivers. So records reach the sink one at a time and in order, a
// thread that logs alone finds its record delivered on return, and a sink that hangs holds one thread,
// behind which the queue fills and is cut. Nothing here raises to its caller, and only YObLOG_setSaida
// waits for others.
#include <3pramo/foundation/YObLOG_interno.hpp>

#include <3pramo/foundation/Eterno.hpp>
#include <3pramo/foundation/Formato.hpp>
#include <3pramo/foundation/YExc_interno.hpp>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <exception>
#include <string>
#include <type_traits>
#include <utility>

using namespace pramo;

namespace {

constexpr std::size_t MAXIMO_DE_REGISTROS = 1024;
constexpr std::size_t MAXIMO_DE_BYTES = std::size_t{1024} * 1024;
constexpr int MAXIMO_POR_VEZ = 128; // how many records one caller delivers, most of them those of others
constexpr std::size_t TAMANHO_DA_RESERVA = 1024;

/// A record that waits; its escaped text, zero-terminated, stands behind it.
struct Registro {
    Registro *seguinte;
    int mascara;
    std::size_t tamanho;

    char *texto() { return reinterpret_cast<char *>(this + 1); }
};

struct Log {
    // Asked at every call, mostly in vain: no lock for that.
    std::atomic<int> mascaras{Y_LOG_ERRO};
    Trinco trinco;
    YFuncaoLog funcao Y_GUARDADO_POR(trinco) = nullptr;
    void *contexto Y_GUARDADO_POR(trinco) = nullptr;
    Registro *primeiro Y_GUARDADO_POR(trinco) = nullptr;
    Registro *ultimo Y_GUARDADO_POR(trinco) = nullptr;
    std::size_t quantos Y_GUARDADO_POR(trinco) = 0;
    std::size_t bytes Y_GUARDADO_POR(trinco) = 0;
    std::uint64_t deixados Y_GUARDADO_POR(trinco) = 0; // and not yet told of
    bool entregando Y_GUARDADO_POR(trinco) = false;
    std::atomic<std::uint32_t> chamadas{0}; // begun and ended ones of sinks: odd while one runs
    // The place of a record for which there was no memory.
    alignas(Registro) char reserva[sizeof(Registro) + TAMANHO_DA_RESERVA]{};
    bool reservaOcupada Y_GUARDADO_POR(trinco) = false;

    Registro *naReserva() { return reinterpret_cast<Registro *>(reserva); }
    void noFilho() Y_EXIGE(trinco);
};

// Without constructor and destructor: it is there for statics that log, and for threads that outlive main.
constinit Log unico;
static_assert(std::is_trivially_destructible_v<Log>);

Log &oLog() {
    return unico;
}

constinit thread_local bool naSaida = false; // this thread is inside a sink of the application

const Bifurcavel<oLog> bifurcavel;

// ---- Making a record ----

/// The character as it stands in a record; `lugar` has room for four bytes.
std::string_view escapado(char c, char *lugar) {
    constexpr const char *HEX = "0123456789ABCDEF";
    constexpr std::string_view COM_NOME = "\nn\rr\tt\\\\";
    const auto byte = static_cast<unsigned char>(c);
    const bool controle = byte < 32 || (byte >= 127 && byte < 160);
    if (!controle && c != '\\') {
        lugar[0] = c;
        return {lugar, 1};
    }
    lugar[0] = '\\';
    for (std::size_t i = 0; i < COM_NOME.size(); i += 2) {
        if (c == COM_NOME[i]) {
            lugar[1] = COM_NOME[i + 1];
            return {lugar, 2};
        }
    }
    lugar[1] = 'x';
    lugar[2] = HEX[byte >> 4];
    lugar[3] = HEX[byte & 15];
    return {lugar, 4};
}

/// Writes as much of the escaped text as `saida` takes (of `cabe` bytes and a zero) and gives its length;
/// without `saida` gives the whole length.
std::size_t escapaEm(char *saida, std::size_t cabe, std::string_view texto) {
    std::size_t total = 0;
    for (const char c : texto) {
        char lugar[4];
        const std::string_view pedaco = escapado(c, lugar);
        if (saida != nullptr) {
            // Cut between characters: never within an escape.
            if (pedaco.size() > cabe - total) {
                break;
            }
            std::copy(pedaco.begin(), pedaco.end(), saida + total);
        }
        total += pedaco.size();
    }
    if (saida != nullptr) {
        saida[total] = 0;
    }
    return total;
}

void preenche(Registro *r, int mascara, std::size_t cabe, std::string_view texto) {
    r->seguinte = nullptr;
    r->mascara = mascara;
    r->tamanho = escapaEm(r->texto(), cabe, texto);
}

/// Null without memory.
Registro *novoRegistro(int mascara, std::string_view texto) {
    const std::size_t tamanho = escapaEm(nullptr, 0, texto);
    auto *r = static_cast<Registro *>(std::malloc(sizeof(Registro) + tamanho + 1));
    if (r != nullptr) {
        preenche(r, mascara, tamanho, texto);
    }
    return r;
}

/// The record in the place that is kept for this, cut to it; null when that holds another one.
Registro *tomaReserva(Log &log, int mascara, std::string_view texto) Y_EXIGE(log.trinco) {
    // One place for all: while a record waits in it the next one without memory is counted as left out.
    if (std::exchange(log.reservaOcupada, true)) {
        return nullptr;
    }
    preenche(log.naReserva(), mascara, TAMANHO_DA_RESERVA - 1, texto);
    return log.naReserva();
}

void libera(Log &log, Registro *r) Y_EXIGE(log.trinco) {
    if (r == log.naReserva()) {
        log.reservaOcupada = false;
    } else {
        std::free(r);
    }
}

// What waits is the parent's to deliver. Nobody delivers here, unless the sink itself forked.
void Log::noFilho() {
    while (primeiro != nullptr) {
        libera(*this, std::exchange(primeiro, primeiro->seguinte));
    }
    quantos = bytes = 0;
    deixados = 0;
    if (!naSaida) {
        // Whoever was delivering does so in the parent alone: its turn, and the call it counted, end here.
        entregando = reservaOcupada = false;
        chamadas += chamadas & 1;
    }
}

// ---- Delivering ----

/// While it lives the thread handles no exception. A thread that ends (pthread_exit) unwinds through catch
/// blocks only as long as no exception is handled; the runtime ends the process otherwise, and records are
/// mostly written where one is. The first word of the runtime's record, by the C++ ABI, is what is handled.
class NadaTratado {
public:
    NadaTratado() : antes_(std::exchange(*tratadas_, nullptr)) {}
    ~NadaTratado() { *tratadas_ = antes_; }
    NadaTratado(const NadaTratado &) = delete;
    NadaTratado &operator=(const NadaTratado &) = delete;

private:
    void **tratadas_ = reinterpret_cast<void **>(abi::__cxa_get_globals());
    void *antes_;
};

/// This thread's turn to deliver, which the caller has taken (`entregando`): given back whatever ends it, the
/// thread's own end inside a sink included.
class Vez {
public:
    explicit Vez(Log &log) : log_(log) {}
    ~Vez() {
        terminaUm();
        if (minha_) {
            const Tranca tranca(log_.trinco);
            log_.entregando = false;
        }
    }
    Vez(const Vez &) = delete;
    Vez &operator=(const Vez &) = delete;

    /// Takes the next record; without one, or without `aSaidas` when it is for the application's, the turn is
    /// over. Looking and ending are one step: a record that comes later finds nobody delivering.
    bool toma(bool aSaidas) {
        const Tranca tranca(log_.trinco);
        // Also over when the sink was set meanwhile and this thread must not call one.
        if (log_.primeiro == nullptr || (log_.funcao != nullptr && !aSaidas)) {
            minha_ = log_.entregando = false;
            return false;
        }
        r_ = log_.primeiro;
        log_.primeiro = r_->seguinte;
        log_.quantos--;
        log_.bytes -= r_->tamanho;
        // Told of in front of the record that follows the gap.
        deixados_ = std::exchange(log_.deixados, 0);
        funcao_ = log_.funcao;
        contexto_ = log_.contexto;
        if (funcao_ != nullptr) {
            // Counted under the lock in which the sink was read: a setSaida that comes later knows of this
            // call.
            naSaida = true;
            log_.chamadas++;
        }
        return true;
    }

    void entregaUm() {
        if (deixados_ != 0) {
            char aviso[64];
            std::snprintf(aviso, sizeof aviso, "Registros deixados de fora: %llu.",
                          static_cast<unsigned long long>(deixados_));
            passa(Y_LOG_ERRO, aviso, deixados_);
        }
        passa(r_->mascara, r_->texto(), 1);
        terminaUm();
    }

private:
    /// `registros` is how many are left out when standard error does not take the text.
    void passa(int mascara, const char *texto, std::uint64_t registros) {
        // A sink that fails loses no record: it goes to standard error.
        if (funcao_ == nullptr || !chama(mascara, texto)) {
            if (!escreveNoErroPadrao(mascara, texto)) {
                const Tranca tranca(log_.trinco);
                log_.deixados += registros;
            }
        }
    }

    /// False when the sink failed.
    bool chama(int mascara, const char *texto) {
        const NadaTratado nada;
        try {
            funcao_(contexto_, mascara, texto);
            return true;
        } catch (...) {
            if (terminaAThread()) {
                throw;
            }
            return false;
        }
    }

    void terminaUm() {
        if (r_ == nullptr) {
            return;
        }
        if (funcao_ != nullptr) {
            naSaida = false;
            log_.chamadas++;
            // Before the lock: whoever replaced the sink waits for the number alone.
            log_.chamadas.notify_all();
        }
        const Tranca tranca(log_.trinco);
        libera(log_, std::exchange(r_, nullptr));
    }

    Log &log_;
    bool minha_ = true;
    Registro *r_ = nullptr;
    YFuncaoLog funcao_ = nullptr;
    void *contexto_ = nullptr;
    std::uint64_t deixados_ = 0;
};

void entrega(Log &log, bool aSaidas) {
    // What is left behind the last one waits for the next that logs: nobody works for others for ever.
    Vez vez(log);
    for (int i = 0; i < MAXIMO_POR_VEZ && vez.toma(aSaidas); i++) {
        vez.entregaUm();
    }
}

/// A record of a sink itself cannot wait for that sink.
void registraDeDentro(Log &log, int mascara, std::string_view texto) {
    char linha[TAMANHO_DA_RESERVA];
    const std::size_t tamanho = escapaEm(linha, sizeof linha - 1, texto);
    if (!escreveNoErroPadrao(mascara, {linha, tamanho})) {
        const Tranca tranca(log.trinco);
        log.deixados++;
    }
}

/// Puts the record into the queue; true when the caller is to deliver. What the caller delivers itself may be
/// of any size.
bool enfileira(Log &log, int mascara, std::string_view texto, bool aSaidas) {
    // Copied and escaped before the lock is taken: others log meanwhile.
    Registro *r = novoRegistro(mascara, texto);
    const Tranca tranca(log.trinco);
    // The turn is taken in the step that queues the record: whoever delivers now will still see it, and
    // whoever has just ended its turn leaves it to us.
    const bool entregar = !log.entregando && (aSaidas || log.funcao == nullptr);
    if (r == nullptr) {
        r = tomaReserva(log, mascara, texto);
    }
    if (r == nullptr ||
        (!entregar && (log.quantos >= MAXIMO_DE_REGISTROS || log.bytes + r->tamanho > MAXIMO_DE_BYTES))) {
        log.deixados++;
        libera(log, r);
    } else {
        (log.primeiro == nullptr ? log.primeiro : log.ultimo->seguinte) = r;
        log.ultimo = r;
        log.quantos++;
        log.bytes += r->tamanho;
    }
    log.entregando = log.entregando || entregar;
    return entregar;
}

void registra(int mascara, std::string_view texto, bool aSaidas) {
    Log &log = oLog();
    if ((YObLOG_habilitadas() & mascara) == 0) {
        return;
    }
    // A sink that logs would wait for its own end.
    if (naSaida) {
        registraDeDentro(log, mascara, texto);
    } else if (enfileira(log, mascara, texto, aSaidas)) {
        entrega(log, aSaidas);
    }
}

/// The formatted text, in `curto` when it fits; cut to it when there is no memory for a longer one.
template <std::size_t N>
std::string_view formata(char (&curto)[N], std::string &longo, const char *formato, va_list argumentos) {
    va_list outraVez;
    va_copy(outraVez, argumentos);
    std::string_view texto = "(registro perdido)";
    try {
        const std::size_t tamanho = formataEm(curto, N, formato, argumentos);
        // This stands if the longer one finds no memory.
        texto = {curto, std::min(tamanho, N - 1)};
        if (tamanho >= N) {
            longo.resize(tamanho);
            formataEm(longo.data(), tamanho + 1, formato, outraVez);
            texto = longo;
        }
    } catch (const std::exception &) {
        // Logging never fails its caller.
    }
    va_end(outraVez);
    return texto;
}

} // namespace

void pramo::registraTexto(int mascara, std::string_view texto) {
    registra(mascara, texto, true);
}

void pramo::registraAdiado(int mascara, std::string_view texto) noexcept {
    registra(mascara, texto, false);
}

void pramo::entregaAdiados() {
    Log &log = oLog();
    Tranca tranca(log.trinco);
    if (log.primeiro == nullptr || log.entregando || naSaida) {
        return;
    }
    // Under the lock that found nobody at it.
    log.entregando = true;
    tranca.solta();
    entrega(log, true);
}

void YObLOG_masc_print(int mascara, const char *formato, ...) {
    if ((YObLOG_habilitadas() & mascara) == 0) {
        return;
    }
    char curto[TAMANHO_DA_RESERVA];
    std::string longo;
    va_list argumentos;
    va_start(argumentos, formato);
    const std::string_view texto = formata(curto, longo, formato, argumentos);
    va_end(argumentos);
    registraTexto(mascara, texto);
}

int YObLOG_habilita(int mascaras) {
    return oLog().mascaras.exchange(mascaras);
}

int YObLOG_habilitadas(void) {
    return oLog().mascaras.load(std::memory_order_relaxed);
}

void YObLOG_setSaida(YFuncaoLog funcao, void *contexto) {
    Log &log = oLog();
    Tranca tranca(log.trinco);
    log.funcao = funcao;
    log.contexto = contexto;
    // Read after the sink was replaced, still under the lock: an odd number is a call of the old one. From
    // inside a sink nobody waits, for it would wait for itself.
    const std::uint32_t chamadas = log.chamadas; // a call that begins from here on is of the new sink
    tranca.solta();
    if (chamadas % 2 != 0 && !naSaida) {
        log.chamadas.wait(chamadas);
    }
}
