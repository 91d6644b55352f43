// How long identities are kept.
#ifndef Y3PRAMO_FOUNDATION_YIDENTIDADE_INTERNO_HPP
#define Y3PRAMO_FOUNDATION_YIDENTIDADE_INTERNO_HPP

#include <3pramo/foundation/YIdentidade.h>

namespace pramo {

/// From now until `esqueceIdentidade` the pointer's identity, once issued, is kept however many others are
/// issued.
void conservaIdentidade(const void *ponteiro);

/// The pointer's identity dies: its text names nothing any more, and the same address would get another one.
void esqueceIdentidade(const void *ponteiro) noexcept;

} // namespace pramo

#endif
