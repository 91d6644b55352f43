// The dump, as it is and masked.
#include <3pramo/iso/YMensagemIso_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>

#include <algorithm>

using namespace pramo;
using namespace pramo::iso;

namespace {

enum class Mascara { NENHUMA, CARTAO, TUDO, SO_TAMANHO };

Mascara mascaraDe(int bit) {
    switch (bit) {
    case 2: // card number
        return Mascara::CARTAO;
    case 20: // country of the extended card number
    case 34: // extended card number
    case 53: // security control
    case 55: // chip data
        return Mascara::TUDO;
    case 35: // tracks 2, 3 and 1
    case 36:
    case 45:
    case 52: // PIN block
        return Mascara::SO_TAMANHO;
    default:
        return Mascara::NENHUMA;
    }
}

constexpr std::size_t MENOR_CARTAO = 13;
constexpr std::size_t MAIOR_CARTAO = 19;
constexpr std::size_t INICIO_VISIVEL = 6;
constexpr std::size_t FIM_VISIVEL = 4;

// What is no card number may be anything: nothing of it is shown.
bool pareceCartao(std::string_view texto) {
    return texto.size() >= MENOR_CARTAO && texto.size() <= MAIOR_CARTAO &&
           std::all_of(texto.begin(), texto.end(), [](char c) { return c >= '0' && c <= '9'; });
}

void poeEstrelas(YStream &stream, std::size_t quantas) {
    std::fill_n(reserva(stream, quantas), quantas, '*');
    avanca(stream, quantas);
}

void poeCartao(YStream &stream, std::string_view texto) {
    const std::size_t visiveis = pareceCartao(texto) ? INICIO_VISIVEL + FIM_VISIVEL : 0;
    acrescenta(stream, texto.substr(0, std::min(visiveis, INICIO_VISIVEL)));
    poeEstrelas(stream, texto.size() - visiveis);
    acrescenta(stream, texto.substr(texto.size() - std::min(visiveis, FIM_VISIVEL)));
}

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

void poeMascarado(YStream &stream, int bit, std::string_view texto) {
    switch (mascaraDe(bit)) {
    case Mascara::NENHUMA:
        return poeSemControles(stream, texto);
    case Mascara::CARTAO:
        return poeCartao(stream, texto);
    case Mascara::TUDO:
    case Mascara::SO_TAMANHO:
        return poeEstrelas(stream, texto.size());
    }
}

void poeElemento(YStream &stream, int bit, std::string_view texto, bool mascarado) {
    YStream_printf(&stream, "%3d %s : ", bit, registro(bit).rotulo);
    if (mascarado && mascaraDe(bit) == Mascara::SO_TAMANHO) {
        YStream_printf(&stream, "(%zu caracteres)\n", texto.size());
        return;
    }
    acrescenta(stream, "\"");
    if (mascarado) {
        poeMascarado(stream, bit, texto);
    } else {
        acrescenta(stream, texto);
    }
    acrescenta(stream, "\"\n");
}

void dump(const YMensagemIso &mensagem, YStream &stream, bool mascarado) {
    YStream_printf(&stream, "%s: %d\n", "Código da Transação"_l1, mensagem.transacao);
    percorre(mensagem, [&](int bit, std::string_view texto) { poeElemento(stream, bit, texto, mascarado); });
}

} // namespace

void YMensagemIso_dumpEmStream(const YMensagemIso *mensagem, YStream *stream) {
    dump(*mensagem, *stream, false);
}

void YMensagemIso_dumpMascaradoEmStream(const YMensagemIso *mensagem, YStream *stream) {
    dump(*mensagem, *stream, true);
}

void YMensagemIso_dumpElemento(const YMensagemIso *mensagem, int32_t bit, int mascarado, YStream *stream) {
    const std::string_view texto = elemento(*mensagem, bit);
    if (texto.data() != nullptr) {
        poeElemento(*stream, bit, texto, mascarado != 0);
    }
}
