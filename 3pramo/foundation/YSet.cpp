#include <3pramo/foundation/YSet.h>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/liberaTodos.hpp>

#include <algorithm>
#include <unordered_map>
#include <vector>

using namespace pramo;

namespace {

/// `posicao` gives each element's index in `elementos`; both always hold the same elements.
struct Conteudo {
    std::vector<void *> elementos;
    std::unordered_map<const void *, std::size_t> posicao;

    void poe(void *elemento) {
        if (elementos.size() == elementos.capacity()) {
            // Grown by hand, since room must be there before the index is changed; doubled, as push_back
            // would.
            elementos.reserve(std::max<std::size_t>(8, 2 * elementos.size()));
        }
        if (posicao.try_emplace(elemento, elementos.size()).second) {
            elementos.push_back(elemento); // there is room: cannot fail
        }
    }

    bool remove(const void *elemento) {
        const auto achado = posicao.find(elemento);
        if (achado == posicao.end()) {
            return false;
        }
        // The last one into the hole. In this order it is also right when it is the one that goes.
        void *ultimo = elementos.back();
        elementos[achado->second] = ultimo;
        posicao.find(ultimo)->second = achado->second;
        elementos.pop_back();
        posicao.erase(achado);
        return true;
    }
};

} // namespace

/// The content is made with the first element.
struct YSet : YOb {
    Conteudo *conteudo;
};

namespace {

// The elements were freed before, if they were the set's: destructors go from the class up.
void destroi(void *objeto) {
    delete static_cast<YSet *>(objeto)->conteudo;
}

void destroiElementos(void *objeto) {
    auto *set = static_cast<YSet *>(objeto);
    const auto tiraUltimo = [set] {
        void *ultimo = set->conteudo->elementos.back();
        set->conteudo->remove(ultimo);
        return ultimo;
    };
    liberaTodos([set] { return YSet_tam(set) == 0; }, tiraUltimo);
}

} // namespace

const YRtti YSet_definicaoRtti = {YOb_rtti, "YSet", sizeof(YSet), nullptr, destroi};
const YRtti YSetQueDestroi_definicaoRtti = {YSet_rtti, "YSetQueDestroi", 0, nullptr, destroiElementos};

const YRtti *YSet_rtti(void) {
    return &YSet_definicaoRtti;
}

const YRtti *YSetQueDestroi_rtti(void) {
    return &YSetQueDestroi_definicaoRtti;
}

void YSet_poe(YSet *set, void *elemento) {
    semFaltaDeMemoria("YSet", [&] {
        if (set->conteudo == nullptr) {
            set->conteudo = new Conteudo;
        }
        set->conteudo->poe(elemento);
    });
}

void YSet_poeTudo(YSet *set, const YSet *outro) {
    if (set == outro) {
        return;
    }
    // All or nothing: only what was new is taken out again, for an element may be in both.
    const std::uint64_t antes = YSet_tam(set);
    try {
        for (YSetIt it = YSet_inicio(outro); it != YSet_fim(outro); YSetIt_anda(&it)) {
            YSet_poe(set, *it);
        }
    } catch (const YExcecao &) {
        while (YSet_tam(set) > antes) { // what is new stands last
            YSet_remove(set, set->conteudo->elementos.back());
        }
        throw;
    }
}

int YSet_remove(YSet *set, const void *elemento) {
    return set->conteudo != nullptr && set->conteudo->remove(elemento);
}

int YSet_tem(const YSet *set, const void *elemento) {
    return set->conteudo != nullptr && set->conteudo->posicao.contains(elemento);
}

uint64_t YSet_tam(const YSet *set) {
    return set->conteudo != nullptr ? set->conteudo->elementos.size() : 0;
}

void YSet_clear(YSet *set) {
    if (set->conteudo != nullptr) {
        set->conteudo->elementos.clear();
        set->conteudo->posicao.clear();
    }
}

YSetIt YSet_inicio(const YSet *set) {
    return set->conteudo != nullptr ? set->conteudo->elementos.data() : nullptr;
}

YSetIt YSet_fim(const YSet *set) {
    return YSet_inicio(set) + YSet_tam(set);
}

void YSetIt_anda(YSetIt *iterador) {
    ++*iterador;
}
