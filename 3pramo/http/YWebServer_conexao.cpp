// One connection: its batches of requests, and what is answered without a handler. A batch is two seconds in
// which requests are read and answered one after the other; the connection goes on while each batch answers
// one. Its thread holds no lock while it waits for its peer or runs a handler.
#include <3pramo/http/YWebServer_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YObLOG.h>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>
#include <3pramo/foundation/cria.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YWebServer";
constexpr int DURACAO_DO_LOTE = 2; // seconds
// Milliseconds that time() may run behind, so that the next batch lasts as long.
constexpr int FOLGA_DO_LOTE = 10;
// Bytes that a reader must take in 30 seconds: a kilobyte a second.
constexpr std::int64_t MENOR_RITMO = std::int64_t{30} << 10;
// A body from which on its memory is worth giving back to the system.
constexpr std::size_t MUITA_MEMORIA = std::size_t{1} << 20;

constexpr const char *LINHA_503 = "HTTP/1.1 503 Service Unavailable.\n";

struct EntradaDeMetodo {
    std::string_view nome;
    Metodo metodo;
};

constexpr std::array<EntradaDeMetodo, 4> METODOS = {
    {{"GET", Metodo::GET}, {"HEAD", Metodo::HEAD}, {"POST", Metodo::POST}, {"PUT", Metodo::PUT}}};

/// The next word of the text, which moves behind it; empty at the end.
std::string_view palavra(std::string_view &texto) {
    std::size_t inicio = 0;
    while (inicio < texto.size() && ehBranco(texto[inicio])) {
        inicio++;
    }
    std::size_t fim = inicio;
    while (fim < texto.size() && !ehBranco(texto[fim])) {
        fim++;
    }
    const std::string_view achada = texto.substr(inicio, fim - inicio);
    texto.remove_prefix(fim);
    return achada;
}

/// The decimal number at the place; -1 without one.
int numeroEm(std::string_view texto, std::size_t lugar) {
    int numero = -1;
    if (lugar < texto.size() && texto[lugar] != '-') {
        std::from_chars(texto.data() + lugar, texto.data() + texto.size(), numero);
    }
    return numero;
}

/// Two numbers at the places they have in HTTP/1.1; the characters in front of them may be any.
int versaoMenor(std::string_view protocolo) {
    if (!protocolo.starts_with("HTTP")) {
        lanca(YExc_rtti, "Protocolo errado. Esperava HTTP."_l1, FONTE);
    }
    const int menor = numeroEm(protocolo, 7);
    if (numeroEm(protocolo, 5) != 1 || menor < 0 || menor > 1) {
        lanca(YExc_rtti, "Versão do protocolo HTTP desconhecida."_l1, FONTE);
    }
    return menor;
}

Metodo metodoDe(std::string_view nome) {
    for (const EntradaDeMetodo &entrada : METODOS) {
        if (entrada.nome == nome) {
            return entrada.metodo;
        }
    }
    lanca(YExcNaoImplementado_rtti, "método HTTP não permitido."_l1, FONTE);
}

bool pedeFim(const YMensagemHttp &requisicao, const RequestLine &linha) {
    const char *campo = YDIC_recupera(requisicao.header, "Connection");
    const std::string_view conexao = campo != nullptr ? campo : "";
    return temNaLista(conexao, "close") || (linha.versaoMenor == 0 && !temNaLista(conexao, "keep-alive"));
}

/// Serves one connection. The two messages are used again by each request.
class Atendimento {
public:
    Atendimento(YWebServer &servidor, Conexao &conexao)
        : servidor_(servidor), conexao_(conexao), socket_(conexao.socket()) {
        YMensagemHttp_setSocket(requisicao_, &socket_);
        reservaDoCorpo(*requisicao_).contaEm(privado(servidor).corpos);
        reservaDoCorpo(*resposta_).contaEm(privado(servidor).corpos);
    }
    ~Atendimento() { pedePodaSeFoiMuito(); }
    Atendimento(const Atendimento &) = delete;
    Atendimento &operator=(const Atendimento &) = delete;

    void atende();

private:
    bool atendeLote();
    bool recebeRequisicao(const Prazo &lote);
    bool chegaAlgo(const Prazo &lote);
    bool recebeCorpo(const Prazo &prazo);
    void responde(const char *data);
    void preparaResposta(const char *data);
    void enviaResposta();
    void pedePodaSeFoiMuito() const;
    bool recusa(const char *linha);

    YWebServer &servidor_;
    Conexao &conexao_;
    YSocket &socket_;
    Ponteiro<YMensagemHttp> requisicao_ = cria<YMensagemHttp>(YMensagemHttp_rtti, FONTE);
    Ponteiro<YMensagemHttp> resposta_ = cria<YMensagemHttp>(YMensagemHttp_rtti, FONTE);
    bool segue_ = true; // false: nothing more is read as a request
};

void Atendimento::atende() {
    try {
        while (atendeLote()) {
        }
    } catch (const YExcecao &e) {
        // Of a handler's failures this one alone has an answer: no other tells the peer anything.
        if (!e.ehDaClasse(YExcNaoImplementado_rtti)) {
            throw;
        }
        YObLOG_masc_print(Y_LOG_WEB, "YWebServer_trataConexao(eu=%p): Not Implemented.",
                          endereco(&servidor_));
        recusa("HTTP/1.1 501 Not Implemented.\n");
    }
}

/// One batch; true when another may follow.
bool Atendimento::atendeLote() {
    YObLOG_masc_print(Y_LOG_WEB, "YWebServer_trataUmaRequisicao(eu=%p,socket=%p)...", endereco(&servidor_),
                      endereco(&socket_));
    const std::time_t agora = std::time(nullptr);
    const auto lote = Prazo::daqui(Prazo::milissegundosAte(agora + DURACAO_DO_LOTE) + FOLGA_DO_LOTE);
    std::array<char, TAMANHO_DA_DATA_HTTP> data{};
    formataDataHttp(data.data(), data.size(), agora);
    bool respondeu = false;
    // The end of the server is asked for before each reading: from then on no request is begun.
    while (segue_ && !privado(servidor_).aceite.acabando() && recebeRequisicao(lote)) {
        responde(data.data());
        respondeu = true;
    }
    YObLOG_masc_print(Y_LOG_WEB, "YWebServer_trataUmaRequisicao(eu=%p,socket=%p)=%d.", endereco(&servidor_),
                      endereco(&socket_), respondeu ? 1 : 0);
    return respondeu && segue_;
}

/// Waits for the first bytes of a request; meanwhile the connection may be told to leave.
bool Atendimento::chegaAlgo(const Prazo &lote) {
    // With a request already there it is not idle, and cannot be made to leave in between.
    if (!temAlgo(socket_)) {
        conexao_.ficaOciosa();
        if (!esperaAlgo(socket_, lote)) {
            return false;
        }
    }
    // Told to leave before that: the loop has given its place away, and what came is not read.
    return conexao_.ficaOcupada();
}

/// True when a request came that is to be answered; clears `segue_` when nothing may follow it.
bool Atendimento::recebeRequisicao(const Prazo &lote) {
    if (!chegaAlgo(lote)) {
        return false;
    }
    // What another request left on this thread is not for this one.
    esqueceExcecoes();
    YWebServer_Privado &p = privado(servidor_);
    Prazo prazo = lote;
    switch (leCabeca(*requisicao_, prazo, p.limiteDoCabecalho, p.prazoDaRequisicao)) {
    case Cabeca::AUSENTE:
        return false;
    // Half a request must not run anything.
    case Cabeca::CORTADA:
        segue_ = false;
        return false;
    case Cabeca::MAL_FORMADA:
        lanca(YExc_rtti, "Mensagem HTTP mal formada."_l1, FONTE);
    case Cabeca::GRANDE:
        return recusa("HTTP/1.1 431 Request Header Fields Too Large.\n");
    case Cabeca::ULTIMA:
        segue_ = false;
        break;
    case Cabeca::COMPLETA:
        break;
    }
    // Chunks, which we do not read, would be taken for requests.
    if (YDIC_recupera(requisicao_->header, "Transfer-Encoding") != nullptr) {
        return recusa("HTTP/1.1 411 Length Required.\n");
    }
    return recebeCorpo(prazo);
}

bool Atendimento::recebeCorpo(const Prazo &prazo) {
    switch (leCorpo(*requisicao_, prazo, privado(servidor_).limiteDoCorpo)) {
    case Corpo::COMPLETO:
        return true;
    case Corpo::CORTADO:
        segue_ = false;
        return false;
    case Corpo::GRANDE:
        return recusa("HTTP/1.1 413 Content Too Large.\n");
    case Corpo::SEM_LUGAR:
        break;
    }
    return recusa(LINHA_503);
}

void Atendimento::responde(const char *data) {
    RequestLine linha = analisaRequestLine(conteudo(*requisicao_->primeiraLinha));
    preparaResposta(data);
    if (linha.metodo == Metodo::PUT) {
        YStream_puts(resposta_->primeiraLinha, "501 Not Implemented");
    } else {
        // Asked for each request, and called without a lock: it may set another one for the next.
        const YTratadorHttp tratador = tratadorAtual(servidor_);
        tratador.funcao(tratador.contexto, linha.uri.data(), requisicao_, resposta_);
    }
    // A handler need not know of HEAD; its length is then that of no body.
    if (linha.metodo == Metodo::HEAD) {
        YStream_clear(resposta_->body);
    }
    if (privado(servidor_).fechaLogo && pedeFim(*requisicao_, linha)) {
        segue_ = false;
    }
    enviaResposta();
}

/// What waits for a slow reader is the answer alone, and that within the bound for all.
void Atendimento::enviaResposta() {
    pedePodaSeFoiMuito();
    esvaziaCorpo(*requisicao_);
    // A handler fills the body without asking: what that has taken is counted now, before the wait.
    if (!reservaDoCorpo(*resposta_).ajusta(resposta_->body->capacidade)) {
        esvaziaCorpo(*resposta_);
        recusa(LINHA_503);
        return;
    }
    envia(*resposta_, MENOR_RITMO);
    pedePodaSeFoiMuito();
    esvaziaCorpo(*resposta_);
}

void Atendimento::pedePodaSeFoiMuito() const {
    if (std::max(requisicao_->body->capacidade, resposta_->body->capacidade) >= MUITA_MEMORIA) {
        pedePoda(privado(servidor_));
    }
}

void Atendimento::preparaResposta(const char *data) {
    // A handler may have left the last answer in any state, bound to another socket too.
    esvazia(*resposta_);
    YMensagemHttp_setSocket(resposta_, &socket_);
    YDIC_guarda(resposta_->header, "Content-Type", "text/html; charset=ISO-8859-1");
    YDIC_guarda(resposta_->header, "Connection", "close");
    YDIC_guarda(resposta_->header, "Date", data);
    YStream_puts(resposta_->primeiraLinha, "HTTP/1.1 ");
}

/// Sends one line in place of an answer, the last of the connection; gives false.
bool Atendimento::recusa(const char *linha) {
    segue_ = false;
    YSocket_printf(&socket_, "%s", linha);
    return false;
}

} // namespace

RequestLine pramo::analisaRequestLine(std::string_view linha) {
    const std::string_view metodo = palavra(linha);
    const std::string_view uri = palavra(linha);
    const std::string_view protocolo = palavra(linha);
    if (protocolo.empty()) {
        lanca(YExc_rtti, "Request-Line mal formada."_l1, FONTE);
    }
    const int menor = versaoMenor(protocolo);
    return {metodoDe(metodo), std::string(uri), menor};
}

void pramo::atendeConexao(YObThread &servidor, Conexao &conexao) {
    Atendimento(static_cast<YWebServer &>(servidor), conexao).atende();
}
