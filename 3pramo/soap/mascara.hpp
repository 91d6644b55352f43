// What may be card data or a secret is made unreadable before it goes to a log.
#ifndef Y3PRAMO_SOAP_MASCARA_HPP
#define Y3PRAMO_SOAP_MASCARA_HPP

#include <string>
#include <string_view>

namespace pramo::soap {

/// The text with every run that may be a card number, track, PIN block or identity masked: runs of twelve or
/// more hexadecimal digits, among them at least one decimal digit, where single blanks, hyphens and the track
/// separators = and ^ between digits do not end a run. A run of 13 to 19 decimal digits keeps its first six
/// and last four; of all others nothing remains but their length.
std::string mascaraDadosDeCartao(std::string_view texto);

/// A SOAP body as it may be logged. Nothing says before it is parsed which field of a form is a password or
/// came from a card, so of a body that names an element `campo`, escaped inside another one's text too, only
/// the tags remain. What remains is masked as above.
std::string mascaraCorpo(std::string_view corpo);

} // namespace pramo::soap

#endif
