// What a port type keeps beyond its documented fields. Applications may derive from YPortType, so it stands
// behind the map of handlers, which is of a class of ours, and not in the struct.
#ifndef Y3PRAMO_SOAP_YPORTTYPE_INTERNO_HPP
#define Y3PRAMO_SOAP_YPORTTYPE_INTERNO_HPP

#include <3pramo/foundation/YMapa_interno.hpp>
#include <3pramo/soap/YPortType.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace pramo::soap {

/// A handler with its context, which goes with the last who holds this.
struct TratadorComContexto {
    YTratadorSoapComContexto funcao = nullptr;
    void *contexto = nullptr;
    void (*libera)(void *contexto) = nullptr;

    TratadorComContexto() = default;
    ~TratadorComContexto();
    TratadorComContexto(const TratadorComContexto &) = delete;
    TratadorComContexto &operator=(const TratadorComContexto &) = delete;
};

/// The handler of a method, of either kind, held for one call.
struct Tratador {
    YTratadorSoap simples = nullptr;
    std::shared_ptr<const TratadorComContexto> comContexto;

    [[nodiscard]] explicit operator bool() const { return simples != nullptr || comContexto != nullptr; }
    void operator()(YWebService *servico, YNo *requisicao, YNo *resposta) const;
};

struct Parametro {
    std::string nome;
    YTipoXsd tipo;
};

/// What a WSDL document says of a method.
struct Descricao {
    std::string metodo;
    std::vector<Parametro> parametros;
    YTipoXsd resultado;
};

/// Guarded as the documented fields are.
struct YPortType_Privado {
    std::map<std::string, std::shared_ptr<const TratadorComContexto>, std::less<>> comContexto;
    std::string nome; // that it is published under; empty before
    std::vector<Descricao> descricoes;
    std::string wsdl; // made of them when it is first asked for
};

YPortType_Privado &privado(const YPortType &portType);

/// The handler of the method; none when it is built in or unknown.
Tratador procuraTratador(const YPortType &portType, const char *metodo);

/// The name that the port type will be published under. Raises for one that its WSDL cannot have.
void daNome(const YPortType &portType, const char *nome);

/// The document to publish, with macros: its own, or the one made of its descriptions; null for none.
const char *documentoDe(const YPortType &portType);

} // namespace pramo::soap

#endif
