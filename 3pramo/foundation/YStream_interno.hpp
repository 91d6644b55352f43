// The layout of a stream and the functions that keep it, for every room that works on bytes directly.
#ifndef Y3PRAMO_FOUNDATION_YSTREAM_INTERNO_HPP
#define Y3PRAMO_FOUNDATION_YSTREAM_INTERNO_HPP

#include <3pramo/foundation/YMemoria_interno.hpp>
#include <3pramo/foundation/YStream.h>

#include <cstddef>
#include <string_view>

/// `dados` is null or holds `capacidade` + 1 bytes, of which `tam` are content; dados[tam] is then zero.
/// lido <= tam <= capacidade. Behind the content nothing stands that was content once: who makes a stream
/// shorter does so through `encolhe`.
struct YStream : YOb {
    char *dados;
    std::size_t tam;
    std::size_t capacidade;
    std::size_t lido;
};

namespace pramo {

/// Room for `quantos` more bytes behind the content; the caller writes them and calls `avanca`.
char *reserva(YStream &stream, std::size_t quantos);

inline void avanca(YStream &stream, std::size_t quantos) {
    stream.tam += quantos;
    stream.dados[stream.tam] = 0;
}

/// Cuts the content, and wipes what is cut off: the first byte of it now ends the text.
inline void encolhe(YStream &stream, std::size_t tamanho) {
    if (stream.tam != tamanho) {
        apaga(stream.dados + tamanho, stream.tam - tamanho);
        stream.tam = tamanho;
    }
}

/// Gives the memory back; the stream is empty then.
void devolveMemoria(YStream &stream);

inline void acrescenta(YStream &stream, std::string_view texto) {
    YStream_putBloco(&stream, texto.data(), static_cast<std::int64_t>(texto.size()));
}

inline std::string_view conteudo(const YStream &stream) {
    return {stream.dados, stream.tam};
}

inline std::string_view naoLido(const YStream &stream) {
    return {stream.dados + stream.lido, stream.tam - stream.lido};
}

/// Takes back what was appended to the stream since, unless `fica` was called: for what is appended in
/// pieces, of which one may fail.
class TudoOuNada {
public:
    explicit TudoOuNada(YStream &stream) : stream_(stream), antes_(stream.tam) {}
    TudoOuNada(const TudoOuNada &) = delete;
    TudoOuNada &operator=(const TudoOuNada &) = delete;
    ~TudoOuNada() {
        if (!fica_) {
            encolhe(stream_, antes_);
        }
    }
    void fica() { fica_ = true; }

private:
    YStream &stream_;
    std::size_t antes_;
    bool fica_ = false;
};

/// True when the text lies in the stream's own memory, which growing may move.
bool ehDoProprioConteudo(const YStream &stream, const char *texto);

/// What a reference at the start of the text stands for, and how many bytes it takes; see
/// YStream_getHtmlChar. Raises its exceptions. An & that is itself gives {'&', 1}.
constexpr std::size_t MAIOR_REFERENCIA = 11; // the & and ten characters
struct Referencia {
    unsigned char caractere;
    std::size_t tamanho;
};
Referencia decodificaReferencia(std::string_view texto);

} // namespace pramo

#endif
