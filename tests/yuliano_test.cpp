// Day numbers against a calendar that is walked day by day, and beyond their bounds.
#include <3pramo/node/yuliano.h>

#include <gtest/gtest.h>

namespace {

TEST(Yuliano, todoDiaAte2150) {
    constexpr int DIAS[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    uint32_t dia = 0;
    for (int mes = 0; mes < 170 * 12; mes++) {
        const int ano = 80 + mes / 12;
        const int dias = DIAS[mes % 12] + (mes % 12 == 1 && ano % 4 == 0 ? 1 : 0); // 2100 too
        for (int i = 1; i <= dias; i++) {
            struct tm lido = {};
            lido.tm_hour = lido.tm_wday = lido.tm_isdst = 5;
            yuliano_to_tm(++dia, &lido);
            ASSERT_TRUE(lido.tm_year == ano && lido.tm_mon == mes % 12 && lido.tm_mday == i) << dia;
            ASSERT_TRUE(lido.tm_hour == 0 && lido.tm_wday == 0 && lido.tm_isdst == 0);
            lido.tm_hour = 23;
            ASSERT_EQ(tm_to_yuliano(&lido), dia);
        }
    }
}

TEST(Yuliano, asBordas) {
    struct tm data;
    yuliano_to_tm(0, &data);
    EXPECT_TRUE(data.tm_year == 80 && data.tm_mon == 0 && data.tm_mday == 0);
    for (const uint32_t dia : {uint32_t{1} << 31, UINT32_MAX}) {
        yuliano_to_tm(dia, &data);
        EXPECT_EQ(tm_to_yuliano(&data), dia);
    }
    const auto numero = [](int ano, int mes, int dia) {
        struct tm registro = {};
        registro.tm_year = ano;
        registro.tm_mon = mes;
        registro.tm_mday = dia;
        return tm_to_yuliano(&registro);
    };
    EXPECT_EQ(numero(80, 0, 32), 32U) << "the day is only added";
    EXPECT_EQ(numero(79, 11, 31) + numero(80, -1, 1) + numero(80, 12, 1) + numero(80, 0, -5), 0U);
    EXPECT_EQ(numero(INT32_MAX, 11, 31) + numero(INT32_MIN, 0, 1), 0U) << "no 32 bits number them";
}

} // namespace
