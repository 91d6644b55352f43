// Reading a message in two steps, each under a bound and telling how it ended.
#ifndef Y3PRAMO_HTTP_YMENSAGEMHTTP_INTERNO_HPP
#define Y3PRAMO_HTTP_YMENSAGEMHTTP_INTERNO_HPP

#include <3pramo/http/YMensagemHttp.h>

#include <string_view>

namespace pramo {

constexpr std::uint64_t LIMITE_DO_CABECALHO = std::uint64_t{64} << 10;
constexpr std::uint64_t LIMITE_DO_CORPO = std::uint64_t{64} << 20;

enum class Cabeca {
    AUSENTE, // no first line arrived whole: the message is untouched
    COMPLETA,
    COM_SOBRA, // the header block ended at a line that is neither a field nor empty
    CORTADA,   // the deadline or the peer ended it after the first line
    MAL_FORMADA,
    GRANDE,
};

enum class Corpo { COMPLETO, CORTADO, GRANDE };

/// Reads first line and header block, `maximo` bytes together. Empties the message once the first line is
/// there.
Cabeca leCabeca(YMensagemHttp &mensagem, std::int64_t prazo, std::uint64_t maximo);

/// Reads the body that the header announces, after answering "Expect: 100-continue". GRANDE reads and answers
/// nothing.
Corpo leCorpo(YMensagemHttp &mensagem, std::int64_t prazo, std::uint64_t maximo);

/// First line, header and body as in a new message; memory is kept for what comes next, unless it is much.
void esvazia(YMensagemHttp &mensagem);

/// Equal but for the case of ASCII letters.
bool iguaisSemCaixa(std::string_view a, std::string_view b);

/// Without the blanks and tabs around it.
std::string_view semBrancos(std::string_view texto);

} // namespace pramo

#endif
