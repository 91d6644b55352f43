// Messages read from lines: strictly, so that what is wrong is said and never guessed.
#ifndef ISO8583_MENSAGENS_HPP
#define ISO8583_MENSAGENS_HPP

#include "texto.hpp"

#include <3pramo/3pramo.hpp>

namespace iso8583 {

using Mensagem = pramo::Ponteiro<YMensagemIso>;

/// "elemento 35 (Track 2 data)"
std::string nomeDoElemento(std::int32_t bit);

/// The highest bit that is present, 0 for none.
std::int32_t ultimoElemento(const YMensagemIso &mensagem);

/// The next message in wire form, a line each; null at the end of the input. Empty lines are skipped, a
/// carriage return at the end belongs to the line end.
Mensagem leDoFio(Linhas &entrada);

/// The next message as a numbered text file; null at the end of the input. Messages are separated by empty
/// lines. What would not come back from the wire form as it stands here is refused.
Mensagem leDoTexto(Linhas &entrada);

} // namespace iso8583

#endif
