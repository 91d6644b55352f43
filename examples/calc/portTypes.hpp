// What this program publishes: one port type as a table of functions, one as a class.
#pragma once

#include <3pramo/3pramo.hpp>

namespace calc {

/// Arithmetic, texts and maps; its objects keep the last sum. The WSDL text must live as long as the server
/// that is given the definition.
YDefinicaoPortType definicaoDoCalc(const char *wsdl);

/// A counter that a client constructs, works with over several calls, and destroys. Its WSDL is made of its
/// methods.
void registraContador(YSoapServer *servidor);

} // namespace calc
