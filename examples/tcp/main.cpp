// Gives back each line that it receives, until SIGINT or SIGTERM. With the server running:
//     nc 127.0.0.1 8080
#include "programa.h"

#include <3pramo/3pramo.hpp>

#include <ctime>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

constexpr int PRAZO_PARA_ESCUTAR = 10;          // seconds
constexpr std::uint32_t PRAZO_DA_LINHA = 60000; // milliseconds
constexpr std::int64_t MAIOR_LINHA = 1024;      // bytes
constexpr std::uint32_t CONEXOES = 100;

// Conducts one connection, on its own thread; when it returns, the connection ends. Several run at once.
void ecoa(void * /*contexto*/, YTcpServer * /*servidor*/, YSocket *socket) {
    const auto linha = pramo::cria<YStream>(YStream_rtti);
    // Also over when the peer closes, when it is silent for too long, and when the server is freed.
    while (YSocket_recebeLinhaMs(socket, linha, PRAZO_DA_LINHA) == Y_ESPERA_PRONTA) {
        if (YStream_tam(linha) > MAIOR_LINHA) {
            YSocket_printf(socket, "linha longa demais\n");
            return;
        }
        YStream_put(linha, '\n');
        YSocket_envia(socket, linha);
    }
}

void serve(const Opcoes &opcoes) {
    const auto servidor = pramo::cria<YTcpServer>(YTcpServer_rtti);
    YTcpServer_setEndereco(servidor, opcoes.endereco);
    YTcpServer_setPorta(servidor, static_cast<std::uint32_t>(opcoes.porta));
    YTcpServer_setLimiteDeConexoes(servidor, CONEXOES);
    YTcpServer_setTratador(servidor, nullptr, ecoa);
    YObThread_start(servidor);
    if (YTcpServer_esperaPronto(servidor, std::time(nullptr) + PRAZO_PARA_ESCUTAR) == 0) {
        throw std::runtime_error("a porta " + std::to_string(opcoes.porta) + " foi recusada");
    }
    std::cout << "pronto: tcp://127.0.0.1:" << YTcpServer_getPorta(servidor) << '/' << std::endl;
    esperaSinal();
}

} // namespace

int main(int argc, char **argv) {
    Opcoes opcoes = {"127.0.0.1", 8080, nullptr, 0, 0};
    leOpcoes(argc, argv, SERVICO_TCP, "Devolve cada linha que recebe.", &opcoes);
    bloqueiaSinais(); // before the server's threads start
    try {
        serve(opcoes);
    } catch (const std::exception &erro) {
        std::cerr << "tcp: " << erro.what() << '\n';
        return 1;
    }
    return 0;
}
