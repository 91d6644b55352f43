// How long identities are kept, and how one becomes a pinned object: for the room of the service objects.
#ifndef Y3PRAMO_FOUNDATION_YIDENTIDADE_INTERNO_HPP
#define Y3PRAMO_FOUNDATION_YIDENTIDADE_INTERNO_HPP

#include <3pramo/foundation/YIdentidade.h>

namespace pramo {

/// From now until `esqueceIdentidade` the pointer's identity, once issued, is kept however many others are
/// issued, and leads to `registro`.
void conservaIdentidade(const void *ponteiro, void *registro);

/// The record that the text's identity leads to, when `aceita` takes it; else null. `aceita` runs under the
/// lock that `esqueceIdentidade` takes too, so a record it counts a user of cannot go meanwhile; it must do
/// no more.
void *pinaIdentidade(const char *texto, bool (*aceita)(void *registro));

/// The pointer's identity dies: its text names nothing any more, and the same address would get another one.
void esqueceIdentidade(const void *ponteiro) noexcept;

} // namespace pramo

#endif
