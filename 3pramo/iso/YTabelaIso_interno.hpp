// The layout of a table, for the sources of the room.
#ifndef Y3PRAMO_ISO_YTABELAISO_INTERNO_HPP
#define Y3PRAMO_ISO_YTABELAISO_INTERNO_HPP

#include <3pramo/iso/YMensagemIso_interno.hpp>
#include <3pramo/iso/codificacao.hpp>

#include <cstdint>
#include <string_view>

namespace pramo::iso {

constexpr const char *FONTE_TABELA = "YTabelaIso";

struct ElementoDaTabela {
    const char *rotulo;   // of elementosIso, or the table's own
    std::uint32_t maximo; // characters of the text; exactly so many without a length
    std::uint8_t classes; // Y_ISO_CLASSES
    std::uint8_t digitos; // of the length in front; 0 is fixed
    Codificacao prefixo;
    FormaDoTexto forma;

    [[nodiscard]] Regra regra() const { return {classes, maximo, digitos == 0}; }
};

/// Why a text that its class allows cannot travel in the element's encoding, empty when it can.
std::string queixaDaForma(const ElementoDaTabela &elemento, std::string_view texto);

/// Fills the table, whose elements are the built-in ones, from its text; tells the errors and raises.
void leTabela(YTabelaIso &tabela, std::string_view texto, YFuncaoErroTabelaIso funcao, void *contexto);

} // namespace pramo::iso

/// `nomes` owns the names that are the table's own, the others are null.
struct YTabelaIso : YOb {
    pramo::iso::Codificacao codigo;
    pramo::iso::Codificacao bitmap;
    pramo::iso::ElementoDaTabela elementos[Y_ISO_ELEMENTOS];
    char *nomes[Y_ISO_ELEMENTOS];
};

#endif
