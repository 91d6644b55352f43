#include <3pramo/soap/YExcFalhaRemota.h>

namespace {

const YRtti DEFINICAO = {YExcSoap_rtti, "YExcFalhaRemota", 0, nullptr, nullptr};

} // namespace

const YRtti *YExcFalhaRemota_rtti(void) {
    return &DEFINICAO;
}
