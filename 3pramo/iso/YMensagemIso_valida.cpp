// The message held against the table. Reasons are made of numbers and of names in the table, so that they may
// go to a log: no character of a text is in them.
#include <3pramo/iso/YMensagemIso_interno.hpp>
#include <3pramo/iso/YTabelaIso_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>

#include <algorithm>
#include <array>
#include <string>

using namespace pramo;
using namespace pramo::iso;

namespace {

/// The classes that each character belongs to.
constexpr auto CLASSES = [] {
    std::array<std::uint8_t, 256> classes{};
    const auto poe = [&](unsigned primeiro, unsigned ultimo, int quais) {
        for (unsigned c = primeiro; c <= ultimo; c++) {
            classes[c] = static_cast<std::uint8_t>(classes[c] | quais);
        }
    };
    poe(' ', '/', Y_ISO_S);
    poe('0', '9', Y_ISO_N | Y_ISO_B | Y_ISO_Z);
    poe(':', '?', Y_ISO_S | Y_ISO_Z);
    poe('@', '@', Y_ISO_S);
    // Some characters have several classes: what is put on a range adds to what it has.
    poe('A', 'Z', Y_ISO_A);
    poe('A', 'F', Y_ISO_B);
    poe('D', 'D', Y_ISO_Z);
    poe('[', '`', Y_ISO_S);
    poe('a', 'z', Y_ISO_A);
    poe('a', 'f', Y_ISO_B);
    poe('{', '~', Y_ISO_S);
    // Letters with accents too: class a is that of ASCII.
    poe(0xA0, 0xFF, Y_ISO_S);
    return classes;
}();

// As the table names them: "an", "ans".
std::string nomeDasClasses(std::uint64_t classes) {
    std::string nome;
    for (const auto &[classe, letra] :
         {std::pair(Y_ISO_A, 'a'), std::pair(Y_ISO_N, 'n'), std::pair(Y_ISO_S, 's'), std::pair(Y_ISO_B, 'b'),
          std::pair(Y_ISO_Z, 'z')}) {
        if ((classes & static_cast<std::uint64_t>(classe)) != 0) {
            nome += letra;
        }
    }
    return nome;
}

class Validacao {
public:
    Validacao(YFuncaoFalhaIso funcao, void *contexto) : funcao_(funcao), contexto_(contexto) {}

    [[nodiscard]] std::int32_t falhas() const { return falhas_; }

    void confereCodigo(std::int32_t transacao) {
        if (transacao < 0 || transacao > MAIOR_CODIGO) {
            falha(0, "Código da Transação"_l1, "fora de 0 a 9999");
        }
    }

    void confere(int bit, const char *rotulo, const Regra &regra, std::string_view texto) {
        if (const std::string queixa = queixaDoTamanho(regra, texto.size()); !queixa.empty()) {
            falha(bit, rotulo, queixa);
        }
        if (const std::string queixa = queixaDasClasses(regra, texto); !queixa.empty()) {
            falha(bit, rotulo, queixa);
        }
    }

    void confere(int bit, const ElementoDaTabela &elemento, std::string_view texto) {
        const std::int32_t antes = falhas_;
        confere(bit, elemento.rotulo, elemento.regra(), texto);
        // Told when nothing else was: what its class allows and the wire does not.
        if (const std::string queixa = queixaDaForma(elemento, texto); falhas_ == antes && !queixa.empty()) {
            falha(bit, elemento.rotulo, queixa);
        }
    }

private:
    void falha(int bit, const char *rotulo, const std::string &motivo) {
        falhas_++;
        if (funcao_ != nullptr) {
            funcao_(contexto_, bit, rotulo, motivo.c_str());
        }
    }

    YFuncaoFalhaIso funcao_;
    void *contexto_;
    std::int32_t falhas_ = 0;
};

template <typename CONFERE>
std::int32_t valida(const YMensagemIso &mensagem, YFuncaoFalhaIso funcao, void *contexto, CONFERE confere) {
    // The reasons take memory; what was told before it ran out stays told.
    return semFaltaDeMemoria(FONTE, [&] {
        Validacao validacao(funcao, contexto);
        validacao.confereCodigo(mensagem.transacao);
        percorre(mensagem, [&](int bit, std::string_view texto) { confere(validacao, bit, texto); });
        return validacao.falhas();
    });
}

} // namespace

std::string_view pramo::iso::semEnchimento(std::string_view texto, const Regra &regra) {
    const bool preenchido = regra.fixo && (regra.classes & Y_ISO_A) != 0;
    return preenchido ? texto.substr(0, texto.find_last_not_of(' ') + 1) : texto;
}

std::size_t pramo::iso::primeiroForaDasClasses(const Regra &regra, std::string_view texto) {
    const auto *const estranho = std::ranges::find_if(
        texto, [&](char c) { return (CLASSES[static_cast<unsigned char>(c)] & regra.classes) == 0; });
    return static_cast<std::size_t>(estranho - texto.begin());
}

std::string pramo::iso::queixaDoTamanho(const Regra &regra, std::size_t tamanho) {
    if (cabeNaRegra(regra, tamanho)) {
        return {};
    }
    return "tamanho " + std::to_string(tamanho) + (regra.fixo ? ", exatamente " : ", no máximo "_l1) +
           std::to_string(regra.maximo);
}

// Only the first one is told: one failure for an element's characters, one for its length.
std::string pramo::iso::queixaDasClasses(const Regra &regra, std::string_view texto) {
    const std::string_view conferido = semEnchimento(texto, regra);
    const std::size_t estranho = primeiroForaDasClasses(regra, conferido);
    return estranho == conferido.size() ? ""
                                        : "caractere " + std::to_string(estranho + 1) + " fora da classe " +
                                              nomeDasClasses(regra.classes);
}

std::string pramo::iso::queixaDaForma(const ElementoDaTabela &elemento, std::string_view texto) {
    if (texto.size() % caracteresPorUnidade(elemento.forma.codificacao) != 0) {
        return "tamanho " + std::to_string(texto.size()) + std::string(", não par"_l1);
    }
    const std::size_t estranho = primeiroSemLugar(elemento.forma, texto);
    return estranho == texto.size()
               ? ""
               : "caractere " + std::to_string(estranho + 1) + std::string(" fora da codificação"_l1);
}

int32_t YMensagemIso_valida(const YMensagemIso *mensagem, YFuncaoFalhaIso funcao, void *contexto) {
    return valida(*mensagem, funcao, contexto, [](Validacao &validacao, int bit, std::string_view texto) {
        validacao.confere(bit, registro(bit).rotulo, regraDe(bit), texto);
    });
}

int32_t YMensagemIso_validaCom(const YMensagemIso *mensagem, const YTabelaIso *tabela, YFuncaoFalhaIso funcao,
                               void *contexto) {
    return valida(*mensagem, funcao, contexto, [&](Validacao &validacao, int bit, std::string_view texto) {
        validacao.confere(bit, tabela->elementos[bit - 1], texto);
    });
}
