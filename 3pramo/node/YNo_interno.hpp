// What the sources of YNo share. Whoever builds or walks trees (the parser, the resolution of references)
// uses the first part.
#ifndef Y3PRAMO_NODE_YNO_INTERNO_HPP
#define Y3PRAMO_NODE_YNO_INTERNO_HPP

#include <3pramo/foundation/YVetor_interno.hpp>
#include <3pramo/foundation/cria.hpp>
#include <3pramo/node/YNo.h>

#include <string_view>

namespace pramo {

/// A node with this name and content; text whose data() is null is none. Node and texts are one block.
Ponteiro<YNo> criaNo(std::string_view nome, std::string_view valor = {});

/// Appends a node that has no parent and does not lie above `no`; gives its address.
YNo *pendura(YNo &no, Ponteiro<YNo> filho);

/// The children, in order; none for a node without a list. Each is a YNo.
inline std::span<void *> filhosDe(const YNo &no) {
    return no.filhos != nullptr ? elementos(*no.filhos) : std::span<void *>();
}

/// The text, or none (null data()) for a null pointer.
inline std::string_view textoOuNada(const char *texto) {
    return texto != nullptr ? std::string_view(texto) : std::string_view();
}

/// What follows the first ":" of the name, or the whole name.
inline std::string_view semPrefixo(std::string_view nome) {
    return nome.substr(nome.find(':') + 1);
}

// ---- Among the sources of YNo ----

/// Every change of a node's `pai` goes through it: a parent that YNo_setPai gave the node keeps a note of it.
/// Lists of children are the caller's to change.
void mudaPai(YNo &no, YNo *pai);

/// YNo_criaDescendente that gives the last node this content; a null path gives it to the node itself.
YNo *criaDescendente(YNo &no, const char *caminho, const char *valor);

/// Makes `destino` be what `origem` is, but for its place under its parent.
void assume(YNo &destino, Ponteiro<YNo> origem);

/// Raises what YNo_getFilhoUnico raises.
[[noreturn]] void faltouTag(const char *caminho);

} // namespace pramo

#endif
