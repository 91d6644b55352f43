// What this program publishes. The WSDL text must live as long as the server that is given the definition.
#pragma once

#include <3pramo/3pramo.hpp>

namespace calc {

/// Arithmetic, texts and maps; its objects keep the last sum.
YDefinicaoPortType definicaoDoCalc(const char *wsdl);

/// A counter that a client constructs, works with over several calls, and destroys.
YDefinicaoPortType definicaoDoContador(const char *wsdl);

} // namespace calc
