// The correction of encoded maps: lists of entries, each a key and a value, become elements named after the
// keys.
#include <3pramo/node/YNo_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>

#include <cstring>
#include <utility>
#include <vector>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YNo";

bool ehMapa(const YNo &no) {
    const char *tipo = YNo_getAtributo(&no, "type");
    const char *prefixado = tipo != nullptr ? std::strchr(tipo, ':') : nullptr;
    return prefixado != nullptr && std::strcmp(prefixado, ":Map") == 0;
}

// The name that an entry's key gives, as YNo_setNome would. An empty key is as good as none.
std::string_view nomeDaChave(const YNo &entrada) {
    const char *chave = YNo_getString(&entrada, "key");
    if (chave == nullptr || *chave == 0) {
        faltouTag("key");
    }
    return semPrefixo(chave);
}

void adota(YNo &no, YVetor *filhos) {
    no.filhos = filhos;
    for (void *filho : elementos(*filhos)) {
        mudaPai(*static_cast<YNo *>(filho), &no);
    }
}

// What an entry becomes.
Ponteiro<YNo> converte(const YNo &entrada) {
    const std::string_view nome = nomeDaChave(entrada);
    YNo *valor = YNo_getFilho(&entrada, "value", 0);
    if (valor != nullptr && valor->filhos != nullptr) {
        Ponteiro<YNo> novo = criaNo(nome);
        // The children move without being copied; the entry keeps neither them nor a list.
        adota(*novo, std::exchange(valor->filhos, nullptr));
        return novo;
    }
    return criaNo(nome, textoOuNada(YNo_getValor(valor)));
}

void corrigeMapa(YNo &mapa) {
    // The map keeps its entries until all of them are converted: an entry that is none leaves it as it was,
    // but for the children that were taken over. What was made until then goes with the list.
    auto novos = cria<YVetor>(YVetorQueDestroi_rtti, FONTE);
    for (void *entrada : elementos(*mapa.filhos)) {
        Ponteiro<YNo> novo = converte(*static_cast<const YNo *>(entrada));
        YVetor_poe(novos.get(), novo.get());
        // The list, which frees its elements, has it.
        (void)novo.release();
    }
    // Nothing below fails. The entries forget the map, or each would look for itself among the new children
    // when it is freed.
    const Ponteiro<YVetor> entradas(mapa.filhos);
    for (void *entrada : elementos(*entradas)) {
        mudaPai(*static_cast<YNo *>(entrada), nullptr);
    }
    adota(mapa, novos.release());
    YDIC_remove(mapa.atributos, "type");
}

// Every node after its descendants.
void corrige(YNo &raiz) {
    struct Visita {
        YNo *no;
        std::size_t proximo; // index of the next child
    };
    std::vector<Visita> visitas{{&raiz, 0}};
    while (!visitas.empty()) {
        // A stack of our own: how deep a tree is, its sender says. The two names are not used after a push,
        // which may move it.
        auto &[no, proximo] = visitas.back();
        const auto filhos = filhosDe(*no);
        if (proximo < filhos.size()) {
            visitas.push_back({static_cast<YNo *>(filhos[proximo++]), 0});
            continue;
        }
        // Its descendants are corrected: a map that is an entry's value is plain elements by now.
        if (no->filhos != nullptr && ehMapa(*no)) {
            corrigeMapa(*no);
        }
        visitas.pop_back();
    }
}

} // namespace

void YNo_corrigeMaps(YNo *no) {
    if (no != nullptr) {
        semFaltaDeMemoria(FONTE, [&] { corrige(*no); });
    }
}
