// Works on the bytes as they came, before any parser has accepted them: where it is in doubt it shows less.
#include <3pramo/soap/mascara.hpp>

#include <3pramo/foundation/YObLOG_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>
#include <3pramo/foundation/mascara.hpp>

namespace pramo::soap {

namespace {

// True when a `campo` stands where a tag's name does: behind "<", "/", a prefix, or an escaped one of these.
bool temFormulario(std::string_view corpo) {
    constexpr std::string_view CAMPO = "campo";
    for (std::size_t i = corpo.find(CAMPO); i != std::string_view::npos; i = corpo.find(CAMPO, i + 1)) {
        const std::size_t antes = corpo.substr(0, i).find_last_not_of(BRANCOS);
        if (antes != std::string_view::npos &&
            std::string_view("<:;/").find(corpo[antes]) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

std::string soTags(std::string_view corpo) {
    std::string saida;
    while (!corpo.empty()) {
        // A tag is closed before another one begins; everything else is content, and so is what begins with
        // "<!": a CDATA section is somebody's way to write one.
        const std::size_t fim = corpo.find_first_of("<>", 1);
        const bool tag = corpo.front() == '<' && fim != std::string_view::npos && corpo[fim] == '>' &&
                         corpo[corpo.find_first_not_of(BRANCOS, 1)] != '!';
        const std::string_view pedaco = corpo.substr(0, tag ? fim + 1 : corpo.find('<', 1));
        const bool mostra = tag || pedaco.find_first_not_of(BRANCOS) == std::string_view::npos;
        saida += mostra ? mascaraDadosDeCartao(pedaco) : "[*]";
        corpo.remove_prefix(pedaco.size());
    }
    return saida;
}

} // namespace

std::string mascaraCorpo(std::string_view corpo) {
    return temFormulario(corpo) ? soTags(corpo) : mascaraDadosDeCartao(corpo);
}

void registraCorpo(const char *sentido, const char *portType, const char *metodo, std::string_view corpo) {
    if ((YObLOG_habilitadas() & Y_LOG_CORPO) == 0) {
        return;
    }
    // Both names are the client's words, too.
    const std::string nome = mascaraDadosDeCartao(std::string(portType) + "#" + metodo);
    registraTexto(Y_LOG_CORPO, std::string(sentido) + " " + nome + ": " + mascaraCorpo(corpo));
}

} // namespace pramo::soap
