// Whether a connection is busy, idle or told to leave: one word, changed by exchanges alone.
#include <3pramo/foundation/Conexao.hpp>

#include <algorithm>
#include <chrono>

using namespace pramo;

void Conexao::ficaOciosa() {
    // Only from OCUPADA: a further wait keeps its moment, and who was told to leave stays told.
    std::int64_t ocupada = OCUPADA;
    desde_.compare_exchange_strong(ocupada, std::chrono::steady_clock::now().time_since_epoch().count());
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
