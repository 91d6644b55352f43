// A small blocking TCP client; one thread may send while another receives. Every wait is bounded: what does
// not come within ten seconds throws.
#pragma once

#include "teste.hpp"

#include <arpa/inet.h>
#include <netinet/tcp.h>

namespace apoio {

/// An address of this machine that belongs to the process: nobody else's test reaches its servers, or has
/// taken the port that one of them left.
inline in_addr enderecoProprio() {
    return {htonl(0x7F000000U + static_cast<std::uint32_t>(getpid()))};
}

struct Resposta {
    std::string linha; // status line; empty when the connection ended without an answer
    std::map<std::string, std::string> campos; // names in lower case
    std::string corpo;
    std::string bytes; // all of it, as received
};

class Cliente {
public:
    /// With a receive buffer of so many bytes, as the system rounds them; 0: its own.
    explicit Cliente(std::uint32_t porta, int buffer = 0, in_addr endereco = enderecoProprio()) {
        const sockaddr_in onde = {AF_INET, htons(static_cast<std::uint16_t>(porta)), endereco, {}};
        const int sim = 1;
        const timeval prazo{10, 0};
        setsockopt(fd_, IPPROTO_TCP, TCP_NODELAY, &sim, sizeof sim);
        if (buffer != 0) {
            setsockopt(fd_, SOL_SOCKET, SO_RCVBUF, &buffer, sizeof buffer);
        }
        setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &prazo, sizeof prazo);
        setsockopt(fd_, SOL_SOCKET, SO_SNDTIMEO, &prazo, sizeof prazo);
        passaram(connect(fd_, reinterpret_cast<const sockaddr *>(&onde), sizeof onde), "connect");
    }

    /// False when the server is gone.
    bool envia(std::string_view bytes) {
        for (std::size_t n = 1; n > 0 && !bytes.empty(); bytes.remove_prefix(n)) {
            n = passaram(send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL), "send");
        }
        return bytes.empty();
    }

    /// Tells the server that nothing more comes.
    void terminaEnvio() { shutdown(fd_, SHUT_WR); }

    /// One answer: head, and the body that its Content-Length announces.
    Resposta recebe() {
        Resposta r;
        while (recebidos_.find("\n\n") == std::string::npos) {
            if (!recebeMais()) {
                return r;
            }
        }
        r.bytes = recebeBytes(recebidos_.find("\n\n") + 2);
        std::istringstream cabeca(r.bytes);
        std::getline(cabeca, r.linha);
        for (std::string nome, valor; std::getline(cabeca, nome, ':') && std::getline(cabeca, valor);) {
            std::ranges::transform(nome, nome.begin(), [](unsigned char c) { return std::tolower(c); });
            r.campos[nome] = valor.substr(1);
        }
        r.corpo = recebeBytes(std::stoul("0" + r.campos["content-length"]));
        r.bytes += r.corpo;
        return r;
    }

    /// Sends, and gives one answer.
    Resposta pergunta(std::string_view bytes) {
        envia(bytes);
        return recebe();
    }
    std::string pede(std::string_view bytes) { return pergunta(bytes).corpo; }

    /// The next `quantos` bytes, fewer when the server closes.
    std::string recebeBytes(std::size_t quantos = std::string::npos) {
        while (recebidos_.size() < quantos && recebeMais()) {
        }
        std::string bytes = recebidos_.substr(0, quantos);
        recebidos_.erase(0, quantos);
        return bytes;
    }

    /// True when the server closed and nothing is unread.
    bool fechou() { return recebeBytes().empty(); }

private:
    /// None when the server is gone.
    static std::size_t passaram(ssize_t n, const char *onde) {
        if (n < 0 && errno != EPIPE && errno != ECONNRESET) {
            throw std::system_error(errno, std::generic_category(), onde);
        }
        return static_cast<std::size_t>(std::max<ssize_t>(n, 0));
    }

    bool recebeMais() {
        std::array<char, 16384> pedaco{};
        const std::size_t n = passaram(recv(fd_, pedaco.data(), pedaco.size(), 0), "recv");
        recebidos_.append(pedaco.data(), n);
        return n > 0;
    }

    int fd_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::shared_ptr<void> fecha_{nullptr, [fd = fd_](void *) { close(fd); }}; // with the last copy
    std::string recebidos_;                                                   // and not yet handed out
};

/// Sends on a connection of its own, half closes it and gives all that comes back.
inline std::string conversa(std::uint32_t porta, std::string_view bytes) {
    Cliente cliente(porta);
    cliente.envia(bytes);
    cliente.terminaEnvio();
    return cliente.recebeBytes();
}

/// A whole request with the headers given (each with its line end) and, if there is a body, its length.
inline std::string requisicao(std::string_view metodoEUri, std::string_view campos = "",
                              std::string_view corpo = "") {
    std::string texto = std::string(metodoEUri) + " HTTP/1.1\r\nHost: localhost\r\n" + std::string(campos);
    if (!corpo.empty()) {
        texto += "Content-Length: " + std::to_string(corpo.size()) + "\r\n";
    }
    return texto + "\r\n" + std::string(corpo);
}

} // namespace apoio
