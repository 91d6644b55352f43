// Moments as HTTP fields write them.
#ifndef Y3PRAMO_HTTP_DATAHTTP_HPP
#define Y3PRAMO_HTTP_DATAHTTP_HPP

#include <cstddef>
#include <ctime>

namespace pramo {

constexpr std::size_t TAMANHO_DA_DATA_HTTP = 32;

/// "06 Nov 2026 08:49:37 GMT", cut to fit the buffer. A moment without a calendar date gives an empty text.
void formataDataHttp(char *buffer, std::size_t tamanho, std::time_t momento);

} // namespace pramo

#endif
