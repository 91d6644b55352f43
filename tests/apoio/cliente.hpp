// A small blocking TCP client; one thread may send while another receives. Every wait is bounded: what does
// not come within ten seconds throws.
#ifndef TESTES_APOIO_CLIENTE_HPP
#define TESTES_APOIO_CLIENTE_HPP

#include <atomic>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace apoio {

struct Resposta {
    std::string linha; // status line; empty when the connection ended without an answer
    std::map<std::string, std::string> campos; // names in lower case
    std::string corpo;
    std::string bytes; // all of it, as received
};

class Cliente {
public:
    explicit Cliente(std::uint32_t porta);
    ~Cliente();
    Cliente(Cliente &&outro) noexcept;
    Cliente &operator=(Cliente &&) = delete;

    /// False when the server is gone.
    bool envia(std::string_view bytes);

    /// One answer: head, and the body that its Content-Length announces.
    Resposta recebe();

    /// The next `quantos` bytes, fewer when the server closes.
    std::string recebeBytes(std::size_t quantos);

    /// What comes until the server closes.
    std::string recebeAteFechar();

    /// True when the server closed and nothing is unread.
    bool fechou() { return recebeAteFechar().empty(); }

    /// True when the connection ended by a reset: a slower client might have lost what came before it.
    [[nodiscard]] bool foiResetado() const { return resetado_; }

    /// Tells the server that nothing more comes.
    void terminaEnvio();

    /// Resets the connection.
    void aborta();

private:
    bool recebeMais();

    int fd_;
    std::atomic<bool> resetado_{false};
    std::string recebidos_; // and not yet handed out
};

/// Sends on a connection of its own, half closes it and gives all that comes back.
std::string conversa(std::uint32_t porta, std::string_view bytes);

/// A whole request with the headers given (each with its line end) and, if there is a body, its length.
std::string requisicao(std::string_view metodoEUri, std::string_view campos = "",
                       std::string_view corpo = "");

} // namespace apoio

#endif
