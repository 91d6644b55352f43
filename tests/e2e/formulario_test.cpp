// A terminal conducts a sale with the example program: the bytes it sends, the elements that come back.
#include "apoio/programa.hpp"
#include "apoio/soap.hpp"

#include <gtest/gtest.h>

#include <regex>

namespace {

// clang-format off
const std::string FIM =
    "<botao nomeDaOperacao=\"cancelamento\" titulo=\"Cancelar\" estilo=\"BotaoAbertura\"/>"
    "<botao nomeDaOperacao=\"consulta\" titulo=\"Consultar pre&#231;o\" estilo=\"BotaoAbertura\"/><estilo>DialogoPadrao</estilo>";
const std::string ITEM =
    "<campo nome=\"valor\" estilo=\"CampoSenha\" tipo=\"bin\" somenteLeitura=\"false\" requerValidacao=\"false\" titulo=\"Valor\">"
    "<valor>0000 </valor><periferico>TECLADO</periferico></campo><focado>valor</focado>"
    "<campo nome=\"quantidade\" estilo=\"CampoSenha\" tipo=\"qtde3\" somenteLeitura=\"false\" requerValidacao=\"false\" titulo=\"Quantidade\">"
    "<valor>0.000</valor><periferico>TECLADO</periferico></campo>"
    "<campo nome=\"data\" estilo=\"CampoSenha\" tipo=\"data\" somenteLeitura=\"false\" requerValidacao=\"false\" titulo=\"Data\">"
    "<valor>1980-01-00</valor><periferico>TECLADO</periferico></campo>"
    "<campo nome=\"hora\" estilo=\"CampoSenha\" tipo=\"hora\" somenteLeitura=\"false\" requerValidacao=\"false\" titulo=\"Hora\">"
    "<valor>00:00</valor><periferico>TECLADO</periferico></campo>"
    "<campo nome=\"identificacao\" estilo=\"CampoSenha\" tipo=\"id\" somenteLeitura=\"false\" requerValidacao=\"false\" titulo=\"Identifica&#231;&#227;o\">"
    "<descricao>Matr&#237;cula de quem vende</descricao><valor>0000 </valor><periferico>TECLADO</periferico></campo>" + FIM;
const std::string PAGAMENTO =
    "<campo nome=\"parcelas\" estilo=\"CampoSenha\" tipo=\"escolhaMultipla\" somenteLeitura=\"false\" requerValidacao=\"false\" titulo=\"Parcelas\">"
    "<valor></valor><periferico>TECLADO</periferico><opcao><chave>1</chave><texto>&#224; vista</texto></opcao>"
    "<opcao><chave>3</chave><texto>3 vezes</texto></opcao></campo><focado>parcelas</focado>"
    "<campo nome=\"senha\" estilo=\"CampoSenha\" tipo=\"senha\" somenteLeitura=\"false\" requerValidacao=\"true\">"
    "<valor>0000 </valor><periferico>TECLADO</periferico><periferico>PIN</periferico></campo>"
    "<campo nome=\"autorizacao\" estilo=\"CampoSenha\" tipo=\"autorizacao\" somenteLeitura=\"false\" requerValidacao=\"false\" titulo=\"Autoriza&#231;&#227;o\">"
    "<valor></valor><periferico>TECLADO</periferico></campo>" + FIM;
const std::string TOTAL =
    "<campo nome=\"total\" estilo=\"CampoSenha\" tipo=\"bin\" somenteLeitura=\"true\" requerValidacao=\"false\" titulo=\"Total\">"
    "<valor>1875 </valor><periferico>TECLADO</periferico></campo><focado>total</focado>" + FIM;

std::string resposta(const std::string &hora) {
    return "<campo nome=\"quantidade\" periferico=\"TECLADO\">1.500</campo><campo nome=\"valor\">12.50</campo>"
           "<campo nome=\"data\">2024-03-05</campo><campo nome=\"hora\">" + hora + "</campo><campo nome=\"identificacao\">123456789</campo>";
}

// What the terminal fills in, and the next form; or the fault.
const std::pair<std::string, std::string> RODADAS[] = {
    {"", ITEM},
    {resposta("1430"), "YExcSoap: campo: hora. Conteudo de hora mal formado."},
    {"", ITEM}, // nothing was taken: all can be corrected
    {resposta("14:30"), PAGAMENTO},
    {"<campo nome=\"parcelas\" opcao=\"3\">3</campo><campo nome=\"senha\" periferico=\"PIN\">987654</campo>"
     "<campo nome=\"autorizacao\">AUT 42</campo>", TOTAL},
    {"<campo nome=\"valor\">1</campo>", "YExcSoap: campo: valor. O campo \"valor\" nao foi oferecido."},
    {"<campo nome=\"total\">1</campo>", "YExcSoap: campo: total. O campo \"total\" e somente para leitura."},
};
// clang-format on

TEST(Formulario, umaVendaComUmCampoRecusado) {
    apoio::Programa programa("formulario", {"--log-corpo"});
    const auto chama = [&](const std::string &metodo, const std::string &campos) {
        const auto resposta =
            apoio::chamaComCorpo(programa.porta(), "Formulario", metodo, apoio::envelope(metodo, campos));
        const std::string inicio = "<ns1:" + metodo + "Response xmlns:ns1=\"urn:Formulario\">";
        std::string tudo = apoio::conteudo(resposta);
        if (!tudo.starts_with(inicio)) {
            return apoio::resultado(resposta);
        }
        tudo = std::regex_replace(tudo.substr(inicio.size()), std::regex("ns1:"), "");
        return tudo.substr(0, tudo.rfind("</"));
    };
    const std::string eu = apoio::eu(apoio::chama(programa.porta(), "Formulario", "constroi"));
    for (const auto &[campos, esperada] : RODADAS) {
        EXPECT_EQ(chama("preenche", eu + campos), esperada);
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
