// The port type Contador: one counter for each client, which lives from call to call.
#include "portTypes.hpp"

#include <mutex>

using namespace pramo::literais;

namespace {

/// "constroi" and "destroi" are built in: a client gets the identity of its counter from the first and quotes
/// it in "eu". Without "eu" a call works on a counter of its own, which is gone after it.
class Contador : public pramo::Objeto<Contador, YWebService> {
public:
    std::int64_t incrementa(std::int64_t parcela) {
        const std::lock_guard tranca(trinco_); // let go by an exception too
        std::int64_t novo = 0;
        if (__builtin_add_overflow(total_, parcela, &novo)) {
            YContextoTry_throw(YExcSoap_rtti, "O total não cabe em 64 bits."_l1, "Contador", __LINE__);
        }
        return total_ = novo;
    }

    std::int64_t valor() {
        const std::lock_guard tranca(trinco_);
        return total_;
    }

    void zera() {
        const std::lock_guard tranca(trinco_);
        total_ = 0;
    }

private:
    std::mutex trinco_; // two connections may call the same object at once
    std::int64_t total_ = 0;
};

} // namespace

void calc::registraContador(YSoapServer *servidor) {
    pramo::PortType<Contador>("Contador")
        .metodo("incrementa", {"valor"}, &Contador::incrementa)
        .metodo("valor", &Contador::valor)
        .metodo("zera", &Contador::zera)
        .registra(servidor);
}
