// YNo_leDe stands beside the parser that it needs.
#include <3pramo/node/YNo_interno.hpp>
#include <3pramo/soap/YSoapParser.h>

#include <3pramo/foundation/YExc_interno.hpp>

using namespace pramo;

void YNo_leDe(YNo *no, YStream *stream) {
    const auto parser = cria<YSoapParser>(YSoapParser_rtti, "YNo");
    YNo *lido = nullptr;
    YSoapParser_leNo(parser.get(), &lido, stream);
    if (lido == nullptr) {
        lanca(YExcSoap_rtti, "Mensagem SOAP mal formada.", "YNo");
    }
    assume(*no, Dono<YNo>(lido));
}
