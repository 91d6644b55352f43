// References between elements: values that stand in the Body beside the method's element, or elsewhere in it
// ("multiref").
#ifndef Y3PRAMO_SOAP_REFERENCIAS_HPP
#define Y3PRAMO_SOAP_REFERENCIAS_HPP

#include <3pramo/node/YSoapParser_interno.hpp>

namespace pramo::soap {

/// Makes every element without content in `elemento`, itself and what it gets included, whose attribute
/// href="#x" names another element in `corpo` by its attribute id read as that one: the element keeps its
/// name, loses the href, and gets copies of the other's attributes, value and children. Children of `corpo`
/// go before elements further down, then the first of the document; `elemento` itself is named by nobody. An
/// href that names nothing stays an attribute like any other.
///
/// `corpo` is `elemento` or its parent. Copies count against `sobra`, so a message cannot grow beyond the
/// bounds it was read with: YExcSoap "Mensagem SOAP mal formada.". A reference to an element from within it
/// raises YExcSoap "id: x. Referência circular entre elementos.". After a failure part of the element has
/// been resolved. Costs nothing for a message in which the parser met no reference.
void resolveReferencias(const YNo &corpo, YNo &elemento, const Sobra &sobra);

} // namespace pramo::soap

#endif
