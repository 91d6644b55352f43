// The publication of a port type's WSDL, with its macros expanded.
#include <3pramo/soap/YSoapServer_interno.hpp>

#include <3pramo/foundation/YObLOG_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>
#include <3pramo/http/YMensagemHttp_interno.hpp>

#include <algorithm>
#include <string>
#include <vector>

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

/// A macro as it stands in a document.
struct Macro {
    explicit Macro(std::string_view texto)
        : doHeader(texto.starts_with('*')), nome(texto.substr(doHeader ? 1 : 0, MAIOR_NOME_DE_MACRO)) {}

    bool doHeader;
    std::string nome;
};

// Calls `texto` with what stands between macros and `macro` with each of them, in their order; false at one
// without its end.
template <typename TEXTO, typename MACRO>
bool percorreMacros(std::string_view wsdl, TEXTO texto, MACRO macro) {
    for (;;) {
        const std::size_t inicio = wsdl.find("$(");
        texto(wsdl.substr(0, inicio));
        if (inicio == std::string_view::npos) {
            return true;
        }
        wsdl.remove_prefix(inicio + 2);
        const std::size_t fim = wsdl.find(')');
        if (fim == std::string_view::npos) {
            return false;
        }
        macro(Macro(wsdl.substr(0, fim)));
        wsdl.remove_prefix(fim + 1);
    }
}

const char *valorDaMacro(const YDIC *macros, const YDIC *header, const Macro &macro) {
    const char *valor = YDIC_recupera(macro.doHeader ? header : macros, macro.nome.c_str());
    if (valor == nullptr) {
        lanca(YExcSoap_rtti, "Macro desconhecida em WSDL."_l1, FONTE);
    }
    if (macro.doHeader && !podeEntrar(macro.nome, valor)) {
        YContextoTry_printf("campo: %s. ", macro.nome.c_str());
        lanca(YExcSoap_rtti, "Valor inválido para o WSDL."_l1, FONTE);
    }
    return valor;
}

// What a macro gives is not looked through again: no text can make the expansion endless.
void expandeMacros(const YDIC *macros, YStream *saida, const YDIC *header, std::string_view texto) {
    const bool fechadas = percorreMacros(
        texto, [&](std::string_view entre) { acrescenta(*saida, entre); },
        [&](const Macro &macro) { YStream_puts(saida, valorDaMacro(macros, header, macro)); });
    if (!fechadas) {
        lanca(YExcSoap_rtti, "Faltou fechar a macro em WSDL."_l1, FONTE);
    }
}

// One record for each macro of the document for which requests would end without an answer.
void acrescentaDefeitos(const YSoapServer *servidor, const std::string &nome, const YPortType &portType,
                        std::vector<std::string> &defeitos) {
    const char *documento = documentoDe(portType);
    const bool fechadas = percorreMacros(
        documento != nullptr ? documento : "", [](std::string_view) {},
        [&](const Macro &macro) {
            if (!macro.doHeader && YDIC_recupera(servidor->macros, macro.nome.c_str()) == nullptr) {
                defeitos.push_back("PortType " + nome + ": Macro desconhecida em WSDL: " + macro.nome);
            }
        });
    if (!fechadas) {
        defeitos.push_back("PortType " + nome + ": Faltou fechar a macro em WSDL.");
    }
}

} // namespace

void soap::registraDefeitosDosWsdls(YSoapServer *servidor, const char *soDeste) {
    try {
        std::vector<std::string> defeitos;
        Tranca tranca(privado(servidor).trinco);
        if (servidor->portTypes->entradas != nullptr) {
            for (const auto &[nome, entrada] : *servidor->portTypes->entradas) {
                if (soDeste == nullptr || nome == soDeste) {
                    acrescentaDefeitos(servidor, nome, *static_cast<YPortType *>(entrada.valor), defeitos);
                }
            }
        }
        tranca.solta(); // a log sink is the application's
        for (const std::string &defeito : defeitos) {
            registraTexto(Y_LOG_ERRO, defeito);
        }
    } catch (...) {
        // A shortage of memory: who starts the server or has given it the port type goes on.
        registraExcecaoCorrente("YSoapServer_wsdl");
    }
}

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
