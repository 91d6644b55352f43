// What a parser tells the dispatch of a call about its last read.
#ifndef Y3PRAMO_NODE_YSOAPPARSER_INTERNO_HPP
#define Y3PRAMO_NODE_YSOAPPARSER_INTERNO_HPP

#include <3pramo/node/YSoapParser.h>

#include <cstdint>

namespace pramo {

/// What the parser's bounds leave for whatever is still to be built of the message, and whether it met an
/// attribute href, which may refer to another element. Levels are counted from the root, so they are never
/// used up.
struct Sobra {
    std::uint64_t niveis;
    std::uint64_t nos;
    std::uint64_t bytes;
    bool temHref;
};
Sobra sobraDaLeitura(const YSoapParser &parser);

} // namespace pramo

#endif
