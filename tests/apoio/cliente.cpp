#include "cliente.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace apoio {

namespace {

constexpr timeval PRAZO{10, 0};

[[noreturn]] void falha(const char *onde) {
    throw std::system_error(errno, std::generic_category(), onde);
}

std::string semCR(std::string linha) {
    if (linha.ends_with('\r')) {
        linha.pop_back();
    }
    return linha;
}

std::string emMinusculas(std::string texto) {
    std::transform(texto.begin(), texto.end(), texto.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return texto;
}

} // namespace

Cliente::Cliente(std::uint32_t porta) : fd_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in endereco{};
    endereco.sin_family = AF_INET;
    endereco.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    endereco.sin_port = htons(static_cast<std::uint16_t>(porta));
    const int sim = 1;
    setsockopt(fd_, IPPROTO_TCP, TCP_NODELAY, &sim, sizeof sim);
    setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &PRAZO, sizeof PRAZO);
    setsockopt(fd_, SOL_SOCKET, SO_SNDTIMEO, &PRAZO, sizeof PRAZO);
    if (connect(fd_, reinterpret_cast<const sockaddr *>(&endereco), sizeof endereco) != 0) {
        const int erro = errno;
        close(fd_);
        errno = erro;
        falha("connect");
    }
}

Cliente::~Cliente() {
    if (fd_ >= 0) {
        close(fd_);
    }
}

Cliente::Cliente(Cliente &&outro) noexcept
    : fd_(std::exchange(outro.fd_, -1)), resetado_(outro.resetado_.load()),
      recebidos_(std::move(outro.recebidos_)) {}

bool Cliente::envia(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (n < 0 && (errno == EPIPE || errno == ECONNRESET)) {
            resetado_ = true;
            return false;
        }
        if (n < 0) {
            falha("send");
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

bool Cliente::recebeMais() {
    std::array<char, 16384> pedaco{};
    const ssize_t n = recv(fd_, pedaco.data(), pedaco.size(), 0);
    if (n < 0 && errno != ECONNRESET) {
        falha("recv");
    }
    resetado_ = resetado_ || n < 0;
    if (n > 0) {
        recebidos_.append(pedaco.data(), static_cast<std::size_t>(n));
    }
    return n > 0;
}

Resposta Cliente::recebe() {
    std::size_t fim = 0;
    Resposta resposta;
    for (bool primeira = true;; primeira = false) {
        std::size_t lf = 0;
        while ((lf = recebidos_.find('\n', fim)) == std::string::npos) {
            if (!recebeMais()) {
                return {};
            }
        }
        const std::string linha = semCR(recebidos_.substr(fim, lf - fim));
        fim = lf + 1;
        if (primeira) {
            resposta.linha = linha;
            continue;
        }
        if (linha.empty()) {
            break;
        }
        const std::size_t doisPontos = linha.find(": ");
        if (doisPontos == std::string::npos) {
            throw std::runtime_error("no header field: " + linha);
        }
        resposta.campos[emMinusculas(linha.substr(0, doisPontos))] = linha.substr(doisPontos + 2);
    }
    resposta.bytes = recebeBytes(fim);
    const auto tamanho = resposta.campos.find("content-length");
    if (tamanho != resposta.campos.end()) {
        resposta.corpo = recebeBytes(std::stoul(tamanho->second));
        resposta.bytes += resposta.corpo;
    }
    return resposta;
}

std::string Cliente::recebeBytes(std::size_t quantos) {
    while (recebidos_.size() < quantos && recebeMais()) {
    }
    std::string bytes = recebidos_.substr(0, quantos);
    recebidos_.erase(0, quantos);
    return bytes;
}

std::string Cliente::recebeAteFechar() {
    return recebeBytes(std::string::npos);
}

void Cliente::terminaEnvio() {
    shutdown(fd_, SHUT_WR);
}

void Cliente::aborta() {
    const linger imediato{1, 0};
    setsockopt(fd_, SOL_SOCKET, SO_LINGER, &imediato, sizeof imediato);
    close(std::exchange(fd_, -1));
}

std::string conversa(std::uint32_t porta, std::string_view bytes) {
    Cliente cliente(porta);
    cliente.envia(bytes);
    cliente.terminaEnvio();
    return cliente.recebeAteFechar();
}

std::string requisicao(std::string_view metodoEUri, std::string_view campos, std::string_view corpo) {
    std::string texto = std::string(metodoEUri) + " HTTP/1.1\r\nHost: localhost\r\n" + std::string(campos);
    if (!corpo.empty()) {
        texto += "Content-Length: " + std::to_string(corpo.size()) + "\r\n";
    }
    return texto + "\r\n" + std::string(corpo);
}

} // namespace apoio
