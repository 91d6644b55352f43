// The message held against the table. Reasons are made of numbers and of names in the table, so that they may
// go to a log: no character of a text is in them.
#include <3pramo/iso/YMensagemIso_interno.hpp>

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
std::string nomeDasClasses(std::uint64_t formato) {
    std::string nome;
    for (const auto &[classe, letra] :
         {std::pair(Y_ISO_A, 'a'), std::pair(Y_ISO_N, 'n'), std::pair(Y_ISO_S, 's'), std::pair(Y_ISO_B, 'b'),
          std::pair(Y_ISO_Z, 'z')}) {
        if ((formato & static_cast<std::uint64_t>(classe)) != 0) {
            nome += letra;
        }
    }
    return nome;
}

// Without the blanks that fill up an element of fixed length, where the table has letters.
std::string_view semEnchimento(std::string_view texto, std::uint64_t formato) {
    const bool preenchido = Y_ISO_DIGITOS(formato) == 0 && (formato & Y_ISO_A) != 0;
    return preenchido ? texto.substr(0, texto.find_last_not_of(' ') + 1) : texto;
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

    void confere(int bit, std::string_view texto) {
        const YElementoIso &elemento = registro(bit);
        confereTamanho(bit, elemento, texto.size());
        confereClasses(bit, elemento, texto);
    }

private:
    void confereTamanho(int bit, const YElementoIso &elemento, std::size_t tamanho) {
        const bool fixo = Y_ISO_DIGITOS(elemento.formato) == 0;
        const std::size_t maximo = Y_ISO_CARACTERES(elemento.formato);
        if (tamanho > maximo || (fixo && tamanho < maximo)) {
            falha(bit, elemento.rotulo,
                  "tamanho " + std::to_string(tamanho) + (fixo ? ", exatamente " : ", no máximo "_l1) +
                      std::to_string(maximo));
        }
    }

    void confereClasses(int bit, const YElementoIso &elemento, std::string_view texto) {
        // Only the first one is told: one failure for an element's characters, one for its length.
        texto = semEnchimento(texto, elemento.formato);
        const auto *const estranho = std::find_if(texto.begin(), texto.end(), [&](char c) {
            return (CLASSES[static_cast<unsigned char>(c)] & elemento.formato & Y_ISO_CLASSES) == 0;
        });
        if (estranho != texto.end()) {
            falha(bit, elemento.rotulo,
                  "caractere " + std::to_string(estranho - texto.begin() + 1) + " fora da classe " +
                      nomeDasClasses(elemento.formato));
        }
    }

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

} // namespace

int32_t YMensagemIso_valida(const YMensagemIso *mensagem, YFuncaoFalhaIso funcao, void *contexto) {
    // The reasons take memory; what was told before it ran out stays told.
    return semFaltaDeMemoria(FONTE, [&] {
        Validacao validacao(funcao, contexto);
        validacao.confereCodigo(mensagem->transacao);
        percorre(*mensagem, [&](int bit, std::string_view texto) { validacao.confere(bit, texto); });
        return validacao.falhas();
    });
}
