#include <3pramo/http/YMensagemHttp_interno.hpp>

#include <3pramo/foundation/Dono.hpp>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YSocket_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <limits>
#include <optional>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YMensagemHttp";
constexpr std::size_t MEMORIA_GUARDADA = std::size_t{1} << 20;
constexpr std::string_view CONTINUE = "HTTP/1.1 100 Continue\n\n";

// The private part is one stream: the line being read, or the head being sent.
YStream &rascunho(const YMensagemHttp &mensagem) {
    return *static_cast<YStream *>(mensagem.privado);
}

void constroiMensagem(void *objeto) {
    auto primeiraLinha = cria<YStream>(YStream_rtti, FONTE);
    Dono<YDIC> header(YDIC_constroi());
    YDIC_muda_opcoes(header.get(), YDIC_SEM_CAIXA);
    auto body = cria<YStream>(YStream_rtti, FONTE);
    auto privado = cria<YStream>(YStream_rtti, FONTE);
    auto *mensagem = static_cast<YMensagemHttp *>(objeto);
    mensagem->primeiraLinha = primeiraLinha.release();
    mensagem->header = header.release();
    mensagem->body = body.release();
    mensagem->privado = privado.release();
}

void destroiMensagem(void *objeto) {
    auto *mensagem = static_cast<YMensagemHttp *>(objeto);
    YliberaObjeto(mensagem->primeiraLinha);
    YDIC_destroi(mensagem->header);
    YliberaObjeto(mensagem->body);
    YliberaObjeto(mensagem->privado);
}

const YRtti definicaoRtti = {YOb_rtti, "YMensagemHttp", sizeof(YMensagemHttp), constroiMensagem,
                             destroiMensagem};

char minuscula(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool temZero(std::string_view linha) {
    return linha.find('\0') != std::string_view::npos;
}

bool ehDoCampo(std::string_view linha, std::string_view campo) {
    return iguaisSemCaixa(semBrancos(linha.substr(0, linha.find(':'))), campo);
}

/// The number a "Content-Length" begins with: 0 for a negative one or none, the largest one for what does not
/// fit.
std::int64_t tamanhoAnunciado(const YMensagemHttp &mensagem) {
    const char *valor = YDIC_recupera(mensagem.header, "Content-Length");
    std::string_view texto = valor != nullptr ? valor : "";
    if (texto.starts_with('+')) {
        texto.remove_prefix(1);
    }
    std::int64_t numero = 0;
    const auto lido = std::from_chars(texto.data(), texto.data() + texto.size(), numero);
    if (lido.ec == std::errc::result_out_of_range) {
        return texto.starts_with('-') ? 0 : std::numeric_limits<std::int64_t>::max();
    }
    return std::max<std::int64_t>(numero, 0);
}

Cabeca leCampos(YMensagemHttp &mensagem, std::int64_t prazo, std::size_t resta) {
    YStream &linha = rascunho(mensagem);
    std::optional<std::int64_t> anunciado;
    for (;;) {
        std::size_t consumidos = 0;
        const Linha chegou = recebeLinha(*mensagem.socket, linha, prazo, resta, consumidos);
        if (chegou != Linha::COMPLETA) {
            return chegou == Linha::LONGA ? Cabeca::GRANDE : Cabeca::CORTADA;
        }
        resta -= consumidos;
        const std::string_view texto = conteudo(linha);
        if (temZero(texto)) {
            return Cabeca::MAL_FORMADA;
        }
        if (YDIC_trata_linha(mensagem.header, YStream_str(&linha), ':') == 0) {
            return texto.empty() ? Cabeca::COMPLETA : Cabeca::COM_SOBRA;
        }
        if (ehDoCampo(texto, "Content-Length")) {
            const std::int64_t este = tamanhoAnunciado(mensagem);
            if (anunciado.value_or(este) != este) {
                return Cabeca::MAL_FORMADA;
            }
            anunciado = este;
        }
    }
}

void esvaziaStream(YStream &stream) {
    YStream_clear(&stream);
    if (stream.capacidade > MEMORIA_GUARDADA) {
        YliberaMemoria(stream.dados);
        stream.dados = nullptr;
        stream.capacidade = 0;
    }
}

/// Appends a text that must stay within its line.
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

Cabeca pramo::leCabeca(YMensagemHttp &mensagem, std::int64_t prazo, std::uint64_t maximo) {
    if (mensagem.socket == nullptr) {
        return Cabeca::AUSENTE;
    }
    YStream &linha = rascunho(mensagem);
    std::size_t consumidos = 0;
    const Linha chegou = recebeLinha(*mensagem.socket, linha, prazo, maximo, consumidos);
    if (chegou != Linha::COMPLETA) {
        return chegou == Linha::LONGA ? Cabeca::GRANDE : Cabeca::AUSENTE;
    }
    if (temZero(conteudo(linha))) {
        return Cabeca::MAL_FORMADA;
    }
    esvazia(mensagem);
    std::swap(*mensagem.primeiraLinha, linha);
    return leCampos(mensagem, prazo, maximo - consumidos);
}

Corpo pramo::leCorpo(YMensagemHttp &mensagem, std::int64_t prazo, std::uint64_t maximo) {
    const std::int64_t tamanho = tamanhoAnunciado(mensagem);
    if (static_cast<std::uint64_t>(tamanho) > maximo) {
        return Corpo::GRANDE;
    }
    const char *espera = YDIC_recupera(mensagem.header, "Expect");
    if (espera != nullptr && iguaisSemCaixa(espera, "100-continue")) {
        enviaPartes(*mensagem.socket, {&CONTINUE, 1});
    }
    const bool inteiro = YSocket_recebeBloco(mensagem.socket, mensagem.body, tamanho, prazo) != 0;
    return inteiro ? Corpo::COMPLETO : Corpo::CORTADO;
}

int YMensagemHttp_obtemDoSocket(YMensagemHttp *mensagem, int64_t prazo) {
    const Cabeca cabeca = leCabeca(*mensagem, prazo, LIMITE_DO_CABECALHO);
    if (cabeca == Cabeca::MAL_FORMADA) {
        lanca(YExc_rtti, "Mensagem HTTP mal formada."_l1, FONTE);
    }
    const bool temCorpo = cabeca == Cabeca::COMPLETA || cabeca == Cabeca::COM_SOBRA;
    if (cabeca == Cabeca::GRANDE ||
        (temCorpo && leCorpo(*mensagem, prazo, LIMITE_DO_CORPO) == Corpo::GRANDE)) {
        lanca(YExc_rtti, "Mensagem HTTP grande demais."_l1, FONTE);
    }
    return cabeca != Cabeca::AUSENTE ? 1 : 0;
}

void pramo::esvazia(YMensagemHttp &mensagem) {
    esvaziaStream(*mensagem.primeiraLinha);
    YDIC_clear(mensagem.header);
    esvaziaStream(*mensagem.body);
}

bool pramo::iguaisSemCaixa(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return minuscula(x) == minuscula(y); });
}

std::string_view pramo::semBrancos(std::string_view texto) {
    const std::size_t inicio = std::min(texto.find_first_not_of(" \t"), texto.size());
    texto.remove_prefix(inicio);
    return texto.substr(0, texto.find_last_not_of(" \t") + 1);
}

// ---- Sending and saving ----

void YMensagemHttp_enviaPeloSocket(YMensagemHttp *mensagem) {
    if (mensagem->socket == nullptr) {
        return;
    }
    std::array<char, 24> tamanho{};
    std::to_chars(tamanho.data(), tamanho.data() + tamanho.size() - 1, YStream_tam(mensagem->body));
    YDIC_guarda(mensagem->header, "Content-Length", tamanho.data());
    YStream &cabeca = rascunho(*mensagem);
    esvaziaStream(cabeca);
    escreveCabeca(cabeca, *mensagem);
    const std::array partes{conteudo(cabeca), conteudo(*mensagem->body)};
    enviaPartes(*mensagem->socket, partes);
}

void YMensagemHttp_salvaEmArquivo(const YMensagemHttp *mensagem, const char *caminho) {
    const auto texto = cria<YStream>(YStream_rtti, FONTE);
    escreveCabeca(*texto, *mensagem);
    YStream_puts(texto.get(), YStream_str(mensagem->body));
    YStream_puts(texto.get(), "\n\n");
    if (std::FILE *arquivo = std::fopen(caminho, "ae")) {
        std::fwrite(YStream_str(texto.get()), 1, conteudo(*texto).size(), arquivo);
        std::fclose(arquivo);
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
