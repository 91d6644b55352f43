// A whole conversation over TCP while the system refuses something: the n-th allocation of the server, for
// every n, or its n-th thread. It never ends the process, and the next client is served.
#include "faltas.hpp"

#include "apoio/soap.hpp"

using namespace apoio;
namespace {

void preenche(YWebService * /*servico*/, YNo *requisicao, YNo *resposta) {
    const auto f = cria<Pramo_Operacao>(Pramo_Operacao_rtti);
    Pramo_Operacao_habilitaPeriferico(f, Pramo_Periferico_getPIN());
    Pramo_Operacao_criaBotao(f, "botao", "Botao");
    Pramo_Operacao_guardaMensagem(f, "mensagem");
    Pramo_Operacao_setRespostaDoPopup(f, "chave", "resposta");
    Pramo_Variavel *valor = Pramo_Operacao_criaVariavel(f, "valor", Pramo_Tipo_getTipoQTDE3(), nullptr, 8);
    Pramo_Variavel_setTitulo(valor, "Titulo");
    Pramo_Variavel_acrescentaOpcao(valor, "chave", "texto");
    Pramo_Operacao_carregaDaRequisicao(f, requisicao);
    Pramo_Variavel_marcaUsada(valor);
    Pramo_Operacao_descarregaNaResposta(f, resposta);
    Pramo_Operacao_clear(f);
    Pramo_Operacao_sinalizaCondicao(f);
}

struct Conversa : testing::Test {
    static constexpr YDefinicaoMetodo METODOS[] = {{"preenche", preenche}, {nullptr, nullptr}};
    ServidorSoap servidor{{{"Caixa", METODOS, YWebService_rtti, nullptr, nullptr}, definicaoDoAlvo()}};

    std::string chama(const std::string &metodo, const std::string &parametros = "") {
        return apoio::chama(servidor.porta(), metodo == "preenche" ? "Caixa" : "Alvo", metodo, parametros);
    }
    std::string soma() { return chama("soma", "<a>2</a><b>3</b>"); }
    [[nodiscard]] YWebServer *web() const { return static_cast<YSoapServer *>(servidor)->webServer; }
    void recomeca(const std::string &quem) {
        servidor.inicia();
        EXPECT_EQ(soma(), "5") << quem;
        YObThread_stop(servidor);
    }
};

/// Runs the action with the n-th allocation of the threads that are not spared failing, alone and with five
/// that follow it, for every n until there is none, and `depois` behind each.
template <typename ACAO, typename DEPOIS>
void emCadaAlocacao(ACAO acao, DEPOIS depois) {
    YObLOG_habilita(0);
    for (const int seguidas : {1, 6}) {
        alocacoes.seguidas = seguidas;
        int n = 0;
        for (bool passou = false; !passou; n += seguidas) {
            ASSERT_LT(n, 3000);
            alocacoes.ainda = n;
            acao();
            passou = alocacoes.ainda.exchange(NUNCA) >= 0;
            depois("allocation " + std::to_string(n));
        }
        EXPECT_GT(n, 4) << "the library allocates on its way";
    }
    YObLOG_habilita(Y_LOG_ERRO);
}

TEST_F(Conversa, semMemoriaNoComecoENoFim) {
    YObThread_stop(servidor);
    const auto comecaEPara = [&] {
        try {
            const auto novo = cria<YSoapServer>(YSoapServer_rtti);
            YSoapServer_setPorta(novo, 0);
            YObThread_start(novo);
            YObThread_start(servidor);
        } catch (const YExcecao &) {
            EXPECT_EQ(YObThread_isAlive(servidor), 0);
        }
        YObThread_stop(servidor);
    };
    emCadaAlocacao(comecaEPara, [&](const std::string &quem) { recomeca(quem); });
}

TEST_F(Conversa, semMemoriaNasChamadas) {
    poupada = true; // the client
    const auto conversa = [&] {
        try {
            chama("nada");
            chama("acumula", eu(chama("constroi")) + "<valor>1</valor>");
            chama("preenche", "<campo nome=\"valor\" opcao=\"chave\">1.234</campo>");
        } catch (const std::system_error &) { // what fails on the server's side
        }
    };
    emCadaAlocacao(conversa, [&](const std::string &quem) { EXPECT_EQ(soma(), "5") << quem; });
    poupada = false;
}

TEST_F(Conversa, semThreadOComecoSeDesfaz) {
    YObThread_stop(servidor);
    for (int n = 0; n < 2; n++) {
        threads.ainda = n;
        EXPECT_EQ(excecao([&] { YObThread_start(servidor); }),
                  "YExc: N\xE3o foi poss\xEDvel criar a thread.");
        threads.ainda = NUNCA;
        EXPECT_EQ(YObThread_isAlive(servidor) + YObThread_isAlive(web()), 0) << "nothing serves";
        recomeca("thread " + std::to_string(n));
    }
}

TEST_F(Conversa, semThreadAConexaoAcaba) {
    const Diario diario;
    threads.ainda = 0;
    std::vector<Cliente> clientes; // as many as threads wait for work, and one
    EXPECT_TRUE(acontece([&] {
        clientes.emplace_back(servidor.porta());
        return threads.ainda == NUNCA;
    }));
    clientes.clear();
    EXPECT_TRUE(acontece([&] { return YWebServer_getConexoes(web()) == 0; }));
    EXPECT_EQ(soma(), "5");
}

} // namespace
