#include "alvo.hpp"

namespace apoio {

namespace {

Alvo &alvo(YWebService *servico) {
    auto &este = *static_cast<Alvo *>(servico);
    Alvo::quebrados += este.marca != Alvo::INTEIRA ? 1 : 0;
    return este;
}

void constroi(void *objeto) {
    static_cast<Alvo *>(objeto)->marca = Alvo::INTEIRA; // its total begins zeroed
    Alvo::vivos++;
}

void destroi(void *objeto) {
    alvo(static_cast<YWebService *>(objeto)).marca = 0;
    Alvo::vivos--;
}

const YRtti definicao = {YWebService_rtti, "Alvo", sizeof(Alvo), constroi, destroi};

void soma(YWebService *servico, YNo *requisicao, YNo *resposta) {
    alvo(servico);
    YNo_setInt(resposta, "return", YNo_getInt(requisicao, "a") + YNo_getInt(requisicao, "b"));
}

void acumula(YWebService *servico, YNo *requisicao, YNo *resposta) {
    YNo_setInt64(resposta, "return", alvo(servico).total += YNo_getInt64(requisicao, "valor"));
}

void total(YWebService *servico, YNo * /*requisicao*/, YNo *resposta) {
    YNo_setInt64(resposta, "return", alvo(servico).total);
}

void eco(YWebService * /*servico*/, YNo *requisicao, YNo *resposta) {
    YNo_setString(resposta, "return", YNo_getString(requisicao, "texto"));
}

void espera(YWebService *servico, YNo * /*requisicao*/, YNo *resposta) {
    Alvo::dentro++;
    acontece([] { return Alvo::aberto.load(); });
    YNo_setInt64(resposta, "return", alvo(servico).total);
    Alvo::dentro--;
}

// ---- Ways to fail: with something written already ----

void falha(YWebService * /*servico*/, YNo * /*requisicao*/, YNo *resposta) {
    YNo_setInt(resposta, "return", 1);
    YContextoTry_atributo("detalhe", "de uma aplicação"); // not what a fault tells under this name
    YContextoTry_throw(YExcSoap_rtti, "Ação <não> permitida & só isso: \x01§."_l1, "alvo", __LINE__);
}

void padrao(YWebService * /*servico*/, YNo * /*requisicao*/, YNo * /*resposta*/) {
    throw std::out_of_range("fora da faixa: 4111111111111111");
}

// ---- Ways to end ----

void vence(YWebService *servico, YNo *requisicao, YNo * /*resposta*/) {
    YWebService_setMomentoLimite(servico, YNo_getInt64(requisicao, "quando"));
}

void suicida(YWebService *servico, YNo *requisicao, YNo * /*resposta*/) {
    YWebService_setSoapServer(servico, nullptr);
    YliberaObjeto(servico);
    YNo_getString(requisicao, "falta"); // a failure after it, unless it is there
}

// Puts another object, most likely at the same address, in its own place.
void troca(YWebService *servico, YNo * /*requisicao*/, YNo *resposta) {
    YSoapServer *servidor = YWebService_getSoapServer(servico);
    YWebService_setSoapServer(servico, nullptr);
    YliberaObjeto(servico);
    YWebService *novo = nullptr;
    YalocaObjeto(&novo, Alvo_rtti);
    YWebService_setSoapServer(novo, servidor);
    YNo_setPtr(resposta, "return", novo);
}

constexpr YDefinicaoMetodo METODOS[] = {{"soma", soma},     {"acumula", acumula}, {"total", total},
                                        {"eco", eco},       {"espera", espera},   {"falha", falha},
                                        {"padrao", padrao}, {"vence", vence},     {"suicida", suicida},
                                        {"troca", troca},   {nullptr, nullptr}};

} // namespace

const YRtti *Alvo_rtti() {
    return &definicao;
}

YDefinicaoPortType definicaoDoAlvo(const char *wsdl) {
    return {"Alvo", METODOS, Alvo_rtti, wsdl, nullptr};
}

} // namespace apoio
