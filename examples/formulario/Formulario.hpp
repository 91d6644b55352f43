#pragma once

#include <3pramo/3pramo.hpp>

/// The port type Formulario: "constroi" begins a sale, "preenche" with its "eu" takes answers and gives the
/// next form, "destroi" ends it. The WSDL text must live as long as the server that is given the definition.
YDefinicaoPortType definicaoDoFormulario(const char *wsdl);
