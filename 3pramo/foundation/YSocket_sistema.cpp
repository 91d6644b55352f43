#include <3pramo/foundation/YSocket_sistema.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <fcntl.h>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

namespace pramo::sistema {

namespace {

constexpr timeval ESPERA_NO_NUCLEO{0, 100'000}; // of accept, and of a receive before it turns to poll
constexpr int ESPERA_NO_NUCLEO_MS = 100;
constexpr int FILA = 4096;
constexpr int SEM_PROGRESSO_MS = 30'000;
constexpr std::size_t PARTES_POR_CHAMADA = 16;
constexpr std::uint32_t MAIOR_PORTA = 65535;

int liga(int fd, int nivel, int opcao) {
    const int sim = 1;
    return setsockopt(fd, nivel, opcao, &sim, sizeof sim);
}

// A connection takes over the options of the listener that accepted it.
void preparaConexao(int fd) {
    liga(fd, IPPROTO_TCP, TCP_NODELAY);
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &ESPERA_NO_NUCLEO, sizeof ESPERA_NO_NUCLEO);
}

bool amarra(int fd, int familia, std::uint16_t porta) {
    if (familia == AF_INET6) {
        const int nao = 0;
        setsockopt(fd, IPPROTO_IPV6, IPV6_V6ONLY, &nao, sizeof nao);
        sockaddr_in6 endereco{};
        endereco.sin6_family = AF_INET6;
        endereco.sin6_addr = in6addr_any;
        endereco.sin6_port = htons(porta);
        return bind(fd, reinterpret_cast<const sockaddr *>(&endereco), sizeof endereco) == 0;
    }
    sockaddr_in endereco{};
    endereco.sin_family = AF_INET;
    endereco.sin_addr.s_addr = htonl(INADDR_ANY);
    endereco.sin_port = htons(porta);
    return bind(fd, reinterpret_cast<const sockaddr *>(&endereco), sizeof endereco) == 0;
}

int milissegundosAte(std::int64_t prazo) {
    using namespace std::chrono;
    const std::int64_t agora = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    if (prazo > INT64_MAX / 1000) {
        return INT_MAX;
    }
    return static_cast<int>(std::clamp<std::int64_t>(prazo * 1000 - agora, 0, INT_MAX));
}

/// False when the wait passed without the event.
bool espera(int fd, short evento, int milissegundos) {
    pollfd p{fd, evento, 0};
    const int n = poll(&p, 1, milissegundos);
    return n > 0 || (n < 0 && errno == EINTR);
}

} // namespace

int escuta(std::uint32_t porta) {
    if (porta > MAIOR_PORTA) {
        return -1;
    }
    for (const int familia : {AF_INET6, AF_INET}) {
        const int fd = socket(familia, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (fd < 0) {
            continue; // a system without IPv6
        }
        liga(fd, SOL_SOCKET, SO_REUSEADDR);
        preparaConexao(fd);
        if (amarra(fd, familia, static_cast<std::uint16_t>(porta)) && listen(fd, FILA) == 0) {
            return fd;
        }
        const int erro = errno;
        close(fd);
        if (erro != EAFNOSUPPORT && erro != EADDRNOTAVAIL) {
            break;
        }
    }
    return -1;
}

int aceita(int ouvinte) {
    const int fd = accept4(ouvinte, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd >= 0) {
        return fd;
    }
    const bool falta = errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM;
    return falta ? FALTA_RECURSO : NENHUMA;
}

int conecta(const char *endereco, std::uint32_t porta, std::int64_t prazo) {
    addrinfo pedido{};
    pedido.ai_socktype = SOCK_STREAM;
    addrinfo *achados = nullptr;
    if (porta > MAIOR_PORTA || getaddrinfo(endereco, std::to_string(porta).c_str(), &pedido, &achados) != 0) {
        return -1;
    }
    const std::unique_ptr<addrinfo, void (*)(addrinfo *)> lista(achados, freeaddrinfo);
    for (const addrinfo *a = achados; a != nullptr; a = a->ai_next) {
        const int fd = socket(a->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        if (fd < 0) {
            continue;
        }
        bool conectado = connect(fd, a->ai_addr, a->ai_addrlen) == 0;
        if (!conectado && errno == EINPROGRESS && espera(fd, POLLOUT, milissegundosAte(prazo))) {
            int erro = 0;
            socklen_t tamanho = sizeof erro;
            conectado = getsockopt(fd, SOL_SOCKET, SO_ERROR, &erro, &tamanho) == 0 && erro == 0;
        }
        if (conectado) {
            fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
            preparaConexao(fd);
            return fd;
        }
        close(fd);
    }
    return -1;
}

std::uint32_t portaLocal(int fd) {
    sockaddr_storage endereco{};
    socklen_t tamanho = sizeof endereco;
    if (getsockname(fd, reinterpret_cast<sockaddr *>(&endereco), &tamanho) != 0) {
        return 0;
    }
    return endereco.ss_family == AF_INET6 ? ntohs(reinterpret_cast<sockaddr_in6 &>(endereco).sin6_port)
                                          : ntohs(reinterpret_cast<sockaddr_in &>(endereco).sin_port);
}

ssize_t recebe(int fd, char *destino, std::size_t espaco, std::int64_t prazo) {
    // The common case is one system call: the kernel itself waits a moment. Only a longer wait polls, and
    // near the deadline nothing waits in the kernel.
    for (;;) {
        const int resta = milissegundosAte(prazo);
        const int opcoes = resta > ESPERA_NO_NUCLEO_MS ? 0 : MSG_DONTWAIT;
        const ssize_t n = recv(fd, destino, espaco, opcoes);
        if (n >= 0) {
            return n;
        }
        if (errno == EINTR) {
            continue;
        }
        if (errno != EAGAIN && errno != EWOULDBLOCK) {
            return FIM;
        }
        if (!espera(fd, POLLIN, milissegundosAte(prazo))) {
            return PRAZO;
        }
    }
}

bool envia(int fd, std::span<const std::string_view> partes) {
    std::array<iovec, PARTES_POR_CHAMADA> vetor{};
    std::size_t enviadosDaPrimeira = 0;
    while (!partes.empty()) {
        const std::size_t n = std::min(partes.size(), vetor.size());
        for (std::size_t i = 0; i < n; i++) {
            vetor[i] = {const_cast<char *>(partes[i].data()), partes[i].size()};
        }
        vetor[0] = {const_cast<char *>(partes[0].data()) + enviadosDaPrimeira,
                    partes[0].size() - enviadosDaPrimeira};
        msghdr mensagem{};
        mensagem.msg_iov = vetor.data();
        mensagem.msg_iovlen = n;
        const ssize_t r = sendmsg(fd, &mensagem, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (r < 0 && errno != EINTR && errno != EAGAIN && errno != EWOULDBLOCK) {
            return false;
        }
        if (r < 0 && errno != EINTR && !espera(fd, POLLOUT, SEM_PROGRESSO_MS)) {
            return false;
        }
        enviadosDaPrimeira += r > 0 ? static_cast<std::size_t>(r) : 0;
        while (!partes.empty() && enviadosDaPrimeira >= partes[0].size()) {
            enviadosDaPrimeira -= partes[0].size();
            partes = partes.subspan(1);
        }
    }
    return true;
}

void jogaFora(int fd, int milissegundos) {
    using Relogio = std::chrono::steady_clock;
    constexpr std::size_t MAXIMO = std::size_t{64} << 20;
    const auto fim = Relogio::now() + std::chrono::milliseconds(milissegundos);
    std::array<char, 16384> lixo{};
    for (std::size_t total = 0; total < MAXIMO;) {
        const ssize_t n = recv(fd, lixo.data(), lixo.size(), MSG_DONTWAIT);
        if (n > 0) {
            total += static_cast<std::size_t>(n);
            continue;
        }
        const auto resta =
            std::chrono::duration_cast<std::chrono::milliseconds>(fim - Relogio::now()).count();
        const bool espere = n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
        if (!espere || resta <= 0 || !espera(fd, POLLIN, static_cast<int>(resta))) {
            return;
        }
    }
}

} // namespace pramo::sistema
