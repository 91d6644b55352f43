// The class of the field types, and the library's eight: numbers, a date, a time of day, texts.
//
// A type is two functions and holds nothing: one object of each serves all variables and all threads. What
// it converts stands at an address that need not be aligned, so bytes are copied, never read as a number.
#include <3pramo/forms/Pramo_Variavel.h>

#include <3pramo/foundation/DATAC.h>
#include <3pramo/foundation/YConversoes.h>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YNumeros.h>
#include <3pramo/foundation/caracteres.hpp>
#include <3pramo/foundation/cria.hpp>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string_view>

using namespace pramo;

namespace {

constexpr const char *FONTE = "Pramo_Tipo";

// Every type's descriptor begins with its YRtti and goes on with the slots, also an application's.
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

// ---- What the eight share ----

namespace {

/// Runs a conversion from text: what it raises about the text becomes a YExcSoap, for it is the client that
/// sent the text. No conversion quotes it: it may be a password.
template <typename CONVERSAO>
void converte(CONVERSAO conversao) {
    try {
        conversao();
    } catch (const YExcecao &e) {
        lanca(YExcSoap_rtti, e.what(), FONTE);
    }
}

/// Appends the child "valor", has `poe` give it its text, then names the type: when `poe` raises, the child
/// stays, without a text.
template <typename POE>
void gravaValor(YNo *elemento, const char *tipo, POE poe) {
    poe(YNo_criaDescendente(elemento, "valor"));
    YNo_setAtributo(elemento, "tipo", tipo);
}

} // namespace

/// The class of a field type, and its only object, made at compile time: there is no first use that threads
/// could meet in. The parent is YOb, so that no such class is a Pramo_Tipo to YRtti_deriva.
#define PRAMO_TIPO(nome, le, grava)                                                                          \
    const Pramo_Tipo_Rtti Pramo_Tipo##nome##_definicaoRtti = {                                               \
        {YOb_rtti, "Pramo_Tipo" #nome, sizeof(Pramo_Tipo), nullptr, nullptr}, le, grava};                    \
    const YRtti *Pramo_Tipo##nome##_rtti(void) {                                                             \
        return &Pramo_Tipo##nome##_definicaoRtti.rtti;                                                       \
    }                                                                                                        \
    Pramo_Tipo *Pramo_Tipo_getTipo##nome(void) {                                                             \
        static constinit Pramo_Tipo unico = {{&Pramo_Tipo##nome##_definicaoRtti.rtti}};                      \
        return &unico;                                                                                       \
    }

// ---- Numbers of 1 to 18 bytes ----

namespace {

struct Conversao {
    void (*deTexto)(void *destino, const char *texto);
    void (*paraTexto)(char *texto, const void *origem);
};

// Two families of functions with the same texts: integers of up to 8 bytes, and quantities of 9 and more.
#define FIXO(N)                                                                                              \
    Conversao {                                                                                              \
        _ato##N, [](char *texto, const void *origem) { _##N##toafixo(texto, origem, 0); }                    \
    }
#define BINQ(N)                                                                                              \
    Conversao {                                                                                              \
        BINQ##N##_atob, BINQ##N##_btoa                                                                       \
    }

// Entry N - 1 converts N bytes.
constexpr Conversao tabelaDeConversao[] = {FIXO(1),  FIXO(2),  FIXO(3),  FIXO(4),  FIXO(5),  FIXO(6),
                                           FIXO(7),  FIXO(8),  BINQ(9),  BINQ(10), BINQ(11), BINQ(12),
                                           BINQ(13), BINQ(14), BINQ(15), BINQ(16), BINQ(17), BINQ(18)};

const Conversao &conversaoPara(std::uint64_t tamanho) {
    if (tamanho == 0 || tamanho > std::size(tabelaDeConversao)) {
        lanca(YExc_rtti, "Tamanho não suportado."_l1, FONTE);
    }
    return tabelaDeConversao[tamanho - 1];
}

void leNumero(const Pramo_Variavel &variavel, const char *texto) {
    const Conversao &conversao = conversaoPara(variavel.tamanho);
    converte([&] { conversao.deTexto(variavel.endereco, texto); });
}

struct TextoDoNumero {
    char bytes[Y_TAMANHO_NUMERO];
};

TextoDoNumero textoDoNumero(const Pramo_Variavel &variavel) {
    TextoDoNumero texto;
    conversaoPara(variavel.tamanho).paraTexto(texto.bytes, variavel.endereco);
    return texto;
}

void gravaNumero(const char *tipo, const Pramo_Variavel &variavel, YNo *elemento) {
    gravaValor(elemento, tipo, [&](YNo *valor) { YNo_setValor(valor, textoDoNumero(variavel).bytes); });
}

// ---- bin: the place of the point in what was read is recorded ----

// Without a point the count of what stands behind it keeps its value.

void contaCaracteres(Pramo_Variavel &variavel, std::string_view texto) {
    const std::size_t ponto = texto.find('.');
    if (ponto == std::string_view::npos) {
        variavel.caracteresAntesDaVirgula = texto.size();
        return;
    }
    variavel.caracteresAntesDaVirgula = ponto;
    variavel.caracteresDepoisDaVirgula = texto.size() - ponto - 1;
}

void leBin(Pramo_Tipo * /*tipo*/, Pramo_Variavel *variavel, const YNo *elemento) {
    const char *texto = YNo_getValor(elemento);
    // Before the conversion, so also of a text that it refuses.
    contaCaracteres(*variavel, texto != nullptr ? texto : "");
    leNumero(*variavel, texto);
}

void gravaBin(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    gravaNumero("bin", *variavel, elemento);
}

// ---- id, and the same as a password ----

// A response carries a password like any number: the application wipes what is not to go back.

void leId(Pramo_Tipo * /*tipo*/, Pramo_Variavel *variavel, const YNo *elemento) {
    leNumero(*variavel, YNo_getValor(elemento));
}

void gravaId(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    gravaNumero("id", *variavel, elemento);
}

void gravaSenha(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    gravaNumero("senha", *variavel, elemento);
}

// ---- qtde3: the last three digits are decimals ----

void leQtde3(Pramo_Tipo * /*tipo*/, Pramo_Variavel *variavel, const YNo *elemento) {
    // The conversion ignores points among digits; without them a text of points alone is empty, which is 0.
    const Ponteiro<char> semPontos(YduplicaString(YNo_getValor(elemento)));
    if (char *texto = semPontos) {
        *std::remove(texto, texto + std::strlen(texto), '.') = 0;
    }
    leNumero(*variavel, semPontos);
}

// "12345 " becomes "12.345": the point goes before the last three digits, and the blank behind them leaves.
// A number's text has four digits at least, so that one always stands before the point.
void poePonto(char *texto) {
    const std::size_t tamanho = std::strlen(texto);
    std::memmove(texto + tamanho - 3, texto + tamanho - 4, 3);
    texto[tamanho - 4] = '.';
}

void gravaQtde3(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    gravaValor(elemento, "qtde3", [&](YNo *valor) {
        TextoDoNumero texto = textoDoNumero(*variavel);
        poePonto(texto.bytes);
        YNo_setValor(valor, texto.bytes);
    });
}

} // namespace

PRAMO_TIPO(BIN, leBin, gravaBin)
PRAMO_TIPO(Id, leId, gravaId)
PRAMO_TIPO(Senha, leId, gravaSenha)
PRAMO_TIPO(QTDE3, leQtde3, gravaQtde3)

// ---- Packed dates, and times of day as hours * 100 + minutes: two bytes each ----

namespace {

void leData(Pramo_Tipo * /*tipo*/, Pramo_Variavel *variavel, const YNo *elemento) {
    const std::uint32_t dia = YNo_getDateYVal(elemento);
    converte([&] { DATAC_de_yuliano(variavel->endereco, dia); });
}

void gravaData(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    gravaValor(elemento, "data", [&](YNo *valor) {
        YNo_setDateYVal(valor, static_cast<std::uint32_t>(DATAC_yuliano(variavel->endereco)));
    });
}

/// The end of the integer at the start of the text, the start itself when there is none: as strtol finds it,
/// but in every locale.
const char *fimDoInteiro(const char *texto) {
    const char *c = texto;
    while (ehBranco(*c)) {
        c++;
    }
    c += *c == '-' || *c == '+' ? 1 : 0;
    if (!ehAlgarismo(*c)) {
        return texto;
    }
    while (ehAlgarismo(*c)) {
        c++;
    }
    return c;
}

void leHora(Pramo_Tipo * /*tipo*/, Pramo_Variavel *variavel, const YNo *elemento) {
    const char *texto = YNo_getValor(elemento);
    const char *doisPontos = texto != nullptr ? fimDoInteiro(texto) : "";
    if (*doisPontos != ':') {
        lanca(YExcSoap_rtti, "Conteúdo de hora mal formado."_l1, FONTE);
    }
    // Whatever was sent, the low 16 bits of the sum are kept: unsigned, so that it may go round.
    const auto horas = static_cast<std::uint64_t>(atoy64(texto));
    const auto minutos = static_cast<std::uint64_t>(atoy64(doisPontos + 1));
    const auto hora = static_cast<std::uint16_t>(horas * 100 + minutos);
    std::memcpy(variavel->endereco, &hora, sizeof hora);
}

void gravaHora(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    std::uint16_t hora = 0;
    std::memcpy(&hora, variavel->endereco, sizeof hora);
    char texto[sizeof "655:99"]; // the longest, from 65535 down to 65500
    std::snprintf(texto, sizeof texto, "%02d:%02d", hora / 100, hora % 100);
    gravaValor(elemento, "hora", [&](YNo *valor) { YNo_setValor(valor, texto); });
}

} // namespace

PRAMO_TIPO(DATAC, leData, gravaData)
PRAMO_TIPO(HORAC, leHora, gravaHora)

// ---- Texts, and choices, whose text is the option's key ----

namespace {

void leTexto(Pramo_Tipo * /*tipo*/, Pramo_Variavel *variavel, const YNo *elemento) {
    const char *texto = YNo_getValor(elemento);
    // Exactly what is wanted: cuts without a zero, fills with zeros.
    std::strncpy(static_cast<char *>(variavel->endereco), texto != nullptr ? texto : "", variavel->tamanho);
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

PRAMO_TIPO(Autorizacao, leTexto, gravaAutorizacao)
PRAMO_TIPO(EscolhaMultipla, leTexto, gravaEscolhaMultipla)
