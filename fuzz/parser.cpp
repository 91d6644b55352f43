// The parser, the writer and the correction of maps on any bytes: a tree that was read is written and read
// again as it was.
#include "../tests/apoio/arvore.hpp"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace {

pramo::Ponteiro<YNo> lido(std::string_view texto) try { return apoio::le(texto); } catch (const YExcecao &) {
    return nullptr;
}

// Names are written as they are. Dropping a prefix may leave one that reads differently ("", "b:c", "!x", a
// quote in front), and the key of a map may be any text.
bool nomeSeRele(const char *nome) {
    return *nome != 0 && std::strchr("!\"", *nome) == nullptr &&
           std::strpbrk(nome, ":=<>/ \t\n\v\f\r") == nullptr;
}

// White space in front of a content, which only a reference can put there, is dropped by the next reading.
// The parser bounds the depth of what is walked here.
bool seRele(const YNo *no) {
    bool rele =
        nomeSeRele(no->nome) && (no->valor == nullptr || std::strchr(" \t\n\v\f", *no->valor) == nullptr);
    if (no->atributos != nullptr) {
        for (YDIC_IT it = YDIC_inicio(no->atributos); it != YDIC_fim(no->atributos); YDIC_IT_anda(&it)) {
            rele = rele && nomeSeRele(YDIC_IT_getChave(it));
        }
    }
    if (no->filhos != nullptr) {
        rele = rele && std::all_of(YVetor_inicio(no->filhos), YVetor_fim(no->filhos),
                                   [](void *filho) { return seRele(static_cast<const YNo *>(filho)); });
    }
    return rele;
}

void confereReleitura(const YNo *no) {
    const auto relido = lido(apoio::grava(no));
    assert(!seRele(no) || (relido != nullptr && apoio::grava(relido) == apoio::grava(no)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t tamanho) {
    if (const auto raiz = lido({reinterpret_cast<const char *>(bytes), tamanho})) {
        confereReleitura(raiz);
        apoio::excecao([&] { YNo_corrigeMaps(raiz); }); // an entry may have no key
        confereReleitura(raiz);
    }
    return 0;
}
