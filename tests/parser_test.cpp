// What the parser takes, what it refuses, and what it leaves behind.
#include "apoio/teste.hpp"

namespace {

constexpr const char *MAL_FORMADA = "YExcSoap: Mensagem SOAP mal formada.";

struct Parser : testing::Test {
    Ponteiro<YSoapParser> parser = cria<YSoapParser>(YSoapParser_rtti);

    // Reads one element: what of it is written, or "null", and "|" with what is left when that is not
    // nothing; or what was raised.
    std::string le(std::string_view texto) {
        const auto entrada = streamDe(texto);
        std::string lido;
        const std::string recusa = excecao([&] {
            YNo *raiz = nullptr;
            YSoapParser_leNo(parser, &raiz, entrada);
            const Ponteiro<YNo> dono(raiz);
            const auto sobra = texto.substr(texto.size() - YStream_disponiveis(entrada));
            lido = (raiz != nullptr ? grava(raiz) : "null") + (sobra.empty() ? "" : "|") + std::string(sobra);
        });
        return recusa.empty() ? lido : recusa;
    }
};

TEST_F(Parser, aceita) {
    // clang-format off
    confere([this](const std::string &texto) { return le(texto); }, {
        {" \t\r\n\v\f<a>   </a> xyz", "<a/>| xyz"}, {"<a></b>", "<a/>"}, {"<a>  x y  </a>", "<a>x y  </a>"},
        {"<p:a q:b=\"1\" c=2>v</p:a>", "<a b=\"1\" c=\"2\">v</a>"},
        {"<\ta\nb\r=\v1\f>x< / a >", "<a b=\"1\">x</a>"},
        {"<a>&lt;&#231;\xe7&#xE7;&apos;&quot; R&D</a>", "<a>&lt;&#231;&#231;&#231;'&quot; R&amp;D</a>"},
        {"<a b=\"R&D\" c=\";\">&</a>;", "<a b=\"R&amp;D\" c=\";\">&amp;</a>|;"},
        {"<a b=\"<>=/ &lt;&#10;'x'\"c=\"\"/>", "<a b=\"&lt;&gt;=/ &lt;\n'x'\" c=\"\"/>"},
        {"<a b=1 b=2 x:b=3/>", "<a b=\"3\"/>"}, {"<a b=&amp;\"x'!?:/>", "<a b=\"&amp;amp;&quot;x'!?:\"/>"},
        {"<x:a:b c:d:e=f:g/>", "<a:b d:e=\"f:g\"/>"}, {"<a \xff=\"\xa0\">\xa0x</a>", "<a \xff=\"&#160;\">&#160;x</a>"},
        // Left out: children with nil, whatever they hold, but neither the root nor what is only like nil.
        {"<a><b nil=true><c/><d>1</d></b></a>", "<a/>"},
        {"<a nil=\"true\"><b nil=\"TRUE\"/><c x:nil=\"true\" nil=\"\"/></a>", "<a nil=\"true\"><b nil=\"TRUE\"/><c nil=\"\"/></a>"},
        // No element, and lists that end early.
        {"</a>x", "null|x"}, {"< !DOCTYPE x=1 y=\"2\" / ><c/>", "null|<c/>"},
        {"<r><a><!--c--><b/></a></r>", "<r><a/><b/></r>|</r>"}, {"<a><![CDATA[x]]></a>", "<a/>|</a>"},
    });
    // clang-format on
    le("<a b=\"x&amp;y\" c=d>t1</p:e>");
    EXPECT_EQ(parser->token, '>');
    EXPECT_STREQ(YStream_str(parser->palavra), "p:e");
    EXPECT_STREQ(YStream_str(parser->texto), "t1");
}

TEST_F(Parser, recusa) {
    using namespace std::literals;
    // clang-format off
    const std::pair<std::string, std::vector<std::string_view>> casos[] = {
        {"YExcSoap: Token inesperado.",
         {""sv, " \n "sv, "texto"sv, "\"<a/>\""sv, "<>"sv, "<=a>"sv, "<\"a\"/>"sv, "<a / b>"sv, "<a b>"sv, "<a b c=1>"sv, "<a \"b\"=1>"sv,
          "<a b=1 =2>"sv, "<a b=1<c/>"sv, "<a><b/>t</a>"sv, "<a></>"sv, "<a></\"a\">"sv, "<a></a b>"sv, "<a></a/>"sv, "<a>x</a b>"sv,
          "<a>t<b c></a>"sv, "<a><!-- c --></a>"sv, "<?xml version=\"1.0\"?><a/>"sv, "<a\0/>"sv, "\0<a/>"sv, "<\0a/>"sv, "<a b=\"\0\"/>"sv,
          "<a b=\"&amp;\0\"/>"sv, "<a> \0</a>"sv, "<a>x\0y</a>"sv, "<a><b/>\0</a>"sv}},
        {MAL_FORMADA, {"<a b=>", "<a b=/>", "<a b==1>", "<!a b=>"}},
        {"YExcSoap: Mensagem SOAP mal formada. Esperava tag fechando.", {"<a>t<b/></a>", "<a>t<!--c--></a>"}},
        {"YExc: Referência a caractere desconhecida."_l1, {"<a>&lix;</a>", "<a><b c=\"& b;\"/></a>"}},
        {"YExc: Referência a caractere fora de ISO-8859-1."_l1, {"<a>&#256;</a>", "<a b=\"&#x0;\"/>"}},
    };
    // clang-format on
    for (const auto &[excecao, textos] : casos) {
        for (const auto texto : textos) {
            EXPECT_EQ(le(texto), excecao) << texto;
        }
    }
}

TEST_F(Parser, documentoCortadoDepoisDeCadaByte) {
    const std::string documento =
        "<e:Envelope xmlns:e='x'>\n <e:Body><c:soma xmlns:c=\"urn:Calc\" / >\n<lista><item a=\"1 &amp; 2\" "
        "b=2 >tr&#234;s\n</item><nada n:nil=\"true\"><a><b>x</b></a></nada></lista></e:Body ></e:Envelope>";
    for (std::size_t onde = 0; onde < documento.size(); onde++) {
        EXPECT_EQ(le(documento.substr(0, onde)).substr(0, 10), "YExcSoap: ") << onde;
    }
    EXPECT_EQ(le(documento).front(), '<') << "the parser stays usable";
}

TEST_F(Parser, limites) {
    const auto repetido = [](int vezes, const std::string &texto) {
        std::ostringstream tudo;
        std::fill_n(std::ostream_iterator<std::string>(tudo), vezes, texto);
        return tudo.str();
    };
    const auto aninhado = [&](int niveis) { return repetido(niveis, "<a>") + repetido(niveis, "</a>"); };
    EXPECT_EQ(le(aninhado(1000)).front(), '<') << "as a parser begins";
    EXPECT_EQ(le(aninhado(1001)), MAL_FORMADA);
    const std::string atributos = "<a" + repetido(999'999, " b=1");
    EXPECT_EQ(le(atributos + "/>"), "<a b=\"1\"/>");
    EXPECT_EQ(le(atributos + " b=1/>"), MAL_FORMADA);

    const std::tuple<void (*)(YSoapParser *, uint64_t), uint64_t, const char *> casos[] = {
        {YSoapParser_setLimiteDeNiveis, 3, "<a><b><c/></b><b><c>x</c></b></a>"},
        {YSoapParser_setLimiteDeNiveis, 2, "<a><b nil=\"true\"></b></a>"},
        {YSoapParser_setLimiteDeNos, 6, "<a b=\"1\" c=\"2\"><d/><e nil=\"true\"/></a>"},
        {YSoapParser_setLimiteDeBytes, 10, "<p:aa q:b=\"ccc\">&lt;xyz</p:aa>"},
        {YSoapParser_setLimiteDeBytes, 7, "<a><bb>cc</bb><dd/></a>"},
    };
    for (const auto &[limita, cabe, texto] : casos) {
        parser = cria<YSoapParser>(YSoapParser_rtti);
        limita(parser, cabe);
        EXPECT_EQ(le(texto).front(), '<') << texto;
        limita(parser, cabe - 1);
        EXPECT_EQ(le(texto), MAL_FORMADA) << texto;
    }
}

} // namespace
