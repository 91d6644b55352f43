// The parser, the writer and the correction of maps on any bytes: a tree that was read is written and read
// again as it was.
#include <3pramo/3pramo.hpp>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

pramo::Ponteiro<YNo> le(const void *bytes, std::size_t tamanho) try {
    const auto entrada = pramo::cria<YStream>(YStream_rtti);
    YStream_putBloco(entrada.get(), bytes, static_cast<int64_t>(tamanho));
    const auto parser = pramo::cria<YSoapParser>(YSoapParser_rtti);
    YNo *raiz = nullptr;
    YSoapParser_leNo(parser.get(), &raiz, entrada.get());
    return pramo::Ponteiro<YNo>(raiz);
} catch (const YExcecao &) {
    return nullptr;
}

std::string grava(const YNo *no) {
    const auto saida = pramo::cria<YStream>(YStream_rtti);
    YNo_gravaEm(no, saida.get());
    return {YStream_str(saida.get()), static_cast<std::size_t>(YStream_tam(saida.get()))};
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
    const std::string escrito = grava(no);
    const auto relido = le(escrito.data(), escrito.size());
    if (!seRele(no)) {
        return;
    }
    if (relido == nullptr || grava(relido.get()) != escrito) {
        std::fprintf(stderr, "written: %s\nread: %s\n", escrito.c_str(), grava(relido.get()).c_str());
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t tamanho);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t tamanho) {
    const auto raiz = le(bytes, tamanho);
    if (raiz == nullptr) {
        return 0;
    }
    confereReleitura(raiz.get());
    try {
        YNo_corrigeMaps(raiz.get());
    } catch (const YExcecao &) { // NOLINT(bugprone-empty-catch): an entry without key
    }
    confereReleitura(raiz.get());
    return 0;
}
