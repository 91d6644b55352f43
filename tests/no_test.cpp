// The tree of nodes: paths, ownership, moves, the XML it is written as and read from, maps, and trees of any
// depth.
#include "apoio/teste.hpp"

namespace {

TEST(No, caminhos) {
    const auto raiz = le("<r><x/><x><y>2</y></x><a><b>1</b><B>3</B></a></r>");
    YNo_setNome(YNo_criaDescendente(raiz, "nada"), nullptr);
    std::string achados;
    for (const char *caminho :
         {"", "a/", "a/b/", "a/B", "x", "A", "x/y", "a//b", "ab", "a/bb", "nada", "b"}) {
        achados += YNo_procuraDescendente(raiz, caminho) != nullptr ? "+" : "-";
    }
    EXPECT_EQ(achados, "+++++-------");
    EXPECT_STREQ(YNo_getString(YNo_getFilho(raiz, "x", 1), "y"), "2");
    EXPECT_TRUE(YNo_getFilho(nullptr, "a", 0) == nullptr && YNo_getFilho(raiz, "x", 2) == nullptr);
    const auto novo = le("<n:r/>");
    for (const char *caminho : {"", "a/b", "a/b", "item/", "n:m"}) { // always new
        YNo_criaDescendente(novo, caminho);
    }
    EXPECT_EQ(grava(novo), "<r><a><b/></a><a><b/></a><item/><n:m/></r>");
}

TEST(No, aceitaOsSeusPropriosTextos) {
    // A node that was read keeps its texts differently from one that was filled by the setters.
    const auto raiz = le("<r><no t=\"a:tipo\">x:valor</no><no/></r>");
    YNo *feito = YNo_getFilho(raiz, "no", 1);
    YNo_setValor(feito, "x:valor");
    for (YNo *no : {YNo_procuraDescendente(raiz, "no"), feito}) {
        YNo_setAtributo(no, "t", YNo_getValor(no));
        YNo_setAtributo(no, "t", YNo_getAtributo(no, "t") + 1);
        YNo_setNome(no, YNo_getValor(no));
        YNo_setValor(no, YNo_getValor(no) + 2);
        YNo_setPrefixo(no, YNo_getNome(no) + 3);
        EXPECT_EQ(grava(no), "<or:valor t=\":valor\">valor</or:valor>");
    }
}

TEST(No, filhosMudamDePai) {
    auto raiz = le("<r><a><x t=\"1\"><c>w</c></x><y/><z/></a><b/></r>");
    YNo *a = YNo_procuraDescendente(raiz, "a");
    YNo *b = YNo_procuraDescendente(raiz, "b");
    YNo *x = YNo_procuraDescendente(a, "x");
    YNo_acrescentaFilho(a, x);
    EXPECT_EQ(grava(a), "<a><y/><z/><x t=\"1\"><c>w</c></x></a>") << "a child again: it moves to the end";
    YNo_acrescentaFilho(b, x);
    EXPECT_EQ(YNo_removeFilho(a, x), 0) << "not a child of this node";
    EXPECT_TRUE(YNo_removeFilho(b, x) == 1 && YNo_getPai(x) == nullptr);
    YliberaObjeto(YNo_procuraDescendente(a, "y"));
    EXPECT_EQ(grava(raiz), "<r><a><z/></a><b></b></r>") << "a node that ends leaves its parent";
    YNo_setPai(a, b);
    YVetor_poe(YNo_getFilhos(b), a);
    EXPECT_EQ(grava(raiz), "<r><b><a><z/></a></b></r>") << "an append in two steps";
    YNo *z = YNo_procuraDescendente(a, "z");
    YNo_setPai(z, raiz);
    EXPECT_EQ(grava(raiz), "<r><b><a></a></b></r>") << "linked, not listed";
    YNo_acrescentaFilho(raiz, z);
    YNo_acrescentaFilho(raiz, z); // listed once
    YNo_setPai(x, z);
    for (YNo *acima : {raiz.get(), z, x}) { // a link alone is a parent too
        for (const auto &une : {YNo_acrescentaFilho, +[](YNo *pai, YNo *n) { YNo_setPai(n, pai); }}) {
            EXPECT_EQ(excecao([&] { une(x, acima); }),
                      "YExcSoap: Um nó não pode ficar abaixo de si mesmo."_l1);
        }
    }
    EXPECT_EQ(grava(raiz), "<r><b><a></a></b><z/></r>");
    YliberaObjeto(z);
    EXPECT_EQ(YNo_getPai(x), nullptr) << "a link does not outlive the parent";
    YNo_setPai(x, b);
    raiz.reset();
    EXPECT_EQ(grava(x), "<x t=\"1\"><c>w</c></x>") << "what was removed outlives its root";
    YliberaObjeto(x);
}

// ---- XML and maps ----

TEST(Xml, formasDeUmElementoEPrefixoQueDesceAteOProximo) {
    const auto raiz = cria<YNo>(YNo_rtti);
    YNo_setString(raiz, "textoVazio", "");
    YliberaObjeto(YNo_criaDescendente(raiz, "semFilhos/x"));
    YNo *misto = YNo_setString(raiz, "misto", "texto");
    YNo_setInt(misto, "b/c", 2);
    YNo_setPrefixo(YNo_procuraDescendente(misto, "b"), "n2");
    YNo_setNome(YNo_setInt(raiz, "x", 3), nullptr);
    YNo_setAtributo(YNo_setString(raiz, "a&b", "<ç>"_l1), "n<1", "\"<&\r");
    YNo_setPrefixo(raiz, "ns1");
    EXPECT_EQ(
        grava(raiz),
        "<ns1:textoVazio></ns1:textoVazio><ns1:semFilhos></ns1:semFilhos><ns1:misto><n2:b><n2:c>2</n2:c>"
        "</n2:b>texto</ns1:misto>3<ns1:a&b n<1=\"&quot;&lt;&amp;&#13;\">&lt;&#231;&gt;</ns1:a&b>");
    EXPECT_EQ(grava(YNo_procuraDescendente(misto, "b/c")), "<n2:c>2</n2:c>");
    EXPECT_EQ(escrito(misto, YNo_gravaConteudo), "<n2:b><n2:c>2</n2:c></n2:b>texto");
}

TEST(Xml, leDeSubstituiOQueONoTinhaMasNaoOSeuLugar) {
    const auto raiz = le("<r><a t=\"1\"><x/></a><b/></r>");
    YNo *a = YNo_procuraDescendente(raiz, "a");
    YNo_setPrefixo(a, "velho");
    YNo_leDe(a, streamDe("<p:novo u=\"2\"><y>3</y><z/></p:novo> resto").get());
    EXPECT_EQ(YNo_getPai(YNo_procuraDescendente(a, "z")), a);
    for (const char *texto : {"<a><b></a>", "", "</a>", "<!x>"}) {
        EXPECT_NE(excecao([&] { YNo_leDe(a, streamDe(texto).get()); }), "") << texto;
        EXPECT_EQ(grava(raiz), "<r><novo u=\"2\"><y>3</y><z/></novo><b/></r>") << "after " << texto;
    }
}

TEST(Mapas, corrige) {
    // clang-format off
    const std::pair<std::string, std::string> casos[] = { // without a second text, it stays as it is
        // Any names of entries, any order within them; repeated keys; other attributes stay.
        {"<p t:type=n:Map x=1><key><value>PE</value><key>k</key><value>SP</value></key><i><key>k</key><value>RJ</value></i></p>",
         "<p x=\"1\"><k>PE</k><k>RJ</k></p>"},
        // Names lose their prefix; values keep theirs.
        {"<p type=:Map><i><key>a:b:c</key><value>x:y</value></i><i><key>n:</key></i></p>", "<p><b:c>x:y</b:c></></p>"},
        // Null and empty values, structures, and maps within maps and beside them.
        {"<r><p type=n:Map><i><key>k</key><value type=n:Map><i><key>l</key><value/></i><i><key>m</key><value x:nil=true/></i></value>"
         "</i></p><p type=n:Map><i><key>k</key><value><a>1</a><b/></value></i></p></r>",
         "<r><p><k><l/><m/></k></p><p><k><a>1</a><b/></k></p></r>"},
        {"<p type=\"Map\"><i><key>a</key></i></p>", ""}, {"<p type=\"a:b:Map\"><i><key>a</key></i></p>", ""}, {"<p type=\"n:Map\">x</p>", ""},
    };
    // clang-format on
    for (const auto &[antes, depois] : casos) {
        const auto raiz = le(antes);
        YNo_corrigeMaps(raiz);
        EXPECT_EQ(grava(raiz), !depois.empty() ? depois : antes);
        YNo *neto = YNo_procuraDescendente(raiz, "p/k");
        EXPECT_TRUE(neto == nullptr || YNo_getPai(YNo_getPai(neto)) == raiz);
    }
    for (const std::string ruim : {"<i><value>2</value></i>", "<i><key/><value>2</value></i>", "<i>t</i>"}) {
        const auto raiz = le("<p type=\"n:Map\"><i><key>b</key><value><x/></value></i>" + ruim + "</p>");
        EXPECT_EQ(excecao([&] { YNo_corrigeMaps(raiz); }), "YExcSoap: Tag procurada: key. Faltou tag.");
    }
}

// ---- Nodes of a derived class ----

int mortos = 0;

void morre(void *objeto) {
    auto *no = static_cast<YNo *>(objeto);
    EXPECT_TRUE(no->pai == nullptr && YVetor_tam(no->filhos) == 1);
    YNo_setNome(no, no->nome); // a node in its destruction is still a node
    mortos++;
}

const YRtti NO_CONTADO = {YNo_rtti, "NoContado", 0, nullptr, morre};
const YRtti *NoContado_rtti() {
    return &NO_CONTADO;
}
const YRtti QUE_LANCA = {NoContado_rtti, "NoQueLanca", 0, nullptr,
                         [](void *) { YContextoTry_throw(YExc_rtti, "destrutor", "teste", 1); }};

TEST(No, trezentosMilNiveis) {
    constexpr int SIMPLES = 200'000;
    constexpr int DERIVADOS = 100'000; // the first of them raises in its destructor
    auto raiz = le("<r/>");
    YNo *ponta = raiz;
    for (int i = 0; i < SIMPLES + DERIVADOS; i++) {
        auto no = i < SIMPLES    ? cria<YNo>(YNo_rtti)
                  : i == SIMPLES ? cria<YNo>([] { return &QUE_LANCA; })
                                 : cria<YNo>(NoContado_rtti);
        YNo_setNome(no, "a");
        YNo_acrescentaFilho(std::exchange(ponta, no), no.get());
        no.release();
    }
    ponta = YNo_criaDescendente(ponta, "a");
    YNo_setPrefixo(raiz, "p");
    EXPECT_STREQ(YNo_getPrefixo(ponta), "p");
    YNo_corrigeMaps(raiz);
    EXPECT_EQ(grava(raiz).size(), 11 * (SIMPLES + DERIVADOS + 1) + 6);
    EXPECT_NE(excecao([&] { YNo_acrescentaFilho(ponta, raiz); }), "");
    EXPECT_EQ(excecao([&] { YliberaObjeto(raiz.release()); }), "YExc: destrutor");
    EXPECT_EQ(mortos, DERIVADOS);
}

} // namespace
