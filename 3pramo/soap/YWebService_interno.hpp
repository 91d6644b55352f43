// How a service object is kept alive while calls use it, and who frees it.
#ifndef Y3PRAMO_SOAP_YWEBSERVICE_INTERNO_HPP
#define Y3PRAMO_SOAP_YWEBSERVICE_INTERNO_HPP

#include <3pramo/soap/YWebService.h>

#include <atomic>
#include <utility>

namespace pramo::soap {

// Marks of `palavra`, and the bits of its count.
inline constexpr std::uint32_t CONDENADO = 1U << 30;
inline constexpr std::uint32_t MORTO = 1U << 31;
inline constexpr std::uint32_t PINOS = CONDENADO - 1;

/// The fate of one service object, made and freed with it; a pin that outlives the object keeps the record,
/// and learns from it that the object is gone, whatever lives at its address by then.
///
/// `palavra` counts the pins and holds two marks. CONDENADO: to be freed by the last pin that goes; it gets
/// no new pins. MORTO: its destructors run, or have run; it gets no new pins whatever they do.
///
/// `conjunto` is the server in whose live set the object is, null for none. It changes under that server's
/// registry lock: from null when the object enters, to null when it leaves. So an object is in one live set
/// at the most, however many threads move it.
struct YWebService_Privado {
    explicit YWebService_Privado(YWebService *de) : servico(de) {}

    std::atomic<std::uint32_t> palavra{0};
    std::atomic<YSoapServer *> conjunto{nullptr};
    YWebService *const servico;
    bool temporario = false;                // in the live set for one call only; guarded by that set's lock
    YWebService_Privado *proximo = nullptr; // in a Fila; its pin's

    [[nodiscard]] bool tem(std::uint32_t marca) const { return (palavra.load() & marca) != 0; }
    /// Counts one pin more, unless the object is on its way out.
    bool pina();
};

inline YWebService_Privado &privado(const YWebService &servico) {
    return *static_cast<YWebService_Privado *>(servico.privado);
}

/// Keeps a service object from being freed; the last one to go frees what was condemned.
class Pino {
public:
    Pino() = default;
    /// Empty when the object is on its way out.
    explicit Pino(const YWebService &servico) : Pino(soap::privado(servico)) {}
    ~Pino();
    Pino(Pino &&outro) noexcept : privado_(std::exchange(outro.privado_, nullptr)) {}
    Pino &operator=(Pino &&outro) noexcept {
        std::swap(privado_, outro.privado_);
        return *this;
    }

    /// A pin of the object of this identity; empty for none.
    static Pino daIdentidade(const char *texto);

    [[nodiscard]] explicit operator bool() const { return privado_ != nullptr; }
    [[nodiscard]] YWebService_Privado &privado() const { return *privado_; }
    [[nodiscard]] YWebService *servico() const { return privado_ != nullptr ? privado_->servico : nullptr; }
    [[nodiscard]] bool vivo() const { return privado_ != nullptr && !privado_->tem(MORTO); }

    /// Lets go now; raises what the object's destructor raises.
    void solta();

private:
    friend class Fila;
    explicit Pino(YWebService_Privado &p) : privado_(p.pina() ? &p : nullptr) {}

    YWebService_Privado *privado_ = nullptr;
};

/// Condemned objects, pinned until the queue goes and frees them; takes no memory.
class Fila {
public:
    Fila() = default;
    ~Fila();
    Fila(const Fila &) = delete;
    Fila &operator=(const Fila &) = delete;

    void poe(Pino pino);
    /// The next one; empty when there is none.
    Pino toma();

private:
    YWebService_Privado *primeiro_ = nullptr;
};

/// The deadline is read by the sweep while calls postpone it.
inline std::atomic_ref<std::int64_t> momentoDe(YWebService &servico) {
    return std::atomic_ref<std::int64_t>(servico.momentoLimite);
}

inline std::atomic_ref<YSoapServer *> servidorDe(YWebService &servico) {
    return std::atomic_ref<YSoapServer *>(servico.soapServer);
}

} // namespace pramo::soap

#endif
