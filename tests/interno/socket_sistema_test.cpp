// What ends by time alone, with times that a test can wait for: a write whose reader is too slow, a connect,
// the search for a name, a thread that waits for work.
#include "apoio/servidor.hpp"

#include <3pramo/foundation/YObThread_interno.hpp>
#include <3pramo/foundation/YSocket_interno.hpp>
#include <3pramo/foundation/YSocket_sistema.hpp>

#include <netdb.h>

using namespace pramo;
using sistema::Envio;

static std::atomic<bool> responde{false};
static std::atomic<int> perguntas{0};

// The linker sends the searches for names here (-Wl,--wrap): one name's server does not answer, one has two
// addresses.
extern "C" {
decltype(getaddrinfo) __real_getaddrinfo; // NOLINT(bugprone-reserved-identifier)
int __wrap_getaddrinfo(const char *nome, const char *porta, const addrinfo *pedido,
                       addrinfo **achados) { // NOLINT
    if (nome == std::string_view("dois.invalid") && pedido->ai_flags == 0) {
        const int erro = __real_getaddrinfo(inet_ntoa(enderecoProprio()), porta, pedido, achados);
        return erro + __real_getaddrinfo("127.0.0.1", porta, pedido, &(*achados)->ai_next);
    }
    if (nome != std::string_view("mudo.invalid") || pedido->ai_flags != 0) {
        return __real_getaddrinfo(nome, porta, pedido, achados);
    }
    perguntas++;
    responde.wait(false);
    perguntas--;
    return EAI_AGAIN;
}
}

namespace {

constexpr int JANELA = 300; // milliseconds

/// Sends much to a reader that takes so many bytes every millisecond, in front of signals all the time.
Envio enviaA(std::size_t porMilissegundo, std::int64_t exigidos) {
    int par[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, par), 0);
    const std::string muito(std::size_t{4} << 20, 'm');
    const std::string_view partes[] = {muito};
    std::jthread leitor([&, escritor = pthread_self()](const std::stop_token &fim) {
        for (std::string lidos(65536, 0); !fim.stop_requested();) {
            pthread_kill(escritor, SIGUSR1);
            recv(par[1], lidos.data(), porMilissegundo, MSG_DONTWAIT);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    // A window that began anew at every signal would last until the deadline.
    const Envio fim = sistema::envia(par[0], partes, Prazo::daqui(5'000), {exigidos, JANELA});
    leitor = {};
    close(par[0]);
    close(par[1]);
    return fim;
}

TEST(Ritmo, quemLeDevagarDemaisAcabaTambemComSinais) {
    signal(SIGUSR1, [](int) {});
    EXPECT_EQ(enviaA(0, 1), Envio::LENTO) << "no progress";
    EXPECT_EQ(enviaA(1, 60'000), Envio::LENTO) << "too little";
    EXPECT_EQ(enviaA(65536, 60'000), Envio::FEITO);
}

// The answers of a server to readers that take nothing, or a fifth of what they must: 30 KiB a window.
TEST(Ritmo, umaRespostaQueNinguemLeAcabaAConexao) {
    janelaDoEnvio = 600;
    const Diario diario;
    const auto responde = [](void *, char *, YMensagemHttp *, YMensagemHttp *resposta) {
        YStream_puts(YMensagemHttp_getBody(resposta), std::string(std::size_t{8} << 20, 'm').c_str());
    };
    for (const bool le : {false, true}) {
        const Servidor servidor(responde);
        Cliente cliente(servidor.porta(), 4096);
        cliente.envia(requisicao("GET /"));
        EXPECT_TRUE(acontece([&] { return YWebServer_getConexoes(servidor) == 1; }));
        const auto gotas = [&] {
            cliente.recebeBytes(le ? 300 : 0);
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            return YWebServer_getConexoes(servidor) == 0;
        };
        EXPECT_TRUE(acontece(gotas)) << le;
    }
    EXPECT_EQ(diario.quantos("Falha no envio pelo socket."), 2);
    janelaDoEnvio = 30'000;
}

TEST(Conexao, naoEsperaAlemDoPrazoPorUmaFilaCheiaEDeixaTempoAoOutroEndereco) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in onde = {AF_INET, 0, enderecoProprio(), {}};
    socklen_t tamanho = sizeof onde;
    EXPECT_EQ(bind(fd, reinterpret_cast<sockaddr *>(&onde), tamanho) + listen(fd, 0), 0);
    getsockname(fd, reinterpret_cast<sockaddr *>(&onde), &tamanho);
    std::vector<Ponteiro<YSocket>> fila(4); // nobody accepts them
    YFimDaEspera fim = Y_ESPERA_PRONTA;
    for (auto &socket : fila) {
        socket = cria<YSocket>(YSocket_rtti);
        fim = YSocket_conectaMs(socket, inet_ntoa(onde.sin_addr), ntohs(onde.sin_port), 100);
    }
    EXPECT_EQ(fim, Y_ESPERA_PRAZO);
    const auto outro = cria<YSocket>(YSocket_rtti);
    YSocket_escutaEm(outro, "127.0.0.1", ntohs(onde.sin_port));
    const Prazo prazo = Prazo::daqui(2'000);
    EXPECT_EQ(YSocket_conectaMs(fila[3], "dois.invalid", ntohs(onde.sin_port), 2'000), Y_ESPERA_PRONTA);
    EXPECT_GT(prazo.resta(), 0);
    close(fd);
}

// Most rounds come when the threads of the one before are just ending.
TEST(ExecutaThread, quemDesistiuDeEsperarNaoRecebeTrabalho) {
    esperaDaOciosa = std::chrono::milliseconds(1);
    for (int volta = 0; volta < 300; volta++) {
        static std::atomic<int> rodaram;
        rodaram = 0;
        for (int i = 0; i < 8; i++) {
            YexecutaThread([](void *) { rodaram++; }, nullptr);
        }
        ASSERT_TRUE(acontece([] { return rodaram == 8; })) << volta;
    }
    esperaDaOciosa = std::chrono::seconds(10);
}

TEST(Busca, naoSeguraQuemPerguntaAlemDoSeuPrazo) {
    for (int n = 0; n < 65; n++) { // more than may search at once
        const auto socket = cria<YSocket>(YSocket_rtti);
        const auto fim = n < 64 ? Y_ESPERA_PRAZO : Y_ESPERA_FECHADA;
        EXPECT_EQ(YSocket_conectaMs(socket, "mudo.invalid", 1, n < 64 ? 5 : 20'000), fim) << n;
    }
    EXPECT_TRUE(noFilho([] { // where none of those goes on
        const auto ouvinte = cria<YSocket>(YSocket_rtti), cliente = cria<YSocket>(YSocket_rtti);
        YSocket_escuta(ouvinte, 0);
        return YSocket_conectaMs(cliente, "localhost", YSocket_getPorta(ouvinte), 9'000) == Y_ESPERA_PRONTA;
    }));
    responde = true;
    responde.notify_all();
    while (perguntas > 0) {
        std::this_thread::yield();
    }
}

} // namespace
