// The SOAP client: against the server of the library, and against a peer that answers whatever the test says.
#include "apoio/alvo.hpp"
#include "apoio/soap.hpp"

using namespace apoio;

namespace {

const std::string ONDE = inet_ntoa(enderecoProprio());

struct ClienteSoap : testing::Test {
    Ponteiro<YSoapClient> cliente = cria<YSoapClient>(YSoapClient_rtti);

    ClienteSoap() { YSoapClient_setPrazo(cliente, 10'000); }

    /// What stands in the answer's "return"; or "CLASS: message", without the address.
    std::string chama(const char *metodo = "soma", const std::string &parametros = "<a>2</a><b>3</b>") {
        std::string retorno;
        const std::string recusa = excecao([&] {
            const auto pedido = le("<pedido>" + parametros + "</pedido>");
            const auto resposta = pramo::chama(cliente, "Alvo", metodo, pedido);
            retorno = YNo_getString(resposta, "return");
        });
        return recusa.empty() ? retorno : std::regex_replace(recusa, std::regex(ONDE + ":\\d+\\. "), "");
    }
};

/// A peer that answers each request with the same bytes, and then closes the connection or does not.
class Par : public ServidorTcp {
public:
    Par() : ServidorDe(YTcpServer_rtti) {
        YTcpServer_setTratador(*this, this, serve);
        inicia();
    }
    ~Par() { libera(); }

    void responde(const std::string &bytes, bool fecha = true) {
        // The last connection has ended: the client does not find it open any more.
        EXPECT_TRUE(acontece([&] { return YTcpServer_getConexoes(*this) == 0; }));
        const std::lock_guard trava(mutex_);
        bytes_ = bytes;
        fecha_ = fecha;
    }
    std::atomic<int> conexoes{0};

private:
    static void serve(void *par, YTcpServer * /*servidor*/, YSocket *conexao) {
        static_cast<Par *>(par)->conexoes++;
        while (static_cast<Par *>(par)->respondeUm(conexao)) {
        }
    }

    /// True when another request may follow.
    bool respondeUm(YSocket *conexao) {
        const auto pedido = cria<YMensagemHttp>(YMensagemHttp_rtti);
        YMensagemHttp_setSocket(pedido, conexao);
        if (YMensagemHttp_obtemDoSocket(pedido, std::time(nullptr) + 10) == 0) {
            return false;
        }
        const std::lock_guard trava(mutex_);
        return YSocket_enviaMs(conexao, streamDe(bytes_).get(), 10'000) == Y_ESPERA_PRONTA && !fecha_;
    }

    std::mutex mutex_;
    std::string bytes_;
    bool fecha_ = true;
};

struct ClienteEPar : ClienteSoap {
    Par par;
    void SetUp() override { YSoapClient_setEndereco(cliente, ONDE.c_str(), par.porta()); }
};

std::string http(const std::string &corpo, const std::string &campos = "",
                 const std::string &linha = "200 OK") {
    return "HTTP/1.1 " + linha + "\r\n" + campos + "Content-Length: " + std::to_string(corpo.size()) +
           "\r\n\r\n" + corpo;
}

std::string pedacos(const std::string &resto) {
    return "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + resto;
}

const std::string CINCO =
    "<E:Envelope><E:Body><x:somaResponse><return>5</return></x:somaResponse></E:Body></E:Envelope>";

TEST_F(ClienteEPar, cadaCorteEUmaFalhaENadaSeRepete) {
    const std::string inteira = http(CINCO);
    for (std::size_t n = 0; n <= inteira.size(); n++) {
        par.responde(inteira.substr(0, n));
        const bool semLinha = n <= inteira.find('\n');
        EXPECT_EQ(chama(), n == inteira.size() ? "5"
                           : semLinha          ? "YExcIOError: A conexão acabou antes da resposta."_l1
                                               : "YExcIOError: Resposta incompleta.")
            << n;
        EXPECT_EQ(par.conexoes, static_cast<int>(n) + 1);
        EXPECT_EQ(YSoapClient_foiEnviada(cliente), 1);
    }
}

TEST_F(ClienteEPar, oQueUmServidorResponde) {
    YSoapClient_setLimiteDaResposta(cliente, 4096);
    const std::string grande = "YExcIOError: Resposta grande demais.";
    const std::string malFormada = "YExcIOError: Resposta HTTP mal formada.";
    const std::string semXml = "YExcSoap: Resposta não é XML."_l1;
    const auto corpo = [](const std::string &dentro) {
        return "<Envelope><Body>" + dentro + "</Body></Envelope>";
    };
    const std::string utf8 = corpo("<r><return>\xC3\xA7</return></r>");
    const std::string falha =
        corpo("<Fault><faultcode>S</faultcode><faultstring>Boom: x</faultstring></Fault>");
    const std::string fim = "HTTP/1.1 200 OK\r\n\r\n";
    // clang-format off
    const std::pair<std::string, std::string> casos[] = {
        {"5", http(CINCO, "", "200")}, {"5", http(CINCO) + "sobra"}, {"5", "HTTP/1.0 200 OK\n\n" + CINCO + "\r\n"},
        {"5", "HTTP/1.1 100 Continue\r\n\r\n" + http(CINCO)}, {malFormada, http("", "", "100 x") + http("", "", "1000")},
        {"5", pedacos("5;x=y\r\n<E:En\r\n058\r\n" + CINCO.substr(5) + "\r\n00\r\nCampo: x\r\n\r\n")},
        {"YExcIOError: Resposta incompleta.", pedacos("5\r\n<E:E")}, {"YExcIOError: Resposta incompleta.", pedacos("5\r\n<E:En\r\n0\r\n")},
        {malFormada, pedacos("5\r\n<E:Env\r\n")}, {malFormada, pedacos("x\r\n")}, {malFormada, pedacos("-1\r\n")}, {malFormada, pedacos("\r\n")},
        {grande, pedacos("1001\r\n")}, {grande, pedacos("10000000000000000\r\n")}, {malFormada, pedacos(std::string(300, '0'))},
        {grande, http(std::string(4097, ' '))}, {grande, fim + std::string(4097, ' ')}, {grande, "HTTP/1.1 200 OK\r\nA: " + std::string(70000, 'x')},
        {malFormada, http(CINCO, "Content-Length: 1\r\n")}, {malFormada, http(CINCO, "Transfer-Encoding: chunked\r\n")},
        {malFormada, "HTTP/1.1 200 OK\r\nContent-Length: 5x\r\n\r\n<a/>"}, {malFormada, "HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip\r\n\r\n"},
        {malFormada, "HTTP/2 200 OK\r\n\r\n"}, {malFormada, "HTTP/1.1 2x0 OK\r\n\r\n"}, {malFormada, "lixo\r\n\r\n"},
        {"YExcIOError: HTTP 404. Resposta sem envelope SOAP.", http("<html>", "", "404 Not Found")},
        {"YExcIOError: HTTP 413. Resposta sem envelope SOAP.", "HTTP/1.1 413 Content Too Large.\n"},
        {"YExcIOError: HTTP 500. Resposta sem envelope SOAP.", http(CINCO, "", "500 x")}, {"YExcIOError: HTTP 200. Resposta sem envelope SOAP.", http("<html/>")},
        {"YExcIOError: HTTP 204. Resposta sem envelope SOAP.", http("", "", "204 x")},
        {semXml, http("lixo")}, {semXml, http("")}, {semXml, fim + CINCO.substr(0, 60)}, {semXml, http(corpo(std::string(1200, '<')))},
        {"YExcSoap: Resposta sem elemento.", http(corpo(""))}, {"YExcFalhaRemota: Boom: x", http(falha)}, {"YExcFalhaRemota: Boom: x", http(falha, "", "500 x")},
        {"YExcFalhaRemota: Falha sem texto.", http(corpo("<Fault><detail><falha><classe>Y</classe></falha></detail></Fault>"))},
        {"\xE7", http("<?xml version='1.0' encoding='utf-8'?>" + utf8)}, {"\xE7", http(utf8, "Content-Type: text/xml; Charset=\"UTF-8\"\r\n")},
        {"\xC3\xA7", http(utf8)}, {"7", http(corpo("<m id=\"1\">7</m><somaResponse><return href=\"#1\"/></somaResponse>"))},
        {"YExcSoap: Caractere fora de ISO-8859-1.", http("<?xml encoding=\"utf-8\"?>" + corpo("<r><return>\xE2\x82\xAC</return></r>"))},
        {"YExcFalhaRemota: a ? \xE7", http("<?xml encoding=\"utf-8\"?>" + corpo("<Fault><faultstring>a \xE2\x82\xAC \xC3\xA7</faultstring></Fault>"))},
        {"YExcIOError: HTTP 502. Resposta sem envelope SOAP.", http("<p>\xE2\x82\xAC", "Content-Type: text/html; charset=utf-8\r\n", "502 x")},
    };
    // clang-format on
    for (const auto &[resultado, bytes] : casos) {
        par.responde(bytes);
        EXPECT_EQ(chama(), resultado) << bytes.substr(0, 300);
    }
}

TEST_F(ClienteEPar, usaAConexaoOutraVezSoQuandoEDele) {
    // clang-format off
    const std::tuple<std::string, bool, int> casos[] = { // of three calls, how many connections
        {http(CINCO), false, 1}, {pedacos("5d\r\n" + CINCO + "\r\n0\r\n\r\n"), false, 1},
        {"HTTP/1.0 200 OK\nConnection: Keep-Alive\nContent-Length: 93\n\n" + CINCO, false, 1}, {"HTTP/1.0 200 OK\nContent-Length: 93\n\n" + CINCO, false, 3},
        {http(CINCO, "Connection: keep-alive, close\r\n"), false, 3}, {http(CINCO) + "sobra", false, 3}, // nobody's answer
        {http(CINCO), true, 3}, // ended by the peer between two calls
    };
    // clang-format on
    for (const auto &[bytes, fecha, esperadas] : casos) {
        YSoapClient_setEndereco(cliente, ONDE.c_str(), par.porta()); // lets go of the last one
        par.responde(bytes, fecha);
        const int antes = par.conexoes;
        for (int vez = 0; vez < 3; vez++) {
            EXPECT_EQ(chama(), "5") << bytes;
            EXPECT_TRUE(!fecha || acontece([&] { return YTcpServer_getConexoes(par) == 0; }));
        }
        EXPECT_EQ(par.conexoes - antes, esperadas) << bytes;
    }
}

TEST_F(ClienteEPar, oPrazoEARecusaEOQueNaoSai) {
    par.responde("HTTP/1.1 200 OK\r\n", false);
    YSoapClient_setPrazo(cliente, 50);
    EXPECT_EQ(chama(), "YExcIOError: Prazo da chamada esgotado.");
    EXPECT_EQ(YSoapClient_foiEnviada(cliente), 1);
    std::string gotas; // so many that there is always one to read
    for (int n = 0; n < 1'000'000; n++) {
        gotas += "1\r\n \r\n";
    }
    par.responde(pedacos(gotas));
    EXPECT_EQ(chama(), "YExcIOError: Prazo da chamada esgotado.");
    YSoapClient_setPrazo(cliente, 10'000);
    EXPECT_EQ(chama("so ma"), "YExc: Nome inválido."_l1);
    EXPECT_EQ(chama("soma", "<a><b\"/></a>"), "YExc: Nome inválido."_l1);
    EXPECT_EQ(chama("soma", "<a b&c=\"1\"/>"), "YExc: Nome inválido."_l1);
    EXPECT_EQ(excecao([&] { YSoapClient_setEndereco(cliente, "a\r\nX: y", 80); }),
              "YExc: Endereço inválido."_l1);
    EXPECT_EQ(excecao([&] { YSoapClient_setCaminho(cliente, "/a b"); }), "YExc: Caminho inválido."_l1);
    auto livre = cria<YSocket>(YSocket_rtti);
    YSocket_escutaEm(livre, ONDE.c_str(), 0);
    YSoapClient_setEndereco(cliente, ONDE.c_str(), YSocket_getPorta(livre));
    livre.reset();
    EXPECT_EQ(chama(), "YExcIOError: Falha na conexão."_l1);
    EXPECT_EQ(YSoapClient_foiEnviada(cliente), 0);
}

// ---- The server of the library ----

/// Loads a form with one field, strictly.
void preenche(YWebService * /*servico*/, YNo *requisicao, YNo * /*resposta*/) {
    char bytes[4] = {};
    const auto operacao = cria<Pramo_Operacao>(Pramo_Operacao_rtti);
    Pramo_Operacao_setCargaEstrita(operacao, 1);
    Pramo_Variavel_marcaUsada(
        Pramo_Operacao_criaVariavel(operacao, "valor", Pramo_Tipo_getTipoId(), bytes, sizeof bytes));
    Pramo_Operacao_carregaDaRequisicao(operacao, requisicao);
}

TEST_F(ClienteSoap, falaComOServidorETemAsPartesDeUmaFalha) {
    const YDefinicaoMetodo metodos[] = {{"preenche", preenche}, {nullptr, nullptr}};
    YDefinicaoPortType alvo = definicaoDoAlvo();
    ServidorSoap servidor({alvo, {"Forma", metodos, YWebService_rtti, nullptr, nullptr}});
    YSoapClient_setEndereco(cliente, ONDE.c_str(), servidor.porta());
    EXPECT_EQ(chama(), "5");
    EXPECT_EQ(chama("eco", "<texto>a\xE7\xE3o &lt;&amp;</texto>"), "a\xE7\xE3o <&");
    const std::string eu = "<eu>" + pramo::constroi(cliente, "Alvo") + "</eu>";
    EXPECT_EQ(chama("acumula", eu + "<valor>2</valor>"), "2");
    EXPECT_EQ(chama("acumula", eu + "<valor>3</valor>"), "5");

    const auto partes = [&](const char *portType, const char *metodo) {
        std::string todas;
        try {
            pramo::chama(cliente, portType, metodo, le("<p><campo nome=valor>x</campo></p>").get());
        } catch (const YExcecao &e) {
            EXPECT_TRUE(e.ehDaClasse(YExcFalhaRemota_rtti) && e.atributo("lugarRemoto") != nullptr);
            EXPECT_STREQ(e.atributo("faultcode"), "SOAP-ENV:Client");
            todas = e.what();
            for (const char *nome : {"classeRemota", "detalheRemoto", "mensagemRemota", "campo", "nome"}) {
                todas += "|" + std::string(e.atributo(nome) != nullptr ? e.atributo(nome) : "");
            }
        }
        return todas;
    };
    // clang-format off
    const std::tuple<const char *, const char *, std::string, std::string, std::string, std::string> casos[] = {
        {"Alvo", "soma", "YExcSoap", "Tag procurada: a. ", "Faltou tag.", "a|"},
        {"Forma", "preenche", "YExcSoap", "campo: valor. ", "Caractere inválido em número."_l1, "valor|"},
        {"Alvo", "xis", "YExcSoap", "nome: xis. ", "Método desconhecido."_l1, "|xis"},
        {"Alvo", "falha", "YExcSoap", "", "Ação <não> permitida & só isso: ?§."_l1, "|"},
        {"Alvo", "padrao", "YExc", "", "Erro interno.", "|"},
    };
    // clang-format on
    for (const auto &[portType, metodo, classe, detalhe, mensagem, campoENome] : casos) {
        const std::string plana =
            escrito((detalhe + mensagem).c_str(),
                    [](const char *texto, YStream *saida) { YStream_putTirandoAcentos(saida, texto); });
        YSoapServer_setDetalheDaFalha(servidor, 0);
        EXPECT_EQ(partes(portType, metodo), plana + "|" + classe + "||" + plana + "||");
        YSoapServer_setDetalheDaFalha(servidor, 1);
        EXPECT_EQ(partes(portType, metodo),
                  detalhe + mensagem + "|" + classe + "|" + detalhe + "|" + mensagem + "|" + campoENome);
    }
}

} // namespace
