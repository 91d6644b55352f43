// The moments of a message, which are written without their year.
#include <3pramo/iso/YMensagemIso_interno.hpp>
#include <3pramo/iso/YMensagemIso_valores.h>

#include <3pramo/foundation/YConversoes.h>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>

using namespace pramo;
using namespace pramo::iso;

namespace {

constexpr std::size_t MMDD = 4;
constexpr std::size_t HHMMSS = 6;

/// As written, month and day from 1.
struct SemAno {
    int mes, dia, hora, minuto, segundo;
};

/// Two digits.
int parte(std::string_view digitos, std::size_t onde) {
    return (digitos[onde] - '0') * 10 + (digitos[onde + 1] - '0');
}

bool saoAlgarismos(std::string_view texto, std::size_t quantos) {
    return texto.size() == quantos && std::ranges::all_of(texto, ehAlgarismo);
}

SemAno partes(std::string_view data, std::string_view hora) {
    return {parte(data, 0), parte(data, 2), parte(hora, 0), parte(hora, 2), parte(hora, 4)};
}

bool existe(int ano, const SemAno &p) {
    const std::chrono::year_month_day data(std::chrono::year(ano),
                                           std::chrono::month(static_cast<unsigned>(p.mes)),
                                           std::chrono::day(static_cast<unsigned>(p.dia)));
    return data.ok() && p.hora <= 23 && p.minuto <= 59 && p.segundo <= 59;
}

struct tm registroDe(int ano, const SemAno &p) {
    struct tm r = {};
    r.tm_year = ano - 1900;
    r.tm_mon = p.mes - 1;
    r.tm_mday = p.dia;
    r.tm_hour = p.hora;
    r.tm_min = p.minuto;
    r.tm_sec = p.segundo;
    return r;
}

/// Of the moments that it is told, the one nearest to the reference; of two the first.
struct MaisProximo {
    time_t referencia;
    bool achado = false;
    time_t momento = 0;
    bool pulado = false; // by the zone's clock

    void olha(time_t candidato, bool foiPulado = false) {
        if (!achado || std::abs(candidato - referencia) < std::abs(momento - referencia)) {
            achado = true;
            momento = candidato;
            pulado = foiPulado;
        }
    }
};

void olhaGmt(int ano, const SemAno &p, MaisProximo &proximo) {
    struct tm registro = registroDe(ano, p);
    proximo.olha(timegm(&registro));
}

// A time that the clock shows twice is one moment in summer and one in winter time. Where mktime had to move
// the clock both ways the zone skips it; it still counts for the year, so that it is not taken for one a year
// off.
void olhaLocal(int ano, const SemAno &p, MaisProximo &proximo) {
    time_t candidatos[] = {0, 0};
    for (int verao = 0; verao <= 1; verao++) {
        struct tm registro = registroDe(ano, p);
        registro.tm_isdst = verao;
        candidatos[verao] = mktime(&registro);
    }
    std::ranges::sort(candidatos);
    bool pulado = true;
    for (const time_t momento : candidatos) {
        struct tm r = {};
        if (localtime_r(&momento, &r) != nullptr && r.tm_year == ano - 1900 && r.tm_mon == p.mes - 1 &&
            r.tm_mday == p.dia && r.tm_hour == p.hora && r.tm_min == p.minuto && r.tm_sec == p.segundo) {
            proximo.olha(momento);
            pulado = false;
        }
    }
    if (pulado) {
        proximo.olha(candidatos[0], true);
    }
}

template <typename OLHA>
YSituacao leProximo(const SemAno &p, time_t referencia, time_t *momento, OLHA olha) {
    struct tm agora = {};
    if (gmtime_r(&referencia, &agora) == nullptr || agora.tm_year < 1 - 1900 || agora.tm_year > 9999 - 1900) {
        return Y_LEITURA_FORA_DA_FAIXA;
    }
    MaisProximo proximo{referencia};
    // Two leap days are up to eight years apart.
    const int alcance = p.mes == 2 && p.dia == 29 ? 8 : 1;
    const int ano = agora.tm_year + 1900;
    for (int candidato = ano - alcance; candidato <= ano + alcance; candidato++) {
        if (existe(candidato, p)) {
            olha(candidato, p, proximo);
        }
    }
    if (!proximo.achado || proximo.pulado) {
        return Y_LEITURA_FORA_DA_FAIXA;
    }
    *momento = proximo.momento;
    return Y_LEITURA_OK;
}

} // namespace

void YMensagemIso_setMomento(YMensagemIso *mensagem, int32_t bit, time_t momento) {
    exigeBit(bit);
    if (bit != 7 && bit != 12 && bit != 13) {
        YContextoTry_printf("Elemento %d. ", bit);
        lanca(YExc_rtti, "O elemento não é um momento."_l1, FONTE);
    }
    struct tm registro = {};
    (bit == 7 ? BIOSRTC_gmtime : BIOSRTC_localtime)(&momento, &registro);
    // No locale changes what these give.
    const char *forma = bit == 7 ? "%m%d%H%M%S" : bit == 12 ? "%H%M%S" : "%m%d";
    char texto[MMDD + HHMMSS + 1];
    YMensagemIso_setBitTam(mensagem, bit, texto, std::strftime(texto, sizeof texto, forma, &registro));
}

YSituacao YMensagemIso_leTransmissao(const YMensagemIso *mensagem, time_t referencia, time_t *momento) {
    const std::string_view texto = elemento(*mensagem, 7);
    if (texto.data() == nullptr) {
        return Y_LEITURA_AUSENTE;
    }
    if (!saoAlgarismos(texto, MMDD + HHMMSS)) {
        return Y_LEITURA_MAL_FORMADA;
    }
    return leProximo(partes(texto, texto.substr(MMDD)), referencia, momento, olhaGmt);
}

YSituacao YMensagemIso_leMomentoLocal(const YMensagemIso *mensagem, time_t referencia, time_t *momento) {
    const std::string_view hora = elemento(*mensagem, 12);
    const std::string_view data = elemento(*mensagem, 13);
    if (hora.data() == nullptr || data.data() == nullptr) {
        return Y_LEITURA_AUSENTE;
    }
    if (!saoAlgarismos(hora, HHMMSS) || !saoAlgarismos(data, MMDD)) {
        return Y_LEITURA_MAL_FORMADA;
    }
    return leProximo(partes(data, hora), referencia, momento, olhaLocal);
}
