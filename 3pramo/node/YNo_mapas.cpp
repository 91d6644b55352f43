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
        adota(*novo, std::exchange(valor->filhos, nullptr));
        return novo;
    }
    return criaNo(nome, textoOuNada(YNo_getValor(valor)));
}

void corrigeMapa(YNo &mapa) {
    auto novos = cria<YVetor>(YVetorQueDestroi_rtti, FONTE);
    for (void *entrada : elementos(*mapa.filhos)) {
        Ponteiro<YNo> novo = converte(*static_cast<const YNo *>(entrada));
        YVetor_poe(novos.get(), novo.get());
        (void)novo.release();
    }
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
        auto &[no, proximo] = visitas.back();
        const auto filhos = filhosDe(*no);
        if (proximo < filhos.size()) {
            visitas.push_back({static_cast<YNo *>(filhos[proximo++]), 0});
            continue;
        }
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
