// The system calls behind YSocket. A connection waits in the kernel for 50 ms at most, which makes the
// common exchange one call; longer waits are poll's, which knows deadlines and the Despertador. A signal
// ends no wait: it is taken up again with the time that remains.
#include <3pramo/foundation/YSocket_sistema.hpp>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <linux/sockios.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <optional>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

namespace pramo::sistema {

namespace {

constexpr int ESPERA_NO_NUCLEO_MS = 50; // of accept, and of a receive before it turns to poll
constexpr timeval ESPERA_NO_NUCLEO{0, 1000L * ESPERA_NO_NUCLEO_MS};
constexpr int FILA = 4096;
constexpr std::size_t PARTES_POR_CHAMADA = 16;

int liga(int fd, int nivel, int opcao, int valor = 1) {
    return setsockopt(fd, nivel, opcao, &valor, sizeof valor);
}

// A connection takes over the options of the listener that accepted it.
// So an accepted one costs no calls for them. On the listener the wait of SO_RCVTIMEO is accept's.
void preparaConexao(int fd) {
    liga(fd, IPPROTO_TCP, TCP_NODELAY);
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &ESPERA_NO_NUCLEO, sizeof ESPERA_NO_NUCLEO);
}

bool tenteDeNovo(int erro) {
    return erro == EINTR || erro == EAGAIN || erro == EWOULDBLOCK;
}

// ---- Listening ----

struct Endereco {
    sockaddr_storage onde{};
    socklen_t tamanho = 0;
    bool duplo = false; // IPv6 that takes IPv4 too
};

Endereco enderecoV6(const in6_addr &numero, std::uint16_t porta, bool duplo) {
    Endereco endereco{{}, sizeof(sockaddr_in6), duplo};
    auto &v6 = reinterpret_cast<sockaddr_in6 &>(endereco.onde);
    v6.sin6_family = AF_INET6;
    v6.sin6_addr = numero;
    v6.sin6_port = htons(porta);
    return endereco;
}

Endereco enderecoV4(in_addr numero, std::uint16_t porta) {
    Endereco endereco{{}, sizeof(sockaddr_in), false};
    auto &v4 = reinterpret_cast<sockaddr_in &>(endereco.onde);
    v4.sin_family = AF_INET;
    v4.sin_addr = numero;
    v4.sin_port = htons(porta);
    return endereco;
}

int escutaEm(const Endereco &endereco) {
    const int fd = acimaDosPadroes(socket(endereco.onde.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (fd < 0) {
        return -1;
    }
    // A server that starts anew gets its port while connections of the last one are still going under.
    liga(fd, SOL_SOCKET, SO_REUSEADDR);
    if (endereco.onde.ss_family == AF_INET6) {
        liga(fd, IPPROTO_IPV6, IPV6_V6ONLY, endereco.duplo ? 0 : 1);
    }
    preparaConexao(fd);
    if (bind(fd, reinterpret_cast<const sockaddr *>(&endereco.onde), endereco.tamanho) == 0 &&
        listen(fd, FILA) == 0) {
        return fd;
    }
    // close may change it, and the caller asks why.
    const int erro = errno;
    close(fd);
    errno = erro;
    return -1;
}

// ---- Sending ----

/// What the peer has acknowledged of the bytes that the system took.
/// SIOCOUTQ counts what it has not.
std::int64_t confirmados(int fd, std::int64_t aceitos) {
    int naFila = 0;
    return ioctl(fd, SIOCOUTQ, &naFila) == 0 ? aceitos - naFila : aceitos;
}

/// Waits for room, for one call of `envia`; begins with the first wait.
class Cadencia {
public:
    Cadencia(int fd, std::int64_t aceitos, Ritmo ritmo)
        : fd_(fd), ritmo_(ritmo), janela_(Prazo::daqui(ritmo.janela)), noInicio_(confirmados(fd, aceitos)) {}

    /// False when the peer took too little.
    bool espera(std::int64_t aceitos, const Prazo &prazo) {
        // Until the nearer of the two. The deadline ends the sending; a window, only when too little came of
        // it.
        const Prazo &primeiro = prazo.resta() < janela_.resta() ? prazo : janela_;
        if (sistema::espera(fd_, POLLOUT, primeiro) == Espera::PRAZO && prazo.resta() == 0) {
            return false;
        }
        const std::int64_t agora = confirmados(fd_, aceitos);
        if (agora - noInicio_ >= ritmo_.bytes) {
            noInicio_ = agora;
            janela_ = Prazo::daqui(ritmo_.janela);
        }
        return janela_.resta() > 0;
    }

private:
    int fd_;
    Ritmo ritmo_;
    Prazo janela_;
    std::int64_t noInicio_;
};

ssize_t enviaUmaVez(int fd, std::span<const std::string_view> partes, std::size_t jaDaPrimeira) {
    std::array<iovec, PARTES_POR_CHAMADA> vetor{};
    const std::size_t n = std::min(partes.size(), vetor.size());
    for (std::size_t i = 0; i < n; i++) {
        vetor[i] = {const_cast<char *>(partes[i].data()), partes[i].size()};
    }
    // Of the first piece a part may have gone with the call before.
    vetor[0] = {const_cast<char *>(partes[0].data()) + jaDaPrimeira, partes[0].size() - jaDaPrimeira};
    msghdr mensagem{};
    mensagem.msg_iov = vetor.data();
    mensagem.msg_iovlen = n;
    // Never waits: that is for Cadencia, which knows for how long. A peer that has gone is an error, not a
    // signal.
    return sendmsg(fd, &mensagem, MSG_NOSIGNAL | MSG_DONTWAIT);
}

} // namespace

int acimaDosPadroes(int fd) {
    if (fd < 0 || fd > STDERR_FILENO) {
        return fd;
    }
    const int outro = fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    // close may change it, and the caller asks why there is none.
    const int erro = errno;
    close(fd);
    errno = erro;
    return outro;
}

Espera espera(int fd, short evento, const Prazo &prazo, int despertador) {
    std::array<pollfd, 2> dois = {{{fd, evento, 0}, {despertador, POLLIN, 0}}};
    for (;;) {
        const int resta = prazo.resta();
        const int n = poll(dois.data(), despertador < 0 ? 1 : 2, resta);
        if (n > 0) {
            // The event first when both are there: what has arrived is still taken. An error of the
            // descriptor is an event, too; the call that follows tells which.
            return dois[0].revents != 0 ? Espera::EVENTO : Espera::DESPERTADOR;
        }
        if (resta == 0 || (n < 0 && errno != EINTR)) {
            return Espera::PRAZO;
        }
    }
}

int escuta(const char *endereco, std::uint32_t porta) {
    if (porta > MAIOR_PORTA) {
        errno = ERANGE;
        return -1;
    }
    const auto p = static_cast<std::uint16_t>(porta);
    if (endereco == nullptr) {
        const int fd = escutaEm(enderecoV6(in6addr_any, p, true));
        // A machine without IPv6.
        const bool semV6 = fd < 0 && (errno == EAFNOSUPPORT || errno == EADDRNOTAVAIL);
        return semV6 ? escutaEm(enderecoV4({htonl(INADDR_ANY)}, p)) : fd;
    }
    in_addr v4{};
    in6_addr v6{};
    if (inet_pton(AF_INET, endereco, &v4) == 1) {
        return escutaEm(enderecoV4(v4, p));
    }
    if (inet_pton(AF_INET6, endereco, &v6) == 1) {
        return escutaEm(enderecoV6(v6, p, false));
    }
    errno = EINVAL;
    return -1;
}

int aceita(int ouvinte) {
    // The listener blocks; its SO_RCVTIMEO ends the wait.
    const int fd = acimaDosPadroes(accept4(ouvinte, nullptr, nullptr, SOCK_CLOEXEC));
    if (fd >= 0) {
        return fd;
    }
    switch (errno) {
    case EAGAIN: // none came
    case EINTR:
    case ECONNABORTED: // or the one that came is already gone
    case EPROTO:
    case ENOPROTOOPT:
    case ENETDOWN:
    case ENETUNREACH:
    case EHOSTDOWN:
    case EHOSTUNREACH:
    case ENONET:
        return NENHUMA;
    case EBADF:
    case EINVAL:
    case ENOTSOCK:
    case EOPNOTSUPP:
        return OUVINTE_RUIM;
    default:
        return FALHA;
    }
}

int comecaConexao(const addrinfo &endereco) {
    const int fd = acimaDosPadroes(socket(endereco.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (fd < 0 || connect(fd, endereco.ai_addr, endereco.ai_addrlen) == 0 || errno == EINPROGRESS ||
        errno == EINTR) {
        return fd;
    }
    close(fd);
    return -1;
}

bool terminaConexao(int fd) {
    int erro = 0;
    socklen_t tamanho = sizeof erro;
    if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &erro, &tamanho) != 0 || erro != 0) {
        return false;
    }
    // Non-blocking was for connecting alone.
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    preparaConexao(fd);
    return true;
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

ssize_t recebe(int fd, char *destino, std::size_t espaco, const Prazo &prazo, int despertador) {
    // The common case is one system call: the kernel itself waits a moment. Only a longer wait polls, and
    // near the deadline nothing waits in the kernel.
    for (;;) {
        const int opcoes = prazo.resta() > ESPERA_NO_NUCLEO_MS ? 0 : MSG_DONTWAIT;
        const ssize_t n = recv(fd, destino, espaco, opcoes);
        if (n >= 0) {
            return n;
        }
        if (!tenteDeNovo(errno)) {
            return FIM;
        }
        // Nothing was read and no time is lost: the next round looks at the deadline.
        if (errno == EINTR) {
            continue;
        }
        switch (espera(fd, POLLIN, prazo, despertador)) {
        case Espera::EVENTO:
            break;
        case Espera::PRAZO:
            return PRAZO;
        case Espera::DESPERTADOR:
            return DESPERTADO;
        }
    }
}

Envio envia(int fd, std::span<const std::string_view> partes, const Prazo &prazo, Ritmo ritmo) {
    std::optional<Cadencia> cadencia;
    std::size_t daPrimeira = 0;
    std::int64_t aceitos = 0;
    while (!partes.empty()) {
        const ssize_t r = enviaUmaVez(fd, partes, daPrimeira);
        if (r < 0 && !tenteDeNovo(errno)) {
            return Envio::ACABOU;
        }
        if (r < 0 && errno != EINTR) {
            // Only whoever must wait pays for keeping time.
            if (!cadencia) {
                cadencia.emplace(fd, aceitos, ritmo);
            }
            if (!cadencia->espera(aceitos, prazo)) {
                return Envio::LENTO;
            }
        }
        aceitos += std::max<ssize_t>(r, 0);
        daPrimeira += static_cast<std::size_t>(std::max<ssize_t>(r, 0));
        // Pieces that went whole; empty ones go with them.
        while (!partes.empty() && daPrimeira >= partes[0].size()) {
            daPrimeira -= partes[0].size();
            partes = partes.subspan(1);
        }
    }
    return Envio::FEITO;
}

void jogaFora(int fd, int limite, int silencio) {
    // Three bounds, since the peer chooses what it sends, how fast and for how long.
    constexpr std::size_t MAXIMO = std::size_t{64} << 20;
    constexpr int PASSO = 10; // milliseconds between two looks at what was acknowledged
    const Prazo fim = Prazo::daqui(limite);
    Prazo calado = Prazo::daqui(silencio);
    std::array<char, 16384> lixo{};
    for (std::size_t total = 0; total < MAXIMO;) {
        const ssize_t n = recv(fd, lixo.data(), lixo.size(), MSG_DONTWAIT);
        if (n > 0) {
            total += static_cast<std::size_t>(n);
            calado = Prazo::daqui(silencio);
            continue;
        }
        const bool acabou = n == 0 || !tenteDeNovo(errno);
        // Silent and everything acknowledged: a reset could take nothing away any more.
        const bool entregue = calado.resta() == 0 && confirmados(fd, 0) == 0;
        if (acabou || entregue || fim.resta() == 0) {
            return;
        }
        const int passo = calado.resta() > 0 ? calado.resta() : PASSO;
        espera(fd, POLLIN, Prazo::daqui(std::min(passo, fim.resta())));
    }
}

} // namespace pramo::sistema
