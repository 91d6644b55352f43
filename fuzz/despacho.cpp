// A SOAP request given to the server's handler: first line the URI, second the SOAPAction, the rest the body.
// Whatever it is, the answer is an envelope that reads back, or an exception of the library.
#include "../tests/apoio/arvore.hpp"

#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/soap/YSoapServer_interno.hpp>

#include <cassert>

namespace {

void soma(YWebService *, YNo *requisicao, YNo *resposta) {
    YNo_setInt(resposta, "return", YNo_getInt(requisicao, "a") + YNo_getInt(requisicao, "lista/b"));
}

void eco(YWebService *servico, YNo *requisicao, YNo *resposta) {
    YNo_setString(resposta, "return", YNo_getString(requisicao, "texto"));
    YNo_setPtr(resposta, "eu", servico);
}

YSoapServer *novoServidor() {
    static const YDefinicaoMetodo metodos[] = {{"soma", soma}, {"eco", eco}, {nullptr, nullptr}};
    static const YDefinicaoPortType calc = {"Calc", metodos, YWebService_rtti, nullptr, nullptr};
    YSoapServer *servidor = pramo::cria<YSoapServer>(YSoapServer_rtti, "fuzz").release();
    servidor->tratadorAnterior = {nullptr, [](void *, char *, YMensagemHttp *, YMensagemHttp *) {}};
    YSoapServer_setLimiteDeServicos(servidor, 100);
    YSoapServer_registraPortType(servidor, &calc);
    YObLOG_habilita(Y_LOG_CORPO);
    YObLOG_setSaida([](void *, int, const char *) {}, nullptr);
    return servidor;
}

std::string tiraLinha(std::string_view &resto) {
    const std::string linha(resto.substr(0, resto.find('\n')));
    resto.remove_prefix(std::min(linha.size() + 1, resto.size()));
    return linha.c_str(); // up to a zero byte
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *dados, size_t tamanho) {
    static YSoapServer *const servidor = novoServidor();
    pramo::soap::varre(servidor); // what earlier calls left
    std::string_view resto(reinterpret_cast<const char *>(dados), tamanho);
    std::string uri = tiraLinha(resto);
    const std::string acao = tiraLinha(resto);
    const auto requisicao = pramo::cria<YMensagemHttp>(YMensagemHttp_rtti, "fuzz");
    const auto resposta = pramo::cria<YMensagemHttp>(YMensagemHttp_rtti, "fuzz");
    YDIC_guarda(requisicao->header, "SOAPAction", acao.c_str());
    pramo::acrescenta(*requisicao->body, resto);
    const std::string recusa =
        apoio::excecao([&] { pramo::soap::trataRequisicao(servidor, uri.data(), requisicao, resposta); });
    if (!recusa.empty()) {
        assert(acao.find('#') == std::string::npos); // nothing else keeps a call from its envelope
        return 0;
    }
    const std::string corpo = apoio::conteudo(resposta->body);
    const auto envelope = apoio::streamDe(std::string_view(corpo).substr(corpo.find('\n') + 1));
    const auto no = pramo::cria<YNo>(YNo_rtti, "fuzz");
    YNo_leDe(no, envelope);
    assert(YNo_getFilho(no, "Body", 0) != nullptr && YStream_disponiveis(envelope) == 0);
    return 0;
}
