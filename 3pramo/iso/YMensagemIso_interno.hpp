// What the sources of the ISO message share: how it keeps its texts. Nothing here is for other rooms.
#ifndef Y3PRAMO_ISO_YMENSAGEMISO_INTERNO_HPP
#define Y3PRAMO_ISO_YMENSAGEMISO_INTERNO_HPP

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/iso/YMensagemIso.h>

#include <bit>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

namespace pramo::iso {

constexpr const char *FONTE = "YMensagemIso";
constexpr int BITS_POR_BITMAP = 64;
constexpr std::int32_t MAIOR_CODIGO = 9999; // the wire form has four digits for it

/// Where element `bit` stands in the 64 bits of its bitmap, which inside the library has its first one
/// lowest.
constexpr std::uint64_t mascaraDoBit(int bit) {
    return std::uint64_t{1} << ((bit - 1) % BITS_POR_BITMAP);
}

/// What stands behind `privado`, absent while a message has no slots: one block with the slots and, behind
/// them, the texts that came together (loaded or copied). A text set alone is a block of its own. In front of
/// every text, in the same block, stands its length.
struct Privado {
    std::uint64_t presentes[2]; // the bitmaps of the slots that hold a text
    const char *fim;            // of the texts
    char *slots[Y_ISO_ELEMENTOS];
};

using Tamanho = std::size_t;

inline Privado *privado(const YMensagemIso &mensagem) {
    return static_cast<Privado *>(mensagem.privado);
}

/// A text of a slot, with its length.
inline std::string_view conteudo(const char *texto) {
    Tamanho tamanho = 0;
    std::memcpy(&tamanho, texto - sizeof tamanho, sizeof tamanho);
    return {texto, tamanho};
}

/// The text of an element; data() is null when it is absent.
inline std::string_view elemento(const YMensagemIso &mensagem, std::int32_t bit) {
    const char *texto = YMensagemIso_getBit(&mensagem, bit);
    return texto != nullptr ? conteudo(texto) : std::string_view();
}

/// The number of each element of a bitmap whose first is `primeiro`, in increasing order.
template <typename VISITA>
void percorreBits(std::uint64_t bitmap, int primeiro, VISITA visita) {
    for (; bitmap != 0; bitmap &= bitmap - 1) {
        visita(primeiro + std::countr_zero(bitmap));
    }
}

/// Bit and text of each element that is present, in increasing order. Costs nothing for the others.
template <typename VISITA>
void percorre(const YMensagemIso &mensagem, VISITA visita) {
    for (int slot = 0; slot < mensagem.capacidade; slot += BITS_POR_BITMAP) {
        percorreBits(privado(mensagem)->presentes[slot / BITS_POR_BITMAP], slot + 1,
                     [&](int bit) { visita(bit, conteudo(mensagem.bits[bit - 1])); });
    }
}

/// The bitmap of the slots from this one on, as it is written. Whether another one follows is decided by the
/// slots alone, as they are there, empty or not.
inline std::uint64_t bitmapNoFio(const YMensagemIso &mensagem, std::int32_t slot) {
    const bool segueOutro = mensagem.capacidade > slot + BITS_POR_BITMAP;
    return privado(mensagem)->presentes[slot / BITS_POR_BITMAP] | (segueOutro ? mascaraDoBit(1) : 0);
}

inline const YElementoIso &registro(int bit) {
    return elementosIso[bit - 1];
}

/// What a message is to become. The texts lie elsewhere; each bit stands at most once.
struct Conteudo {
    struct Texto {
        const char *inicio;
        std::size_t tamanho;
        int bit;
    };

    std::int32_t transacao = 0;
    std::int32_t capacidade = 0;
    std::int32_t quantos = 0;
    Texto textos[Y_ISO_ELEMENTOS]; // the first `quantos`

    void poe(int bit, std::string_view texto) { textos[quantos++] = {texto.data(), texto.size(), bit}; }
    [[nodiscard]] const Texto *begin() const { return textos; }
    [[nodiscard]] const Texto *end() const { return textos + quantos; }
};

/// The bitmaps of a message whose code is read, then the elements that they announce, by the functions of its
/// form.
template <typename BITMAP, typename ELEMENTO>
void leBitmapsEElementos(Conteudo &lido, BITMAP leBitmap, ELEMENTO leElemento) {
    std::uint64_t bitmaps[2] = {leBitmap(1), 0};
    const bool temSegundo = (bitmaps[0] & mascaraDoBit(1)) != 0;
    if (temSegundo) {
        bitmaps[1] = leBitmap(2);
    }
    // Where its elements would end nobody could tell, so none is read.
    if ((bitmaps[1] & mascaraDoBit(1)) != 0) {
        lanca(YExc_rtti, "Mensagem ISO 8583 com terceiro bitmap.", FONTE);
    }
    lido.capacidade = temSegundo ? Y_ISO_ELEMENTOS : BITS_POR_BITMAP;
    // Element 1 is the second bitmap itself, read by now.
    percorreBits(bitmaps[0] & ~mascaraDoBit(1), 1, leElemento);
    percorreBits(bitmaps[1], BITS_POR_BITMAP + 1, leElemento);
}

/// How many slots a message has that holds this bit; as a text, element 1 announces the second bitmap.
constexpr std::int32_t capacidadePara(int bit, bool comTexto) {
    const bool anunciaSegundo = bit == 1 && comTexto;
    return bit > BITS_POR_BITMAP || anunciaSegundo ? 2 * BITS_POR_BITMAP : BITS_POR_BITMAP;
}

/// Replaces the whole message. The texts may be its own; when there is no memory nothing has changed.
void substitui(YMensagemIso &mensagem, const Conteudo &novo);

/// The same where the texts are still as on the wire, in the encodings of the table and right; their sizes
/// are those of the texts.
void substitui(YMensagemIso &mensagem, const Conteudo &novo, const YTabelaIso &tabela);

/// Each becomes what the other was; nothing can fail.
inline void trocaConteudo(YMensagemIso &uma, YMensagemIso &outra) noexcept {
    std::swap(uma.bits, outra.bits);
    std::swap(uma.capacidade, outra.capacidade);
    std::swap(uma.transacao, outra.transacao);
    std::swap(uma.privado, outra.privado);
}

/// What an element's text is held against.
struct Regra {
    std::uint64_t classes;
    std::size_t maximo; // in characters
    bool fixo;
};

/// The rule of the built-in table.
inline Regra regraDe(int bit) {
    const std::uint64_t formato = registro(bit).formato;
    return {formato & Y_ISO_CLASSES, Y_ISO_CARACTERES(formato), Y_ISO_DIGITOS(formato) == 0};
}

constexpr bool cabeNaRegra(const Regra &regra, std::size_t tamanho) {
    return regra.fixo ? tamanho == regra.maximo : tamanho <= regra.maximo;
}

/// Without the blanks that fill up an element of fixed length, where the table has letters.
std::string_view semEnchimento(std::string_view texto, const Regra &regra);

/// Where the first character stands that no class of the rule has; the text's length when there is none.
std::size_t primeiroForaDasClasses(const Regra &regra, std::string_view texto);

/// Why a text cannot have this length, empty when it can.
std::string queixaDoTamanho(const Regra &regra, std::size_t tamanho);

/// Why its characters cannot be those of the text, filling apart; empty when they can.
std::string queixaDasClasses(const Regra &regra, std::string_view texto);

/// Raises unless the number is one from 1 to 128.
void exigeBit(std::int32_t bit);

/// Reads a text file from where it stands.
void leTexto(YMensagemIso &mensagem, std::FILE *arquivo);

} // namespace pramo::iso

#endif
