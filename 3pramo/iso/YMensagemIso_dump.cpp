// The dump, as it is and masked. The element's number alone decides how it is masked, whatever its text looks
// like; elements that should hold no card data are searched for card numbers all the same.
#include <3pramo/iso/YMensagemIso_interno.hpp>
#include <3pramo/iso/YTabelaIso_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/foundation/mascara.hpp>

#include <atomic>

using namespace pramo;
using namespace pramo::iso;

namespace {

// What the masked dump makes of an element.
enum class Mascara { NUMEROS, CARTAO, TUDO, SO_TAMANHO };

// What such an element holds only its network knows.
bool ehReservado(int bit) {
    return bit == 44 || (bit >= 46 && bit <= 48) || bit == 54 || (bit >= 56 && bit <= 63) ||
           (bit >= 102 && bit <= 127);
}

Mascara mascaraDe(int bit) {
    switch (bit) {
    // The card number.
    case 2:
        return Mascara::CARTAO;
    // The extended card number and its country, security control and chip data.
    case 20:
    case 34:
    case 53:
    case 55:
        return Mascara::TUDO;
    // The tracks 2, 3 and 1, and the PIN block.
    case 35:
    case 36:
    case 45:
    case 52:
        return Mascara::SO_TAMANHO;
    default:
        return ehReservado(bit) ? Mascara::SO_TAMANHO : Mascara::NUMEROS;
    }
}

bool temDadosDeCartao(int bit) {
    return mascaraDe(bit) != Mascara::NUMEROS && !ehReservado(bit);
}

// The elements that the application has shown, a bit each as in the bitmaps of a message.
// Each bit stands for itself and nothing waits on it: the order of memory does not matter.
std::atomic<std::uint64_t> mostrados[2];

bool ehMostrado(int bit) {
    const std::uint64_t bits = mostrados[(bit - 1) / BITS_POR_BITMAP].load(std::memory_order_relaxed);
    return (bits & mascaraDoBit(bit)) != 0;
}

// A line feed in a text could forge a line of the log. 127 to 159 are control characters of ISO-8859-1.
void poeSemControles(YStream &stream, std::string_view texto) {
    for (const char c : texto) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 32 || (byte >= 127 && byte < 160)) {
            YStream_printf(&stream, "\\x%02X", byte);
        } else {
            YStream_put(&stream, byte);
        }
    }
}

// By a table: what it has in binary, and the built-in one has not, would show card data as other digits.
Mascara mascaraDe(int bit, const YTabelaIso *tabela) {
    const bool binario = tabela != nullptr && (tabela->elementos[bit - 1].classes & Y_ISO_B) != 0 &&
                         (registro(bit).formato & Y_ISO_B) == 0;
    const Mascara mascara = mascaraDe(bit);
    return binario && mascara == Mascara::NUMEROS ? Mascara::SO_TAMANHO : mascara;
}

std::string mascarado(Mascara mascara, std::string_view texto) {
    switch (mascara) {
    case Mascara::NUMEROS:
        return mascaraNumeros(texto);
    case Mascara::CARTAO:
        return mascaraCartao(texto);
    default:
        return std::string(texto.size(), '*');
    }
}

// The table may be null.
void poeElemento(YStream &stream, int bit, std::string_view texto, bool mascara, const YTabelaIso *tabela) {
    YStream_printf(&stream, "%3d %s : ", bit,
                   tabela != nullptr ? tabela->elementos[bit - 1].rotulo : registro(bit).rotulo);
    // Also a shown element has its control characters written out, when the dump is masked.
    const bool mostra = !mascara || ehMostrado(bit);
    const Mascara qual = mascaraDe(bit, tabela);
    if (!mostra && qual == Mascara::SO_TAMANHO) {
        YStream_printf(&stream, "(%zu caracteres)\n", texto.size());
        return;
    }
    acrescenta(stream, "\"");
    if (mascara) {
        poeSemControles(stream, mostra ? texto : mascarado(qual, texto));
    } else {
        acrescenta(stream, texto);
    }
    acrescenta(stream, "\"\n");
}

// Whole or not at all: a part of it would read as a message with fewer elements.
void dump(const YMensagemIso &mensagem, YStream &stream, bool mascarado, const YTabelaIso *tabela) {
    TudoOuNada acrescimo(stream);
    semFaltaDeMemoria(FONTE, [&] {
        YStream_printf(&stream, "%s: %d\n", "Código da Transação"_l1, mensagem.transacao);
        percorre(mensagem, [&](int bit, std::string_view texto) {
            poeElemento(stream, bit, texto, mascarado, tabela);
        });
    });
    acrescimo.fica();
}

} // namespace

void YMensagemIso_dumpEmStream(const YMensagemIso *mensagem, YStream *stream) {
    dump(*mensagem, *stream, false, nullptr);
}

void YMensagemIso_dumpMascaradoEmStream(const YMensagemIso *mensagem, YStream *stream) {
    dump(*mensagem, *stream, true, nullptr);
}

void YMensagemIso_dumpMascaradoCom(const YMensagemIso *mensagem, const YTabelaIso *tabela, YStream *stream) {
    dump(*mensagem, *stream, true, tabela);
}

void YMensagemIso_dumpElemento(const YMensagemIso *mensagem, int32_t bit, int mascarado, YStream *stream) {
    const std::string_view texto = elemento(*mensagem, bit);
    if (texto.data() != nullptr) {
        TudoOuNada acrescimo(*stream);
        semFaltaDeMemoria(FONTE, [&] { poeElemento(*stream, bit, texto, mascarado != 0, nullptr); });
        acrescimo.fica();
    }
}

void YMensagemIso_mostraElemento(int32_t bit, int32_t mostra) {
    exigeBit(bit);
    // No application is asked about these.
    if (temDadosDeCartao(bit)) {
        YContextoTry_printf("Elemento %d. ", bit);
        lanca(YExc_rtti, "Dados do cartão nunca são mostrados."_l1, FONTE);
    }
    std::atomic<std::uint64_t> &bits = mostrados[(bit - 1) / BITS_POR_BITMAP];
    if (mostra != 0) {
        bits.fetch_or(mascaraDoBit(bit), std::memory_order_relaxed);
    } else {
        bits.fetch_and(~mascaraDoBit(bit), std::memory_order_relaxed);
    }
}
