// What an answer says: the response element, or the fault as an exception. Every byte of it is a peer's.
#include <3pramo/soap/YSoapClient_interno.hpp>

#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>
#include <3pramo/node/YNo_interno.hpp>
#include <3pramo/soap/envelope.hpp>
#include <3pramo/soap/referencias.hpp>
#include <3pramo/soap/textoDaRequisicao.hpp>

#include <algorithm>

namespace pramo::soap {

namespace {

constexpr std::size_t MAIOR_TEXTO = std::size_t{64} * 1024; // of what an exception tells

// ---- Faults ----

struct Falha {
    std::string classe;
    std::string detalhe;
    std::string mensagem;
    std::string lugar;
};

std::string textoDe(const YNo *no, const char *nome) {
    const char *valor = YNo_getValor(YNo_getFilho(no, nome, 0));
    return valor != nullptr ? std::string(valor, strnlen(valor, MAIOR_TEXTO)) : "";
}

bool ehPalavra(std::string_view texto) {
    return !texto.empty() && std::ranges::all_of(texto, [](char c) { return ehAlfanumerico(c) || c == '_'; });
}

/// The parts of a text "CLASS: MESSAGE (SOURCE:LINE)"; of any other all is message.
Falha doTexto(std::string_view texto) {
    const std::size_t fimDaClasse = texto.find(": ");
    const std::size_t lugar = texto.rfind(" (");
    if (fimDaClasse != std::string_view::npos && lugar != std::string_view::npos && lugar > fimDaClasse &&
        texto.ends_with(')') && ehPalavra(texto.substr(0, fimDaClasse))) {
        const std::string_view mensagem =
            texto.substr(fimDaClasse + 2, lugar - std::min(lugar, fimDaClasse + 2));
        return {std::string(texto.substr(0, fimDaClasse)), "", std::string(mensagem),
                std::string(texto.substr(lugar + 2, texto.size() - lugar - 3))};
    }
    return {"", "", std::string(texto), ""};
}

void anota(const char *nome, const std::string &valor) {
    if (!valor.empty()) {
        YContextoTry_atributo(nome, valor.c_str());
    }
}

/// Those of the exception over there, before what the client says itself, whatever they are called; not so
/// many that this would find no room.
void anotaAtributos(const YNo &partes) {
    constexpr int MAXIMO = 8;
    int quantos = 0;
    for (const void *parte : filhosDe(partes)) {
        const auto &no = *static_cast<const YNo *>(parte);
        if (quantos < MAXIMO && !ehParteDaFalha(textoOuNada(no.nome))) {
            quantos += YContextoTry_atributo(no.nome, no.valor);
        }
    }
}

[[noreturn]] void lancaFalha(const YNo &fault) {
    const std::string texto = textoDe(&fault, "faultstring");
    Falha falha = doTexto(texto);
    const YNo *partes = YNo_procuraDescendente(&fault, "detail/falha");
    if (YNo_getFilho(partes, "classe", 0) != nullptr) {
        falha = {textoDe(partes, "classe"), textoDe(partes, "detalhe"), textoDe(partes, "mensagem"),
                 textoDe(partes, "lugar")};
        anotaAtributos(*partes);
    }
    if (falha.mensagem.empty()) {
        falha.mensagem = "Falha sem texto.";
    }
    anota("classeRemota", falha.classe);
    anota("mensagemRemota", falha.mensagem);
    anota("detalheRemoto", falha.detalhe);
    anota("lugarRemoto", falha.lugar);
    anota("faultcode", textoDe(&fault, "faultcode"));
    anota("faultstring", texto);
    falhaDaChamada(YExcFalhaRemota_rtti, falha.detalhe, falha.mensagem.c_str());
}

// ---- Envelopes ----

bool ehUtf8(const YMensagemHttp &mensagem) {
    const char *tipo = YDIC_recupera(mensagem.header, "Content-Type");
    std::string texto = tipo != nullptr ? tipo : "";
    std::ranges::transform(texto, texto.begin(), minuscula);
    return texto.find("charset=utf-8") != std::string::npos ||
           texto.find("charset=\"utf-8\"") != std::string::npos;
}

struct Lida {
    Ponteiro<YNo> raiz; // null when the text is no XML
    Sobra sobra{};
};

/// `perdidos` counts the characters in it that are "?" now, for ISO-8859-1 does not have them.
Lida leXml(YMensagemHttp &mensagem, std::size_t &perdidos) {
    preparaTexto(*mensagem.body, ehUtf8(mensagem), &perdidos);
    const auto parser = cria<YSoapParser>(YSoapParser_rtti, FONTE_DO_CLIENTE);
    YNo *raiz = nullptr;
    try {
        YSoapParser_leNo(parser, &raiz, mensagem.body);
    } catch (const YExcecao &e) {
        if (e.mensagem() == std::string_view("Memória insuficiente."_l1)) {
            throw;
        }
        return {};
    }
    return {Ponteiro<YNo>(raiz), sobraDaLeitura(*parser)};
}

/// In a Body where several stand, the method's comes before what it refers to.
YNo *elementoDaResposta(const YNo &corpo, const char *metodo) {
    YNo *esperado = YNo_getFilho(&corpo, (std::string(metodo) + "Response").c_str(), 0);
    const auto filhos = filhosDe(corpo);
    return esperado != nullptr || filhos.empty() ? esperado : static_cast<YNo *>(filhos.front());
}

} // namespace

Ponteiro<YNo> interpretaResposta(YMensagemHttp &mensagem, int status, const char *metodo,
                                 const std::string &onde) {
    std::size_t perdidos = 0;
    const Lida lida = leXml(mensagem, perdidos);
    const bool envelope = lida.raiz != nullptr && textoOuNada(lida.raiz->nome) == "Envelope";
    const YNo *corpo = envelope ? YNo_getFilho(lida.raiz, "Body", 0) : nullptr;
    // Servers send faults with status 500 as well.
    if (const YNo *fault = YNo_getFilho(corpo, "Fault", 0)) {
        lancaFalha(*fault);
    }
    if (status == 200 && lida.raiz == nullptr) {
        falhaDaChamada(YExcSoap_rtti, onde, "Resposta não é XML."_l1);
    }
    if (status != 200 || corpo == nullptr) {
        falhaDaChamada(YExcIOError_rtti, onde + "HTTP " + std::to_string(status) + ". ",
                       "Resposta sem envelope SOAP.");
    }
    // A result is read whole or not at all. That a call failed, and why, is told with such letters missing.
    if (perdidos != 0) {
        caractereDeFora();
    }
    YNo *elemento = elementoDaResposta(*corpo, metodo);
    if (elemento == nullptr) {
        falhaDaChamada(YExcSoap_rtti, onde, "Resposta sem elemento.");
    }
    resolveReferencias(*corpo, *elemento, lida.sobra);
    YNo_corrigeMaps(elemento);
    YNo_setPai(elemento, nullptr);
    return Ponteiro<YNo>(elemento);
}

} // namespace pramo::soap
