// The answer to an HTTP request, as a client reads it.
#ifndef Y3PRAMO_HTTP_RESPOSTAHTTP_HPP
#define Y3PRAMO_HTTP_RESPOSTAHTTP_HPP

#include <3pramo/http/YMensagemHttp_interno.hpp>

namespace pramo {

enum class FimDaResposta {
    COMPLETA,
    PRAZO,       // the deadline came first
    CORTADA,     // the connection ended first
    GRANDE,      // head or body are beyond their bounds
    MAL_FORMADA, // a head or a body that readers may take differently
};

struct RespostaHttp {
    FimDaResposta fim;
    int status;   // 0 while no status line has come
    bool mantida; // when it is whole: the connection may carry another request
};

/// Reads one answer into the message, which is bound to its connection: a head of 64 KiB at most and a body
/// of at most `limite` bytes, which ends where its Content-Length says, or with its last chunk, or, without
/// either, with the connection. Answers that only announce another one (1xx) are passed over. Memory grows
/// with the bytes that come.
RespostaHttp leResposta(YMensagemHttp &mensagem, Prazo &prazo, std::uint64_t limite);

} // namespace pramo

#endif
