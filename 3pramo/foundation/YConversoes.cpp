#include <3pramo/foundation/YConversoes.h>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>

#include <charconv>
#include <cstring>
#include <limits>

using namespace pramo;

namespace {

void converte(decltype(gmtime_r) *funcao, const time_t *momento, struct tm *partes) {
    // Aside, so that a failure leaves the caller's record as it was.
    struct tm prontas = {};
    if (funcao(momento, &prontas) == nullptr) {
        lanca(YExc_rtti, "Momento fora do calendário."_l1, "YConversoes");
    }
    *partes = prontas;
}

} // namespace

int64_t atoy64(const char *texto) {
    if (texto == nullptr) {
        return 0;
    }
    while (ehBranco(*texto)) {
        texto++;
    }
    // from_chars knows "-" alone, and would take "+-5" for -5 once the + is gone.
    if (*texto == '+' && *++texto == '-') {
        return 0;
    }
    int64_t valor = 0;
    const auto lido = std::from_chars(texto, texto + std::strlen(texto), valor);
    if (lido.ec == std::errc::result_out_of_range) {
        using Limites = std::numeric_limits<int64_t>;
        return *texto == '-' ? Limites::min() : Limites::max();
    }
    return valor;
}

void y64toa(int64_t valor, char *texto) {
    *std::to_chars(texto, texto + Y_TAMANHO_Y64 - 1, valor).ptr = 0;
}

void BIOSRTC_gmtime(const time_t *momento, struct tm *partes) {
    converte(gmtime_r, momento, partes);
}

void BIOSRTC_localtime(const time_t *momento, struct tm *partes) {
    converte(localtime_r, momento, partes);
}
