// How a service object is kept alive while calls use it.
#ifndef Y3PRAMO_SOAP_YWEBSERVICE_INTERNO_HPP
#define Y3PRAMO_SOAP_YWEBSERVICE_INTERNO_HPP

#include <3pramo/soap/YWebService.h>

#include <atomic>
#include <utility>

namespace pramo {

/// The fate of one service object. It may outlive the object: whoever still holds a pin learns from it that
/// the object is gone, whatever lives at its address by then.
///
/// `palavra` counts the pins and holds two marks. CONDENADO: out of the live set, to be freed by the last pin
/// that goes. MORTO: the object's destructor has run. A condemned object gets no new pins.
struct Registro {
    static constexpr std::uint32_t CONDENADO = 1U << 30;
    static constexpr std::uint32_t MORTO = 1U << 31;
    static constexpr std::uint32_t PINOS = CONDENADO - 1;

    std::atomic<std::uint32_t> palavra{0};
    YWebService *servico;

    [[nodiscard]] bool tem(std::uint32_t marca) const { return (palavra.load() & marca) != 0; }
};

/// The object's record, made on first use. Raises YExc "Memória insuficiente.".
Registro &registroDe(YWebService &servico);

/// Keeps a service object from being freed by the library. Taken under the registry lock of the server whose
/// live set the object is in.
class Pino {
public:
    Pino() = default;
    explicit Pino(YWebService &servico) : registro_(&registroDe(servico)) { registro_->palavra.fetch_add(1); }
    ~Pino();
    Pino(Pino &&outro) noexcept : registro_(std::exchange(outro.registro_, nullptr)) {}
    Pino &operator=(Pino &&outro) noexcept {
        std::swap(registro_, outro.registro_);
        return *this;
    }

    [[nodiscard]] YWebService *servico() const { return registro_ != nullptr ? registro_->servico : nullptr; }
    [[nodiscard]] bool vivo() const { return registro_ != nullptr && !registro_->tem(Registro::MORTO); }

    /// The object is to be freed when its last pin goes; it must be out of its live set already.
    void condena();

    /// Lets go now; raises what the object's destructor raises.
    void solta();

    /// Gives the pin away, as a plain pointer from which `adota` makes it a pin again.
    void *cede() { return std::exchange(registro_, nullptr); }
    static Pino adota(void *cedido) {
        Pino pino;
        pino.registro_ = static_cast<Registro *>(cedido);
        return pino;
    }

private:
    Registro *registro_ = nullptr;
};

/// The deadline is read by the sweep while calls postpone it.
inline std::atomic_ref<std::int64_t> momentoDe(YWebService &servico) {
    return std::atomic_ref<std::int64_t>(servico.momentoLimite);
}

inline std::atomic_ref<YSoapServer *> servidorDe(YWebService &servico) {
    return std::atomic_ref<YSoapServer *>(servico.soapServer);
}

} // namespace pramo

#endif
