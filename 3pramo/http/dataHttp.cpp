#include <3pramo/http/dataHttp.hpp>

#include <array>
#include <cstdio>

void pramo::formataDataHttp(char *buffer, std::size_t tamanho, std::time_t momento) {
    static constexpr std::array<const char *, 12> MESES = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                           "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    std::tm tm{};
    if (gmtime_r(&momento, &tm) == nullptr) {
        std::snprintf(buffer, tamanho, "%s", "");
        return;
    }
    std::snprintf(buffer, tamanho, "%02d %s %d %02d:%02d:%02d GMT", tm.tm_mday,
                  MESES.at(static_cast<std::size_t>(tm.tm_mon)), tm.tm_year + 1900, tm.tm_hour, tm.tm_min,
                  tm.tm_sec);
}
