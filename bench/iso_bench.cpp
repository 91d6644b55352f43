// Loading ISO 8583 messages from their wire form and writing them: this library beside a plain reference that
// keeps one allocated copy per element. A typical message of 15 elements, and one of all 126 that a message
// can carry. Every loading makes a new message, as for one that arrives, and frees it; every writing reuses
// its buffer.
#include <3pramo/3pramo.hpp>

#include <array>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace {

// ---- The reference ----

class Referencia {
public:
    using Saida = std::string;

    Referencia() = default;
    Referencia(const Referencia &) = delete;
    Referencia &operator=(const Referencia &) = delete;
    ~Referencia() {
        for (char *texto : textos_) {
            std::free(texto);
        }
    }

    bool le(std::string_view fio) {
        std::string_view codigo;
        std::array<std::uint8_t, 16> bitmaps{};
        if (!tira(fio, 4, codigo) || !leBitmap(fio, bitmaps.data())) {
            return false;
        }
        codigo_ = numero(codigo);
        slots_ = (bitmaps[0] & 0x80) != 0 ? 128 : 64;
        if (slots_ == 128 && !leBitmap(fio, bitmaps.data() + 8)) {
            return false;
        }
        for (std::size_t slot = 1; slot < slots_; slot++) {
            if ((bitmaps[slot / 8] & 0x80 >> slot % 8) != 0 && !leElemento(fio, slot)) {
                return false;
            }
        }
        return true;
    }

    std::string_view grava(Saida &saida) const {
        saida.clear();
        poeNumero(saida, codigo_, 4);
        for (std::size_t inicio = 0; inicio < slots_; inicio += 64) {
            poeBitmap(saida, inicio);
        }
        for (std::size_t slot = 1; slot < slots_; slot++) {
            if (textos_[slot] == nullptr) {
                continue;
            }
            poeNumero(saida, tamanhos_[slot], Y_ISO_DIGITOS(elementosIso[slot].formato));
            saida.append(textos_[slot], tamanhos_[slot]);
        }
        return saida;
    }

private:
    static bool tira(std::string_view &fio, std::size_t quantos, std::string_view &parte) {
        if (fio.size() < quantos) {
            return false;
        }
        parte = fio.substr(0, quantos);
        fio.remove_prefix(quantos);
        return true;
    }

    static std::size_t numero(std::string_view digitos) {
        std::size_t valor = 0;
        for (const char c : digitos) {
            valor = valor * 10 + static_cast<std::size_t>(c - '0');
        }
        return valor;
    }

    static int nibble(char c) { return c <= '9' ? c - '0' : c - 'A' + 10; }

    static bool leBitmap(std::string_view &fio, std::uint8_t *bytes) {
        std::string_view texto;
        if (!tira(fio, 16, texto)) {
            return false;
        }
        for (std::size_t i = 0; i < 8; i++) {
            bytes[i] = static_cast<std::uint8_t>(nibble(texto[2 * i]) << 4 | nibble(texto[2 * i + 1]));
        }
        return true;
    }

    bool leElemento(std::string_view &fio, std::size_t slot) {
        const std::uint64_t formato = elementosIso[slot].formato;
        std::size_t tamanho = Y_ISO_CARACTERES(formato);
        std::string_view parte;
        if (const std::size_t digitos = Y_ISO_DIGITOS(formato); digitos != 0) {
            if (!tira(fio, digitos, parte)) {
                return false;
            }
            tamanho = numero(parte);
        }
        if (!tira(fio, tamanho, parte)) {
            return false;
        }
        textos_[slot] = static_cast<char *>(std::malloc(tamanho + 1));
        std::memcpy(textos_[slot], parte.data(), tamanho);
        textos_[slot][tamanho] = 0;
        tamanhos_[slot] = tamanho;
        return true;
    }

    static void poeNumero(std::string &saida, std::size_t valor, std::size_t digitos) {
        std::array<char, 4> texto{};
        for (std::size_t i = digitos; i-- > 0; valor /= 10) {
            texto[i] = static_cast<char>('0' + valor % 10);
        }
        saida.append(texto.data(), digitos);
    }

    void poeBitmap(std::string &saida, std::size_t inicio) const {
        std::uint64_t bitmap = slots_ > inicio + 64 ? 1 : 0; // another one follows
        for (std::size_t slot = inicio + 1; slot < inicio + 64; slot++) {
            bitmap = bitmap << 1 | (textos_[slot] != nullptr ? 1 : 0);
        }
        for (int deslocamento = 60; deslocamento >= 0; deslocamento -= 4) {
            saida += "0123456789ABCDEF"[bitmap >> deslocamento & 0xF];
        }
    }

    std::size_t codigo_ = 0;
    std::size_t slots_ = 0;
    std::array<char *, 128> textos_{};
    std::array<std::size_t, 128> tamanhos_{};
};

// ---- This library ----

class Nossa {
public:
    struct Saida {
        pramo::Ponteiro<YStream> stream = pramo::cria<YStream>(YStream_rtti);
    };

    bool le(std::string_view fio) {
        const char *posicao = fio.data();
        YMensagemIso_carregaBloco(mensagem_, &posicao, fio.size());
        return posicao == fio.data() + fio.size();
    }

    std::string_view grava(Saida &saida) const {
        YStream_clear(saida.stream);
        YMensagemIso_emiteEmStream(mensagem_, saida.stream);
        return {YStream_str(saida.stream), static_cast<std::size_t>(YStream_tam(saida.stream))};
    }

protected:
    pramo::Ponteiro<YMensagemIso> mensagem_ = pramo::cria<YMensagemIso>(YMensagemIso_rtti);
};

/// The same from a zero-terminated text.
class NossaAteZero : public Nossa {
public:
    bool le(std::string_view fio) {
        const char *posicao = fio.data();
        YMensagemIso_carrega(mensagem_, &posicao);
        return posicao == fio.data() + fio.size();
    }
};

/// By a table: the same bytes by that of the empty text, and binary bitmaps with packed decimal.
template <const char *const &TEXTO>
class PorTabela : public Nossa {
public:
    bool le(std::string_view fio) {
        const char *posicao = fio.data();
        YMensagemIso_carregaCom(mensagem_, tabela(), &posicao, fio.size());
        return posicao == fio.data() + fio.size();
    }

    std::string_view grava(Saida &saida) const { return gravada(mensagem_, saida.stream); }

    static std::string_view gravada(const YMensagemIso *mensagem, YStream *stream) {
        YStream_clear(stream);
        YMensagemIso_emiteCom(mensagem, tabela(), stream);
        return {YStream_str(stream), static_cast<std::size_t>(YStream_tam(stream))};
    }

private:
    static const YTabelaIso *tabela() {
        static const pramo::Ponteiro<YTabelaIso> unica(
            YTabelaIso_leTexto(TEXTO, std::strlen(TEXTO), nullptr, nullptr));
        return unica;
    }
};

constexpr const char *VAZIA = "";
constexpr const char *COMPACTADA =
    "codigo bcd\nbitmap binario\ntamanhos bcd\nn bcd\nz bcd direita=F\nb binario\n";
using PorTabelaVazia = PorTabela<VAZIA>;
using Compactada = PorTabela<COMPACTADA>;

// ---- Messages ----

std::string emite(const pramo::Ponteiro<YMensagemIso> &mensagem) {
    const auto saida = pramo::cria<YStream>(YStream_rtti);
    YMensagemIso_emiteEmStream(mensagem, saida);
    return YStream_str(saida);
}

/// An authorization as a terminal sends it.
std::string tipica() {
    const auto mensagem = pramo::cria<YMensagemIso>(YMensagemIso_rtti);
    YMensagemIso_setTransacao(mensagem, 200);
    const struct {
        int bit;
        const char *texto;
    } elementos[] = {
        {2, "4111111111111111"},
        {3, "003000"},
        {4, "000000012345"},
        {7, "1122093015"},
        {11, "000123"},
        {12, "093015"},
        {13, "1122"},
        {22, "051"},
        {25, "00"},
        {32, "10000000123"},
        {35, "4111111111111111=30121010000012300000"},
        {41, "TERM0001"},
        {42, "ESTABELECIMENT1"},
        {49, "986"},
        {62, "00112233"},
    };
    for (const auto &[bit, texto] : elementos) {
        YMensagemIso_setBit(mensagem, bit, texto);
    }
    return emite(mensagem);
}

/// Every element but 1 and 65: those of fixed length whole, the others with up to 40 characters.
std::string cheia() {
    const auto mensagem = pramo::cria<YMensagemIso>(YMensagemIso_rtti);
    YMensagemIso_setTransacao(mensagem, 200);
    for (int bit = 2; bit <= Y_ISO_ELEMENTOS; bit++) {
        if (bit == 65) {
            continue;
        }
        const std::uint64_t formato = elementosIso[bit - 1].formato;
        const std::size_t maximo = Y_ISO_CARACTERES(formato);
        const std::string texto(Y_ISO_DIGITOS(formato) != 0 && maximo > 40 ? 40 : maximo, '7');
        YMensagemIso_setBit(mensagem, bit, texto.c_str());
    }
    return emite(mensagem);
}

std::string compactada(const std::string &fio) {
    const auto mensagem = pramo::cria<YMensagemIso>(YMensagemIso_rtti);
    const auto saida = pramo::cria<YStream>(YStream_rtti);
    const char *posicao = fio.data();
    YMensagemIso_carregaBloco(mensagem, &posicao, fio.size());
    return std::string(Compactada::gravada(mensagem, saida));
}

// ---- Measures ----

template <typename MENSAGEM>
void le(benchmark::State &estado, const std::string &fio) {
    bool inteira = true;
    for (auto _ : estado) {
        MENSAGEM mensagem;
        inteira = mensagem.le(fio) && inteira;
        benchmark::DoNotOptimize(mensagem);
    }
    if (!inteira) {
        estado.SkipWithError("the message was not read whole");
    }
    estado.SetBytesProcessed(estado.iterations() * static_cast<std::int64_t>(fio.size()));
}

template <typename MENSAGEM>
void grava(benchmark::State &estado, const std::string &fio) {
    MENSAGEM mensagem;
    typename MENSAGEM::Saida saida;
    if (!mensagem.le(fio) || mensagem.grava(saida) != fio) {
        estado.SkipWithError("what was written differs from what was read");
    }
    for (auto _ : estado) {
        benchmark::DoNotOptimize(mensagem.grava(saida));
    }
    estado.SetBytesProcessed(estado.iterations() * static_cast<std::int64_t>(fio.size()));
}

void registra(const std::string &tamanho, const std::string &fio) {
    const auto poe = [&](const std::string &operacao, const char *quem, auto medida) {
        benchmark::RegisterBenchmark((operacao + "/" + tamanho + "/" + quem).c_str(), medida, fio);
    };
    poe("iso_le", "3pramo", le<Nossa>);
    poe("iso_le", "3pramo_ate_zero", le<NossaAteZero>);
    poe("iso_le", "3pramo_tabela", le<PorTabelaVazia>);
    poe("iso_le", "referencia", le<Referencia>);
    poe("iso_grava", "3pramo", grava<Nossa>);
    poe("iso_grava", "3pramo_tabela", grava<PorTabelaVazia>);
    poe("iso_grava", "referencia", grava<Referencia>);
    // The same message, in fewer bytes.
    const std::string bcd = compactada(fio);
    benchmark::RegisterBenchmark(("iso_le/" + tamanho + "/3pramo_bcd").c_str(), le<Compactada>, bcd);
    benchmark::RegisterBenchmark(("iso_grava/" + tamanho + "/3pramo_bcd").c_str(), grava<Compactada>, bcd);
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    registra("15", tipica());
    registra("126", cheia());
    benchmark::RunSpecifiedBenchmarks();
}
