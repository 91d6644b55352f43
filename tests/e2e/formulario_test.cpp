// A terminal conducts a sale with the example program: the bytes it sends, the elements that come back.
#include "apoio/cliente.hpp"
#include "apoio/programa.hpp"

#include <gtest/gtest.h>

namespace {

/// A terminal in its conversation.
class Terminal {
public:
    explicit Terminal(std::uint32_t porta) : porta_(porta) {}

    /// Begins a sale.
    void constroi() {
        const std::string resposta = chama("constroi", "");
        const std::string antes = "<return>";
        eu_ = resposta.substr(antes.size(), resposta.find("</") - antes.size());
    }

    std::string preenche(const std::string &campos) { return chama("preenche", campos); }

    /// What stands in the element of the response, without prefixes; or the text of the fault.
    std::string chama(const std::string &metodo, const std::string &campos) {
        const std::string corpo =
            "<e:Envelope xmlns:e=\"http://schemas.xmlsoap.org/soap/envelope/\"><e:Body><m:" + metodo +
            " xmlns:m=\"urn:Formulario\">" + (eu_.empty() ? "" : "<eu>" + eu_ + "</eu>") + campos +
            "</m:" + metodo + "></e:Body></e:Envelope>";
        const std::string acao = "SOAPAction: \"urn:Formulario#" + metodo + "\"\r\n";
        apoio::Cliente cliente(porta_);
        cliente.envia(apoio::requisicao("POST /soap/Formulario", acao, corpo));
        std::string resposta = cliente.recebe().corpo;
        for (std::size_t i = 0; (i = resposta.find("ns1:", i)) != std::string::npos;) {
            resposta.erase(i, 4);
        }
        const std::string falha = entre(resposta, "<faultstring>", " (");
        return falha.empty() ? entre(resposta, "<" + metodo + "Response xmlns:ns1=\"urn:Formulario\">",
                                     "</" + metodo + "Response>")
                             : falha;
    }

private:
    static std::string entre(const std::string &texto, const std::string &antes, const std::string &depois) {
        const std::size_t inicio = texto.find(antes);
        const std::size_t fim = texto.find(depois, inicio);
        return fim == std::string::npos ? ""
                                        : texto.substr(inicio + antes.size(), fim - inicio - antes.size());
    }

    std::uint32_t porta_;
    std::string eu_;
};

// clang-format off
const std::string FIM =
    "<botao nomeDaOperacao=\"cancelamento\" titulo=\"Cancelar\" estilo=\"BotaoAbertura\"/>"
    "<botao nomeDaOperacao=\"consulta\" titulo=\"Consultar pre&#231;o\" estilo=\"BotaoAbertura\"/>"
    "<estilo>DialogoPadrao</estilo>";

/// A field that is shown: its title, its value, what stands around that, and its two marks.
std::string campo(const std::string &nome, const std::string &tipo, const std::string &titulo, const std::string &valor,
                  const std::string &antes = "", const std::string &depois = "", bool leitura = false, bool valida = false) {
    const auto marca = [](bool sim) { return sim ? "\"true\"" : "\"false\""; };
    return "<campo nome=\"" + nome + "\" estilo=\"CampoSenha\" tipo=\"" + tipo + "\" somenteLeitura=" + marca(leitura) +
           " requerValidacao=" + marca(valida) + (titulo.empty() ? "" : " titulo=\"" + titulo + "\"") + ">" + antes +
           "<valor>" + valor + "</valor><periferico>TECLADO</periferico>" + depois + "</campo>";
}

TEST(Formulario, umaVendaEmDuasRodadasComUmCampoRecusado) {
    apoio::Programa programa("formulario", {"--log-corpo"});
    Terminal terminal(programa.porta());
    terminal.constroi();

    const std::string item = campo("valor", "bin", "Valor", "0000 ") + "<focado>valor</focado>" +
        campo("quantidade", "qtde3", "Quantidade", "0.000") + campo("data", "data", "Data", "1980-01-00") +
        campo("hora", "hora", "Hora", "00:00") +
        campo("identificacao", "id", "Identifica&#231;&#227;o", "0000 ", "<descricao>Matr&#237;cula de quem vende</descricao>") + FIM;
    const auto respostas = [](const std::string &hora) {
        return "<campo nome=\"quantidade\" periferico=\"TECLADO\">1.500</campo><campo nome=\"valor\">12.50</campo>"
               "<campo nome=\"data\">2024-03-05</campo><campo nome=\"hora\">" + hora + "</campo>"
               "<campo nome=\"identificacao\">123456789</campo>";
    };
    EXPECT_EQ(terminal.preenche(""), item);
    EXPECT_EQ(terminal.preenche(respostas("1430")), "YExcSoap: campo: hora. Conteudo de hora mal formado.");
    EXPECT_EQ(terminal.preenche(""), item) << "nothing was taken: all can be corrected";
    EXPECT_EQ(terminal.preenche(respostas("14:30")),
              campo("parcelas", "escolhaMultipla", "Parcelas", "", "",
                    "<opcao><chave>1</chave><texto>&#224; vista</texto></opcao><opcao><chave>3</chave><texto>3 vezes</texto></opcao>") +
              "<focado>parcelas</focado>" + campo("senha", "senha", "", "0000 ", "", "<periferico>PIN</periferico>", false, true) +
              campo("autorizacao", "autorizacao", "Autoriza&#231;&#227;o", "") + FIM);
    EXPECT_EQ(terminal.preenche("<campo nome=\"parcelas\" opcao=\"3\">3</campo><campo nome=\"senha\" periferico=\"PIN\">987654</campo>"
                                "<campo nome=\"autorizacao\">AUT 42</campo>"),
              campo("total", "bin", "Total", "1875 ", "", "", true) + "<focado>total</focado>" + FIM);
    EXPECT_EQ(terminal.preenche("<campo nome=\"valor\">1</campo>"), "YExcSoap: campo: valor. O campo \"valor\" nao foi oferecido.");
    EXPECT_EQ(terminal.preenche("<campo nome=\"total\">1</campo>"), "YExcSoap: campo: total. O campo \"total\" e somente para leitura.");
    EXPECT_EQ(terminal.chama("destroi", ""), "");

    EXPECT_EQ(programa.termina(), 0) << programa.erros();
    const std::string diario = programa.erros();
    EXPECT_NE(diario.find("<campo nome=\"senha\" periferico=\"PIN\">[*]</campo>"), std::string::npos) << diario;
    for (const char *segredo : {"987654", "AUT 42", "123456789"}) {
        EXPECT_EQ(diario.find(segredo), std::string::npos) << segredo;
    }
}
// clang-format on

} // namespace
