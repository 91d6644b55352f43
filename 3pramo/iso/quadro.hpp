// How a channel's messages stand in the stream of bytes: writing one, cutting the next one off.
#ifndef Y3PRAMO_ISO_QUADRO_HPP
#define Y3PRAMO_ISO_QUADRO_HPP

#include <3pramo/foundation/Prazo.hpp>
#include <3pramo/foundation/cria.hpp>
#include <3pramo/iso/YCanalIso.h>

#include <string>
#include <string_view>

namespace pramo::iso {

constexpr const char *FONTE_DO_CANAL = "YCanalIso";

struct Enquadramento {
    YQuadroIso quadro = Y_ISO_QUADRO_2_BYTES;
    bool contaASi = false;
    std::string cabecalho;
    std::size_t limite = 65'535;
    const YTabelaIso *tabela = nullptr; // not owned

    /// Appends the message in its frame; raises as YCanalIso_envia.
    void escreve(const YMensagemIso &mensagem, YStream &saida) const;

    /// Loads the message of a frame that is whole; raises as YCanalIso_recebe.
    void carrega(std::string_view corpo, YMensagemIso &mensagem) const;
};

/// Keeps what has come of a frame until it is whole. One thread at a time.
class LeitorDeQuadros {
public:
    /// PRONTA: a frame with at least one byte is whole. Raises when frames can no longer be told apart.
    YFimDaEspera le(YSocket &socket, const Enquadramento &como, const Prazo &prazo);

    /// Header and message of the whole frame.
    [[nodiscard]] std::string_view corpo() const;

    /// Drops what is there: the next frame, or the next connection.
    void recomeca();

private:
    YFimDaEspera completa(YSocket &socket, std::size_t total, const Prazo &prazo);
    YFimDaEspera leQuadro(YSocket &socket, const Enquadramento &como, const Prazo &prazo);
    YFimDaEspera leLinha(YSocket &socket, const Enquadramento &como, const Prazo &prazo);

    Ponteiro<YStream> bytes_ = cria<YStream>(YStream_rtti, FONTE_DO_CANAL); // the length, too
    std::size_t prefixo_ = 0;                                               // its bytes
};

} // namespace pramo::iso

#endif
