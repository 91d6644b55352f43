// SOAP calls over TCP: what is answered, to whom a call goes, what fails and how.
#include "apoio/soap.hpp"

namespace {

struct Soap : ComAlvo {};

const std::string FALTOU = "YExcSoap: Tag procurada: a. Faltou tag.";

TEST_F(Soap, oQueELidoEOQueERecusado) {
    const std::string soma = envelope("soma", "<a>2</a><b>3</b>");
    // The line, the SOAPAction, the body, and what it is answered.
    const std::tuple<std::string, std::string, std::string, std::string> casos[] = {
        {"POST /Alvo", "#eco", envelope("eco", "<texto>\r\n&lt;&gt;&amp;lt;&quot;&apos;&#13; x</texto>"),
         "&lt;&gt;&amp;lt;&quot;'&#13; x"},
        {"POST /Alvo", "#eco", envelope("eco", "<texto>1</texto>") + "<lixo", "1"},
        {"POST /Alvo", "#eco", "<x><eco><texto>sem Body</texto></eco></x>", "sem Body"},
        {"POST /Alvo", "#acumula",
         envelope("acumula", "<valor>40</valor>" + eu(" " + chama("constroi") + "\n")), "40"},
        {"POST /Alvo", "#destroi", "", ""}, // nothing to end
        {"POST /Alvo", "#a/b<c>&\xE7\xA7", "",
         "YExcSoap: nome: a/b&lt;c&gt;&amp;c&#167;. Metodo desconhecido."},
        {"POST /Nada", "#constroi", "", "YExcSoap: nome: Nada. PortType desconhecido."},
        {"POST /Alvo", "#soma", "", FALTOU},
        {"POST /Alvo", "#destroi", envelope("destroi", eu("0")), NAO_CONSTA},
        {"POST /Alvo", "#falha", "", "YExcSoap: Acao &lt;nao&gt; permitida &amp; so isso: ?&#167;."},
        {"GET /Alvo", "#soma", soma, "5"},                 // a call whatever its HTTP method
        {"POST /wsdl/Alvo", "\"urn:x#soma\"x", soma, "5"}, // a call, not a WSDL
        {"POST /Alvo", "#" + std::string(200, 'm'), "",
         "YExcSoap: nome: " + std::string(127, 'm') + ". Metodo desconhecido."},
        {"POST /Alvo", "soma", soma, "no envelope: "}, // without # no SOAP call, and no answer
    };
    for (const auto &[linha, acao, corpo, esperado] : casos) {
        const std::string pedido = requisicao(linha, "SOAPAction: " + acao + "\r\n", corpo);
        EXPECT_EQ(resultado(servidor.responde(pedido)), esperado) << pedido;
        EXPECT_EQ(chama("soma", "<a>2</a><b>3</b>"), "5") << "and the next one is answered";
    }
}

TEST_F(Soap, invocaLevaUmaChamadaComoTexto) {
    const auto resposta = [](const std::string &metodo, const std::string &retorno) {
        return "&lt;" + metodo + "Response&gt;" + retorno + "&lt;/" + metodo + "Response&gt;";
    };
    const std::string cinco = resposta("soma", "&lt;return&gt;5&lt;/return&gt;");
    const std::string dois = "&lt;return&gt;2&lt;/return&gt;";
    const std::string objeto = chama("constroi");
    const auto invoca = [&](const std::string &parametros) { return chama("invoca", parametros); };
    const Casos casos = {
        {"<metodo>soma</metodo><param>&lt;soma>&lt;a>2&lt;/a>&lt;b>3&lt;/b>&lt;/soma></param>", cinco},
        {"<metodo>soma</metodo><param>&lt;a>2&lt;/a>&lt;b>3&lt;/b></param>", cinco}, // param is the request
        {"<metodo>soma</metodo><param>&lt;a</param>", "YExcSoap: Token inesperado."},
        {"", "YExcSoap: Tag procurada: metodo. Faltou tag."},
        {eu(objeto) + "<metodo>acumula</metodo><param>&lt;valor>2&lt;/valor></param>",
         resposta("acumula", dois)},
        {"<metodo>total</metodo><param>&lt;eu>" + objeto + "&lt;/eu></param>", resposta("total", dois)},
        {eu(objeto) + "<metodo>destroi</metodo>", resposta("destroi", "")},
    };
    confere(invoca, casos);
    EXPECT_EQ(chama("total", eu(objeto)), NAO_CONSTA);

    std::string interior = "<metodo>soma</metodo>";
    for (int niveis = 1; niveis <= 9; niveis++) {
        EXPECT_EQ(invoca(interior), niveis <= 8 ? FALTOU : "YExcSoap: Invocacoes aninhadas demais.")
            << niveis;
        interior = std::regex_replace(interior, std::regex("&"), "&amp;");
        interior = std::regex_replace(interior, std::regex("<"), "&lt;");
        interior = "<metodo>invoca</metodo><param>" + interior + "</param>";
    }
}

TEST_F(Soap, semEuAChamadaTemUmObjetoSoDela) {
    EXPECT_EQ(chama("acumula", "<valor>2</valor>"), "2");
    EXPECT_EQ(chama("acumula", "<valor>2</valor><eu/>"), "2");
    EXPECT_EQ(chama("vence", "<quando>0</quando>"), "");
    EXPECT_EQ(Alvo::vivos, 0) << "a deadline does not keep it";

    EXPECT_EQ(chama("suicida", "<falta/>"), "") << "a handler may free its own object";
    EXPECT_EQ(chama("suicida", eu(chama("constroi")) + "<falta/>"), "");
    EXPECT_EQ(chama("suicida"), "YExcSoap: Tag procurada: falta. Faltou tag.");
    EXPECT_EQ(servidor.vivos(), 0U);
    for (int vez = 0; vez < 5; vez++) {
        const std::string novo = chama("troca");
        EXPECT_EQ(chama("total", eu(novo)), "0") << "the call ends its own object, not what took its place";
        EXPECT_EQ(chama("destroi", eu(novo)), "");
    }

    const Diario diario;
    EXPECT_EQ(chama("padrao"), "YExc: Erro interno.");
    EXPECT_EQ(diario.quantos("YSoapServer: YExc: fora da faixa: 411111******1111 ("), 1);
    EXPECT_TRUE(acontece([] { return Alvo::vivos == 0; })) << "the sweep takes what a failed call left";
}

// ---- To whom a call goes ----

const YRtti OUTRO = {YWebService_rtti, "Outro", sizeof(YWebService), nullptr, nullptr};
int grupoDosOutros = 0;

void responde(YWebService *servico, YNo * /*requisicao*/, YNo *resposta) {
    YNo_setString(resposta, "return", servico->rtti->name);
    const bool doGrupo = YWebService_getGrupoDeRecursos(servico) == &grupoDosOutros;
    EXPECT_EQ(doGrupo, servico->rtti == &OUTRO) << "those that the port type made";
}

const YRtti FILHO = {Alvo_rtti, "Filho", sizeof(Alvo), nullptr, nullptr};

TEST_F(Soap, aClasseDoObjetoDecideAQuemAChamadaVai) {
    constexpr YDefinicaoMetodo metodos[] = {{"constroi", responde}, {"quem", responde}, {nullptr, nullptr}};
    const auto registra = [&](const char *nome, YFuncaoRtti classe) {
        servidor.registra({nome, metodos, classe, nullptr, &grupoDosOutros});
    };
    const auto outroRtti = [] { return &OUTRO; };
    registra("Outro", outroRtti);
    registra("\"<&>", outroRtti);
    registra("Familia", Alvo_rtti);
    const std::string alvo = eu(chama("constroi"));
    const auto filho = cria<YWebService>([] { return &FILHO; });
    YWebService_setSoapServer(filho, servidor);
    char identidade[Y_TAMANHO_IDENTIDADE];
    YObPtrToStr(identidade, sizeof identidade, filho.get());
    const std::tuple<const char *, const char *, std::string, std::string> casos[] = {
        {"Outro", "constroi", "", "Outro"},                   // its own handler goes before the built-in one
        {"\"<&>", "quem", "", "Outro"},                       // its name is escaped in the answer
        {"Outro", "acumula", alvo + "<valor>3</valor>", "3"}, // routed by its class
        {"Nada", "constroi", alvo, "YExcSoap: Tentou construir servico para um PortType inexistente."},
        {"Familia", "quem", eu(identidade), "Filho"},  // derives from the port type's class
        {"Outro", "quem", eu(identidade), NAO_CONSTA}, // a handler of another class
    };
    for (const auto &[portType, metodo, parametros, resultado] : casos) {
        EXPECT_EQ(chama(metodo, parametros, portType), resultado) << portType << metodo;
    }
    const ServidorSoap outroServidor{{definicaoDoAlvo()}};
    EXPECT_EQ(apoio::chama(outroServidor.porta(), "Alvo", "total", alvo), NAO_CONSTA);
    registra("Filho", outroRtti);
    // It has the name of the object's class, but is for other objects.
    EXPECT_EQ(chama("quem", eu(identidade), "Familia"), "Filho");
    EXPECT_EQ(chama("quem", eu(identidade), "Filho"), NAO_CONSTA);
}

// ---- WSDL, and what is no SOAP ----

TEST_F(Soap, wsdlComMacrosEORestoVaiParaOsArquivos) {
    for (const char *semWsdl : {"GET /wsdl/Nada", "GET /wsdl/Alvo"}) {
        EXPECT_EQ(servidor.responde(requisicao(semWsdl)).linha, "HTTP/1.1 404 File not found.") << semWsdl;
    }
    const apoio::Diario diario;
    const std::string longo(31, 'n');
    const std::string publicado = "HTTP/1.1 200 OKtext/xml; charset=ISO-8859-1";
    YSoapServer_registraMacro(servidor, "NOME", "antigo");
    YSoapServer_registraMacro(servidor, "NOME", "$(NOME) <\xE7>");
    YSoapServer_registraMacro(servidor, longo.c_str(), "longo");
    YSoapServer_registraMacro(servidor, "", "vazio");
    const std::tuple<std::string, std::string, std::string> casos[] = {
        {"", "localhost", ""},
        {"$(NOME)", "localhost", "$(NOME) <\xE7>"}, // not searched again
        {"a$(PORTA)b", "a", "a" + std::to_string(servidor.porta()) + "b"},
        {"$ ( $$(*Host)) $(*hOsT)$", "a:80", "$ ( $a:80) a:80$"},
        {"$(" + longo + "aaaa)$(" + longo + ")$()", "a", "longolongovazio"},
        {"a$(NOME", "a", "none"},
        {"$(nome)", "a", "none"}, // no answer
        {"$(*Host)", "a\"><b", "none"},
    };
    for (const auto &[wsdl, host, corpo] : casos) {
        servidor.registra(definicaoDoAlvo(wsdl.c_str()));
        Resposta r = servidor.responde("POST /x/wsdl/Alvo HTTP/1.1\r\nHost: " + host + "\r\n\r\n");
        EXPECT_EQ(r.linha + r.campos["content-type"] + r.corpo, corpo == "none" ? "" : publicado + corpo)
            << wsdl << host;
    }
    servidor.registra(definicaoDoAlvo("$(*Host)$(PORTA)$(nome)$("));
    YObThread_stop(servidor);
    servidor.inicia(); // logged for each time that it was given to a serving server, and at the start
    EXPECT_EQ(diario.quantos("PortType Alvo: Macro desconhecida em WSDL: nome"), 3);
    EXPECT_EQ(diario.quantos("PortType Alvo: Faltou fechar a macro em WSDL."), 3);
    EXPECT_EQ(diario.quantos("PortType"), 6);
}

TEST_F(Soap, umaRotaHttpFicaAtrasDasChamadasEDosWsdls) {
    const auto trata = [](void *anterior, char *uri, YMensagemHttp *requisicao, YMensagemHttp *resposta) {
        if (uri != std::string_view("/saude")) {
            const auto *a = static_cast<YTratadorHttp *>(anterior);
            return a->funcao(a->contexto, uri, requisicao, resposta);
        }
        YStream_puts(resposta->primeiraLinha, "204 No Content");
    };
    const auto pede = [&](const char *oQue) {
        return Cliente(servidor.porta()).pergunta(requisicao(oQue)).linha;
    };
    for (const bool parado : {false, true}) {
        parado ? YObThread_stop(servidor) : void();
        YTratadorHttp anterior;
        YTratadorHttp rota;
        YSoapServer_setTratadorHttp(servidor, &anterior, trata, &anterior);
        servidor.inicia();
        EXPECT_EQ(pede("GET /saude"), "HTTP/1.1 204 No Content") << parado;
        EXPECT_EQ(pede("GET /nada"), "HTTP/1.1 404 File not found.");
        EXPECT_EQ(chama("soma", "<a>2</a><b>3</b>"), "5");
        YSoapServer_setTratadorHttp(servidor, anterior.contexto, anterior.funcao, &rota);
        EXPECT_EQ(rota.contexto, &anterior);
        EXPECT_EQ(pede("GET /saude"), "HTTP/1.1 404 File not found.");
    }
}

// ---- Bounds and log ----

TEST_F(Soap, limites) {
    YSoapServer_setLimiteDeServicos(servidor, 2);
    const std::string um = chama("constroi");
    EXPECT_EQ(chama("constroi").size(), 32U);
    EXPECT_EQ(chama("constroi"), "YExcSoap: Limite de servicos ativos atingido.");
    EXPECT_EQ(chama("soma", "<a>2</a><b>3</b>"), "5") << "temporary objects are not refused";
    EXPECT_EQ(chama("destroi", eu(um)), "");
    for (int falhas = 0; falhas < 5; falhas++) {
        chama("falha");
    }
    EXPECT_LE(Alvo::vivos, 3) << "of what failed calls leave only so many wait for the sweep";
    EXPECT_EQ(chama("constroi").size(), 32U) << "and they refuse nobody";

    YSoapServer_setLimitesDaMensagem(servidor, 4, 6, 0);
    EXPECT_EQ(chama("soma", "<a>2</a><b>3</b>"), "5") << "four levels, five elements and an attribute";
    EXPECT_EQ(chama("soma", "<a><x/></a><b>3</b>"), "YExcSoap: Mensagem SOAP mal formada.");
    EXPECT_EQ(chama("soma", "<a>2</a><b>3</b><c/>"), "YExcSoap: Mensagem SOAP mal formada.");

    YSoapServer_setLimiteDoCorpo(servidor, 500);
    EXPECT_EQ(servidor.conversa(pedidoSoap("Alvo", "eco", std::string(501, ' '))),
              "HTTP/1.1 413 Content Too Large.\n");
}

TEST_F(Soap, oLogDosCorposETemUmaLinhaPorRegistroENadaEmClaro) {
    const std::string cartao = "4111111111111111";
    const std::string objeto = chama("constroi");
    const Diario diario(Y_LOG_CORPO);
    EXPECT_EQ(chama("eco", "<texto>\n" + cartao + "\n</texto>"), cartao + "\n");
    chama("total", eu(objeto));
    chama(cartao);
    EXPECT_EQ(diario.quantos("<ns1:return>411111******1111\\n</ns1:return>"), 1);
    EXPECT_EQ(diario.quantos("\n") + diario.quantos(cartao) + diario.quantos(objeto), 0);
}

} // namespace
