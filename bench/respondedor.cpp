// The bare responder: the thread model of the web server (one thread accepts, each connection has a thread
// with a 256 KiB stack, idle threads are used again) and nothing else. It receives a whole request and sends
// fixed bytes, those of an answer of soma. What remains between its rate and a server's is what the server
// itself costs.
#include "mensagem.hpp"
#include "soma.hpp"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <getopt.h>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::size_t PILHA = 256 * 1024;

// Receives up to the end of one request and gives its length; 0 when the peer closed or sent no sense.
std::size_t recebePedido(int fd, std::array<char, 64 * 1024> &buffer) {
    std::size_t recebidos = 0;
    std::size_t total = buffer.size();
    while (recebidos < total) {
        const auto lidos = recv(fd, buffer.data() + recebidos, buffer.size() - recebidos, 0);
        if (lidos < 0 && errno == EINTR) {
            continue;
        }
        if (lidos <= 0) {
            return 0;
        }
        recebidos += static_cast<std::size_t>(lidos);
        const std::string_view texto(buffer.data(), recebidos);
        if (const auto cabecalho = bench::fimDoCabecalho(texto)) {
            total = *cabecalho + bench::tamanhoDoCorpo(texto.substr(0, *cabecalho)).value_or(0);
        }
    }
    return recebidos == total ? total : 0;
}

void atende(int fd) {
    std::array<char, 64 * 1024> buffer;
    const auto &resposta = bench::RESPOSTA_SOMA;
    while (recebePedido(fd, buffer) != 0) {
        if (send(fd, resposta.data(), resposta.size(), MSG_NOSIGNAL) !=
            static_cast<ssize_t>(resposta.size())) {
            break;
        }
    }
    close(fd);
}

// Accepted connections on their way to a thread. A connection gets an idle thread when there is one, else a
// new one.
class Atendentes {
public:
    void entrega(int fd) {
        bool haOcioso = false;
        {
            const std::lock_guard trava(mutex_);
            pendentes_.push_back(fd);
            haOcioso = ociosos_ >= pendentes_.size();
        }
        if (haOcioso) {
            chegou_.notify_one();
        } else {
            criaThread();
        }
    }

private:
    void criaThread() {
        pthread_attr_t atributos;
        pthread_attr_init(&atributos);
        pthread_attr_setstacksize(&atributos, PILHA);
        pthread_attr_setdetachstate(&atributos, PTHREAD_CREATE_DETACHED);
        pthread_t thread;
        if (pthread_create(&thread, &atributos, &Atendentes::executa, this) != 0) {
            std::perror("pthread_create");
        }
        pthread_attr_destroy(&atributos);
    }

    static void *executa(void *eu) {
        for (;;) {
            atende(static_cast<Atendentes *>(eu)->espera());
        }
    }

    int espera() {
        std::unique_lock trava(mutex_);
        ociosos_++;
        chegou_.wait(trava, [this] { return !pendentes_.empty(); });
        ociosos_--;
        const int fd = pendentes_.front();
        pendentes_.pop_front();
        return fd;
    }

    std::mutex mutex_;
    std::condition_variable chegou_;
    std::deque<int> pendentes_;
    std::size_t ociosos_ = 0;
};

int escuta(std::uint16_t porta) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int ligado = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &ligado, sizeof ligado);
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &ligado, sizeof ligado); // accepted sockets inherit it
    sockaddr_in endereco = {};
    endereco.sin_family = AF_INET;
    endereco.sin_port = htons(porta);
    endereco.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t tamanho = sizeof endereco;
    auto *const generico = reinterpret_cast<sockaddr *>(&endereco);
    if (bind(fd, generico, tamanho) != 0 || listen(fd, SOMAXCONN) != 0 ||
        getsockname(fd, generico, &tamanho) != 0) {
        std::perror("respondedor");
        std::exit(1);
    }
    std::printf("porta %d\n", ntohs(endereco.sin_port));
    std::fflush(stdout);
    return fd;
}

} // namespace

int main(int argc, char **argv) {
    static const option longas[] = {{"porta", required_argument, nullptr, 'p'}, {nullptr, 0, nullptr, 0}};
    std::uint16_t porta = 0;
    for (int letra = 0; (letra = getopt_long(argc, argv, "", longas, nullptr)) != -1;) {
        if (letra != 'p') {
            std::fputs("uso: respondedor [--porta P]   (0, the default: any free port, which it prints)\n",
                       stderr);
            return 2;
        }
        porta = static_cast<std::uint16_t>(std::strtoul(optarg, nullptr, 10));
    }
    const int escutador = escuta(porta);
    static Atendentes atendentes;
    for (;;) {
        const int fd = accept4(escutador, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd >= 0) {
            atendentes.entrega(fd);
        } else if (errno != EINTR && errno != ECONNABORTED) {
            std::perror("accept");
        }
    }
}
