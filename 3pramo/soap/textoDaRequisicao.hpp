// The text of a request, or of an answer, made ready for the parser.
#ifndef Y3PRAMO_SOAP_TEXTODAREQUISICAO_HPP
#define Y3PRAMO_SOAP_TEXTODAREQUISICAO_HPP

#include <3pramo/foundation/YStream.h>

#include <cstddef>

namespace pramo::soap {

/// Skips a UTF-8 byte order mark and the XML declaration at the start of the stream. When the declaration
/// names UTF-8, what follows is converted to ISO-8859-1; bytes that are no valid UTF-8 stay as they are.
/// Without a declaration, or with one that names no encoding, the text is UTF-8 if `utf8SeNadaDiz`.
/// A character that ISO-8859-1 does not have raises; with `perdidos` it becomes a "?" and is counted there.
void preparaTexto(YStream &texto, bool utf8SeNadaDiz = false, std::size_t *perdidos = nullptr);

/// Raises YExcSoap "Caractere fora de ISO-8859-1."
[[noreturn]] void caractereDeFora();

} // namespace pramo::soap

#endif
