// Logging a text that is ready, of any length and content.
#ifndef Y3PRAMO_FOUNDATION_YOBLOG_INTERNO_HPP
#define Y3PRAMO_FOUNDATION_YOBLOG_INTERNO_HPP

#include <3pramo/foundation/YObLOG.h>

#include <string>

namespace pramo {

/// As YObLOG_masc_print, without a format; zero bytes are escaped like other control characters.
void registraTexto(int mascara, const std::string &texto) noexcept;

} // namespace pramo

#endif
