// The web server's life: start, stop, start again, destruction under load, limits of connections.
#include "apoio/cliente.hpp"
#include "apoio/servidor.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <sys/resource.h>

using namespace apoio;

namespace {

using Relogio = std::chrono::steady_clock;
using std::chrono::seconds;

void ola(void * /*contexto*/, char * /*uri*/, YMensagemHttp * /*requisicao*/, YMensagemHttp *resposta) {
    YStream_puts(YMensagemHttp_getPrimeiraLinha(resposta), "200 OK");
    YMensagemHttp_printf(resposta, "ola");
}

void serve(std::uint32_t porta) {
    EXPECT_TRUE(conversa(porta, requisicao("GET /")).ends_with("\n\nola"));
}

TEST(Parada, ociosoParaLogoERecomecaEAsConexoesVivemAlem) {
    Servidor servidor(ola);
    for (int volta = 0; volta < 3; volta++) {
        const std::uint32_t porta = servidor.porta();
        Cliente cliente(porta);
        EXPECT_EQ(cliente.pede(requisicao("GET /1")), "ola");
        const auto inicio = Relogio::now();
        YObThread_stop(servidor);
        EXPECT_LT(Relogio::now() - inicio, seconds(1));
        EXPECT_EQ(YWebServer_esperaPronto(servidor, std::time(nullptr) + 10), 0) << "not alive";
        EXPECT_THROW(Cliente{porta}, std::system_error);
        EXPECT_EQ(cliente.pede(requisicao("GET /2")), "ola");
        YWebServer_setPorta(servidor, porta);
        servidor.inicia();
        EXPECT_EQ(servidor.porta(), porta) << "an address just used is used again";
        serve(porta);
    }
}

std::atomic<int> dentro; // handlers that wait until the test lets them go
std::atomic<bool> aberto;
std::atomic<bool> demolido;

void esperaNaPorta(void * /*contexto*/, char * /*uri*/, YMensagemHttp * /*requisicao*/,
                   YMensagemHttp *resposta) {
    dentro++;
    EXPECT_TRUE(acontece([] { return aberto.load(); }));
    YMensagemHttp_printf(resposta, demolido ? "tarde" : "enfim");
}

// A class derived from the web server, which is whole until the last call of its handler has ended.
const YRtti *Derivado_rtti() {
    static YObThread_Rtti descritor = *reinterpret_cast<const YObThread_Rtti *>(YWebServer_rtti());
    descritor.rtti = {YWebServer_rtti, "Derivado", sizeof(YWebServer), nullptr,
                      [](void * /*objeto*/) { demolido = true; }};
    return &descritor.rtti;
}

TEST(Parada, aChamadaEmCursoTerminaEORestoAcabaLogo) {
    dentro = 0;
    aberto = demolido = false;
    auto servidor = pramo::cria<YWebServer>(Derivado_rtti);
    YWebServer_setPorta(servidor, 0);
    YWebServer_setTratador(servidor, nullptr, esperaNaPorta);
    YObThread_start(servidor);
    ASSERT_EQ(YWebServer_esperaPronto(servidor, std::time(nullptr) + 10), 1);
    const std::uint32_t porta = YWebServer_getPorta(servidor);
    Cliente ocupado(porta);
    Cliente ocioso(porta);
    Cliente meiaCabeca(porta);
    Cliente meioCorpo(porta);
    ocupado.envia(requisicao("GET /1") + requisicao("GET /2"));
    meiaCabeca.envia("GET / HTTP/1.1\nA: b");
    meioCorpo.envia("GET / HTTP/1.1\nContent-Length: 1000000\n\nabc");
    EXPECT_TRUE(acontece([&] { return YWebServer_getConexoes(servidor) == 4 && dentro == 1; }));
    const auto inicio = Relogio::now();
    const std::jthread destruidor([&] { servidor.reset(); });
    EXPECT_TRUE(ocioso.fechou() && meiaCabeca.fechou() && meioCorpo.fechou());
    EXPECT_LT(Relogio::now() - inicio, seconds(1));
    aberto = true;
    EXPECT_EQ(ocupado.recebe().corpo, "enfim") << "its answer arrives";
    EXPECT_TRUE(ocupado.fechou()) << "the request behind it is not begun";
}

void respondeMuito(void * /*contexto*/, char * /*uri*/, YMensagemHttp * /*requisicao*/,
                   YMensagemHttp *resposta) {
    YStream_puts(YMensagemHttp_getBody(resposta), std::string(64 << 20, 'm').c_str());
}

TEST(Parada, quemNaoLeARespostaSeguraSoOPrazo) {
    Servidor servidor(respondeMuito);
    YWebServer_setPrazoDeEncerramento(servidor, 1);
    Cliente cliente(servidor.porta());
    cliente.envia(requisicao("GET /"));
    EXPECT_EQ(cliente.recebeBytes(5), "HTTP/");
    const Diario diario;
    const auto inicio = Relogio::now();
    servidor.libera();
    EXPECT_GE(Relogio::now() - inicio, seconds(1));
    EXPECT_LT(Relogio::now() - inicio, seconds(4));
    EXPECT_EQ(diario.quantos("Falha no envio pelo socket."), 1);
}

// ---- What there is not enough of ----

// A newcomer takes the place of whoever has been idle longest, but of nobody within a request.
TEST(Parada, limiteDeConexoes) {
    dentro = 0;
    aberto = demolido = false;
    Servidor servidor(ola);
    YWebServer_setLimiteDeConexoes(servidor, 3);
    Cliente ocioso(servidor.porta());
    EXPECT_EQ(ocioso.pede(requisicao("GET /")), "ola");
    Cliente recente(servidor.porta());
    EXPECT_EQ(recente.pede(requisicao("GET /")), "ola");
    Cliente noMeio(servidor.porta());
    noMeio.envia("GET / HTTP/1.1\r\n");
    EXPECT_TRUE(acontece([&] { return YWebServer_getConexoes(servidor) == 3; }));
    serve(servidor.porta());
    EXPECT_TRUE(ocioso.fechou());
    EXPECT_EQ(recente.pede(requisicao("GET /")), "ola");
    EXPECT_EQ(noMeio.pede("\r\n"), "ola");

    YWebServer_setTratador(servidor, nullptr, esperaNaPorta);
    std::vector<Cliente> ocupados;
    for (int i = 0; i < 4; i++) {
        EXPECT_TRUE(acontece([&] { return dentro == i; }));
        EXPECT_LE(YWebServer_getConexoes(servidor), 3U);
        ocupados.emplace_back(servidor.porta()).envia(requisicao("GET /"));
    }
    aberto = true;
    for (Cliente &ocupado : ocupados) {
        EXPECT_EQ(ocupado.recebe().corpo, "enfim") << "all were at work: the newcomer waited";
    }
    YWebServer_setLimiteDeConexoes(servidor, 0);
    const auto inicio = Relogio::now();
    servidor.libera();
    EXPECT_LT(Relogio::now() - inicio, seconds(1)) << "also while it waits for a place";
}

TEST(Parada, portaOcupadaRegistradaUmaVezETentadaDeNovo) {
    const Diario diario;
    auto dono = std::make_unique<Servidor>(ola);
    const auto outro = pramo::cria<YWebServer>(YWebServer_rtti);
    const auto pronto = [&] { return YWebServer_esperaPronto(outro, std::time(nullptr) + 10); };
    YWebServer_setPorta(outro, dono->porta());
    const auto inicio = Relogio::now();
    EXPECT_EQ(pronto(), 0) << "not started";
    YObThread_start(outro);
    EXPECT_EQ(pronto(), 0) << "the port is taken";
    EXPECT_LT(Relogio::now() - inicio, seconds(5)) << "it does not wait for the deadline";
    dono.reset();
    EXPECT_TRUE(acontece([&] { return pronto() == 1; }));
    EXPECT_EQ(diario.quantos("Porta n"), 1);
}

TEST(Parada, ouvinteQueFalhaEFeitoDeNovo) {
    const Servidor servidor(ola);
    const Diario diario;
    for (int volta = 0; volta < 3; volta++) {
        for (int fd = 3; fd < 1024; fd++) {
            shutdown(fd, SHUT_RDWR); // the listener's is among them
        }
        EXPECT_TRUE(acontece([&] {
            try {
                return conversa(servidor.porta(), requisicao("GET /")).ends_with("ola");
            } catch (const std::system_error &) {
                return false; // nobody listens
            }
        }));
    }
    EXPECT_EQ(diario.quantos("O ouvinte falhou. Falha aceitando"), 1);
}

TEST(Parada, semDescritoresContinua) {
    const Servidor servidor(ola);
    const Diario diario;
    Cliente cliente(servidor.porta());
    EXPECT_EQ(cliente.pede(requisicao("GET /1")), "ola");
    rlimit antes{};
    getrlimit(RLIMIT_NOFILE, &antes);
    const rlimit nenhum{0, antes.rlim_max};
    setrlimit(RLIMIT_NOFILE, &nenhum);
    EXPECT_TRUE(acontece([&] { return diario.quantos("Falha aceitando") > 0; }));
    EXPECT_EQ(cliente.pede(requisicao("GET /2")), "ola") << "connections go on";
    setrlimit(RLIMIT_NOFILE, &antes);
    serve(servidor.porta());
    EXPECT_EQ(diario.quantos(""), 1);
}

} // namespace
