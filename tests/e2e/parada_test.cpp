// The web server's life: start, stop, start again, destruction under load, limits of connections.
#include "apoio/cliente.hpp"
#include "apoio/servidor.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>

using apoio::acontece;
using apoio::Cliente;
using apoio::conversa;
using apoio::Diario;
using apoio::requisicao;
using apoio::Servidor;

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

TEST(Parada, ociosoParaLogoERecomeca) {
    Servidor servidor(ola);
    for (int volta = 0; volta < 3; volta++) {
        const std::uint32_t porta = servidor.porta();
        serve(porta);
        const auto inicio = Relogio::now();
        YObThread_stop(servidor.get());
        EXPECT_LT(Relogio::now() - inicio, seconds(1));
        EXPECT_EQ(YWebServer_esperaPronto(servidor.get(), std::time(nullptr) + 10), 0) << "not alive";
        EXPECT_THROW(Cliente{porta}, std::system_error);
        YWebServer_setPorta(servidor.get(), porta);
        servidor.inicia();
        EXPECT_EQ(servidor.porta(), porta) << "an address just used is used again";
    }
    serve(servidor.porta());
}

TEST(Parada, conexoesAceitasVivemAlemDaParada) {
    const Servidor servidor(ola);
    Cliente cliente(servidor.porta());
    cliente.envia(requisicao("GET /1"));
    EXPECT_EQ(cliente.recebe().corpo, "ola");
    YObThread_stop(servidor.get());
    cliente.envia(requisicao("GET /2"));
    EXPECT_EQ(cliente.recebe().corpo, "ola");
}

// A handler that waits until the test lets it go.
struct Porteiro {
    std::atomic<int> dentro{0};
    std::atomic<bool> aberto{false};
};

void esperaNaPorta(void *contexto, char * /*uri*/, YMensagemHttp * /*requisicao*/, YMensagemHttp *resposta) {
    auto *porteiro = static_cast<Porteiro *>(contexto);
    porteiro->dentro++;
    EXPECT_TRUE(acontece([&] { return porteiro->aberto.load(); }));
    YStream_puts(YMensagemHttp_getPrimeiraLinha(resposta), "200 OK");
    YMensagemHttp_printf(resposta, "enfim");
}

TEST(Parada, chamadasEmCursoTerminamEAsOutrasConexoesAcabamLogo) {
    Porteiro porteiro;
    Servidor servidor(esperaNaPorta, &porteiro);
    Cliente ocupado(servidor.porta());
    Cliente ocioso(servidor.porta());
    Cliente meiaCabeca(servidor.porta());
    Cliente meioCorpo(servidor.porta());
    ocupado.envia(requisicao("GET /1") + requisicao("GET /2"));
    meiaCabeca.envia("GET / HTTP/1.1\nA: b");
    meioCorpo.envia("GET / HTTP/1.1\nContent-Length: 1000000\n\nabc");
    EXPECT_TRUE(
        acontece([&] { return YWebServer_getConexoes(servidor.get()) == 4 && porteiro.dentro == 1; }));
    const auto inicio = Relogio::now();
    std::thread destruidor([&] { servidor.libera(); });
    EXPECT_TRUE(ocioso.fechou());
    EXPECT_TRUE(meiaCabeca.fechou());
    EXPECT_LT(Relogio::now() - inicio, seconds(1));
    porteiro.aberto = true;
    EXPECT_EQ(ocupado.recebe().corpo, "enfim") << "its answer arrives";
    EXPECT_TRUE(ocupado.fechou()) << "the request behind it is not begun";
    destruidor.join();
}

TEST(Parada, quemNaoParaDeEnviarNaoSegura) {
    Servidor servidor(ola);
    Cliente cliente(servidor.porta());
    std::thread enviador([&] {
        const std::string muitas = requisicao("GET /", "", std::string(10000, 'x'));
        while (cliente.envia(muitas)) {
        }
    });
    EXPECT_TRUE(cliente.recebeBytes(100'000).starts_with("HTTP/1.1 200 OK"));
    const Diario diario;
    const auto inicio = Relogio::now();
    servidor.libera();
    EXPECT_LT(Relogio::now() - inicio, seconds(3));
    enviador.join();
}

void respondeMuito(void * /*contexto*/, char * /*uri*/, YMensagemHttp * /*requisicao*/,
                   YMensagemHttp *resposta) {
    YStream_puts(YMensagemHttp_getPrimeiraLinha(resposta), "200 OK");
    YStream_puts(YMensagemHttp_getBody(resposta), std::string(64 << 20, 'm').c_str());
}

TEST(Parada, quemNaoLeARespostaSeguraSoOPrazo) {
    Servidor servidor(respondeMuito);
    YWebServer_setPrazoDeEncerramento(servidor.get(), 1);
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

void liberaOProprio(void *contexto, char * /*uri*/, YMensagemHttp * /*requisicao*/, YMensagemHttp *resposta) {
    try {
        YliberaObjeto(contexto);
    } catch (const YExcecao &e) {
        YMensagemHttp_printf(resposta, "%s", e.what());
    }
}

TEST(Parada, tratadorNaoLiberaOProprioServidor) {
    const Servidor servidor;
    YWebServer_setTratador(servidor.get(), servidor.get(), liberaOProprio);
    for (int i = 0; i < 2; i++) {
        EXPECT_TRUE(conversa(servidor.porta(), requisicao("GET /"))
                        .ends_with("Objeto em uso pela pr\xF3pria thread."));
    }
}

// A class derived from the web server, whose handler uses the derived fields until its last call.
struct Derivado : YWebServer {
    Porteiro *porteiro;
    char *mensagem;
};

void constroiDerivado(void *objeto);

void destroiDerivado(void *objeto) {
    YliberaMemoria(static_cast<Derivado *>(objeto)->mensagem);
}

const YRtti *Derivado_rtti() {
    static const YObThread_Rtti descritor = [] {
        YObThread_Rtti d = *reinterpret_cast<const YObThread_Rtti *>(YWebServer_rtti());
        d.rtti = {YWebServer_rtti, "Derivado", sizeof(Derivado), constroiDerivado, destroiDerivado};
        return d;
    }();
    return &descritor.rtti;
}

void respondeDerivado(void *contexto, char *uri, YMensagemHttp *requisicao, YMensagemHttp *resposta) {
    auto *eu = static_cast<Derivado *>(contexto);
    esperaNaPorta(eu->porteiro, uri, requisicao, resposta);
    YMensagemHttp_printf(resposta, "%s", eu->mensagem);
}

void constroiDerivado(void *objeto) {
    auto *eu = static_cast<Derivado *>(objeto);
    eu->mensagem = YduplicaString(", derivado");
    YWebServer_setPorta(eu, 0);
    YWebServer_setTratador(eu, eu, respondeDerivado);
}

TEST(Parada, classeDerivadaFicaInteiraAteAUltimaChamada) {
    Porteiro porteiro;
    auto servidor = pramo::cria<Derivado>(Derivado_rtti);
    servidor->porteiro = &porteiro;
    YObThread_start(servidor.get());
    ASSERT_EQ(YWebServer_esperaPronto(servidor.get(), std::time(nullptr) + 10), 1);
    Cliente cliente(YWebServer_getPorta(servidor.get()));
    Cliente ocioso(YWebServer_getPorta(servidor.get()));
    cliente.envia(requisicao("GET /"));
    EXPECT_TRUE(
        acontece([&] { return YWebServer_getConexoes(servidor.get()) == 2 && porteiro.dentro == 1; }));
    std::thread destruidor([&] { servidor.reset(); });
    EXPECT_TRUE(ocioso.fechou());
    porteiro.aberto = true;
    EXPECT_EQ(cliente.recebe().corpo, "enfim, derivado");
    destruidor.join();
}

// ---- What there is not enough of ----

// A newcomer takes the place of whoever has been idle longest, but of nobody within a request.
TEST(Parada, limiteDeConexoes) {
    Porteiro porteiro;
    Servidor servidor(ola);
    YWebServer_setLimiteDeConexoes(servidor.get(), 3);
    Cliente ocioso(servidor.porta());
    Cliente recente(servidor.porta());
    Cliente noMeio(servidor.porta());
    const auto pede = [](Cliente &cliente) {
        cliente.envia(requisicao("GET /"));
        EXPECT_EQ(cliente.recebe().corpo, "ola");
    };
    pede(ocioso);
    pede(recente);
    noMeio.envia("GET / HTTP/1.1\r\n");
    EXPECT_TRUE(acontece([&] { return YWebServer_getConexoes(servidor.get()) == 3; }));
    Cliente novo(servidor.porta());
    pede(novo);
    EXPECT_TRUE(ocioso.fechou());
    pede(recente);
    noMeio.envia("\r\n");
    EXPECT_EQ(noMeio.recebe().corpo, "ola");
    std::vector<Cliente> multidao; // peers that send one request each time and never let go
    for (int i = 0; i < 20; i++) {
        multidao.emplace_back(servidor.porta()).envia(requisicao("HEAD /"));
        EXPECT_LE(YWebServer_getConexoes(servidor.get()), 3U);
    }
    serve(servidor.porta());

    YWebServer_setTratador(servidor.get(), &porteiro, esperaNaPorta);
    std::vector<Cliente> ocupados;
    for (int i = 0; i < 3; i++) {
        ocupados.emplace_back(servidor.porta()).envia(requisicao("GET /"));
    }
    EXPECT_TRUE(acontece([&] { return porteiro.dentro == 3; }));
    Cliente ultimo(servidor.porta());
    ultimo.envia(requisicao("GET /"));
    porteiro.aberto = true;
    for (Cliente &ocupado : ocupados) {
        EXPECT_EQ(ocupado.recebe().corpo, "enfim") << "all were at work: the newcomer waited";
    }
    EXPECT_EQ(ultimo.recebe().corpo, "enfim");
    YWebServer_setLimiteDeConexoes(servidor.get(), 0);
    const auto inicio = Relogio::now();
    servidor.libera();
    EXPECT_LT(Relogio::now() - inicio, seconds(1)) << "also while it waits for a place";
}

/// The descriptor that listens on the port.
int ouvinteDa(std::uint32_t porta) {
    for (int fd = 3; fd < 1024; fd++) {
        int ouve = 0;
        socklen_t tamanho = sizeof ouve;
        sockaddr_in6 local{};
        socklen_t doLocal = sizeof local;
        if (getsockopt(fd, SOL_SOCKET, SO_ACCEPTCONN, &ouve, &tamanho) == 0 && ouve != 0 &&
            getsockname(fd, reinterpret_cast<sockaddr *>(&local), &doLocal) == 0 &&
            ntohs(local.sin6_port) == porta) {
            return fd;
        }
    }
    return -1;
}

TEST(Parada, ouvinteQueFalhaEFeitoDeNovo) {
    const Servidor servidor(ola);
    const Diario diario;
    const std::uint32_t porta = servidor.porta();
    for (int volta = 0; volta < 3; volta++) {
        ASSERT_EQ(shutdown(ouvinteDa(porta), SHUT_RDWR), 0);
        EXPECT_TRUE(acontece([&] { return ouvinteDa(porta) >= 0; }));
        serve(porta);
    }
    EXPECT_EQ(diario.quantos("O ouvinte falhou. Falha aceitando"), 1);
}

TEST(Parada, escutaSoNoEndereco) {
    Servidor servidor(ola);
    for (const auto &[endereco, pronto] :
         {std::pair("::1", 1), std::pair("nome", 0), std::pair("127.0.0.1", 1)}) {
        YObThread_stop(servidor.get());
        const Diario diario;
        YWebServer_setEndereco(servidor.get(), endereco);
        YObThread_start(servidor.get());
        EXPECT_EQ(YWebServer_esperaPronto(servidor.get(), std::time(nullptr) + 10), pronto) << endereco;
        EXPECT_TRUE(acontece([&] { return diario.quantos("Porta n") == 1 - pronto; })) << endereco;
        if (std::string(endereco) == "::1") {
            EXPECT_THROW(Cliente{servidor.porta()}, std::system_error) << "not on 127.0.0.1";
        }
    }
    serve(servidor.porta());
}

TEST(Parada, portaOcupadaRegistradaUmaVezETentadaDeNovo) {
    const Diario diario;
    auto dono = std::make_unique<Servidor>(ola);
    const auto outro = pramo::cria<YWebServer>(YWebServer_rtti);
    const std::uint32_t porta = dono->porta();
    YWebServer_setPorta(outro.get(), porta);
    YWebServer_setTratador(outro.get(), nullptr, ola);
    EXPECT_EQ(YWebServer_esperaPronto(outro.get(), std::time(nullptr) + 10), 0) << "not started";
    YObThread_start(outro.get());
    const auto inicio = Relogio::now();
    EXPECT_EQ(YWebServer_esperaPronto(outro.get(), std::time(nullptr) + 10), 0);
    EXPECT_LT(Relogio::now() - inicio, seconds(5)) << "it does not wait for the deadline";
    serve(porta); // the one that listens
    dono.reset();
    EXPECT_TRUE(acontece([&] { return YWebServer_esperaPronto(outro.get(), std::time(nullptr) + 10) == 1; }));
    serve(porta); // the other one
    EXPECT_EQ(diario.quantos("Porta n"), 1);
}

TEST(Parada, semDescritoresContinua) {
    const Servidor servidor(ola);
    const Diario diario;
    Cliente cliente(servidor.porta());
    cliente.envia(requisicao("GET /1"));
    EXPECT_EQ(cliente.recebe().corpo, "ola");
    rlimit antes{};
    getrlimit(RLIMIT_NOFILE, &antes);
    const rlimit nenhum{0, antes.rlim_max};
    setrlimit(RLIMIT_NOFILE, &nenhum);
    EXPECT_TRUE(acontece([&] { return diario.quantos("Falha aceitando") > 0; }));
    cliente.envia(requisicao("GET /2"));
    EXPECT_EQ(cliente.recebe().corpo, "ola") << "connections go on";
    setrlimit(RLIMIT_NOFILE, &antes);
    serve(servidor.porta());
    EXPECT_EQ(diario.quantos(""), 1);
}

TEST(Parada, semThreadsContinua) {
    constexpr std::size_t MAIS_QUE_AS_GUARDADAS = 66;
    const Servidor servidor(ola);
    const Diario diario;
    YexecutaThread_setTamanhoDaPilha(std::uint64_t{1} << 62);
    std::vector<std::unique_ptr<Cliente>> clientes;
    while (diario.quantos("criar a thread") == 0 && clientes.size() < MAIS_QUE_AS_GUARDADAS) {
        clientes.push_back(std::make_unique<Cliente>(servidor.porta()));
        EXPECT_TRUE(acontece([&] {
            return YWebServer_getConexoes(servidor.get()) == clientes.size() || diario.quantos("") > 0;
        }));
    }
    YexecutaThread_setTamanhoDaPilha(std::uint64_t{1} << 20);
    EXPECT_EQ(diario.quantos("criar a thread"), 1);
    EXPECT_TRUE(clientes.back()->fechou());
    EXPECT_EQ(YWebServer_getConexoes(servidor.get()), clientes.size() - 1) << "it is not counted";
    serve(servidor.porta());
}

} // namespace
