// Numbers, day numbers and times, to text and to memory and back.
#include "apoio/arvore.hpp"

#include <3pramo/3pramo.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

using apoio::excecao;
using namespace pramo::literais;

namespace {

struct Par {
    void (*deTexto)(void *destino, const char *texto);
    void (*paraTexto)(char *texto, const void *origem);
};

// By size, from 1 byte on.
#define PEQUENO(N)                                                                                           \
    {                                                                                                        \
        _ato##N, [](char *texto, const void *origem) { _##N##toafixo(texto, origem, 0); }                    \
    }
#define GRANDE(N)                                                                                            \
    { BINQ##N##_atob, BINQ##N##_btoa }
// clang-format off
const Par PARES[] = {
    PEQUENO(1), PEQUENO(2), PEQUENO(3), PEQUENO(4), PEQUENO(5), PEQUENO(6), PEQUENO(7), PEQUENO(8),
    GRANDE(9), GRANDE(10), GRANDE(11), GRANDE(12), GRANDE(13), GRANDE(14), GRANDE(15), GRANDE(16), GRANDE(17), GRANDE(18),
};
// clang-format on

const char *const CARACTERE = "YExc: Caractere inválido em número."_l1;
const char *const SEM_ALGARISMOS = "YExc: Número sem algarismos."_l1;
const char *const NAO_CABE = "YExc: Número não cabe no campo."_l1;

/// A number's memory at an odd address between guard bytes.
class Campo {
public:
    explicit Campo(std::size_t tamanho) : bytes_(tamanho + 2, GUARDA) {}

    void poe(int64_t valor) {
        for (std::size_t i = 0; i < tamanho(); i++) {
            dados()[i] = static_cast<unsigned char>(i < 8 ? valor >> (8 * i) : valor >> 63);
        }
    }
    std::string le(const char *texto) {
        return excecao([&] { PARES[tamanho() - 1].deTexto(dados(), texto); });
    }
    std::string texto() {
        std::vector<char> buffer(Y_TAMANHO_NUMERO, '#'); // the sanitizer watches its end
        PARES[tamanho() - 1].paraTexto(buffer.data(), dados());
        return buffer.data();
    }
    std::size_t tamanho() const { return bytes_.size() - 2; }
    unsigned char *dados() { return bytes_.data() + 1; }
    bool intocado() const { return std::count(bytes_.begin(), bytes_.end(), GUARDA) == std::ssize(bytes_); }
    bool guardasInteiras() const { return bytes_.front() == GUARDA && bytes_.back() == GUARDA; }

private:
    static constexpr unsigned char GUARDA = 0xA5;
    std::vector<unsigned char> bytes_;
};

// The largest number of each size, from 1 byte on; they all end in 7.
// clang-format off
const char *const MAIORES[] = {
    "127", "32767", "8388607", "2147483647", "549755813887", "140737488355327", "36028797018963967",
    "9223372036854775807", "2361183241434822606847", "604462909807314587353087",
    "154742504910672534362390527", "39614081257132168796771975167", "10141204801825835211973625643007",
    "2596148429267413814265248164610047", "664613997892457936451903530140172287",
    "170141183460469231731687303715884105727", "43556142965880123323311949751266331066367",
    "11150372599265311570767859136324180752990207",
};
// clang-format on

TEST(Numeros, limitesDeCadaTamanho) {
    for (std::size_t tamanho = 1; tamanho <= 18; tamanho++) {
        const std::string maior = MAIORES[tamanho - 1];
        const std::string comeco = maior.substr(0, maior.size() - 1);
        const std::string zeros(maior.size() < 4 ? 4 - maior.size() : 0, '0');
        for (const std::string sinal : {"", "-"}) {
            const std::string extremo = comeco + (sinal.empty() ? "7" : "8");
            Campo campo(tamanho);
            EXPECT_EQ(campo.le((sinal + extremo).c_str()), "") << extremo;
            EXPECT_EQ(campo.texto(), sinal + zeros + extremo + " ");
            EXPECT_TRUE(campo.guardasInteiras());
            for (const std::string depois : {"", "0", "000000000000"}) {
                Campo outro(tamanho);
                const std::string alem = sinal + comeco + (sinal.empty() ? "8" : "9") + depois;
                EXPECT_EQ(outro.le(alem.c_str()), NAO_CABE) << alem;
                EXPECT_TRUE(outro.intocado()) << alem;
            }
        }
    }
}

TEST(Numeros, formasDoTexto) {
    struct Caso {
        const char *texto;
        int64_t valor;
        const char *escrito;
    };
    // clang-format off
    const Caso casos[] = {
        {nullptr, 0, "0000 "}, {"", 0, "0000 "}, {" \t\r\n", 0, "0000 "}, {"-0", 0, "0000 "},
        {"5", 5, "0005 "}, {"+5", 5, "0005 "}, {"-12", -12, "-0012 "}, {" 12.50 ", 1250, "1250 "},
        {".5", 5, "0005 "}, {"5.", 5, "0005 "}, {"-.5", -5, "-0005 "}, {"1.2.3", 123, "0123 "},
        {"000000000000000000000000000000000000000000000000000000000000007", 7, "0007 "},
    };
    // clang-format on
    for (std::size_t tamanho = 2; tamanho <= 18; tamanho++) {
        for (const Caso &caso : casos) {
            Campo lido(tamanho);
            Campo esperado(tamanho);
            esperado.poe(caso.valor);
            EXPECT_EQ(lido.le(caso.texto), "") << caso.texto;
            EXPECT_TRUE(std::equal(lido.dados(), lido.dados() + tamanho, esperado.dados())) << caso.texto;
            EXPECT_EQ(lido.texto(), caso.escrito) << tamanho;
            EXPECT_TRUE(lido.guardasInteiras());
        }
    }
}

TEST(Numeros, textoQueNaoENumeroNaoGuardaNada) {
    const std::pair<const char *, std::vector<const char *>> casos[] = {
        {SEM_ALGARISMOS, {"-", "+", ".", "-. "}},
        {CARACTERE,
         {"abc", "1 2", "- 5", "--5", "+-5", "5-", "1,5", "0x10", "1e3", "5\xA0", "\xB2", "/", ":"}}};
    for (const auto &[mensagem, textos] : casos) {
        for (const char *texto : textos) {
            for (std::size_t tamanho = 1; tamanho <= 18; tamanho++) {
                Campo campo(tamanho);
                EXPECT_EQ(campo.le(texto), mensagem) << texto;
                EXPECT_TRUE(campo.intocado()) << texto;
            }
        }
    }
}

/// What the form with three decimals makes of a number's text.
std::string comTresDecimais(const std::string &texto) {
    return texto.substr(0, texto.size() - 4) + "." + texto.substr(texto.size() - 4, 3);
}

TEST(Numeros, idaEVolta) {
    std::mt19937_64 acaso(18);
    for (int volta = 0; volta < 20000; volta++) {
        const std::size_t tamanho = 1 + static_cast<std::size_t>(volta) % 18;
        Campo campo(tamanho);
        std::generate_n(campo.dados(), tamanho, [&] { return static_cast<unsigned char>(acaso()); });
        if (volta % 3 == 0) {
            const int64_t valor =
                static_cast<int64_t>(acaso()) >> std::max(0, 64 - 8 * static_cast<int>(tamanho));
            campo.poe(valor);
            char esperado[32];
            std::snprintf(esperado, sizeof esperado, valor < 0 ? "%05lld " : "%04lld ",
                          static_cast<long long>(valor));
            ASSERT_EQ(campo.texto(), esperado);
        }
        const std::string texto = campo.texto();
        for (const std::string &forma : {texto, comTresDecimais(texto)}) {
            Campo lido(tamanho);
            ASSERT_EQ(lido.le(forma.c_str()), "") << tamanho << " " << forma;
            ASSERT_TRUE(std::equal(lido.dados(), lido.dados() + tamanho, campo.dados()))
                << tamanho << " " << forma;
        }
    }
    Campo campo(2);
    campo.poe(-12);
    EXPECT_EQ(comTresDecimais(campo.texto()), "-0.012");
}

TEST(DataCompactada, diaParaMemoriaEVolta) {
    struct Caso {
        uint32_t dia;
        unsigned ano, mes, diaDoMes;
    };
    // clang-format off
    const Caso casos[] = {{1, 1980, 1, 1}, {60, 1980, 2, 29}, {367, 1981, 1, 1}, {43890, 2100, 2, 29}, {46752, 2107, 12, 31}};
    // clang-format on
    for (const Caso &caso : casos) {
        const unsigned bits = (caso.ano - 1980) << 9 | caso.mes << 5 | caso.diaDoMes;
        unsigned char bytes[4] = {0xA5, 0, 0, 0xA5};
        DATAC_de_yuliano(bytes + 1, caso.dia);
        EXPECT_EQ(bytes[1] | bytes[2] << 8, static_cast<int>(bits)) << caso.dia;
        EXPECT_EQ(bytes[0] + bytes[3], 2 * 0xA5);
    }
    for (uint32_t dia = 0; dia <= 46752; dia++) {
        unsigned char bytes[2] = {0xFF, 0xFF};
        DATAC_de_yuliano(bytes, dia);
        ASSERT_EQ(DATAC_yuliano(bytes), static_cast<int32_t>(dia));
    }
}

TEST(DataCompactada, oQueNaoTemFormaNaoSeGuardaNemSeLe) {
    for (const uint32_t dia : {46753U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        unsigned char bytes[2] = {0xA5, 0xA5};
        EXPECT_EQ(excecao([&] { DATAC_de_yuliano(bytes, dia); }), "YExc: Data posterior a 2107.") << dia;
        EXPECT_TRUE(bytes[0] == 0xA5 && bytes[1] == 0xA5) << dia;
    }
    int validas = 0;
    for (unsigned bits = 0; bits < 0x10000; bits++) {
        const unsigned char bytes[2] = {static_cast<unsigned char>(bits),
                                        static_cast<unsigned char>(bits >> 8)};
        const std::string mensagem = excecao([&] { (void)DATAC_yuliano(bytes); });
        ASSERT_TRUE(mensagem.empty() || mensagem == "YExc: Data compactada inválida."_l1) << bits;
        validas += mensagem.empty() ? 1 : 0;
    }
    EXPECT_EQ(validas, 46752 + 1); // every day once, and no date
}

TEST(Conversoes, inteirosDe64Bits) {
    for (const char *texto : {"0", "-1", "9223372036854775807", "-9223372036854775808"}) {
        std::vector<char> buffer(Y_TAMANHO_Y64, '#');
        y64toa(atoy64(texto), buffer.data());
        EXPECT_STREQ(buffer.data(), texto);
    }
}

TEST(Conversoes, momentosEmPartes) {
    const time_t momento = 1'794'041'340; // 2026-11-07 08:49:00 UTC
    struct tm partes = {};
    BIOSRTC_gmtime(&momento, &partes);
    char texto[32];
    std::strftime(texto, sizeof texto, "%Y-%m-%d %H:%M:%S", &partes);
    EXPECT_STREQ(texto, "2026-11-07 08:49:00");
    BIOSRTC_localtime(&momento, &partes);
    EXPECT_EQ(mktime(&partes), momento);
    const time_t longe = INT64_MAX;
    partes.tm_year = 77;
    for (auto *funcao : {BIOSRTC_gmtime, BIOSRTC_localtime}) {
        EXPECT_EQ(excecao([&] { funcao(&longe, &partes); }), "YExc: Momento fora do calendário."_l1);
        EXPECT_EQ(partes.tm_year, 77);
    }
}

} // namespace
