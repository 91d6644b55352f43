// The handler of static files.
#include <3pramo/http/YWebServer_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YObLOG.h>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/http/dataHttp.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YWebServer";
constexpr std::size_t CAMINHO_MAXIMO = 511;
constexpr std::size_t PEDACO = std::size_t{64} * 1024;

class Arquivo {
public:
    // A FIFO must not block the open, and a terminal must not become this process's own.
    explicit Arquivo(const std::string &caminho)
        : fd_(open(caminho.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY)) {}
    ~Arquivo() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    Arquivo(const Arquivo &) = delete;
    Arquivo &operator=(const Arquivo &) = delete;

    [[nodiscard]] int fd() const { return fd_; }

private:
    int fd_;
};

void leTudo(int fd, YStream &destino) {
    for (;;) {
        char *espaco = reserva(destino, PEDACO);
        const ssize_t lidos = read(fd, espaco, PEDACO);
        if (lidos == 0) {
            return;
        }
        if (lidos > 0) {
            avanca(destino, static_cast<std::size_t>(lidos));
        } else if (errno != EINTR) {
            lanca(YExcIOError_rtti, "Falha na leitura do arquivo."_l1, FONTE);
        }
    }
}

/// Puts the file into the body: 1; 0 when it cannot be opened.
int emiteArquivo(const std::string &caminho, YMensagemHttp &resposta) {
    const Arquivo arquivo(caminho);
    if (arquivo.fd() < 0) {
        return 0;
    }
    struct stat status {};
    if (fstat(arquivo.fd(), &status) != 0) {
        lanca(YExcIOError_rtti, "Falha obtendo status do arquivo."_l1, FONTE);
    }
    if (!S_ISREG(status.st_mode)) {
        lanca(YExcIOError_rtti, "Falha na leitura do arquivo."_l1, FONTE);
    }
    YStream_aloca(resposta.body, status.st_size);
    std::array<char, TAMANHO_DA_DATA_HTTP> data{};
    formataDataHttp(data.data(), data.size(), status.st_mtime);
    YDIC_guarda(resposta.header, "Date", data.data());
    leTudo(arquivo.fd(), *resposta.body);
    YObLOG_masc_print(Y_LOG_WEB, "YWebServer: %s servido.", caminho.c_str());
    return 1;
}

void emitePagina(YMensagemHttp &resposta, const char *pagina, std::string_view resto, const char *estado) {
    YStream_puts(resposta.body, pagina);
    acrescenta(*resposta.body, resto);
    YStream_puts(resposta.primeiraLinha, estado);
}

} // namespace

// NOLINTNEXTLINE(readability-non-const-parameter): the type of a handler
void pramo::emiteArquivoOuDiretorio(void *contexto, char *uri, YMensagemHttp * /*requisicao*/,
                                    YMensagemHttp *resposta) {
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
    } else if (base && caminho.size() <= CAMINHO_MAXIMO && emiteArquivo(caminho, *resposta) != 0) {
        YStream_puts(resposta->primeiraLinha, "200 OK");
    } else {
        emitePagina(*resposta, "<h1>Erro 404</h1><br/>Inexistente: ", resto, "404 File not found.");
    }
}
