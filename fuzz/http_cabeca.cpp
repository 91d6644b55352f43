// Messages as the web server reads them: head, body and request line, from bytes cut into arrivals.
#include "../tests/apoio/arvore.hpp"

#include <3pramo/foundation/YSocket_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>
#include <3pramo/http/YWebServer_interno.hpp>

#include <cassert>
#include <sys/socket.h>

namespace {

constexpr std::size_t MAXIMO = 60'000; // what a socket pair surely holds

void confere(const YMensagemHttp &mensagem, std::size_t cabeca, std::size_t corpo) {
    std::size_t tamanho = static_cast<std::size_t>(YStream_tam(mensagem.primeiraLinha));
    assert(pramo::conteudo(*mensagem.primeiraLinha).find('\0') == std::string_view::npos);
    for (YDIC_IT i = YDIC_inicio(mensagem.header); i != YDIC_fim(mensagem.header); YDIC_IT_anda(&i)) {
        const std::string_view nome = YDIC_IT_getChave(i);
        const std::string_view valor = YDIC_IT_getValor(i);
        assert(nome.find_first_of(":\n\r\t ") == std::string_view::npos);
        assert(valor == pramo::apara(valor, pramo::ESPACOS) && valor.find('\n') == std::string_view::npos);
        tamanho += nome.size() + valor.size() + 2;
    }
    assert(tamanho <= cabeca && static_cast<std::size_t>(YStream_tam(mensagem.body)) <= corpo);
}

/// False when nothing more is to be read.
bool leUma(YMensagemHttp &mensagem, std::size_t cabeca, std::size_t corpo) {
    pramo::Prazo prazo = pramo::Prazo::daqui(0);
    const pramo::Cabeca lida = pramo::leCabeca(mensagem, prazo, cabeca);
    if (lida != pramo::Cabeca::COMPLETA && lida != pramo::Cabeca::ULTIMA) {
        return false;
    }
    const pramo::Corpo corpoLido = pramo::leCorpo(mensagem, prazo, corpo);
    confere(mensagem, cabeca, corpo);
    apoio::excecao([&] { // another line than a request's: the reading itself goes on
        const pramo::RequestLine linha = pramo::analisaRequestLine(pramo::conteudo(*mensagem.primeiraLinha));
        assert(!linha.uri.empty() && linha.versaoMenor <= 1);
    });
    return corpoLido == pramo::Corpo::COMPLETO;
}

} // namespace

// The first two bytes choose the bounds. The others have arrived, and the peer has ended its side.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t tamanho) {
    if (tamanho < 2 || tamanho > MAXIMO) {
        return 0;
    }
    const auto socket = pramo::cria<YSocket>(YSocket_rtti, "fuzz");
    const auto outro = pramo::cria<YSocket>(YSocket_rtti, "fuzz");
    int par[2];
    socketpair(AF_UNIX, SOCK_STREAM, 0, par);
    socket->fd = par[0];
    outro->fd = par[1];
    send(par[1], bytes + 2, tamanho - 2, MSG_DONTWAIT);
    shutdown(par[1], SHUT_WR);
    const auto mensagem = pramo::cria<YMensagemHttp>(YMensagemHttp_rtti, "fuzz");
    YMensagemHttp_setSocket(mensagem, socket);
    apoio::excecao([&] { // refused, or its interim answers filled the socket
        while (leUma(*mensagem, 8 * (std::size_t{bytes[0]} + 1), 8 * std::size_t{bytes[1]})) {
        }
    });
    return 0;
}
