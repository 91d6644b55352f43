// What the sources of the web server share; nothing here is for other rooms.
#ifndef Y3PRAMO_HTTP_YWEBSERVER_INTERNO_HPP
#define Y3PRAMO_HTTP_YWEBSERVER_INTERNO_HPP

#include <3pramo/foundation/Aceite.hpp>
#include <3pramo/foundation/Trinco.hpp>
#include <3pramo/http/YMensagemHttp_interno.hpp>
#include <3pramo/http/YWebServer.h>

#include <atomic>
#include <optional>
#include <string>

namespace pramo {

/// The private part of a web server. `trinco` guards the server's tratador, contextoTratador and
/// diretorioBase; its porta and its socketAceito are the Aceite's.
struct YWebServer_Privado {
    explicit YWebServer_Privado(YWebServer &eu);

    Aceite aceite;
    std::atomic<std::uint64_t> limiteDoCabecalho{LIMITE_DO_CABECALHO};
    std::atomic<std::uint64_t> limiteDoCorpo{LIMITE_DO_CORPO};
    std::atomic<std::uint32_t> prazoDaRequisicao{0}; // seconds; 0: that of the batch
    std::atomic<bool> fechaLogo{false};
    std::atomic<std::int64_t> podaPedida{0}; // when much memory was last given up, in steady nanoseconds
    Corpos corpos;
    Trinco trinco;
};

inline YWebServer_Privado &privado(const YWebServer &servidor) {
    return *static_cast<YWebServer_Privado *>(servidor.privado);
}

/// Asks for freed memory to be given back to the system, once no more has been freed for a second.
void pedePoda(YWebServer_Privado &p);

// ---- Settings that another thread may replace at any time (YWebServer.cpp) ----

YTratadorHttp tratadorAtual(const YWebServer &servidor);

/// A copy; none when it is null.
std::optional<std::string> diretorioBaseAtual(const YWebServer &servidor);

// ---- One connection (YWebServer_conexao.cpp) ----

/// What the server does with a connection, until that ends.
void atendeConexao(YObThread &servidor, Conexao &conexao);

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
