#include <3pramo/foundation/YVetor_interno.hpp>

#include <3pramo/foundation/YMemoria.h>
#include <3pramo/foundation/liberaTodos.hpp>

#include <algorithm>

using namespace pramo;

namespace {

void cresce(YVetor &vetor) {
    // The fields change only when the memory was to be had.
    const std::size_t nova = std::max<std::size_t>(4, vetor.capacidade * 2);
    vetor.dados =
        static_cast<void **>(YrealocaMemoria_debug(vetor.dados, nova * sizeof(void *), "YVetor", __LINE__));
    vetor.capacidade = nova;
}

void destroi(void *objeto) {
    YliberaMemoria(static_cast<YVetor *>(objeto)->dados);
}

void destroiElementos(void *objeto) {
    auto &vetor = *static_cast<YVetor *>(objeto);
    liberaTodos([&] { return vetor.tam == 0; }, [&] { return tiraUltimo(vetor); });
}

} // namespace

const YRtti YVetor_definicaoRtti = {YOb_rtti, "YVetor", sizeof(YVetor), nullptr, destroi};
const YRtti YVetorQueDestroi_definicaoRtti = {YVetor_rtti, "YVetorQueDestroi", 0, nullptr, destroiElementos};

const YRtti *YVetor_rtti(void) {
    return &YVetor_definicaoRtti;
}

const YRtti *YVetorQueDestroi_rtti(void) {
    return &YVetorQueDestroi_definicaoRtti;
}

void YVetor_poe(YVetor *vetor, void *elemento) {
    if (vetor->tam == vetor->capacidade) {
        cresce(*vetor);
    }
    vetor->dados[vetor->tam++] = elemento;
}

int YVetor_remove(YVetor *vetor, const void *elemento) {
    void **fim = YVetor_fim(vetor);
    void **achado = std::find(vetor->dados, fim, elemento);
    if (achado == fim) {
        return 0;
    }
    // The order of the others is kept, so this takes time in their number.
    std::copy(achado + 1, fim, achado);
    vetor->tam--;
    return 1;
}

uint64_t YVetor_tam(const YVetor *vetor) {
    return vetor->tam;
}

YVetorIt YVetor_inicio(const YVetor *vetor) {
    return vetor->dados;
}

YVetorIt YVetor_fim(const YVetor *vetor) {
    return vetor->dados + vetor->tam;
}

void YVetorIt_anda(YVetorIt *iterador) {
    ++*iterador;
}
