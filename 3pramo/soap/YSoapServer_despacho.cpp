// One SOAP call: its request read, the service object and the handler found, the response written.
#include <3pramo/soap/YSoapServer_interno.hpp>

#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/soap/referencias.hpp>
#include <3pramo/soap/textoDaRequisicao.hpp>

using namespace pramo;
using namespace pramo::soap;

namespace {

constexpr unsigned MAXIMO_DE_INVOCACOES = 8;

// ---- The request ----

void limita(YSoapParser *parser, const YSoapServer *servidor) {
    YSoapServer_Privado &p = privado(servidor);
    const Tranca tranca(p.trinco);
    if (p.limites.niveis != 0) {
        YSoapParser_setLimiteDeNiveis(parser, p.limites.niveis);
    }
    if (p.limites.nos != 0) {
        YSoapParser_setLimiteDeNos(parser, p.limites.nos);
    }
    if (p.limites.bytes != 0) {
        YSoapParser_setLimiteDeBytes(parser, p.limites.bytes);
    }
}

// The tree of a request, and in it the method's element: of that name under Body, else Body, else the root.
struct Requisicao {
    Ponteiro<YNo> raiz;
    YNo *elemento = nullptr;
};

Requisicao leRequisicao(const Chamada &chamada, YStream *entrada) {
    if (entrada == nullptr || YStream_tam(entrada) == 0) {
        return {};
    }
    preparaTexto(*entrada);
    const Ponteiro<YSoapParser> parser = cria<YSoapParser>(YSoapParser_rtti, FONTE);
    limita(parser, chamada.servidor);
    YNo *raiz = nullptr;
    // What this read leaves of its bounds is the bound of what references copy.
    YSoapParser_leNo(parser, &raiz, entrada);
    Requisicao requisicao{Ponteiro<YNo>(raiz)};
    if (raiz == nullptr) {
        return requisicao;
    }
    YNo *corpo = YNo_getFilho(raiz, "Body", 0);
    corpo = corpo != nullptr ? corpo : raiz;
    YNo *elemento = YNo_getFilho(corpo, chamada.metodo, 0);
    requisicao.elemento = elemento != nullptr ? elemento : corpo;
    resolveReferencias(*corpo, *requisicao.elemento, sobraDaLeitura(*parser)); // a map may be referred to
    YNo_corrigeMaps(requisicao.elemento);
    return requisicao;
}

// ---- Service object and handler ----

[[noreturn]] void servicoNaoConsta() {
    lanca(YExcSoap_rtti, "Serviço não consta da lista de serviços ativos."_l1, FONTE);
}

Pino localizaServico(const Chamada &chamada, const YNo *requisicao) {
    const YNo *eu = requisicao != nullptr ? YNo_getFilho(requisicao, "eu", 0) : nullptr;
    const char *identidade = YNo_getValor(eu);
    if (identidade == nullptr) {
        return {};
    }
    // The pin holds the object until the call has returned, whoever ends it meanwhile. An identity that
    // leads nowhere is a fault, not a new object: the client counts on what the old one held.
    Pino pino = pinaVivo(chamada.servidor, identidade);
    if (!pino) {
        servicoNaoConsta();
    }
    return pino;
}

// An object is called through the port type that carries its class's name, when that one is for such
// objects, else through the one of the URI. A port type for other objects never gets it.
Tratador obtemTratador(const Chamada &chamada, const YWebService *servico) {
    // The object is pinned, so its class can be read. No handler means: built in, or unknown.
    bool existe = false;
    for (const char *nome : {servico != nullptr ? servico->rtti->name : nullptr, chamada.portType}) {
        const auto portType =
            nome != nullptr ? procuraPortType(chamada.servidor, nome, chamada.metodo) : std::nullopt;
        if (portType && (servico == nullptr || portType->serve(*servico))) {
            return portType->tratador;
        }
        existe = existe || portType;
    }
    if (existe) {
        servicoNaoConsta();
    }
    YContextoTry_printf("nome: %s. ", chamada.portType);
    YContextoTry_atributo("nome", chamada.portType);
    lanca(YExcSoap_rtti, "PortType desconhecido."_l1, FONTE);
}

Pino constroiServico(const Chamada &chamada, Origem origem) {
    const auto portType = procuraPortType(chamada.servidor, chamada.portType, chamada.metodo);
    if (!portType) {
        lanca(YExcSoap_rtti, "Tentou construir serviço para um PortType inexistente."_l1, FONTE);
    }
    // Ours until it has entered: the bound, a lack of memory or a server that goes may refuse it.
    Ponteiro<YWebService> novo = criaServico(portType->rttiDoServico, portType->grupoDeRecursos);
    Pino pino = entraNoConjunto(chamada.servidor, novo, origem);
    (void)novo.release(); // the live set owns it
    return pino;
}

void chamaEmTemporario(const Chamada &chamada, const Tratador &tratador, YNo *requisicao, YNo *resposta) {
    // It is in the live set as long as the handler runs, which may take it out and keep it.
    Pino temporario = constroiServico(chamada, Origem::CHAMADA);
    try {
        tratador(temporario.servico(), requisicao, resposta);
    } catch (...) {
        // Not freed here, where its destructor would run amid the handler's exception.
        abandonaTemporario(chamada.servidor, temporario);
        throw;
    }
    // Its destructors run when the pin goes, and what they raise is this call's fault.
    derruba(chamada.servidor, temporario);
    temporario.solta();
}

// ---- Built-in methods ----

void invoca(const Chamada &chamada, const YNo *requisicao, YNo *resposta, Pino &servico) {
    // A client nests calls in calls at will; each is a round of recursion on this thread's stack.
    if (chamada.invocacoes >= MAXIMO_DE_INVOCACOES) {
        lanca(YExcSoap_rtti, "Invocações aninhadas demais."_l1, FONTE);
    }
    const char *metodo = YNo_getString(requisicao, "metodo");
    if (metodo == nullptr) {
        YContextoTry_printf("Tag procurada: %s. ", "metodo");
        YContextoTry_atributo("campo", "metodo");
        lanca(YExcSoap_rtti, "Faltou tag."_l1, FONTE);
    }
    Ponteiro<YStream> entrada;
    // The text is markup that was decoded once; the wrapper stands where a Body would. It is parsed under
    // the bounds of a whole message again.
    if (const YNo *param = YNo_getFilho(requisicao, "param", 0)) {
        entrada = cria<YStream>(YStream_rtti, FONTE);
        YStream_puts(entrada, "<param>");
        YStream_puts(entrada, YNo_getValor(param));
        YStream_puts(entrada, "</param>");
    }
    const Ponteiro<YStream> saida = cria<YStream>(YStream_rtti, FONTE);
    Chamada interna = {chamada.servidor, chamada.portType, metodo, false, chamada.invocacoes + 1};
    // The object of the outer call is the inner one's, unless its destructors have run meanwhile.
    processaChamada(interna, entrada, saida, servico.vivo() ? &servico : nullptr);
    YNo_setString(resposta, "return", YStream_str(saida));
}

void chamaMetodoEmbutido(const Chamada &chamada, const YNo *requisicao, YNo *resposta, Pino &servico) {
    const std::string_view metodo = chamada.metodo;
    if (metodo == "constroi") {
        // Pinned until its identity is written: from now on the server may end it.
        const Pino novo = constroiServico(chamada, Origem::CLIENTE);
        YNo_setPtr(resposta, "return", novo.servico());
    } else if (metodo == "destroi") {
        // Without an object there is nothing to end, and that is no failure. The caller's pin frees it.
        derruba(chamada.servidor, servico);
    } else if (metodo == "invoca") {
        invoca(chamada, requisicao, resposta, servico);
    } else {
        YContextoTry_printf("nome: %s. ", chamada.metodo);
        YContextoTry_atributo("nome", chamada.metodo);
        lanca(YExcSoap_rtti, "Método desconhecido."_l1, FONTE);
    }
}

// ---- The response ----

void emiteResposta(const Chamada &chamada, YNo *resposta, YStream *saida) {
    // The method's name was registered, or is built in, so it is no markup; the port type's may be whatever
    // the client's URI held, when the object's class chose another one.
    TudoOuNada acrescimo(*saida); // what stands in front of a fault is its answer too
    const char *prefixo = chamada.comPrefixo ? "ns1:" : "";
    for (const char *pedaco : {"<", prefixo, chamada.metodo, "Response"}) {
        YStream_puts(saida, pedaco);
    }
    if (chamada.comPrefixo) {
        YStream_puts(saida, " xmlns:ns1=\"urn:");
        YStream_putHtmlString(saida, chamada.portType);
        YStream_puts(saida, "\"");
        YNo_setPrefixo(resposta, "ns1");
    }
    YStream_puts(saida, ">");
    YNo_gravaEm(resposta, saida);
    for (const char *pedaco : {"</", prefixo, chamada.metodo, "Response>"}) {
        YStream_puts(saida, pedaco);
    }
    acrescimo.fica();
}

} // namespace

void soap::processaChamada(const Chamada &chamada, YStream *entrada, YStream *saida, Pino *dado) {
    const Ponteiro<YNo> resposta = cria<YNo>(YNo_rtti, FONTE);
    const Requisicao lida = leRequisicao(chamada, entrada);
    YNo *requisicao = lida.elemento;
    Pino proprio;
    // An inner call borrows the outer one's pin; only one of its own is let go below.
    if (dado == nullptr) {
        proprio = localizaServico(chamada, requisicao);
        dado = &proprio;
    }
    // Held until the call has returned: a port type that takes this one's place does not end its context.
    const Tratador tratador = obtemTratador(chamada, dado->servico());
    if (!tratador) {
        chamaMetodoEmbutido(chamada, requisicao, resposta, *dado);
    } else if (dado->vivo()) {
        YWebService_protelaDerrubada(dado->servico());
        tratador(dado->servico(), requisicao, resposta);
    } else {
        chamaEmTemporario(chamada, tratador, requisicao, resposta);
    }
    proprio.solta(); // what "destroi" ended goes now, and its failure is this call's
    // Last, so that a call that failed has written nothing in front of its fault.
    emiteResposta(chamada, resposta, saida);
}
