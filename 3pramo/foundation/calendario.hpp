// Day numbers and dates: day 1 is 1 January 1980, and every fourth year is a leap year, 2100 included.
#ifndef Y3PRAMO_FOUNDATION_CALENDARIO_HPP
#define Y3PRAMO_FOUNDATION_CALENDARIO_HPP

#include <array>
#include <cstddef>
#include <cstdint>

namespace pramo {

constexpr std::int64_t PRIMEIRO_ANO = 1980;

/// Month from 1, day from 1; day 0 of January 1980 is the day number 0.
struct Data {
    std::int64_t ano;
    std::int64_t mes;
    std::int64_t dia;

    bool operator==(const Data &) const = default;
};

/// Days of the year before the month (1 to 12).
constexpr std::int64_t diasAntesDoMes(std::int64_t ano, std::int64_t mes) {
    constexpr std::array<std::int64_t, 12> ANTES = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    return ANTES[static_cast<std::size_t>(mes - 1)] + (mes > 2 && ano % 4 == 0 ? 1 : 0);
}

constexpr Data dataDoDia(std::uint32_t numero) {
    // Years run in fours, a leap year first. The divisions round towards day 0, which so stays in January
    // 1980.
    const std::int64_t dias = std::int64_t{numero} - 1;
    std::int64_t ano = PRIMEIRO_ANO + dias / 1461 * 4;
    std::int64_t noAno = dias % 1461;
    if (noAno >= 366) {
        ano += 1 + (noAno - 366) / 365;
        noAno = (noAno - 366) % 365;
    }
    std::int64_t mes = 12;
    while (mes > 1 && diasAntesDoMes(ano, mes) > noAno) {
        mes--;
    }
    return {ano, mes, noAno - diasAntesDoMes(ano, mes) + 1};
}

/// The year is 1980 or later and the month 1 to 12; the day is not compared with the month's length.
constexpr std::int64_t diaDaData(const Data &data) {
    const std::int64_t anos = data.ano - PRIMEIRO_ANO;
    return 365 * anos + (anos + 3) / 4 + diasAntesDoMes(data.ano, data.mes) + data.dia;
}

} // namespace pramo

#endif
