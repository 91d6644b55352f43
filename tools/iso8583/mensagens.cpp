// Loading in the library is lenient: it skips what is no digit in a code or a length. So each line is also
// held against the form here, and what is told is the first fault, not what follows from it.
#include "mensagens.hpp"

#include <charconv>

namespace iso8583 {

namespace {

constexpr std::size_t DIGITOS_DO_CODIGO = 4;
constexpr std::size_t DIGITOS_DO_BITMAP = 16;

bool ehDigito(char c) {
    return c >= '0' && c <= '9';
}

bool ehHexadecimal(char c) {
    return ehDigito(c) || (c >= 'A' && c <= 'F');
}

/// Raises with the place of the line read last.
[[noreturn]] void recusa(const Linhas &entrada, const std::string &motivo) {
    throw Erro(entrada.lugar() + ": " + motivo);
}

/// Runs what may raise an exception of the library, which becomes an error with its place.
template <typename FUNCAO>
void comLugar(const Linhas &entrada, FUNCAO funcao) {
    try {
        funcao();
    } catch (const YExcecao &e) {
        recusa(entrada, emUtf8(e.what()));
    }
}

// ---- Wire form ----

/// Holds what the line has of these characters against a class. A line that ends too early is left to the
/// loading.
template <typename CLASSE>
void confere(const Linhas &entrada, std::string_view linha, std::size_t inicio, std::size_t quantos,
             const std::string &onde, CLASSE pertence) {
    for (std::size_t i = inicio; i < inicio + quantos && i < linha.size(); i++) {
        if (!pertence(linha[i])) {
            recusa(entrada, onde + ": caractere " + std::to_string(i - inicio + 1) + " inválido");
        }
    }
}

// Code and bitmaps stand at fixed places; the first character of a bitmap says whether another one follows.
void confereInicio(const Linhas &entrada, std::string_view linha) {
    confere(entrada, linha, 0, DIGITOS_DO_CODIGO, "código da transação", ehDigito);
    std::size_t lugar = DIGITOS_DO_CODIGO;
    bool segueBitmap = lugar < linha.size();
    for (int qual = 1; qual <= 2 && segueBitmap; qual++) {
        confere(entrada, linha, lugar, DIGITOS_DO_BITMAP, "bitmap " + std::to_string(qual), ehHexadecimal);
        segueBitmap = lugar < linha.size() && linha[lugar] >= '8';
        lugar += DIGITOS_DO_BITMAP;
    }
}

/// Loading skips what is no digit in a length, and so reads all that follows at the wrong place. Walks the
/// elements that were loaded, in their order, up to the first such length.
void confereTamanhos(const Linhas &entrada, std::string_view linha, const YMensagemIso &mensagem) {
    std::size_t lugar =
        DIGITOS_DO_CODIGO + static_cast<std::size_t>(mensagem.capacidade) / 64 * DIGITOS_DO_BITMAP;
    for (std::int32_t bit = 2; bit <= mensagem.capacidade; bit++) {
        if (YMensagemIso_getBit(&mensagem, bit) != nullptr) {
            const std::size_t digitos = Y_ISO_DIGITOS(elementosIso[bit - 1].formato);
            confere(entrada, linha, lugar, digitos, nomeDoElemento(bit) + ", tamanho", ehDigito);
            lugar += digitos + YMensagemIso_getTamanhoBit(&mensagem, bit);
        }
    }
}

bool leLinhaDoFio(Linhas &entrada, std::string_view &linha) {
    do {
        if (!entrada.le(linha)) {
            return false;
        }
        if (linha.ends_with('\r')) { // files of other systems
            linha.remove_suffix(1);
        }
    } while (linha.empty());
    return true;
}

// ---- Text form ----

bool leLinhaNaoVazia(Linhas &entrada, std::string_view &linha) {
    bool leu = false;
    do {
        leu = entrada.le(linha);
    } while (leu && linha.empty());
    return leu;
}

/// Takes a number of one to `maximo` digits off the line's start.
std::int32_t tiraNumero(const Linhas &entrada, std::string_view &linha, std::size_t maximo,
                        const char *oque) {
    std::uint32_t numero = 0; // unsigned, so that no sign is taken
    const char *fim = linha.data() + linha.size();
    const auto [parou, erro] = std::from_chars(linha.data(), fim, numero);
    const auto digitos = static_cast<std::size_t>(parou - linha.data());
    if (erro != std::errc{} || digitos > maximo) {
        recusa(entrada, std::string(oque) + " inválido");
    }
    linha.remove_prefix(digitos);
    return static_cast<std::int32_t>(numero);
}

void exigeTamanho(const Linhas &entrada, std::int32_t bit, std::size_t tamanho) {
    const std::uint64_t formato = elementosIso[bit - 1].formato;
    const std::size_t maximo = Y_ISO_CARACTERES(formato);
    const bool fixo = Y_ISO_DIGITOS(formato) == 0;
    if (tamanho > maximo || (fixo && tamanho != maximo)) {
        recusa(entrada, nomeDoElemento(bit) + ": tamanho " + std::to_string(tamanho) +
                            (fixo ? ", exatamente " : ", no máximo ") + std::to_string(maximo));
    }
}

void leElemento(const Linhas &entrada, std::string_view linha, YMensagemIso &mensagem) {
    const std::int32_t bit = tiraNumero(entrada, linha, 3, "número do elemento");
    if (!linha.empty() && linha[0] != ' ') {
        recusa(entrada, "falta um espaço depois do número do elemento");
    }
    const std::string_view texto = linha.substr(linha.empty() ? 0 : 1);
    // Setting replaces silently, so a second one is looked for first.
    if (YMensagemIso_getBit(&mensagem, bit) != nullptr) {
        recusa(entrada, nomeDoElemento(bit) + ": repetido");
    }
    comLugar(entrada, [&] { YMensagemIso_setBitTam(&mensagem, bit, texto.data(), texto.size()); });
    exigeTamanho(entrada, bit, texto.size()); // a number that no element has was refused by now
}

} // namespace

std::string nomeDoElemento(std::int32_t bit) {
    return "elemento " + std::to_string(bit) + " (" + elementosIso[bit - 1].rotulo + ')';
}

std::int32_t ultimoElemento(const YMensagemIso &mensagem) {
    std::int32_t bit = mensagem.capacidade;
    while (bit > 0 && YMensagemIso_getBit(&mensagem, bit) == nullptr) {
        bit--;
    }
    return bit;
}

Mensagem leDoFio(Linhas &entrada) {
    std::string_view linha;
    if (!leLinhaDoFio(entrada, linha)) {
        return nullptr;
    }
    confereInicio(entrada, linha);
    auto mensagem = pramo::cria<YMensagemIso>(YMensagemIso_rtti);
    const char *posicao = linha.data(); // the line stays where it is until the next is read
    comLugar(entrada, [&] {
        try {
            YMensagemIso_carregaBloco(mensagem, &posicao, linha.size());
        } catch (const YExcecao &) {
            // That the message ended too early may be a bad length's doing: then the length is told.
            confereTamanhos(entrada, linha, *mensagem);
            throw;
        }
    });
    confereTamanhos(entrada, linha, *mensagem);
    // A line is one message: what follows it would be lost.
    if (const auto sobra = linha.data() + linha.size() - posicao; sobra != 0) {
        recusa(entrada, "depois da mensagem sobram " + std::to_string(sobra) + " bytes");
    }
    return mensagem;
}

Mensagem leDoTexto(Linhas &entrada) {
    std::string_view linha;
    if (!leLinhaNaoVazia(entrada, linha)) {
        return nullptr;
    }
    auto mensagem = pramo::cria<YMensagemIso>(YMensagemIso_rtti);
    YMensagemIso_setTransacao(mensagem, tiraNumero(entrada, linha, DIGITOS_DO_CODIGO, "código da transação"));
    if (!linha.empty()) {
        recusa(entrada, "código da transação inválido");
    }
    // Up to the empty line or the end. A line here points into the input's, which the next one replaces.
    while (entrada.le(linha) && !linha.empty()) {
        leElemento(entrada, linha, *mensagem);
    }
    return mensagem;
}

} // namespace iso8583
