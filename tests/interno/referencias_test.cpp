// Values that stand in the Body beside the method's element.
#include "apoio/teste.hpp"

#include <3pramo/soap/referencias.hpp>

namespace {

// What of the method's element `m`, or of the Body without one, is written once references are resolved and
// maps corrected; or what was raised.
std::string resolvido(const std::string &corpo) {
    const auto parser = cria<YSoapParser>(YSoapParser_rtti);
    YSoapParser_setLimiteDeNiveis(parser, 7);
    YSoapParser_setLimiteDeNos(parser, 120);
    YSoapParser_setLimiteDeBytes(parser, 600);
    std::string escrito;
    const std::string raise = excecao([&] {
        YNo *lido = nullptr;
        YSoapParser_leNo(parser, &lido, streamDe("<e><Body>" + corpo + "</Body></e>").get());
        const Ponteiro<YNo> raiz(lido);
        YNo *noDoCorpo = YNo_getFilhoUnico(lido, "Body");
        YNo *elemento = YNo_getFilho(noDoCorpo, "m", 0);
        elemento = elemento != nullptr ? elemento : noDoCorpo;
        pramo::soap::resolveReferencias(*noDoCorpo, *elemento, pramo::sobraDaLeitura(*parser));
        YNo_corrigeMaps(elemento);
        escrito = grava(elemento);
    });
    return raise.empty() ? escrito : raise;
}

TEST(Referencias, saoResolvidasDentroDosLimitesDaMensagem) {
    const std::string MAL_FORMADA = "YExcSoap: Mensagem SOAP mal formada.";
    const std::string CIRCULAR = "YExcSoap: id: 1. Referência circular entre elementos."_l1;
    // Each level has six of the next one: 216 of the last.
    std::string risadas = "<m><a href=#0/></m>";
    for (const std::string i : {"0", "1", "2", "3"}) {
        const std::string a = "<a href=#" + std::to_string(std::stoi(i) + 1) + "/>";
        risadas += "<r id=" + i + ">" + a + a + a + a + a + a + "</r>";
    }
    const auto dez = [](const std::string &vez) {
        return std::regex_replace("0123456789"s, std::regex("."), vez);
    };
    // clang-format off
    confere(resolvido, {
        {"<m><a href='#1'/><b x:href=#1/></m><r id='1' t=int>2</r><r id=1>3</r>", "<m><a id=\"'1'\" t=\"int\">2</a><b id=\"'1'\" t=\"int\">2</b></m>"},
        // What is read as another element may hold references, and be one.
        {"<m><a n=x href=#1/></m><r id=1><b href=#2/><c>1</c></r><r id=2 href=#3/><r id=3><d/></r>",
         "<m><a n=\"x\" id=\"1\"><b id=\"3\"><d/></b><c>1</c></a></m>"},
        {"<m href=#1/><r id=1 type=n:Map><i><key>k</key><value href=#2/></i></r><r id=2>v</r>", "<m id=\"1\"><k>v</k></m>"},
        {"<x href=#1/><r id=1>2</r>", "<Body><x id=\"1\">2</x><r id=\"1\">2</r></Body>"},
        // Attributes like any other.
        {"<m id=0><a href=#9/><a href=#0/><a href=1/><a href=#1>v</a><a href=#1><b/></a></m><r id=1/>",
         "<m id=\"0\"><a href=\"#9\"/><a href=\"#0\"/><a href=\"1\"/><a href=\"#1\">v</a><a href=\"#1\"><b/></a></m>"},
        // An object that stands twice among the parameters, and a reference from within it.
        {"<m><b href=#1/><a id=1><x>1</x></a><a href=#1/></m>", "<m><b id=\"1\"><x>1</x></b><a id=\"1\"><x>1</x></a><a id=\"1\"><x>1</x></a></m>"},
        {"<m><a id=1><x href=#1/></a></m>", CIRCULAR}, {"<m><a href=#1/></m><r id=1 href=#1/>", CIRCULAR},
        {"<m><a href=#1/></m><r id=1><b href=#2/></r><r id=2><c href=#1/></r>", CIRCULAR}, {"<r id=1><b><c href=#1/></b></r>", CIRCULAR},
        {"<m>" + dez("<a href=#1/>") + "</m><r id=1>" + dez("<b/>") + "</r>", MAL_FORMADA}, {risadas, MAL_FORMADA}, {"<m><a href=#1/><a href=#1/></m><r id=1>" + std::string(250, 'v') + "</r>", MAL_FORMADA},
        {"<m><a><b><c href=#1/></b></a></m><r id=1><d/></r>", "<m><a><b><c id=\"1\"><d/></c></b></a></m>"},
        {"<m><a><b><c href=#1/></b></a></m><r id=1><d><e/></d></r>", MAL_FORMADA},
    });
    // clang-format on
}

} // namespace
