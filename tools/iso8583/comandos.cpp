// The commands. Each keeps one message of each input at a time, and makes the whole text of what it says
// about it before the first byte of that is written: an error leaves no half message behind.
#include "comandos.hpp"

#include "mensagens.hpp"

namespace iso8583 {

namespace {

constexpr int TUDO_BEM = 0;
constexpr int HA_DIFERENCA = 1;

using Stream = pramo::Ponteiro<YStream>;

Stream novoStream() {
    return pramo::cria<YStream>(YStream_rtti);
}

std::string_view conteudo(const Stream &stream) {
    return {YStream_str(stream), static_cast<std::size_t>(YStream_tam(stream))};
}

/// Calls `trata` with each message of the inputs, which `le` reads, and the input it comes from.
template <typename LE, typename TRATA>
void paraCada(const Pedido &pedido, LE le, TRATA trata) {
    for (const std::string &nome : pedido.entradas) {
        Linhas entrada(nome);
        while (const Mensagem mensagem = le(entrada)) {
            trata(mensagem, entrada);
        }
    }
}

/// Blocks of lines with an empty line between them.
class Blocos {
public:
    void poe(std::string_view linhas) {
        escreve(primeiro_ ? "" : "\n");
        escreve(linhas);
        primeiro_ = false;
    }

private:
    bool primeiro_ = true;
};

/// What the text form cannot say by elements alone: a second bitmap that announces none (element 1 stands for
/// it).
void preparaTexto(YMensagemIso *mensagem, const Linhas &entrada) {
    const std::int32_t ultimo = ultimoElemento(*mensagem);
    if (mensagem->capacidade == 64 && ultimo == 0) {
        throw Erro(entrada.lugar() + ": bitmap vazio, que a forma de texto não guarda");
    }
    if (mensagem->capacidade == 128 && ultimo <= 64) {
        YMensagemIso_setBit(mensagem, 1, "0000000000000000");
    }
}

// ---- Comparison ----

bool iguais(const YMensagemIso *a, const YMensagemIso *b, std::int32_t bit) {
    const char *textoA = YMensagemIso_getBit(a, bit);
    const char *textoB = YMensagemIso_getBit(b, bit);
    if (textoA == nullptr || textoB == nullptr) {
        return textoA == textoB;
    }
    return std::string_view(textoA, YMensagemIso_getTamanhoBit(a, bit)) ==
           std::string_view(textoB, YMensagemIso_getTamanhoBit(b, bit));
}

// Empty for an element that the message does not have.
std::string linhaDoElemento(const YMensagemIso *mensagem, std::int32_t bit, char sinal, bool claro) {
    const Stream stream = novoStream();
    YMensagemIso_dumpElemento(mensagem, bit, claro ? 0 : 1, stream);
    const std::string linha = emUtf8(conteudo(stream));
    return linha.empty() ? "" : sinal + linha;
}

/// "-rotulo: 1\n+rotulo: 2\n", or nothing when the numbers are the same.
std::string comparaNumeros(const std::string &rotulo, std::int32_t a, std::int32_t b) {
    return a == b
               ? ""
               : '-' + rotulo + ": " + std::to_string(a) + "\n+" + rotulo + ": " + std::to_string(b) + '\n';
}

std::string compara(const YMensagemIso *a, const YMensagemIso *b, bool claro) {
    std::string linhas = comparaNumeros("Código da Transação", a->transacao, b->transacao) +
                         comparaNumeros("Bitmaps", a->capacidade / 64, b->capacidade / 64);
    for (std::int32_t bit = 1; bit <= Y_ISO_ELEMENTOS; bit++) {
        if (!iguais(a, b, bit)) {
            linhas += linhaDoElemento(a, bit, '-', claro) + linhaDoElemento(b, bit, '+', claro);
        }
    }
    return linhas;
}

/// The difference of two messages as lines; of a message and the end of the other input, its place alone.
std::string diferenca(const Mensagem &a, const Linhas &entradaA, const Mensagem &b, const Linhas &entradaB,
                      bool claro) {
    if (a == nullptr || b == nullptr) {
        return a != nullptr ? "-" + entradaA.lugar() + '\n' : "+" + entradaB.lugar() + '\n';
    }
    const std::string linhas = compara(a, b, claro);
    return linhas.empty() ? "" : "--- " + entradaA.lugar() + "\n+++ " + entradaB.lugar() + '\n' + linhas;
}

} // namespace

int dump(const Pedido &pedido) {
    Blocos blocos;
    paraCada(pedido, leDoFio, [&](const YMensagemIso *mensagem, const Linhas &) {
        const Stream stream = novoStream();
        (pedido.claro ? YMensagemIso_dumpEmStream : YMensagemIso_dumpMascaradoEmStream)(mensagem, stream);
        blocos.poe(emUtf8(conteudo(stream)));
    });
    return TUDO_BEM;
}

int decode(const Pedido &pedido) {
    Blocos blocos;
    paraCada(pedido, leDoFio, [&](YMensagemIso *mensagem, const Linhas &entrada) {
        preparaTexto(mensagem, entrada);
        const Stream stream = novoStream();
        YMensagemIso_salvaEmStream(mensagem, stream);
        blocos.poe(conteudo(stream));
    });
    return TUDO_BEM;
}

int encode(const Pedido &pedido) {
    paraCada(pedido, leDoTexto, [](const YMensagemIso *mensagem, const Linhas &entrada) {
        // A carriage return in front of the line feed is the line end's to whoever reads this.
        const Stream stream = novoStream();
        YMensagemIso_emiteEmStream(mensagem, stream);
        if (conteudo(stream).ends_with('\r')) {
            throw Erro(entrada.lugar() + ": " + nomeDoElemento(ultimoElemento(*mensagem)) +
                       ": a mensagem termina em CR, que o fim da linha absorveria");
        }
        YStream_put(stream, '\n');
        escreve(conteudo(stream));
    });
    return TUDO_BEM;
}

int check(const Pedido &pedido) {
    int status = TUDO_BEM;
    paraCada(pedido, leDoFio, [&](const YMensagemIso *mensagem, const Linhas &entrada) {
        std::string falhas;
        struct Contexto {
            std::string &falhas;
            std::string lugar;
        } contexto{falhas, entrada.lugar()};
        // Called by the library, with the context as it was given: a plain function, nothing captured.
        const auto anota = [](void *dados, std::int32_t bit, const char *, const char *motivo) {
            auto &c = *static_cast<Contexto *>(dados);
            c.falhas += c.lugar + ": " + nomeDoElemento(bit) + ": " + emUtf8(motivo) + '\n';
        };
        if (YMensagemIso_valida(mensagem, anota, &contexto) != 0) {
            status = HA_DIFERENCA;
        }
        escreve(falhas);
    });
    return status;
}

int diff(const Pedido &pedido) {
    Linhas entradaA(pedido.entradas.at(0));
    Linhas entradaB(pedido.entradas.at(1));
    int status = TUDO_BEM;
    // The first with the first and so on; what the longer input has left is told by its place.
    for (;;) {
        const Mensagem a = leDoFio(entradaA);
        const Mensagem b = leDoFio(entradaB);
        if (a == nullptr && b == nullptr) {
            return status;
        }
        const std::string linhas = diferenca(a, entradaA, b, entradaB, pedido.claro);
        if (!linhas.empty()) {
            status = HA_DIFERENCA;
        }
        escreve(linhas);
    }
}

} // namespace iso8583
