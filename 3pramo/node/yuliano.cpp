#include <3pramo/node/yuliano.h>

#include <3pramo/foundation/calendario.hpp>

#include <limits>

using namespace pramo;

void yuliano_to_tm(uint32_t dia, struct tm *registro) {
    const Data data = dataDoDia(dia);
    *registro = {};
    registro->tm_year = static_cast<int>(data.ano) - 1900;
    registro->tm_mon = static_cast<int>(data.mes) - 1;
    registro->tm_mday = static_cast<int>(data.dia);
}

uint32_t tm_to_yuliano(const struct tm *registro) {
    // In 64 bits: no field of the record, whatever it holds, overflows here.
    const std::int64_t ano = std::int64_t{registro->tm_year} + 1900;
    if (ano < PRIMEIRO_ANO || registro->tm_mon < 0 || registro->tm_mon > 11) {
        return 0;
    }
    const std::int64_t dia = diaDaData({ano, registro->tm_mon + 1, registro->tm_mday});
    const bool cabe = dia >= 0 && dia <= std::numeric_limits<std::uint32_t>::max();
    return cabe ? static_cast<std::uint32_t>(dia) : 0;
}
