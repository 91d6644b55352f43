#include <3pramo/foundation/Formato.hpp>

#include <3pramo/foundation/YExc_interno.hpp>

#include <cerrno>
#include <cstdio>
#include <locale.h>
#include <new>

namespace pramo {

namespace {

const locale_t C = newlocale(LC_ALL_MASK, "C", nullptr); // the system's own, which takes no memory

} // namespace

// Of this thread alone: setlocale would change it for all of them.
LocaleC::LocaleC() : anterior_(uselocale(C)) {}

LocaleC::~LocaleC() {
    uselocale(static_cast<locale_t>(anterior_));
}

std::size_t formataEm(char *buffer, std::size_t tamanho, const char *formato, va_list argumentos) {
    const LocaleC c;
    const int escritos = std::vsnprintf(buffer, tamanho, formato, argumentos);
    // A wide field may need memory; that is no fault of the format.
    if (escritos < 0 && errno == ENOMEM) {
        throw std::bad_alloc();
    }
    if (escritos < 0) {
        lanca(YExc_rtti, "Formato inválido."_l1, "YStream");
    }
    return static_cast<std::size_t>(escritos);
}

std::string formataTexto(const char *formato, va_list argumentos) {
    va_list outraVez;
    // A list can be walked once; mostly the first walk is enough.
    va_copy(outraVez, argumentos);
    char curto[512];
    const std::size_t tamanho = formataEm(curto, sizeof curto, formato, argumentos);
    std::string texto(curto, tamanho < sizeof curto ? tamanho : 0);
    if (tamanho >= sizeof curto) {
        texto.resize(tamanho);
        formataEm(texto.data(), tamanho + 1, formato, outraVez);
    }
    va_end(outraVez);
    return texto;
}

} // namespace pramo
