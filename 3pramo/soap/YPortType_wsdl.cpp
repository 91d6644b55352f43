// The WSDL document that is made of a port type's descriptions. Every text in it is a name that was checked,
// so that nothing needs escaping, and no name can bring in a macro.
#include <3pramo/soap/YPortType_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>
#include <3pramo/node/YExcSoap.h>

#include <algorithm>
#include <array>
#include <string_view>

using namespace pramo;
using namespace pramo::soap;

namespace {

constexpr const char *FONTE_DO_WSDL = "YPortType";

// In the order of YTipoXsd.
constexpr std::array<std::string_view, Y_XSD_DATE_TIME + 1> NOMES_DOS_TIPOS = {
    "",       "anyType",     "boolean", "byte",         "unsignedByte", "short",  "unsignedShort",
    "int",    "unsignedInt", "long",    "unsignedLong", "float",        "double", "decimal",
    "string", "date",        "dateTime"};

// ---- What is described ----

[[noreturn]] void recusa(const char *nome, const char *mensagem) {
    YContextoTry_printf("nome: %s. ", nome);
    lanca(YExcSoap_rtti, mensagem, FONTE_DO_WSDL);
}

void exigeNome(const char *nome) {
    const std::string_view texto = nome != nullptr ? nome : "";
    const bool comeca = !texto.empty() && !ehAlgarismo(texto[0]) && texto[0] != '-' && texto[0] != '.';
    const bool continua = std::all_of(texto.begin(), texto.end(), [](char c) {
        return ehAlfanumerico(c) || c == '_' || c == '-' || c == '.';
    });
    if (!comeca || !continua) {
        recusa(nome, "Nome inválido em WSDL."_l1);
    }
}

void exigeTipo(const char *nome, YTipoXsd tipo, YTipoXsd primeiro) {
    if (tipo < primeiro || tipo > Y_XSD_DATE_TIME) {
        recusa(nome, "Tipo desconhecido em WSDL.");
    }
}

Descricao leDescricao(const char *metodo, const YDefinicaoParametro *parametros, uint32_t quantos,
                      YTipoXsd resultado) {
    exigeNome(metodo);
    exigeTipo(metodo, resultado, Y_XSD_NENHUM);
    Descricao nova = {metodo, {}, resultado};
    for (uint32_t i = 0; i < quantos; i++) {
        const YDefinicaoParametro &p = parametros[i];
        exigeNome(p.nome);
        exigeTipo(p.nome, p.tipo, Y_XSD_ANY_TYPE);
        if (std::ranges::count(nova.parametros, std::string_view(p.nome), &Parametro::nome) != 0) {
            recusa(p.nome, "Nome repetido em WSDL.");
        }
        nova.parametros.push_back({p.nome, p.tipo});
    }
    return nova;
}

// ---- The document ----

bool temEu(const Descricao &d) {
    return std::ranges::count(d.parametros, std::string_view("eu"), &Parametro::nome) != 0;
}

// The descriptions, between those of the built-in methods if any is of service objects. Of a built-in method
// that the port type has itself, that is the one that is called.
std::vector<Descricao> todasAsDescricoes(const YPortType_Privado &p) {
    std::vector<Descricao> todas = p.descricoes;
    const auto embutido = [&](std::size_t onde, const Descricao &d) {
        if (std::ranges::count(todas, d.metodo, &Descricao::metodo) == 0) {
            todas.insert(todas.begin() + static_cast<std::ptrdiff_t>(onde), d);
        }
    };
    if (std::ranges::any_of(p.descricoes, temEu)) {
        embutido(0, {"constroi", {}, Y_XSD_STRING});
        embutido(todas.size(), {"destroi", {{"eu", Y_XSD_STRING}}, Y_XSD_NENHUM});
    }
    return todas;
}

// Its pieces: "@" is the port type's name, "%" that of a method or a parameter, "&" a type or a kind of
// message.
constexpr std::string_view INICIO = R"(<?xml version="1.0" encoding="ISO-8859-1"?>
<definitions name="@" targetNamespace="urn:@" xmlns:tns="urn:@"
    xmlns="http://schemas.xmlsoap.org/wsdl/" xmlns:soap="http://schemas.xmlsoap.org/wsdl/soap/"
    xmlns:xsd="http://www.w3.org/2001/XMLSchema">
)";
constexpr std::string_view INICIO_DA_MENSAGEM = R"(  <message name="%&">
)";
constexpr std::string_view PARTE = R"(    <part name="%" type="xsd:&"/>
)";
constexpr std::string_view FIM_DA_MENSAGEM = R"(  </message>
)";
constexpr std::string_view INICIO_DAS_OPERACOES = R"(  <portType name="@">
)";
constexpr std::string_view OPERACAO =
    R"(    <operation name="%"><input message="tns:%Request"/><output message="tns:%Response"/></operation>
)";
constexpr std::string_view INICIO_DA_LIGACAO = R"(  </portType>
  <binding name="@" type="tns:@">
    <soap:binding style="rpc" transport="http://schemas.xmlsoap.org/soap/http"/>
)";
constexpr std::string_view LIGACAO = R"(    <operation name="%">
      <soap:operation soapAction="urn:@#%"/>
      <input><soap:body use="encoded" namespace="urn:@" encodingStyle="http://schemas.xmlsoap.org/soap/encoding/"/></input>
      <output><soap:body use="encoded" namespace="urn:@" encodingStyle="http://schemas.xmlsoap.org/soap/encoding/"/></output>
    </operation>
)";
constexpr std::string_view FIM = R"(  </binding>
  <service name="@">
    <port name="@" binding="tns:@">
      <soap:address location="http://$(*Host)/soap/@"/>
    </port>
  </service>
</definitions>
)";

class Documento {
public:
    explicit Documento(const std::string &portType) : portType_(portType) {}

    void poe(std::string_view modelo, std::string_view nome = "", std::string_view tipo = "") {
        for (const char c : modelo) {
            if (c == '@') {
                texto_ += portType_;
            } else if (c == '%') {
                texto_ += nome;
            } else if (c == '&') {
                texto_ += tipo;
            } else {
                texto_ += c;
            }
        }
    }
    void poeMensagem(const std::string &metodo, const char *qual, const std::vector<Parametro> &partes) {
        poe(INICIO_DA_MENSAGEM, metodo, qual);
        for (const Parametro &parte : partes) {
            poe(PARTE, parte.nome, NOMES_DOS_TIPOS[static_cast<std::size_t>(parte.tipo)]);
        }
        poe(FIM_DA_MENSAGEM);
    }
    [[nodiscard]] std::string texto() const { return texto_; }

private:
    std::string portType_;
    std::string texto_;
};

std::string fazDocumento(const YPortType_Privado &p) {
    const std::vector<Descricao> descricoes = todasAsDescricoes(p);
    Documento documento(p.nome);
    documento.poe(INICIO);
    for (const Descricao &d : descricoes) {
        const std::vector<Parametro> resultado(d.resultado != Y_XSD_NENHUM ? 1 : 0, {"return", d.resultado});
        documento.poeMensagem(d.metodo, "Request", d.parametros);
        documento.poeMensagem(d.metodo, "Response", resultado);
    }
    documento.poe(INICIO_DAS_OPERACOES);
    for (const Descricao &d : descricoes) {
        documento.poe(OPERACAO, d.metodo);
    }
    documento.poe(INICIO_DA_LIGACAO);
    for (const Descricao &d : descricoes) {
        documento.poe(LIGACAO, d.metodo);
    }
    documento.poe(FIM);
    return documento.texto();
}

} // namespace

void YPortType_descreveMetodo(YPortType *portType, const char *metodo, const YDefinicaoParametro *parametros,
                              uint32_t quantos, YTipoXsd tipoDoResultado) {
    YPortType_Privado &p = privado(*portType);
    if (!p.nome.empty()) {
        exigeNome(p.nome.c_str()); // it was published before anything was described
    }
    semFaltaDeMemoria(FONTE_DO_WSDL, [&] {
        Descricao nova = leDescricao(metodo, parametros, quantos, tipoDoResultado);
        const auto velha = std::ranges::find(p.descricoes, nova.metodo, &Descricao::metodo);
        if (velha != p.descricoes.end()) {
            *velha = std::move(nova);
        } else {
            p.descricoes.push_back(std::move(nova));
        }
        p.wsdl.clear();
        return 0;
    });
}

void soap::daNome(const YPortType &portType, const char *nome) {
    YPortType_Privado &p = privado(portType);
    if (!p.descricoes.empty()) {
        exigeNome(nome);
    }
    semFaltaDeMemoria(FONTE_DO_WSDL, [&] {
        p.nome = nome;
        p.wsdl.clear();
        return 0;
    });
}

const char *soap::documentoDe(const YPortType &portType) {
    YPortType_Privado &p = privado(portType);
    if (portType.wsdl != nullptr || p.descricoes.empty()) {
        return portType.wsdl;
    }
    if (p.wsdl.empty()) {
        p.wsdl = semFaltaDeMemoria(FONTE_DO_WSDL, [&] { return fazDocumento(p); });
    }
    return p.wsdl.c_str();
}
