// The port type Contador: one counter for each client, which lives from call to call.
#include "portTypes.hpp"

#include <memory>
#include <mutex>

using namespace pramo::literais;

namespace {

/// All zero at first, but what has a constructor.
struct Contador : YWebService {
    std::mutex trinco; // two connections may call the same object at once
    std::int64_t total;
};

Contador &contador(YWebService *servico) {
    return *static_cast<Contador *>(servico);
}

void constroi(void *objeto) {
    std::construct_at(&static_cast<Contador *>(objeto)->trinco);
}

// Runs when the last call on the object has returned: nobody holds the lock.
void destroi(void *objeto) {
    std::destroy_at(&static_cast<Contador *>(objeto)->trinco);
}

const YRtti definicao = {YWebService_rtti, "Contador", sizeof(Contador), constroi, destroi};

const YRtti *Contador_rtti() {
    return &definicao;
}

// "constroi" and "destroi" are built in: a client gets the identity of its counter from the first and quotes
// it in "eu". Without "eu" a call works on a counter of its own, which is gone after it.

void incrementa(YWebService *servico, YNo *requisicao, YNo *resposta) {
    Contador &este = contador(servico);
    const std::int64_t parcela = YNo_getInt64(requisicao, "valor");
    const std::lock_guard tranca(este.trinco); // let go by an exception too
    std::int64_t novo = 0;
    if (__builtin_add_overflow(este.total, parcela, &novo)) {
        YContextoTry_throw(YExcSoap_rtti, "O total não cabe em 64 bits."_l1, "Contador", __LINE__);
    }
    este.total = novo;
    YNo_setInt64(resposta, "return", novo);
}

void valor(YWebService *servico, YNo *, YNo *resposta) {
    const std::lock_guard tranca(contador(servico).trinco);
    YNo_setInt64(resposta, "return", contador(servico).total);
}

void zera(YWebService *servico, YNo *, YNo *) {
    const std::lock_guard tranca(contador(servico).trinco);
    contador(servico).total = 0;
}

constexpr YDefinicaoMetodo METODOS[] = {
    {"incrementa", incrementa}, {"valor", valor}, {"zera", zera}, {nullptr, nullptr}};

} // namespace

YDefinicaoPortType calc::definicaoDoContador(const char *wsdl) {
    return {"Contador", METODOS, Contador_rtti, wsdl, nullptr};
}
