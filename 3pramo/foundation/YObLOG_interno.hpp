// Logging a text that is ready, of any length and content, for every room. Only escreveNoErroPadrao is what
// the sources of the log share.
#ifndef Y3PRAMO_FOUNDATION_YOBLOG_INTERNO_HPP
#define Y3PRAMO_FOUNDATION_YOBLOG_INTERNO_HPP

#include <3pramo/foundation/YObLOG.h>

#include <string_view>

namespace pramo {

/// As YObLOG_masc_print, without a format; zero bytes are escaped like other control characters.
void registraTexto(int mascara, std::string_view texto);

/// The same from a destructor or a noexcept function, which a sink that ends its thread could not leave: a
/// sink of the application gets the record from the next one that logs elsewhere, or entregaAdiados.
void registraAdiado(int mascara, std::string_view texto) noexcept;

/// Delivers what waits for a sink, unless another thread is at it.
void entregaAdiados();

/// Writes a line "DATE TIME MASK TEXT" to standard error, in UTF-8, without waiting and without memory, and
/// whatever standard error is; false when it did not take all of it. One thread at a time.
bool escreveNoErroPadrao(int mascara, std::string_view texto) noexcept;

} // namespace pramo

#endif
