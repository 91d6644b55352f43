// The publication of a port type's WSDL, with its macros expanded.
#include <3pramo/soap/YSoapServer_interno.hpp>

#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>
#include <3pramo/http/YMensagemHttp_interno.hpp>

#include <algorithm>
#include <string>

using namespace pramo;
using namespace pramo::soap;

namespace {

constexpr std::size_t MAIOR_NOME_DE_MACRO = 31;

// What a client sends goes into a document that others may read: a host is a name or an address with its
// port, and no field holds what would be markup.
bool podeEntrar(std::string_view campo, std::string_view valor) {
    const bool host = iguaisSemCaixa(campo, "Host");
    return std::all_of(valor.begin(), valor.end(), [&](char c) {
        const bool deNome = ehAlfanumerico(c) || std::string_view(".-_:[]").find(c) != std::string_view::npos;
        return host ? deNome : std::string_view("<>&\"'").find(c) == std::string_view::npos;
    });
}

const char *valorDaMacro(const YDIC *macros, const YDIC *header, std::string_view nome) {
    const bool doHeader = nome.starts_with('*');
    nome.remove_prefix(doHeader ? 1 : 0);
    const std::string chave(nome.substr(0, MAIOR_NOME_DE_MACRO));
    const char *valor = YDIC_recupera(doHeader ? header : macros, chave.c_str());
    if (valor == nullptr) {
        lanca(YExcSoap_rtti, "Macro desconhecida em WSDL."_l1, FONTE);
    }
    if (doHeader && !podeEntrar(chave, valor)) {
        YContextoTry_printf("campo: %s. ", chave.c_str());
        lanca(YExcSoap_rtti, "Valor inválido para o WSDL."_l1, FONTE);
    }
    return valor;
}

void expandeMacros(const YDIC *macros, YStream *saida, const YDIC *header, std::string_view texto) {
    for (;;) {
        // What a macro gives is not looked through again: no text can make the expansion endless.
        const std::size_t inicio = texto.find("$(");
        acrescenta(*saida, texto.substr(0, inicio));
        if (inicio == std::string_view::npos) {
            return;
        }
        texto.remove_prefix(inicio + 2);
        const std::size_t fim = texto.find(')');
        if (fim == std::string_view::npos) {
            lanca(YExcSoap_rtti, "Faltou fechar a macro em WSDL."_l1, FONTE);
        }
        YStream_puts(saida, valorDaMacro(macros, header, texto.substr(0, fim)));
        texto.remove_prefix(fim + 1);
    }
}

} // namespace

void YSoapServer_registraMacro(YSoapServer *servidor, const char *nome, const char *texto) {
    const Tranca tranca(privado(servidor).trinco);
    YDIC_guarda(servidor->macros, nome, texto);
}

bool soap::emiteWsdl(YSoapServer *servidor, const char *nome, const YDIC *header, YStream *saida) {
    const Tranca tranca(privado(servidor).trinco);
    const auto *portType = static_cast<const YPortType *>(YMapa_recupera(servidor->portTypes, nome));
    // Under the lock to the end, for port type and macros; writing into memory waits for nobody.
    const char *documento = portType != nullptr ? documentoDe(*portType) : nullptr;
    if (documento == nullptr) {
        return false;
    }
    const Ponteiro<YStream> texto = cria<YStream>(YStream_rtti, FONTE);
    YStream_putExpandindo(texto, documento);
    expandeMacros(servidor->macros, saida, header, conteudo(*texto));
    return true;
}
