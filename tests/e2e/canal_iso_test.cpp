// Channels for ISO 8583 messages: frames as they come and go, whose an answer is, how waits end.
#include "apoio/servidor.hpp"

using namespace apoio;

namespace {

using Mensagem = Ponteiro<YMensagemIso>;

constexpr std::uint32_t MUITO = 20'000;

Ponteiro<YCanalIso> canalEm(YSocket *socket, YQuadroIso quadro = Y_ISO_QUADRO_4_DIGITOS, int conta = 0) {
    auto canal = cria<YCanalIso>(YCanalIso_rtti);
    YCanalIso_setSocket(canal, socket);
    YCanalIso_setQuadro(canal, quadro, conta);
    return canal;
}

Mensagem pedido(int sequencia, int terminal, int modo = 0, int codigo = 200) {
    auto mensagem = cria<YMensagemIso>(YMensagemIso_rtti);
    YMensagemIso_setTransacao(mensagem, codigo);
    for (const auto &[bit, valor] : {std::pair(3, modo), {11, sequencia}, {41, 10'000'000 + terminal}}) {
        const std::string digitos = std::to_string(1'000'000 + valor);
        YMensagemIso_setBit(mensagem, bit, &digitos[bit == 41 ? 0 : 1]);
    }
    return mensagem;
}

std::string quem(const Mensagem &mensagem) {
    return std::string(YMensagemIso_getBit(mensagem, 41)) + YMensagemIso_getBit(mensagem, 11);
}

/// A peer that does on each connection what the test says.
struct Par : ServidorTcp {
    std::function<void(YSocket *)> faz;

    explicit Par(std::function<void(YSocket *)> oQue) : ServidorDe(YTcpServer_rtti), faz(std::move(oQue)) {
        YTcpServer_setTratador(*this, this, [](void *par, YTcpServer * /*servidor*/, YSocket *socket) {
            static_cast<Par *>(par)->faz(socket);
        });
        inicia();
    }
    ~Par() { libera(); }

    [[nodiscard]] Ponteiro<YSocket> conecta() const {
        auto socket = cria<YSocket>(YSocket_rtti);
        EXPECT_EQ(YSocket_conectaMs(socket, inet_ntoa(enderecoProprio()), porta(), MUITO), Y_ESPERA_PRONTA);
        return socket;
    }
};

/// Sends messages back until the connection ends; what was refused, the last header, and how it ended.
std::string devolve(YCanalIso *canal, const std::string &cabecalho) {
    std::string queixas;
    YCanalIso_setLimite(canal, 100);
    YCanalIso_setCabecalho(canal, cabecalho.data(), static_cast<uint32_t>(cabecalho.size()));
    const Mensagem mensagem = pedido(1, 1);
    YMensagemIso_setBit(mensagem, 48, std::string(999, '1').c_str());
    EXPECT_EQ(excecao([&] { YCanalIso_envia(canal, mensagem, MUITO); }),
              "YExc: tamanho: " + std::to_string(cabecalho.size() + 1042) +
                  ". Mensagem grande demais para o canal.");
    const auto recebido = cria<YStream>(YStream_rtti);
    YFimDaEspera fim = Y_ESPERA_PRONTA;
    while (fim >= Y_ESPERA_PRAZO) {
        queixas += excecao([&] {
            fim = YCanalIso_recebe(canal, mensagem, recebido, 1); // the time often passes within a frame
            fim == Y_ESPERA_PRONTA ? YCanalIso_envia(canal, mensagem, MUITO) : fim;
        });
    }
    return queixas + conteudo(recebido) + std::to_string(fim);
}

TEST(CanalIso, quadrosVaoEVemEOsRuinsSaoRecusados) {
    struct Caso {
        YQuadroIso quadro;
        int conta;
        std::string chega, volta, queixa = "-1", cabecalho = "";
    };
    constexpr auto DOIS = Y_ISO_QUADRO_2_BYTES, QUATRO = Y_ISO_QUADRO_4_BYTES;
    constexpr auto DIGITOS = Y_ISO_QUADRO_4_DIGITOS, LINHA = Y_ISO_QUADRO_LINHA;
    const auto n = [](char tamanho) { return "\0"s + tamanho; };
    const std::string zeros(16, '0');
    const std::string mal = "Quadro ISO 8583 mal formado.-1";
    // clang-format off
    const Caso casos[] = {
        {DOIS, 0, n(4) + "0800" + n(0) + n(4) + "0810", n(4) + "0800" + n(4) + "0810"}, {DOIS, 1, n(6) + "0800" + n(2) + n(6) + "0810", n(6) + "0800" + n(6) + "0810"},
        {DOIS, 0, n(6) + "ab0800" + n(1) + "x", n(6) + "CD0800", "YExc: Mensagem menor que o cabeçalho.ab-1"_l1, "CD"},
        {QUATRO, 0, n(0) + n(4) + "0800", n(0) + n(4) + "0800"}, {QUATRO, 0, n(1) + n(0) + "0800", "", "YExcIOError: tamanho: 65536. " + mal},
        {DIGITOS, 1, "00080800", "00080800"}, {DIGITOS, 1, "00030800", "", "YExcIOError: tamanho: 3. " + mal}, {DIGITOS, 0, "00+40800", "", "YExcIOError: " + mal},
        {DIGITOS, 0, "0100" + std::string(100, 'x') + "00040800", "00040800", "YExc: Bitmap 1. Bitmap com caractere inválido.-1"_l1},
        {DIGITOS, 0, "0101", "", "YExcIOError: tamanho: 101. " + mal}, {DIGITOS, 0, "00210800" + zeros + "x", "", "YExc: byte 20. Bytes depois da mensagem.-1"},
        {DIGITOS, 0, "0004080", ""}, {LINHA, 0, "\r\n0800\r\n0810\n08", "0800\n0810\n"}, {LINHA, 0, std::string(101, '0') + "\n0800\n", "", "YExcIOError: " + mal},
    };
    // clang-format on
    for (const Caso &caso : casos) {
        std::string queixa;
        Par par([&](YSocket *socket) {
            queixa = devolve(canalEm(socket, caso.quadro, caso.conta).get(), caso.cabecalho);
        });
        Cliente cliente(par.porta());
        for (const char &byte : caso.chega) {
            cliente.envia({&byte, 1});
        }
        cliente.terminaEnvio();
        EXPECT_EQ(cliente.recebeBytes(), caso.volta) << caso.chega;
        par.libera();
        EXPECT_EQ(queixa, caso.queixa) << caso.chega;
    }
}

enum Modo { NORMAL, PERDIDA, TARDIA, DOBRADA, ALHEIA, ESTRAGADA, MODOS };

/// Answers in an order of its own, as the mode of each request says: late is, when its terminal asks again.
void respondeComoQuer(YSocket *socket, const YTabelaIso *tabela, std::atomic<std::uint64_t> *pedidas) {
    const auto canal = canalEm(socket);
    YCanalIso_setTabela(canal, tabela);
    const Mensagem chegou = pedido(0, 0);
    std::mt19937 sorte(8583);
    std::vector<Mensagem> prontas;
    std::map<std::string, Mensagem> atrasadas; // by terminal
    const auto resposta = [&](int codigo) {
        auto nova = cria<YMensagemIso>(YMensagemIso_rtti);
        YMensagemIso_montaResposta(nova, chegou, codigo, std::array{3, 11, 41}.data(), 3);
        return nova;
    };
    for (YFimDaEspera fim = Y_ESPERA_PRONTA; fim >= Y_ESPERA_PRAZO;) {
        fim = YCanalIso_recebe(canal, chegou, nullptr, prontas.empty() ? MUITO : 0);
        if (fim == Y_ESPERA_PRONTA) {
            const int modo = std::stoi(YMensagemIso_getBit(chegou, 3));
            const std::string terminal = YMensagemIso_getBit(chegou, 41);
            pedidas[modo]++;
            auto atrasada = atrasadas.extract(terminal);
            atrasada ? prontas.push_back(std::move(atrasada.mapped())) : void();
            modo == PERDIDA  ? void()
            : modo == TARDIA ? void(atrasadas.emplace(terminal, resposta(210)))
                             : prontas.push_back(resposta(210));
            modo == ESTRAGADA                   ? YSocket_printf(socket, "00050210x")
            : modo == DOBRADA || modo == ALHEIA ? prontas.push_back(resposta(modo == ALHEIA ? 410 : 210))
                                                : void();
        }
        for (; !prontas.empty() && (fim == Y_ESPERA_PRAZO || prontas.size() > 40); prontas.pop_back()) {
            std::swap(prontas[sorte() % prontas.size()], prontas.back());
            YCanalIso_envia(canal, prontas.back(), MUITO);
        }
    }
}

TEST(CanalIso, cadaUmTemASuaRespostaEAsOutrasSaoContadas) {
    std::array<std::atomic<std::uint64_t>, MODOS> pedidas{};
    std::array<std::atomic<std::uint64_t>, 3> avisadas{};
    const Ponteiro<YTabelaIso> tabela(YTabelaIso_leTexto("codigo bcd\n", 11, nullptr, nullptr));
    const Par par([&](YSocket *socket) { respondeComoQuer(socket, tabela, pedidas.data()); });
    const auto socket = par.conecta();
    const auto canal = canalEm(socket);
    const auto anota = [](void *onde, YCanalIso *eu, YAvulsaIso qual, const YMensagemIso *m,
                          const char *motivo) {
        EXPECT_EQ(motivo != nullptr, qual == Y_ISO_MAL_FORMADA);
        EXPECT_NE(excecao([&] { YCanalIso_recebe(eu, nullptr, nullptr, 0); }), "") << m->transacao;
        (*static_cast<decltype(avisadas) *>(onde))[qual]++;
    };
    YCanalIso_setTabela(canal, tabela);
    YCanalIso_setAvulsas(canal, &avisadas, anota);
    emThreads(64, [&](int terminal) {
        std::mt19937 sorte(static_cast<unsigned>(terminal));
        const Mensagem resposta = pedido(0, 0);
        for (int i = 0; i <= 60; i++) {
            const int modo = i < 60 ? static_cast<int>(sorte() % MODOS) : NORMAL;
            const bool vem = modo != PERDIDA && modo != TARDIA;
            const Mensagem pergunta = pedido(i, terminal, modo, i % 2 == 0 ? 200 : 201);
            ASSERT_EQ(YCanalIso_troca(canal, pergunta, resposta, vem ? MUITO : 3),
                      vem ? Y_ESPERA_PRONTA : Y_ESPERA_PRAZO)
                << terminal << ' ' << i << ' ' << modo;
            ASSERT_TRUE(!vem || quem(resposta) == quem(pergunta)) << quem(resposta) << quem(pergunta);
        }
    });
    const std::array esperadas = {pedidas[TARDIA] + pedidas[DOBRADA], +pedidas[ALHEIA], +pedidas[ESTRAGADA]};
    EXPECT_TRUE(acontece([&] { // the last of them may still be on their way
        EXPECT_EQ(YCanalIso_recebe(canal, pedido(0, 0).get(), nullptr, 1), Y_ESPERA_PRAZO);
        return std::ranges::all_of(std::array{Y_ISO_TARDIA, Y_ISO_ESTRANHA, Y_ISO_MAL_FORMADA}, [&](auto q) {
            return avisadas[q] == esperadas[q] && YCanalIso_getAvulsas(canal, q) == esperadas[q];
        });
    })) << esperadas[0]
        << ' ' << avisadas[0] << ' ' << avisadas[1] << ' ' << avisadas[2];
}

TEST(CanalIso, oQueNaoPodeIrNaoVaiEOFimAcordaTodos) {
    for (const YFimDaEspera como : {Y_ESPERA_CANCELADA, Y_ESPERA_FECHADA}) {
        std::atomic<int> esperando{0};
        const Par par([&](YSocket *conexao) {
            const auto linha = cria<YStream>(YStream_rtti);
            while (YSocket_recebeLinhaMs(conexao, linha, MUITO) == Y_ESPERA_PRONTA && ++esperando < 8) {
            }
            EXPECT_TRUE(acontece([&] { return esperando < 0; }));
        });
        const auto socket = par.conecta();
        const auto canal = canalEm(socket, Y_ISO_QUADRO_LINHA);
        const auto recusa = [&](const Mensagem &mensagem) {
            return excecao([&] { EXPECT_EQ(YCanalIso_troca(canal, mensagem, mensagem, MUITO), como); });
        };
        auto todas = emThreads(8, [&](int i) { EXPECT_EQ(recusa(pedido(i, 1)), ""); });
        ASSERT_TRUE(acontece([&] { return esperando == 8; }));
        EXPECT_EQ(recusa(pedido(3, 1)), "YExc: Pedido igual em andamento.");
        EXPECT_EQ(recusa(pedido(9, 1, 0, 210)), "YExc: A mensagem não é um pedido."_l1);
        const Mensagem mensagem = pedido(9, 1);
        YMensagemIso_setBit(mensagem, 43, "\n");
        EXPECT_EQ(recusa(mensagem), "YExc: Mensagem com fim de linha.");
        YMensagemIso_setBit(mensagem, 11, nullptr);
        EXPECT_EQ(recusa(mensagem), "YExc: Falta o elemento 11.");
        como == Y_ESPERA_CANCELADA ? YSocket_cancela(socket) : void();
        esperando = -1;
        todas.clear();
        EXPECT_EQ(recusa(pedido(9, 1)), "");
    }
}

} // namespace
