// One HTTP request: told apart, its SOAP call answered with an envelope or a fault.
#include <3pramo/soap/YSoapServer_interno.hpp>

#include <3pramo/foundation/YObThread_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/soap/envelope.hpp>
#include <3pramo/soap/mascara.hpp>

#include <cstring>

using namespace pramo;
using namespace pramo::soap;

namespace {

constexpr std::size_t BUFFER_DO_METODO = 128;
constexpr std::string_view INICIO_DA_FALHA =
    "<SOAP-ENV:Fault><faultcode>SOAP-ENV:Client</faultcode><faultstring>";
constexpr std::string_view FIM_DO_TEXTO = "</faultstring><faultactor/>";
constexpr std::string_view INICIO_DO_DETALHE = "<detail><f:falha xmlns:f=\"urn:3pramo\">";
constexpr std::string_view FIM_DO_DETALHE = "</f:falha></detail>";
constexpr std::string_view FIM_DA_FALHA = "</SOAP-ENV:Fault>";

// The port type name, a part of the URI; the method name is left in `metodo`.
const char *interpretaSoapAction(const char *uri, const char *acao, char (&metodo)[BUFFER_DO_METODO]) {
    const char *sustenido = std::strchr(acao, '#');
    if (sustenido == nullptr) {
        lanca(YExcSoap_rtti, "Entrada do Header de requisição SOAPAction mal formada."_l1, FONTE);
    }
    std::string_view nome = std::string_view(sustenido + 1).substr(0, BUFFER_DO_METODO - 1);
    nome = nome.substr(0, nome.find('"'));
    // Cut to the buffer: a longer name names no method, or one that was registered under the cut name.
    metodo[nome.copy(metodo, nome.size())] = 0;
    const char *barra = std::strrchr(uri, '/');
    return barra != nullptr ? barra + 1 : uri;
}

// What XML does not take raw as references; control characters, which it does not take at all, become
// question marks.
void emiteTexto(YStream *saida, std::string_view texto) {
    for (const char c : texto) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\t' || c == '\n') {
            YStream_put(saida, c);
        } else if (byte < ' ') {
            YStream_put(saida, '?');
        } else {
            const char um[] = {c, 0};
            YStream_putHtmlString(saida, um);
        }
    }
}

void emiteSemAcentos(YStream *saida, const std::string &descricao) {
    const Ponteiro<YStream> plano = cria<YStream>(YStream_rtti, FONTE);
    YStream_putTirandoAcentos(plano, descricao.c_str());
    emiteTexto(saida, conteudo(*plano));
}

void emiteElemento(YStream *saida, std::string_view nome, std::string_view texto) {
    for (const std::string_view pedaco : {std::string_view("<"), nome, std::string_view(">")}) {
        acrescenta(*saida, pedaco);
    }
    emiteTexto(saida, texto);
    for (const std::string_view pedaco : {std::string_view("</"), nome, std::string_view(">")}) {
        acrescenta(*saida, pedaco);
    }
}

// The parts of the description by themselves, and what the exception says beside its text.
void emiteDetalhe(YStream *saida, const YExcecao &excecao) {
    acrescenta(*saida, INICIO_DO_DETALHE);
    emiteElemento(saida, "classe", excecao.classe()->name);
    emiteElemento(saida, "mensagem", excecao.mensagem());
    if (const std::string detalhe = excecao.detalhe(); !detalhe.empty()) {
        emiteElemento(saida, "detalhe", detalhe);
    }
    emiteElemento(saida, "lugar", std::string(excecao.arquivo()) + ":" + std::to_string(excecao.linha()));
    for (const auto &[nome, valor] : excecao.atributos()) {
        if (!ehParteDaFalha(nome)) {
            emiteElemento(saida, nome, valor);
        }
    }
    acrescenta(*saida, FIM_DO_DETALHE);
}

void emiteFalha(YStream *saida, const YExcecao &excecao, bool comDetalhe) {
    // Nothing is written before the text is there: its making may raise, and so end the request.
    const std::string descricao = excecao.descricao();
    acrescenta(*saida, INICIO_DA_FALHA);
    emiteSemAcentos(saida, descricao);
    acrescenta(*saida, FIM_DO_TEXTO);
    if (comDetalhe) {
        emiteDetalhe(saida, excecao);
    }
    acrescenta(*saida, FIM_DA_FALHA);
}

// In a catch block: the exception in flight as the client is told of it. The text of one that is not the
// library's was not written for it (it may hold a statement with a card number): it goes to the log, masked.
void emiteFalhaCorrente(YStream *saida, bool comDetalhe) {
    try {
        throw;
    } catch (const YExcecao &e) {
        emiteFalha(saida, e, comDetalhe);
    } catch (...) {
        if (terminaAThread()) {
            throw;
        }
        registraExcecaoCorrente("YSoapServer");
        emiteFalha(saida, YExcecao(YExc_rtti, "", "Erro interno."_l1, FONTE, __LINE__), comDetalhe);
    }
}

YTratadorHttp tratadorAnterior(const YSoapServer *servidor) {
    const Tranca tranca(privado(servidor).trinco);
    return servidor->tratadorAnterior;
}

void trataChamadaSoap(YSoapServer *servidor, const char *acao, const char *uri, YMensagemHttp *requisicao,
                      YMensagemHttp *resposta) {
    char metodo[BUFFER_DO_METODO];
    YDIC_guarda(resposta->header, "Content-Type", TIPO_XML);
    // What raises up to the envelope goes to the web server, which ends the connection without an answer.
    const char *portType = interpretaSoapAction(uri, acao, metodo);
    // Before the call, which converts the text where it stands.
    registraCorpo("requisição"_l1, portType, metodo, conteudo(*requisicao->body));
    acrescenta(*resposta->body, INICIO_DO_ENVELOPE);
    YStream_puts(resposta->primeiraLinha, "200 OK");
    try {
        // From here on the answer is an envelope, whatever the handler raises.
        processaChamada({servidor, portType, metodo, true, 0}, requisicao->body, resposta->body, nullptr);
    } catch (...) {
        emiteFalhaCorrente(resposta->body, privado(servidor).detalheDaFalha);
    }
    acrescenta(*resposta->body, FIM_DO_ENVELOPE);
    registraCorpo("resposta", portType, metodo, conteudo(*resposta->body));
}

} // namespace

void soap::trataRequisicao(void *contexto, char *uri, YMensagemHttp *requisicao, YMensagemHttp *resposta) {
    constexpr std::string_view WSDL = "/wsdl/";
    auto *servidor = static_cast<YSoapServer *>(contexto);
    // A handler that starts, stops or frees this server would wait for itself: on this thread they raise.
    const EmUso emUso(servidor);
    if (const char *acao = YDIC_recupera(requisicao->header, "SOAPAction")) {
        // Copied: a handler may change the header of its request.
        trataChamadaSoap(servidor, std::string(acao).c_str(), uri, requisicao, resposta);
        return;
    }
    const char *wsdl = std::strstr(uri, WSDL.data());
    if (wsdl != nullptr && emiteWsdl(servidor, wsdl + WSDL.size(), requisicao->header, resposta->body)) {
        YStream_puts(resposta->primeiraLinha, "200 OK");
        YDIC_guarda(resposta->header, "Content-Type", TIPO_XML);
        return;
    }
    // Read as a pair and called without the lock: it may wait for the peer or for a disk.
    const YTratadorHttp anterior = tratadorAnterior(servidor);
    anterior.funcao(anterior.contexto, uri, requisicao, resposta);
}
