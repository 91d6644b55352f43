// What the sources of the web server share; nothing here is for other rooms.
#ifndef Y3PRAMO_HTTP_YWEBSERVER_INTERNO_HPP
#define Y3PRAMO_HTTP_YWEBSERVER_INTERNO_HPP

#include <3pramo/foundation/Trinco.hpp>
#include <3pramo/foundation/YSocket_interno.hpp>
#include <3pramo/http/Falhas.hpp>
#include <3pramo/http/YMensagemHttp_interno.hpp>
#include <3pramo/http/YWebServer.h>

#include <atomic>
#include <optional>
#include <string>
#include <vector>

namespace pramo {

enum class Escuta { FECHADA, ABERTA, RECUSADA };

/// One connection, as its thread and the accept loop see it. A connection that waits for a request may be
/// told to make room for another; the same atomic step decides that and the beginning of a request.
class Conexao {
public:
    [[nodiscard]] YSocket &socket() const { return *socket_; }

    /// Its thread: nothing of another request has come. Keeps the first moment.
    void ficaOciosa();
    /// Its thread: something came. False when it must leave instead.
    bool ficaOcupada();

    /// 0 when it is not idle.
    [[nodiscard]] std::int64_t ociosaDesde() const;
    /// Tells it to leave; false when it is idle no longer.
    bool despeja();
    [[nodiscard]] bool despejada() const { return desde_ == DESPEJADA; }

private:
    friend void levaSocketAceito(YWebServer &servidor, Conexao &conexao);
    friend void deixaServidor(YWebServer &servidor, Conexao &conexao);

    static constexpr std::int64_t OCUPADA = 0;
    static constexpr std::int64_t DESPEJADA = -1;

    YSocket *socket_ = nullptr;
    std::size_t lugar_ = 0;                    // among the open ones
    std::atomic<std::int64_t> desde_{OCUPADA}; // nanoseconds of the monotonic clock
};

/// The private part of a web server. `trinco` also guards the server's porta, tratador, contextoTratador and
/// diretorioBase; its socketAceito is atomic.
struct YWebServer_Privado {
    std::atomic<std::uint64_t> limiteDoCabecalho{LIMITE_DO_CABECALHO};
    std::atomic<std::uint64_t> limiteDoCorpo{LIMITE_DO_CORPO};
    std::atomic<std::uint32_t> prazoDaRequisicao{0};   // seconds; 0: that of the batch
    std::atomic<std::uint32_t> prazoDeEncerramento{5}; // seconds
    std::atomic<bool> fechaLogo{false};
    std::atomic<std::int64_t> podaPedida{0}; // when much memory was last given up, in steady nanoseconds
    Corpos corpos;
    Falhas falhas;
    Despertador fim; // the server ends: no connection reads another request

    Trinco trinco;
    Condicao entregue; // a connection thread took its socket
    Condicao mudou;    // anything else below
    Escuta escuta Y_GUARDADO_POR(trinco) = Escuta::FECHADA;
    std::optional<std::string> endereco Y_GUARDADO_POR(trinco); // none: all
    std::uint32_t portaEmUso Y_GUARDADO_POR(trinco) = 0;
    std::uint32_t limiteDeConexoes Y_GUARDADO_POR(trinco) = 1024;
    // From the acceptance until the thread has left the server.
    std::uint32_t conexoes Y_GUARDADO_POR(trinco) = 0;
    std::uint32_t despejando Y_GUARDADO_POR(trinco) = 0; // of them, those that were told to leave
    // Those whose threads have taken them, as long as they may be shut down; there is room for all.
    std::vector<Conexao *> abertas Y_GUARDADO_POR(trinco);
};

inline YWebServer_Privado &privado(const YWebServer &servidor) {
    return *static_cast<YWebServer_Privado *>(servidor.privado);
}

/// For the "%p" of traces.
inline const void *endereco(const void *objeto) {
    return objeto;
}

// ---- Accepting (YWebServer_aceite.cpp) ----

/// The run slot: accepts until the server is stopped.
void aceitaConexoes(YObThread *servidor);

/// Takes the accepted socket, which lets the accept loop go on.
void levaSocketAceito(YWebServer &servidor, Conexao &conexao);

/// Ends the connection, frees its socket and leaves the server, which the caller must not touch any more.
void deixaServidor(YWebServer &servidor, Conexao &conexao);

/// Asks for freed memory to be given back to the system, once no more has been freed for a second.
void pedePoda(YWebServer_Privado &p);

// ---- Settings that another thread may replace at any time (YWebServer.cpp) ----

YTratadorHttp tratadorAtual(const YWebServer &servidor);

/// A copy; none when it is null.
std::optional<std::string> diretorioBaseAtual(const YWebServer &servidor);

// ---- One connection (YWebServer_conexao.cpp) ----

/// The body of a connection thread; `servidor` is the YWebServer.
void trataConexao(void *servidor);

enum class Metodo { GET, HEAD, POST, PUT };

struct RequestLine {
    Metodo metodo;
    std::string uri;
    int versaoMenor; // of HTTP/1.x: 0 or 1
};

/// Raises YExc for a malformed line, another protocol or version, YExcNaoImplementado for another method.
RequestLine analisaRequestLine(std::string_view linha);

// ---- Static files (YWebServer_arquivos.cpp) ----

/// The handler a new server has; the context is the server.
void trataArquivo(void *contexto, char *uri, YMensagemHttp *requisicao, YMensagemHttp *resposta);

} // namespace pramo

#endif
