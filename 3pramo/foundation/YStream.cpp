// The stream: one block that doubles as it grows. Whatever leaves the content is wiped at once, so that
// behind it, and in memory that is given back, nothing stands that was content.
#include <3pramo/foundation/YStream_interno.hpp>

#include <3pramo/foundation/Formato.hpp>
#include <3pramo/foundation/YExc_interno.hpp>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <utility>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YStream";
constexpr std::size_t MENOR_CAPACIDADE = 64;
constexpr std::size_t MAIOR_CAPACIDADE = std::size_t{1} << 62;

void destroiStream(void *objeto) {
    devolveMemoria(*static_cast<YStream *>(objeto));
}

// Only the content is copied and wiped: a large reserve costs nothing until it is used.
void mudaCapacidade(YStream &stream, std::size_t capacidade) {
    auto *novos = static_cast<char *>(YalocaMemoria_debug(capacidade + 1, FONTE, __LINE__));
    // Kept, since devolveMemoria empties the stream.
    const std::size_t tam = stream.tam;
    std::copy_n(stream.dados, tam, novos);
    novos[tam] = 0;
    const std::size_t lido = stream.lido;
    devolveMemoria(stream);
    stream.dados = novos;
    stream.capacidade = capacidade;
    stream.tam = tam;
    stream.lido = lido;
}

} // namespace

const YRtti YStream_definicaoRtti = {YOb_rtti, "YStream", sizeof(YStream), nullptr, destroiStream};

const YRtti *YStream_rtti(void) {
    return &YStream_definicaoRtti;
}

bool pramo::ehDoProprioConteudo(const YStream &stream, const char *texto) {
    // The built-in comparison is undefined between pointers into different blocks; this one orders them
    // all.
    const std::less_equal<> ateOuIgual;
    return stream.dados != nullptr && ateOuIgual(stream.dados, texto) &&
           ateOuIgual(texto, stream.dados + stream.tam);
}

char *pramo::reserva(YStream &stream, std::size_t quantos) {
    if (quantos <= stream.capacidade - stream.tam && stream.dados != nullptr) {
        return stream.dados + stream.tam;
    }
    // Before the sum is made, which could wrap around.
    if (quantos > MAIOR_CAPACIDADE - stream.tam) {
        faltaMemoria(FONTE, __LINE__);
    }
    // Doubling: appending byte by byte copies each byte a bounded number of times.
    const std::size_t capacidade =
        std::max({stream.tam + quantos, std::min(2 * stream.capacidade, MAIOR_CAPACIDADE), MENOR_CAPACIDADE});
    mudaCapacidade(stream, capacidade);
    return stream.dados + stream.tam;
}

void pramo::devolveMemoria(YStream &stream) {
    encolhe(stream, 0);
    if (stream.dados != nullptr) {
        liberaSemApagar(std::exchange(stream.dados, nullptr));
    }
    stream.capacidade = 0;
    stream.lido = 0;
}

// ---- The content ----

const char *YStream_str(YStream *stream) {
    return stream->dados != nullptr ? stream->dados : "";
}

int64_t YStream_tam(const YStream *stream) {
    return static_cast<int64_t>(stream->tam);
}

void YStream_clear(YStream *stream) {
    encolhe(*stream, 0);
    stream->lido = 0;
}

void YStream_aloca(YStream *stream, int64_t bytes) {
    if (bytes > 0) {
        reserva(*stream, static_cast<std::size_t>(bytes));
    }
}

// ---- Appending ----

void YStream_putBloco(YStream *stream, const void *bytes, int64_t quantos) {
    if (quantos <= 0) {
        return;
    }
    const auto *origem = static_cast<const char *>(bytes);
    const auto tamanho = static_cast<std::size_t>(quantos);
    // The bytes may lie in the block that is about to move: then their place in it is what counts.
    const bool proprio = ehDoProprioConteudo(*stream, origem);
    const std::ptrdiff_t lugar = proprio ? origem - stream->dados : 0;
    char *destino = reserva(*stream, tamanho);
    std::memcpy(destino, proprio ? stream->dados + lugar : origem, tamanho);
    avanca(*stream, tamanho);
}

void YStream_puts(YStream *stream, const char *texto) {
    if (texto != nullptr) {
        acrescenta(*stream, texto);
    }
}

void YStream_put(YStream *stream, int byte) {
    *reserva(*stream, 1) = static_cast<char>(byte);
    avanca(*stream, 1);
}

void YStream_putExpandindo(YStream *stream, const char *texto) {
    YStream_puts(stream, texto);
}

void YStream_printf(YStream *stream, const char *formato, ...) {
    va_list argumentos;
    va_start(argumentos, formato);
    YStream_vprintf(stream, formato, argumentos);
    va_end(argumentos);
}

void YStream_vprintf(YStream *stream, const char *formato, va_list argumentos) {
    // Formatted aside: the arguments may be texts of this very stream.
    struct Formatado {
        std::string texto;
        ~Formatado() { apaga(texto.data(), texto.size()); }
    };
    const Formatado formatado{semFaltaDeMemoria(FONTE, [&] { return formataTexto(formato, argumentos); })};
    acrescenta(*stream, formatado.texto);
}

// ---- Reading ----

int YStream_peek(const YStream *stream) {
    return stream->lido < stream->tam ? static_cast<unsigned char>(stream->dados[stream->lido]) : 0;
}

int YStream_get(YStream *stream) {
    return stream->lido < stream->tam ? static_cast<unsigned char>(stream->dados[stream->lido++]) : 0;
}

int64_t YStream_disponiveis(const YStream *stream) {
    return static_cast<int64_t>(stream->tam - stream->lido);
}

int YStream_scanf(const YStream *stream, const char *formato, ...) {
    // sscanf reads numbers by the locale of the thread.
    const LocaleC c;
    va_list argumentos;
    va_start(argumentos, formato);
    const int convertidos =
        std::vsscanf(stream->dados != nullptr ? stream->dados + stream->lido : "", formato, argumentos);
    va_end(argumentos);
    return convertidos;
}
