// Typed values: the text of every value, and what every text is read as.
#include "apoio/teste.hpp"

#include <clocale>

namespace {

// A time zone by its rule, so that no zone files are needed.
void fuso(const char *regra) {
    setenv("TZ", regra, 1); // NOLINT(concurrency-mt-unsafe)
    tzset();
}

constexpr const char *NOVA_YORK = "EST5EDT,M3.2.0,M11.1.0";

struct Valores : testing::Test {
    Ponteiro<YNo> dono = cria<YNo>(YNo_rtti);
    YNo *no = dono.get();

    void TearDown() override {
        fuso("UTC0");
        std::setlocale(LC_ALL, "C");
    }

    template <typename VALOR, typename DADO>
    std::string escrito(YNo *(*setter)(YNo *, VALOR), DADO valor) {
        return YNo_getValor(setter(no, static_cast<VALOR>(valor)));
    }

    template <typename GETTER>
    auto lido(GETTER getter, const char *texto) {
        YNo_setValor(no, texto);
        return getter(no);
    }
};

TEST_F(Valores, oQueSeEscreve) {
    EXPECT_EQ(escrito(YNo_setBooleanVal, -2) + escrito(YNo_setBooleanVal, 0), "truefalse");
    EXPECT_EQ(escrito(YNo_setShortVal, 65535) + escrito(YNo_setUnsignedShortVal, 65535), "-165535");
    EXPECT_EQ(escrito(YNo_setIntVal, INT32_MIN) + escrito(YNo_setIntegerVal, 1), "-21474836481");
    EXPECT_EQ(escrito(YNo_setUnsignedByteVal, 300) + escrito(YNo_setFloatVal, 16777217), "4416777216.000000");
    EXPECT_EQ(escrito(YNo_setLongVal, 0x100000001) + escrito(YNo_setLongVal, 0xFFFFFFFF), "1-1");
    EXPECT_EQ(escrito(YNo_setInt64Val, INT64_MIN), "-9223372036854775808");
    EXPECT_EQ(escrito(YNo_setDoubleVal, 0.0000015) + escrito(YNo_setDoubleVal, -0.0), "0.000002-0.000000");
    EXPECT_EQ(escrito(YNo_setDoubleVal, -INFINITY) + escrito(YNo_setFloatVal, NAN), "-infnan");
    EXPECT_EQ(escrito(YNo_setDoubleVal, -std::numeric_limits<double>::max()).size(), 317U);
    EXPECT_EQ(escrito(YNo_setDateYVal, 0) + escrito(YNo_setDateYVal, 1), "1980-01-001980-01-01");
    EXPECT_EQ(escrito(YNo_setDateYVal, UINT32_MAX), "11760959-08-03");
    fuso(NOVA_YORK);
    EXPECT_EQ(escrito(YNo_setDateVal, 0), "1969-12-31");
    EXPECT_EQ(escrito(YNo_setDateTimeVal, 1719853200), "2024-07-01T13:00:00") << "daylight-saving time";
    EXPECT_NE(excecao([&] { YNo_setDate(no, "a", std::numeric_limits<time_t>::max()); }), "");
    EXPECT_EQ(grava(no), "2024-07-01T13:00:00") << "a setter that raises changes nothing";
}

TEST_F(Valores, numerosLidos) {
    // clang-format off
    const std::tuple<const char *, int64_t, double> casos[] = {
        {nullptr, 0, 0}, {"abc", 0, 0}, {"\t\n\v\f\r +7 8", 7, 7}, {"\xa0+7", 0, 0}, {"65535", 65535, 65535}, {"+-7", 0, 0}, {"- 7", 0, 0},
        {"-9223372036854775808", INT64_MIN, -0x1p63}, {"9223372036854775808", INT64_MAX, 0x1p63}, {"-99999999999999999999", INT64_MIN, -1e20},
        {" \t1.5e2x", 1, 150}, {"1,5", 1, 1}, {"-inf", 0, -INFINITY}, {"1e999", 1, INFINITY}, {"5e-324", 5, 5e-324}, {"16777217", 16777217, 16777217}};
    // clang-format on
    for (const auto &[texto, inteiro, real] : casos) {
        EXPECT_EQ(lido(YNo_getInt64Val, texto), inteiro);
        EXPECT_EQ(lido(YNo_getIntVal, texto), static_cast<int32_t>(inteiro));
        EXPECT_EQ(lido(YNo_getLongVal, texto), static_cast<int32_t>(inteiro));
        EXPECT_EQ(lido(YNo_getShortVal, texto), static_cast<int16_t>(inteiro));
        EXPECT_EQ(lido(YNo_getUnsignedByteVal, texto), static_cast<uint8_t>(inteiro));
        EXPECT_EQ(lido(YNo_getDoubleVal, texto), real);
        EXPECT_EQ(lido(YNo_getFloatVal, texto), static_cast<float>(real));
    }
    EXPECT_TRUE(lido(YNo_getBooleanVal, "TRuE") == 1 && lido(YNo_getBooleanVal, "False") == 0);
    for (const char *texto : {"1", "", " true", "true ", "tru"}) {
        EXPECT_THROW(lido(YNo_getBooleanVal, texto), YExcecao);
    }
}

// In Turkish numbers have a decimal comma, and the lower case of I is no i.
TEST_F(Valores, aLocaleDoProcessoNadaMuda) {
    setenv("LOCPATH", LOCALES, 1); // NOLINT(concurrency-mt-unsafe)
    ASSERT_STREQ(std::setlocale(LC_ALL, "tr_TR"), "tr_TR");
    EXPECT_TRUE(std::tolower('I') != 'i' && *std::localeconv()->decimal_point == ',');
    EXPECT_EQ(escrito(YNo_setDoubleVal, 1234567.5), "1234567.500000");
    EXPECT_EQ(lido(YNo_getDoubleVal, "1.5"), 1.5);
    const auto s = cria<YStream>(YStream_rtti);
    YStream_printf(s, "%.2f %02000d", 1.25, 7);
    EXPECT_EQ(conteudo(s), "1.25 " + std::string(1999, '0') + "7");
    double numero = 0;
    EXPECT_TRUE(YStream_scanf(s, "%lf", &numero) == 1 && numero == 1.25);
    EXPECT_EQ(YStream_disponiveis(s), 2005) << "scanning does not read";
    const Ponteiro<YDIC> dic(YDIC_constroi());
    YDIC_muda_opcoes(dic, YDIC_SEM_CAIXA);
    YDIC_guarda(dic, "FIM", "");
    EXPECT_STREQ(YDIC_recupera(dic, "fim"), "");
}

TEST_F(Valores, datasLidas) {
    fuso(NOVA_YORK);
    const std::tuple<const char *, time_t, uint32_t> casos[] = {
        {"2024-07-01T12:00:00", 1719853200, 16254}, // standard time all year
        {"1899-12-31T", 57749173200, 664755},       // counted from 1900
        {"1900-02-29", -2203873200, 0},             // no leap year
        {"2024-02-31", 1709355600, 16133},          // the day is only added
    };
    for (const auto &[texto, momento, dia] : casos) {
        EXPECT_EQ(lido(YNo_getDateTimeVal, texto), momento) << texto;
        EXPECT_EQ(lido(YNo_getDateYVal, texto), dia) << texto;
    }
    for (const char *texto : {"1981-01-00", "1980-01", "2024-00-05", "2024-13-05", "2024-03-32",
                              "2024-03-05 14:07:09", "2024-03-05T14:07:09Z", ""}) {
        EXPECT_EQ(excecao([&] { lido(YNo_getDateTimeVal, texto); }), "YExcSoap: DateTime inválido."_l1);
        EXPECT_NE(excecao([&] { lido(YNo_getDateYVal, texto); }), "") << texto;
    }
}

// By path: always a new element, read from the first.
TEST_F(Valores, pelosCaminhos) {
    EXPECT_EQ(excecao([] { YNo_getShort(nullptr, "x"); }), "YExcSoap: Tag procurada: x. Faltou tag.");
    YNo_setShort(no, "e/f", -2);
    YNo_setShort(no, "e/f", 3);
    EXPECT_EQ(YNo_getShort(no, "e/f"), -2);
    YNo_setString(no, "a", "x&y");
    YNo_setDecimal(no, "b", "1.50");
    YNo_setAnyType(no, "xsd:string", "c", "z");
    YNo_setString(no, "d", nullptr);
    EXPECT_EQ(grava(no), "<e><f>-2</f></e><e><f>3</f></e><a>x&amp;y</a><b>1.50</b><c>z</c><d/>");
}

// What was read, as text; or why nothing was.
template <typename T>
std::string estrito(const pramo::Leitura<T> &leitura) {
    static const char *const SITUACOES[] = {"", "ausente", "mal formada", "fora da faixa"};
    if (!leitura) {
        return SITUACOES[leitura.situacao()];
    }
    if constexpr (std::is_same_v<T, std::chrono::year_month_day>) {
        return std::to_string(
            (std::chrono::sys_days(*leitura) - std::chrono::sys_days(std::chrono::year(2000) / 3 / 1))
                .count());
    } else if constexpr (std::is_same_v<T, std::string>) {
        return "'" + *leitura + "'";
    } else {
        return std::to_string(*leitura);
    }
}

TEST_F(Valores, leiturasEstritas) {
    using Le = std::string (*)(const YNo *);
    const Le le[] = {[](const YNo *n) { return estrito(pramo::le<int8_t>(n, "a")); },
                     [](const YNo *n) { return estrito(pramo::le<int64_t>(n, "a")); },
                     [](const YNo *n) { return estrito(pramo::le<uint64_t>(n, "a")); },
                     [](const YNo *n) { return estrito(pramo::le<double>(n, "a")); },
                     [](const YNo *n) { return estrito(pramo::le<bool>(n, "a")); },
                     [](const YNo *n) { return estrito(pramo::le<std::chrono::year_month_day>(n, "a")); },
                     [](const YNo *n) { return estrito(pramo::le<std::string>(n, "a")); }};
    enum { I8, I64, U64, REAL, LOGICO, DATA, TEXTO };
    // clang-format off
    const std::tuple<int, std::string, std::vector<const char *>> casos[] = {
        {I8, "-128", {"-128", " -0128\t\r\n"}}, {I8, "5", {"5", "+5", "005"}}, {I8, "fora da faixa", {"128", "-129", "99999999999999999999"}},
        {I8, "mal formada", {"", "-", "+-5", "5 5", "5x", "5.0", "0x5", "5\v", "5\xA0", "<b>5</b>"}},
        {I64, "-9223372036854775808", {"-9223372036854775808"}}, {I64, "fora da faixa", {"9223372036854775808", "-9223372036854775809"}},
        {U64, "18446744073709551615", {"18446744073709551615"}}, {U64, "0", {"-0"}}, {U64, "fora da faixa", {"-1", "18446744073709551616"}},
        {REAL, "-1.500000", {"-1.5", "-15e-1", "-.15E+1", "-1.50"}}, {REAL, "3.000000", {"3.", "+3"}}, {REAL, "-inf", {"-INF"}}, {REAL, "nan", {"NaN"}},
        {REAL, "fora da faixa", {"1e999", "1e-999"}}, {REAL, "mal formada", {".", "1e", "e1", "1,5", "inf", "+INF", "nan", "1 2", "0x1p3", ""}},
        {LOGICO, "1", {"true", " 1 "}}, {LOGICO, "0", {"false", "0"}}, {LOGICO, "mal formada", {"True", "sim", "2", ""}},
        {DATA, "0", {"2000-03-01", "2000-03-01Z", "2000-03-01-03:00", " 2000-03-01+14:00 "}}, {DATA, "-1", {"2000-02-29"}},
        {DATA, "fora da faixa", {"1900-02-29", "2000-13-01", "2000-00-01", "2000-04-31", "0000-01-01", "-2000-01-01", "12000-01-01"}},
        {DATA, "mal formada", {"2000-3-1", "2000-03-01T", "2000-03-01T00:00:00", "20000301", "02000-03-01", "2000-03-01+14:01", "2000-03-01+3:00", "2000-03", ""}},
        {TEXTO, "''", {""}}, {TEXTO, "'1  2 '", {"1  2 "}}, {TEXTO, "mal formada", {"<b/>"}},
    };
    // clang-format on
    for (const auto &[qual, resultado, textos] : casos) {
        for (const std::string texto : textos) {
            EXPECT_EQ(le[qual](apoio::le("<n><a>" + texto + "</a></n>").get()), resultado)
                << qual << " " << texto;
        }
        EXPECT_EQ(le[qual](apoio::le("<n><b>1</b></n>").get()) + le[qual](nullptr), "ausenteausente") << qual;
    }
    const auto mensagem = pramo::cria<YMensagemIso>(YMensagemIso_rtti);
    // clang-format off
    const std::pair<std::string, const char *> elementos[] = {
        {"200", "000200"}, {"mal formada", "-200"}, {"mal formada", " 200"}, {"mal formada", ""}, {"fora da faixa", "256"}, {"fora da faixa", "0099999999999999999999"},
    };
    // clang-format on
    for (const auto &[resultado, texto] : elementos) {
        YMensagemIso_setBit(mensagem, 4, texto);
        EXPECT_EQ(estrito(pramo::le<uint8_t>(mensagem, 4)), resultado) << texto;
        EXPECT_EQ(estrito(pramo::le<std::string>(mensagem, 4)), "'" + std::string(texto) + "'");
    }
    EXPECT_EQ(estrito(pramo::le<int>(mensagem, 3)) + estrito(pramo::le<std::string>(mensagem, 129)),
              "ausenteausente");
}

} // namespace
