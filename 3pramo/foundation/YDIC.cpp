// The dictionary: entries chained in the order of insertion, each one block with its key and first value. A
// few are searched through, which is faster than any index; more have an ordered tree, whose time no choice
// of keys can make grow as it can a hash's.
#include <3pramo/foundation/YDIC_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YMemoria_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>

#include <algorithm>
#include <memory>
#include <set>
#include <string_view>

using namespace pramo;

/// One key with its value. The block goes on behind the entry with the key's text and the first value's, each
/// zero-terminated; a later value that does not fit has a block of its own.
struct YDIC_Entrada {
    YDIC_Entrada *anterior;
    YDIC_Entrada *proxima;
    char *valor;
    std::size_t capacidade; // bytes at `valor`
    std::size_t tamChave;

    char *textos() { return reinterpret_cast<char *>(this + 1); }
    std::string_view chave() { return {textos(), tamChave}; }
    bool valorProprio() { return valor != textos() + tamChave + 1; }
};

namespace {

constexpr const char *FONTE = "YDIC";
constexpr std::size_t MAXIMO_SEM_INDICE = 8;

bool iguais(std::string_view a, std::string_view b, bool semCaixa) {
    return semCaixa ? iguaisSemCaixa(a, b) : a == b;
}

/// The order of the index, on entries and on plain keys.
struct Ordem {
    // Looked up by the text itself, without making an entry for it.
    using is_transparent = void;
    bool semCaixa;

    static std::string_view chave(YDIC_Entrada *entrada) { return entrada->chave(); }
    static std::string_view chave(std::string_view texto) { return texto; }

    bool operator()(const auto &a, const auto &b) const { return vemAntes(chave(a), chave(b)); }

    bool vemAntes(std::string_view a, std::string_view b) const {
        if (!semCaixa) {
            return a < b;
        }
        return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                            [](char x, char y) { return minuscula(x) < minuscula(y); });
    }
};

// Equal keys stand in it in the order of their insertion.
using Indice = std::multiset<YDIC_Entrada *, Ordem>;

} // namespace

/// The entries in insertion order. A small dictionary is searched through; from the insertion that makes it
/// larger on it has an index of all entries, until it is emptied or its options change.
struct YDIC {
    YDIC_Entrada *primeira;
    YDIC_Entrada *ultima;
    std::size_t quantas;
    Indice *indice;
    bool semCaixa;
};

namespace {

YDIC_Entrada *acha(const YDIC &dic, std::string_view chave) {
    if (dic.indice != nullptr) {
        const auto achada = dic.indice->lower_bound(chave);
        // lower_bound gives the first that is not smaller: the key itself, or the one behind its place.
        return achada != dic.indice->end() && !dic.indice->key_comp()(chave, *achada) ? *achada : nullptr;
    }
    YDIC_Entrada *entrada = dic.primeira;
    while (entrada != nullptr && !iguais(entrada->chave(), chave, dic.semCaixa)) {
        entrada = entrada->proxima;
    }
    return entrada;
}

/// The text may lie in the dictionary itself, also at the destination.
void copiaTexto(char *destino, std::string_view texto) {
    std::char_traits<char>::move(destino, texto.data(), texto.size());
    destino[texto.size()] = 0;
}

YDIC_Entrada *criaEntrada(std::string_view chave, std::string_view valor) {
    const std::size_t textos = chave.size() + 1 + valor.size() + 1;
    auto *entrada =
        static_cast<YDIC_Entrada *>(YalocaMemoria_debug(sizeof(YDIC_Entrada) + textos, FONTE, __LINE__));
    *entrada = {};
    entrada->tamChave = chave.size();
    entrada->valor = entrada->textos() + chave.size() + 1;
    entrada->capacidade = valor.size() + 1;
    copiaTexto(entrada->textos(), chave);
    copiaTexto(entrada->valor, valor);
    return entrada;
}

// Only values may be secret; one that was replaced by a longer one is wiped already.
void liberaEntrada(YDIC_Entrada *entrada) {
    apaga(entrada->valor, entrada->capacidade);
    if (entrada->valorProprio()) {
        liberaSemApagar(entrada->valor);
    }
    liberaSemApagar(entrada);
}

void trocaValor(YDIC_Entrada &entrada, std::string_view valor) {
    if (valor.size() < entrada.capacidade) {
        copiaTexto(entrada.valor, valor);
        return;
    }
    auto *novo = static_cast<char *>(YalocaMemoria_debug(valor.size() + 1, FONTE, __LINE__));
    // Before the old one is wiped, of which it may be a part.
    copiaTexto(novo, valor);
    apaga(entrada.valor, entrada.capacidade);
    if (entrada.valorProprio()) {
        liberaSemApagar(entrada.valor);
    }
    entrada.valor = novo;
    entrada.capacidade = valor.size() + 1;
}

/// Enters the new entry in the index, which is made when the dictionary outgrows the plain search.
void indexa(YDIC &dic, YDIC_Entrada *nova) {
    if (dic.indice == nullptr && dic.quantas < MAXIMO_SEM_INDICE) {
        return;
    }
    if (dic.indice == nullptr) {
        // Whole or not at all: without memory for one of them the dictionary stays without an index.
        auto indice = std::make_unique<Indice>(Ordem{dic.semCaixa});
        for (YDIC_Entrada *entrada = dic.primeira; entrada != nullptr; entrada = entrada->proxima) {
            indice->insert(entrada);
        }
        indice->insert(nova);
        dic.indice = indice.release();
    } else {
        dic.indice->insert(nova);
    }
}

/// The entry is one that `acha` gave: the first of its key.
void desindexa(YDIC &dic, YDIC_Entrada *entrada) {
    if (dic.indice != nullptr) {
        dic.indice->erase(dic.indice->lower_bound(entrada));
    }
}

void encadeia(YDIC &dic, YDIC_Entrada *nova) {
    nova->anterior = dic.ultima;
    (dic.ultima != nullptr ? dic.ultima->proxima : dic.primeira) = nova;
    dic.ultima = nova;
    dic.quantas++;
}

void desencadeia(YDIC &dic, YDIC_Entrada *entrada) {
    (entrada->anterior != nullptr ? entrada->anterior->proxima : dic.primeira) = entrada->proxima;
    (entrada->proxima != nullptr ? entrada->proxima->anterior : dic.ultima) = entrada->anterior;
    dic.quantas--;
}

} // namespace

bool pramo::guarda(YDIC &dic, std::string_view chave, std::string_view valor) {
    if (YDIC_Entrada *existente = acha(dic, chave)) {
        trocaValor(*existente, valor);
        return false;
    }
    YDIC_Entrada *nova = criaEntrada(chave, valor);
    try {
        // The step that may fail comes before the entry is chained in.
        indexa(dic, nova);
    } catch (const std::bad_alloc &) {
        liberaEntrada(nova);
        faltaMemoria(FONTE, __LINE__);
    }
    encadeia(dic, nova);
    return true;
}

YDIC *YDIC_constroi(void) {
    auto *dic = static_cast<YDIC *>(YalocaMemoria_debug(sizeof(YDIC), FONTE, __LINE__));
    *dic = {};
    return dic;
}

void YDIC_destroi(YDIC *dic) {
    if (dic != nullptr) {
        YDIC_clear(dic);
        YliberaMemoria(dic);
    }
}

void YDIC_muda_opcoes(YDIC *dic, int opcoes) {
    delete dic->indice; // its order is that of the old options; the next new key makes another
    dic->indice = nullptr;
    dic->semCaixa = (opcoes & YDIC_SEM_CAIXA) != 0;
}

int YDIC_guarda(YDIC *dic, const char *chave, const char *valor) {
    return chave != nullptr && valor != nullptr && guarda(*dic, chave, valor) ? 1 : 0;
}

const char *YDIC_recupera(const YDIC *dic, const char *chave) {
    const YDIC_Entrada *entrada = chave != nullptr ? acha(*dic, chave) : nullptr;
    return entrada != nullptr ? entrada->valor : nullptr;
}

void YDIC_remove(YDIC *dic, const char *chave) {
    YDIC_Entrada *entrada = chave != nullptr ? acha(*dic, chave) : nullptr;
    if (entrada != nullptr) {
        desindexa(*dic, entrada);
        desencadeia(*dic, entrada);
        liberaEntrada(entrada);
    }
}

void YDIC_clear(YDIC *dic) {
    // First the index, whose entries are about to go.
    delete dic->indice;
    dic->indice = nullptr;
    while (dic->primeira != nullptr) {
        YDIC_Entrada *entrada = dic->primeira;
        desencadeia(*dic, entrada);
        liberaEntrada(entrada);
    }
}

int YDIC_trata_linha(YDIC *dic, const char *linha, char separador) {
    const std::string_view texto(linha);
    const std::size_t onde = texto.find(separador);
    if (onde == std::string_view::npos) {
        return 0;
    }
    guarda(*dic, apara(texto.substr(0, onde), ESPACOS), apara(texto.substr(onde + 1), ESPACOS));
    return 1;
}

YDIC_IT YDIC_inicio(const YDIC *dic) {
    return dic->primeira;
}

YDIC_IT YDIC_fim(const YDIC * /*dic*/) {
    return nullptr;
}

void YDIC_IT_anda(YDIC_IT *iterador) {
    *iterador = (*iterador)->proxima;
}

const char *YDIC_IT_getChave(YDIC_IT iterador) {
    return iterador->textos();
}

const char *YDIC_IT_getValor(YDIC_IT iterador) {
    return iterador->valor;
}
