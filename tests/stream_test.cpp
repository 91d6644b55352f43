// Streams: content, formatting, references.
#include "apoio/teste.hpp"

namespace {

struct Stream : testing::Test {
    Ponteiro<YStream> dono = cria<YStream>(YStream_rtti);
    YStream *s = dono.get();
};

TEST_F(Stream, vazioEFimSaoDefinidos) {
    EXPECT_EQ(YStream_get(s) + YStream_peek(s) + YStream_getHtmlChar(s), 0);
    YStream_aloca(s, -5);
    YStream_putBloco(s, "x", -1);
    YStream_puts(s, nullptr);
    YStream_putHtmlString(s, nullptr);
    EXPECT_STREQ(YStream_str(s), "");
    YStream_put(s, 0xE7);
    EXPECT_EQ(YStream_get(s), 0xE7) << "no sign extension";
}

TEST_F(Stream, aceitaOSeuProprioTexto) {
    YStream_puts(s, "x");
    for (int i = 0; i < 12; i++) { // far beyond every growth
        YStream_puts(s, YStream_str(s));
    }
    YStream_printf(s, "%s", YStream_str(s));
    YStream_putTirandoAcentos(s, YStream_str(s));
    YStream_putHtmlString(s, YStream_str(s));
    EXPECT_TRUE(conteudo(s) == std::string(32768, 'x'));
}

TEST_F(Stream, referenciasQueSaem) {
    YStream_putHtmlString(s, "a<b>&\"c'\r\n\xe7\x80\xff");
    YStream_putTirandoAcentos(s, "AÇÃO ção É ñ ü ÿ × ß"_l1);
    EXPECT_EQ(conteudo(s), "a&lt;b&gt;&amp;&quot;c'&#13;\n&#231;&#128;&#255;ACAO cao E n u y \xd7 \xdf");
    for (int c = 1; c < 256; c++) {
        YStream_clear(s);
        YStream_putHtmlString(s, std::string(1, static_cast<char>(c)).c_str());
        EXPECT_TRUE(YStream_getHtmlChar(s) == c && YStream_disponiveis(s) == 0) << c;
    }
}

TEST_F(Stream, referenciasQueEntram) {
    // clang-format off
    const std::tuple<std::string, int, int64_t> casos[] = { // what is read, or 0 for what is refused; what is left
        {"&amp;x", '&', 1}, {"&apos;b", '\'', 1}, {"&#xe7;", 0xE7, 0}, {"&#XE7;", 0xE7, 0}, {"&#0000231;", 0xE7, 0},
        {"&", '&', 0}, {"&amp", '&', 3}, {"&muitolongo1;", '&', 12}, {"&#000000231;", '&', 11},
        {"&#256;", 0, 6}, {"&#0;", 0, 4}, {"&#x100;", 0, 7}, {"&#-5;", 0, 5}, {"&#+5;", 0, 5}, {"&#;", 0, 3},
        {"&#x;", 0, 4}, {"&nbsp;", 0, 6}, {"&AMP;", 0, 5}, {"& b;", 0, 4}, {"&a<b;", 0, 5}, {"&;", 0, 2}};
    // clang-format on
    for (const auto &[texto, esperado, sobra] : casos) {
        const auto entrada = streamDe(texto);
        int lido = 0;
        EXPECT_EQ(excecao([&] { lido = YStream_getHtmlChar(entrada); }).empty(), esperado != 0) << texto;
        EXPECT_TRUE(lido == esperado && YStream_disponiveis(entrada) == sobra) << texto;
    }
}

} // namespace
