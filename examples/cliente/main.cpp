// Calls the services of the example calc: cliente ADDRESS PORT. Its text is UTF-8, as terminals have it.
#include <3pramo/3pramo.hpp>

#include <cstdlib>
#include <iostream>

using namespace pramo::literais;

namespace {

constexpr std::uint32_t PRAZO = 5000; // milliseconds, for each call

/// A request with two parameters.
pramo::Ponteiro<YNo> parcelas(std::int32_t a, std::int32_t b) {
    auto pedido = pramo::cria<YNo>(YNo_rtti);
    YNo_setInt(pedido, "a", a);
    YNo_setInt(pedido, "b", b);
    return pedido;
}

/// A result read strictly: what the server says is not taken on trust.
template <typename T>
T resultado(const YNo *resposta) {
    auto lido = pramo::le<T>(resposta, "return");
    if (!lido) {
        YContextoTry_throw(YExcSoap_rtti, "A resposta não traz o resultado."_l1, "main", __LINE__);
    }
    return *lido;
}

void usaCalc(YSoapClient *cliente) {
    const auto soma = pramo::chama(cliente, "Calc", "soma", parcelas(2, 3).get());
    std::cout << "2 + 3 = " << resultado<std::int64_t>(soma) << '\n';
    const auto lema = pramo::chama(cliente, "Calc", "lema");
    std::cout << pramo::utf8(resultado<std::string>(lema)) << '\n';
}

/// A service object of our own, which lives between the calls that name it in "eu".
void usaContador(YSoapClient *cliente) {
    const auto pedido = pramo::cria<YNo>(YNo_rtti);
    YNo_setString(pedido, "eu", pramo::constroi(cliente, "Contador").c_str());
    YNo_setInt(pedido, "valor", 20);
    for (int vez = 0; vez < 2; vez++) {
        const auto total = pramo::chama(cliente, "Contador", "incrementa", pedido);
        std::cout << "contador: " << resultado<std::int64_t>(total) << '\n';
    }
    pramo::chama(cliente, "Contador", "destroi", pedido);
}

/// What the server refuses arrives as an exception, with what is known of the one over there.
void usaErrado(YSoapClient *cliente) {
    try {
        pramo::chama(cliente, "Calc", "divide", parcelas(1, 0).get());
    } catch (const YExcecao &falha) {
        if (!falha.ehDaClasse(YExcFalhaRemota_rtti)) {
            throw;
        }
        std::cout << "recusada: " << pramo::utf8(falha.mensagem()) << '\n';
    }
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        std::cerr << "uso: cliente ENDEREÇO PORTA\n";
        return 2;
    }
    const auto cliente = pramo::cria<YSoapClient>(YSoapClient_rtti);
    try {
        YSoapClient_setEndereco(cliente, argv[1], static_cast<std::uint32_t>(std::atoi(argv[2])));
        YSoapClient_setPrazo(cliente, PRAZO);
        usaCalc(cliente);
        usaContador(cliente);
        usaErrado(cliente);
    } catch (const YExcecao &erro) {
        std::cerr << "cliente: " << pramo::utf8(erro.what()) << '\n';
        // Nobody calls again on its own: after a call that was sent, only the server knows what it did.
        return YSoapClient_foiEnviada(cliente) != 0 ? 3 : 1;
    }
    return 0;
}
