// Numbers and texts in the form that the table gives their element.
#include <3pramo/iso/YMensagemIso_valores.h>

#include <3pramo/iso/YTabelaIso_interno.hpp>

#include <3pramo/foundation/Ponteiro.hpp>
#include <3pramo/foundation/YExc_interno.hpp>

#include <algorithm>
#include <charconv>

using namespace pramo;
using namespace pramo::iso;

namespace {

/// What an element is by the network's table, or the built-in one.
struct Lugar {
    Lugar(const YTabelaIso *tabela, std::int32_t numero)
        : bit(numero), daRede(tabela != nullptr ? &tabela->elementos[numero - 1] : nullptr),
          regra(daRede != nullptr ? daRede->regra() : regraDe(numero)) {}

    std::int32_t bit;
    const ElementoDaTabela *daRede; // null is the built-in one
    Regra regra;

    [[nodiscard]] std::string queixa(std::string_view texto) const {
        std::string achada = queixaDoTamanho(regra, texto.size());
        if (achada.empty()) {
            achada = queixaDasClasses(regra, texto);
        }
        return achada.empty() && daRede != nullptr ? queixaDaForma(*daRede, texto) : achada;
    }

    [[noreturn]] void recusa(const char *queixa) const {
        const char *rotulo = daRede != nullptr ? daRede->rotulo : registro(bit).rotulo;
        YContextoTry_printf("Elemento %d (%s): %s. ", bit, rotulo, queixa);
        lanca(YExc_rtti, "Elemento fora da tabela.", FONTE);
    }
};

void guardaConferido(YMensagemIso &mensagem, const Lugar &lugar, std::string_view texto) {
    semFaltaDeMemoria(FONTE, [&] {
        if (const std::string queixa = lugar.queixa(texto); !queixa.empty()) {
            lugar.recusa(queixa.c_str());
        }
    });
    YMensagemIso_setBitTam(&mensagem, lugar.bit, texto.data(), texto.size());
}

void guardaPreenchido(YMensagemIso &mensagem, const Lugar &lugar, std::string_view texto, char enchimento) {
    const std::size_t maximo = lugar.regra.maximo;
    if (!lugar.regra.fixo || texto.size() >= maximo) {
        guardaConferido(mensagem, lugar, texto);
        return;
    }
    // A block of the library: it is wiped when it goes, as the text may be card data.
    const Ponteiro<char> cheio(static_cast<char *>(YalocaMemoria_debug(maximo, FONTE, __LINE__)));
    std::fill_n(cheio.get(), maximo, enchimento);
    std::ranges::copy(texto, cheio.get() + (enchimento == '0' ? maximo - texto.size() : 0));
    guardaConferido(mensagem, lugar, {cheio.get(), maximo});
}

} // namespace

void YMensagemIso_setNumero(YMensagemIso *mensagem, const YTabelaIso *tabela, int32_t bit, uint64_t valor) {
    exigeBit(bit);
    const Lugar lugar(tabela, bit);
    // The digits would be good hexadecimal or track data too, but of another meaning.
    if ((lugar.regra.classes & Y_ISO_N) == 0) {
        lugar.recusa("não numérico"_l1);
    }
    char algarismos[20]; // of the largest
    const char *fim = std::to_chars(std::begin(algarismos), std::end(algarismos), valor).ptr;
    guardaPreenchido(*mensagem, lugar, {algarismos, fim}, '0');
}

void YMensagemIso_setTexto(YMensagemIso *mensagem, const YTabelaIso *tabela, int32_t bit, const char *texto) {
    exigeBit(bit);
    if (texto == nullptr) {
        YMensagemIso_setBit(mensagem, bit, nullptr);
        return;
    }
    const Lugar lugar(tabela, bit);
    if (lugar.regra.classes == Y_ISO_N) {
        guardaPreenchido(*mensagem, lugar, texto, '0');
    } else if ((lugar.regra.classes & Y_ISO_A) != 0) {
        guardaPreenchido(*mensagem, lugar, texto, ' ');
    } else {
        guardaConferido(*mensagem, lugar, texto);
    }
}

YSituacao YMensagemIso_leTexto(const YMensagemIso *mensagem, const YTabelaIso *tabela, int32_t bit,
                               const char **texto, uint64_t *tamanho) {
    const std::string_view tudo = elemento(*mensagem, bit);
    if (tudo.data() == nullptr) {
        return Y_LEITURA_AUSENTE;
    }
    const Regra regra = Lugar(tabela, bit).regra;
    if (!cabeNaRegra(regra, tudo.size())) {
        return Y_LEITURA_FORA_DA_FAIXA;
    }
    const std::string_view lido = semEnchimento(tudo, regra);
    if (primeiroForaDasClasses(regra, lido) != lido.size()) {
        return Y_LEITURA_MAL_FORMADA;
    }
    *texto = lido.data();
    *tamanho = lido.size();
    return Y_LEITURA_OK;
}
