#include <3pramo/foundation/YMapa_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/liberaTodos.hpp>

#include <optional>
#include <string_view>
#include <utility>

using namespace pramo;

namespace {

using Entradas = YMapa::Entradas;

void destroi(void *objeto) {
    delete static_cast<YMapa *>(objeto)->entradas;
}

// Runs before `destroi`, which frees the entries: destructors go from the class up.
void destroiValores(void *objeto) {
    auto *mapa = static_cast<YMapa *>(objeto);
    liberaTodos([mapa] { return mapa->entradas == nullptr || mapa->entradas->empty(); },
                [mapa] { return mapa->entradas->extract(mapa->entradas->begin()).mapped().valor; });
}

std::optional<Entradas::iterator> acha(const YMapa *mapa, const char *chave) {
    if (mapa->entradas == nullptr || chave == nullptr) {
        return std::nullopt;
    }
    const auto achada = mapa->entradas->find(std::string_view(chave));
    return achada != mapa->entradas->end() ? std::optional(achada) : std::nullopt;
}

std::pair<Entradas::iterator, bool> poe(YMapa *mapa, const char *chave, void *valor) {
    return semFaltaDeMemoria("YMapa", [&] {
        if (mapa->entradas == nullptr) {
            mapa->entradas = new Entradas;
        }
        return mapa->entradas->try_emplace(chave, YMapaEntrada{valor});
    });
}

} // namespace

const YRtti YMapa_definicaoRtti = {YOb_rtti, "YMapa", sizeof(YMapa), nullptr, destroi};
const YRtti YMapaQueDestroi_definicaoRtti = {YMapa_rtti, "YMapaQueDestroi", 0, nullptr, destroiValores};

const YRtti *YMapa_rtti(void) {
    return &YMapa_definicaoRtti;
}

const YRtti *YMapaQueDestroi_rtti(void) {
    return &YMapaQueDestroi_definicaoRtti;
}

int YMapa_guarda(YMapa *mapa, const char *chave, void *valor) {
    if (chave == nullptr) {
        return 0;
    }
    const auto [onde, nova] = poe(mapa, chave, valor);
    if (nova) {
        return 1;
    }
    // Stored before the old one is freed, whose destructor may ask the map.
    void *antigo = std::exchange(onde->second.valor, valor);
    if (antigo != valor && YRtti_deriva(mapa->rtti, YMapaQueDestroi_rtti)) {
        YliberaObjeto(antigo);
    }
    return 0;
}

void *YMapa_recupera(const YMapa *mapa, const char *chave) {
    const YMapaIt entrada = YMapa_busca(mapa, chave);
    return entrada != nullptr ? entrada->valor : nullptr;
}

YMapaIt YMapa_busca(const YMapa *mapa, const char *chave) {
    const auto achada = acha(mapa, chave);
    return achada ? &(*achada)->second : nullptr;
}

void *YMapaIt_getValor(YMapaIt entrada) {
    return entrada->valor;
}

void *YMapa_retira(YMapa *mapa, const char *chave) {
    const auto achada = acha(mapa, chave);
    return achada ? mapa->entradas->extract(*achada).mapped().valor : nullptr;
}
