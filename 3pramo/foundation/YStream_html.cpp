// References and accents: how text goes into XML and comes out of it.
#include <3pramo/foundation/YStream_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/cria.hpp>

#include <array>
#include <charconv>
#include <cstring>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YStream";

struct Nome {
    std::string_view nome;
    unsigned char caractere;
};
constexpr Nome NOMES[] = {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};

// What would be markup; CR, which a reader of XML turns into LF; and what is not ASCII, so that no reader
// needs to know the encoding.
constexpr bool deveReferenciar(unsigned char c) {
    return c == '&' || c == '<' || c == '>' || c == '"' || c == '\r' || c >= 128;
}

// By table: this is asked for every byte of an answer.
constexpr auto REFERENCIADOS = [] {
    std::array<bool, 256> tabela{};
    for (unsigned c = 0; c < 256; c++) {
        tabela[c] = deveReferenciar(static_cast<unsigned char>(c));
    }
    return tabela;
}();

// What ISO-8859-1 letters from 192 on are without their accents; a blank keeps the character.
constexpr char SEM_ACENTO[] = "AAAAAA CEEEEIIII NOOOOO OUUUUY  aaaaaa ceeeeiiii nooooo ouuuuy y";
static_assert(sizeof SEM_ACENTO == 64 + 1);

std::size_t poeReferencia(char *destino, unsigned char c) {
    std::string_view nome;
    for (const Nome &n : NOMES) {
        if (n.caractere == c) {
            nome = n.nome;
        }
    }
    char *fim = destino;
    *fim++ = '&';
    if (!nome.empty()) {
        fim = std::copy(nome.begin(), nome.end(), fim);
    } else {
        *fim++ = '#';
        fim = std::to_chars(fim, fim + 3, static_cast<int>(c)).ptr;
    }
    *fim++ = ';';
    return static_cast<std::size_t>(fim - destino);
}

[[noreturn]] void referenciaDesconhecida() {
    lanca(YExc_rtti, "Referência a caractere desconhecida."_l1, FONTE);
}

unsigned char numeroDaReferencia(std::string_view digitos) {
    int base = 10;
    if (!digitos.empty() && (digitos.front() == 'x' || digitos.front() == 'X')) {
        base = 16;
        digitos.remove_prefix(1);
    }
    unsigned numero = 0;
    const auto [fim, erro] = std::from_chars(digitos.data(), digitos.data() + digitos.size(), numero, base);
    // All of it must be digits: from_chars alone would take "65x" for 65.
    if (digitos.empty() || erro != std::errc() || fim != digitos.data() + digitos.size()) {
        referenciaDesconhecida();
    }
    if (numero == 0 || numero > 255) {
        lanca(YExc_rtti, "Referência a caractere fora de ISO-8859-1."_l1, FONTE);
    }
    return static_cast<unsigned char>(numero);
}

} // namespace

Referencia pramo::decodificaReferencia(std::string_view texto) {
    // A bounded look: a peer that sends nothing but & would else have the rest searched for each.
    const std::size_t fim = texto.substr(0, MAIOR_REFERENCIA).find(';');
    if (fim == std::string_view::npos) {
        return {'&', 1};
    }
    const std::string_view nome = texto.substr(1, fim - 1);
    if (nome.starts_with('#')) {
        return {numeroDaReferencia(nome.substr(1)), fim + 1};
    }
    for (const Nome &n : NOMES) {
        if (n.nome == nome) {
            return {n.caractere, fim + 1};
        }
    }
    referenciaDesconhecida();
}

int YStream_getHtmlChar(YStream *stream) {
    const int c = YStream_peek(stream);
    if (c != '&') {
        return YStream_get(stream);
    }
    // The position moves only when nothing was raised.
    const Referencia referencia = decodificaReferencia(naoLido(*stream));
    stream->lido += referencia.tamanho;
    return referencia.caractere;
}

namespace {

// Where the text ends, or the first character that is to become a reference stands.
const char *fimDoPlano(const char *texto) {
    while (*texto != 0 && !REFERENCIADOS[static_cast<unsigned char>(*texto)]) {
        texto++;
    }
    return texto;
}

} // namespace

void YStream_putHtmlString(YStream *stream, const char *texto) {
    if (texto == nullptr) {
        return;
    }
    // What is appended in pieces may move the text away: a copy stays where it is.
    if (ehDoProprioConteudo(*stream, texto)) {
        return YStream_putHtmlString(stream, Ponteiro<char>(YduplicaString(texto)).get());
    }
    constexpr std::size_t MAIOR_ESCRITA = 6; // &quot;
    const char *fim = fimDoPlano(texto);
    // Mostly there is nothing to replace: one copy.
    if (*fim == 0) {
        return YStream_putBloco(stream, texto, fim - texto);
    }
    TudoOuNada acrescimo(*stream);
    for (; *fim != 0; fim = fimDoPlano(texto)) {
        YStream_putBloco(stream, texto, fim - texto);
        avanca(*stream, poeReferencia(reserva(*stream, MAIOR_ESCRITA), static_cast<unsigned char>(*fim)));
        texto = fim + 1;
    }
    YStream_putBloco(stream, texto, fim - texto);
    acrescimo.fica();
}

void YStream_putTirandoAcentos(YStream *stream, const char *texto) {
    if (texto == nullptr) {
        return;
    }
    if (ehDoProprioConteudo(*stream, texto)) {
        return YStream_putTirandoAcentos(stream, Ponteiro<char>(YduplicaString(texto)).get());
    }
    const std::size_t tamanho = std::strlen(texto);
    char *destino = reserva(*stream, tamanho);
    for (std::size_t i = 0; i < tamanho; i++) {
        const auto c = static_cast<unsigned char>(texto[i]);
        const char plano = c >= 192 ? SEM_ACENTO[c - 192] : ' ';
        destino[i] = plano != ' ' ? plano : texto[i];
    }
    avanca(*stream, tamanho);
}
