// The exceptions that protected regions of C code have handled.
#ifndef Y3PRAMO_FOUNDATION_YCONTEXTOTRY_INTERNO_HPP
#define Y3PRAMO_FOUNDATION_YCONTEXTOTRY_INTERNO_HPP

#include <exception>

namespace pramo {

/// The exception that a region of this thread handled last; when `aberta`, only if that region has not ended.
std::exception_ptr excecaoDaRegiao(bool aberta);

} // namespace pramo

#endif
