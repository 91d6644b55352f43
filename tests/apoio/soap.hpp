// A SOAP server on a free port, and calls to it.
#ifndef TESTES_APOIO_SOAP_HPP
#define TESTES_APOIO_SOAP_HPP

#include "cliente.hpp"
#include "servidor.hpp"

#include <3pramo/3pramo.hpp>

#include <regex>
#include <string>
#include <vector>

namespace apoio {

inline const std::string NAO_CONSTA = "YExcSoap: Servico nao consta da lista de servicos ativos.";

/// A running SOAP server with its port types.
class ServidorSoap {
public:
    explicit ServidorSoap(const std::vector<YDefinicaoPortType> &portTypes,
                          YFuncaoRtti classe = YSoapServer_rtti)
        : servidor_(pramo::cria<YSoapServer>(classe)) {
        YSoapServer_setPorta(get(), 0);
        for (const YDefinicaoPortType &portType : portTypes) {
            YSoapServer_registraPortType(get(), &portType);
        }
        inicia();
    }

    void inicia() {
        YObThread_start(get());
        if (YSoapServer_esperaPronto(get(), std::time(nullptr) + 10) == 0) {
            throw std::runtime_error("the server does not listen");
        }
    }

    void libera() { servidor_.reset(); }

    [[nodiscard]] YSoapServer *get() const { return servidor_.get(); }
    operator YSoapServer *() const { return servidor_; }
    [[nodiscard]] std::uint32_t porta() const {
        return static_cast<std::uint32_t>(YSoapServer_getPorta(get()));
    }
    [[nodiscard]] std::uint64_t vivos() const { return YSoapServer_getServicos(get()); }

private:
    pramo::Ponteiro<YSoapServer> servidor_;
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

/// What the answer holds between the envelope's head and tail; all of it when it has not this form.
inline std::string conteudo(const Resposta &r) {
    const std::string inicio =
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<SOAP-ENV:Envelope"
        " SOAP-ENV:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\""
        " xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\""
        " xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\""
        " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
        " xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\"><SOAP-ENV:Body>";
    const std::string fim = "</SOAP-ENV:Body></SOAP-ENV:Envelope>";
    if (r.linha != "HTTP/1.1 200 OK" || !r.corpo.starts_with(inicio) || !r.corpo.ends_with(fim)) {
        return "no envelope: " + r.bytes;
    }
    return r.corpo.substr(inicio.size(), r.corpo.size() - inicio.size() - fim.size());
}

/// Of a fault "CLASS: MESSAGE", without the place in the sources; of the response of a method what stands in
/// its "return", "" when there is none; all of what is neither.
inline std::string resultado(const Resposta &r) {
    static const std::regex forma(
        "<SOAP-ENV:Fault><faultcode>SOAP-ENV:Client</faultcode><faultstring>([^]*) \\(\\w+:\\d+\\)"
        "</faultstring><faultactor/></SOAP-ENV:Fault>|"
        "<(ns1:\\w+) xmlns:ns1=\"[^\"]*\">(?:<ns1:return>([^]*)</ns1:return>)?</\\2>");
    const std::string tudo = conteudo(r);
    std::smatch partes;
    return std::regex_match(tudo, partes, forma) ? partes.str(1) + partes.str(3) : tudo;
}

/// One call on a connection of its own.
inline Resposta chamaComCorpo(std::uint32_t porta, const std::string &portType, const std::string &metodo,
                              const std::string &corpo) {
    Cliente cliente(porta);
    cliente.envia(pedidoSoap(portType, metodo, corpo));
    return cliente.recebe();
}

inline std::string chama(std::uint32_t porta, const std::string &portType, const std::string &metodo,
                         const std::string &parametros = "") {
    return resultado(chamaComCorpo(porta, portType, metodo, envelope(metodo, parametros)));
}

inline std::string eu(const std::string &identidade) {
    return "<eu>" + identidade + "</eu>";
}

} // namespace apoio

#endif
