// Text of the outside, in UTF-8, into streams and out of them.
#include <3pramo/foundation/YStream_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/cria.hpp>
#include <3pramo/foundation/utf8.hpp>

#include <algorithm>

using namespace pramo;

namespace {

// Calls the function with the text, or with a copy of one that lies in the stream: growing may move it.
template <typename FUNCAO>
void foraDoStream(const YStream &stream, const char *texto, std::size_t tamanho, FUNCAO funcao) {
    Ponteiro<char> copia(ehDoProprioConteudo(stream, texto) ? YduplicaStringTam(texto, tamanho) : nullptr);
    funcao(std::string_view(copia != nullptr ? copia.get() : texto, tamanho));
}

} // namespace

void YStream_putDeUtf8(YStream *stream, const char *texto, int64_t quantos) {
    if (quantos <= 0) {
        return;
    }
    foraDoStream(*stream, texto, static_cast<std::size_t>(quantos), [stream](std::string_view utf8) {
        char *destino = reserva(*stream, utf8.size());
        const Conversao conversao = converteParaLatin1(utf8, destino);
        if (conversao.fim != FimDaConversao::TODA) {
            apaga(destino, conversao.escritos);
            YContextoTry_printf("posição: %zu. "_l1, conversao.lidos);
            lanca(YExc_rtti,
                  conversao.fim == FimDaConversao::INVALIDO ? "Texto não é UTF-8."_l1
                                                            : "Caractere fora de ISO-8859-1.",
                  "YStream");
        }
        avanca(*stream, conversao.escritos);
    });
}

void YStream_putEmUtf8(YStream *stream, const char *texto, int64_t quantos) {
    if (quantos <= 0) {
        return;
    }
    foraDoStream(*stream, texto, static_cast<std::size_t>(quantos), [stream](std::string_view latin1) {
        const auto fora = [](char c) { return static_cast<unsigned char>(c) >= 0x80; };
        const auto maiores = static_cast<std::size_t>(std::ranges::count_if(latin1, fora));
        char *destino = reserva(*stream, latin1.size() + maiores);
        for (const char c : latin1) {
            const auto byte = static_cast<unsigned char>(c);
            if (fora(c)) {
                *destino++ = static_cast<char>(0xC0U | byte >> 6U);
                *destino++ = static_cast<char>(0x80U | (byte & 0x3FU));
            } else {
                *destino++ = c;
            }
        }
        avanca(*stream, latin1.size() + maiores);
    });
}
