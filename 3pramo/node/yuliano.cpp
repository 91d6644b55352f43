#include <3pramo/node/yuliano.h>

#include <cstdint>
#include <limits>

namespace {

constexpr int MESES = 12;
constexpr int MARCO = 2;
constexpr std::int32_t DIAS_ANTES[MESES] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
constexpr std::int64_t DIAS_DO_BISSEXTO = 366;
constexpr std::int64_t DIAS_DO_ANO = 365;
constexpr std::int64_t DIAS_DE_QUATRO_ANOS = DIAS_DO_BISSEXTO + 3 * DIAS_DO_ANO;
constexpr int PRIMEIRO_ANO = 80; // 1980, counted from 1900 like tm_year

std::int64_t diasAntes(int mes, bool bissexto) {
    return DIAS_ANTES[mes] + (bissexto && mes >= MARCO ? 1 : 0);
}

} // namespace

void yuliano_to_tm(uint32_t dia, struct tm *registro) {
    // Day 0 stays in January 1980 as its day 0: the division rounds towards it.
    const std::int64_t desde1980 = std::int64_t{dia} - 1;
    std::int64_t ano = desde1980 / DIAS_DE_QUATRO_ANOS * 4;
    std::int64_t resto = desde1980 % DIAS_DE_QUATRO_ANOS;
    const bool bissexto = resto < DIAS_DO_BISSEXTO;
    if (!bissexto) {
        ano += 1 + (resto - DIAS_DO_BISSEXTO) / DIAS_DO_ANO;
        resto = (resto - DIAS_DO_BISSEXTO) % DIAS_DO_ANO;
    }
    int mes = MESES - 1;
    while (mes > 0 && resto < diasAntes(mes, bissexto)) {
        mes--;
    }
    *registro = {};
    registro->tm_year = static_cast<int>(ano) + PRIMEIRO_ANO;
    registro->tm_mon = mes;
    registro->tm_mday = static_cast<int>(resto - diasAntes(mes, bissexto) + 1);
}

uint32_t tm_to_yuliano(const struct tm *registro) {
    const std::int64_t anos = std::int64_t{registro->tm_year} - PRIMEIRO_ANO;
    const int mes = registro->tm_mon;
    if (anos < 0 || mes < 0 || mes >= MESES) {
        return 0;
    }
    const std::int64_t bissextosPassados = (anos + 3) / 4;
    const std::int64_t dia =
        anos * DIAS_DO_ANO + bissextosPassados + diasAntes(mes, anos % 4 == 0) + registro->tm_mday;
    const bool cabe = dia >= 0 && dia <= std::numeric_limits<std::uint32_t>::max();
    return cabe ? static_cast<std::uint32_t>(dia) : 0;
}
