// A SOAP server on a free port, and calls to it.
#ifndef TESTES_APOIO_SOAP_HPP
#define TESTES_APOIO_SOAP_HPP

#include "cliente.hpp"
#include "servidor.hpp"

#include <3pramo/3pramo.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace apoio {

/// A running SOAP server with its port types.
class ServidorSoap {
public:
    explicit ServidorSoap(const std::vector<YDefinicaoPortType> &portTypes) {
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
    [[nodiscard]] std::uint32_t porta() const {
        return static_cast<std::uint32_t>(YSoapServer_getPorta(get()));
    }
    [[nodiscard]] std::uint64_t vivos() const { return YSoapServer_getServicos(get()); }

private:
    pramo::Ponteiro<YSoapServer> servidor_ = pramo::cria<YSoapServer>(YSoapServer_rtti);
};

inline const std::string INICIO_DO_ENVELOPE =
    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<SOAP-ENV:Envelope"
    " SOAP-ENV:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\""
    " xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\""
    " xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\""
    " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
    " xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\"><SOAP-ENV:Body>";
inline const std::string FIM_DO_ENVELOPE = "</SOAP-ENV:Body></SOAP-ENV:Envelope>";

/// The HTTP request of a call with this body.
inline std::string pedidoSoap(std::string_view portType, std::string_view metodo, std::string_view corpo) {
    return requisicao("POST /soap/" + std::string(portType),
                      "SOAPAction: \"urn:Teste#" + std::string(metodo) + "\"\r\n", corpo);
}

/// The usual body: an envelope with the method's element.
inline std::string envelope(std::string_view metodo, std::string_view parametros) {
    return "<e:Envelope xmlns:e=\"http://schemas.xmlsoap.org/soap/envelope/\"><e:Body><m:" +
           std::string(metodo) + ">" + std::string(parametros) + "</m:" + std::string(metodo) +
           "></e:Body></e:Envelope>";
}

/// What the answer holds between the envelope's head and tail; all of it when it has not this form.
inline std::string conteudo(const Resposta &r) {
    if (r.linha != "HTTP/1.1 200 OK" || !r.corpo.starts_with(INICIO_DO_ENVELOPE) ||
        !r.corpo.ends_with(FIM_DO_ENVELOPE)) {
        return "no envelope: " + r.bytes;
    }
    return r.corpo.substr(INICIO_DO_ENVELOPE.size(),
                          r.corpo.size() - INICIO_DO_ENVELOPE.size() - FIM_DO_ENVELOPE.size());
}

/// Of a fault "CLASS: MESSAGE", without the place in the sources; of the response of a method what stands in
/// its "return", "" when there is none.
inline std::string resultado(const Resposta &r) {
    constexpr std::string_view FALHA = "<SOAP-ENV:Fault><faultcode>SOAP-ENV:Client</faultcode><faultstring>";
    constexpr std::string_view RETORNO = "<ns1:return>";
    const std::string tudo = conteudo(r);
    if (tudo.starts_with(FALHA) && tudo.ends_with(")</faultstring><faultactor/></SOAP-ENV:Fault>")) {
        return tudo.substr(FALHA.size(), tudo.rfind(" (") - FALHA.size());
    }
    const std::size_t inicio = tudo.find(RETORNO);
    if (inicio == std::string::npos) {
        return tudo.ends_with("></ns1:" + tudo.substr(5, tudo.find(' ') - 5) + ">") ? "" : tudo;
    }
    return tudo.substr(inicio + RETORNO.size(), tudo.find("</ns1:return>") - inicio - RETORNO.size());
}

/// One call on a connection of its own.
inline Resposta chamaComCorpo(std::uint32_t porta, std::string_view portType, std::string_view metodo,
                              std::string_view corpo) {
    Cliente cliente(porta);
    cliente.envia(pedidoSoap(portType, metodo, corpo));
    return cliente.recebe();
}

inline std::string chama(std::uint32_t porta, std::string_view portType, std::string_view metodo,
                         std::string_view parametros = "") {
    return resultado(chamaComCorpo(porta, portType, metodo, envelope(metodo, parametros)));
}

inline std::string eu(const std::string &identidade) {
    return "<eu>" + identidade + "</eu>";
}

} // namespace apoio

#endif
