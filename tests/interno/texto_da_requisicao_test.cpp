// What happens to a request's bytes before they are parsed, and before they are logged.
#include <3pramo/3pramo.hpp>
#include <3pramo/foundation/mascara.hpp>
#include <3pramo/soap/mascara.hpp>
#include <3pramo/soap/textoDaRequisicao.hpp>

#include <gtest/gtest.h>

namespace {

using Par = std::pair<std::string, std::string>;

std::string preparado(const std::string &texto) {
    const auto stream = pramo::cria<YStream>(YStream_rtti);
    YStream_putBloco(stream, texto.data(), static_cast<int64_t>(texto.size()));
    pramo::soap::preparaTexto(*stream);
    const std::string tudo = YStream_str(stream);
    return tudo.substr(tudo.size() - static_cast<std::size_t>(YStream_disponiveis(stream)));
}

TEST(TextoDaRequisicao, soADeclaracaoDecideEDadosInvalidosFicam) {
    const std::string utf8 = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
    for (const auto &[texto, esperado] : {
             Par{"<a/>", "<a/>"},
             {"<?xml sem fim", ""},
             {"\xEF\xBB\xBF" + utf8 + "a\xC2\x80z", "a\x80z"},
             {"<?xml encoding = 'utf-8' ?>\xC3\xBF", "\xFF"},
             {"<?xml encoding='utf-8\"?>\xC3\xBF", "\xC3\xBF"},
             {"<?xml encoding=\"UTF-16\"?>\xC3\xBF", "\xC3\xBF"},
             {utf8 + "\xE7\xE3", "\xE7\xE3"},         // ISO-8859-1 under a wrong declaration
             {utf8 + "\xC3", "\xC3"},                 // cut
             {utf8 + "\xC0\x80", "\xC0\x80"},         // overlong
             {utf8 + "\xED\xA0\x80", "\xED\xA0\x80"}, // surrogate
         }) {
        EXPECT_EQ(preparado(texto), esperado) << texto;
    }
    for (const char *fora : {"\xE2\x82\xAC", "\xC4\x80", "\xF0\x9F\x98\x80"}) {
        EXPECT_THROW(preparado(utf8 + "<a>" + fora), YExcecao) << fora;
    }
}

TEST(Mascara, escondeCartoesTrilhasPinsEIdentidades) {
    for (const auto &[texto, esperado] : {
             Par{"<n>4111111111111111</n>", "<n>411111******1111</n>"},
             {"4111111111111", "411111***1111"},
             {"4111 1111 1111 1111", "[19*]"},
             {";4111111111111111=25121010000012300000?", ";[37*]?"},
             {"B4111111111111111^NOME", "[17*]^NOME"},
             {"0A1B2C3D4E5F6071", "[16*]"},
             {"<eu>db2c892777b42b3c5f79acd9156f1890</eu>", "<eu>[32*]</eu>"},
             {"12345678901", "12345678901"},
             {"123456789012", "[12*]"},
             {"2024-03-05T14:07:09", "2024-03-05T14:07:09"},
             {"fadedfacadefadedfa", "fadedfacadefadedfa"},
         }) {
        EXPECT_EQ(pramo::mascaraDadosDeCartao(texto), esperado);
    }
}

TEST(Mascara, deUmCorpoComFormularioSoFicamAsTags) {
    for (const auto &[texto, esperado] : {
             Par{"<a>1</a> <b><campo nome=\"s\" periferico=\"PIN\">12 34</campo></b>",
                 "<a>[*]</a> <b><campo nome=\"s\" periferico=\"PIN\">[*]</campo></b>"},
             {"<ns1:campo tipo=\"senha\">\n<valor>1234 </valor><periferico>PIN</periferico></ns1:campo>",
              "<ns1:campo tipo=\"senha\">\n<valor>[*]</valor><periferico>[*]</periferico></ns1:campo>"},
             {"<param>&lt;campo nome=\"s\"&gt;1234&lt;/campo&gt;</param>", "<param>[*]</param>"},
             {"<param>&amp;#60; campo&gt;1234</param>", "<param>[*]</param>"},
             {"< campo nome=\"a>b\">1234</campo>", "< campo nome=\"a>[*]</campo>"}, // cut in its quotes
             {"<campo nome=\"a<b\">1234</campo>", "[*]<b\">[*]</campo>"},
             {"<campo nome=\"s\" 1234</campo>", "[*]</campo>"}, // never closed
             {"<a>o campo 1234</a>", "<a>o campo 1234</a>"},
         }) {
        EXPECT_EQ(pramo::soap::mascaraCorpo(texto), esperado);
    }
}

} // namespace
