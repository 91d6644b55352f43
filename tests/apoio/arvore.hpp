// Trees from text and back, and exceptions as text, for tests.
#pragma once

#include <3pramo/3pramo.hpp>

#include <string>

namespace apoio {

inline pramo::Ponteiro<YStream> streamDe(std::string_view texto) {
    auto stream = pramo::cria<YStream>(YStream_rtti);
    YStream_putBloco(stream, texto.data(), static_cast<int64_t>(texto.size()));
    return stream;
}

inline pramo::Ponteiro<YNo> le(std::string_view texto) {
    const auto parser = pramo::cria<YSoapParser>(YSoapParser_rtti);
    YNo *raiz = nullptr;
    YSoapParser_leNo(parser, &raiz, streamDe(texto).get());
    return pramo::Ponteiro<YNo>(raiz);
}

inline std::string conteudo(YStream *stream) {
    return {YStream_str(stream), static_cast<std::size_t>(YStream_tam(stream))};
}

// What a function writes of an object.
template <typename OBJETO, typename ESCREVE>
std::string escrito(const OBJETO *objeto, ESCREVE escreve) {
    const auto saida = pramo::cria<YStream>(YStream_rtti);
    escreve(objeto, saida.get());
    return conteudo(saida);
}

inline std::string grava(const YNo *no) {
    return escrito(no, YNo_gravaEm);
}

// "CLASS: message" of what the function raises; "" when it raises nothing.
template <typename FUNCAO>
std::string excecao(FUNCAO funcao) {
    try {
        funcao();
    } catch (const YExcecao &e) {
        return std::string(e.classe()->name) + ": " + e.what();
    }
    return "";
}

} // namespace apoio
