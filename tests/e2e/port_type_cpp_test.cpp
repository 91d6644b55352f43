// Methods that are functions of C++, called over TCP, and the WSDL that is made of them.
#include "apoio/alvo.hpp"
#include "apoio/soap.hpp"

using namespace apoio;

namespace {

struct Soma {
    int soma(int a, int b) const noexcept { return a + b; }
};

class Venda : public pramo::Objeto<Venda, YWebService>, public Soma {
public:
    std::int64_t inclui(const std::string &item) {
        const std::lock_guard tranca(trinco_);
        itens_.push_back(item);
        return static_cast<std::int64_t>(itens_.size());
    }

private:
    std::mutex trinco_;
    std::vector<std::string> itens_;
};

std::uint64_t proximo(std::uint64_t n) {
    return n + 1;
}

void registraTipos(YSoapServer *servidor) {
    pramo::PortType tipos("Tipos");
    tipos.metodo("b", {"v"}, [](bool v) { return v; })
        .metodo("i8", {"v"}, [](std::int8_t v) { return v; })
        .metodo("u16", {"v"}, [](std::uint16_t v) { return v; })
        .metodo("i64", {"v"}, [](std::int64_t v) { return v; })
        .metodo("u64", {"v"}, proximo)
        .metodo("f", {"v"}, [](float v) { return v; })
        .metodo("d", {"a", "b"}, [](double a, double b) { return a / b; })
        .metodo("s", {"v"}, [](const std::string &v) { return "<" + v + ">"; })
        .metodo("data", {"v"}, [](std::chrono::year_month_day v) { return v; })
        .metodo("no", {"v"}, [](const YNo *v, YNo *r) { YNo_setString(r, "x", YNo_getString(v, "y/z")); })
        .metodo("nada", [] {})
        .registra(servidor);
}

TEST(PortTypeCpp, umParametroEDoSeuTipoOuUmaFalta) {
    const ServidorSoap servidor({});
    registraTipos(servidor);
    const std::string invalido = "YExcSoap: parametro: v. Valor invalido.";
    const std::string fora = "YExcSoap: parametro: v. Valor fora da faixa.";
    // clang-format off
    const std::tuple<const char *, std::string, std::string> casos[] = {
        {"b", " 1\n", "true"}, {"b", "sim", invalido}, {"i8", "-128", "-128"}, {"i8", "-129", fora}, {"i8", "+127", "127"}, {"i8", "128", fora},
        {"u16", "65535", "65535"}, {"u16", "65536", fora}, {"u16", "-1", fora}, {"i64", "-9223372036854775808", "-9223372036854775808"},
        {"i64", "9223372036854775808", fora}, {"i64", "1.5", invalido}, {"i64", "", invalido}, {"u64", "18446744073709551614", "18446744073709551615"},
        {"f", "0.1", "0.1"}, {"f", "1e39", fora}, {"f", "-1e-50", fora}, {"f", "0", "0"}, {"f", "-INF", "-INF"}, {"f", "1,5", invalido}, {"s", "a&lt;\xE7 ", "&lt;a&lt;&#231; &gt;"}, {"s", "", "&lt;&gt;"}, {"s", "<x>1</x>", invalido},
        {"data", "2024-02-29", "2024-02-29"}, {"data", "2023-02-29", fora}, {"no", "<y><z>3</z></y>", "<ns1:x>3</ns1:x>"}, {"nada", "", ""}};
    // clang-format on
    for (const auto &[metodo, valor, esperado] : casos) {
        EXPECT_EQ(chama(servidor.porta(), "Tipos", metodo, "<v>" + valor + "</v>"), esperado)
            << metodo << " " << valor;
    }
    const std::string faltou = "YExcSoap: Tag procurada: b. Faltou tag.";
    EXPECT_EQ(chama(servidor.porta(), "Tipos", "d", "<a>1</a><b>3e6</b>"), "3.3333333333333335e-07");
    EXPECT_EQ(chama(servidor.porta(), "Tipos", "d", "<a>1</a>"), faltou);
}

std::string wsdl(std::uint32_t porta, const char *nome) {
    return Cliente(porta).pede(requisicao(std::string("GET /wsdl/") + nome));
}

TEST(PortTypeCpp, oWsdlDizNomesETipos) {
    const ServidorSoap servidor({});
    registraTipos(servidor);
    const std::string documento = wsdl(servidor.porta(), "Tipos");
    std::string tipos;
    const std::regex parte("Request\">\\s*<part name=\"(\\w+)\" type=\"xsd:(\\w+)\"/>");
    for (std::sregex_iterator i(documento.begin(), documento.end(), parte), fim; i != fim; ++i) {
        tipos += (*i)[2].str() + " ";
    }
    EXPECT_EQ(tipos, "boolean byte unsignedShort long unsignedLong float double string date anyType ");
    EXPECT_NE(documento.find("location=\"http://localhost/soap/Tipos\""), documento.npos);
    EXPECT_EQ(documento.find("constroi"), documento.npos) << "no method is one of service objects";

    const auto portType = cria<YPortType>(YPortType_rtti);
    const YDefinicaoParametro repetidos[] = {{"a", Y_XSD_INT}, {"a", Y_XSD_INT}, {"\"", Y_XSD_INT}};
    // clang-format off
    const std::tuple<const char *, int, int, YTipoXsd, std::string> casos[] = {
        {"", 0, 0, Y_XSD_INT, "YExcSoap: nome: . Nome inválido em WSDL."_l1}, {"1a", 0, 0, Y_XSD_INT, "YExcSoap: nome: 1a. Nome inválido em WSDL."_l1},
        {"a", 2, 1, Y_XSD_INT, "YExcSoap: nome: \". Nome inválido em WSDL."_l1}, {"a", 0, 2, Y_XSD_INT, "YExcSoap: nome: a. Nome repetido em WSDL."},
        {"a", 0, 0, YTipoXsd(17), "YExcSoap: nome: a. Tipo desconhecido em WSDL."}, {"a.b-c_1", 1, 1, Y_XSD_INT, ""}};
    // clang-format on
    for (const auto &[metodo, de, quantos, tipo, recusa] : casos) {
        const auto descreve = [&] {
            YPortType_descreveMetodo(portType, metodo, repetidos + de, static_cast<uint32_t>(quantos), tipo);
        };
        EXPECT_EQ(excecao(descreve), recusa) << metodo;
    }
    EXPECT_THROW(YSoapServer_poePortType(servidor, "a b", portType), YExcecao);
    EXPECT_EQ(YSoapServer_recuperaPortType(servidor, "a b"), nullptr);
    pramo::PortType("Seu")
        .metodo("x", {"eu"}, [](int) {})
        .metodo("constroi", {"k"}, [](int k) { return k; })
        .registra(servidor);
    const std::regex seus(
        "xResponse[^]+constroiRequest\">\\s*<part name=\"k\"[^]+destroiRequest\">\\s*<part");
    EXPECT_TRUE(std::regex_search(wsdl(servidor.porta(), "Seu"), seus)) << "what is called stands in it";
}

TEST(PortTypeCpp, umMetodoDoObjetoTemOSeuObjeto) {
    const ServidorSoap servidor({});
    pramo::PortType<Venda> vendas("Venda");
    vendas.metodo("inclui", {"item"}, &Venda::inclui)
        .metodo("mais", [](Venda &venda) { return venda.inclui("x"); })
        .metodo("soma", {"a", "b"}, &Venda::soma)
        .registra(servidor);
    EXPECT_THROW(vendas.registra(servidor), YExcecao) << "given away";
    const auto chama = [&](const char *metodo, const std::string &parametros) {
        return apoio::chama(servidor.porta(), "Venda", metodo, parametros);
    };
    const std::string objeto = eu(chama("constroi", ""));
    EXPECT_EQ(chama("inclui", objeto + "<item>a</item>"), "1");
    EXPECT_EQ(chama("mais", objeto), "2");
    EXPECT_EQ(chama("soma", objeto + "<a>2</a><b>3</b>"), "5");
    EXPECT_EQ(chama("mais", ""), "1") << "an object of its own";
    const std::string documento = wsdl(servidor.porta(), "Venda");
    for (const char *pedaco :
         {"\"constroiResponse\">\n    <part name=\"return\" type=\"xsd:string\"/>",
          "\"incluiRequest\">\n    <part name=\"eu\" type=\"xsd:string\"/>\n    <part name=\"item\"",
          "\"destroiRequest\">\n    <part name=\"eu\" type=\"xsd:string\"/>"}) {
        EXPECT_NE(documento.find(pedaco), documento.npos) << pedaco;
    }
}

struct Derivado : pramo::Objeto<Derivado, YPortType> {
    ~Derivado() { porta = YSoapServer_getPorta(servidor); }
    YSoapServer *servidor;
    static inline int32_t porta = 0;
};

TEST(PortTypeCpp, oDestrutorDeUmSubstituidoPodeUsarOServidor) {
    ServidorSoap servidor({});
    auto derivado = cria<Derivado>();
    derivado->servidor = servidor;
    YSoapServer_poePortType(servidor, "Tipo", derivado);
    YSoapServer_poePortType(servidor, "Tipo", derivado.release()); // itself: nothing goes
    EXPECT_EQ(Derivado::porta, 0);
    pramo::PortType("Tipo").registra(servidor);
    EXPECT_EQ(static_cast<std::uint32_t>(Derivado::porta), servidor.porta());
}

TEST(PortTypeCpp, oQueUmMetodoCapturouViveAteASuaUltimaChamada) {
    ServidorSoap servidor({});
    const auto capturado = std::make_shared<std::string>("um");
    const auto registra = [&] {
        pramo::PortType("Tipo")
            .metodo("le",
                    [capturado] {
                        const std::shared_ptr<std::string> *meu = &capturado;
                        Alvo::dentro++;
                        acontece([] { return Alvo::aberto.load(); });
                        Alvo::dentro--;
                        return **meu;
                    })
            .registra(servidor);
    };
    registra();
    Alvo::aberto = false;
    Cliente ocupado(servidor.porta());
    ocupado.envia(pedidoSoap("Tipo", "le", envelope("le", "")));
    EXPECT_TRUE(acontece([] { return Alvo::dentro == 1; }));
    registra(); // in its place
    EXPECT_EQ(capturado.use_count(), 3);
    Alvo::aberto = true;
    EXPECT_EQ(resultado(ocupado.recebe()), "um");
    EXPECT_TRUE(acontece([&] { return capturado.use_count() == 2; }));
    YPortType *portType = YSoapServer_recuperaPortType(servidor, "Tipo");
    EXPECT_EQ(YPortType_obtemTratador(portType, "le"), nullptr);
    EXPECT_EQ(YPortType_registraTratador(portType, "le", [](YWebService *, YNo *, YNo *) {}), 0);
    EXPECT_EQ(capturado.use_count(), 1) << "a plain handler took its place";
    EXPECT_EQ(chama(servidor.porta(), "Tipo", "le"), "");
}

} // namespace
