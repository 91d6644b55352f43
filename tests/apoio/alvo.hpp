// A service class that can tell whether its object is whole, and the port type that publishes it.
#pragma once

#include "servidor.hpp"

namespace apoio {

/// Its objects count themselves, and keep a total.
struct Alvo : YWebService {
    std::atomic<std::int64_t> total;
    std::uint64_t marca;

    static constexpr std::uint64_t INTEIRA = 0x616C766F616C766F;
    static inline std::atomic<int> vivos{0};
    static inline std::atomic<int> quebrados{0};  // calls that met an object that was not whole
    static inline std::atomic<bool> aberto{true}; // "espera" waits while it is not
    static inline std::atomic<int> dentro{0};     // calls in "espera"
};

const YRtti *Alvo_rtti();

/// soma(a, b), acumula(valor), total, eco(texto), espera, and ways to fail and to end.
YDefinicaoPortType definicaoDoAlvo(const char *wsdl = nullptr);

} // namespace apoio
