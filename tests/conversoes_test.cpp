// Numbers, day numbers and times, to text and to memory and back.
#include <3pramo/foundation/DATAC.h>
#include <3pramo/foundation/YConversoes.h>
#include <3pramo/foundation/YExcecao.hpp>
#include <3pramo/foundation/YNumeros.h>
#include <3pramo/foundation/latin1.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

using namespace pramo::literais;

namespace {

struct Par {
    void (*deTexto)(void *destino, const char *texto);
    void (*paraTexto)(char *texto, const void *origem);
};

// By size, from 1 byte on.
const Par PARES[] = {
    {_ato1, [](char *t, const void *o) { _1toafixo(t, o, 0); }},
    {_ato2, [](char *t, const void *o) { _2toafixo(t, o, 0); }},
    {_ato3, [](char *t, const void *o) { _3toafixo(t, o, 0); }},
    {_ato4, [](char *t, const void *o) { _4toafixo(t, o, 0); }},
    {_ato5, [](char *t, const void *o) { _5toafixo(t, o, 0); }},
    {_ato6, [](char *t, const void *o) { _6toafixo(t, o, 0); }},
    {_ato7, [](char *t, const void *o) { _7toafixo(t, o, 0); }},
    {_ato8, [](char *t, const void *o) { _8toafixo(t, o, 0); }},
    {BINQ9_atob, BINQ9_btoa},
    {BINQ10_atob, BINQ10_btoa},
    {BINQ11_atob, BINQ11_btoa},
    {BINQ12_atob, BINQ12_btoa},
    {BINQ13_atob, BINQ13_btoa},
    {BINQ14_atob, BINQ14_btoa},
    {BINQ15_atob, BINQ15_btoa},
    {BINQ16_atob, BINQ16_btoa},
    {BINQ17_atob, BINQ17_btoa},
    {BINQ18_atob, BINQ18_btoa},
};

const char *const CARACTERE = "Caractere inválido em número."_l1;
const char *const SEM_ALGARISMOS = "Número sem algarismos."_l1;
const char *const NAO_CABE = "Número não cabe no campo."_l1;

/// The message of the YExc that the function raises; "" when it raises none.
template <typename FUNCAO>
std::string mensagemDe(FUNCAO funcao) {
    try {
        funcao();
        return "";
    } catch (const YExcecao &e) {
        EXPECT_EQ(e.classe(), YExc_rtti());
        return e.what();
    }
}

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
        return mensagemDe([&] { PARES[tamanho() - 1].deTexto(dados(), texto); });
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

struct Limite {
    std::size_t tamanho;
    const char *maior, *maiorMaisUm, *menor, *menorMenosUm;
};

const Limite LIMITES[] = {
    {1, "127", "128", "-128", "-129"},
    {2, "32767", "32768", "-32768", "-32769"},
    {3, "8388607", "8388608", "-8388608", "-8388609"},
    {4, "2147483647", "2147483648", "-2147483648", "-2147483649"},
    {5, "549755813887", "549755813888", "-549755813888", "-549755813889"},
    {6, "140737488355327", "140737488355328", "-140737488355328", "-140737488355329"},
    {7, "36028797018963967", "36028797018963968", "-36028797018963968", "-36028797018963969"},
    {8, "9223372036854775807", "9223372036854775808", "-9223372036854775808", "-9223372036854775809"},
    {9, "2361183241434822606847", "2361183241434822606848", "-2361183241434822606848",
     "-2361183241434822606849"},
    {10, "604462909807314587353087", "604462909807314587353088", "-604462909807314587353088",
     "-604462909807314587353089"},
    {11, "154742504910672534362390527", "154742504910672534362390528", "-154742504910672534362390528",
     "-154742504910672534362390529"},
    {12, "39614081257132168796771975167", "39614081257132168796771975168", "-39614081257132168796771975168",
     "-39614081257132168796771975169"},
    {13, "10141204801825835211973625643007", "10141204801825835211973625643008",
     "-10141204801825835211973625643008", "-10141204801825835211973625643009"},
    {14, "2596148429267413814265248164610047", "2596148429267413814265248164610048",
     "-2596148429267413814265248164610048", "-2596148429267413814265248164610049"},
    {15, "664613997892457936451903530140172287", "664613997892457936451903530140172288",
     "-664613997892457936451903530140172288", "-664613997892457936451903530140172289"},
    {16, "170141183460469231731687303715884105727", "170141183460469231731687303715884105728",
     "-170141183460469231731687303715884105728", "-170141183460469231731687303715884105729"},
    {17, "43556142965880123323311949751266331066367", "43556142965880123323311949751266331066368",
     "-43556142965880123323311949751266331066368", "-43556142965880123323311949751266331066369"},
    {18, "11150372599265311570767859136324180752990207", "11150372599265311570767859136324180752990208",
     "-11150372599265311570767859136324180752990208", "-11150372599265311570767859136324180752990209"},
};

TEST(Numeros, LimitesDeCadaTamanho) {
    for (const Limite &l : LIMITES) {
        for (const char *extremo : {l.maior, l.menor}) {
            Campo campo(l.tamanho);
            EXPECT_EQ(campo.le(extremo), "") << extremo;
            const std::string digitos(extremo + (*extremo == '-'));
            const std::string zeros(digitos.size() < 4 ? 4 - digitos.size() : 0, '0');
            EXPECT_EQ(campo.texto(), (*extremo == '-' ? "-" : "") + zeros + digitos + " ");
            EXPECT_TRUE(campo.guardasInteiras());
        }
        for (const char *alem : {l.maiorMaisUm, l.menorMenosUm}) {
            for (const std::string zerosDepois : {"", "0", "000000000000"}) {
                Campo campo(l.tamanho);
                EXPECT_EQ(campo.le((alem + zerosDepois).c_str()), NAO_CABE) << alem << zerosDepois;
                EXPECT_TRUE(campo.intocado()) << alem;
            }
        }
    }
}

TEST(Numeros, FormasDoTexto) {
    struct Caso {
        const char *texto;
        int64_t valor;
        const char *escrito;
    };
    const Caso casos[] = {
        {nullptr, 0, "0000 "},
        {"", 0, "0000 "},
        {" \t\r\n", 0, "0000 "},
        {"-0", 0, "0000 "},
        {"5", 5, "0005 "},
        {"+5", 5, "0005 "},
        {"-12", -12, "-0012 "},
        {" 12.50 ", 1250, "1250 "},
        {".5", 5, "0005 "},
        {"5.", 5, "0005 "},
        {"-.5", -5, "-0005 "},
        {"1.2.3", 123, "0123 "},
        {"000000000000000000000000000000000000000000000000000000000000007", 7, "0007 "},
    };
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

TEST(Numeros, TextoQueNaoENumeroNaoGuardaNada) {
    const std::pair<const char *, const char *> casos[] = {
        {"-", SEM_ALGARISMOS}, {"+", SEM_ALGARISMOS}, {".", SEM_ALGARISMOS}, {"-. ", SEM_ALGARISMOS},
        {"abc", CARACTERE},    {"1 2", CARACTERE},    {"- 5", CARACTERE},    {"--5", CARACTERE},
        {"+-5", CARACTERE},    {"5-", CARACTERE},     {"1,5", CARACTERE},    {"0x10", CARACTERE},
        {"1e3", CARACTERE},    {"5\xA0", CARACTERE},  {"\xB2", CARACTERE},   {"/", CARACTERE},
        {":", CARACTERE},
    };
    for (std::size_t tamanho = 1; tamanho <= 18; tamanho++) {
        for (const auto &[texto, mensagem] : casos) {
            Campo campo(tamanho);
            EXPECT_EQ(campo.le(texto), mensagem) << texto;
            EXPECT_TRUE(campo.intocado()) << texto;
        }
    }
}

/// What the form with three decimals makes of a number's text.
std::string comTresDecimais(const std::string &texto) {
    return texto.substr(0, texto.size() - 4) + "." + texto.substr(texto.size() - 4, 3);
}

TEST(Numeros, IdaEVolta) {
    std::mt19937_64 acaso(18);
    for (int volta = 0; volta < 20000; volta++) {
        const std::size_t tamanho = 1 + static_cast<std::size_t>(volta) % 18;
        Campo campo(tamanho);
        std::generate_n(campo.dados(), tamanho, [&] { return static_cast<unsigned char>(acaso()); });
        const bool pequeno = volta % 3 == 0;
        const int64_t valor =
            static_cast<int64_t>(acaso()) >> std::max(0, 64 - 8 * static_cast<int>(tamanho));
        if (pequeno) {
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

TEST(DataCompactada, DiaParaMemoriaEVolta) {
    struct Caso {
        uint32_t dia;
        unsigned ano, mes, diaDoMes;
    };
    const Caso casos[] = {
        {1, 1980, 1, 1},      {31, 1980, 1, 31},   {60, 1980, 2, 29},     {61, 1980, 3, 1},
        {366, 1980, 12, 31},  {367, 1981, 1, 1},   {426, 1981, 3, 1},     {16496, 2025, 2, 28},
        {43890, 2100, 2, 29}, {43891, 2100, 3, 1}, {46752, 2107, 12, 31},
    };
    for (const Caso &caso : casos) {
        const unsigned bits = (caso.ano - 1980) << 9 | caso.mes << 5 | caso.diaDoMes;
        unsigned char bytes[4] = {0xA5, 0, 0, 0xA5};
        DATAC_de_yuliano(bytes + 1, caso.dia);
        EXPECT_EQ(bytes[1] | bytes[2] << 8, static_cast<int>(bits)) << caso.dia;
        EXPECT_EQ(bytes[0] + bytes[3], 2 * 0xA5);
    }
    for (uint32_t dia = 0, anterior = 0; dia <= 46752; dia++) {
        unsigned char bytes[2] = {0xFF, 0xFF};
        DATAC_de_yuliano(bytes, dia);
        ASSERT_EQ(DATAC_yuliano(bytes), static_cast<int32_t>(dia));
        const uint32_t bits = bytes[0] + 256U * bytes[1];
        ASSERT_TRUE(dia == 0 ? bits == 0 : bits > anterior) << dia;
        anterior = bits;
    }
}

TEST(DataCompactada, OQueNaoTemFormaNaoSeGuardaNemSeLe) {
    for (const uint32_t dia : {46753U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        unsigned char bytes[2] = {0xA5, 0xA5};
        EXPECT_EQ(mensagemDe([&] { DATAC_de_yuliano(bytes, dia); }), "Data posterior a 2107.") << dia;
        EXPECT_TRUE(bytes[0] == 0xA5 && bytes[1] == 0xA5) << dia;
    }
    int validas = 0;
    for (unsigned bits = 0; bits < 0x10000; bits++) {
        const unsigned char bytes[2] = {static_cast<unsigned char>(bits),
                                        static_cast<unsigned char>(bits >> 8)};
        const std::string mensagem = mensagemDe([&] { (void)DATAC_yuliano(bytes); });
        ASSERT_TRUE(mensagem.empty() || mensagem == "Data compactada inválida."_l1) << bits;
        validas += mensagem.empty() ? 1 : 0;
    }
    EXPECT_EQ(validas, 46752 + 1); // every day once, and no date
}

TEST(Conversoes, InteirosDe64Bits) {
    const std::pair<const char *, int64_t> casos[] = {
        {nullptr, 0},
        {"", 0},
        {"x1", 0},
        {" \t\n\v\f\r-42x", -42},
        {"+7", 7},
        {"+-7", 0},
        {"-+7", 0},
        {"- 7", 0},
        {"0x10", 0},
        {"\xA0"
         "5",
         0},
        {"9223372036854775807", INT64_MAX},
        {"9223372036854775808", INT64_MAX},
        {"+99999999999999999999999", INT64_MAX},
        {"-9223372036854775808", INT64_MIN},
        {"-9223372036854775809", INT64_MIN},
        {"  -99999999999999999999999 ", INT64_MIN},
    };
    for (const auto &[texto, valor] : casos) {
        EXPECT_EQ(atoy64(texto), valor) << texto;
    }
    for (const char *texto : {"0", "-1", "9223372036854775807", "-9223372036854775808"}) {
        std::vector<char> buffer(Y_TAMANHO_Y64, '#');
        y64toa(atoy64(texto), buffer.data());
        EXPECT_STREQ(buffer.data(), texto);
    }
}

TEST(Conversoes, MomentosEmPartes) {
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
        EXPECT_EQ(mensagemDe([&] { funcao(&longe, &partes); }), "Momento fora do calendário."_l1);
        EXPECT_EQ(partes.tm_year, 77);
    }
}

} // namespace
