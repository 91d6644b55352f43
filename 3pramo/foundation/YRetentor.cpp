#include <3pramo/foundation/YRetentor.h>

namespace {

// For a class that left its slot as it was: logged, and nothing was given out.
int32_t requisita0Virtual(YRetentor *, void *, uint32_t, void *, uint32_t) {
    YchamouFuncaoVirtualPura();
    return 0;
}

} // namespace

const YRetentor_Rtti YRetentor_definicaoRtti = {{YOb_rtti, "YRetentor", sizeof(YRetentor), nullptr, nullptr},
                                                requisita0Virtual};

const YRtti *YRetentor_rtti(void) {
    return &YRetentor_definicaoRtti.rtti;
}

int32_t YRetentor_requisita0(YRetentor *retentor, void *grupoDeRecursos, uint32_t a, void *ponteiro,
                             uint32_t b) {
    const auto *classe = reinterpret_cast<const YRetentor_Rtti *>(retentor->rtti);
    return classe->requisita0(retentor, grupoDeRecursos, a, ponteiro, b);
}
