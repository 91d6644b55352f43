// A SOAP server on a free port, and calls to it.
#pragma once

#include "alvo.hpp"

namespace apoio {

inline const std::string NAO_CONSTA = "YExcSoap: Servico nao consta da lista de servicos ativos.";

/// A running SOAP server with its port types.
struct ServidorSoap : ServidorDe<YSoapServer, YSoapServer_setPorta, YSoapServer_setEndereco,
                                 YSoapServer_esperaPronto, YSoapServer_getPorta> {
    explicit ServidorSoap(const std::vector<YDefinicaoPortType> &portTypes,
                          YFuncaoRtti classe = YSoapServer_rtti)
        : ServidorDe(classe) {
        std::ranges::for_each(portTypes, [this](const auto &portType) { registra(portType); });
        inicia();
    }
    void registra(const YDefinicaoPortType &portType) { YSoapServer_registraPortType(*this, &portType); }
    [[nodiscard]] std::uint64_t vivos() const { return YSoapServer_getServicos(*this); }
};

/// The HTTP request of a call with this body.
inline std::string pedidoSoap(const std::string &portType, const std::string &metodo,
                              const std::string &corpo) {
    return requisicao("POST /soap/" + portType, "SOAPAction: \"urn:Teste#" + metodo + "\"\r\n", corpo);
}

/// The usual body: an envelope with the method's element.
inline std::string envelope(const std::string &metodo, const std::string &parametros) {
    return "<e:Envelope xmlns:e=\"http://schemas.xmlsoap.org/soap/envelope/\"><e:Body><m:" + metodo + ">" +
           parametros + "</m:" + metodo + "></e:Body></e:Envelope>";
}

/// Of a fault "CLASS: MESSAGE", without the place in the sources; of the response of a method what stands in
/// its "return", "" when there is none; of another Body its content; all of what has no envelope.
inline std::string resultado(const Resposta &r) {
    const std::string inicio =
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<SOAP-ENV:Envelope"
        " SOAP-ENV:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\""
        " xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\""
        " xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\""
        " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
        " xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\"><SOAP-ENV:Body>";
    const std::string fim = "</SOAP-ENV:Body></SOAP-ENV:Envelope>";
    static const std::regex forma(
        "<SOAP-ENV:Fault><faultcode>SOAP-ENV:Client</faultcode><faultstring>([^]*) \\(\\w+:\\d+\\)"
        "</faultstring><faultactor/></SOAP-ENV:Fault>|"
        "<(ns1:\\w+) xmlns:ns1=\"(?:urn:(?:[^\"<&]|&\\w+;)+)\">(?:<ns1:return>([^]*)</ns1:return>)?</\\2>");
    if (r.linha != "HTTP/1.1 200 OK" || !r.corpo.starts_with(inicio) || !r.corpo.ends_with(fim)) {
        return "no envelope: " + r.bytes;
    }
    const std::string tudo = r.corpo.substr(inicio.size(), r.corpo.size() - inicio.size() - fim.size());
    std::smatch partes;
    return std::regex_match(tudo, partes, forma) ? partes.str(1) + partes.str(3) : tudo;
}

/// One call on a connection of its own.
inline std::string chama(std::uint32_t porta, const std::string &portType, const std::string &metodo,
                         const std::string &parametros = "") {
    return resultado(Cliente(porta).pergunta(pedidoSoap(portType, metodo, envelope(metodo, parametros))));
}

inline std::string eu(const std::string &identidade) {
    return "<eu>" + identidade + "</eu>";
}

/// A running server with objects that know whether they are whole, and calls to it.
struct ComAlvo : testing::Test {
    ServidorSoap servidor{{definicaoDoAlvo()}};

    std::string chama(const std::string &metodo, const std::string &parametros = "",
                      const std::string &portType = "Alvo") {
        return apoio::chama(servidor.porta(), portType, metodo, parametros);
    }
    void TearDown() override {
        servidor.libera();
        EXPECT_EQ(Alvo::vivos + Alvo::quebrados, 0) << "still there, or met by a call when not whole";
    }
};

} // namespace apoio
