// Trees written as XML, read into nodes, and the correction of encoded maps.
#include "apoio/arvore.hpp"

#include <gtest/gtest.h>

using namespace apoio;
using namespace pramo::literais;

namespace {

TEST(Xml, formasDeUmElemento) {
    const auto raiz = pramo::cria<YNo>(YNo_rtti);
    YNo_setString(raiz.get(), "textoVazio", "");
    YliberaObjeto(YNo_criaDescendente(raiz.get(), "semFilhos/x"));
    YNo_setInt(YNo_setString(raiz.get(), "misto", "texto"), "b/c", 2);
    YNo *semNome = YNo_setInt(raiz.get(), "x", 3);
    YNo_setNome(semNome, nullptr);
    YNo_setAtributo(semNome, "nunca", "escrito");
    YNo_setAtributo(YNo_setString(raiz.get(), "a&b", "<ç>"_l1), "n<1", "\"<&\r");
    EXPECT_EQ(grava(raiz.get()), "<textoVazio></textoVazio><semFilhos></semFilhos><misto><b><c>2</c></b>texto"
                                 "</misto>3<a&b n<1=\"&quot;&lt;&amp;&#13;\">&lt;&#231;&gt;</a&b>");
}

TEST(Xml, oPrefixoDesceAteOProximo) {
    const auto raiz = le("<r><a><b><c>1</c></b><d/></a></r>");
    YNo_setPrefixo(raiz.get(), "ns1");
    YNo_setPrefixo(YNo_procuraDescendente(raiz.get(), "a/b"), "n2");
    EXPECT_EQ(grava(raiz.get()), "<ns1:r><ns1:a><n2:b><n2:c>1</n2:c></n2:b><ns1:d/></ns1:a></ns1:r>");
    EXPECT_EQ(grava(YNo_procuraDescendente(raiz.get(), "a/b/c")), "<n2:c>1</n2:c>");
    const auto saida = streamDe("antes ");
    YNo_gravaConteudo(YNo_procuraDescendente(raiz.get(), "a"), saida.get());
    EXPECT_EQ(conteudo(saida.get()), "antes <n2:b><n2:c>1</n2:c></n2:b><ns1:d/>");
}

TEST(Xml, leDeSubstituiOQueONoTinhaMasNaoOSeuLugar) {
    const auto raiz = le("<r><a t=\"1\"><x/></a><b/></r>");
    YNo *a = YNo_procuraDescendente(raiz.get(), "a");
    YNo_setPrefixo(a, "velho");
    YNo_leDe(a, streamDe("<p:novo u=\"2\"><y>3</y><z/></p:novo> resto").get());
    EXPECT_EQ(YNo_getPai(YNo_procuraDescendente(a, "z")), a);
    for (const char *texto : {"<a><b></a>", "", "</a>", "<!x>"}) {
        EXPECT_NE(excecao([&] { YNo_leDe(a, streamDe(texto).get()); }), "") << texto;
        EXPECT_EQ(grava(raiz.get()), "<r><novo u=\"2\"><y>3</y><z/></novo><b/></r>") << "after " << texto;
    }
}

TEST(Mapas, corrige) {
    const std::pair<std::string, std::string> casos[] = {
        // the same where there is no second text
        // Any names of entries, any order within them; repeated keys; other attributes stay.
        {"<p t:type=\"ns2:Map\" "
         "x=\"1\"><key><value>PE</value><key>uf</key><value>SP</value></key><i><key>uf</key><value>RJ</"
         "value></i></p>",
         "<p x=\"1\"><uf>PE</uf><uf>RJ</uf></p>"},
        // Names lose their prefix; values keep theirs.
        {"<p type=\":Map\"><i><key>a:b:c</key><value>x:y</value></i><i><key>n:</key></i></p>",
         "<p><b:c>x:y</b:c></></p>"},
        // Null and empty values, structures, and maps within maps and beside them.
        {"<r><p type=\"n:Map\"><i><key>k</key><value type=\"n:Map\"><i><key>l</key><value/></i>"
         "<i><key>m</key><value x:nil=\"true\"/></i></value></i></p><p "
         "type=\"n:Map\"><i><key>k</key><value><a>1</a><b/></value></i></p></r>",
         "<r><p><k><l/><m/></k></p><p><k><a>1</a><b/></k></p></r>"},
        {"<p type=\"Map\"><i><key>a</key></i></p>", ""},
        {"<p type=\"a:b:Map\"><i><key>a</key></i></p>", ""},
        {"<p Type=\"n:Map\"><i><key>a</key></i></p>", ""},
        {"<p type=\"n:Map\">x</p>", ""},
    };
    for (const auto &[antes, depois] : casos) {
        const auto raiz = le(antes);
        YNo_corrigeMaps(raiz.get());
        EXPECT_EQ(grava(raiz.get()), !depois.empty() ? depois : antes);
        YNo *neto = YNo_procuraDescendente(raiz.get(), "p/k");
        EXPECT_TRUE(neto == nullptr || YNo_getPai(YNo_getPai(neto)) == raiz.get());
    }
}

TEST(Mapas, semChaveLevantaEFicaComoEra) {
    for (const std::string ruim : {"<i><value>2</value></i>", "<i><key/><value>2</value></i>", "<i>t</i>"}) {
        const auto raiz = le("<p type=\"n:Map\"><i><key>b</key><value><x/></value></i>" + ruim + "</p>");
        EXPECT_EQ(excecao([&] { YNo_corrigeMaps(raiz.get()); }), "YExcSoap: Tag procurada: key. Faltou tag.");
        EXPECT_EQ(grava(raiz.get()), "<p type=\"n:Map\"><i><key>b</key><value/></i>" + ruim + "</p>")
            << "an entry before it has lost the children of its value";
    }
}

} // namespace
