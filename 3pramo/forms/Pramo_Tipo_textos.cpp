// The field types for texts: two that cut what is too long, two that take a text whole, one of them for
// secrets.
#include <3pramo/forms/Pramo_Tipo_interno.hpp>

#include <algorithm>
#include <cstring>
#include <string_view>

using namespace pramo;

// ---- Texts that are cut, and choices, whose text is the option's key ----

namespace {

void leCortado(Pramo_Tipo * /*tipo*/, Pramo_Variavel *variavel, const YNo *elemento) {
    // Exactly what is wanted: cuts without a zero, fills with zeros.
    std::strncpy(static_cast<char *>(variavel->endereco), textoDe(elemento), variavel->tamanho);
}

void gravaTexto(const char *tipo, const Pramo_Variavel &variavel, YNo *elemento) {
    gravaValor(elemento, tipo, [&](YNo *valor) {
        const auto *texto = static_cast<const char *>(variavel.endereco);
        // A text that fills its bytes has no zero behind it, so it is written from a copy that has one.
        const Ponteiro<char> copia(YduplicaStringTam(texto, strnlen(texto, variavel.tamanho)));
        YNo_setValor(valor, copia);
    });
}

void gravaAutorizacao(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    gravaTexto("autorizacao", *variavel, elemento);
}

void gravaEscolhaMultipla(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    gravaTexto("escolhaMultipla", *variavel, elemento);
}

} // namespace

PRAMO_TIPO(Autorizacao, leCortado, gravaAutorizacao)
PRAMO_TIPO(EscolhaMultipla, leCortado, gravaEscolhaMultipla)

// ---- Texts that are taken whole, and secrets, which are not written back ----

namespace {

// Of the control characters XML has these; another one would make the next form one that nobody can read.
bool ehDeTexto(char c) {
    return static_cast<unsigned char>(c) >= ' ' || c == '\t' || c == '\n' || c == '\r';
}

// One byte is the zero's.
void exigeLugarParaOZero(const Pramo_Variavel &variavel) {
    if (variavel.tamanho == 0) {
        tamanhoNaoSuportado();
    }
}

void leInteiro(Pramo_Tipo * /*tipo*/, Pramo_Variavel *variavel, const YNo *elemento) {
    exigeLugarParaOZero(*variavel);
    const std::string_view texto = textoDe(elemento);
    if (texto.size() >= variavel->tamanho) {
        lanca(YExcSoap_rtti, "Texto não cabe no campo."_l1, FONTE_DO_TIPO);
    }
    if (!std::ranges::all_of(texto, ehDeTexto)) {
        lanca(YExcSoap_rtti, "Caractere inválido em texto."_l1, FONTE_DO_TIPO);
    }
    // Zeros up to the end: of a longer text that stood there, maybe a secret, nothing remains.
    auto *bytes = static_cast<char *>(variavel->endereco);
    std::memset(std::ranges::copy(texto, bytes).out, 0, variavel->tamanho - texto.size());
}

void gravaTextoInteiro(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    exigeLugarParaOZero(*variavel);
    gravaTexto("texto", *variavel, elemento);
}

void gravaSegredo(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    exigeLugarParaOZero(*variavel);
    YNo_setAtributo(elemento, "tipo", "segredo");
}

} // namespace

PRAMO_TIPO(Texto, leInteiro, gravaTextoInteiro)
PRAMO_TIPO(Segredo, leInteiro, gravaSegredo)
