// Numbers, day numbers and times, to text and to memory and back.
#include "apoio/teste.hpp"

namespace {

using Par = std::pair<void (*)(void *destino, const char *texto), void (*)(char *texto, const void *origem)>;

// By size, from 1 byte on.
// clang-format off
#define PEQUENO(N) {_ato##N, [](char *texto, const void *origem) { _##N##toafixo(texto, origem, 0); }}
#define GRANDE(N) {BINQ##N##_atob, BINQ##N##_btoa}
const Par PARES[] = {
    PEQUENO(1), PEQUENO(2), PEQUENO(3), PEQUENO(4), PEQUENO(5), PEQUENO(6), PEQUENO(7), PEQUENO(8),
    GRANDE(9), GRANDE(10), GRANDE(11), GRANDE(12), GRANDE(13), GRANDE(14), GRANDE(15), GRANDE(16), GRANDE(17), GRANDE(18),
};
// clang-format on

/// A number's memory at an odd address between guard bytes.
struct Campo {
    std::size_t tamanho;
    std::vector<unsigned char> bytes = std::vector<unsigned char>(tamanho + 2, 0xA5);

    std::string le(const std::string &texto) {
        return excecao([&] { PARES[tamanho - 1].first(&bytes[1], texto.c_str()); });
    }
    std::string texto() {
        std::vector<char> buffer(Y_TAMANHO_NUMERO, '#'); // the sanitizer watches its end
        PARES[tamanho - 1].second(buffer.data(), &bytes[1]);
        return buffer.data();
    }
    /// Its text is read as what it is; gives the text.
    std::string idaEVolta() {
        Campo lido{tamanho};
        EXPECT_EQ(lido.le(texto()), "");
        EXPECT_TRUE(lido.bytes == bytes) << texto();
        return texto();
    }
};

TEST(Numeros, idaEVoltaELimitesDeCadaTamanho) {
    std::mt19937_64 acaso(18);
    for (std::size_t volta = 0; volta < 20000; volta++) {
        Campo campo{1 + volta % 18};
        std::generate_n(&campo.bytes[1], campo.tamanho, [&] { return static_cast<unsigned char>(acaso()); });
        campo.idaEVolta();
    }
    for (std::size_t caso = 0; caso < 2 * 18; caso++) { // the largest and the smallest of each size
        const bool negativo = caso % 2 != 0;
        Campo extremo{1 + caso / 2};
        std::fill_n(&extremo.bytes[1], extremo.tamanho, static_cast<unsigned char>(negativo ? 0 : 0xFF));
        extremo.bytes[extremo.tamanho] ^= 0x80;
        std::string texto = extremo.idaEVolta();
        texto[texto.size() - 2]++; // all end in 7, or 8 when negative
        for (const std::string &maior : {texto, texto.substr(0, texto.size() - 1) + "000000000000"}) {
            Campo lido = extremo;
            EXPECT_EQ(lido.le(maior), "YExc: Número não cabe no campo."_l1);
            EXPECT_TRUE(lido.bytes == extremo.bytes) << maior;
        }
    }
    Campo maior{18};
    EXPECT_EQ(maior.le("11150372599265311570767859136324180752990207"), "");
    EXPECT_EQ(maior.texto(), "11150372599265311570767859136324180752990207 ");
}

TEST(Numeros, formasDoTexto) {
    // clang-format off
    const std::pair<std::string, std::vector<const char *>> casos[] = { // what is written again, or raised
        {"0000 ", {"", " \t\r\n", "-0"}}, {"0005 ", {"+5", ".5", "5."}}, {"-0005 ", {"-.5"}},
        {"1250 ", {" 12.50 ", "1.2.5.0", "000000000000000000000000000000000000000000000000000000000000001250"}},
        {"YExc: Número sem algarismos."_l1, {"-", ".", "-. "}},
        {"YExc: Caractere inválido em número."_l1, {"abc", "1 2", "- 5", "--5", "5-", "1,5", "1e3", "5\xA0", "\xB2", "/", ":"}},
    };
    // clang-format on
    for (const auto &[resultado, textos] : casos) {
        for (const char *texto : textos) {
            Campo lido{2};
            const std::string recusa = lido.le(texto);
            EXPECT_EQ(recusa.empty() ? lido.texto() : recusa, resultado) << texto;
        }
    }
}

// Against a calendar that is walked day by day, and every packed form.
TEST(Datas, todoDiaAte2150) {
    constexpr int DIAS[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    struct tm lido;
    uint32_t dia = 0;
    for (int mes = 0; mes < 170 * 12; mes++) {
        const int ano = 80 + mes / 12;
        const int dias = DIAS[mes % 12] + (mes % 12 == 1 && ano % 4 == 0 ? 1 : 0); // 2100 too
        for (int i = 1; i <= dias; i++) {
            lido.tm_hour = lido.tm_wday = lido.tm_isdst = 5;
            yuliano_to_tm(++dia, &lido);
            ASSERT_TRUE(lido.tm_year == ano && lido.tm_mon == mes % 12 && lido.tm_mday == i) << dia;
            ASSERT_TRUE((lido.tm_hour | lido.tm_wday | lido.tm_isdst) == 0 && tm_to_yuliano(&lido) == dia);
        }
    }
    uint32_t validas = 0;
    for (unsigned bits = 0; bits < 0x10000; bits++) {
        const unsigned char bytes[] = {static_cast<unsigned char>(bits),
                                       static_cast<unsigned char>(bits >> 8)};
        const std::string recusa = excecao([&] {
            ASSERT_EQ(DATAC_yuliano(bytes), validas);
            unsigned char deVolta[2];
            DATAC_de_yuliano(deVolta, validas++);
            ASSERT_TRUE(std::ranges::equal(bytes, deVolta));
        });
        ASSERT_TRUE(recusa.empty() || recusa == "YExc: Data compactada inválida."_l1) << bits;
    }
    EXPECT_EQ(validas, 46752U + 1) << "every day once, in order, and no date";
}

TEST(Datas, asBordas) {
    tm data;
    yuliano_to_tm(UINT32_MAX, &data);
    EXPECT_EQ(tm_to_yuliano(&data), UINT32_MAX);
    const time_t longe = INT64_MAX;
    EXPECT_EQ(excecao([&] { BIOSRTC_gmtime(&longe, &data); }), "YExc: Momento fora do calendário."_l1);
    // Before the first, no such month or day, and what no 32 bits number.
    constexpr int SEM_NUMERO[][3] = {{79, 11, 31}, {80, -1, 1},         {80, 12, 1},
                                     {80, 0, -5},  {INT32_MAX, 11, 31}, {INT32_MIN, 0, 1}};
    for (const auto &[ano, mes, dia] : SEM_NUMERO) {
        std::tie(data.tm_year, data.tm_mon, data.tm_mday) = std::tuple(ano, mes, dia);
        EXPECT_EQ(tm_to_yuliano(&data), 0U) << ano << " " << mes << " " << dia;
    }
}

TEST(Utf8, oMesmoTextoDosDoisLadosESoOQueCabe) {
    std::string todos;
    for (int c = 0; c < 256; c++) {
        todos += static_cast<char>(c);
        const std::string utf8 = pramo::utf8(todos);
        EXPECT_EQ(utf8.size(), todos.size() + static_cast<std::size_t>(std::max(0, c - 127)));
        EXPECT_TRUE(pramo::latin1(utf8) == todos) << c;
    }
    EXPECT_EQ(pramo::latin1("ação") + pramo::utf8("\xBF\xC0\xFF"), "a\xE7\xE3o¿Àÿ");
    // clang-format off
    const std::pair<std::string, std::vector<const char *>> casos[] = {
        {"YExc: posição: 1. Texto não é UTF-8."_l1, {"a\xC3", "a\x80", "a\xFF", "a\xC0\x80", "a\xC3(", "a\xE0\x83\xBF", "a\xF0\x80\x80\xBF",
                                                "a\xED\xA0\x80", "a\xF4\x90\x80\x80", "a\xE2\x82"}},
        {"YExc: posição: 2. Caractere fora de ISO-8859-1."_l1, {"\xC3\xA7\xC4\x80", "ab\xE2\x82\xAC", "ab\xF0\x9F\x98\x80"}},
    };
    // clang-format on
    const auto stream = apoio::streamDe("antes");
    for (const auto &[recusa, textos] : casos) {
        for (const std::string texto : textos) {
            EXPECT_EQ(
                excecao([&] { YStream_putDeUtf8(stream, texto.data(), static_cast<int64_t>(texto.size())); }),
                recusa)
                << texto;
        }
    }
    YStream_putEmUtf8(stream, YStream_str(stream), 5);
    EXPECT_EQ(apoio::conteudo(stream), "antesantes");
}

} // namespace
