// A button is a name and whether it is offered, which the entity keeps, and a title.
#include <3pramo/forms/Pramo_Botao.h>

#include <3pramo/forms/Pramo_Entidade_interno.hpp>
#include <3pramo/foundation/cria.hpp>

using namespace pramo;

namespace {

void destroi(void *objeto) {
    YliberaMemoria(static_cast<Pramo_Botao *>(objeto)->titulo);
}

} // namespace

const YRtti Pramo_Botao_definicaoRtti = {Pramo_Entidade_rtti, "Pramo_Botao", sizeof(Pramo_Botao), nullptr,
                                         destroi};

const YRtti *Pramo_Botao_rtti(void) {
    return &Pramo_Botao_definicaoRtti;
}

void Pramo_Botao_setTitulo(Pramo_Botao *botao, const char *titulo) {
    trocaTexto(botao->titulo, titulo);
}

const char *Pramo_Botao_getTitulo(const Pramo_Botao *botao) {
    return botao->titulo;
}

void Pramo_Botao_setOferecido(Pramo_Botao *botao, int32_t oferecido) {
    botao->marcas = oferecido != 0 ? botao->marcas & ~BOTAO_RETIDO : botao->marcas | BOTAO_RETIDO;
}

int32_t Pramo_Botao_getOferecido(const Pramo_Botao *botao) {
    return (botao->marcas & BOTAO_RETIDO) == 0 ? 1 : 0;
}
