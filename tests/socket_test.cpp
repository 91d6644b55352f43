// Sockets over loopback.
#include "apoio/teste.hpp"

#include <fcntl.h>

namespace {

constexpr uint32_t MUITO = 9000; // milliseconds

const auto novo = [] { return cria<YSocket>(YSocket_rtti); };

struct Socket : testing::Test {
    Ponteiro<YSocket> ouvinte, cliente, conexao;
    Ponteiro<YStream> s = cria<YStream>(YStream_rtti);
    YSocket *aceita = nullptr;

    // Signals all the time: no wait ends for them, none begins anew, and none takes one for what it waits
    // for.
    std::jthread sinais{[esta = pthread_self()](const std::stop_token &fim) {
        for (signal(SIGUSR1, [](int) {}); !fim.stop_requested();) {
            pthread_kill(esta, SIGUSR1);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }};

    Socket() { liga(); }
    void liga() {
        ouvinte = novo();
        cliente = novo();
        YSocket_escuta(ouvinte, 0);
        EXPECT_EQ(conecta(*cliente, "localhost"), Y_ESPERA_PRONTA);
        EXPECT_EQ(YSocket_aceitaConexaoMs(ouvinte, 0, &aceita, MUITO), Y_ESPERA_PRONTA);
        conexao.reset(aceita);
    }
    int conecta(YSocket &socket, const char *endereco) {
        return YSocket_conectaMs(&socket, endereco, YSocket_getPorta(ouvinte), MUITO);
    }
};

TEST_F(Socket, blocosComOQueSobraEsperando) {
    YSocket_printf(cliente, "linha%s", "\n12345678");
    const int64_t prazo = std::time(nullptr) + 1;
    EXPECT_EQ(YSocket_recebeLinha(conexao, s, prazo) + YSocket_recebeBloco(conexao, s, 5, prazo), 2);
    EXPECT_STREQ(YStream_str(s), "linha12345");
    EXPECT_EQ(YSocket_recebeBloco(conexao, s, 4, prazo), 0);
    EXPECT_STREQ(YStream_str(s), "linha12345678") << "what came is there";
    EXPECT_GE(std::time(nullptr), prazo);
    cliente.reset();
    EXPECT_EQ(YSocket_recebeBloco(conexao, s, INT64_MAX, prazo + 10), 0) << "the peer closed";
}

TEST_F(Socket, escutaOndeSePede) {
    const uint32_t porta = YSocket_getPorta(ouvinte);
    const std::tuple<const char *, uint32_t, std::string> recusas[] = {
        {nullptr, porta, "porta: " + std::to_string(porta) + std::string(". Já está em uso."_l1)},
        {nullptr, 70'000, "porta: 70000. Não existe."_l1},
        {"localhost", 0, "endereço: localhost, porta: 0. O endereço não é numérico."_l1},
        {"192.0.2.1", 0, "endereço: 192.0.2.1, porta: 0. O endereço não é desta máquina."_l1},
    };
    for (const auto &[endereco, qual, por] : recusas) {
        const auto escuta = [onde = endereco, p = qual] { YSocket_escutaEm(novo().get(), onde, p); };
        EXPECT_EQ(excecao(escuta), "YExc: " + por + " Porta não pôde ser usada."_l1);
    }
    for (const std::string endereco : {"127.0.0.1", "::1"}) {
        ouvinte = novo();
        YSocket_escutaEm(ouvinte, endereco.c_str(), 0);
        for (const char *alvo : {"127.0.0.1", "::1", "127.0.0.2"}) {
            EXPECT_EQ(conecta(*novo(), alvo), alvo == endereco ? Y_ESPERA_PRONTA : Y_ESPERA_FECHADA) << alvo;
        }
    }
}

TEST_F(Socket, oQueOProgramaImprimeNaoVaiAoOutroLado) {
    EXPECT_TRUE(noFilho([this] {
        close(0), close(1), close(2); // and their numbers are the next to be given out
        liga();
        const auto servidor = cria<YTcpServer>(YTcpServer_rtti);
        return fcntl(0, F_GETFD) + fcntl(1, F_GETFD) + fcntl(2, F_GETFD) == -3;
    }));
}

// Each operation that waits, under each end that a wait can have.
TEST_F(Socket, cadaFimDeCadaEspera) {
    const auto muito = streamDe(std::string(32 << 20, 'm'));
    const std::pair<Ponteiro<YSocket> *, std::function<int(uint32_t)>> esperas[] = {
        {&conexao, [&](uint32_t ms) { return YSocket_recebeLinhaMs(conexao, s, ms); }},
        {&cliente, [&](uint32_t ms) { return YSocket_enviaMs(cliente, muito, ms); }},
        {&ouvinte, [&](uint32_t ms) { return YSocket_aceitaConexaoMs(ouvinte, 0, &aceita, ms); }},
    };
    for (const auto &[socket, espera] : esperas) {
        EXPECT_EQ(espera(20), Y_ESPERA_PRAZO);
        {
            const std::jthread cancela([qual = socket->get()] {
                std::this_thread::yield(); // before the wait or within it
                YSocket_cancela(qual);
            });
            EXPECT_EQ(espera(MUITO), Y_ESPERA_CANCELADA);
        }
        EXPECT_EQ(espera(MUITO), Y_ESPERA_CANCELADA) << "for good";
        liga();
    }
    const auto outro = novo();
    YSocket_cancela(outro);
    EXPECT_EQ(conecta(*outro, "127.0.0.1"), Y_ESPERA_CANCELADA);

    cliente.swap(conexao);
    cliente.reset();
    EXPECT_EQ(YSocket_recebeLinhaMs(conexao, s, MUITO), Y_ESPERA_FECHADA);
    EXPECT_EQ(YSocket_enviaMs(conexao, muito, MUITO), Y_ESPERA_FECHADA);
    EXPECT_THROW(YSocket_printf(conexao, "x"), YExcecao) << "and no signal";
}

} // namespace
