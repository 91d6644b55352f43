// What happens to a request's bytes before they are parsed, and before they are logged.
#include "apoio/teste.hpp"

#include <3pramo/foundation/mascara.hpp>
#include <3pramo/soap/mascara.hpp>
#include <3pramo/soap/textoDaRequisicao.hpp>

namespace {

TEST(TextoDaRequisicao, soADeclaracaoDecideEDadosInvalidosFicam) {
    const auto preparado = [](const std::string &texto) {
        const auto stream = streamDe(texto);
        const std::string recusa = excecao([&] { pramo::soap::preparaTexto(*stream); });
        const std::string tudo = conteudo(stream);
        return recusa.empty() ? tudo.substr(tudo.size() - YStream_disponiveis(stream)) : recusa;
    };
    const std::string utf8 = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
    const std::string fora = "YExcSoap: Caractere fora de ISO-8859-1.";
    // clang-format off
    confere(preparado, {
        {"<a/>", "<a/>"}, {"<?xml sem fim", ""}, {"\xEF\xBB\xBF" + utf8 + "a\xC2\x80z", "a\x80z"},
        {"<?xml encoding = 'utf-8' ?>\xC3\xBF", "\xFF"}, {"<?xml encoding='utf-8\"?>\xC3\xBF", "\xC3\xBF"},
        {"<?xml encoding=\"UTF-16\"?>\xC3\xBF", "\xC3\xBF"},
        // under a wrong declaration: ISO-8859-1, cut, overlong, half of a pair
        {utf8 + "\xE7\xE3", "\xE7\xE3"}, {utf8 + "\xC3", "\xC3"}, {utf8 + "\xC0\x80", "\xC0\x80"},
        {utf8 + "\xE0\x83\xBF", "\xE0\x83\xBF"}, {utf8 + "\xED\xA0\x80", "\xED\xA0\x80"},
        {utf8 + "\xE2\x82\xAC", fora}, {utf8 + "\xC4\x80", fora}, {utf8 + "\xF0\x9F\x98\x80", fora},
    });
    // clang-format on
}

TEST(Mascara, escondeCartoesTrilhasPinsEIdentidadesEDeFormulariosSoDeixaAsTags) {
    // clang-format off
    confere(pramo::soap::mascaraCorpo, {
        {"<n>4111111111111111</n>", "<n>411111******1111</n>"}, {"4111111111111", "411111***1111"}, {"4111 1111 1111 1111", "[19*]"},
        {"4111-1111-1111-1111", "[19*]"}, {";4111111111111111=25121010000012300000?", ";[37*]?"}, {"B4111111111111111^NOME", "[17*]^NOME"},
        {"0A1B2C3D4E5F6071", "[16*]"}, {"<eu>db2c892777b42b3c5f79acd9156f1890</eu>", "<eu>[32*]</eu>"}, {"12345678901", "12345678901"},
        {"123456789012", "[12*]"}, {"2024-03-05T14:07:09", "2024-03-05T14:07:09"}, {"fadedfacadefadedfa", "fadedfacadefadedfa"},
        {"<a>1</a> <b><campo nome=\"s\" periferico=\"PIN\">12 34</campo></b>", "<a>[*]</a> <b><campo nome=\"s\" periferico=\"PIN\">[*]</campo></b>"},
        {"<ns1:campo tipo=\"senha\">\n<valor>1234 </valor><periferico>PIN</periferico></ns1:campo>",
         "<ns1:campo tipo=\"senha\">\n<valor>[*]</valor><periferico>[*]</periferico></ns1:campo>"},
        {"<campo opcao=\"4111111111111111\" t=\"4111-1111-1111-1111\"/>", "<campo opcao=\"411111******1111\" t=\"[19*]\"/>"},
        {"<param>&lt;campo nome=\"s\"&gt;1234&lt;/campo&gt;</param>", "<param>[*]</param>"}, {"<param>&amp;#60; campo&gt;1234</param>", "<param>[*]</param>"},
        {"< campo nome=\"a>b\">1234</campo>", "< campo nome=\"a>[*]</campo>"}, // cut in its quotes
        {"<campo nome=\"a<b\">1234</campo>", "[*]<b\">[*]</campo>"}, {"<campo nome=\"s\" 1234</campo>", "[*]</campo>"}, // never closed
        {"<campo><![CDATA[12]]></campo>< !-- 34 -->", "<campo>[*]</campo>[*]"}, {"<a>o campo 1234</a>", "<a>o campo 1234</a>"},
    });
    // clang-format on
    std::string noLugar = "4111111111111111;4111-1111-1111-1111;0A1B2C3D4E5F6071;12345678901";
    pramo::mascaraNoLugar(noLugar.data(), noLugar.size());
    EXPECT_EQ(noLugar, "411111******1111;****-****-****-****;****************;12345678901");
}

} // namespace
