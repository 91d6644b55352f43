// One HTTP request: told apart, its SOAP call answered with an envelope or a fault.
#include <3pramo/soap/YSoapServer_interno.hpp>

#include <3pramo/foundation/YObLOG_interno.hpp>
#include <3pramo/foundation/YObThread_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/soap/mascara.hpp>

#include <charconv>
#include <cstring>

using namespace pramo;
using namespace pramo::soap;

namespace {

constexpr std::size_t BUFFER_DO_METODO = 128;
constexpr const char *TIPO_XML = "text/xml; charset=ISO-8859-1";

constexpr std::string_view INICIO_DO_ENVELOPE =
    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
    "<SOAP-ENV:Envelope"
    " SOAP-ENV:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\""
    " xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\""
    " xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\""
    " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
    " xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\">"
    "<SOAP-ENV:Body>";
constexpr std::string_view FIM_DO_ENVELOPE = "</SOAP-ENV:Body></SOAP-ENV:Envelope>";
constexpr std::string_view INICIO_DA_FALHA =
    "<SOAP-ENV:Fault><faultcode>SOAP-ENV:Client</faultcode><faultstring>";
constexpr std::string_view FIM_DA_FALHA = "</faultstring><faultactor/></SOAP-ENV:Fault>";

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

// The description without accents, with what XML does not take raw as references; control characters, which
// it does not take at all, become question marks.
void emiteTextoDaFalha(YStream *saida, const std::string &descricao) {
    const Ponteiro<YStream> plano = cria<YStream>(YStream_rtti, FONTE);
    YStream_putTirandoAcentos(plano, descricao.c_str());
    for (const char c : conteudo(*plano)) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\t' || c == '\n') {
            YStream_put(saida, c);
        } else if (byte < ' ') {
            YStream_put(saida, '?');
        } else {
            const char texto[] = {c, 0};
            YStream_putHtmlString(saida, texto);
        }
    }
}

// In a catch block: what the client is told of the exception in flight. The text of one that is not the
// library's was not written for it (it may hold a statement with a card number): it goes to the log, masked.
std::string descricaoParaOCliente() {
    try {
        throw;
    } catch (const YExcecao &e) {
        return e.descricao();
    } catch (...) {
        if (terminaAThread()) {
            throw;
        }
        registraExcecaoCorrente("YSoapServer");
        return YExcecao(YExc_rtti, "", "Erro interno."_l1, FONTE, __LINE__).descricao();
    }
}

void emiteFalha(YStream *saida) {
    // Nothing is written before the text is there: its making may raise, and so end the request.
    const std::string descricao = descricaoParaOCliente();
    acrescenta(*saida, INICIO_DA_FALHA);
    emiteTextoDaFalha(saida, descricao);
    acrescenta(*saida, FIM_DA_FALHA);
}

YTratadorHttp tratadorAnterior(const YSoapServer *servidor) {
    const Tranca tranca(privado(servidor).trinco);
    return servidor->tratadorAnterior;
}

void registraCorpo(const char *sentido, const char *portType, const char *metodo, const YStream *corpo) {
    if ((YObLOG_habilitadas() & Y_LOG_CORPO) == 0) {
        return;
    }
    const std::string nome = std::string(portType) + "#" + metodo;
    registraTexto(Y_LOG_CORPO, std::string(sentido) + " " + nome + ": " + mascaraCorpo(conteudo(*corpo)));
}

void trataChamadaSoap(YSoapServer *servidor, const char *acao, const char *uri, YMensagemHttp *requisicao,
                      YMensagemHttp *resposta) {
    char metodo[BUFFER_DO_METODO];
    YDIC_guarda(resposta->header, "Content-Type", TIPO_XML);
    // What raises up to the envelope goes to the web server, which ends the connection without an answer.
    const char *portType = interpretaSoapAction(uri, acao, metodo);
    // Before the call, which converts the text where it stands.
    registraCorpo("requisição"_l1, portType, metodo, requisicao->body);
    acrescenta(*resposta->body, INICIO_DO_ENVELOPE);
    YStream_puts(resposta->primeiraLinha, "200 OK");
    try {
        // From here on the answer is an envelope, whatever the handler raises.
        processaChamada({servidor, portType, metodo, true, 0}, requisicao->body, resposta->body, nullptr);
    } catch (...) {
        emiteFalha(resposta->body);
    }
    acrescenta(*resposta->body, FIM_DO_ENVELOPE);
    registraCorpo("resposta", portType, metodo, resposta->body);
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
