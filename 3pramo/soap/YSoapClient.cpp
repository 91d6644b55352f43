// One call: the request as it travels, the connection that carries it, what came of it.
#include <3pramo/soap/YSoapClient_interno.hpp>

#include <3pramo/foundation/YSocket_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>
#include <3pramo/http/RespostaHttp.hpp>
#include <3pramo/node/YNo_interno.hpp>
#include <3pramo/soap/envelope.hpp>
#include <3pramo/soap/mascara.hpp>

#include <algorithm>
#include <vector>

using namespace pramo;
using namespace pramo::soap;

namespace {

constexpr std::uint32_t PRAZO_INICIAL = 30'000; // milliseconds
// Servers end idle connections after some seconds. One that ends while a request is on its way leaves open
// whether that was carried out: a kept one is used only long before.
constexpr std::chrono::seconds OCIOSA{1};

struct Privado {
    std::string endereco;
    std::uint32_t porta = 0;
    std::string caminho; // empty: after the port type
    std::uint32_t prazo = PRAZO_INICIAL;
    std::uint64_t limite = LIMITE_DO_CORPO;
    Ponteiro<YSocket> mantido; // null, or a connection to the address that stands above
    Prazo::Relogio::time_point mantidoDesde;
    bool enviada = false;
};

Privado &privado(const YSoapClient *cliente) {
    return *static_cast<Privado *>(cliente->privado);
}

void constroiCliente(void *objeto) {
    static_cast<YSoapClient *>(objeto)->privado =
        semFaltaDeMemoria(FONTE_DO_CLIENTE, [] { return new Privado; });
}

void destroiCliente(void *objeto) {
    delete static_cast<Privado *>(static_cast<YSoapClient *>(objeto)->privado);
}

// ---- The request ----

/// Raises for what cannot stand in a name of XML's, in quotes and in a line of HTTP alike.
void exigeNome(const char *nome) {
    const std::string_view texto = textoOuNada(nome);
    const auto estranho = [](char c) {
        return static_cast<unsigned char>(c) <= ' ' ||
               std::string_view("\"#&'/<>\x7F").find(c) != std::string_view::npos;
    };
    if (texto.empty() || std::ranges::any_of(texto, estranho)) {
        lanca(YExc_rtti, "Nome inválido."_l1, FONTE_DO_CLIENTE);
    }
}

void exigeNomesDosAtributos(const YDIC *atributos) {
    if (atributos != nullptr) {
        for (YDIC_IT it = YDIC_inicio(atributos); it != YDIC_fim(atributos); YDIC_IT_anda(&it)) {
            exigeNome(YDIC_IT_getChave(it));
        }
    }
}

/// Of all below the node. A name is written as it stands, and may be a stranger's word: the key of a map that
/// somebody's request held names an element, and must not be markup in ours.
void exigeNomesAbaixo(const YNo &raiz) {
    std::vector<const YNo *> espera{&raiz};
    while (!espera.empty()) {
        const auto filhos = filhosDe(*espera.back());
        espera.pop_back();
        for (const void *filho : filhos) {
            const auto &no = *static_cast<const YNo *>(filho);
            if (no.nome != nullptr) { // one without has no tags, nor attributes
                exigeNome(no.nome);
                exigeNomesDosAtributos(no.atributos);
            }
            espera.push_back(&no);
        }
    }
}

Ponteiro<YStream> envelopeDe(const char *portType, const char *metodo, const YNo *requisicao) {
    auto corpo = cria<YStream>(YStream_rtti, FONTE_DO_CLIENTE);
    acrescenta(*corpo, INICIO_DO_ENVELOPE);
    for (const char *pedaco : {"<ns1:", metodo, " xmlns:ns1=\"urn:"}) {
        YStream_puts(corpo, pedaco);
    }
    YStream_putHtmlString(corpo, portType);
    YStream_puts(corpo, "\">");
    if (requisicao != nullptr) {
        YNo_gravaConteudo(requisicao, corpo);
    }
    for (const char *pedaco : {"</ns1:", metodo, ">"}) {
        YStream_puts(corpo, pedaco);
    }
    acrescenta(*corpo, FIM_DO_ENVELOPE);
    return corpo;
}

/// The zone of an IPv6 address ("%eth0") means something on this machine alone.
std::string hostDe(const Privado &p) {
    const std::string nome = p.endereco.substr(0, p.endereco.find('%'));
    const bool ipv6 = nome.find(':') != std::string::npos;
    return (ipv6 ? "[" + nome + "]" : nome) + ":" + std::to_string(p.porta);
}

/// Head and body, so that both leave in one system call.
Ponteiro<YStream> pedidoDe(const Privado &p, const char *portType, const char *metodo,
                           const YNo *requisicao) {
    const Ponteiro<YStream> corpo = envelopeDe(portType, metodo, requisicao);
    registraCorpo("chamada", portType, metodo, conteudo(*corpo));
    const std::string cabeca = "POST " + (p.caminho.empty() ? std::string("/soap/") + portType : p.caminho) +
                               " HTTP/1.1\r\nHost: " + hostDe(p) + "\r\nContent-Type: " + TIPO_XML +
                               "\r\nSOAPAction: \"urn:" + portType + "#" + metodo +
                               "\"\r\nContent-Length: " + std::to_string(corpo->tam) + "\r\n\r\n";
    auto pedido = cria<YStream>(YStream_rtti, FONTE_DO_CLIENTE);
    YStream_aloca(pedido, static_cast<int64_t>(cabeca.size() + corpo->tam));
    acrescenta(*pedido, cabeca);
    acrescenta(*pedido, conteudo(*corpo));
    return pedido;
}

// ---- The connection ----

std::uint32_t resta(const Prazo &prazo) {
    return static_cast<std::uint32_t>(prazo.resta());
}

/// Nobody's bytes wait in it, and its peer has not ended it.
bool serve(YSocket &socket) {
    return !esperaAlgo(socket, Prazo::daqui(0)) && !socket.acabou;
}

Ponteiro<YSocket> conexaoPara(Privado &p, const std::string &onde, const Prazo &prazo) {
    Ponteiro<YSocket> socket = std::move(p.mantido);
    if (socket != nullptr && Prazo::Relogio::now() - p.mantidoDesde < OCIOSA && serve(*socket)) {
        return socket;
    }
    socket = cria<YSocket>(YSocket_rtti, FONTE_DO_CLIENTE);
    switch (YSocket_conectaMs(socket, p.endereco.c_str(), p.porta, resta(prazo))) {
    case Y_ESPERA_PRONTA:
        return socket;
    case Y_ESPERA_PRAZO:
        falhaDaChamada(YExcIOError_rtti, onde, "Prazo da chamada esgotado.");
    default:
        falhaDaChamada(YExcIOError_rtti, onde, "Falha na conexão."_l1);
    }
}

void envia(Privado &p, YSocket *socket, YStream *pedido, const std::string &onde, const Prazo &prazo) {
    p.enviada = true; // from here on nobody knows how much of it has gone
    switch (YSocket_enviaMs(socket, pedido, resta(prazo))) {
    case Y_ESPERA_PRONTA:
        return;
    case Y_ESPERA_PRAZO:
        falhaDaChamada(YExcIOError_rtti, onde, "Prazo da chamada esgotado.");
    default:
        falhaDaChamada(YExcIOError_rtti, onde, "A conexão acabou antes da resposta."_l1);
    }
}

/// Raises unless the answer is whole.
void confere(const RespostaHttp &resposta, const std::string &onde) {
    switch (resposta.fim) {
    case FimDaResposta::COMPLETA:
        return;
    case FimDaResposta::PRAZO:
        falhaDaChamada(YExcIOError_rtti, onde, "Prazo da chamada esgotado.");
    case FimDaResposta::GRANDE:
        falhaDaChamada(YExcIOError_rtti, onde, "Resposta grande demais.");
    case FimDaResposta::MAL_FORMADA:
        falhaDaChamada(YExcIOError_rtti, onde, "Resposta HTTP mal formada.");
    case FimDaResposta::CORTADA:
        break;
    }
    if (resposta.status == 0) {
        falhaDaChamada(YExcIOError_rtti, onde, "A conexão acabou antes da resposta."_l1);
    }
    // A server that turns a request away may say so in one line.
    if (resposta.status != 200) {
        falhaDaChamada(YExcIOError_rtti, onde + "HTTP " + std::to_string(resposta.status) + ". ",
                       "Resposta sem envelope SOAP.");
    }
    falhaDaChamada(YExcIOError_rtti, onde, "Resposta incompleta.");
}

Ponteiro<YNo> chama(Privado &p, const char *portType, const char *metodo, const YNo *requisicao) {
    p.enviada = false;
    if (p.endereco.empty()) {
        lanca(YExc_rtti, "Cliente sem endereço."_l1, FONTE_DO_CLIENTE);
    }
    exigeNome(portType);
    exigeNome(metodo);
    if (requisicao != nullptr) {
        exigeNomesAbaixo(*requisicao);
    }
    Prazo prazo = Prazo::daqui(p.prazo);
    const std::string onde = p.endereco + ":" + std::to_string(p.porta) + ". ";
    const Ponteiro<YStream> pedido = pedidoDe(p, portType, metodo, requisicao);
    const auto mensagem = cria<YMensagemHttp>(YMensagemHttp_rtti, FONTE_DO_CLIENTE);
    // The connection is this call's alone, and ends with whatever ends the call early.
    Ponteiro<YSocket> socket = conexaoPara(p, onde, prazo);
    envia(p, socket, pedido, onde, prazo);
    YMensagemHttp_setSocket(mensagem, socket);
    const RespostaHttp resposta = leResposta(*mensagem, prazo, p.limite);
    confere(resposta, onde);
    if (resposta.mantida) {
        p.mantido = std::move(socket);
        p.mantidoDesde = Prazo::Relogio::now();
    }
    registraCorpo("resposta recebida", portType, metodo, conteudo(*mensagem->body));
    return interpretaResposta(*mensagem, resposta.status, metodo, onde);
}

} // namespace

const YRtti YSoapClient_definicaoRtti = {YOb_rtti, "YSoapClient", sizeof(YSoapClient), constroiCliente,
                                         destroiCliente};

const YRtti *YSoapClient_rtti(void) {
    return &YSoapClient_definicaoRtti;
}

// ---- Settings ----

void YSoapClient_setEndereco(YSoapClient *cliente, const char *endereco, uint32_t porta) {
    const std::string_view texto = endereco != nullptr ? endereco : "";
    const auto certo = [](char c) {
        return ehAlfanumerico(c) || std::string_view(".:-_%").find(c) != std::string_view::npos;
    };
    if (texto.empty() || !std::ranges::all_of(texto, certo)) {
        lanca(YExc_rtti, "Endereço inválido."_l1, FONTE_DO_CLIENTE);
    }
    Privado &p = privado(cliente);
    p.endereco = semFaltaDeMemoria(FONTE_DO_CLIENTE, [&] { return std::string(texto); });
    p.porta = porta;
    p.mantido.reset();
}

void YSoapClient_setCaminho(YSoapClient *cliente, const char *caminho) {
    const std::string_view texto = caminho != nullptr ? caminho : "/";
    const auto certo = [](char c) { return c > ' ' && c < '\x7F'; };
    if (!texto.starts_with('/') || !std::ranges::all_of(texto, certo)) {
        lanca(YExc_rtti, "Caminho inválido."_l1, FONTE_DO_CLIENTE);
    }
    privado(cliente).caminho =
        semFaltaDeMemoria(FONTE_DO_CLIENTE, [&] { return std::string(caminho != nullptr ? caminho : ""); });
}

void YSoapClient_setPrazo(YSoapClient *cliente, uint32_t milissegundos) {
    privado(cliente).prazo = milissegundos;
}

void YSoapClient_setLimiteDaResposta(YSoapClient *cliente, uint64_t bytes) {
    privado(cliente).limite = bytes;
}

// ---- Calling ----

YNo *YSoapClient_chama(YSoapClient *cliente, const char *portType, const char *metodo,
                       const YNo *requisicao) {
    return semFaltaDeMemoria(FONTE_DO_CLIENTE,
                             [&] { return chama(privado(cliente), portType, metodo, requisicao); })
        .release();
}

int YSoapClient_foiEnviada(const YSoapClient *cliente) {
    return privado(cliente).enviada ? 1 : 0;
}
