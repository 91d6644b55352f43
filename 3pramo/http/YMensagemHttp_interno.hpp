// What other sources use of a message beyond its public operations: reading in two steps, each under a bound
// and telling how it ended; the memory of bodies; and the texts of header fields.
#ifndef Y3PRAMO_HTTP_YMENSAGEMHTTP_INTERNO_HPP
#define Y3PRAMO_HTTP_YMENSAGEMHTTP_INTERNO_HPP

#include <3pramo/foundation/Prazo.hpp>
#include <3pramo/http/Reserva.hpp>
#include <3pramo/http/YMensagemHttp.h>

#include <cstddef>
#include <ctime>
#include <string_view>

namespace pramo {

constexpr std::uint64_t LIMITE_DO_CABECALHO = std::uint64_t{64} << 10;
constexpr std::uint64_t LIMITE_DO_CORPO = std::uint64_t{64} << 20;

enum class Cabeca {
    AUSENTE, // no first line arrived whole: the message is untouched
    COMPLETA,
    ULTIMA,  // complete, but where its body ends other readers might see differently: nothing may follow it
    CORTADA, // the deadline or the peer ended it after the first line
    MAL_FORMADA,
    GRANDE,
};

enum class Corpo { COMPLETO, CORTADO, GRANDE, SEM_LUGAR };

/// Reads first line and header block, `maximo` bytes together. Empties the message once the first line is
/// there. When `segundosDoResto` is not 0, `prazo` becomes so many seconds from then on.
Cabeca leCabeca(YMensagemHttp &mensagem, Prazo &prazo, std::uint64_t maximo,
                std::uint32_t segundosDoResto = 0);

/// Reads the body that the header announces, after answering "Expect: 100-continue". GRANDE reads and answers
/// nothing. SEM_LUGAR: the message's part of all bodies cannot grow as far.
Corpo leCorpo(YMensagemHttp &mensagem, const Prazo &prazo, std::uint64_t maximo);

/// Writes the message as YMensagemHttp_enviaPeloSocket does; the peer must take `porJanela` bytes every 30
/// seconds.
void envia(YMensagemHttp &mensagem, std::int64_t porJanela);

/// What the body takes of the memory for all bodies. Whoever lets it grow asks first.
Reserva &reservaDoCorpo(const YMensagemHttp &mensagem);

/// Makes room for a body of that many bytes, and for no more.
void dimensionaCorpo(YMensagemHttp &mensagem, std::size_t bytes);

/// First line, header and body as in a new message; memory is kept for what comes next, unless it is much.
void esvazia(YMensagemHttp &mensagem);

/// The body as in a new message; memory is kept as with esvazia.
void esvaziaCorpo(YMensagemHttp &mensagem);

constexpr std::size_t TAMANHO_DA_DATA_HTTP = 32;

/// "06 Nov 2026 08:49:37 GMT", cut to fit the buffer. A moment without a calendar date gives an empty text.
void formataDataHttp(char *buffer, std::size_t tamanho, std::time_t momento);

} // namespace pramo

#endif
