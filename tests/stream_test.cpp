// Streams: content, formatting, references.
#include <3pramo/3pramo.hpp>

#include <gtest/gtest.h>

#include <clocale>
#include <random>

using namespace pramo::literais;

namespace {

class Stream : public testing::Test {
protected:
    pramo::Ponteiro<YStream> s = pramo::cria<YStream>(YStream_rtti);
    std::string conteudo() { return {YStream_str(s.get()), static_cast<std::size_t>(YStream_tam(s.get()))}; }
};

TEST_F(Stream, vazioEFimSaoDefinidos) {
    EXPECT_STREQ(YStream_str(s.get()), "");
    EXPECT_EQ(YStream_tam(s.get()), 0);
    for (int i = 0; i < 3; i++) {
        EXPECT_EQ(YStream_get(s.get()), 0);
        EXPECT_EQ(YStream_peek(s.get()), 0);
        EXPECT_EQ(YStream_getHtmlChar(s.get()), 0);
    }
    YStream_aloca(s.get(), -5);
    YStream_putBloco(s.get(), "x", -1);
    YStream_puts(s.get(), nullptr);
    YStream_putHtmlString(s.get(), nullptr);
    EXPECT_EQ(conteudo(), "");
    YStream_put(s.get(), 0xE7);
    EXPECT_EQ(YStream_disponiveis(s.get()), 1);
    EXPECT_EQ(YStream_get(s.get()), 0xE7) << "no sign extension";
    YStream_clear(s.get());
    EXPECT_EQ(YStream_disponiveis(s.get()), 0);
}

TEST_F(Stream, aceitaOSeuProprioTexto) {
    YStream_puts(s.get(), "ab&");
    for (int i = 0; i < 12; i++) { // far beyond every growth
        const std::string antes = conteudo();
        YStream_puts(s.get(), YStream_str(s.get()));
        ASSERT_EQ(conteudo(), antes + antes);
    }
    YStream_clear(s.get());
    YStream_puts(s.get(), std::string(60, 'x').c_str());
    YStream_printf(s.get(), "%s", YStream_str(s.get()));
    YStream_putTirandoAcentos(s.get(), YStream_str(s.get()) + 115);
    YStream_putHtmlString(s.get(), YStream_str(s.get()) + 120);
    EXPECT_EQ(conteudo(), std::string(130, 'x'));
}

TEST_F(Stream, formataNaLocaleC) {
    std::setlocale(LC_ALL, "pt_BR.UTF-8") != nullptr || std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
    YStream_printf(s.get(), "%.1f %s", 1.5, std::string(2000, 'y').c_str());
    double lido = 0;
    char palavra[8];
    EXPECT_EQ(YStream_scanf(s.get(), "%lf %3s", &lido, palavra), 2);
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(conteudo(), "1.5 " + std::string(2000, 'y'));
    EXPECT_EQ(lido, 1.5);
    EXPECT_STREQ(palavra, "yyy");
    EXPECT_EQ(YStream_disponiveis(s.get()), 2004) << "scanning does not read";
}

TEST_F(Stream, referenciasQueSaem) {
    YStream_putHtmlString(s.get(), "a<b>&\"c'\r\n\xe7\x80\xff");
    EXPECT_EQ(conteudo(), "a&lt;b&gt;&amp;&quot;c'&#13;\n&#231;&#128;&#255;");
    YStream_clear(s.get());
    YStream_putTirandoAcentos(s.get(), "AÇÃO ção É ñ ü ÿ × ß"_l1);
    EXPECT_EQ(conteudo(), "ACAO cao E n u y \xd7 \xdf");
}

TEST_F(Stream, todoCaractereVaiEVolta) {
    std::string todos;
    for (int c = 1; c < 256; c++) {
        todos += static_cast<char>(c);
    }
    YStream_putHtmlString(s.get(), todos.c_str());
    std::string lidos;
    while (YStream_disponiveis(s.get()) > 0) {
        lidos += static_cast<char>(YStream_getHtmlChar(s.get()));
    }
    EXPECT_EQ(lidos, todos);
}

TEST_F(Stream, referenciasQueEntram) {
    struct Caso {
        const char *texto;
        int caractere; // -1: raises and stays in front of the &
        int restam;
    };
    for (const Caso &caso : {
             Caso{"&amp;x", '&', 1},
             {"&apos;", '\'', 0},
             {"&#65;b", 'A', 1},
             {"&#xe7;", 0xE7, 0},
             {"&#XE7;", 0xE7, 0},
             {"&#000000255;", '&', 11},
             {"&#0000255;", 255, 0},
             {"&#256;", -1, 0},
             {"&#0;", -1, 0},
             {"&#x100;", -1, 0},
             {"&#-5;", -1, 0},
             {"&#+5;", -1, 0},
             {"&#;", -1, 0},
             {"&#x;", -1, 0},
             {"&nbsp;", -1, 0},
             {"&AMP;", -1, 0},
             {"&", '&', 0},
             {"&amp", '&', 3},
             {"& b;", -1, 0},
             {"&a<b;", -1, 0},
             {"&;", -1, 0},
             {"&muitolongo1;", '&', 12},
             {"&#99999999999;", '&', 13},
         }) {
        YStream_clear(s.get());
        YStream_puts(s.get(), caso.texto);
        const int64_t tam = YStream_tam(s.get());
        if (caso.caractere < 0) {
            EXPECT_THROW(YStream_getHtmlChar(s.get()), YExcecao) << caso.texto;
            EXPECT_EQ(YStream_disponiveis(s.get()), tam) << caso.texto;
        } else {
            EXPECT_EQ(YStream_getHtmlChar(s.get()), caso.caractere) << caso.texto;
            EXPECT_EQ(YStream_disponiveis(s.get()), caso.restam) << caso.texto;
        }
    }
}

} // namespace
