// Includes all, writes the version, and catches an exception of the library by its class, with a class of its
// own.
#include <3pramo/3pramo.hpp>

#include <iostream>
#include <string_view>

struct Servico : pramo::Objeto<Servico, YWebService> {
    pramo::Ponteiro<YStream> stream = pramo::cria<YStream>(YStream_rtti);
    void escreve(const std::string &texto) const { YStream_puts(stream, texto.c_str()); }
};

int main() {
    const auto servico = pramo::cria<Servico>();
    pramo::PortType<Servico>("Servico").metodo("escreve", {"texto"}, &Servico::escreve);
    try {
        servico->escreve(Y3PRAMO_VERSAO);
        YContextoTry_throw(YExcIOError_rtti, pramo::latin1("ação").c_str(), "consumidor", __LINE__);
    } catch (const YExcecao &excecao) {
        std::cout << YStream_str(servico->stream) << '\n';
        return excecao.ehDaClasse(YExc_rtti) && excecao.what() == std::string_view("a\xE7\xE3o") ? 0 : 1;
    }
}
