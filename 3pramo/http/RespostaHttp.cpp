#include <3pramo/http/RespostaHttp.hpp>

#include <3pramo/foundation/YSocket_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>
#include <3pramo/foundation/cria.hpp>

#include <charconv>

namespace pramo {

namespace {

constexpr const char *FONTE = "RespostaHttp";
constexpr int MAXIMO_DE_ANUNCIOS = 8;
constexpr std::size_t LINHA_DO_PEDACO = 256;

std::string_view campo(const YMensagemHttp &mensagem, const char *nome) {
    const char *valor = YDIC_recupera(mensagem.header, nome);
    return valor != nullptr ? valor : "";
}

/// "HTTP/1.", a digit, a blank and three digits; 0 for anything else.
int statusDaLinha(std::string_view linha) {
    constexpr std::string_view INICIO = "HTTP/1.";
    constexpr std::size_t LUGAR = INICIO.size() + 2;
    const std::string_view numero = linha.substr(std::min(LUGAR, linha.size()), 3);
    const bool certo = linha.starts_with(INICIO) && linha.size() >= LUGAR + 3 &&
                       ehAlgarismo(linha[INICIO.size()]) && linha[LUGAR - 1] == ' ' &&
                       std::all_of(numero.begin(), numero.end(), ehAlgarismo) &&
                       (linha.size() == LUGAR + 3 || linha[LUGAR + 3] == ' ');
    int status = 0;
    if (certo) {
        std::from_chars(numero.data(), numero.data() + numero.size(), status);
    }
    return status;
}

/// Reads the answer to one request from a socket.
class Leitor {
public:
    Leitor(YMensagemHttp &mensagem, Prazo &prazo, std::uint64_t limite)
        : mensagem_(mensagem), corpo_(*mensagem.body), socket_(*mensagem.socket), prazo_(prazo),
          limite_(limite) {}

    RespostaHttp le() {
        RespostaHttp resposta{FimDaResposta::COMPLETA, 0, false};
        for (int vez = 0; resposta.fim == FimDaResposta::COMPLETA && vez <= MAXIMO_DE_ANUNCIOS; vez++) {
            resposta = leCabecaDaResposta();
            if (resposta.status >= 200) {
                break;
            }
        }
        if (resposta.fim == FimDaResposta::COMPLETA) {
            resposta.fim = resposta.status >= 200 ? leCorpoDaResposta(resposta) : FimDaResposta::MAL_FORMADA;
        }
        resposta.mantida = resposta.mantida && resposta.fim == FimDaResposta::COMPLETA && !temAlgo(socket_);
        return resposta;
    }

private:
    /// What a wait that was in vain means.
    [[nodiscard]] FimDaResposta acabou() const {
        return prazo_.resta() == 0 ? FimDaResposta::PRAZO : FimDaResposta::CORTADA;
    }

    RespostaHttp leCabecaDaResposta() {
        switch (leCabeca(mensagem_, prazo_, LIMITE_DO_CABECALHO)) {
        case Cabeca::AUSENTE:
            return {acabou(), 0, false};
        case Cabeca::CORTADA:
            return {acabou(), statusDaLinha(conteudo(*mensagem_.primeiraLinha)), false};
        case Cabeca::COMPLETA:
            break;
        case Cabeca::GRANDE:
            return {FimDaResposta::GRANDE, 0, false};
        case Cabeca::MAL_FORMADA:
        case Cabeca::ULTIMA: // where its body ends is in doubt
            return {FimDaResposta::MAL_FORMADA, 0, false};
        }
        const std::string_view linha = conteudo(*mensagem_.primeiraLinha);
        const int status = statusDaLinha(linha);
        const std::string_view conexao = campo(mensagem_, "Connection");
        const bool mantida = !temNaLista(conexao, "close") &&
                             (linha.starts_with("HTTP/1.1") || temNaLista(conexao, "keep-alive"));
        return {status != 0 ? FimDaResposta::COMPLETA : FimDaResposta::MAL_FORMADA, status, mantida};
    }

    FimDaResposta leCorpoDaResposta(RespostaHttp &resposta) {
        const char *tamanho = YDIC_recupera(mensagem_.header, "Content-Length");
        const char *codificacao = YDIC_recupera(mensagem_.header, "Transfer-Encoding");
        if (resposta.status == 204 || resposta.status == 304) {
            return FimDaResposta::COMPLETA;
        }
        if (codificacao != nullptr) {
            // Beside a length each reader would choose one of the two.
            const bool pedacos = tamanho == nullptr && iguaisSemCaixa(codificacao, "chunked");
            return pedacos ? lePedacos() : FimDaResposta::MAL_FORMADA;
        }
        if (tamanho != nullptr) {
            return leBytes(tamanho, 10);
        }
        resposta.mantida = false;
        return leAteOFim();
    }

    /// As many bytes as the text says.
    FimDaResposta leBytes(std::string_view tamanho, int base) {
        std::uint64_t bytes = 0;
        const auto lido = std::from_chars(tamanho.data(), tamanho.data() + tamanho.size(), bytes, base);
        if (lido.ec == std::errc::invalid_argument || lido.ptr != tamanho.data() + tamanho.size()) {
            return FimDaResposta::MAL_FORMADA;
        }
        if (lido.ec != std::errc() || bytes > limite_ - corpo_.tam) {
            return FimDaResposta::GRANDE;
        }
        return recebeBloco(socket_, corpo_, bytes, prazo_) == Y_ESPERA_PRONTA ? FimDaResposta::COMPLETA
                                                                              : acabou();
    }

    FimDaResposta leAteOFim() {
        switch (recebeBloco(socket_, corpo_, limite_ - corpo_.tam, prazo_)) {
        case Y_ESPERA_PRONTA:
            return esperaAlgo(socket_, prazo_) ? FimDaResposta::GRANDE : acabouAqui();
        case Y_ESPERA_PRAZO:
            return FimDaResposta::PRAZO;
        default:
            return FimDaResposta::COMPLETA;
        }
    }

    /// The bound is reached: whole when the peer has closed.
    [[nodiscard]] FimDaResposta acabouAqui() const {
        return socket_.acabou ? FimDaResposta::COMPLETA : FimDaResposta::PRAZO;
    }

    FimDaResposta leLinha(std::size_t maximo) {
        std::size_t consumidos = 0;
        switch (recebeLinha(socket_, *linha_, prazo_, maximo, consumidos)) {
        case Linha::COMPLETA:
            return FimDaResposta::COMPLETA;
        case Linha::PRAZO:
            return FimDaResposta::PRAZO;
        case Linha::FECHADA:
            return FimDaResposta::CORTADA;
        case Linha::LONGA:
            break;
        }
        return FimDaResposta::MAL_FORMADA;
    }

    FimDaResposta lePedacos() {
        for (;;) {
            // A wait alone would not notice it: a peer whose lines are always there already makes nobody
            // wait.
            if (prazo_.resta() == 0) {
                return FimDaResposta::PRAZO;
            }
            FimDaResposta fim = leLinha(LINHA_DO_PEDACO);
            if (fim != FimDaResposta::COMPLETA) {
                return fim;
            }
            const std::string_view linha = conteudo(*linha_);
            const std::string_view tamanho = apara(linha.substr(0, linha.find(';')), ESPACOS);
            if (!tamanho.empty() && tamanho.find_first_not_of('0') == std::string_view::npos) {
                return leFimDosPedacos();
            }
            fim = leBytes(tamanho, 16);
            fim = fim == FimDaResposta::COMPLETA ? leLinha(2) : fim;
            if (fim != FimDaResposta::COMPLETA) {
                return fim;
            }
            if (!conteudo(*linha_).empty()) {
                return FimDaResposta::MAL_FORMADA;
            }
        }
    }

    /// Fields behind the last chunk say nothing that is asked for.
    FimDaResposta leFimDosPedacos() {
        for (std::size_t resta = LIMITE_DO_CABECALHO; resta > 0;) {
            const FimDaResposta fim = leLinha(resta);
            const std::size_t tomados = conteudo(*linha_).size() + 1;
            if (fim != FimDaResposta::COMPLETA || tomados == 1) {
                return fim;
            }
            resta -= std::min(resta, tomados);
        }
        return FimDaResposta::MAL_FORMADA;
    }

    YMensagemHttp &mensagem_;
    YStream &corpo_;
    YSocket &socket_;
    Prazo &prazo_;
    std::uint64_t limite_;
    Ponteiro<YStream> linha_ = cria<YStream>(YStream_rtti, FONTE);
};

} // namespace

RespostaHttp leResposta(YMensagemHttp &mensagem, Prazo &prazo, std::uint64_t limite) {
    return Leitor(mensagem, prazo, limite).le();
}

} // namespace pramo
