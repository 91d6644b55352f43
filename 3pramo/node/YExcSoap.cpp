#include <3pramo/node/YExcSoap.h>

namespace {

const YRtti DEFINICAO = {YExc_rtti, "YExcSoap", 0, nullptr, nullptr};

} // namespace

const YRtti *YExcSoap_rtti(void) {
    return &DEFINICAO;
}
