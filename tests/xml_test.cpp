// Trees written as XML, read into nodes, and the correction of encoded maps.
#include "apoio/arvore.hpp"

#include <gtest/gtest.h>

using namespace apoio;
using namespace pramo::literais;

namespace {

TEST(Xml, formasDeUmElemento) {
    const auto raiz = pramo::cria<YNo>(YNo_rtti);
    EXPECT_EQ(grava(raiz.get()), "");
    YNo_criaDescendente(raiz.get(), "vazio");
    YNo_setString(raiz.get(), "textoVazio", "");
    YliberaObjeto(YNo_criaDescendente(raiz.get(), "semFilhos/x"));
    YNo *misto = YNo_setString(raiz.get(), "misto", "texto");
    YNo_setInt(misto, "b/c", 2);
    YNo *semNome = YNo_criaDescendente(raiz.get(), "x");
    YNo_setNome(semNome, nullptr);
    YNo_setAtributo(semNome, "nunca", "escrito");
    YNo_setInt(semNome, "d", 3);
    YNo_setAtributo(YNo_setString(raiz.get(), "a&b", "<ç>"_l1), "n<1", "\"<&\r");
    YNo_setValor(raiz.get(), "fim");
    EXPECT_EQ(grava(raiz.get()),
              "<vazio/><textoVazio></textoVazio><semFilhos></semFilhos><misto><b><c>2</c></b>texto"
              "</misto><d>3</d><a&b n<1=\"&quot;&lt;&amp;&#13;\">&lt;&#231;&gt;</a&b>fim");
    const auto saida = streamDe("antes ");
    YNo_gravaConteudo(misto, saida.get());
    EXPECT_STREQ(YStream_str(saida.get()), "antes <b><c>2</c></b>texto");
}

TEST(Xml, oPrefixoDesceAteOProximo) {
    const auto raiz = le("<r><a><b><c>1</c></b><d/></a><e>2</e></r>");
    YNo_setPrefixo(raiz.get(), "ns1");
    YNo_setPrefixo(YNo_procuraDescendente(raiz.get(), "a/b"), "n2");
    EXPECT_EQ(grava(raiz.get()),
              "<ns1:r><ns1:a><n2:b><n2:c>1</n2:c></n2:b><ns1:d/></ns1:a><ns1:e>2</ns1:e></ns1:r>");
    EXPECT_EQ(grava(YNo_procuraDescendente(raiz.get(), "a/b/c")), "<n2:c>1</n2:c>");
    const auto saida = streamDe("");
    YNo_gravaConteudo(YNo_procuraDescendente(raiz.get(), "a"), saida.get());
    EXPECT_STREQ(YStream_str(saida.get()), "<n2:b><n2:c>1</n2:c></n2:b><ns1:d/>");
}

TEST(Xml, leDeSubstituiOQueONoTinhaMasNaoOSeuLugar) {
    const auto raiz = le("<r><a t=\"1\"><x/></a><b/></r>");
    YNo *a = YNo_procuraDescendente(raiz.get(), "a");
    YNo_setPrefixo(a, "velho");
    const auto entrada = streamDe("<p:novo u=\"2\"><y>3</y><z/></p:novo> resto");
    YNo_leDe(a, entrada.get());
    const std::string lido = "<r><novo u=\"2\"><y>3</y><z/></novo><b/></r>";
    EXPECT_EQ(grava(raiz.get()), lido);
    EXPECT_EQ(YNo_getPai(a), raiz.get());
    EXPECT_EQ(YNo_getPai(YNo_procuraDescendente(a, "z")), a);
    EXPECT_EQ(YStream_disponiveis(entrada.get()), 6);
    for (const char *texto : {"<?xml version=\"1.0\"?><a/>", "<a><b></a>", "", "x", "</a>", "<!x>"}) {
        const bool semElemento = texto == std::string_view("</a>") || texto == std::string_view("<!x>");
        EXPECT_EQ(excecao([&] { YNo_leDe(a, streamDe(texto).get()); }),
                  semElemento ? "YExcSoap: Mensagem SOAP mal formada." : "YExcSoap: Token inesperado.")
            << texto;
        EXPECT_EQ(grava(raiz.get()), lido) << texto;
    }
}

// ---- Maps ----

std::string corrigido(std::string_view texto) {
    const auto raiz = le(texto);
    YNo_corrigeMaps(raiz.get());
    YNo *neto = YNo_procuraDescendente(raiz.get(), "p/k");
    EXPECT_TRUE(neto == nullptr || YNo_getPai(YNo_getPai(neto)) == raiz.get());
    return grava(raiz.get());
}

TEST(Mapas, corrige) {
    struct {
        const char *antes, *depois;
    } const casos[] = {
        // Any names of entries, any order within them; repeated keys; other attributes stay.
        {"<p t:type=\"ns2:Map\" x=\"1\"><item><key>cidade</key><value>Recife</value></item>"
         "<key><value>PE</value><key>uf</key><value>SP</value></key><i><key>uf</key><value>RJ</value></i></"
         "p>",
         "<p x=\"1\"><cidade>Recife</cidade><uf>PE</uf><uf>RJ</uf></p>"},
        // Names lose their prefix; values keep theirs.
        {"<p type=\":Map\"><i><key>a:b:c</key><value>x:y</value></i></p>", "<p><b:c>x:y</b:c></p>"},
        // Null and empty values, structures, and maps within maps and beside them.
        {"<r><p type=\"n:Map\"><i><key>k</key><value type=\"n:Map\"><i><key>l</key><value/></i>"
         "<i><key>m</key><value x:nil=\"true\"/></i></value></i></p><p type=\"n:Map\"><i><key>k</key><value>"
         "<a>1</a><b/></value></i></p></r>",
         "<r><p><k><l/><m/></k></p><p><k><a>1</a><b/></k></p></r>"},
    };
    for (const auto &[antes, depois] : casos) {
        EXPECT_EQ(corrigido(antes), depois);
    }
    for (const std::string tipo : {"type=\"Map\"", "type=\"n:map\"", "type=\"a:b:Map\"", "type=\"n:Map2\"",
                                   "Type=\"n:Map\"", "type=\"\""}) {
        const std::string naoEhMapa = "<p " + tipo + "><i><key>a</key></i></p>";
        EXPECT_EQ(corrigido(naoEhMapa), naoEhMapa);
    }
    EXPECT_EQ(corrigido("<p type=\"n:Map\"/>"), "<p type=\"n:Map\"/>");
    EXPECT_EQ(corrigido("<p type=\"n:Map\">x</p>"), "<p type=\"n:Map\">x</p>");
}

TEST(Mapas, semChaveLevantaEFicaComoEra) {
    for (const std::string ruim : {"<i><value>2</value></i>", "<i><key/><value>2</value></i>",
                                   "<i><key>x:</key><value>2</value></i>", "<i>texto</i>"}) {
        const auto raiz = le("<p type=\"n:Map\"><i><key>a</key><value>1</value></i>"
                             "<i><key>b</key><value><x/></value></i>" +
                             ruim + "</p>");
        EXPECT_EQ(excecao([&] { YNo_corrigeMaps(raiz.get()); }), "YExcSoap: Tag procurada: key. Faltou tag.");
        EXPECT_EQ(grava(raiz.get()), "<p type=\"n:Map\"><i><key>a</key><value>1</value></i>"
                                     "<i><key>b</key><value/></i>" +
                                         ruim + "</p>")
            << "an entry before it has lost the children of its value";
    }
}

} // namespace
