// The wire form of a network's table. Writing reserves the most that the message can become and fills it in
// one pass; reading notes where every text lies, holds it against its encoding, and decodes all of them into
// the message's block at the end.
#include <3pramo/iso/YMensagemIso_interno.hpp>
#include <3pramo/iso/YTabelaIso_interno.hpp>
#include <3pramo/iso/bitmap.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>

#include <cstdio>

using namespace pramo;
using namespace pramo::iso;

namespace {

constexpr std::size_t DIGITOS_DO_CODIGO = 4;
constexpr std::size_t MAIOR_PREFIXO = 4;

FormaDoTexto formaDoBitmap(const YTabelaIso &tabela) {
    return {tabela.bitmap, {}, false};
}

// ---- Writing ----

[[noreturn]] void recusa(int bit, const ElementoDaTabela &elemento, std::string_view texto) {
    semFaltaDeMemoria(FONTE, [&] {
        std::string queixa = queixaDoTamanho(elemento.regra(), texto.size());
        if (queixa.empty()) {
            queixa = queixaDaForma(elemento, texto);
        }
        YContextoTry_printf("Elemento %d (%s): %s. ", bit, elemento.rotulo, queixa.c_str());
    });
    lanca(YExc_rtti, "Elemento fora da tabela.", FONTE);
}

// Null when the element cannot be carried.
char *poeElemento(char *destino, const ElementoDaTabela &elemento, std::string_view texto) {
    const auto tamanho = static_cast<std::uint32_t>(texto.size());
    const std::uint32_t porUnidade = caracteresPorUnidade(elemento.forma.codificacao);
    if (elemento.digitos == 0) {
        return texto.size() == elemento.maximo ? codifica(elemento.forma, texto, destino) : nullptr;
    }
    if (texto.size() > elemento.maximo || tamanho % porUnidade != 0) {
        return nullptr;
    }
    destino = codificaNumero(elemento.prefixo, tamanho / porUnidade, elemento.digitos, destino);
    return codifica(elemento.forma, texto, destino);
}

char *poeCabeca(char *destino, const YMensagemIso &mensagem, const YTabelaIso &tabela) {
    if (mensagem.transacao < 0 || mensagem.transacao > MAIOR_CODIGO) {
        lanca(YExc_rtti, "Código da transação fora de 0 a 9999."_l1, FONTE);
    }
    destino = codificaNumero(tabela.codigo, static_cast<std::uint32_t>(mensagem.transacao), DIGITOS_DO_CODIGO,
                             destino);
    char texto[DIGITOS_DO_BITMAP];
    for (std::int32_t slot = 0; slot < mensagem.capacidade; slot += BITS_POR_BITMAP) {
        poeBitmap(texto, bitmapNoFio(mensagem, slot));
        destino = codifica(formaDoBitmap(tabela), {texto, sizeof texto}, destino);
    }
    return destino;
}

// ---- Reading ----

/// Takes the parts of a message off its bytes. A part that is not right raises and leaves the position in
/// front of it.
class Leitor {
public:
    Leitor(const YTabelaIso &tabela, const char *inicio, std::size_t tamanho)
        : tabela_(tabela), inicio_(inicio), posicao_(inicio), parte_(inicio), fim_(inicio + tamanho) {}

    /// Where the part begins that was not right, or that would come next.
    [[nodiscard]] const char *posicao() const { return parte_; }

    void le(Conteudo &lido) {
        leCodigo(lido);
        // A message without slots is its code alone.
        if (posicao_ == fim_) {
            return;
        }
        leBitmapsEElementos(
            lido, [this](int qual) { return leBitmap(qual); }, [&](int bit) { leElemento(bit, lido); });
    }

private:
    // `diz` sets the name of the part, with the byte, as detail text.
    template <typename DIZ>
    [[noreturn]] void falha(DIZ diz, const char *onde, const char *motivo) const {
        diz(static_cast<std::size_t>(onde - inicio_));
        lanca(YExc_rtti, motivo, FONTE);
    }

    template <typename DIZ>
    void exige(std::size_t quantos, DIZ diz) const {
        if (static_cast<std::size_t>(fim_ - posicao_) < quantos) [[unlikely]] {
            falha(diz, posicao_, "Mensagem ISO 8583 incompleta.");
        }
    }

    template <typename DIZ>
    std::uint32_t leNumero(Codificacao codificacao, std::size_t digitos, DIZ diz, const char *motivo) {
        const std::size_t bytes = bytesDoNumero(codificacao, digitos);
        exige(bytes, diz);
        std::uint32_t numero = 0;
        if (!decodificaNumero(codificacao, posicao_, digitos, numero)) [[unlikely]] {
            falha(diz, posicao_, motivo);
        }
        posicao_ += bytes;
        return numero;
    }

    void leCodigo(Conteudo &lido) {
        const auto diz = [](std::size_t onde) {
            YContextoTry_printf("%s, byte %zu. ", "Código da transação"_l1, onde);
        };
        lido.transacao = static_cast<std::int32_t>(
            leNumero(tabela_.codigo, DIGITOS_DO_CODIGO, diz, "Código com caractere inválido."_l1));
        parte_ = posicao_;
    }

    std::uint64_t leBitmap(int qual) {
        const auto diz = [=](std::size_t onde) { YContextoTry_printf("Bitmap %d, byte %zu. ", qual, onde); };
        const FormaDoTexto forma = formaDoBitmap(tabela_);
        exige(bytesDoTexto(forma, DIGITOS_DO_BITMAP), diz);
        char texto[DIGITOS_DO_BITMAP];
        decodifica(forma, posicao_, sizeof texto, texto);
        std::uint64_t bitmap = 0;
        if (!iso::leBitmap(texto, bitmap)) {
            falha(diz, posicao_, "Bitmap com caractere inválido."_l1);
        }
        parte_ = posicao_ += bytesDoTexto(forma, sizeof texto);
        return bitmap;
    }

    void leElemento(int bit, Conteudo &lido) {
        const ElementoDaTabela &elemento = tabela_.elementos[bit - 1];
        const auto diz = [&](std::size_t onde) {
            YContextoTry_printf("Elemento %d (%s), byte %zu. ", bit, elemento.rotulo, onde);
        };
        std::size_t caracteres = elemento.maximo;
        if (elemento.digitos != 0) {
            caracteres =
                leNumero(elemento.prefixo, elemento.digitos, diz, "Tamanho com caractere inválido."_l1);
            caracteres *= caracteresPorUnidade(elemento.forma.codificacao);
            // What is beyond it could not be written again.
            if (caracteres > elemento.maximo) [[unlikely]] {
                falha(diz, parte_, "Tamanho além do máximo."_l1);
            }
        }
        const std::size_t bytes = bytesDoTexto(elemento.forma, caracteres);
        exige(bytes, diz);
        const std::size_t errado = primeiroErrado(elemento.forma, posicao_, caracteres);
        if (errado != bytes) [[unlikely]] {
            falha(diz, posicao_ + errado, "Algarismo compactado inválido."_l1);
        }
        lido.poe(bit, {posicao_, caracteres});
        parte_ = posicao_ += bytes;
    }

    const YTabelaIso &tabela_;
    const char *inicio_;
    const char *posicao_;
    const char *parte_; // where the part begins that is being read
    const char *fim_;
};

} // namespace

void YMensagemIso_emiteCom(const YMensagemIso *mensagem, const YTabelaIso *tabela, YStream *stream) {
    // No encoding takes more bytes than the text has characters.
    std::size_t maximo = DIGITOS_DO_CODIGO + 2 * DIGITOS_DO_BITMAP;
    percorre(*mensagem, [&](int, std::string_view texto) { maximo += MAIOR_PREFIXO + texto.size(); });
    char *const inicio = reserva(*stream, maximo);
    char *fim = inicio;
    try {
        fim = poeCabeca(fim, *mensagem, *tabela);
        percorre(*mensagem, [&](int bit, std::string_view texto) {
            if (bit != 1) { // only its bit is written
                const ElementoDaTabela &elemento = tabela->elementos[bit - 1];
                fim = poeElemento(fim, elemento, texto);
                if (fim == nullptr) [[unlikely]] {
                    recusa(bit, elemento, texto);
                }
            }
        });
    } catch (...) {
        // Behind a stream's content nothing stands that may be card data.
        apaga(inicio, maximo);
        throw;
    }
    avanca(*stream, static_cast<std::size_t>(fim - inicio));
}

void YMensagemIso_carregaCom(YMensagemIso *mensagem, const YTabelaIso *tabela, const char **posicao,
                             uint64_t tamanho) {
    Leitor leitor(*tabela, *posicao, tamanho);
    Conteudo lido;
    // In this order: when there is no memory for the message, the position has not moved either.
    const auto fica = [&] {
        substitui(*mensagem, lido, *tabela);
        *posicao = leitor.posicao();
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
