// A table's text, one setting or element a line. All lines are read first, each setting noted with its line;
// then every element is made of its line, the defaults and the built-in record, and held against what can
// travel. Errors of both steps are told together, in the order of the lines.
#include <3pramo/iso/YMensagemIso_interno.hpp>
#include <3pramo/iso/YTabelaIso_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YMemoria.h>
#include <3pramo/foundation/caracteres.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string>
#include <vector>

using namespace pramo;
using namespace pramo::iso;

namespace {

constexpr std::uint32_t MAIOR_FIXO = 9999; // characters, or bits of a binary element
constexpr std::size_t MAIOR_PREFIXO = 4;   // digits of a length
constexpr std::size_t MAIOR_NOME = 100;
constexpr std::size_t MAIOR_CITACAO = 40; // of a word that an error quotes

struct Erro {
    std::int32_t linha;
    std::string motivo;
};

/// "ans..28" of a line: the maximum still in the unit of its encoding.
struct Formato {
    std::uint8_t classes = 0;
    std::uint8_t digitos = 0;
    std::uint32_t maximo = 0;
};

/// What a line says; `linha` is 0 where no line says anything.
struct Pedido {
    std::int32_t linha = 0;
    std::optional<Formato> formato;
    std::optional<Codificacao> codificacao;
    std::optional<Codificacao> prefixo;
    std::optional<Enchimento> enchimento;
    std::optional<std::string_view> nome;
};

/// The lines that begin with a word: of the message, and of all elements of a kind.
enum Chave { CODIGO, BITMAP, TAMANHOS, SO_N, SO_Z, SO_B, OUTROS, CHAVES };
constexpr std::array<std::string_view, CHAVES> NOMES_DAS_CHAVES = {"codigo", "bitmap", "tamanhos", "n",
                                                                   "z",      "b",      "outros"};

constexpr std::array<std::string_view, 4> CODIFICACOES = {"caracteres", "bcd", "binario", "ebcdic"};

std::optional<Codificacao> codificacaoDe(std::string_view palavra) {
    const auto *const achada = std::find(CODIFICACOES.begin(), CODIFICACOES.end(), palavra);
    return achada != CODIFICACOES.end()
               ? std::optional(static_cast<Codificacao>(achada - CODIFICACOES.begin()))
               : std::nullopt;
}

bool podeTer(Chave chave, Codificacao codificacao) {
    switch (chave) {
    case TAMANHOS:
        return true;
    case BITMAP:
    case SO_B:
        return codificacao != Codificacao::BCD;
    case OUTROS:
        return codificacao == Codificacao::CARACTERES || codificacao == Codificacao::EBCDIC;
    default:
        return codificacao != Codificacao::BINARIO;
    }
}

Chave especieDe(std::uint8_t classes) {
    switch (classes) {
    case Y_ISO_N:
        return SO_N;
    case Y_ISO_Z:
        return SO_Z;
    case Y_ISO_B:
        return SO_B;
    default:
        return OUTROS;
    }
}

std::string citada(std::string_view palavra) {
    return "\"" + std::string(palavra.substr(0, MAIOR_CITACAO)) + "\"";
}

// Zero for what is no number from 1 to 99999.
std::uint32_t numeroDe(std::string_view palavra) {
    std::uint32_t numero = 0;
    const char *fim = palavra.data() + palavra.size();
    const auto [parou, erro] = std::from_chars(palavra.data(), fim, numero);
    return palavra.size() <= 5 && erro == std::errc() && parou == fim ? numero : 0;
}

// As manuals write it: the classes, a point for each digit of the length, the maximum.
std::optional<Formato> formatoDe(std::string_view palavra) {
    constexpr std::string_view LETRAS = "zbans"; // the bits of Y_ISO_CLASSES, from the lowest
    Formato formato;
    while (!palavra.empty() && LETRAS.find(palavra.front()) != std::string_view::npos) {
        const auto classe = static_cast<std::uint8_t>(1U << LETRAS.find(palavra.front()));
        if ((formato.classes & classe) != 0) {
            return std::nullopt;
        }
        formato.classes |= classe;
        palavra.remove_prefix(1);
    }
    const std::size_t pontos = std::min(palavra.find_first_not_of('.'), palavra.size());
    formato.digitos = static_cast<std::uint8_t>(std::min<std::size_t>(pontos, MAIOR_PREFIXO + 1));
    formato.maximo = numeroDe(palavra.substr(pontos));
    return formato.classes != 0 && formato.maximo != 0 ? std::optional(formato) : std::nullopt;
}

// "direita=F": the nibble, by the side that it fills.
std::optional<Enchimento> enchimentoDe(std::string_view palavra) {
    for (const auto &[lado, direita] : {std::pair("esquerda=", false), std::pair("direita=", true)}) {
        if (palavra.starts_with(lado)) {
            palavra.remove_prefix(std::string_view(lado).size());
            return palavra == "0" || palavra == "F"
                       ? std::optional(
                             Enchimento{direita, static_cast<std::uint8_t>(palavra == "F" ? 15 : 0)})
                       : std::nullopt;
        }
    }
    return std::nullopt;
}

// ---- Lines ----

class Linhas {
public:
    explicit Linhas(std::vector<Erro> &erros) : erros_(erros) {}

    void le(std::string_view texto) {
        while (!texto.empty()) {
            linha_++;
            const std::string_view linha = texto.substr(0, texto.find('\n'));
            texto.remove_prefix(std::min(linha.size() + 1, texto.size()));
            leLinha(apara(linha));
        }
    }

    [[nodiscard]] const Pedido &elemento(int bit) const { return elementos_[static_cast<std::size_t>(bit)]; }
    [[nodiscard]] const Pedido &chave(Chave qual) const { return chaves_[qual]; }

private:
    void erro(const std::string &motivo) { erros_.push_back({linha_, motivo}); }

    void leLinha(std::string_view linha) {
        // Names and reasons go to logs.
        if (std::ranges::any_of(linha, [](char c) {
                const auto byte = static_cast<unsigned char>(c);
                return (byte < 32 && c != '\t') || (byte >= 127 && byte < 160);
            })) {
            erro("caractere de controle");
            return;
        }
        if (linha.empty() || linha.front() == '#') {
            return;
        }
        const std::string_view primeira = tiraPalavra(linha);
        const auto *const chave = std::find(NOMES_DAS_CHAVES.begin(), NOMES_DAS_CHAVES.end(), primeira);
        if (chave == NOMES_DAS_CHAVES.end()) {
            leElemento(primeira, linha);
        } else if (const auto qual = static_cast<Chave>(chave - NOMES_DAS_CHAVES.begin());
                   leDefinicao(chaves_[qual], primeira, linha)) {
            confereChave(qual, chaves_[qual]);
        }
    }

    void leElemento(std::string_view palavra, std::string_view resto) {
        const std::uint32_t bit = numeroDe(palavra);
        if (bit == 0 || bit > Y_ISO_ELEMENTOS) {
            erro(citada(palavra) + std::string(" não é elemento de 1 a 128 nem palavra da tabela"_l1));
        } else if (bit == 1 || bit == BITS_POR_BITMAP + 1) {
            erro("o elemento " + std::to_string(bit) + std::string(" anuncia um bitmap e não viaja"_l1));
        } else {
            leDefinicao(elementos_[bit], palavra, resto);
        }
    }

    bool leDefinicao(Pedido &pedido, std::string_view palavra, std::string_view resto) {
        if (pedido.linha != 0) {
            erro(citada(palavra) + std::string(" já está na linha "_l1) + std::to_string(pedido.linha));
            return false;
        }
        pedido.linha = linha_;
        lePalavras(pedido, resto);
        return true;
    }

    static std::string_view tiraPalavra(std::string_view &linha) {
        const std::string_view palavra = linha.substr(0, linha.find_first_of(ESPACOS));
        linha = aparaAntes(linha.substr(palavra.size()), ESPACOS);
        return palavra;
    }

    void lePalavras(Pedido &pedido, std::string_view linha) {
        while (!linha.empty() && linha.front() != '#') {
            if (linha.front() == '"') {
                leNome(pedido, linha);
                return;
            }
            const std::string_view palavra = tiraPalavra(linha);
            if (!lePalavra(pedido, palavra)) {
                erro(citada(palavra) + std::string(" não se entende aqui"_l1));
            }
        }
    }

    // The name ends the line; only a comment may stand behind it.
    void leNome(Pedido &pedido, std::string_view linha) {
        const std::size_t fim = linha.find('"', 1);
        const std::string_view depois =
            fim != std::string_view::npos ? aparaAntes(linha.substr(fim + 1), ESPACOS) : linha;
        if (!depois.empty() && depois.front() != '#') {
            erro("nome sem aspas no fim");
        } else if (fim - 1 == 0 || fim - 1 > MAIOR_NOME) {
            erro("nome vazio ou de mais de 100 caracteres");
        } else {
            pedido.nome = linha.substr(1, fim - 1);
        }
    }

    // Every kind of word once, in any order.
    static bool lePalavra(Pedido &pedido, std::string_view palavra) {
        constexpr std::string_view TAMANHO = "tamanho=";
        const auto poe = [](auto &campo, auto valor) {
            const bool nova = valor.has_value() && !campo.has_value();
            if (nova) {
                campo = valor;
            }
            return nova;
        };
        if (palavra.starts_with(TAMANHO)) {
            return poe(pedido.prefixo, codificacaoDe(palavra.substr(TAMANHO.size())));
        }
        if (palavra.find('=') != std::string_view::npos) {
            return poe(pedido.enchimento, enchimentoDe(palavra));
        }
        if (const auto codificacao = codificacaoDe(palavra)) {
            return poe(pedido.codificacao, codificacao);
        }
        return poe(pedido.formato, formatoDe(palavra));
    }

    void confereChave(Chave chave, const Pedido &pedido) {
        const std::string_view nome = NOMES_DAS_CHAVES[chave];
        if (!pedido.codificacao) {
            erro(citada(nome) + std::string(" sem codificação"_l1));
        } else if (!podeTer(chave, *pedido.codificacao)) {
            erro(citada(nome) + std::string(" não pode estar em "_l1) +
                 std::string(CODIFICACOES[static_cast<std::size_t>(*pedido.codificacao)]));
        }
        const bool enche = (chave == SO_N || chave == SO_Z) && pedido.codificacao == Codificacao::BCD;
        if (pedido.formato || pedido.prefixo || pedido.nome || (pedido.enchimento && !enche)) {
            erro(citada(nome) + std::string(" tem só a codificação e, em bcd de n e z, o enchimento"_l1));
        }
    }

    std::vector<Erro> &erros_;
    std::int32_t linha_ = 0;
    std::array<Pedido, Y_ISO_ELEMENTOS + 1> elementos_; // by number
    std::array<Pedido, CHAVES> chaves_;
};

// ---- Elements ----

class Elementos {
public:
    Elementos(const Linhas &linhas, std::vector<Erro> &erros) : linhas_(linhas), erros_(erros) {}

    void faz(YTabelaIso &tabela) {
        tabela.codigo = codificacao(CODIGO);
        tabela.bitmap = codificacao(BITMAP);
        for (int bit = 2; bit <= Y_ISO_ELEMENTOS; bit++) {
            fazElemento(linhas_.elemento(bit), tabela.elementos[bit - 1]);
        }
    }

private:
    [[nodiscard]] Codificacao codificacao(Chave chave) const {
        return linhas_.chave(chave).codificacao.value_or(Codificacao::CARACTERES);
    }

    void fazElemento(const Pedido &pedido, ElementoDaTabela &elemento) {
        if (pedido.formato) {
            elemento.classes = pedido.formato->classes;
            elemento.digitos = pedido.formato->digitos;
        }
        const Chave especie = especieDe(elemento.classes);
        const Pedido &padrao = linhas_.chave(especie);
        elemento.prefixo = pedido.prefixo.value_or(codificacao(TAMANHOS));
        elemento.forma.codificacao = pedido.codificacao.value_or(codificacao(especie));
        elemento.forma.enchimento = pedido.enchimento.value_or(padrao.enchimento.value_or(Enchimento()));
        elemento.forma.trilha = especie == SO_Z;
        if (pedido.linha == 0) {
            return; // the built-in record travels in every encoding of its kind
        }
        const std::string queixa = queixaDe(pedido, elemento, especie);
        if (!queixa.empty()) {
            erros_.push_back({pedido.linha, queixa});
        } else if (pedido.formato) {
            elemento.maximo = emCaracteres(*pedido.formato, elemento.forma.codificacao);
        }
    }

    static std::string queixaDe(const Pedido &pedido, const ElementoDaTabela &elemento, Chave especie) {
        const Codificacao codificacao = elemento.forma.codificacao;
        if (especie == OUTROS && (elemento.classes & (Y_ISO_B | Y_ISO_Z)) != 0) {
            return "b e z não se juntam a outra classe"_l1;
        }
        if (!podeTer(especie, codificacao)) {
            return "classe que não pode estar em "_l1 +
                   std::string(CODIFICACOES[static_cast<std::size_t>(codificacao)]);
        }
        if (pedido.enchimento && codificacao != Codificacao::BCD) {
            return "enchimento fora de bcd";
        }
        if (pedido.prefixo && elemento.digitos == 0) {
            return "tamanho= em elemento fixo";
        }
        return pedido.formato ? queixaDoFormato(*pedido.formato, elemento) : "";
    }

    static std::string queixaDoFormato(const Formato &formato, const ElementoDaTabela &elemento) {
        if (formato.digitos > MAIOR_PREFIXO) {
            return "tamanho de mais de 4 algarismos";
        }
        const std::uint32_t maior =
            formato.digitos == 0 ? MAIOR_FIXO : maiorNumero(elemento.prefixo, formato.digitos);
        if (formato.maximo > maior) {
            return "máximo além de "_l1 + std::to_string(maior);
        }
        const std::uint32_t bits = elemento.forma.codificacao == Codificacao::BINARIO ? 8 : 4;
        if (formato.classes == Y_ISO_B && formato.digitos == 0 && formato.maximo % bits != 0) {
            return "bits que não são múltiplo de "_l1 + std::to_string(bits);
        }
        return "";
    }

    // A fixed binary element counts bits; whatever has a length, what that counts.
    static std::uint32_t emCaracteres(const Formato &formato, Codificacao codificacao) {
        if (formato.digitos == 0) {
            return formato.maximo / (formato.classes == Y_ISO_B ? 4 : 1);
        }
        return formato.maximo * caracteresPorUnidade(codificacao);
    }

    const Linhas &linhas_;
    std::vector<Erro> &erros_;
};

} // namespace

void pramo::iso::leTabela(YTabelaIso &tabela, std::string_view texto, YFuncaoErroTabelaIso funcao,
                          void *contexto) {
    std::vector<Erro> erros;
    Linhas linhas(erros);
    linhas.le(texto);
    Elementos(linhas, erros).faz(tabela);
    std::ranges::stable_sort(erros, {}, &Erro::linha);
    for (const auto &[linha, motivo] : erros) {
        if (funcao != nullptr) {
            funcao(contexto, linha, motivo.c_str());
        }
    }
    if (!erros.empty()) {
        YContextoTry_printf("Linha %d: %s. ", erros.front().linha, erros.front().motivo.c_str());
        lanca(YExc_rtti, "Tabela ISO 8583 com erros.", FONTE_TABELA);
    }
    for (int bit = 1; bit <= Y_ISO_ELEMENTOS; bit++) {
        if (const auto nome = linhas.elemento(bit).nome) {
            tabela.elementos[bit - 1].rotulo = tabela.nomes[bit - 1] =
                YduplicaStringTam(nome->data(), nome->size());
        }
    }
}
