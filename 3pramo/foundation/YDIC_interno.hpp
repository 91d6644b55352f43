// What dictionaries offer inside the library.
#ifndef Y3PRAMO_FOUNDATION_YDIC_INTERNO_HPP
#define Y3PRAMO_FOUNDATION_YDIC_INTERNO_HPP

#include <3pramo/foundation/YDIC.h>

#include <string_view>

namespace pramo {

/// YDIC_guarda with texts that need no terminating zero (and hold none).
bool guarda(YDIC &dic, std::string_view chave, std::string_view valor);

} // namespace pramo

#endif
