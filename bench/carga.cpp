// Load generator: sends one HTTP request again and again to 127.0.0.1 and holds every answer against the
// expected text. One thread and one epoll, because client and server share the machine. See uso() for the
// arguments.
#include "histograma.hpp"
#include "mensagem.hpp"
#include "soma.hpp"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <getopt.h>
#include <iterator>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

using Relogio = std::chrono::steady_clock;

constexpr int ESPERA_MAXIMA_MS = 5000; // for any one answer
constexpr std::uint64_t ERROS_MAXIMOS = 100;

struct Opcoes {
    std::uint16_t porta = 0;
    unsigned conexoes = 1;
    bool nova = false;
    double segundos = 0;
    std::uint64_t chamadas = 0;
    std::string pedido = bench::PEDIDO_SOMA;
    std::string espera = bench::SOMA_ESPERADA;
};

struct Conexao {
    int fd = -1;
    std::size_t recebidos = 0;
    Relogio::time_point inicio;
    std::array<char, 64 * 1024> buffer;
};

enum class Leitura { INCOMPLETA, CERTA, ERRADA };

class Carga {
public:
    explicit Carga(const Opcoes &opcoes) : opcoes_(opcoes), conexoes_(opcoes.conexoes) {}
    ~Carga();
    Carga(const Carga &) = delete;
    Carga &operator=(const Carga &) = delete;

    void executa();
    bool relata() const;

private:
    void chama(Conexao &conexao);
    void trata(Conexao &conexao);
    void erra(Conexao &conexao, const char *motivo);
    bool conecta(Conexao &conexao);
    void fecha(Conexao &conexao);
    Leitura le(Conexao &conexao);
    Leitura julga(std::string_view resposta);
    bool deveChamar() const;

    const Opcoes &opcoes_;
    std::vector<Conexao> conexoes_;
    int epoll_ = -1;
    unsigned emCurso_ = 0;
    std::uint64_t iniciadas_ = 0;
    std::uint64_t erros_ = 0;
    std::size_t tamanhoDaResposta_ = 0;
    Relogio::time_point comeco_;
    Relogio::time_point fim_;
    bench::Histograma latencias_;
};

Carga::~Carga() {
    for (auto &conexao : conexoes_) {
        fecha(conexao);
    }
    if (epoll_ >= 0) {
        close(epoll_);
    }
}

void Carga::executa() {
    epoll_ = epoll_create1(EPOLL_CLOEXEC);
    comeco_ = Relogio::now();
    for (auto &conexao : conexoes_) {
        if (deveChamar()) {
            chama(conexao);
        }
    }
    std::array<epoll_event, 64> eventos;
    while (emCurso_ > 0) {
        const int prontos =
            epoll_wait(epoll_, eventos.data(), static_cast<int>(eventos.size()), ESPERA_MAXIMA_MS);
        if (prontos < 0 && errno == EINTR) {
            continue;
        }
        if (prontos <= 0) {
            std::fprintf(stderr, "carga: %u chamadas sem resposta em %d ms\n", emCurso_, ESPERA_MAXIMA_MS);
            erros_ += emCurso_;
            break;
        }
        for (int i = 0; i < prontos; i++) {
            trata(*static_cast<Conexao *>(eventos[static_cast<std::size_t>(i)].data.ptr));
        }
    }
    fim_ = Relogio::now();
}

bool Carga::deveChamar() const {
    if (erros_ >= ERROS_MAXIMOS) {
        return false;
    }
    if (opcoes_.chamadas != 0) {
        return iniciadas_ < opcoes_.chamadas;
    }
    return std::chrono::duration<double>(Relogio::now() - comeco_).count() < opcoes_.segundos;
}

// The clock of a call on a new connection starts before the connection does.
void Carga::chama(Conexao &conexao) {
    iniciadas_++;
    emCurso_++;
    conexao.recebidos = 0;
    conexao.inicio = Relogio::now();
    const auto tamanho = static_cast<ssize_t>(opcoes_.pedido.size());
    if (conexao.fd < 0 && !conecta(conexao)) {
        erra(conexao, "conexão recusada");
    } else if (send(conexao.fd, opcoes_.pedido.data(), opcoes_.pedido.size(), MSG_NOSIGNAL) != tamanho) {
        erra(conexao, "pedido não foi inteiro");
    }
}

bool Carga::conecta(Conexao &conexao) {
    conexao.fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int ligado = 1;
    const timeval prazo = {ESPERA_MAXIMA_MS / 1000, 0};
    setsockopt(conexao.fd, IPPROTO_TCP, TCP_NODELAY, &ligado, sizeof ligado);
    setsockopt(conexao.fd, SOL_SOCKET, SO_SNDTIMEO, &prazo, sizeof prazo);
    sockaddr_in destino = {};
    destino.sin_family = AF_INET;
    destino.sin_port = htons(opcoes_.porta);
    destino.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(conexao.fd, reinterpret_cast<const sockaddr *>(&destino), sizeof destino) != 0) {
        return false;
    }
    epoll_event evento = {};
    evento.events = EPOLLIN;
    evento.data.ptr = &conexao;
    return epoll_ctl(epoll_, EPOLL_CTL_ADD, conexao.fd, &evento) == 0;
}

void Carga::fecha(Conexao &conexao) {
    if (conexao.fd >= 0) {
        close(conexao.fd);
    }
    conexao.fd = -1;
}

void Carga::trata(Conexao &conexao) {
    switch (le(conexao)) {
    case Leitura::INCOMPLETA:
        return;
    case Leitura::ERRADA:
        erra(conexao, "resposta errada ou cortada");
        break;
    case Leitura::CERTA:
        if (opcoes_.nova) {
            fecha(conexao);
        }
        latencias_.poe(static_cast<std::uint64_t>((Relogio::now() - conexao.inicio).count()));
        emCurso_--;
    }
    if (deveChamar()) {
        chama(conexao);
    }
}

Leitura Carga::le(Conexao &conexao) {
    const auto livres = conexao.buffer.size() - conexao.recebidos;
    const auto lidos = recv(conexao.fd, conexao.buffer.data() + conexao.recebidos, livres, MSG_DONTWAIT);
    if (lidos < 0 && (errno == EAGAIN || errno == EINTR)) {
        return Leitura::INCOMPLETA;
    }
    if (lidos <= 0) {
        return Leitura::ERRADA;
    }
    conexao.recebidos += static_cast<std::size_t>(lidos);
    const auto lida = julga({conexao.buffer.data(), conexao.recebidos});
    return lida == Leitura::INCOMPLETA && conexao.recebidos == conexao.buffer.size() ? Leitura::ERRADA : lida;
}

Leitura Carga::julga(std::string_view resposta) {
    const auto cabecalho = bench::fimDoCabecalho(resposta);
    if (!cabecalho) {
        return Leitura::INCOMPLETA;
    }
    const auto corpo = bench::tamanhoDoCorpo(resposta.substr(0, *cabecalho));
    if (!corpo || !resposta.starts_with("HTTP/1.1 200 ") || resposta.size() > *cabecalho + *corpo) {
        return Leitura::ERRADA;
    }
    if (resposta.size() < *cabecalho + *corpo) {
        return Leitura::INCOMPLETA;
    }
    tamanhoDaResposta_ = resposta.size();
    return resposta.find(opcoes_.espera, *cabecalho) == std::string_view::npos ? Leitura::ERRADA
                                                                               : Leitura::CERTA;
}

void Carga::erra(Conexao &conexao, const char *motivo) {
    if (erros_ == 0) {
        std::fprintf(stderr, "carga: %s; recebido:\n%.*s\n", motivo, static_cast<int>(conexao.recebidos),
                     conexao.buffer.data());
    }
    erros_++;
    emCurso_--;
    fecha(conexao);
}

bool Carga::relata() const {
    const double segundos = std::chrono::duration<double>(fim_ - comeco_).count();
    std::printf("chamadas=%llu por_segundo=%.0f p50_us=%.1f p99_us=%.1f bytes=%zu erros=%llu\n",
                static_cast<unsigned long long>(latencias_.total()),
                static_cast<double>(latencias_.total()) / segundos, latencias_.percentil(0.50),
                latencias_.percentil(0.99), tamanhoDaResposta_, static_cast<unsigned long long>(erros_));
    return erros_ == 0 && latencias_.total() > 0;
}

[[noreturn]] void uso() {
    std::fputs(
        "uso: carga --porta P [--conexoes N] [--nova] (--segundos T | --chamadas N)\n"
        "           [--pedido ARQUIVO] [--espera TEXTO]\n"
        "  --nova    a new connection for every call; without it the N connections are kept\n"
        "  --pedido  file with the whole HTTP request (default: soma(2, 3) of Calc)\n"
        "  --espera  text that every answer must hold (default: the sum)\n"
        "Prints calls, calls a second, latencies, bytes of one answer and errors; status 1 with any error.\n",
        stderr);
    std::exit(2);
}

std::string leArquivo(const char *caminho) {
    std::ifstream arquivo(caminho, std::ios::binary);
    if (!arquivo) {
        std::perror(caminho);
        std::exit(2);
    }
    return {std::istreambuf_iterator<char>(arquivo), {}};
}

Opcoes leOpcoes(int argc, char **argv) {
    static const option longas[] = {
        {"porta", required_argument, nullptr, 'p'},    {"conexoes", required_argument, nullptr, 'c'},
        {"nova", no_argument, nullptr, 'n'},           {"segundos", required_argument, nullptr, 's'},
        {"chamadas", required_argument, nullptr, 'q'}, {"pedido", required_argument, nullptr, 'r'},
        {"espera", required_argument, nullptr, 'e'},   {nullptr, 0, nullptr, 0}};
    Opcoes opcoes;
    for (int letra = 0; (letra = getopt_long(argc, argv, "", longas, nullptr)) != -1;) {
        switch (letra) {
        case 'p':
            opcoes.porta = static_cast<std::uint16_t>(std::strtoul(optarg, nullptr, 10));
            break;
        case 'c':
            opcoes.conexoes = static_cast<unsigned>(std::strtoul(optarg, nullptr, 10));
            break;
        case 'n':
            opcoes.nova = true;
            break;
        case 's':
            opcoes.segundos = std::strtod(optarg, nullptr);
            break;
        case 'q':
            opcoes.chamadas = std::strtoull(optarg, nullptr, 10);
            break;
        case 'r':
            opcoes.pedido = leArquivo(optarg);
            break;
        case 'e':
            opcoes.espera = optarg;
            break;
        default:
            uso();
        }
    }
    const bool umLimite = (opcoes.segundos > 0) != (opcoes.chamadas > 0);
    if (opcoes.porta == 0 || opcoes.conexoes == 0 || opcoes.conexoes > 1000 || !umLimite || optind != argc) {
        uso();
    }
    return opcoes;
}

} // namespace

int main(int argc, char **argv) {
    const auto opcoes = leOpcoes(argc, argv);
    Carga carga(opcoes);
    carga.executa();
    return carga.relata() ? 0 : 1;
}
