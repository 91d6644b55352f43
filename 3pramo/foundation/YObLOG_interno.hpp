// Logging a text that is ready, of any length and content.
#ifndef Y3PRAMO_FOUNDATION_YOBLOG_INTERNO_HPP
#define Y3PRAMO_FOUNDATION_YOBLOG_INTERNO_HPP

#include <3pramo/foundation/YObLOG.h>

#include <string_view>

namespace pramo {

/// As YObLOG_masc_print, without a format; zero bytes are escaped like other control characters.
void registraTexto(int mascara, std::string_view texto);

/// The same from a destructor or a noexcept function: a sink of the application gets the record with the next
/// one, so that nothing it does passes through here.
void registraAdiado(int mascara, std::string_view texto) noexcept;

} // namespace pramo

#endif
