// A whole conversation over TCP while the system refuses something: the n-th allocation of the server, for
// every n, or its n-th thread. It never ends the process, and the next client is served.
#include "faltas.hpp"

#include "apoio/alvo.hpp"
#include "apoio/arvore.hpp"
#include "apoio/soap.hpp"

#include <gtest/gtest.h>

#include <cstdint>

using apoio::alocacoes;
using apoio::NUNCA;

namespace {

void preenche(YWebService * /*servico*/, YNo *requisicao, YNo *resposta) {
    const auto ficha = pramo::cria<Pramo_Operacao>(Pramo_Operacao_rtti);
    Pramo_Operacao *f = ficha.get();
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

pramo::Ponteiro<YSoapServer> novoServidor() {
    constexpr YDefinicaoMetodo metodos[] = {{"preenche", preenche}, {nullptr, nullptr}};
    const YDefinicaoPortType caixa = {"Caixa", metodos, YWebService_rtti, nullptr, nullptr};
    const YDefinicaoPortType alvo = apoio::definicaoDoAlvo();
    auto servidor = pramo::cria<YSoapServer>(YSoapServer_rtti);
    YSoapServer_setPorta(servidor, 0);
    YSoapServer_registraPortType(servidor, &caixa);
    YSoapServer_registraPortType(servidor, &alvo);
    return servidor;
}

std::string soma(YSoapServer *servidor, const std::string &eu = "") {
    return apoio::chama(static_cast<std::uint32_t>(YSoapServer_getPorta(servidor)), "Alvo", "soma",
                        eu + "<a>2</a><b>3</b>");
}

/// The client's part; what fails on the server's side it sees as no answer.
void conversa(YSoapServer *servidor) {
    const auto porta = static_cast<std::uint32_t>(YSoapServer_getPorta(servidor));
    try {
        apoio::chama(porta, "Alvo", "nada");
        soma(servidor, apoio::eu(apoio::chama(porta, "Alvo", "constroi")));
        apoio::chama(porta, "Caixa", "preenche", "<campo nome=\"valor\" opcao=\"chave\">1.234</campo>");
    } catch (const std::system_error &) {
    }
}

void serve(YSoapServer *servidor, const std::string &quem) {
    ASSERT_EQ(YSoapServer_esperaPronto(servidor, std::time(nullptr) + 10), 1) << quem;
    EXPECT_EQ(soma(servidor), "5") << quem;
}

/// Runs the action with the n-th allocation of the threads that are not spared failing, alone and with twenty
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

TEST(Conversa, semMemoriaNoComecoENoFim) {
    const auto servidor = novoServidor();
    const auto comecaEPara = [&] {
        try {
            YObThread_start(servidor);
        } catch (const YExcecao &) {
            EXPECT_EQ(YObThread_isAlive(servidor), 0);
        }
        YObThread_stop(servidor);
    };
    emCadaAlocacao(comecaEPara, [&](const std::string &quem) {
        YObThread_start(servidor);
        serve(servidor, quem);
        YObThread_stop(servidor);
    });
}

TEST(Conversa, semMemoriaNasChamadas) {
    const auto servidor = novoServidor();
    YObThread_start(servidor);
    serve(servidor, "at first");
    apoio::poupada = true; // the client
    emCadaAlocacao([&] { conversa(servidor); }, [&](const std::string &quem) { serve(servidor, quem); });
    apoio::poupada = false;
}

TEST(Conversa, semThreadOComecoSeDesfaz) {
    for (int n = 0; n < 2; n++) {
        const auto servidor = novoServidor();
        apoio::threads.ainda = n;
        EXPECT_EQ(apoio::excecao([&] { YObThread_start(servidor); }),
                  "YExc: N\xE3o foi poss\xEDvel criar a thread.")
            << n;
        apoio::threads.ainda = NUNCA;
        EXPECT_EQ(YObThread_isAlive(servidor), 0);
        EXPECT_EQ(YObThread_isAlive(servidor->webServer), 0) << "nothing serves";
        EXPECT_EQ(YSoapServer_getPorta(servidor), 0);
        YObThread_stop(servidor);
        YObThread_start(servidor);
        serve(servidor, "thread " + std::to_string(n));
    }
}

} // namespace
