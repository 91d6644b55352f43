// A terminal conducts a sale with the example program: the bytes it sends, the elements that come back.
#include "apoio/programa.hpp"
#include "apoio/soap.hpp"

#include <gtest/gtest.h>

#include <regex>

namespace {

const std::string ITEM =
    "valor=0000 ;quantidade=0.000;data=1980-01-00;hora=00:00;identificacao=0000 ;cancelamento;consulta;";

std::string item(const std::string &hora) {
    return "<campo nome=\"quantidade\" periferico=\"TECLADO\">1.500</campo><campo "
           "nome=\"valor\">12.50</campo>"
           "<campo nome=\"data\">2024-03-05</campo><campo nome=\"hora\">" +
           hora + "</campo><campo nome=\"identificacao\">123456789</campo>";
}

// What the terminal fills in, and the next form: its fields, with their values, and its buttons; or the
// fault.
const std::pair<std::string, std::string> RODADAS[] = {
    {"", ITEM},
    {item("1430"), "YExcSoap: campo: hora. Conteudo de hora mal formado."},
    {"", ITEM}, // nothing was taken: all can be corrected
    {item("14:30"), "parcelas=;senha=0000 ;autorizacao=;cancelamento;consulta;"},
    {"<campo nome=\"parcelas\" opcao=\"3\">3</campo><campo nome=\"senha\" periferico=\"PIN\">987654</campo>"
     "<campo nome=\"autorizacao\">AUT 42</campo>",
     "total=1875 ;cancelamento;consulta;"},
    {"<campo nome=\"valor\">1</campo>", "YExcSoap: campo: valor. O campo \"valor\" nao foi oferecido."},
    {"<campo nome=\"total\">1</campo>", "YExcSoap: campo: total. O campo \"total\" e somente para leitura."},
};

TEST(Formulario, umaVendaComUmCampoRecusado) {
    apoio::Programa programa("formulario", {"--log-corpo"});
    const auto preenche = [&](const std::string &campos) {
        const auto resposta = apoio::chamaComCorpo(programa.porta(), "Formulario", "preenche",
                                                   apoio::envelope("preenche", campos));
        const std::regex elemento(
            "<ns1:campo nome=\"(\\w+)\".*?<ns1:valor>(.*?)<|<ns1:botao nomeDaOperacao=\"(\\w+)\"");
        std::string formulario;
        for (auto it = std::sregex_iterator(resposta.corpo.begin(), resposta.corpo.end(), elemento);
             it != std::sregex_iterator(); ++it) {
            formulario += it->str(1) + (it->str(1).empty() ? "" : "=") + it->str(2) + it->str(3) + ";";
        }
        return formulario.empty() ? apoio::resultado(resposta) : formulario;
    };
    const std::string eu = apoio::eu(apoio::chama(programa.porta(), "Formulario", "constroi"));
    for (const auto &[campos, esperada] : RODADAS) {
        EXPECT_EQ(preenche(eu + campos), esperada);
    }
    EXPECT_EQ(apoio::chama(programa.porta(), "Formulario", "destroi", eu), "");

    EXPECT_EQ(programa.termina(), 0) << programa.erros();
    const std::string diario = programa.erros();
    EXPECT_NE(diario.find("<campo nome=\"senha\" periferico=\"PIN\">[*]</campo>"), std::string::npos)
        << diario;
    for (const char *segredo : {"987654", "AUT 42", "123456789"}) {
        EXPECT_EQ(diario.find(segredo), std::string::npos) << segredo;
    }
}

} // namespace
