// What a server of connections is made of, whatever is spoken on them: listening, accepting, a thread for
// each connection, and the end of them all.
#ifndef Y3PRAMO_FOUNDATION_ACEITE_HPP
#define Y3PRAMO_FOUNDATION_ACEITE_HPP

#include <3pramo/foundation/Conexao.hpp>
#include <3pramo/foundation/Falhas.hpp>
#include <3pramo/foundation/Ponteiro.hpp>
#include <3pramo/foundation/Trinco.hpp>
#include <3pramo/foundation/YObThread.h>
#include <3pramo/foundation/YSocket_interno.hpp>

#include <atomic>
#include <optional>
#include <string>
#include <vector>

namespace pramo {

/// What one class of servers does with its connections.
struct Oficio {
    const char *classe; // in the log and in the allocation report
    /// One connection, on its thread; what it raises ends that connection.
    void (*atende)(YObThread &servidor, Conexao &conexao);
    /// The accept loop between two attempts, at least ten times a second; null for nothing.
    void (*entreDuas)(YObThread &servidor);
};

/// The part of a thread object that is a server, owned by it: the object's run slot is `roda`, and `encerra`
/// is what it gives to aoLiberar. Any thread may set and ask.
class Aceite {
public:
    /// `porta` and `socketAceito` are fields of the server, or beside them: the first is read and written
    /// here alone, the second is atomic.
    Aceite(const Oficio &oficio, YObThread &servidor, std::uint32_t &porta, YSocket *&socketAceito);
    Aceite(const Aceite &) = delete;
    Aceite &operator=(const Aceite &) = delete;

    /// Accepts until the server is stopped.
    void roda();

    /// Lets what runs on connections finish and returns when the last of their threads has left.
    void encerra();

    /// The server ends: no connection begins anything more. Receives on its sockets end by themselves.
    [[nodiscard]] bool acabando() const { return fim_.tocou(); }

    void setPorta(std::uint32_t porta);
    void setEndereco(const char *endereco);
    void setLimiteDeConexoes(std::uint32_t conexoes);
    void setPrazoDeEncerramento(std::uint32_t segundos) { prazoDeEncerramento_ = segundos; }

    [[nodiscard]] std::uint32_t porta();
    [[nodiscard]] std::uint32_t conexoes();
    bool esperaPronto(std::int64_t prazo);

private:
    class FimDaEscuta;
    class Permanencia;
    struct Laco;
    enum class Escuta { FECHADA, ABERTA, RECUSADA };

    void anunciaEscuta(Escuta escuta, std::uint32_t porta);
    std::optional<std::string> enderecoAtual();
    void garanteEscuta(Laco &laco);
    void despejaUma() Y_EXIGE(trinco_);
    bool cabeOutraConexao(const YSocket &ouvinte);
    void entraConexao();
    void saiConexao(bool despejada);
    void entregaConexao(Ponteiro<YSocket> conexao);
    void aceitaUma(Laco &laco);
    void leva(Conexao &conexao);
    void deixa(Conexao &conexao);
    static void trataConexao(void *aceite);

    // A documented field of a server, so its type is plain; both threads reach it through this.
    [[nodiscard]] std::atomic_ref<YSocket *> socketAceito() const { return std::atomic_ref(socketAceito_); }

    const Oficio &oficio_;
    YObThread &servidor_;
    YSocket *&socketAceito_;
    std::atomic<std::uint32_t> prazoDeEncerramento_{5}; // seconds
    Falhas falhas_;
    Despertador fim_;

    Trinco trinco_;
    Condicao entregue_; // a connection thread took its socket
    Condicao mudou_;    // anything else below
    std::uint32_t &porta_ Y_GUARDADO_POR(trinco_);
    std::optional<std::string> endereco_ Y_GUARDADO_POR(trinco_); // none: all
    Escuta escuta_ Y_GUARDADO_POR(trinco_) = Escuta::FECHADA;
    std::uint32_t portaEmUso_ Y_GUARDADO_POR(trinco_) = 0;
    std::uint32_t limiteDeConexoes_ Y_GUARDADO_POR(trinco_) = 1024;
    // From the acceptance until the thread has left the server.
    std::uint32_t conexoes_ Y_GUARDADO_POR(trinco_) = 0;
    std::uint32_t despejando_ Y_GUARDADO_POR(trinco_) = 0; // of them, those that were told to leave
    // Those whose threads have taken them, as long as they may be shut down; there is room for all.
    std::vector<Conexao *> abertas_ Y_GUARDADO_POR(trinco_);
};

/// For the "%p" of traces.
inline const void *endereco(const void *objeto) {
    return objeto;
}

} // namespace pramo

#endif
