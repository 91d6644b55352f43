// The parser, the writer and the correction of maps on any bytes: a tree that was read is written and read
// again as it was.
#include "../tests/apoio/arvore.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
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
bool conteudoSeRele(const char *valor) {
    return valor == nullptr || std::strchr(" \t\n\v\f", *valor) == nullptr;
}

// The parser bounds the depth of what is walked here.
bool seRele(const YNo *no) {
    bool rele = nomeSeRele(YNo_getNome(no)) && conteudoSeRele(YNo_getValor(no));
    if (no->atributos != nullptr) {
        for (YDIC_IT it = YDIC_inicio(no->atributos); it != YDIC_fim(no->atributos); YDIC_IT_anda(&it)) {
            rele = rele && nomeSeRele(YDIC_IT_getChave(it));
        }
    }
    if (no->filhos != nullptr) {
        for (YVetorIt it = YVetor_inicio(no->filhos); it != YVetor_fim(no->filhos); YVetorIt_anda(&it)) {
            rele = rele && seRele(static_cast<const YNo *>(*it));
        }
    }
    return rele;
}

void confereReleitura(const YNo *no) {
    const std::string escrito = apoio::grava(no);
    const auto relido = lido(escrito);
    if (seRele(no) && (relido == nullptr || apoio::grava(relido) != escrito)) {
        std::fprintf(stderr, "written: %s\nread: %s\n", escrito.c_str(), apoio::grava(relido).c_str());
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t tamanho);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t tamanho) {
    if (const auto raiz = lido({reinterpret_cast<const char *>(bytes), tamanho})) {
        confereReleitura(raiz);
        apoio::excecao([&] { YNo_corrigeMaps(raiz); }); // an entry may have no key
        confereReleitura(raiz);
    }
    return 0;
}
