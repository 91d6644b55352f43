#include <3pramo/foundation/DATAC.h>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/calendario.hpp>

#include <array>
#include <cstring>

using namespace pramo;

namespace {

constexpr const char *FONTE = "DATAC";
constexpr std::int64_t ULTIMO_DIA = diaDaData({2107, 12, 31});

using Compactada = std::array<std::uint8_t, 2>;

} // namespace

int32_t DATAC_yuliano(const void *endereco) {
    Compactada bytes;
    // The address need not be aligned, and the order of the bytes is the format's, not the machine's.
    std::memcpy(bytes.data(), endereco, bytes.size());
    const unsigned bits = bytes[0] + 256U * bytes[1];
    if (bits == 0) {
        return 0;
    }
    const Data data = {PRIMEIRO_ANO + (bits >> 9U), bits >> 5U & 15, bits & 31};
    // A day beyond its month has another date's number.
    const std::int64_t dia = data.mes >= 1 && data.mes <= 12 ? diaDaData(data) : 0;
    if (dia == 0 || dataDoDia(static_cast<std::uint32_t>(dia)) != data) {
        lanca(YExc_rtti, "Data compactada inválida."_l1, FONTE);
    }
    return static_cast<int32_t>(dia);
}

void DATAC_de_yuliano(void *endereco, uint32_t dia) {
    if (dia > ULTIMO_DIA) {
        lanca(YExc_rtti, "Data posterior a 2107."_l1, FONTE);
    }
    const Data data = dataDoDia(dia);
    const auto bits =
        dia == 0 ? 0U : static_cast<unsigned>((data.ano - PRIMEIRO_ANO) << 9 | data.mes << 5 | data.dia);
    const Compactada bytes = {static_cast<std::uint8_t>(bits), static_cast<std::uint8_t>(bits >> 8)};
    std::memcpy(endereco, bytes.data(), bytes.size());
}
