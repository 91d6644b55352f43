// printf formatting that no process locale changes.
#ifndef Y3PRAMO_FOUNDATION_FORMATO_HPP
#define Y3PRAMO_FOUNDATION_FORMATO_HPP

#include <3pramo/foundation/exporta.h>

#include <cstdarg>
#include <string>

namespace pramo {

/// While it lives, the calling thread formats and scans in the C locale.
class LocaleC {
public:
    LocaleC();
    ~LocaleC();
    LocaleC(const LocaleC &) = delete;
    LocaleC &operator=(const LocaleC &) = delete;

private:
    void *anterior_;
};

/// Raises YExc "Formato inválido." when printf would fail. `argumentos` is used up.
std::string formataTexto(const char *formato, va_list argumentos) Y_FORMATO(1, 0);

/// Formats straight into `buffer` and gives the whole length, as vsnprintf does; raises as formataTexto.
std::size_t formataEm(char *buffer, std::size_t tamanho, const char *formato, va_list argumentos)
    Y_FORMATO(3, 0);

} // namespace pramo

#endif
