// Streams: content, formatting, references.
#include "apoio/arvore.hpp"

#include <gtest/gtest.h>

#include <clocale>

using namespace pramo::literais;

namespace {

class Stream : public testing::Test {
protected:
    pramo::Ponteiro<YStream> dono = pramo::cria<YStream>(YStream_rtti);
    YStream *s = dono.get();

    std::string conteudo() { return apoio::conteudo(s); }
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
    ASSERT_EQ(conteudo(), std::string(4096, 'x'));
    YStream_printf(s, "%s", YStream_str(s));
    YStream_putTirandoAcentos(s, YStream_str(s));
    YStream_putHtmlString(s, YStream_str(s));
    EXPECT_EQ(conteudo(), std::string(32768, 'x'));
}

TEST_F(Stream, formataNaLocaleC) {
    std::setlocale(LC_ALL, "pt_BR.UTF-8") != nullptr || std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
    YStream_printf(s, "%.1f %s", 1.5, std::string(2000, 'y').c_str());
    double lido = 0;
    char palavra[8];
    EXPECT_EQ(YStream_scanf(s, "%lf %3s", &lido, palavra), 2);
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(conteudo(), "1.5 " + std::string(2000, 'y'));
    EXPECT_EQ(lido, 1.5);
    EXPECT_STREQ(palavra, "yyy");
    EXPECT_EQ(YStream_disponiveis(s), 2004) << "scanning does not read";
}

TEST_F(Stream, referenciasQueSaem) {
    YStream_putHtmlString(s, "a<b>&\"c'\r\n\xe7\x80\xff");
    YStream_putTirandoAcentos(s, "AÇÃO ção É ñ ü ÿ × ß"_l1);
    EXPECT_EQ(conteudo(), "a&lt;b&gt;&amp;&quot;c'&#13;\n&#231;&#128;&#255;ACAO cao E n u y \xd7 \xdf");
    for (int c = 1; c < 256; c++) {
        YStream_clear(s);
        YStream_putHtmlString(s, std::string(1, static_cast<char>(c)).c_str());
        EXPECT_TRUE(YStream_getHtmlChar(s) == c && YStream_disponiveis(s) == 0) << c;
    }
}

TEST_F(Stream, referenciasQueEntram) {
    const struct {
        const char *texto;
        int lido;
        int64_t sobra;
    } casos[] = {{"&amp;x", '&', 1},  {"&apos;b", '\'', 1},       {"&#xe7;", 0xE7, 0},
                 {"&#XE7;", 0xE7, 0}, {"&#0000231;", 0xE7, 0},    {"&", '&', 0},
                 {"&amp", '&', 3},    {"&muitolongo1;", '&', 12}, {"&#000000231;", '&', 11}};
    for (const auto &[texto, lido, sobra] : casos) {
        const auto entrada = apoio::streamDe(texto);
        EXPECT_EQ(YStream_getHtmlChar(entrada), lido) << texto;
        EXPECT_EQ(YStream_disponiveis(entrada), sobra) << texto;
    }
    for (const std::string texto : {"&#256;", "&#0;", "&#x100;", "&#-5;", "&#+5;", "&#;", "&#x;", "&nbsp;",
                                    "&AMP;", "& b;", "&a<b;", "&;"}) {
        const auto entrada = apoio::streamDe(texto);
        EXPECT_NE(apoio::excecao([&] { YStream_getHtmlChar(entrada); }), "") << texto;
        EXPECT_EQ(YStream_disponiveis(entrada), std::ssize(texto)) << "it stays in front of " << texto;
    }
}

} // namespace
