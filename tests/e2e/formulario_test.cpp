// A terminal conducts a sale with the example program: the bytes it sends, the elements that come back.
#include "apoio/programa.hpp"
#include "apoio/soap.hpp"

using namespace apoio;
namespace {

TEST(Formulario, umaVendaComUmCampoRecusado) {
    // What the terminal fills in, and the next form: its fields, with their values, and its buttons; or the
    // fault.
    const std::string inicio = "valor=0000 ;quantidade=0.000;data=1980-01-00;hora=00:00;identificacao=0000 "
                               ";=cancelamento;=consulta;";
    const std::string item =
        "<campo nome=\"quantidade\" periferico=\"TECLADO\">1.500</campo><campo nome=\"valor\">12.50"
        "</campo><campo nome=\"identificacao\">123456789</campo><campo nome=\"data\">2024-03-05</campo>";
    const std::pair<std::string, std::string> rodadas[] = {
        {"", inicio},
        {item + "<campo nome=\"hora\">1430</campo>", "YExcSoap: campo: hora. Conteudo de hora mal formado."},
        {"", inicio}, // nothing was taken: all can be corrected
        {item + "<campo nome=\"hora\">14:30</campo>",
         "parcelas=;senha=0000 ;autorizacao=;=cancelamento;=consulta;"},
        {"<campo nome=\"parcelas\" opcao=\"3\">3</campo><campo nome=\"senha\" "
         "periferico=\"PIN\">987654</campo>"
         "<campo nome=\"autorizacao\">AUT 42</campo>",
         "total=1875 ;=cancelamento;=consulta;"},
    };
    Programa programa("formulario", {"--log-corpo"});
    const std::string objeto = eu(chama(programa.porta(), "Formulario", "constroi"));
    const std::regex elemento(
        "<ns1:campo nome=\"(\\w+)\".*?<ns1:valor>(.*?)<|<ns1:botao nomeDaOperacao=\"(\\w+)\"");
    for (const auto &[campos, esperada] : rodadas) {
        const auto resposta =
            chamaComCorpo(programa.porta(), "Formulario", "preenche", envelope("preenche", objeto + campos));
        std::string formulario;
        for (std::sregex_iterator it(resposta.corpo.begin(), resposta.corpo.end(), elemento), fim; it != fim;
             ++it) {
            formulario += it->format("$1=$2$3;");
        }
        EXPECT_EQ(formulario.empty() ? resultado(resposta) : formulario, esperada);
    }
    EXPECT_EQ(chama(programa.porta(), "Formulario", "destroi", objeto), "");
    EXPECT_EQ(programa.termina(), 0) << programa.erros();
    EXPECT_NE(programa.erros().find("<campo nome=\"senha\" periferico=\"PIN\">[*]</campo>"),
              std::string::npos)
        << programa.erros();
    EXPECT_FALSE(std::regex_search(programa.erros(), std::regex("987654|AUT 42|123456789")));
}

} // namespace
