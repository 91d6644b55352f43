// The common part of variables, buttons and peripherals. Objects are zeroed memory, and zero is right for all
// that the entity has: no constructor.
#include <3pramo/forms/Pramo_Entidade_interno.hpp>

#include <3pramo/foundation/cria.hpp>

using namespace pramo;

namespace {

void destroi(void *objeto) {
    auto *entidade = static_cast<Pramo_Entidade *>(objeto);
    YliberaMemoria(entidade->nome);
    YliberaMemoria(entidade->modulo);
}

} // namespace

const YRtti Pramo_Entidade_definicaoRtti = {YOb_rtti, "Pramo_Entidade", sizeof(Pramo_Entidade), nullptr,
                                            destroi};

const YRtti *Pramo_Entidade_rtti(void) {
    return &Pramo_Entidade_definicaoRtti;
}

void Pramo_Entidade_setNome(Pramo_Entidade *entidade, const char *nome) {
    // A peripheral's name is no block to be freed, and all threads read it.
    if ((entidade->marcas & NOME_FIXO) == 0) {
        trocaTexto(entidade->nome, nome);
    }
}

const char *Pramo_Entidade_getNome(const Pramo_Entidade *entidade) {
    return entidade->nome;
}

void Pramo_Entidade_setModulo(Pramo_Entidade *entidade, const char *modulo) {
    trocaTexto(entidade->modulo, modulo);
}

const char *Pramo_Entidade_getModulo(const Pramo_Entidade *entidade) {
    return entidade->modulo;
}

void Pramo_Entidade_setNumeroDaLinha(Pramo_Entidade *entidade, int32_t numero) {
    entidade->numeroDaLinha = numero;
}

int32_t Pramo_Entidade_getNumeroDaLinha(const Pramo_Entidade *entidade) {
    return entidade->numeroDaLinha;
}
