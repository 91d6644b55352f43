// The port type Calc: a service class with a state of its own, and the handlers of its methods.
#include "portTypes.hpp"

#include <atomic>
#include <memory>
#include <string>

using namespace pramo::literais;

namespace {

/// One service object: made by "constroi" and named by "eu" in later calls, or made for a single call.
struct Calc : YWebService {
    std::atomic<std::int64_t> ultimaSoma; // two connections may call the same object at once
};

// The object is zeroed memory; only fields that need a C++ constructor are constructed.
void constroi(void *objeto) {
    std::construct_at(&static_cast<Calc *>(objeto)->ultimaSoma, 0);
}

const YRtti definicao = {YWebService_rtti, "Calc", sizeof(Calc), constroi, nullptr};

const YRtti *Calc_rtti() {
    return &definicao;
}

// ---- Methods: they read children of the request, and append children to the answer ----

// Becomes a fault to the client, with this text, source name and line.
[[noreturn]] void recusa(const char *mensagem, int linha = __builtin_LINE()) {
    YContextoTry_throw(YExcSoap_rtti, mensagem, "Calc", linha);
}

void soma(YWebService *servico, YNo *requisicao, YNo *resposta) {
    std::int32_t resultado = 0;
    if (__builtin_add_overflow(YNo_getInt(requisicao, "a"), YNo_getInt(requisicao, "b"), &resultado)) {
        recusa("A soma não cabe em um int."_l1);
    }
    static_cast<Calc *>(servico)->ultimaSoma = resultado;
    YNo_setInt(resposta, "return", resultado);
}

void valor(YWebService *servico, YNo *, YNo *resposta) {
    YNo_setInt64(resposta, "return", static_cast<Calc *>(servico)->ultimaSoma);
}

void divide(YWebService *, YNo *requisicao, YNo *resposta) {
    const double divisor = YNo_getDouble(requisicao, "b");
    if (divisor == 0) {
        recusa("Divisão por zero."_l1);
    }
    YNo_setDouble(resposta, "return", YNo_getDouble(requisicao, "a") / divisor);
}

void eco(YWebService *, YNo *requisicao, YNo *resposta) {
    YNo_setString(resposta, "return", YNo_getString(requisicao, "texto"));
}

void lema(YWebService *, YNo *, YNo *resposta) {
    YNo_setString(resposta, "return", "O coração tem razões que a própria razão desconhece"_l1);
}

// An encoded map arrives as plain elements, one for each key; a map inside it, as elements below its key.
void cadastra(YWebService *, YNo *requisicao, YNo *resposta) {
    const YNo *dados = YNo_getFilhoUnico(requisicao, "dados"); // raises when it is missing
    std::string resumo;
    for (const char *campo : {"nome", "cidade", "uf", "endereco/rua", "endereco/num"}) {
        const char *texto = YNo_getValor(YNo_procuraDescendente(dados, campo)); // null when it is missing
        if (texto != nullptr) {
            resumo += (resumo.empty() ? "" : "; ") + std::string(campo) + "=" + texto;
        }
    }
    if (resumo.empty()) {
        recusa("Nenhum dado conhecido.");
    }
    YNo_setString(resposta, "return", resumo.c_str());
}

void falha(YWebService *, YNo *, YNo *) {
    recusa("Esta operação sempre falha."_l1);
}

constexpr YDefinicaoMetodo METODOS[] = {{"soma", soma},   {"valor", valor},  {"divide", divide},
                                        {"eco", eco},     {"lema", lema},    {"cadastra", cadastra},
                                        {"falha", falha}, {nullptr, nullptr}};

} // namespace

YDefinicaoPortType calc::definicaoDoCalc(const char *wsdl) {
    return {"Calc", METODOS, Calc_rtti, wsdl, nullptr};
}
