// The macros of a WSDL: the bytes are the document. What comes out holds every character outside the macros,
// in order.
#include <3pramo/foundation/YExcecao.hpp>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/soap/YSoapServer_interno.hpp>

#include <cassert>

namespace {

/// What stands outside "$(...)", joined.
std::string foraDasMacros(std::string_view texto) {
    std::string fora;
    for (std::size_t inicio = texto.find("$("); inicio != std::string_view::npos; inicio = texto.find("$(")) {
        fora += texto.substr(0, inicio);
        texto.remove_prefix(texto.find(')', inicio) + 1);
    }
    return fora += texto;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *dados, size_t tamanho) {
    const std::string tudo(reinterpret_cast<const char *>(dados), tamanho);
    const std::string wsdl = tudo.substr(0, tudo.find('\0'));
    const YDefinicaoPortType porta = {"P", nullptr, nullptr, wsdl.c_str(), nullptr};
    const auto servidor = pramo::cria<YSoapServer>(YSoapServer_rtti, "fuzz");
    YSoapServer_registraPortType(servidor.get(), &porta);
    for (const char *nome : {"A", "PORTA", "umNomeDeTrintaEUmCaracteresExatos"}) {
        YSoapServer_registraMacro(servidor.get(), nome, ""); // nothing, so that the rest can be compared
    }
    const pramo::Dono<YDIC> header(YDIC_constroi());
    YDIC_guarda(header.get(), "Host", "");
    const auto saida = pramo::cria<YStream>(YStream_rtti, "fuzz");
    try {
        const int achou = pramo::soap::emiteWsdl(servidor.get(), "P", header.get(), saida.get());
        assert(achou == 1 && pramo::conteudo(*saida) == foraDasMacros(wsdl));
    } catch (const YExcecao &e) {
        assert(e.ehDaClasse(YExcSoap_rtti) && wsdl.find("$(") != std::string::npos);
    }
    return 0;
}
