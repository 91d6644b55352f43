// Includes all, writes the version, and catches an exception of the library by its class.
#include <3pramo/3pramo.hpp>

#include <iostream>
#include <string_view>

using namespace pramo::literais;

int main() {
    const auto stream = pramo::cria<YStream>(YStream_rtti);
    try {
        YStream_puts(stream, Y3PRAMO_VERSAO);
        YContextoTry_throw(YExcIOError_rtti, "ação"_l1, "consumidor", __LINE__);
    } catch (const YExcecao &excecao) {
        std::cout << YStream_str(stream) << '\n';
        return excecao.ehDaClasse(YExc_rtti) && excecao.what() == std::string_view("a\xE7\xE3o") ? 0 : 1;
    }
}
