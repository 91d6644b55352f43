// The six peripherals. All threads share them without a lock: only the application's number changes here, and
// that is read and written as an atomic.
#include <3pramo/forms/Pramo_Periferico.h>

#include <3pramo/forms/Pramo_Entidade_interno.hpp>

#include <array>
#include <atomic>
#include <string_view>

namespace {

enum Qual : std::size_t { TECLADO, CMC7, MAGNETICO, OPTICO, PIN, TOUCH, QUANTOS };

// The entity's name is a char * that others could write through, so these are arrays and no literals.
constinit char nomes[QUANTOS][10] = {"TECLADO", "CMC7", "MAGNETICO", "OPTICO", "PIN", "TOUCH"};

// Made at compile time: there is no first use that threads could meet in.
constinit std::array<Pramo_Periferico, QUANTOS> perifericos = [] {
    std::array<Pramo_Periferico, QUANTOS> todos{};
    for (std::size_t i = 0; i < QUANTOS; i++) {
        todos[i].rtti = &Pramo_Periferico_definicaoRtti;
        todos[i].nome = nomes[i];
        todos[i].marcas = pramo::NOME_FIXO;
        todos[i].codigo = 1 << i;
    }
    return todos;
}();

// An atomic_ref takes no pointer to const; the object itself never is.
std::atomic_ref<int32_t> finalizadoraDe(const Pramo_Periferico *periferico) {
    return std::atomic_ref(const_cast<Pramo_Periferico *>(periferico)->finalizadora);
}

} // namespace

const YRtti Pramo_Periferico_definicaoRtti = {Pramo_Entidade_rtti, "Pramo_Periferico",
                                              sizeof(Pramo_Periferico), nullptr, nullptr};

const YRtti *Pramo_Periferico_rtti(void) {
    return &Pramo_Periferico_definicaoRtti;
}

Pramo_Periferico *Pramo_Periferico_getTECLADO(void) {
    return &perifericos[TECLADO];
}

Pramo_Periferico *Pramo_Periferico_getCMC7(void) {
    return &perifericos[CMC7];
}

Pramo_Periferico *Pramo_Periferico_getMAGNETICO(void) {
    return &perifericos[MAGNETICO];
}

Pramo_Periferico *Pramo_Periferico_getOPTICO(void) {
    return &perifericos[OPTICO];
}

Pramo_Periferico *Pramo_Periferico_getPIN(void) {
    return &perifericos[PIN];
}

Pramo_Periferico *Pramo_Periferico_getTOUCH(void) {
    return &perifericos[TOUCH];
}

Pramo_Periferico *Pramo_Periferico_getPeriferico(const char *nome) {
    // A peer may send any text here; null is searched as "", which names none.
    const std::string_view procurado = nome != nullptr ? nome : "";
    for (Pramo_Periferico &periferico : perifericos) {
        if (procurado == periferico.nome) {
            return &periferico;
        }
    }
    return nullptr;
}

int32_t Pramo_Periferico_getCodigo(const Pramo_Periferico *periferico) {
    return periferico->codigo;
}

void Pramo_Periferico_setFinalizadora(Pramo_Periferico *periferico, int32_t finalizadora) {
    finalizadoraDe(periferico).store(finalizadora);
}

int32_t Pramo_Periferico_getFinalizadora(const Pramo_Periferico *periferico) {
    return finalizadoraDe(periferico).load();
}
