// SOAP calls over TCP: what is answered, to whom a call goes, what fails and how.
#include "apoio/alvo.hpp"
#include "apoio/soap.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>

using apoio::Alvo;
using apoio::Cliente;
using apoio::envelope;
using apoio::eu;
using apoio::Resposta;
using apoio::ServidorSoap;

namespace {

class Soap : public testing::Test {
protected:
    ServidorSoap servidor{{apoio::definicaoDoAlvo()}};

    std::string chama(const std::string &metodo, const std::string &parametros = "") {
        return apoio::chama(servidor.porta(), "Alvo", metodo, parametros);
    }
    std::string comCorpo(const std::string &metodo, const std::string &corpo) {
        return apoio::resultado(apoio::chamaComCorpo(servidor.porta(), "Alvo", metodo, corpo));
    }
    void aindaServe(const std::string &depoisDe) {
        EXPECT_EQ(chama("soma", "<a>2</a><b>3</b>"), "5") << "after " << depoisDe;
    }
    void TearDown() override { EXPECT_EQ(Alvo::quebrados, 0); }
};

const std::string NAO_CONSTA = "YExcSoap: Servico nao consta da lista de servicos ativos.";
const std::string FALTOU = "YExcSoap: Tag procurada: a. Faltou tag.";

TEST_F(Soap, osBytesDeUmaRespostaEDeUmaFalha) {
    Cliente cliente(servidor.porta());
    cliente.envia(apoio::pedidoSoap("Alvo", "soma", envelope("soma", "<a>2</a><b>3</b>")));
    Resposta r = cliente.recebe();
    EXPECT_EQ(r.linha, "HTTP/1.1 200 OK");
    EXPECT_EQ(r.campos["content-type"], "text/xml; charset=ISO-8859-1");
    EXPECT_EQ(apoio::conteudo(r),
              "<ns1:somaResponse xmlns:ns1=\"urn:Alvo\"><ns1:return>5</ns1:return></ns1:somaResponse>");

    cliente.envia(apoio::pedidoSoap("Alvo", "soma", envelope("soma", "<b>3</b>")));
    r = cliente.recebe();
    EXPECT_EQ(r.campos["content-type"], "text/xml; charset=ISO-8859-1");
    EXPECT_TRUE(std::regex_match(
        apoio::conteudo(r),
        std::regex("<SOAP-ENV:Fault><faultcode>SOAP-ENV:Client</faultcode><faultstring>YExcSoap: Tag "
                   "procurada: a\\. "
                   "Faltou tag\\. \\(YNo:[0-9]+\\)</faultstring><faultactor/></SOAP-ENV:Fault>")))
        << r.bytes;
}

TEST_F(Soap, umaConversaPorIdentidade) {
    const std::string um = chama("constroi");
    const std::string outro = chama("constroi");
    EXPECT_TRUE(std::regex_match(um, std::regex("[0-9a-f]{32}"))) << um;
    EXPECT_NE(um, outro);
    EXPECT_EQ(Alvo::vivos, 2);
    EXPECT_EQ(chama("acumula", eu(um) + "<valor>2</valor>"), "2");
    EXPECT_EQ(chama("acumula", "<valor>40</valor>" + eu(" " + um + "\n")), "42")
        << "its place does not matter";
    EXPECT_EQ(chama("acumula", eu(outro) + "<valor>1</valor>"), "1");
    EXPECT_EQ(chama("identidade", eu(um)), um) << "the same object, the same text";
    EXPECT_EQ(chama("destroi", eu(um)), "");
    EXPECT_EQ(chama("destroi", eu(um)), NAO_CONSTA);
    EXPECT_EQ(chama("destroi"), "") << "nothing to end";
    EXPECT_EQ(chama("total", eu(outro)), "1");
    EXPECT_EQ(Alvo::vivos, 1);
    servidor.libera();
    EXPECT_EQ(Alvo::vivos, 0) << "the server ends what is live";
}

struct Recusa {
    std::string portType;
    std::string metodo;
    std::string corpo;
    std::string falha;
};

std::vector<Recusa> recusas() {
    const auto soma = [](const std::string &parametros) { return envelope("soma", parametros); };
    const std::string utf8 = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";
    std::string fundo;
    for (int i = 0; i < 100'000; i++) {
        fundo += "<a>";
    }
    return {
        {"Alvo", "nada", envelope("nada", ""), "YExcSoap: nome: nada. Metodo desconhecido."},
        {"Alvo", "", envelope("x", ""), "YExcSoap: nome: . Metodo desconhecido."},
        {"Alvo", "\"", envelope("x", ""), "YExcSoap: nome: . Metodo desconhecido."},
        {"Alvo", "Soma", soma(""), "YExcSoap: nome: Soma. Metodo desconhecido."},
        {"Alvo", "a/b<c>&\xE7\xA7", soma(""),
         "YExcSoap: nome: a/b&lt;c&gt;&amp;c&#167;. Metodo desconhecido."},
        {"Nada", "soma", soma(""), "YExcSoap: nome: Nada. PortType desconhecido."},
        {"Nada", "constroi", soma(""), "YExcSoap: nome: Nada. PortType desconhecido."},
        {"Alvo?x", "soma", soma(""), "YExcSoap: nome: Alvo?x. PortType desconhecido."},
        {"Alvo/", "soma", soma(""), "YExcSoap: nome: . PortType desconhecido."},
        {"Alvo", "soma", soma("<b>3</b>"), FALTOU},
        {"Alvo", "soma", "", FALTOU},
        {"Alvo", "soma", soma("<a xsi:nil=\"true\"/><b>3</b>"), FALTOU},
        {"Alvo", "soma", " \n", "YExcSoap: Token inesperado."},
        {"Alvo", "soma", "<?xml", "YExcSoap: Token inesperado."},
        {"Alvo", "soma", "<?xml version=\"1.0\"", "YExcSoap: Token inesperado."},
        {"Alvo", "soma", "<a b=>", "YExcSoap: Mensagem SOAP mal formada."},
        {"Alvo", "soma", "<a>t<b/></a>", "YExcSoap: Mensagem SOAP mal formada. Esperava tag fechando."},
        {"Alvo", "soma", fundo, "YExcSoap: Mensagem SOAP mal formada."},
        {"Alvo", "soma", soma("<a>1</a>").substr(0, 90), "YExcSoap: Token inesperado."},
        {"Alvo", "soma", soma("<!DOCTYPE r [<!ENTITY a \"b\">]><a>&a;</a>"), "YExcSoap: Token inesperado."},
        {"Alvo", "soma", soma("<!-- nota --><a>1</a>"), "YExcSoap: Token inesperado."},
        {"Alvo", "soma", soma("<a>&nada;</a>"), "YExc: Referencia a caractere desconhecida."},
        {"Alvo", "soma", soma("<a>&#8364;</a>"), "YExc: Referencia a caractere fora de ISO-8859-1."},
        {"Alvo", "soma", utf8 + soma("<a>\xE2\x82\xAC</a>"), "YExcSoap: Caractere fora de ISO-8859-1."},
        {"Alvo", "soma", soma("<m xsi:type=\"n:Map\"><item/></m>"),
         "YExcSoap: Tag procurada: key. Faltou tag."},
        {"Alvo", "soma", soma(eu("0")), NAO_CONSTA},
        {"Alvo", "soma", soma(eu("0x7fffffffe000")), NAO_CONSTA},
        {"Alvo", "soma", soma(eu("00000000000000000000000000000000")), NAO_CONSTA},
        {"Alvo", "destroi", envelope("destroi", eu("0")), NAO_CONSTA},
        {"Alvo", "falha", "", "YExcSoap: Acao &lt;nao&gt; permitida &amp; so isso: ?&#167;."},
        {"Alvo", "padrao", "", "YExc: Erro interno."},
        {"Alvo", "estranha", "", "YExc: Erro interno."},
        {"Alvo", "invoca", "", "YExcSoap: Tag procurada: metodo. Faltou tag."},
        {"Alvo", "invoca", envelope("invoca", "<metodo/>"), "YExcSoap: Tag procurada: metodo. Faltou tag."},
        {"Alvo", "invoca", envelope("invoca", "<metodo>x</metodo>"),
         "YExcSoap: nome: x. Metodo desconhecido."},
        {"Alvo", "invoca", envelope("invoca", "<metodo>soma</metodo><param>&lt;a</param>"),
         "YExcSoap: Token inesperado."},
    };
}

TEST_F(Soap, oQueERecusadoViraFalhaEOProximoEAtendido) {
    for (const Recusa &caso : recusas()) {
        const std::string qual = caso.portType + "#" + caso.metodo + " " + caso.corpo.substr(0, 200);
        EXPECT_EQ(
            apoio::resultado(apoio::chamaComCorpo(servidor.porta(), caso.portType, caso.metodo, caso.corpo)),
            caso.falha)
            << qual;
        aindaServe(qual);
    }
}

TEST_F(Soap, oQueELido) {
    const std::string declaraUtf8 = "<?xml version='1.0' encoding='UTF-8' ?>\n";
    const std::string declaraLatin1 = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>";
    const std::string acao = "a&#231;&#227;o";
    const auto eco = [](const std::string &texto) { return envelope("eco", "<texto>" + texto + "</texto>"); };
    const std::vector<std::pair<std::string, std::string>> ecos = {
        {declaraUtf8 + eco("a\xC3\xA7\xC3\xA3o"), acao},
        {"\xEF\xBB\xBF" + declaraUtf8 + eco("a\xC3\xA7\xC3\xA3o"), acao},
        {declaraLatin1 + eco("a\xE7\xE3o"), acao},
        {eco("a\xE7\xE3o"), acao},
        {declaraUtf8 + eco("a\xE7\xE3o"), acao},
        {eco("a&#xE7;&#227;o"), acao},
        {declaraLatin1 + eco("\xC3\xA7"), "&#195;&#167;"},
        {eco("\r\n&lt;&gt;&amp;&quot;&apos;&#13; x"), "&lt;&gt;&amp;&quot;'&#13; x"},
        {eco("&amp;lt;"), "&amp;lt;"},
        {"<x><texto>sem Body</texto></x>", "sem Body"},
        {"<x><eco><texto>sem Body</texto></eco></x>", "sem Body"},
        {"<Envelope><Body><texto>sem metodo</texto></Body></Envelope>", "sem metodo"},
        {eco("1") + "<lixo", "1"},
    };
    for (const auto &[corpo, texto] : ecos) {
        EXPECT_EQ(comCorpo("eco", corpo), texto) << corpo;
    }
    const std::string mapa = "<item><key>endereco</key><value xsi:type=\"x:Map\"><item><key>cidade</key>"
                             "<value>Bel\xE9m</value></item></value></item>";
    EXPECT_EQ(chama("cidade", "<dados xsi:type=\"x:Map\">" + mapa + "</dados>"), "Bel&#233;m");
    EXPECT_EQ(chama("cidade", "<dados><endereco><cidade>Natal</cidade></endereco></dados>"), "Natal");
    const auto comReferencias = [&](const std::string &metodo, const std::string &parametros,
                                    const std::string &ao) {
        return comCorpo(metodo, "<E><Body><m:" + metodo + ">" + parametros + "</m:" + metodo + ">" + ao +
                                    "</Body></E>");
    };
    EXPECT_EQ(comReferencias("cidade", "<dados href=\"#1\"/>", "<x id=\"1\" type=\"x:Map\">" + mapa + "</x>"),
              "Bel&#233;m");
    const std::string objeto = chama("constroi");
    EXPECT_EQ(comReferencias("total", "<eu href=\"#e\"/>", "<x id=\"e\">" + objeto + "</x>"), "0");
    EXPECT_EQ(chama("soma", "<a href=\"#nada\">2</a><b>3</b>"), "5");
}

TEST_F(Soap, oNomeDoMetodoEDoPortType) {
    const auto falhaDe = [&](const std::string &uri, const std::string &acao) {
        Cliente cliente(servidor.porta());
        cliente.envia(
            apoio::requisicao(uri, "SOAPAction: " + acao + "\r\n", envelope("soma", "<a>2</a><b>3</b>")));
        return apoio::resultado(cliente.recebe());
    };
    EXPECT_EQ(falhaDe("GET /Alvo", "#soma"), "5") << "a call whatever its HTTP method";
    EXPECT_EQ(falhaDe("POST Alvo", "\"a#soma\"x"), "5");
    EXPECT_EQ(falhaDe("POST /wsdl/Alvo", "urn:x#soma"), "5") << "a call, not a WSDL";
    EXPECT_EQ(falhaDe("POST /Alvo", "#" + std::string(200, 'm')),
              "YExcSoap: nome: " + std::string(127, 'm') + ". Metodo desconhecido.");

    Cliente cliente(servidor.porta());
    cliente.envia(apoio::requisicao("POST /Alvo", "SOAPAction: soma\r\n", envelope("soma", "")));
    EXPECT_TRUE(cliente.fechou()) << "no # is no SOAP call, and no answer";
    aindaServe("SOAPAction without #");
}

TEST_F(Soap, invocaLevaUmaChamadaComoTexto) {
    const auto invoca = [&](const std::string &metodo, const std::string &interior,
                            const std::string &antes = "") {
        return chama("invoca", antes + "<metodo>" + metodo + "</metodo>" + interior);
    };
    const std::string soma = "&lt;soma>&lt;a>2&lt;/a>&lt;b>3&lt;/b>&lt;/soma>";
    EXPECT_EQ(invoca("soma", "<param>" + soma + "</param>"),
              "&lt;somaResponse&gt;&lt;return&gt;5&lt;/return&gt;&lt;/somaResponse&gt;");
    EXPECT_EQ(invoca("soma", "<param>&lt;a>2&lt;/a>&lt;b>3&lt;/b></param>"),
              "&lt;somaResponse&gt;&lt;return&gt;5&lt;/return&gt;&lt;/somaResponse&gt;")
        << "param itself is the request";
    EXPECT_EQ(invoca("soma", "<param/>"), FALTOU);
    EXPECT_EQ(invoca("soma", ""), FALTOU);
    EXPECT_EQ(invoca("destroi", ""), "&lt;destroiResponse&gt;&lt;/destroiResponse&gt;");

    const std::string objeto = chama("constroi");
    EXPECT_EQ(invoca("acumula", "<param>&lt;valor>2&lt;/valor></param>", eu(objeto)),
              "&lt;acumulaResponse&gt;&lt;return&gt;2&lt;/return&gt;&lt;/acumulaResponse&gt;");
    EXPECT_EQ(invoca("total", "<param>&lt;eu>" + objeto + "&lt;/eu></param>"),
              "&lt;totalResponse&gt;&lt;return&gt;2&lt;/return&gt;&lt;/totalResponse&gt;")
        << "the inner request names its object";
    EXPECT_EQ(invoca("destroi", "", eu(objeto)), "&lt;destroiResponse&gt;&lt;/destroiResponse&gt;");
    EXPECT_EQ(chama("total", eu(objeto)), NAO_CONSTA);
}

std::string escapado(const std::string &texto) {
    std::string saida;
    for (const char c : texto) {
        saida += c == '<' ? "&lt;" : c == '&' ? "&amp;" : std::string(1, c);
    }
    return saida;
}

TEST_F(Soap, invocaAninhaAteOito) {
    std::string interior = "<a>2</a><b>3</b>";
    std::string metodo = "soma";
    for (int niveis = 1; niveis <= 9; niveis++) {
        interior = "<metodo>" + metodo + "</metodo><param>" + escapado(interior) + "</param>";
        metodo = "invoca";
        const std::string r = chama("invoca", interior);
        if (niveis <= 8) {
            EXPECT_NE(r.find("return"), std::string::npos) << niveis << r;
        } else {
            EXPECT_EQ(r, "YExcSoap: Invocacoes aninhadas demais.");
        }
    }
}

TEST_F(Soap, semEuAChamadaTemUmObjetoSoDela) {
    EXPECT_EQ(chama("acumula", "<valor>2</valor>"), "2");
    EXPECT_EQ(chama("acumula", "<valor>2</valor><eu/>"), "2");
    EXPECT_EQ(chama("acumula", "<valor>2</valor><eu></eu>"), "2");
    EXPECT_EQ(Alvo::vivos, 0);
    const std::string passageiro = chama("identidade");
    EXPECT_EQ(chama("total", eu(passageiro)), NAO_CONSTA) << "gone with its call";
    EXPECT_EQ(chama("permanece"), "");
    EXPECT_EQ(Alvo::vivos, 0) << "a deadline does not keep it";

    for (const bool temporario : {true, false}) {
        const std::string objeto = temporario ? "" : eu(chama("constroi"));
        EXPECT_EQ(chama("suicida", objeto + "<falta/>"), "") << objeto;
        EXPECT_EQ(Alvo::vivos, 0) << "a handler may free its own object";
    }
    EXPECT_EQ(chama("suicida"), "YExcSoap: Tag procurada: falta. Faltou tag.");
    EXPECT_EQ(servidor.vivos(), 0U);
    for (int vez = 0; vez < 5; vez++) {
        const std::string novo = chama("troca");
        EXPECT_EQ(chama("total", eu(novo)), "0") << "the call ends its own object, not what took its place";
        EXPECT_EQ(chama("destroi", eu(novo)), "");
    }

    const apoio::Diario diario;
    EXPECT_EQ(chama("padrao"), "YExc: Erro interno.");
    EXPECT_EQ(diario.quantos("YSoapServer: YExc: fora da faixa: 411111******1111 ("), 1);
    EXPECT_TRUE(apoio::acontece([] { return Alvo::vivos == 0; }))
        << "the sweep takes what a failed call left";
}

// ---- To whom a call goes ----

void responde(YWebService *servico, YNo * /*requisicao*/, YNo *resposta) {
    YNo_setString(resposta, "return", servico->rtti->name);
}

const YRtti *Outro_rtti();
const YRtti *Filho_rtti();
const YRtti definicaoDoOutro = {YWebService_rtti, "Outro", sizeof(YWebService), nullptr, nullptr};
const YRtti definicaoDoFilho = {apoio::Alvo_rtti, "Filho", sizeof(Alvo), nullptr, nullptr};
const YRtti *Outro_rtti() {
    return &definicaoDoOutro;
}
const YRtti *Filho_rtti() {
    return &definicaoDoFilho;
}

constexpr YDefinicaoMetodo EMBUTIDOS[] = {{"constroi", responde},
                                          {"destroi", responde},
                                          {"invoca", responde},
                                          {"quem", responde},
                                          {nullptr, nullptr}};

TEST_F(Soap, aClasseDoObjetoDecideAQuemAChamadaVai) {
    const std::uint32_t porta = servidor.porta();
    const auto registra = [&](const char *nome, YFuncaoRtti classe) {
        const YDefinicaoPortType definicao = {nome, EMBUTIDOS, classe, nullptr, nullptr};
        YSoapServer_registraPortType(servidor.get(), &definicao);
    };
    registra("Outro", Outro_rtti);
    registra("Familia", apoio::Alvo_rtti);
    registra("SemClasse", nullptr);
    EXPECT_EQ(apoio::chama(porta, "Outro", "constroi"), "Outro")
        << "its own handler goes before the built-in one";
    EXPECT_EQ(apoio::chama(porta, "Outro", "destroi"), "Outro");
    EXPECT_EQ(apoio::chama(porta, "Outro", "invoca"), "Outro");
    EXPECT_EQ(apoio::chama(porta, "SemClasse", "quem"), "YExcSoap: PortType sem classe de servico.");

    const std::string alvo = chama("constroi");
    EXPECT_EQ(apoio::chama(porta, "Outro", "acumula", eu(alvo) + "<valor>3</valor>"), "3")
        << "routed by its class";
    EXPECT_EQ(apoio::chama(porta, "Nada", "total", eu(alvo)), "3");
    EXPECT_EQ(apoio::chama(porta, "Nada", "constroi", eu(alvo)),
              "YExcSoap: Tentou construir servico para um PortType inexistente.");

    YWebService *filho = nullptr;
    YalocaObjeto(&filho, Filho_rtti);
    YWebService_setSoapServer(filho, servidor.get());
    char identidade[Y_TAMANHO_IDENTIDADE];
    YObPtrToStr(identidade, sizeof identidade, filho);
    EXPECT_EQ(apoio::chama(porta, "Familia", "quem", eu(identidade)), "Filho")
        << "derives from the port type's class";
    EXPECT_EQ(apoio::chama(porta, "Outro", "quem", eu(identidade)), NAO_CONSTA)
        << "a handler of another class";
    EXPECT_EQ(apoio::chama(porta, "Nada", "quem", eu(identidade)),
              "YExcSoap: nome: Nada. PortType desconhecido.");
    registra("Filho", Outro_rtti);
    EXPECT_EQ(apoio::chama(porta, "Familia", "quem", eu(identidade)), "Filho")
        << "a port type of the class's name that is for other objects does not stand in the way";
    EXPECT_EQ(apoio::chama(porta, "Filho", "quem", eu(identidade)), NAO_CONSTA);
}

// ---- WSDL, and what is no SOAP ----

TEST_F(Soap, wsdlComMacros) {
    const std::string longo(31, 'n');
    YSoapServer_registraMacro(servidor.get(), "NOME", "antigo");
    YSoapServer_registraMacro(servidor.get(), "NOME", "$(NOME) <\xE7>");
    YSoapServer_registraMacro(servidor.get(), longo.c_str(), "longo");
    YSoapServer_registraMacro(servidor.get(), "", "vazio");
    const std::vector<std::pair<std::string, std::string>> casos = {
        {"<definitions/>", "<definitions/>"},
        {"", ""},
        {"$(NOME)", "$(NOME) <\xE7>"}, // not searched again
        {"a$(PORTA)b$(PORTA)",
         "a" + std::to_string(servidor.porta()) + "b" + std::to_string(servidor.porta())},
        {"$ ( $$(*Host)) $(*hOsT)$", "$ ( $localhost) localhost$"},
        {"$(" + longo + "aaaa)$(" + longo + ")$()", "longolongovazio"},
    };
    for (const auto &[wsdl, expandido] : casos) {
        const YDefinicaoPortType definicao = apoio::definicaoDoAlvo(wsdl.c_str());
        YSoapServer_registraPortType(servidor.get(), &definicao);
        for (const char *linha : {"GET /wsdl/Alvo", "POST /x/wsdl/Alvo"}) {
            Cliente cliente(servidor.porta());
            cliente.envia(apoio::requisicao(linha));
            Resposta r = cliente.recebe();
            EXPECT_EQ(r.linha, "HTTP/1.1 200 OK") << wsdl;
            EXPECT_EQ(r.campos["content-type"], "text/xml; charset=ISO-8859-1");
            EXPECT_EQ(r.corpo, expandido) << wsdl;
        }
    }
    for (const char *errado : {"a$(NOME", "$(", "$(nome)", "$(*Falta)", "$(*NOME)", "$(Host)"}) {
        const YDefinicaoPortType definicao = apoio::definicaoDoAlvo(errado);
        YSoapServer_registraPortType(servidor.get(), &definicao);
        Cliente cliente(servidor.porta());
        cliente.envia(apoio::requisicao("GET /wsdl/Alvo"));
        EXPECT_TRUE(cliente.fechou()) << errado;
    }
    const YDefinicaoPortType comCampos = apoio::definicaoDoAlvo("$(*Host)$(*X)");
    YSoapServer_registraPortType(servidor.get(), &comCampos);
    for (const char *campos : {"Host: a\"><b\nX: 1\n", "Host: a b\nX: 1\n", "Host: a\nX: <\n"}) {
        Cliente cliente(servidor.porta());
        cliente.envia("GET /wsdl/Alvo HTTP/1.1\n" + std::string(campos) + "\n");
        EXPECT_TRUE(cliente.fechou()) << campos;
    }
    aindaServe("WSDL with macros that are not there");
}

TEST_F(Soap, oRestoVaiParaOsArquivos) {
    const std::filesystem::path pasta = testing::TempDir() + "/soap_test";
    std::filesystem::create_directories(pasta / "wsdl");
    const auto pede = [&](const std::string &uri) {
        Cliente cliente(servidor.porta());
        cliente.envia(apoio::requisicao("GET " + uri));
        return cliente.recebe();
    };
    std::ofstream(pasta / "pagina") << "uma página";
    std::ofstream(pasta / "wsdl" / "Nada") << "um arquivo";
    std::ofstream(pasta / "wsdl" / "Alvo") << "outro";
    EXPECT_EQ(pede("/pagina").linha, "HTTP/1.1 404 File not found.") << "no directory is published at first";
    YSoapServer_setDiretorioBase(servidor.get(), pasta.c_str());
    EXPECT_EQ(pede("/pagina").corpo, "uma página");
    EXPECT_EQ(pede("/wsdl/Nada").corpo, "um arquivo") << "no port type of this name";
    EXPECT_EQ(pede("/wsdl/Alvo").corpo, "outro") << "a port type without WSDL";
    EXPECT_EQ(pede("/pagina").campos["content-type"], "text/html; charset=ISO-8859-1");
    std::filesystem::remove_all(pasta);
}

// ---- Bounds and log ----

TEST_F(Soap, limites) {
    YSoapServer_setLimiteDeServicos(servidor.get(), 2);
    const std::string um = chama("constroi");
    EXPECT_EQ(chama("constroi").size(), 32U);
    EXPECT_EQ(chama("constroi"), "YExcSoap: Limite de servicos ativos atingido.");
    EXPECT_EQ(Alvo::vivos, 2);
    aindaServe("the bound: temporary objects are not refused");
    EXPECT_EQ(chama("destroi", eu(um)), "");
    for (int falhas = 0; falhas < 5; falhas++) {
        chama("falha");
    }
    EXPECT_LE(Alvo::vivos, 3) << "of what failed calls leave only so many wait for the sweep";
    EXPECT_EQ(chama("constroi").size(), 32U) << "and they refuse nobody";

    YSoapServer_setLimitesDaMensagem(servidor.get(), 4, 6, 0);
    EXPECT_EQ(chama("soma", "<a>2</a><b>3</b>"), "5") << "four levels, five elements and an attribute";
    EXPECT_EQ(chama("soma", "<a><x/></a><b>3</b>"), "YExcSoap: Mensagem SOAP mal formada.");
    EXPECT_EQ(chama("soma", "<a>2</a><b>3</b><c/>"), "YExcSoap: Mensagem SOAP mal formada.");
    YSoapServer_setLimitesDaMensagem(servidor.get(), 0, 0, 0);

    YSoapServer_setLimiteDoCorpo(servidor.get(), 500);
    EXPECT_EQ(apoio::conversa(servidor.porta(), apoio::pedidoSoap("Alvo", "eco", std::string(501, ' '))),
              "HTTP/1.1 413 Content Too Large.\n");
    aindaServe("a body over the bound");
}

TEST_F(Soap, oLogDosCorposETemUmaLinhaPorRegistroENadaEmClaro) {
    const std::string cartao = "4111111111111111";
    const std::string objeto = chama("constroi");
    const apoio::Diario diario(Y_LOG_CORPO);
    EXPECT_EQ(chama("eco", "<texto>\n" + cartao + "\n</texto>"), cartao + "\n");
    chama("total", eu(objeto));
    EXPECT_EQ(diario.quantos("requisi\xE7\xE3o Alvo#eco: <e:Envelope"), 1);
    EXPECT_EQ(diario.quantos("resposta Alvo#eco: <?xml"), 1);
    EXPECT_EQ(diario.quantos("<texto>\\n411111******1111\\n</texto>"), 1);
    EXPECT_EQ(diario.quantos("<ns1:return>411111******1111\\n</ns1:return>"), 1);
    EXPECT_EQ(diario.quantos("\n"), 0);
    EXPECT_EQ(diario.quantos(cartao), 0);
    EXPECT_EQ(diario.quantos(objeto), 0);
    EXPECT_EQ(diario.quantos(""), 4);
}

} // namespace
