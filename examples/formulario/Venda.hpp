// A sale as a form: first what is sold, then how it is paid, at the end the total.
#pragma once

#include <3pramo/3pramo.hpp>

#include <cstdint>

/// The fields of the form stand in the object itself; the library converts them to and from text. All zero at
/// first.
struct Venda : Pramo_Operacao {
    std::int64_t valor;            // of one unit, in cents
    std::int32_t quantidade;       // in thousandths of a unit
    std::uint8_t data[2];          // packed, as DATAC.h has it
    std::uint16_t hora;            // hours * 100 + minutes
    std::uint8_t identificacao[6]; // a number, least significant byte first
    char parcelas[2];              // texts fill their bytes, without a terminating zero
    char autorizacao[12];
    std::int64_t total; // in cents
    std::int64_t etapa; // see Venda.cpp
    Pramo_Botao *cancelamento;
    Pramo_Botao *consulta;
};

const YRtti *Venda_rtti();
