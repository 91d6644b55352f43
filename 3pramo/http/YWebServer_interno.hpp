// What the sources of the web server share.
#ifndef Y3PRAMO_HTTP_YWEBSERVER_INTERNO_HPP
#define Y3PRAMO_HTTP_YWEBSERVER_INTERNO_HPP

#include <3pramo/foundation/Trinco.hpp>
#include <3pramo/http/YMensagemHttp_interno.hpp>
#include <3pramo/http/YWebServer.h>

#include <atomic>
#include <optional>
#include <set>
#include <string>

namespace pramo {

enum class Escuta { FECHADA, ABERTA, RECUSADA };

/// The private part of a web server. `trinco` also guards the server's porta, tratador, contextoTratador and
/// diretorioBase; its socketAceito is atomic.
struct WebServerInterno {
    std::atomic<std::uint64_t> limiteDoCabecalho{LIMITE_DO_CABECALHO};
    std::atomic<std::uint64_t> limiteDoCorpo{LIMITE_DO_CORPO};
    std::atomic<bool> fechaLogo{false};
    std::atomic<bool> encerrando{false}; // no connection reads another request

    Trinco trinco;
    Condicao entregue; // a connection thread took its socket
    Condicao mudou;    // anything else below
    Escuta escuta Y_GUARDADO_POR(trinco) = Escuta::FECHADA;
    std::uint32_t portaEmUso Y_GUARDADO_POR(trinco) = 0;
    std::uint32_t limiteDeConexoes Y_GUARDADO_POR(trinco) = 1024;
    std::uint32_t
        conexoes Y_GUARDADO_POR(trinco) = 0; // from the acceptance until the thread has left the server
    std::set<YSocket *> abertas Y_GUARDADO_POR(trinco); // their sockets, as long as they may be shut down
};

inline WebServerInterno &interno(const YWebServer &servidor) {
    return *static_cast<WebServerInterno *>(servidor.privado);
}

/// For the "%p" of traces.
inline const void *endereco(const void *objeto) {
    return objeto;
}

// ---- The connection's side of the hand-off (YWebServer.cpp) ----

/// Takes the accepted socket, which lets the accept loop go on.
YSocket &levaSocketAceito(YWebServer &servidor);

/// Frees the connection's socket and leaves the server, which the caller must not touch any more.
void deixaServidor(YWebServer &servidor, YSocket &socket);

YTratadorHttp tratadorAtual(const YWebServer &servidor);

/// A copy, as another thread may replace it at any time; none when it is null.
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
void emiteArquivoOuDiretorio(void *contexto, char *uri, YMensagemHttp *requisicao, YMensagemHttp *resposta);

} // namespace pramo

#endif
