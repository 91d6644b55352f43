// Typed values: how numbers, dates and references are written into a content and read from it.
#include <3pramo/node/YNo_interno.hpp>

#include <3pramo/foundation/Formato.hpp>
#include <3pramo/foundation/YConversoes.h>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YIdentidade.h>
#include <3pramo/foundation/caracteres.hpp>
#include <3pramo/node/yuliano.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YNo";

// A value's text, zero-terminated. The longest is the largest double: sign, 309 digits, point, six decimals.
struct Texto {
    char bytes[352];
};

// ---- Numbers ----

Texto textoInteiro(std::int64_t valor) {
    Texto texto;
    *std::to_chars(texto.bytes, texto.bytes + sizeof texto.bytes - 1, valor).ptr = 0;
    return texto;
}

// The type of this name has 32 bits on the wire, whatever the caller's has.
Texto textoLong(std::int64_t valor) {
    return textoInteiro(static_cast<std::int32_t>(valor));
}

Texto textoDouble(double valor) {
    constexpr int DECIMAIS = 6;
    Texto texto;
    char *fim = texto.bytes + sizeof texto.bytes - 1;
    *std::to_chars(texto.bytes, fim, valor, std::chars_format::fixed, DECIMAIS).ptr = 0;
    return texto;
}

std::int64_t leInt64(const char *texto) {
    return texto != nullptr ? atoy64(texto) : 0;
}

template <typename INTEIRO>
INTEIRO leInteiro(const char *texto) {
    return static_cast<INTEIRO>(leInt64(texto));
}

double leDouble(const char *texto) {
    // strtod would take the decimal point of the process's locale.
    const LocaleC c;
    return texto != nullptr ? std::strtod(texto, nullptr) : 0;
}

float leFloat(const char *texto) {
    return static_cast<float>(leDouble(texto));
}

// ---- Boolean, text, reference ----

const char *textoBoolean(int valor) {
    return valor != 0 ? "true" : "false";
}

int leBoolean(const char *texto) {
    const auto eh = [&](std::string_view palavra) {
        return iguaisSemCaixa(texto != nullptr ? texto : "", palavra);
    };
    if (!eh("true") && !eh("false")) {
        lanca(YExcSoap_rtti, "valor desconhecido para boolean.", FONTE);
    }
    return eh("true") ? 1 : 0;
}

const char *proprioTexto(const char *texto) {
    return texto;
}

Texto textoPtr(const void *valor) {
    Texto texto;
    YObPtrToStr(texto.bytes, 64, valor);
    return texto;
}

// ---- Dates ----

enum class Forma { DATA, DATA_E_HORA };

Texto formataData(const struct tm &quando, Forma forma) {
    const long long ano = 1900LL + quando.tm_year;
    Texto texto;
    const int data = std::snprintf(texto.bytes, sizeof texto.bytes, "%04lld-%02d-%02d", ano,
                                   quando.tm_mon + 1, quando.tm_mday);
    if (forma == Forma::DATA_E_HORA) {
        std::snprintf(texto.bytes + data, sizeof texto.bytes - static_cast<std::size_t>(data),
                      "T%02d:%02d:%02d", quando.tm_hour, quando.tm_min, quando.tm_sec);
    }
    return texto;
}

Texto textoLocal(time_t valor, Forma forma) {
    struct tm local = {};
    BIOSRTC_localtime(&valor, &local);
    return formataData(local, forma);
}

Texto textoDate(time_t valor) {
    return textoLocal(valor, Forma::DATA);
}

Texto textoDateTime(time_t valor) {
    return textoLocal(valor, Forma::DATA_E_HORA);
}

Texto textoDateY(uint32_t valor) {
    struct tm dia;
    yuliano_to_tm(valor, &dia);
    return formataData(dia, Forma::DATA);
}

[[noreturn]] void dataInvalida() {
    lanca(YExcSoap_rtti, "DateTime inválido."_l1, FONTE);
}

// The field of the record that a letter of the template stands for; null for a separator.
int *campoDaData(struct tm &quando, char letra) {
    switch (letra) {
    case 'C':
    case 'Y':
        return &quando.tm_year;
    case 'M':
        return &quando.tm_mon;
    case 'D':
        return &quando.tm_mday;
    case 'h':
        return &quando.tm_hour;
    case 'm':
        return &quando.tm_min;
    case 's':
        return &quando.tm_sec;
    default:
        return nullptr;
    }
}

struct tm leDataTexto(const char *texto) {
    struct tm lido = {};
    // The text may end anywhere: what it does not reach stays 0. Four characters at most make up a field,
    // so no number overflows, whatever characters they are.
    const char *modelo = "CCYY-MM-DDThh:mm:ss";
    for (const char *c = texto != nullptr ? texto : ""; *c != 0; c++, modelo++) {
        if (int *campo = campoDaData(lido, *modelo)) {
            *campo = *campo * 10 + static_cast<unsigned char>(*c) - '0';
        } else if (*c != *modelo) { // the template's end too: no character but its zero is equal to it
            dataInvalida();
        }
    }
    if (lido.tm_year > 1899) {
        lido.tm_year -= 1900;
    }
    // The record counts months from 0. A text without month gives -1, which is none of the calendar's.
    lido.tm_mon--;
    return lido;
}

bool ehDoCalendario(const struct tm &data) {
    return data.tm_mon >= 0 && data.tm_mon < 12 && data.tm_mday >= 1 && data.tm_mday <= 31;
}

time_t leDateTime(const char *texto) {
    struct tm lido = leDataTexto(texto);
    if (!ehDoCalendario(lido)) {
        dataInvalida();
    }
    // tm_isdst is 0: standard time, also where and when daylight-saving time holds.
    return std::mktime(&lido);
}

uint32_t leDateY(const char *texto) {
    if (texto != nullptr && std::strcmp(texto, "1980-01-00") == 0) { // as textoDateY writes day 0
        return 0;
    }
    const struct tm lido = leDataTexto(texto);
    if (!ehDoCalendario(lido)) {
        dataInvalida();
    }
    return tm_to_yuliano(&lido);
}

// ---- Writing a text ----

const char *bytes(const Texto &texto) {
    return texto.bytes;
}

const char *bytes(const char *texto) {
    return texto;
}

YNo *poe(YNo *no, const char *texto) {
    YNo_setValor(no, texto);
    return no;
}

} // namespace

// The regular operations of a type word, in terms of the functions that read a content and give a value's
// text.
#define GETTER(palavra, tipo, le)                                                                            \
    tipo YNo_get##palavra(const YNo *no, const char *caminho) {                                              \
        return le(YNo_getFilhoUnico(no, caminho)->valor);                                                    \
    }
#define GETTER_VAL(palavra, tipo, le)                                                                        \
    tipo YNo_get##palavra##Val(const YNo *no) {                                                              \
        return le(YNo_getValor(no));                                                                         \
    }
#define SETTERS(palavra, tipo, texto)                                                                        \
    YNo *YNo_set##palavra(YNo *no, const char *caminho, tipo valor) {                                        \
        return criaDescendente(*no, caminho, bytes(texto(valor)));                                           \
    }                                                                                                        \
    YNo *YNo_set##palavra##Val(YNo *no, tipo valor) {                                                        \
        return poe(no, bytes(texto(valor)));                                                                 \
    }
#define FAMILIA(palavra, tipo, texto, le)                                                                    \
    GETTER(palavra, tipo, le)                                                                                \
    GETTER_VAL(palavra, tipo, le)                                                                            \
    SETTERS(palavra, tipo, texto)

FAMILIA(String, const char *, proprioTexto, proprioTexto)
FAMILIA(Boolean, int, textoBoolean, leBoolean)
FAMILIA(UnsignedByte, uint8_t, textoInteiro, leInteiro<uint8_t>)
FAMILIA(Short, int16_t, textoInteiro, leInteiro<int16_t>)
FAMILIA(UnsignedShort, uint16_t, textoInteiro, leInteiro<uint16_t>)
FAMILIA(Int, int32_t, textoInteiro, leInteiro<int32_t>)
FAMILIA(Integer, int32_t, textoInteiro, leInteiro<int32_t>)
FAMILIA(Long, int64_t, textoLong, leInteiro<int32_t>)
FAMILIA(Int64, int64_t, textoInteiro, leInt64)
FAMILIA(Float, float, textoDouble, leFloat)
FAMILIA(Double, double, textoDouble, leDouble)
SETTERS(Decimal, const char *, proprioTexto)
GETTER(AnyType, const char *, proprioTexto)
GETTER(Ptr, void *, YObStrToPtr)
SETTERS(Ptr, const void *, textoPtr)
SETTERS(Date, time_t, textoDate)
FAMILIA(DateTime, time_t, textoDateTime, leDateTime)
FAMILIA(DateY, uint32_t, textoDateY, leDateY)

YNo *YNo_setAnyType(YNo *no, const char * /*tipo*/, const char *caminho, const char *valor) {
    return YNo_setString(no, caminho, valor);
}

YNo *YNo_setAnyTypeVal(YNo *no, const char * /*tipo*/, const char *valor) {
    return YNo_setStringVal(no, valor);
}
