// Service objects and their server in time: expiry, use by many at once, restart.
#include "apoio/soap.hpp"

namespace {

struct SoapVida : ComAlvo {};

TEST_F(SoapVida, oPrazoDerrubaEZeroConservaTambemNumRecomeco) {
    const std::string eterno = chama("constroi");
    EXPECT_EQ(chama("vence", eu(eterno) + "<quando>0</quando>"), "");
    std::string vencido;
    for (int n = 0; n < 20; n++) { // more than one a second would take in time
        vencido = chama("constroi");
        EXPECT_EQ(chama("vence", eu(vencido) + "<quando>1</quando>"), "");
    }
    EXPECT_TRUE(acontece([] { return Alvo::vivos == 1; }));
    EXPECT_EQ(chama("total", eu(vencido)), NAO_CONSTA);

    // The sweep and a restart have passed by the other one; a call gives it a deadline again.
    YObThread_stop(servidor);
    servidor.inicia();
    EXPECT_EQ(chama("total", eu(eterno)), "0");
    auto *objeto = static_cast<YWebService *>(YObStrToPtr(eterno.c_str()));
    EXPECT_NEAR(static_cast<double>(YWebService_getMomentoLimite(objeto)),
                static_cast<double>(std::time(nullptr) + 1800), 5);
}

TEST_F(SoapVida, umObjetoEmUsoTerminaASuaChamada) {
    Alvo::aberto = false;
    const std::string derrubado = chama("constroi");
    const std::string vencido = chama("constroi");
    const std::string liberado = chama("constroi");
    std::vector<Cliente> ocupados;
    for (const std::string &parametros : {eu(derrubado), eu(vencido), eu(liberado), std::string()}) {
        const std::string corpo = envelope("espera", parametros);
        ocupados.emplace_back(servidor.porta()).envia(pedidoSoap("Alvo", "espera", corpo));
    }
    ASSERT_TRUE(acontece([] { return Alvo::dentro == 4; }));

    EXPECT_EQ(chama("destroi", eu(derrubado)), "");
    auto *daAplicacao = static_cast<YWebService *>(YObStrToPtr(liberado.c_str()));
    YWebService_setSoapServer(daAplicacao, nullptr);
    YliberaObjeto(daAplicacao);
    EXPECT_EQ(chama("vence", eu(vencido) + "<quando>1</quando>"), "");
    EXPECT_TRUE(acontece([&] { return servidor.vivos() == 1; })) << "out of the live set at once";
    for (const std::string &objeto : {derrubado, vencido, liberado}) {
        EXPECT_EQ(chama("total", eu(objeto)), NAO_CONSTA);
    }
    EXPECT_EQ(Alvo::vivos, 4) << "but freed by the last call on it";
    char identidade[Y_TAMANHO_IDENTIDADE];
    YObPtrToStr(identidade, sizeof identidade, YObStrToPtr(derrubado.c_str()));
    EXPECT_EQ(identidade, derrubado) << "which still knows it by its name";

    const std::jthread fim([&] { servidor.libera(); }); // it waits for the calls
    Alvo::aberto = true;
    for (Cliente &cliente : ocupados) {
        EXPECT_EQ(resultado(cliente.recebe()), "0");
    }
}

TEST_F(SoapVida, muitosChamamUmObjetoAteQueAlguemODestrua) {
    for (int volta = 0; volta < 20; volta++) {
        const std::string objeto = eu(chama("constroi"));
        std::atomic<int> respostas{0}, soma{0};
        auto threads = emThreads(6, [&](int) {
            std::string total;
            while ((total = chama("acumula", objeto + "<valor>1</valor>")) != NAO_CONSTA) {
                soma += std::atoi(total.c_str());
                respostas++;
            }
        });
        EXPECT_TRUE(acontece([&] { return respostas >= 12; }));
        EXPECT_EQ(chama("destroi", objeto), "");
        threads.clear();
        EXPECT_EQ(soma, respostas * (respostas + 1) / 2) << "each call counted, and in the same object";
    }
}

// Set before the first start, on the web server that does not listen yet.
TEST(SoapAjustes, valemDesdeOPrimeiroComecoEDepoisDeUmRecomeco) {
    const auto servidor = cria<YSoapServer>(YSoapServer_rtti);
    YSoapServer_setPorta(servidor, 0);
    const YDefinicaoPortType alvo = definicaoDoAlvo();
    YSoapServer_registraPortType(servidor, &alvo);
    YSoapServer_setLimiteDoCabecalho(servidor, 300);
    YSoapServer_setLimiteDoCorpo(servidor, 200'000);
    YSoapServer_setLimiteDosCorpos(servidor, 100'000);
    YSoapServer_setLimiteDeConexoes(servidor, 1);
    YSoapServer_setPrazoDaRequisicao(servidor, 1);
    YSoapServer_setFechaLogo(servidor, 1);
    YSoapServer_setDiretorioBase(servidor, "/etc");
    const std::string um = pedidoSoap("Alvo", "total", envelope("total", ""));
    const Casos casos = {
        {requisicao("GET /" + std::string(300, 'x')), "HTTP/1.1 431 Request Header Fields Too Large.\n"},
        {requisicao("POST /", "", std::string(200'001, ' ')), "HTTP/1.1 413 Content Too Large.\n"},
        {requisicao("POST /", "", std::string(100'001, ' ')), "HTTP/1.1 503 Service Unavailable.\n"},
    };
    for (int vez = 0; vez < 2; vez++) {
        YObThread_start(servidor);
        const auto porta = static_cast<std::uint32_t>(YSoapServer_getPorta(servidor));
        confere([=](const std::string &pedido) { return conversa(porta, pedido); }, casos);
        EXPECT_FALSE(
            conversa(porta, requisicao("GET /", "Connection: close\r\n") + um).ends_with("Envelope>"));
        const std::string arquivo = conversa(porta, requisicao("GET /passwd"));
        EXPECT_NE(arquivo.find("root:"), arquivo.npos) << arquivo;
        Cliente ocioso(porta);
        ocioso.pede(um);
        Cliente lento(porta);
        EXPECT_TRUE(ocioso.fechou()) << "it made room for the next";
        const auto inicio = std::chrono::steady_clock::now();
        lento.envia("POST / HTTP/1.1\n");
        EXPECT_TRUE(lento.fechou());
        EXPECT_LT(std::chrono::steady_clock::now() - inicio, std::chrono::milliseconds(1700));
        YObThread_stop(servidor);
    }
}

template <auto ACAO>
void noServidor(YWebService *servico, YNo * /*requisicao*/, YNo * /*resposta*/) {
    YObThread_start(YWebService_getSoapServer(servico)); // alive already: nothing to do
    ACAO(YWebService_getSoapServer(servico));
}

TEST_F(SoapVida, umTratadorNaoMudaAVidaDoSeuServidor) {
    for (const auto acao : {noServidor<YliberaObjeto>, noServidor<YObThread_stop>}) {
        const YDefinicaoMetodo metodos[] = {{"acaba", acao}, {nullptr, nullptr}};
        servidor.registra({"Fim", metodos, YWebService_rtti, nullptr, nullptr});
        EXPECT_EQ(chama("acaba", "", "Fim"), "YExc: Objeto em uso pela propria thread.");
        EXPECT_EQ(chama("soma", "<a>2</a><b>3</b>"), "5");
    }
}

} // namespace
