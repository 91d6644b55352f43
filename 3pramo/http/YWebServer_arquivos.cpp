// The handler of static files. A URI names a file as it stands, nothing decoded. Three fences keep a client
// inside the directory: no ".." in the path, the place of the opened file itself, and regular files alone.
#include <3pramo/http/YWebServer_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YObLOG.h>
#include <3pramo/foundation/YStream_interno.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YWebServer";
constexpr std::size_t CAMINHO_MAXIMO = 511;
constexpr std::size_t PEDACO = std::size_t{16} * 1024;

class Arquivo {
public:
    // A FIFO must not block the open, and a terminal must not become this process's own.
    explicit Arquivo(const std::string &caminho, int opcoes = O_RDONLY | O_NONBLOCK | O_NOCTTY)
        : fd_(open(caminho.c_str(), opcoes | O_CLOEXEC)) {}
    ~Arquivo() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    Arquivo(const Arquivo &) = delete;
    Arquivo &operator=(const Arquivo &) = delete;

    [[nodiscard]] int fd() const { return fd_; }

    /// Where it is, without links; empty when the system does not tell.
    [[nodiscard]] std::string lugar() const {
        std::array<char, PATH_MAX> caminho{};
        const std::string nome = "/proc/self/fd/" + std::to_string(fd_);
        const ssize_t n = fd_ >= 0 ? readlink(nome.c_str(), caminho.data(), caminho.size()) : -1;
        return n > 0 && caminho[0] == '/' ? std::string(caminho.data(), static_cast<std::size_t>(n)) : "";
    }

private:
    int fd_;
};

/// Asked of the opened file, so that nobody can put a link in between. The base itself may be reached by
/// links.
bool ficaDentro(const Arquivo &arquivo, const std::string &base) {
    std::string pasta = Arquivo(base, O_PATH).lugar();
    // No descriptor left, or no /proc: nothing is known to be inside.
    if (pasta.empty()) {
        return false;
    }
    // With the slash, so that a neighbour whose name begins alike is outside.
    if (!pasta.ends_with('/')) {
        pasta += '/';
    }
    return arquivo.lugar().starts_with(pasta);
}

enum class Emissao { FEITA, SEM_ARQUIVO, SEM_LUGAR };

/// Its size is known beforehand, but it may have grown since.
Emissao leTudo(int fd, YMensagemHttp &resposta) {
    YStream &corpo = *resposta.body;
    std::array<char, PEDACO> pedaco;
    for (;;) {
        // Without room left a piece of our own meets the end of the file: the body grows only for bytes.
        const std::size_t espaco = corpo.capacidade - corpo.tam;
        char *destino = espaco > 0 ? corpo.dados + corpo.tam : pedaco.data();
        const ssize_t lidos = read(fd, destino, espaco > 0 ? espaco : pedaco.size());
        if (lidos < 0 && errno != EINTR) {
            lanca(YExcIOError_rtti, "Falha na leitura do arquivo."_l1, FONTE);
        }
        const auto quantos = static_cast<std::size_t>(std::max<ssize_t>(lidos, 0));
        if (lidos == 0) {
            return Emissao::FEITA;
        }
        if (espaco > 0) {
            avanca(corpo, quantos);
        } else if (reservaDoCorpo(resposta).ajusta(2 * (corpo.tam + quantos))) {
            acrescenta(corpo, {pedaco.data(), quantos});
        } else {
            return Emissao::SEM_LUGAR;
        }
    }
}

/// Puts the file into the body, for which memory of its size is taken.
Emissao emiteArquivo(const std::string &caminho, const std::string &base, YMensagemHttp &resposta) {
    const Arquivo arquivo(caminho);
    if (arquivo.fd() < 0 || (caminho != base && !ficaDentro(arquivo, base))) {
        return Emissao::SEM_ARQUIVO;
    }
    struct stat status {};
    if (fstat(arquivo.fd(), &status) != 0) {
        lanca(YExcIOError_rtti, "Falha obtendo status do arquivo."_l1, FONTE);
    }
    // Directories, devices and pipes: what a read of them would give, or wait for, is nobody's page.
    if (!S_ISREG(status.st_mode)) {
        lanca(YExcIOError_rtti, "Falha na leitura do arquivo."_l1, FONTE);
    }
    const auto tamanho = static_cast<std::uint64_t>(status.st_size);
    if (!reservaDoCorpo(resposta).ajusta(tamanho)) {
        return Emissao::SEM_LUGAR;
    }
    dimensionaCorpo(resposta, tamanho);
    std::array<char, TAMANHO_DA_DATA_HTTP> data{};
    formataDataHttp(data.data(), data.size(), status.st_mtime);
    YDIC_guarda(resposta.header, "Date", data.data());
    const Emissao emissao = leTudo(arquivo.fd(), resposta);
    if (emissao == Emissao::FEITA) {
        YObLOG_masc_print(Y_LOG_WEB, "YWebServer: %s servido.", caminho.c_str());
    }
    return emissao;
}

void emitePagina(YMensagemHttp &resposta, const char *pagina, std::string_view resto, const char *estado) {
    YStream_puts(resposta.body, pagina);
    acrescenta(*resposta.body, resto);
    YStream_puts(resposta.primeiraLinha, estado);
}

} // namespace

// NOLINTNEXTLINE(readability-non-const-parameter): the type of a handler
void pramo::trataArquivo(void *contexto, char *uri, YMensagemHttp * /*requisicao*/, YMensagemHttp *resposta) {
    std::string_view resto = uri;
    resto.remove_prefix(std::min(resto.find_first_not_of("/\\"), resto.size()));
    const std::optional<std::string> base = diretorioBaseAtual(*static_cast<YWebServer *>(contexto));
    std::string caminho = base.value_or("");
    if (!resto.empty()) {
        caminho.append("/").append(resto);
    }
    if (base && caminho.find("..") != std::string::npos) {
        YObLOG_masc_print(Y_LOG_WEB, "emiteArquivoOuDiretorio(%s):proibido.", caminho.c_str());
        emitePagina(*resposta, "<h1>Erro 403</h1><br/>Proibido: ", resto, "403 Forbidden.");
        return;
    }
    const bool serve = base && caminho.size() <= CAMINHO_MAXIMO;
    switch (serve ? emiteArquivo(caminho, *base, *resposta) : Emissao::SEM_ARQUIVO) {
    case Emissao::FEITA:
        YStream_puts(resposta->primeiraLinha, "200 OK");
        break;
    case Emissao::SEM_ARQUIVO:
        emitePagina(*resposta, "<h1>Erro 404</h1><br/>Inexistente: ", resto, "404 File not found.");
        break;
    case Emissao::SEM_LUGAR:
        esvaziaCorpo(*resposta);
        emitePagina(*resposta, "<h1>Erro 503</h1><br/>Ocupado: ", resto, "503 Service Unavailable.");
        break;
    }
}
