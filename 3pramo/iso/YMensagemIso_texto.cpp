// The text file, and the dump as a file. What passes through here may be card data: every buffer on the way,
// our own or a stream's, is wiped.
#include <3pramo/iso/YMensagemIso_interno.hpp>

#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>
#include <3pramo/foundation/cria.hpp>

#include <array>
#include <charconv>
#include <limits>

using namespace pramo;
using namespace pramo::iso;

namespace {

constexpr std::size_t MAIOR_PEDACO = 2047;

// A file, if it could be opened, whose buffer is wiped when it is closed.
class Arquivo {
public:
    Arquivo(const char *caminho, const char *modo) : arquivo_(std::fopen(caminho, modo)) {
        // The C library's own buffer would be freed as it is.
        if (arquivo_ != nullptr) {
            std::setvbuf(arquivo_, buffer_, _IOFBF, sizeof buffer_);
        }
    }
    Arquivo(const Arquivo &) = delete;
    Arquivo &operator=(const Arquivo &) = delete;
    ~Arquivo() {
        if (arquivo_ != nullptr) {
            std::fclose(arquivo_);
            apaga(buffer_, sizeof buffer_);
        }
    }
    [[nodiscard]] std::FILE *get() const { return arquivo_; }

private:
    std::FILE *arquivo_;
    char buffer_[4096];
};

// Writes what the function appends to a stream.
template <typename ESCREVE>
void gravaArquivo(const YMensagemIso &mensagem, const char *caminho, ESCREVE escreve) {
    // The text is whole before the file is emptied: a lack of memory leaves the old one.
    const auto texto = cria<YStream>(YStream_rtti, FONTE);
    escreve(&mensagem, texto);
    // The e closes it in programs that another thread starts meanwhile.
    if (const Arquivo arquivo(caminho, "we"); arquivo.get() != nullptr) {
        std::fwrite(YStream_str(texto.get()), 1, conteudo(*texto).size(), arquivo.get());
    }
}

// Takes a number off the text as strtol does: white space, a sign, digits; 0 without digits, and then only
// the white space is gone.
std::int64_t tiraNumero(std::string_view &texto) {
    texto = aparaAntes(texto);
    const char *inicio = texto.data();
    const char *fim = inicio + texto.size();
    // from_chars knows no plus sign, and must not take a minus behind one.
    const bool positivo = texto.size() > 1 && *inicio == '+' && inicio[1] != '-';
    std::int64_t numero = 0;
    const auto [parou, erro] = std::from_chars(positivo ? inicio + 1 : inicio, fim, numero);
    if (erro == std::errc::invalid_argument) {
        return 0;
    }
    // As strtol: the nearest number there is, and all digits are gone.
    if (erro == std::errc::result_out_of_range) {
        using Limites = std::numeric_limits<std::int64_t>;
        numero = *inicio == '-' ? Limites::min() : Limites::max();
    }
    texto.remove_prefix(static_cast<std::size_t>(parou - inicio));
    return numero;
}

/// The file in pieces, lines without their line feed, longer ones cut; wiped at the end.
class Pedacos {
public:
    explicit Pedacos(std::FILE *arquivo) : arquivo_(arquivo) {}
    Pedacos(const Pedacos &) = delete;
    Pedacos &operator=(const Pedacos &) = delete;
    ~Pedacos() { apaga(letras_.data(), letras_.size()); }

    /// False at the end of the file.
    bool le(std::string_view &pedaco) {
        std::size_t tamanho = 0;
        int c = 0;
        while (tamanho < MAIOR_PEDACO && (c = std::getc(arquivo_)) != EOF && c != '\n') {
            letras_[tamanho++] = static_cast<char>(c);
        }
        // An empty line is a piece; the end of the file without a character is none.
        pedaco = {letras_.data(), tamanho};
        return tamanho != 0 || c != EOF;
    }

private:
    std::FILE *arquivo_;
    std::array<char, MAIOR_PEDACO> letras_{};
};

// Other numbers are skipped and not refused; element 65 could not be set.
bool podeLer(std::int64_t bit) {
    return bit >= 1 && bit <= Y_ISO_ELEMENTOS && bit != BITS_POR_BITMAP + 1;
}

} // namespace

void pramo::iso::leTexto(YMensagemIso &mensagem, std::FILE *arquivo) {
    Pedacos pedacos(arquivo);
    std::string_view pedaco;
    if (!pedacos.le(pedaco)) {
        return;
    }
    // The low 32 bits, as atoi gives them.
    mensagem.transacao = static_cast<std::int32_t>(tiraNumero(pedaco));
    while (pedacos.le(pedaco)) {
        const std::int64_t bit = tiraNumero(pedaco);
        pedaco = aparaAntes(pedaco);
        if (podeLer(bit)) {
            YMensagemIso_setBitTam(&mensagem, static_cast<std::int32_t>(bit), pedaco.data(), pedaco.size());
        }
    }
}

void YMensagemIso_dumpEmArquivo(const YMensagemIso *mensagem, const char *caminho) {
    gravaArquivo(*mensagem, caminho, YMensagemIso_dumpEmStream);
}

void YMensagemIso_salvaEmArquivo(const YMensagemIso *mensagem, const char *caminho) {
    gravaArquivo(*mensagem, caminho, YMensagemIso_salvaEmStream);
}

void YMensagemIso_salvaEmStream(const YMensagemIso *mensagem, YStream *stream) {
    TudoOuNada acrescimo(*stream);
    YStream_printf(stream, "%d\n", mensagem->transacao);
    percorre(*mensagem, [&](int bit, std::string_view texto) {
        YStream_printf(stream, "%03d ", bit);
        acrescenta(*stream, texto);
        acrescenta(*stream, "\n");
    });
    acrescimo.fica();
}

void YMensagemIso_leDeArquivo(YMensagemIso *mensagem, const char *caminho) {
    if (const Arquivo arquivo(caminho, "re"); arquivo.get() != nullptr) {
        leTexto(*mensagem, arquivo.get());
    }
}
