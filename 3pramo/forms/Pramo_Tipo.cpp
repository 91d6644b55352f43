// The field types' common face, and the numbers of 1 to 18 bytes.
#include <3pramo/forms/Pramo_Tipo_interno.hpp>

#include <iterator>

using namespace pramo;

namespace {

const Pramo_Tipo_Rtti &slotsDe(const Pramo_Tipo *tipo) {
    return *reinterpret_cast<const Pramo_Tipo_Rtti *>(tipo->rtti);
}

void leSemImplementacao(Pramo_Tipo * /*tipo*/, Pramo_Variavel * /*variavel*/, const YNo * /*elemento*/) {
    YchamouFuncaoVirtualPura();
}

void gravaSemImplementacao(Pramo_Tipo * /*tipo*/, const Pramo_Variavel * /*variavel*/, YNo * /*elemento*/) {
    YchamouFuncaoVirtualPura();
}

} // namespace

const Pramo_Tipo_Rtti Pramo_Tipo_definicaoRtti = {
    {YOb_rtti, "Pramo_Tipo", sizeof(Pramo_Tipo), nullptr, nullptr},
    leSemImplementacao,
    gravaSemImplementacao};

const YRtti *Pramo_Tipo_rtti(void) {
    return &Pramo_Tipo_definicaoRtti.rtti;
}

void Pramo_Tipo_leDeYNo(Pramo_Tipo *tipo, Pramo_Variavel *variavel, const YNo *elemento) {
    slotsDe(tipo).leDeYNo(tipo, variavel, elemento);
}

void Pramo_Tipo_gravaEmYNo(Pramo_Tipo *tipo, const Pramo_Variavel *variavel, YNo *elemento) {
    slotsDe(tipo).gravaEmYNo(tipo, variavel, elemento);
}

// ---- Numbers ----

namespace {

struct Conversao {
    void (*deTexto)(void *destino, const char *texto);
    void (*paraTexto)(char *texto, const void *origem);
};

#define FIXO(N)                                                                                              \
    Conversao {                                                                                              \
        _ato##N, [](char *texto, const void *origem) { _##N##toafixo(texto, origem, 0); }                    \
    }
#define BINQ(N)                                                                                              \
    Conversao {                                                                                              \
        BINQ##N##_atob, BINQ##N##_btoa                                                                       \
    }

constexpr Conversao tabelaDeConversao[] = {FIXO(1),  FIXO(2),  FIXO(3),  FIXO(4),  FIXO(5),  FIXO(6),
                                           FIXO(7),  FIXO(8),  BINQ(9),  BINQ(10), BINQ(11), BINQ(12),
                                           BINQ(13), BINQ(14), BINQ(15), BINQ(16), BINQ(17), BINQ(18)};

const Conversao &conversaoPara(std::uint64_t tamanho) {
    if (tamanho == 0 || tamanho > std::size(tabelaDeConversao)) {
        lanca(YExc_rtti, "Tamanho não suportado."_l1, forms::FONTE);
    }
    return tabelaDeConversao[tamanho - 1];
}

} // namespace

void forms::leNumero(const Pramo_Variavel &variavel, const char *texto) {
    const Conversao &conversao = conversaoPara(variavel.tamanho);
    converte([&] { conversao.deTexto(variavel.endereco, texto); });
}

forms::TextoDoNumero forms::textoDoNumero(const Pramo_Variavel &variavel) {
    TextoDoNumero texto;
    conversaoPara(variavel.tamanho).paraTexto(texto.bytes, variavel.endereco);
    return texto;
}
