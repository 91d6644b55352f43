#include <3pramo/soap/textoDaRequisicao.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>
#include <3pramo/foundation/cria.hpp>
#include <3pramo/node/YExcSoap.h>

#include <algorithm>

namespace pramo::soap {

namespace {

constexpr const char *FONTE = "YSoapServer";
constexpr std::string_view MARCA_DE_ORDEM = "\xEF\xBB\xBF";
constexpr std::string_view DECLARACAO = "<?xml ";

// One character of UTF-8. A length of 0: the bytes are no valid UTF-8.
struct Caractere {
    std::uint32_t codigo;
    std::size_t bytes;
};

Caractere decodifica(std::string_view texto) {
    const auto primeiro = static_cast<unsigned char>(texto[0]);
    if (primeiro < 0x80) {
        return {primeiro, 1};
    }
    const std::size_t bytes = primeiro >= 0xF0 ? 4 : primeiro >= 0xE0 ? 3 : 2;
    constexpr std::uint32_t MENORES[] = {0, 0, 0x80, 0x800, 0x10000};
    // 80 to BF continue a character, C0 and C1 would begin an overlong form, F5 lies beyond the last
    // character.
    if (primeiro < 0xC2 || primeiro > 0xF4 || texto.size() < bytes) {
        return {0, 0};
    }
    // As many of the first byte's low bits as the length in front of them leaves.
    std::uint32_t codigo = primeiro & (0xFFU >> (bytes + 1));
    for (std::size_t i = 1; i < bytes; i++) {
        const auto c = static_cast<unsigned char>(texto[i]);
        if ((c & 0xC0) != 0x80) {
            return {0, 0};
        }
        codigo = codigo << 6 | (c & 0x3FU);
    }
    // Halves of a pair, overlong forms and numbers beyond Unicode are no characters.
    const bool substituto = codigo >= 0xD800 && codigo <= 0xDFFF;
    return codigo < MENORES[bytes] || codigo > 0x10FFFF || substituto ? Caractere{0, 0}
                                                                      : Caractere{codigo, bytes};
}

bool ehUtf8(std::string_view texto) {
    while (!texto.empty()) {
        const Caractere c = decodifica(texto);
        if (c.bytes == 0) {
            return false;
        }
        texto.remove_prefix(c.bytes);
    }
    return true;
}

bool soAscii(std::string_view texto) {
    return std::all_of(texto.begin(), texto.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// Converts the unread part in place: what is written never overtakes what is read.
void converte(YStream &stream) {
    // All is checked before a byte changes; only a character that does not fit stops halfway, and raises.
    std::string_view resto = naoLido(stream);
    if (soAscii(resto) || !ehUtf8(resto)) {
        return;
    }
    char *destino = stream.dados + stream.lido;
    while (!resto.empty()) {
        const Caractere c = decodifica(resto);
        if (c.codigo > 0xFF) {
            lanca(YExcSoap_rtti, "Caractere fora de ISO-8859-1."_l1, FONTE);
        }
        resto.remove_prefix(c.bytes);
        *destino++ = static_cast<char>(c.codigo);
    }
    encolhe(stream, static_cast<std::size_t>(destino - stream.dados));
}

// True when the declaration's encoding is UTF-8, in any letter case.
bool declaraUtf8(std::string_view declaracao) {
    constexpr std::string_view NOME = "encoding";
    constexpr std::string_view UTF8 = "UTF-8";
    const std::size_t lugar = declaracao.find(NOME);
    if (lugar == std::string_view::npos) {
        return false;
    }
    std::string_view resto = aparaAntes(declaracao.substr(lugar + NOME.size()));
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

void preparaTexto(YStream &stream) {
    if (naoLido(stream).starts_with(MARCA_DE_ORDEM)) {
        stream.lido += MARCA_DE_ORDEM.size();
    }
    const std::string_view texto = naoLido(stream);
    if (!texto.starts_with(DECLARACAO)) {
        return;
    }
    // Without an end all of the text is declaration, and nothing is left to read.
    const std::size_t fim = texto.find('>');
    const std::string_view declaracao =
        texto.substr(0, fim != std::string_view::npos ? fim + 1 : texto.size());
    const bool utf8 = declaraUtf8(declaracao);
    stream.lido += declaracao.size();
    if (utf8) {
        converte(stream);
    }
}

} // namespace pramo::soap
