// The one rule by which card data and secrets are made unreadable before they reach a log or a screen.
#ifndef Y3PRAMO_FOUNDATION_MASCARA_HPP
#define Y3PRAMO_FOUNDATION_MASCARA_HPP

#include <string>
#include <string_view>

namespace pramo {

/// A text that may hold anything, with every run that may be a card number, track, PIN block or identity
/// masked: runs of twelve or more hexadecimal digits, among them at least one decimal digit, where single
/// blanks, hyphens and the track separators = and ^ between digits do not end a run. A run of 13 to 19
/// decimal digits keeps its first six and last four; of all others nothing remains but their length, as
/// [37*].
std::string mascaraDadosDeCartao(std::string_view texto);

/// A text that should hold no card data, where references and amounts of up to twelve digits are to be read:
/// of every run of 13 or more decimal digits, which single blanks and hyphens do not end, all but the first
/// six and the last four become *.
std::string mascaraNumeros(std::string_view texto);

/// A text that should be a card number and nothing else: when it is 13 to 19 decimal digits, all but the
/// first six and the last four become *, else every character does.
std::string mascaraCartao(std::string_view texto);

/// The first rule in the text's own place, and length: all digits of a run but the first six and the last
/// four of what looks like a card number become *. Takes no memory.
void mascaraNoLugar(char *texto, std::size_t tamanho) noexcept;

} // namespace pramo

#endif
