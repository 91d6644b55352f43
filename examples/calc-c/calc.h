/* What this program publishes. */
#pragma once

#include <3pramo/3pramo.h>

/* The WSDL text must live as long as the server that is given the definition. */
YDefinicaoPortType definicaoDoCalc(const char *wsdl);
