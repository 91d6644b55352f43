// Bytes in, bytes out. Input may be anything, of any length: a line is bounded, and emUtf8 leaves nothing
// that a terminal would take for a command.
#include "texto.hpp"

#include <cerrno>
#include <cstring>

namespace iso8583 {

namespace {

constexpr std::size_t MAIOR_LINHA = 65536;

[[noreturn]] void falhou(const std::string &oque) {
    throw Erro(oque + ": " + std::strerror(errno));
}

} // namespace

std::string emUtf8(std::string_view latin1) {
    std::string texto;
    for (const char c : latin1) {
        const auto byte = static_cast<unsigned char>(c);
        // Both sets of control characters: terminals obey the upper one too.
        const bool controle = byte < 32 || (byte >= 127 && byte < 160);
        if (controle && c != '\n') {
            constexpr const char *HEX = "0123456789ABCDEF";
            texto += {'\\', 'x', HEX[byte >> 4], HEX[byte & 15]};
        } else if (byte < 128) {
            texto += c;
        } else { // two bytes: the upper two bits, then the lower six
            texto += {static_cast<char>(0xC0 | byte >> 6), static_cast<char>(0x80 | (byte & 0x3F))};
        }
    }
    return texto;
}

Linhas::Linhas(const std::string &nome)
    : nome_(nome), arquivo_(nome == "-" ? stdin : std::fopen(nome.c_str(), "re")) {
    if (arquivo_ == nullptr) {
        falhou(nome);
    }
}

bool Linhas::le(std::string_view &linha) {
    // Counted first, so that an error names this line; taken back at the end, which is none.
    linha_.clear();
    numero_++;
    int c = 0;
    while ((c = std::getc(arquivo_.get())) != EOF && c != '\n') {
        if (linha_.size() == MAIOR_LINHA) {
            throw Erro(lugar() + ": linha com mais de " + std::to_string(MAIOR_LINHA) + " bytes");
        }
        linha_ += static_cast<char>(c);
    }
    if (std::ferror(arquivo_.get()) != 0) {
        falhou(lugar());
    }
    // The last line may lack its line feed; a line feed at the very end begins no further one.
    linha = linha_;
    const bool leu = c != EOF || !linha_.empty();
    numero_ -= leu ? 0 : 1;
    return leu;
}

void escreve(std::string_view bytes) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size()) {
        falhou("saída padrão");
    }
}

// A full disk may show only here.
void descarrega() {
    if (std::fflush(stdout) != 0) {
        falhou("saída padrão");
    }
}

} // namespace iso8583
