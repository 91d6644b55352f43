// Frames. A length is never taken on trust: it is held against the limit before a byte is read for it.
#include <3pramo/iso/quadro.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YSocket_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>
#include <3pramo/iso/YMensagemIso_interno.hpp>

#include <algorithm>

using namespace pramo;
using namespace pramo::iso;

namespace {

struct Forma {
    std::size_t bytes; // of the length
    unsigned base;     // of one of its bytes
    char zero;
};

constexpr Forma FORMAS[] = {{2, 256, 0}, {4, 256, 0}, {4, 10, '0'}, {0, 1, 0}};

constexpr Forma formaDe(YQuadroIso quadro) {
    return FORMAS[quadro];
}

/// False when the number is too large for the length's bytes.
bool poeTamanho(const Forma &forma, std::size_t tamanho, char *destino) {
    for (std::size_t i = forma.bytes; i-- > 0; tamanho /= forma.base) {
        destino[i] = static_cast<char>(static_cast<unsigned>(forma.zero) + tamanho % forma.base);
    }
    return forma.bytes == 0 || tamanho == 0;
}

[[noreturn]] void malFormado() {
    lanca(YExcIOError_rtti, "Quadro ISO 8583 mal formado.", FONTE_DO_CANAL);
}

/// How many bytes follow the length.
std::size_t tamanhoAnunciado(const Enquadramento &como, std::string_view prefixo) {
    const Forma forma = formaDe(como.quadro);
    if (forma.base == 10 && !std::ranges::all_of(prefixo, ehAlgarismo)) {
        malFormado();
    }
    std::size_t anunciado = 0;
    for (const char c : prefixo) {
        anunciado = anunciado * forma.base + static_cast<unsigned char>(c - forma.zero);
    }
    const std::size_t proprios = como.contaASi ? forma.bytes : 0;
    if (anunciado < proprios || anunciado - proprios > como.limite) {
        YContextoTry_printf("tamanho: %zu. ", anunciado);
        malFormado();
    }
    return anunciado - proprios;
}

} // namespace

// ---- Writing ----

void Enquadramento::escreve(const YMensagemIso &mensagem, YStream &saida) const {
    if (mensagem.transacao < 0 || mensagem.transacao > MAIOR_CODIGO) {
        lanca(YExc_rtti, "Código da transação fora de 0 a 9999."_l1, FONTE_DO_CANAL);
    }
    const Forma forma = formaDe(quadro);
    acrescenta(saida, std::string_view("\0\0\0\0", forma.bytes));
    acrescenta(saida, cabecalho);
    if (tabela != nullptr) {
        YMensagemIso_emiteCom(&mensagem, tabela, &saida);
    } else {
        YMensagemIso_emiteEmStream(&mensagem, &saida);
    }
    const std::size_t corpo = saida.tam - forma.bytes;
    if (corpo > limite || !poeTamanho(forma, corpo + (contaASi ? forma.bytes : 0), saida.dados)) {
        YContextoTry_printf("tamanho: %zu. ", corpo);
        lanca(YExc_rtti, "Mensagem grande demais para o canal.", FONTE_DO_CANAL);
    }
    if (quadro == Y_ISO_QUADRO_LINHA) {
        const std::string_view linha = pramo::conteudo(saida);
        if (linha.find('\n') != std::string_view::npos || linha.ends_with('\r')) {
            lanca(YExc_rtti, "Mensagem com fim de linha.", FONTE_DO_CANAL);
        }
        YStream_put(&saida, '\n');
    }
}

// ---- Reading ----

void Enquadramento::carrega(std::string_view corpo, YMensagemIso &mensagem) const {
    if (corpo.size() < cabecalho.size()) {
        lanca(YExc_rtti, "Mensagem menor que o cabeçalho."_l1, FONTE_DO_CANAL);
    }
    corpo.remove_prefix(cabecalho.size());
    const char *posicao = corpo.data();
    if (tabela != nullptr) {
        YMensagemIso_carregaCom(&mensagem, tabela, &posicao, corpo.size());
    } else {
        YMensagemIso_carregaBloco(&mensagem, &posicao, corpo.size());
    }
    // Peers that do not agree where a message ends do not agree about what it says.
    if (posicao != corpo.data() + corpo.size()) {
        YContextoTry_printf("byte %td. ", posicao - corpo.data());
        lanca(YExc_rtti, "Bytes depois da mensagem.", FONTE_DO_CANAL);
    }
}

std::string_view LeitorDeQuadros::corpo() const {
    return pramo::conteudo(*bytes_).substr(prefixo_);
}

void LeitorDeQuadros::recomeca() {
    YStream_clear(bytes_);
    prefixo_ = 0;
}

YFimDaEspera LeitorDeQuadros::le(YSocket &socket, const Enquadramento &como, const Prazo &prazo) {
    for (;;) {
        const YFimDaEspera fim =
            como.quadro == Y_ISO_QUADRO_LINHA ? leLinha(socket, como, prazo) : leQuadro(socket, como, prazo);
        if (fim != Y_ESPERA_PRONTA || !corpo().empty()) {
            return fim;
        }
        recomeca();
        // A peer that sends nothing but empty ones holds nobody beyond the deadline.
        if (prazo.resta() == 0) {
            return Y_ESPERA_PRAZO;
        }
    }
}

YFimDaEspera LeitorDeQuadros::completa(YSocket &socket, std::size_t total, const Prazo &prazo) {
    if (bytes_->tam >= total) {
        return Y_ESPERA_PRONTA;
    }
    // Through the socket's buffer: a system call brings the length with its message, or several.
    esperaAlgo(socket, prazo);
    return recebeBloco(socket, *bytes_, total - bytes_->tam, prazo);
}

YFimDaEspera LeitorDeQuadros::leQuadro(YSocket &socket, const Enquadramento &como, const Prazo &prazo) {
    prefixo_ = formaDe(como.quadro).bytes;
    if (const YFimDaEspera fim = completa(socket, prefixo_, prazo); fim != Y_ESPERA_PRONTA) {
        return fim;
    }
    const std::string_view prefixo = pramo::conteudo(*bytes_).substr(0, prefixo_);
    return completa(socket, prefixo_ + tamanhoAnunciado(como, prefixo), prazo);
}

YFimDaEspera LeitorDeQuadros::leLinha(YSocket &socket, const Enquadramento &como, const Prazo &prazo) {
    constexpr std::size_t FIM_DE_LINHA = 2;
    prefixo_ = 0;
    std::size_t consumidos = 0;
    switch (recebeLinha(socket, *bytes_, prazo, como.limite + FIM_DE_LINHA, consumidos)) {
    case Linha::COMPLETA:
        if (bytes_->tam <= como.limite) {
            return Y_ESPERA_PRONTA;
        }
        break;
    case Linha::PRAZO:
        return Y_ESPERA_PRAZO;
    case Linha::FECHADA:
        return socket.cancelado ? Y_ESPERA_CANCELADA : Y_ESPERA_FECHADA;
    case Linha::LONGA:
        break;
    }
    malFormado();
}
