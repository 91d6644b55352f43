// The message: its parts, reading it from a connection in two steps (head, then body), and writing it. A peer
// is taken for hostile: what it announces is bounded before memory is taken for it, and what two readers
// could frame differently is refused or is the last of its connection.
#include <3pramo/http/YMensagemHttp_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YSocket_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>
#include <3pramo/foundation/cria.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YMensagemHttp";
constexpr std::size_t MEMORIA_GUARDADA = Reserva::PEQUENO;
constexpr std::string_view CONTINUE = "HTTP/1.1 100 Continue\n\n";

struct Privado {
    // The line being read, or the head being sent: never both at once.
    Ponteiro<YStream> rascunho = cria<YStream>(YStream_rtti, FONTE);
    Reserva reserva;
};

Privado &privado(const YMensagemHttp &mensagem) {
    return *static_cast<Privado *>(mensagem.privado);
}

void constroiMensagem(void *objeto) {
    // All that may fail comes first: no destructor runs for an object whose constructor raised.
    auto primeiraLinha = cria<YStream>(YStream_rtti, FONTE);
    Ponteiro<YDIC> header(YDIC_constroi());
    YDIC_muda_opcoes(header, YDIC_SEM_CAIXA);
    auto body = cria<YStream>(YStream_rtti, FONTE);
    auto parte = semFaltaDeMemoria(FONTE, [] { return std::make_unique<Privado>(); });
    auto *mensagem = static_cast<YMensagemHttp *>(objeto);
    mensagem->primeiraLinha = primeiraLinha.release();
    mensagem->header = header.release();
    mensagem->body = body.release();
    mensagem->privado = parte.release();
}

void destroiMensagem(void *objeto) {
    auto *mensagem = static_cast<YMensagemHttp *>(objeto);
    YliberaObjeto(mensagem->primeiraLinha);
    YDIC_destroi(mensagem->header);
    YliberaObjeto(mensagem->body);
    delete static_cast<Privado *>(mensagem->privado);
}

const YRtti definicaoRtti = {YOb_rtti, "YMensagemHttp", sizeof(YMensagemHttp), constroiMensagem,
                             destroiMensagem};

// ---- What two readers might take differently ----

bool ehControle(char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
}

/// A zero byte ends a line for some, a CR for others.
bool temQuebra(std::string_view linha) {
    return linha.find('\0') != std::string_view::npos || linha.find('\r') != std::string_view::npos;
}

/// A line that goes on with the one before it for some, or a name that some take with its blanks.
bool ehCampoDuvidoso(std::string_view linha) {
    const std::string_view nome = linha.substr(0, linha.find(':'));
    const bool dobrada = linha.starts_with(' ') || linha.starts_with('\t');
    const auto estranho = [](char c) { return c == ' ' || ehControle(c); };
    return dobrada || (nome.size() < linha.size() && std::any_of(nome.begin(), nome.end(), estranho));
}

struct Anuncio {
    std::int64_t bytes = 0; // the largest number for what does not fit
    bool exato = true;      // digits alone: nobody reads another number
    bool malFormado = false;
};

/// A "Content-Length", without blanks around it. One that only begins with a number is that number, and one
/// without a number is 0; but a list, a sign, another base or blanks within are read as other numbers
/// elsewhere.
Anuncio interpretaTamanho(std::string_view texto) {
    Anuncio anuncio;
    anuncio.exato = texto.find_first_not_of("0123456789") == std::string_view::npos && !texto.empty();
    if (texto.starts_with('+')) {
        texto.remove_prefix(1);
    }
    const auto estranho = [](char c) { return c == ',' || c == ' ' || ehControle(c); };
    anuncio.malFormado = std::any_of(texto.begin(), texto.end(), estranho) || texto.starts_with('-') ||
                         texto.starts_with("0x") || texto.starts_with("0X");
    const auto lido = std::from_chars(texto.data(), texto.data() + texto.size(), anuncio.bytes);
    // Beyond every bound, so that it is refused as too large and not taken for none.
    if (lido.ec == std::errc::result_out_of_range) {
        anuncio.bytes = std::numeric_limits<std::int64_t>::max();
    }
    return anuncio;
}

/// One line of the header block that has a colon; false when it is malformed.
bool guardaCampo(YMensagemHttp &mensagem, YStream &linha, bool &exata) {
    const std::string_view texto = conteudo(linha);
    const std::size_t doisPontos = texto.find(':');
    if (iguaisSemCaixa(texto.substr(0, doisPontos), "Content-Length")) {
        const std::string_view valor = apara(texto.substr(doisPontos + 1), ESPACOS);
        const char *anterior = YDIC_recupera(mensagem.header, "Content-Length");
        const Anuncio anuncio = interpretaTamanho(valor);
        // Two that differ would let a proxy in front of us take the one and we the other.
        if (anuncio.malFormado || (anterior != nullptr && anterior != valor)) {
            return false;
        }
        exata = exata && anuncio.exato;
    }
    YDIC_trata_linha(mensagem.header, YStream_str(&linha), ':');
    return true;
}

/// `resta` is what the head may still take, line ends included: no number of short lines gets past the bound.
Cabeca leCampos(YMensagemHttp &mensagem, const Prazo &prazo, std::size_t resta) {
    YStream &linha = *privado(mensagem).rascunho;
    for (bool exata = true;;) {
        std::size_t consumidos = 0;
        const Linha chegou = recebeLinha(*mensagem.socket, linha, prazo, resta, consumidos);
        if (chegou != Linha::COMPLETA) {
            return chegou == Linha::LONGA ? Cabeca::GRANDE : Cabeca::CORTADA;
        }
        resta -= consumidos;
        const std::string_view texto = conteudo(linha);
        if (temQuebra(texto) || ehCampoDuvidoso(texto)) {
            return Cabeca::MAL_FORMADA;
        }
        // Any line without a colon ends the block. When it is not the empty one, or the length is not digits
        // alone, others may see the body elsewhere: this message is answered, and nothing after it read.
        if (texto.find(':') == std::string_view::npos) {
            return texto.empty() && exata ? Cabeca::COMPLETA : Cabeca::ULTIMA;
        }
        if (!guardaCampo(mensagem, linha, exata)) {
            return Cabeca::MAL_FORMADA;
        }
    }
}

void esvaziaStream(YStream &stream) {
    YStream_clear(&stream);
    // What is kept saves the next request its allocations; a large one would lie in every idle connection.
    if (stream.capacidade > MEMORIA_GUARDADA) {
        devolveMemoria(stream);
    }
}

/// The body in as many steps as it doubles: what is announced is not taken on trust.
Corpo recebeCorpo(YMensagemHttp &mensagem, const Prazo &prazo, std::size_t tamanho) {
    YStream &body = *mensagem.body;
    while (body.tam < tamanho) {
        const std::size_t ate = std::min(tamanho, std::max<std::size_t>(2 * body.tam, Reserva::PEQUENO));
        // Counted before it is taken: a flood of bodies is refused while there is memory.
        if (!privado(mensagem).reserva.ajusta(ate)) {
            return Corpo::SEM_LUGAR;
        }
        dimensionaCorpo(mensagem, ate);
        if (recebeBloco(*mensagem.socket, body, ate - body.tam, prazo) != Y_ESPERA_PRONTA) {
            return Corpo::CORTADO;
        }
    }
    return Corpo::COMPLETO;
}

/// Appends a text that must stay within its line: a break would let it add fields of its own.
void escreveNaLinha(YStream &stream, std::string_view texto) {
    const auto quebra = [](char c) { return c == '\n' || c == '\r' || c == '\0'; };
    if (std::none_of(texto.begin(), texto.end(), quebra)) {
        acrescenta(stream, texto);
        return;
    }
    for (const char c : texto) {
        if (!quebra(c)) {
            YStream_put(&stream, c);
        }
    }
}

void escreveCabeca(YStream &stream, const YMensagemHttp &mensagem) {
    escreveNaLinha(stream, conteudo(*mensagem.primeiraLinha));
    acrescenta(stream, "\n");
    for (YDIC_IT i = YDIC_inicio(mensagem.header); i != YDIC_fim(mensagem.header); YDIC_IT_anda(&i)) {
        escreveNaLinha(stream, YDIC_IT_getChave(i));
        acrescenta(stream, ": ");
        escreveNaLinha(stream, YDIC_IT_getValor(i));
        acrescenta(stream, "\n");
    }
    acrescenta(stream, "\n");
}

} // namespace

const YRtti *YMensagemHttp_rtti(void) {
    return &definicaoRtti;
}

void YMensagemHttp_setSocket(YMensagemHttp *mensagem, YSocket *socket) {
    mensagem->socket = socket;
}

// ---- Reading ----

Cabeca pramo::leCabeca(YMensagemHttp &mensagem, Prazo &prazo, std::uint64_t maximo,
                       std::uint32_t segundosDoResto) {
    if (mensagem.socket == nullptr) {
        return Cabeca::AUSENTE;
    }
    // Into the draft: a first line that does not come whole leaves the message as it was.
    YStream &linha = *privado(mensagem).rascunho;
    std::size_t consumidos = 0;
    const Linha chegou = recebeLinha(*mensagem.socket, linha, prazo, maximo, consumidos);
    if (chegou != Linha::COMPLETA) {
        return chegou == Linha::LONGA ? Cabeca::GRANDE : Cabeca::AUSENTE;
    }
    if (temQuebra(conteudo(linha))) {
        return Cabeca::MAL_FORMADA;
    }
    if (segundosDoResto != 0) {
        prazo = Prazo::daqui(std::int64_t{segundosDoResto} * 1000);
    }
    esvazia(mensagem);
    // Whole streams of one class trade places: no byte is copied.
    std::swap(*mensagem.primeiraLinha, linha);
    return leCampos(mensagem, prazo, maximo - consumidos);
}

Corpo pramo::leCorpo(YMensagemHttp &mensagem, const Prazo &prazo, std::uint64_t maximo) {
    const char *anunciado = YDIC_recupera(mensagem.header, "Content-Length");
    // As unsigned, a negative one is beyond every bound.
    const auto tamanho =
        static_cast<std::uint64_t>(interpretaTamanho(anunciado != nullptr ? anunciado : "").bytes);
    if (tamanho > maximo) {
        return Corpo::GRANDE;
    }
    // After the bound: who asks first is told that the body is too large before sending it.
    const char *espera = YDIC_recupera(mensagem.header, "Expect");
    if (espera != nullptr && iguaisSemCaixa(espera, "100-continue")) {
        enviaPartes(*mensagem.socket, {&CONTINUE, 1});
    }
    return recebeCorpo(mensagem, prazo, tamanho);
}

int YMensagemHttp_obtemDoSocket(YMensagemHttp *mensagem, int64_t prazo) {
    Prazo ate = Prazo::noSegundo(prazo);
    const Cabeca cabeca = leCabeca(*mensagem, ate, LIMITE_DO_CABECALHO);
    if (cabeca == Cabeca::MAL_FORMADA) {
        lanca(YExc_rtti, "Mensagem HTTP mal formada."_l1, FONTE);
    }
    const bool temCorpo = cabeca == Cabeca::COMPLETA || cabeca == Cabeca::ULTIMA;
    if (cabeca == Cabeca::GRANDE || (temCorpo && leCorpo(*mensagem, ate, LIMITE_DO_CORPO) == Corpo::GRANDE)) {
        lanca(YExc_rtti, "Mensagem HTTP grande demais."_l1, FONTE);
    }
    return cabeca != Cabeca::AUSENTE ? 1 : 0;
}

void pramo::esvazia(YMensagemHttp &mensagem) {
    esvaziaStream(*mensagem.primeiraLinha);
    YDIC_clear(mensagem.header);
    esvaziaCorpo(mensagem);
}

void pramo::esvaziaCorpo(YMensagemHttp &mensagem) {
    esvaziaStream(*mensagem.body);
    // What was kept is small and not counted: this gives the message's whole part back.
    privado(mensagem).reserva.ajusta(mensagem.body->capacidade);
}

Reserva &pramo::reservaDoCorpo(const YMensagemHttp &mensagem) {
    return privado(mensagem).reserva;
}

void pramo::dimensionaCorpo(YMensagemHttp &mensagem, std::size_t bytes) {
    YStream &body = *mensagem.body;
    // The stream by itself would grow to twice as much. The zero behind the content has its own byte.
    if (body.capacidade < bytes) {
        body.dados = static_cast<char *>(YrealocaMemoria_debug(body.dados, bytes + 1, FONTE, __LINE__));
        body.dados[body.tam] = 0;
        body.capacidade = bytes;
    }
}

// ---- Sending and saving ----

void pramo::formataDataHttp(char *buffer, std::size_t tamanho, std::time_t momento) {
    static constexpr std::array<const char *, 12> MESES = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                           "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    std::tm tm{};
    if (gmtime_r(&momento, &tm) == nullptr) {
        std::snprintf(buffer, tamanho, "%s", "");
        return;
    }
    std::snprintf(buffer, tamanho, "%02d %s %d %02d:%02d:%02d GMT", tm.tm_mday,
                  MESES.at(static_cast<std::size_t>(tm.tm_mon)), tm.tm_year + 1900, tm.tm_hour, tm.tm_min,
                  tm.tm_sec);
}

void pramo::envia(YMensagemHttp &mensagem, std::int64_t porJanela) {
    std::array<char, 24> tamanho{};
    std::to_chars(tamanho.data(), tamanho.data() + tamanho.size() - 1, YStream_tam(mensagem.body));
    YDIC_guarda(mensagem.header, "Content-Length", tamanho.data());
    YStream &cabeca = *privado(mensagem).rascunho;
    esvaziaStream(cabeca);
    escreveCabeca(cabeca, mensagem);
    const std::array partes{conteudo(cabeca), conteudo(*mensagem.body)};
    enviaPartes(*mensagem.socket, partes, porJanela);
}

void YMensagemHttp_enviaPeloSocket(YMensagemHttp *mensagem) {
    if (mensagem->socket != nullptr) {
        envia(*mensagem, 1);
    }
}

namespace {

/// Writes all; false when the system refuses a part. Takes back what it wrote then, unless another writer
/// stands behind it already.
bool acrescentaAoArquivo(int fd, std::string_view texto) {
    struct stat antes {};
    bool certo = fstat(fd, &antes) == 0;
    off_t escritos = 0;
    while (certo && !texto.empty()) {
        const ssize_t n = write(fd, texto.data(), texto.size());
        certo = n > 0 || (n < 0 && errno == EINTR);
        escritos += std::max<ssize_t>(n, 0);
        texto.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
    }
    // Everybody appends at the end: only when the file is as large as our part makes it, the part is its end.
    struct stat depois {};
    if (!certo && escritos > 0 && fstat(fd, &depois) == 0 && depois.st_size == antes.st_size + escritos) {
        static_cast<void>(ftruncate(fd, antes.st_size) == 0); // or the part stays; it is reported either way
    }
    return certo;
}

} // namespace

void YMensagemHttp_salvaEmArquivo(const YMensagemHttp *mensagem, const char *caminho) {
    // The text is whole before the file is opened: what fails for want of memory leaves no part of it there.
    const auto texto = cria<YStream>(YStream_rtti, FONTE);
    escreveCabeca(*texto, *mensagem);
    YStream_puts(texto, YStream_str(mensagem->body));
    YStream_puts(texto, "\n\n");
    const int fd = open(caminho, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0) {
        return;
    }
    const bool gravou = acrescentaAoArquivo(fd, conteudo(*texto));
    const bool fechou = close(fd) == 0;
    if (!gravou || !fechou) {
        YContextoTry_printf("%s. ", caminho);
        lanca(YExcIOError_rtti, "Falha na gravação do arquivo."_l1, FONTE);
    }
}

// ---- The parts ----

int YMensagemHttp_deveManterConectado(const YMensagemHttp *mensagem) {
    const char *valor = YDIC_recupera(mensagem->header, "Connection");
    return valor != nullptr && std::strcmp(valor, "keep-alive") == 0 ? 1 : 0;
}

void YMensagemHttp_printf(YMensagemHttp *mensagem, const char *formato, ...) {
    va_list argumentos;
    va_start(argumentos, formato);
    YMensagemHttp_vprintf(mensagem, formato, argumentos);
    va_end(argumentos);
}

void YMensagemHttp_vprintf(YMensagemHttp *mensagem, const char *formato, va_list argumentos) {
    YStream_vprintf(mensagem->body, formato, argumentos);
}

void YMensagemHttp_putBloco(YMensagemHttp *mensagem, const void *bytes, int64_t quantos) {
    YStream_putBloco(mensagem->body, bytes, quantos);
}

YDIC *YMensagemHttp_getHeader(const YMensagemHttp *mensagem) {
    return mensagem->header;
}

YStream *YMensagemHttp_getPrimeiraLinha(const YMensagemHttp *mensagem) {
    return mensagem->primeiraLinha;
}

YStream *YMensagemHttp_getBody(const YMensagemHttp *mensagem) {
    return mensagem->body;
}
