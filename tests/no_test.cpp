// The tree of nodes: paths, ownership, moves, and trees of any depth.
#include "apoio/arvore.hpp"

#include <gtest/gtest.h>

#include <thread>

using namespace apoio;
using namespace pramo::literais;

namespace {

TEST(No, caminhos) {
    const auto raiz = le("<r><x/><x><y>2</y></x><a><b>1</b><B>3</B></a></r>");
    YNo_setNome(YNo_criaDescendente(raiz.get(), "nada"), nullptr);
    for (const char *caminho : {"", "a", "a/", "a/b", "a/b/", "a/B", "x"}) {
        EXPECT_NE(YNo_procuraDescendente(raiz.get(), caminho), nullptr) << caminho;
    }
    for (const char *caminho : {"A", "x/y", "a//b", "ab", "a/bb", "nada", "b"}) {
        EXPECT_EQ(YNo_procuraDescendente(raiz.get(), caminho), nullptr) << caminho;
        EXPECT_EQ(excecao([&] { YNo_getFilhoUnico(raiz.get(), caminho); }),
                  std::string("YExcSoap: Tag procurada: ") + caminho + ". Faltou tag.");
    }
    EXPECT_EQ(YNo_procuraDescendente(raiz.get(), nullptr), raiz.get());
    EXPECT_EQ(excecao([] { YNo_getFilhoUnico(nullptr, nullptr); }), "YExcSoap: Tag procurada: . Faltou tag.");
    EXPECT_STREQ(YNo_getString(YNo_getFilho(raiz.get(), "x", 1), "y"), "2");
    EXPECT_TRUE(YNo_getFilho(nullptr, "a", 0) == nullptr && YNo_getFilho(raiz.get(), "x", 2) == nullptr);

    const auto novo = le("<n:r/>");
    for (const char *caminho : {"", "a/b", "a/b", "item/", "n:m"}) { // always new
        YNo_criaDescendente(novo.get(), caminho);
    }
    EXPECT_EQ(grava(novo.get()), "<r><a><b/></a><a><b/></a><item/><n:m/></r>");
}

TEST(No, aceitaOsSeusPropriosTextos) {
    // A node that was read keeps its texts differently from one that was filled by the setters.
    const auto raiz = le("<r><no t=\"a:tipo\">x:valor</no><no/></r>");
    YNo *feito = YNo_getFilho(raiz.get(), "no", 1);
    YNo_setValor(feito, "x:valor");
    EXPECT_EQ(YNo_setAtributo(feito, "t", nullptr), 0);
    for (YNo *no : {YNo_procuraDescendente(raiz.get(), "no"), feito}) {
        for (int vez = 0; vez < 3; vez++) {
            YNo_setValor(no, YNo_getValor(no));
            YNo_setNome(no, YNo_getNome(no));
            YNo_setAtributo(no, "t", YNo_getValor(no));
            YNo_setAtributo(no, "t", YNo_getAtributo(no, "t") + 1);
        }
        YNo_setNome(no, YNo_getValor(no));
        YNo_setValor(no, YNo_getValor(no) + 2);
        YNo_setPrefixo(no, YNo_getNome(no) + 3);
        YNo_setPrefixo(no, YNo_getPrefixo(no));
        EXPECT_EQ(grava(no), "<or:valor t=\":valor\">valor</or:valor>");
    }
}

TEST(No, filhosMudamDePai) {
    auto raiz = le("<r><a><x t=\"1\"><c>w</c></x><y/><z/></a><b/></r>");
    YNo *a = YNo_procuraDescendente(raiz.get(), "a");
    YNo *b = YNo_procuraDescendente(raiz.get(), "b");
    YNo *x = YNo_procuraDescendente(a, "x");
    YNo_acrescentaFilho(a, x);
    EXPECT_EQ(YVetor_fim(YNo_getFilhos(a))[-1], x) << "a child again: it moves to the end";
    YNo_acrescentaFilho(b, x);
    EXPECT_EQ(YNo_removeFilho(a, x), 0) << "not a child of this node";
    EXPECT_EQ(YNo_removeFilho(b, x), 1);
    EXPECT_EQ(YNo_getPai(x), nullptr);
    YliberaObjeto(YNo_procuraDescendente(a, "y"));
    EXPECT_EQ(grava(raiz.get()), "<r><a><z/></a><b></b></r>") << "a node that ends leaves its parent";
    YNo_setPai(a, b);
    YVetor_poe(YNo_getFilhos(b), a);
    EXPECT_EQ(grava(raiz.get()), "<r><b><a><z/></a></b></r>") << "an append in two steps";
    YNo *z = YNo_procuraDescendente(a, "z");
    YNo_setPai(z, raiz.get());
    YNo_setPai(z, raiz.get());
    EXPECT_EQ(grava(raiz.get()), "<r><b><a></a></b></r>") << "linked, not listed";
    YNo_acrescentaFilho(raiz.get(), z);
    YNo_acrescentaFilho(raiz.get(), z);
    EXPECT_EQ(grava(raiz.get()), "<r><b><a></a></b><z/></r>") << "listed once";
    YNo_setPai(x, z);
    YliberaObjeto(z);
    EXPECT_EQ(YNo_getPai(x), nullptr) << "a link does not outlive the parent";
    YNo_setPai(x, b);
    raiz.reset();
    std::thread([x] { // what was removed outlives its root
        EXPECT_EQ(grava(x), "<x t=\"1\"><c>w</c></x>");
        YliberaObjeto(x);
    })
        .join();
}

TEST(No, nenhumNoFicaAbaixoDeSiMesmo) {
    const std::string CICLO = "YExcSoap: Um nó não pode ficar abaixo de si mesmo."_l1;
    const auto raiz = le("<r><a><b><c/></b></a></r>");
    const auto ligado = le("<l/>");
    YNo *a = YNo_procuraDescendente(raiz.get(), "a");
    YNo_setPai(ligado.get(), YNo_procuraDescendente(a, "b/c")); // a link alone is a parent too
    for (YNo *no : {a, YNo_procuraDescendente(a, "b"), YNo_procuraDescendente(a, "b/c"), ligado.get()}) {
        EXPECT_EQ(excecao([&] { YNo_acrescentaFilho(no, a); }), CICLO);
        EXPECT_EQ(excecao([&] { YNo_setPai(a, no); }), CICLO);
    }
    EXPECT_EQ(grava(raiz.get()), "<r><a><b><c/></b></a></r>");
}

// ---- Nodes of a derived class ----

int mortos = 0;
std::string emOrdem;

void morre(void *objeto) {
    auto *no = static_cast<YNo *>(objeto);
    EXPECT_EQ(no->pai, nullptr);
    mortos++;
    if (no->nome != nullptr) {
        emOrdem += no->nome + std::to_string(no->filhos != nullptr ? YVetor_tam(no->filhos) : 0) + ' ';
        YNo_setNome(no, no->nome); // a node in its destruction is still a node
    }
}

const YRtti NO_CONTADO = {YNo_rtti, "NoContado", 0, nullptr, morre};
const YRtti *NoContado_rtti() {
    return &NO_CONTADO;
}
const YRtti QUE_LANCA = {NoContado_rtti, "NoQueLanca", 0, nullptr,
                         [](void *) { YContextoTry_throw(YExc_rtti, "destrutor", "teste", 1); }};

YNo *pendura(YNo *pai, YFuncaoRtti classe, const char *nome) {
    auto no = pramo::cria<YNo>(classe);
    YNo_setNome(no.get(), nome);
    YNo_acrescentaFilho(pai, no.get());
    return no.release();
}

TEST(No, destrutoresDerivadosRodamUmaVezComOsFilhos) {
    auto raiz = le("<r><a/></r>");
    const YFuncaoRtti queLanca = [] { return &QUE_LANCA; };
    YNo *um = pendura(YNo_procuraDescendente(raiz.get(), "a"), NoContado_rtti, "um");
    pendura(YNo_criaDescendente(um, "b/c"), NoContado_rtti, "dois");
    pendura(pendura(raiz.get(), queLanca, "tres"), queLanca, "quatro");
    EXPECT_EQ(excecao([&] { YliberaObjeto(raiz.release()); }), "YExc: destrutor");
    EXPECT_EQ(emOrdem, "tres1 quatro0 um1 dois0 ");
}

TEST(No, umMilhaoDeNiveis) {
    for (const bool derivados : {false, true}) {
        const std::size_t niveis = derivados ? 200'000 : 1'000'000;
        mortos = 0;
        auto raiz = le("<r/>");
        YNo *ponta = raiz.get();
        for (std::size_t i = 1; i < niveis; i++) {
            ponta = derivados ? pendura(ponta, NoContado_rtti, nullptr) : YNo_criaDescendente(ponta, "a");
        }
        YNo_setPrefixo(raiz.get(), "p");
        EXPECT_STREQ(YNo_getPrefixo(ponta), "p");
        YNo_corrigeMaps(raiz.get());
        YNo_setNome(ponta, "fim");
        EXPECT_EQ(grava(raiz.get()).size(), derivados ? 19 : 11 * (niveis - 2) + 19);
        EXPECT_NE(excecao([&] { YNo_acrescentaFilho(ponta, raiz.get()); }), "");
        raiz.reset();
        EXPECT_EQ(mortos, derivados ? 199'999 : 0);
    }
}

} // namespace
