// The wire form, written and read, each in one pass. Writing reserves the most that the message can become
// and then fills it without asking for room again; reading notes where every text lies and copies all of them
// at the end.
#include <3pramo/iso/YMensagemIso_interno.hpp>
#include <3pramo/iso/bitmap.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>

#include <algorithm>
#include <cstdio>
#include <optional>

using namespace pramo;
using namespace pramo::iso;

namespace {

constexpr std::uint32_t DIGITOS_DO_CODIGO = 4;
constexpr std::size_t MAIOR_NUMERO = 11; // characters of any 32-bit one
constexpr std::size_t MAIOR_PREFIXO = 3;

// ---- Writing ----

// With leading zeros. The caller sees to it that the digits suffice.
char *poeNumero(char *destino, std::uint32_t numero, std::uint32_t digitos) {
    for (std::uint32_t i = digitos; i-- > 0; numero /= 10) {
        destino[i] = static_cast<char>('0' + numero % 10);
    }
    return destino + digitos;
}

char *poeCodigo(char *destino, std::int32_t transacao) {
    if (transacao >= 0 && transacao <= MAIOR_CODIGO) {
        return poeNumero(destino, static_cast<std::uint32_t>(transacao), DIGITOS_DO_CODIGO);
    }
    // Written whole, although readers take four digits: cut, it would pass for another code.
    return destino + std::snprintf(destino, MAIOR_NUMERO + 1, "%04d", transacao);
}

char *poeBitmaps(char *destino, const YMensagemIso &mensagem) {
    for (std::int32_t slot = 0; slot < mensagem.capacidade; slot += BITS_POR_BITMAP) {
        destino = poeBitmap(destino, bitmapNoFio(mensagem, slot));
    }
    return destino;
}

char *poeElemento(char *destino, int bit, std::string_view texto) {
    const std::uint64_t formato = registro(bit).formato;
    // The table's maximum bounds the characters, also of a binary element, where it counts bits.
    const auto tamanho =
        static_cast<std::uint32_t>(std::min<std::size_t>(texto.size(), Y_ISO_MAXIMO(formato)));
    destino = poeNumero(destino, tamanho, Y_ISO_DIGITOS(formato));
    std::memcpy(destino, texto.data(), tamanho);
    return destino + tamanho;
}

// ---- Reading ----

/// Takes the parts of a message off a text. A part that is not whole raises and leaves the position in front
/// of it.
class Leitor {
public:
    /// Without `fim` the text ends with its first zero byte.
    Leitor(const char *posicao, std::optional<const char *> fim) : posicao_(posicao), fim_(fim) {}

    [[nodiscard]] const char *posicao() const { return posicao_; }

    void le(Conteudo &lido) {
        exige(DIGITOS_DO_CODIGO, [] { YContextoTry_printf("%s. ", "Código da transação"_l1); });
        lido.transacao = leNumero(DIGITOS_DO_CODIGO);
        // A message without slots is its code alone.
        if (!tem(1)) {
            return;
        }
        leBitmapsEElementos(
            lido, [this](int qual) { return leBitmap(qual); }, [&](int bit) { leElemento(bit, lido); });
    }

private:
    // Looks neither behind the zero byte nor further than what is asked for.
    [[nodiscard]] bool tem(std::size_t quantos) const {
        return fim_ ? static_cast<std::size_t>(*fim_ - posicao_) >= quantos
                    : strnlen(posicao_, quantos) == quantos;
    }

    // Raises unless so many characters are there; `diz` sets the name of the part as detail text.
    template <typename DIZ>
    void exige(std::size_t quantos, DIZ diz) const {
        if (!tem(quantos)) [[unlikely]] {
            diz();
            lanca(YExc_rtti, "Mensagem ISO 8583 incompleta.", FONTE);
        }
    }

    // Other characters are passed over: " 12" is 12, and nothing at all is 0.
    std::int32_t leNumero(std::size_t digitos) {
        std::int32_t valor = 0;
        for (; digitos > 0; digitos--, posicao_++) {
            if (ehAlgarismo(*posicao_)) {
                valor = valor * 10 + (*posicao_ - '0');
            }
        }
        return valor;
    }

    std::uint64_t leBitmap(int qual) {
        const auto diz = [&] { YContextoTry_printf("Bitmap %d. ", qual); };
        exige(DIGITOS_DO_BITMAP, diz);
        std::uint64_t bitmap = 0;
        if (!iso::leBitmap(posicao_, bitmap)) [[unlikely]] {
            diz();
            lanca(YExc_rtti, "Bitmap com caractere inválido."_l1, FONTE);
        }
        posicao_ += DIGITOS_DO_BITMAP;
        return bitmap;
    }

    void leElemento(int bit, Conteudo &lido) {
        const std::uint64_t formato = registro(bit).formato;
        // A failure goes back to the length prefix: the caller may try again from there with more of the
        // text.
        const char *inicio = posicao_;
        const auto diz = [&] {
            YContextoTry_printf("Elemento %d (%s). ", bit, registro(bit).rotulo);
            posicao_ = inicio;
        };
        std::size_t tamanho = Y_ISO_CARACTERES(formato);
        if (const std::size_t digitos = Y_ISO_DIGITOS(formato); digitos != 0) {
            // A peer's length may be beyond the table's maximum; what was sent is loaded as it is.
            exige(digitos, diz);
            tamanho = static_cast<std::size_t>(leNumero(digitos));
        }
        exige(tamanho, diz);
        lido.poe(bit, {posicao_, tamanho});
        posicao_ += tamanho;
    }

    const char *posicao_;
    std::optional<const char *> fim_;
};

void carrega(YMensagemIso &mensagem, const char *&posicao, std::optional<const char *> fim) {
    Leitor leitor(posicao, fim);
    Conteudo lido;
    // In this order: when there is no memory for the message, the position has not moved either.
    const auto fica = [&] {
        substitui(mensagem, lido);
        posicao = leitor.posicao();
    };
    try {
        leitor.le(lido);
    } catch (const YExcecao &) {
        // What came before the part that failed is the caller's.
        fica();
        throw;
    }
    fica();
}

} // namespace

void YMensagemIso_emiteEmStream(const YMensagemIso *mensagem, YStream *stream) {
    std::size_t maximo = MAIOR_NUMERO + 2 * DIGITOS_DO_BITMAP;
    percorre(*mensagem, [&](int, std::string_view texto) { maximo += MAIOR_PREFIXO + texto.size(); });
    char *const inicio = reserva(*stream, maximo);
    char *fim = poeBitmaps(poeCodigo(inicio, mensagem->transacao), *mensagem);
    percorre(*mensagem, [&](int bit, std::string_view texto) {
        if (bit != 1) { // only its bit is written
            fim = poeElemento(fim, bit, texto);
        }
    });
    avanca(*stream, static_cast<std::size_t>(fim - inicio));
}

void YMensagemIso_carrega(YMensagemIso *mensagem, const char **posicao) {
    carrega(*mensagem, *posicao, std::nullopt);
}

void YMensagemIso_carregaBloco(YMensagemIso *mensagem, const char **posicao, uint64_t tamanho) {
    carrega(*mensagem, *posicao, *posicao + tamanho);
}
