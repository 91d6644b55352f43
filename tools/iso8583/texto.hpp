// Errors, input in lines, output, and text as terminals read it.
#ifndef ISO8583_TEXTO_HPP
#define ISO8583_TEXTO_HPP

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace iso8583 {

/// Ends the program; the text is UTF-8, one line, and never holds an element's text.
struct Erro : std::runtime_error {
    using runtime_error::runtime_error;
};

/// ISO-8859-1 as UTF-8; control characters, but for line feeds, as \x0D.
std::string emUtf8(std::string_view latin1);

/// One input in lines. The longest message and the longest line of a text file fit the bound.
class Linhas {
public:
    /// A file, or "-" for standard input.
    explicit Linhas(const std::string &nome);

    /// The next line, without its line feed, valid until the next call; false at the end.
    bool le(std::string_view &linha);

    /// Name and number of the line read last: "mensagens.txt:3".
    [[nodiscard]] std::string lugar() const { return nome_ + ':' + std::to_string(numero_); }

private:
    struct Fecha {
        void operator()(std::FILE *arquivo) const {
            if (arquivo != stdin) {
                std::fclose(arquivo);
            }
        }
    };

    std::string nome_;
    std::unique_ptr<std::FILE, Fecha> arquivo_;
    std::string linha_;
    std::size_t numero_ = 0;
};

/// Writes to standard output; what cannot be written is an error.
void escreve(std::string_view bytes);
void descarrega();

} // namespace iso8583

#endif
