// The class of the field types, and the library's own for numbers, money, a date and a time of day. Those for
// texts are in Pramo_Tipo_textos.cpp.
//
// A type is two functions and holds nothing: one object of each serves all variables and all threads. What
// it converts stands at an address that need not be aligned, so bytes are copied, never read as a number.
#include <3pramo/forms/Pramo_Tipo_interno.hpp>

#include <3pramo/foundation/DATAC.h>
#include <3pramo/foundation/YConversoes.h>
#include <3pramo/foundation/YNumeros.h>
#include <3pramo/foundation/caracteres.hpp>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string_view>

using namespace pramo;

namespace {

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

namespace {

/// Runs a conversion from text: what it raises about the text becomes a YExcSoap, for it is the client that
/// sent the text. No conversion quotes it: it may be a password.
template <typename CONVERSAO>
void converte(CONVERSAO conversao) {
    try {
        conversao();
    } catch (const YExcecao &e) {
        lanca(YExcSoap_rtti, e.what(), FONTE_DO_TIPO);
    }
}

} // namespace

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
        tamanhoNaoSuportado();
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
    const char *texto = textoDe(elemento);
    // Before the conversion, so also of a text that it refuses.
    contaCaracteres(*variavel, texto);
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

// ---- Money: cents in 64 bits ----

namespace {

constexpr std::size_t MAIS_DECIMAIS = 2;

void exigeOitoBytes(const Pramo_Variavel &variavel) {
    if (variavel.tamanho != sizeof(std::int64_t)) {
        tamanhoNaoSuportado();
    }
}

/// A number to which digits are appended, one after the other, and whether it has fit so far.
struct Soma {
    std::int64_t numero = 0;
    bool cabe = true;

    // Away from zero, so that the smallest number, which has no counterpart, is read too.
    void acrescenta(int algarismo, bool negativo) {
        cabe = cabe && !__builtin_mul_overflow(numero, 10, &numero) &&
               !__builtin_add_overflow(numero, negativo ? -algarismo : algarismo, &numero);
    }
};

// A text that might be meant in two ways is refused: 1.000 is a thousand to one client and one to another.
std::int64_t centavosDe(std::string_view texto) {
    texto = apara(texto);
    const bool negativo = texto.starts_with('-');
    texto.remove_prefix(negativo ? 1 : 0);
    const std::string_view inteiros = texto.substr(0, texto.find_first_of(",."));
    const bool temDecimais = inteiros.size() < texto.size();
    const std::string_view decimais = temDecimais ? texto.substr(inteiros.size() + 1) : "";
    const auto soAlgarismos = [](std::string_view t) { return std::ranges::all_of(t, ehAlgarismo); };
    if (inteiros.empty() || temDecimais == decimais.empty() || decimais.size() > MAIS_DECIMAIS ||
        !soAlgarismos(inteiros) || !soAlgarismos(decimais)) {
        lanca(YExcSoap_rtti, "Conteúdo de dinheiro mal formado."_l1, FONTE_DO_TIPO);
    }
    Soma centavos;
    for (const std::string_view algarismos : {inteiros, decimais}) {
        for (const char c : algarismos) {
            centavos.acrescenta(c - '0', negativo);
        }
    }
    for (std::size_t faltam = MAIS_DECIMAIS - decimais.size(); faltam > 0; faltam--) {
        centavos.acrescenta(0, negativo);
    }
    if (!centavos.cabe) {
        lanca(YExcSoap_rtti, "Número não cabe no campo."_l1, FONTE_DO_TIPO);
    }
    return centavos.numero;
}

void leDinheiro(Pramo_Tipo * /*tipo*/, Pramo_Variavel *variavel, const YNo *elemento) {
    exigeOitoBytes(*variavel);
    const std::int64_t centavos = centavosDe(textoDe(elemento));
    std::memcpy(variavel->endereco, &centavos, sizeof centavos);
}

void gravaDinheiro(Pramo_Tipo * /*tipo*/, const Pramo_Variavel *variavel, YNo *elemento) {
    exigeOitoBytes(*variavel);
    std::int64_t centavos = 0;
    std::memcpy(&centavos, variavel->endereco, sizeof centavos);
    const auto semSinal = static_cast<std::uint64_t>(centavos);
    const std::uint64_t absoluto = centavos < 0 ? 0 - semSinal : semSinal;
    char texto[sizeof "-92233720368547758.08"]; // the longest
    std::snprintf(texto, sizeof texto, "%s%" PRIu64 ".%02" PRIu64, centavos < 0 ? "-" : "", absoluto / 100,
                  absoluto % 100);
    gravaValor(elemento, "dinheiro", [&](YNo *valor) { YNo_setValor(valor, texto); });
}

} // namespace

PRAMO_TIPO(Dinheiro, leDinheiro, gravaDinheiro)

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
    const char *texto = textoDe(elemento);
    const char *doisPontos = fimDoInteiro(texto);
    if (*doisPontos != ':') {
        lanca(YExcSoap_rtti, "Conteúdo de hora mal formado."_l1, FONTE_DO_TIPO);
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
