// How a socket comes to its descriptor: listening, accepting, connecting.
#include <3pramo/foundation/YSocket_interno.hpp>

#include <3pramo/foundation/Trinco.hpp>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YSocket_sistema.hpp>
#include <3pramo/foundation/YexecutaThread.h>
#include <3pramo/foundation/cria.hpp>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <netdb.h>
#include <poll.h>
#include <pthread.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YSocket";
constexpr int ESPERA_POR_CONEXAO = 100; // milliseconds
constexpr int PASSO = 50;               // between two looks at whether the socket was cancelled
constexpr int MAXIMO_DE_BUSCAS = 64;

const char *motivo(int erro) {
    switch (erro) {
    case EADDRINUSE:
        return "Já está em uso."_l1;
    case EACCES:
    case EPERM:
        return "Permissão negada."_l1;
    case EADDRNOTAVAIL:
    case EAFNOSUPPORT:
        return "O endereço não é desta máquina."_l1;
    case EINVAL:
        return "O endereço não é numérico."_l1;
    case ERANGE:
        return "Não existe."_l1;
    case EMFILE:
    case ENFILE:
        return "Faltam descritores."_l1;
    case ENOBUFS:
    case ENOMEM:
        return "Falta memória."_l1;
    default:
        return "Erro do sistema."_l1;
    }
}

// ---- Names ----

using Enderecos = std::unique_ptr<addrinfo, void (*)(addrinfo *)>;

Enderecos procura(const char *nome, std::uint32_t porta, int opcoes) {
    addrinfo pedido{};
    pedido.ai_socktype = SOCK_STREAM;
    pedido.ai_flags = opcoes;
    addrinfo *achados = nullptr;
    const int erro = getaddrinfo(nome, std::to_string(porta).c_str(), &pedido, &achados);
    return {erro == 0 ? achados : nullptr, freeaddrinfo};
}

/// The search for a name on a thread of its own: the system's cannot be given a deadline, so who asked may
/// leave before it ends. Shared by both; the last one frees it.
struct Busca {
    Busca(const char *qual, std::uint32_t emQual) : nome(qual), porta(emQual) {}

    const std::string nome;
    const std::uint32_t porta;
    Trinco trinco;
    Condicao mudou;
    bool pronta Y_GUARDADO_POR(trinco) = false;
    Enderecos achados Y_GUARDADO_POR(trinco){nullptr, freeaddrinfo};
};

// Searches whose asker may have left: each holds a thread for as long as the system's resolver lasts.
std::atomic<int> buscasAbertas{0};
// In the child of a fork none of them goes on.
[[maybe_unused]] const int noFilhoNenhuma = pthread_atfork(nullptr, nullptr, [] { buscasAbertas = 0; });

void executaBusca(void *argumento) {
    // This thread's share in the search; the asker may have given up its own by now.
    const std::unique_ptr<std::shared_ptr<Busca>> dela(static_cast<std::shared_ptr<Busca> *>(argumento));
    Busca &busca = **dela;
    Enderecos achados{nullptr, freeaddrinfo};
    try {
        achados = procura(busca.nome.c_str(), busca.porta, 0);
    } catch (const std::bad_alloc &) { // as a name that is not found
    }
    buscasAbertas--;
    const Tranca tranca(busca.trinco);
    busca.achados = std::move(achados);
    busca.pronta = true;
    busca.mudou.avisa();
}

void comecaBusca(const std::shared_ptr<Busca> &busca) {
    // On the heap, since the thread gets one plain pointer; freed here unless the thread was made.
    auto dela = std::make_unique<std::shared_ptr<Busca>>(busca);
    buscasAbertas++;
    try {
        YexecutaThread(executaBusca, dela.get());
    } catch (...) {
        buscasAbertas--;
        throw;
    }
    (void)dela.release(); // the search frees it
}

/// The addresses of a name; none when it has none, or when they did not come in time.
Enderecos procuraAte(const YSocket &socket, const char *nome, std::uint32_t porta, const Prazo &prazo) {
    // A number needs no search and comes at once.
    Enderecos numerico = procura(nome, porta, AI_NUMERICHOST | AI_NUMERICSERV);
    if (numerico != nullptr || nome == nullptr || buscasAbertas >= MAXIMO_DE_BUSCAS) {
        return numerico;
    }
    auto busca = std::make_shared<Busca>(nome, porta);
    comecaBusca(busca);
    const Tranca tranca(busca->trinco);
    // In steps, for YSocket_cancela does not know this condition.
    while (!busca->pronta && prazo.resta() > 0 && !socket.cancelado) {
        const auto passo = std::chrono::milliseconds(std::min(PASSO, prazo.resta()));
        busca->mudou.esperaAte(busca->trinco, Prazo::Relogio::now() + passo);
    }
    // Null when it is not ready: the search then frees what it finds.
    return std::move(busca->achados);
}

// ---- Connecting ----

/// Closes it unless somebody took it over.
class Descritor {
public:
    explicit Descritor(int fd) : fd_(fd) {}
    ~Descritor() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    Descritor(const Descritor &) = delete;
    Descritor &operator=(const Descritor &) = delete;

    [[nodiscard]] int fd() const { return fd_; }
    int solta() { return std::exchange(fd_, -1); }

private:
    int fd_;
};

/// Tries one address: true when the socket is connected to it.
bool tentaConectar(YSocket &socket, const addrinfo &endereco, const Prazo &prazo) {
    Descritor descritor(sistema::comecaConexao(endereco));
    if (descritor.fd() < 0) {
        return false;
    }
    auto espera = sistema::Espera::PRAZO;
    // In steps: until it is connected the descriptor is not the socket's, and YSocket_cancela cannot shut it
    // down.
    do {
        const Prazo passo = Prazo::daqui(std::min(PASSO, prazo.resta()));
        espera = sistema::espera(descritor.fd(), POLLOUT, passo);
    } while (espera == sistema::Espera::PRAZO && prazo.resta() > 0 && !socket.cancelado);
    if (espera == sistema::Espera::PRAZO || !sistema::terminaConexao(descritor.fd())) {
        return false;
    }
    socket.fd = descritor.solta();
    return true;
}

YFimDaEspera conecta(YSocket &socket, const char *endereco, std::uint32_t porta, const Prazo &prazo) {
    if (socket.fd >= 0 || porta > sistema::MAIOR_PORTA) {
        return Y_ESPERA_FECHADA;
    }
    const Enderecos achados =
        semFaltaDeMemoria(FONTE, [&] { return procuraAte(socket, endereco, porta, prazo); });
    int faltam = 0;
    for (const addrinfo *a = achados.get(); a != nullptr; a = a->ai_next) {
        faltam++;
    }
    bool conectado = false;
    for (const addrinfo *a = achados.get(); a != nullptr && !conectado && !socket.cancelado; a = a->ai_next) {
        // One that never answers leaves time for those behind it.
        conectado = tentaConectar(socket, *a, Prazo::daqui(prazo.resta() / faltam--));
    }
    // After the descriptor was stored: YSocket_cancela sets its mark first and looks at the descriptor
    // then, so one of the two sees the other.
    if (socket.cancelado) {
        return Y_ESPERA_CANCELADA;
    }
    if (conectado) {
        return Y_ESPERA_PRONTA;
    }
    return prazo.resta() > 0 ? Y_ESPERA_FECHADA : Y_ESPERA_PRAZO;
}

/// A connection's descriptor, or -1 when none came. Raises when the system or the listener failed.
int aceita(YSocket &ouvinte) {
    const int fd = sistema::aceita(ouvinte.fd);
    if (fd != sistema::FALHA && fd != sistema::OUVINTE_RUIM) {
        return fd;
    }
    // A listener that was shut down fails, which is no news.
    if (ouvinte.cancelado) {
        return -1;
    }
    // Kept before anything else can change it.
    const int erro = errno;
    // What is short comes back; a listener that is gone does not, and its owner finds the mark.
    ouvinte.acabou = fd == sistema::OUVINTE_RUIM;
    YContextoTry_printf("%s ", fd == sistema::OUVINTE_RUIM ? "O ouvinte falhou." : motivo(erro));
    lanca(YExc_rtti, "Falha aceitando conexão."_l1, FONTE);
}

} // namespace

// ---- Listening ----

void YSocket_escutaEm(YSocket *ouvinte, const char *endereco, uint32_t porta) {
    if (ouvinte->fd >= 0) {
        return;
    }
    const int fd = sistema::escuta(endereco, porta);
    if (fd < 0) {
        const char *por = motivo(errno);
        if (endereco != nullptr) {
            YContextoTry_printf("endereço: %s, porta: %u. %s "_l1, endereco, porta, por);
        } else {
            YContextoTry_printf("porta: %u. %s ", porta, por);
        }
        lanca(YExc_rtti, "Porta não pôde ser usada."_l1, FONTE);
    }
    ouvinte->fd = fd;
}

void YSocket_escuta(YSocket *ouvinte, uint32_t porta) {
    YSocket_escutaEm(ouvinte, nullptr, porta);
}

bool pramo::chegaConexao(const YSocket &ouvinte) {
    // Short, so that its caller sees soon whether it is to stop.
    return sistema::espera(ouvinte.fd, POLLIN, Prazo::daqui(PASSO)) == sistema::Espera::EVENTO;
}

bool pramo::aceitaEm(YSocket &ouvinte, YSocket &nova) {
    nova.fd = aceita(ouvinte);
    return nova.fd >= 0;
}

YFimDaEspera YSocket_aceitaConexaoMs(YSocket *ouvinte, uint32_t porta, YSocket **nova,
                                     uint32_t milissegundos) {
    *nova = nullptr;
    YSocket_escuta(ouvinte, porta);
    const Prazo prazo = Prazo::daqui(milissegundos);
    while (!ouvinte->cancelado) {
        // An event may also be a connection that its peer has given up since: none comes then, and the wait
        // goes on.
        if (sistema::espera(ouvinte->fd, POLLIN, prazo) == sistema::Espera::PRAZO) {
            return Y_ESPERA_PRAZO;
        }
        // Made first: a connection is never accepted only to be lost for want of memory.
        Ponteiro<YSocket> conexao = cria<YSocket>(YSocket_rtti, FONTE);
        if (aceitaEm(*ouvinte, *conexao)) {
            *nova = conexao.release();
            return Y_ESPERA_PRONTA;
        }
    }
    return Y_ESPERA_CANCELADA;
}

YSocket *YSocket_aceitaConexao(YSocket *ouvinte, uint32_t porta) {
    YSocket *nova = nullptr;
    YSocket_aceitaConexaoMs(ouvinte, porta, &nova, ESPERA_POR_CONEXAO);
    return nova;
}

uint32_t YSocket_getPorta(const YSocket *socket) {
    return socket->fd >= 0 ? sistema::portaLocal(socket->fd) : 0;
}

// ---- Connecting ----

void YSocket_conecta(YSocket *socket, const char *endereco, uint32_t porta, int64_t prazo) {
    if (conecta(*socket, endereco, porta, Prazo::noSegundo(prazo)) != Y_ESPERA_PRONTA) {
        YContextoTry_printf("%s:%u. ", endereco, porta);
        lanca(YExcIOError_rtti, "Falha na conexão."_l1, FONTE);
    }
}

YFimDaEspera YSocket_conectaMs(YSocket *socket, const char *endereco, uint32_t porta,
                               uint32_t milissegundos) {
    return conecta(*socket, endereco, porta, Prazo::daqui(milissegundos));
}
