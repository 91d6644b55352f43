#include <3pramo/soap/textoDaRequisicao.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>
#include <3pramo/foundation/utf8.hpp>
#include <3pramo/node/YExcSoap.h>

#include <algorithm>

namespace pramo::soap {

namespace {

constexpr const char *FONTE = "YSoapServer";
constexpr std::string_view MARCA_DE_ORDEM = "\xEF\xBB\xBF";
constexpr std::string_view DECLARACAO = "<?xml ";
constexpr std::string_view ENCODING = "encoding";

bool soAscii(std::string_view texto) {
    return std::all_of(texto.begin(), texto.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string_view semPrimeiroCaractere(std::string_view utf8) {
    const auto continua = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80; };
    return {std::find_if_not(utf8.begin() + 1, utf8.end(), continua), utf8.end()};
}

// Converts the unread part in place: what is written never overtakes what is read.
void converte(YStream &stream, std::size_t *perdidos) {
    // All is checked before a byte changes; only a character that does not fit stops halfway.
    std::string_view resto = naoLido(stream);
    if (soAscii(resto) || !ehUtf8(resto)) {
        return;
    }
    char *destino = stream.dados + stream.lido;
    for (;;) {
        const Conversao conversao = converteParaLatin1(resto, destino);
        destino += conversao.escritos;
        if (conversao.fim != FimDaConversao::FORA) {
            break;
        }
        if (perdidos == nullptr) {
            caractereDeFora();
        }
        resto = semPrimeiroCaractere(resto.substr(conversao.lidos));
        *destino++ = '?';
        ++*perdidos;
    }
    encolhe(stream, static_cast<std::size_t>(destino - stream.dados));
}

// True when the declaration's encoding is UTF-8, in any letter case.
bool declaraUtf8(std::string_view declaracao) {
    constexpr std::string_view UTF8 = "UTF-8";
    const std::size_t lugar = declaracao.find(ENCODING);
    if (lugar == std::string_view::npos) {
        return false;
    }
    std::string_view resto = aparaAntes(declaracao.substr(lugar + ENCODING.size()));
    if (!resto.starts_with('=')) {
        return false;
    }
    resto = aparaAntes(resto.substr(1));
    if (resto.size() < UTF8.size() + 2 || (resto[0] != '"' && resto[0] != '\'') ||
        resto[UTF8.size() + 1] != resto[0]) {
        return false;
    }
    return iguaisSemCaixa(resto.substr(1, UTF8.size()), UTF8);
}

} // namespace

void caractereDeFora() {
    lanca(YExcSoap_rtti, "Caractere fora de ISO-8859-1."_l1, FONTE);
}

void preparaTexto(YStream &stream, bool utf8SeNadaDiz, std::size_t *perdidos) {
    if (naoLido(stream).starts_with(MARCA_DE_ORDEM)) {
        stream.lido += MARCA_DE_ORDEM.size();
    }
    const std::string_view texto = naoLido(stream);
    std::string_view declaracao;
    if (texto.starts_with(DECLARACAO)) {
        // Without an end all of the text is declaration, and nothing is left to read.
        const std::size_t fim = texto.find('>');
        declaracao = texto.substr(0, fim != std::string_view::npos ? fim + 1 : texto.size());
    }
    const bool utf8 =
        declaracao.find(ENCODING) != std::string_view::npos ? declaraUtf8(declaracao) : utf8SeNadaDiz;
    stream.lido += declaracao.size();
    if (utf8) {
        converte(stream, perdidos);
    }
}

} // namespace pramo::soap
