// Writes the version through a stream, and catches an exception of the library by its class.
#include <3pramo/foundation/YExcecao.hpp>
#include <3pramo/foundation/YStream.h>
#include <3pramo/foundation/latin1.hpp>
#include <3pramo/versao.h>

#include <iostream>
#include <string_view>

using namespace pramo::literais;

namespace {

bool apanhaPelaClasse() {
    try {
        YContextoTry_throw(YExcIOError_rtti, "ação"_l1, "consumidor", __LINE__);
    } catch (const YExcecao &excecao) {
        return excecao.ehDaClasse(YExc_rtti) && excecao.what() == std::string_view("a\xE7\xE3o");
    }
}

} // namespace

int main() {
    YStream *stream = nullptr;
    YalocaObjeto(&stream, YStream_rtti);
    YStream_printf(stream, "%s", Y3PRAMO_versao());
    const std::string_view versao = YStream_str(stream);
    const bool certo = versao == Y3PRAMO_VERSAO && apanhaPelaClasse();
    std::cout << versao << '\n';
    YliberaObjeto(stream);
    return certo ? 0 : 1;
}
