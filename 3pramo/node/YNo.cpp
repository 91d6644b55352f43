// The tree: life of a node, its fields, children and paths.
#include <3pramo/node/YNo_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YMemoria_interno.hpp>
#include <3pramo/foundation/liberaTodos.hpp>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <utility>
#include <vector>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YNo";

// ---- `privado` ----
//
// An address, with two marks in its lowest bits. Of a node of class YNo itself: the end of the texts that
// stand behind it in its own block, or null. Of a node of a derived class: null, but while its parent's
// destruction frees it, the place of the waiting list (below).

constexpr std::uintptr_t LIGADO = 1; // `pai` was set by YNo_setPai: `pai` has this node in its list of links
constexpr std::uintptr_t TEM_LIGACOES = 2; // the address is that of a Ligacoes, which has the one above
constexpr std::uintptr_t MARCAS = LIGADO | TEM_LIGACOES;

// The nodes whose parent YNo_setPai made this one; whether they are in its list of children is the caller's
// doing. They hear of its end.
struct Ligacoes {
    void *endereco;
    std::vector<YNo *> nos;
};

std::uintptr_t palavra(const YNo &no) {
    return reinterpret_cast<std::uintptr_t>(no.privado);
}

bool tem(const YNo &no, std::uintptr_t marca) {
    return (palavra(no) & marca) != 0;
}

void marca(YNo &no, std::uintptr_t marca) {
    no.privado = std::bit_cast<void *>(palavra(no) | marca);
}

void desmarca(YNo &no, std::uintptr_t marca) {
    no.privado = std::bit_cast<void *>(palavra(no) & ~marca);
}

void *enderecoMarcado(const YNo &no) {
    return std::bit_cast<void *>(palavra(no) & ~MARCAS);
}

void poeEnderecoMarcado(YNo &no, const void *endereco) {
    no.privado = std::bit_cast<void *>(reinterpret_cast<std::uintptr_t>(endereco) | (palavra(no) & LIGADO));
}

Ligacoes *ligacoes(const YNo &no) {
    return tem(no, TEM_LIGACOES) ? static_cast<Ligacoes *>(enderecoMarcado(no)) : nullptr;
}

void *endereco(const YNo &no) {
    const Ligacoes *l = ligacoes(no);
    return l != nullptr ? l->endereco : enderecoMarcado(no);
}

void poeEndereco(YNo &no, void *endereco) {
    if (Ligacoes *l = ligacoes(no)) {
        l->endereco = endereco;
    } else {
        poeEnderecoMarcado(no, endereco);
    }
}

// First half of a link, which alone can fail.
void anotaLigacao(YNo &pai, YNo *no) {
    if (!tem(pai, TEM_LIGACOES)) {
        poeEnderecoMarcado(pai, new Ligacoes{endereco(pai), {}});
        marca(pai, TEM_LIGACOES);
    }
    ligacoes(pai)->nos.push_back(no);
}

void esqueceLigacao(YNo &no) {
    // From the end, where soltaLigados takes them; their order means nothing, so the last fills the gap.
    auto &nos = ligacoes(*no.pai)->nos;
    *std::find(nos.rbegin(), nos.rend(), &no) = nos.back();
    nos.pop_back();
    desmarca(no, LIGADO);
}

// Nobody is linked to the node any more.
void soltaLigados(YNo &no) {
    if (Ligacoes *l = ligacoes(no)) {
        while (!l->nos.empty()) {
            mudaPai(*l->nos.back(), nullptr);
        }
        poeEnderecoMarcado(no, l->endereco);
        delete l;
    }
}

// ---- Texts ----

bool ehDaPropriaClasse(const YNo &no) {
    // Behind a YNo of a derived class stand that class's fields, not texts, and it may have a destructor.
    return no.rtti == &YNo_definicaoRtti;
}

bool estaNoBloco(const YNo &no, const char *texto) {
    // Texts may lie anywhere: std::less orders pointers of different blocks too.
    const std::less<const void *> antes;
    return ehDaPropriaClasse(no) && !antes(texto, &no + 1) && antes(texto, endereco(no));
}

void liberaTexto(YNo &no, char *texto) {
    // A text in the node's own block goes with the node; one that a setter made is a block of its own.
    if (!estaNoBloco(no, texto)) {
        YliberaMemoria(texto);
    }
}

void trocaTexto(YNo &no, char *&campo, const char *novo) {
    // First, as it may fail and as the new text may be part of the old one.
    char *copia = YduplicaString(novo);
    liberaTexto(no, campo);
    campo = copia;
}

void desligaDoPai(YNo &no) {
    if (no.pai != nullptr && no.pai->filhos != nullptr) {
        YVetor_remove(no.pai->filhos, &no);
    }
    mudaPai(no, nullptr);
}

// ---- Destruction ----
//
// Nodes that wait for theirs are linked through `pai`: no recursion, and nothing to allocate.

void poeFilhosEmEspera(YNo &no, YNo *&espera) {
    for (void *elemento : elementos(*no.filhos)) {
        auto *filho = static_cast<YNo *>(elemento);
        mudaPai(*filho, espera);
        espera = filho;
    }
    // The list frees what is in it; these wait for their turn.
    no.filhos->tam = 0;
    YliberaObjeto(std::exchange(no.filhos, nullptr));
}

void soltaConteudo(YNo &no, YNo *&espera) {
    soltaLigados(no);
    if (no.filhos != nullptr) {
        poeFilhosEmEspera(no, espera);
    }
    YDIC_destroi(no.atributos);
    liberaTexto(no, no.nome);
    liberaTexto(no, no.valor);
    liberaTexto(no, no.prefixo);
    if (ehDaPropriaClasse(no) && no.privado != nullptr) {
        // They may have held a password or a card number; YliberaMemoria wipes texts in their own blocks.
        auto *textos = reinterpret_cast<char *>(&no + 1);
        apaga(textos, static_cast<std::size_t>(static_cast<char *>(endereco(no)) - textos));
    }
}

// Frees what waits up to the next node of a derived class, which it gives to be freed as its class says.
YNo *tiraDaEspera(YNo *&espera) {
    while (espera != nullptr) {
        YNo *no = std::exchange(espera, espera->pai);
        no->pai = nullptr;
        // YliberaObjeto frees it, and so calls destroiNo, which finds our list here and adds the children.
        if (!ehDaPropriaClasse(*no)) {
            poeEndereco(*no, &espera);
            return no;
        }
        soltaConteudo(*no, espera);
        // What YliberaObjeto would do for a class without other destructors, without a call for each node.
        anotaLiberacao(no);
        std::free(no);
    }
    return nullptr;
}

void destroiNo(void *objeto) {
    auto *no = static_cast<YNo *>(objeto);
    desligaDoPai(*no);
    // Given out by tiraDaEspera: its children wait with the others, so no depth makes this recurse.
    if (!ehDaPropriaClasse(*no) && endereco(*no) != nullptr) {
        soltaConteudo(*no, *static_cast<YNo **>(endereco(*no)));
        return;
    }
    // The top of what is freed. An exception of one destructor does not keep the others from running.
    YNo *espera = nullptr;
    soltaConteudo(*no, espera);
    liberaTodos([&] { return espera == nullptr; }, [&] { return tiraDaEspera(espera); });
}

} // namespace

const YRtti YNo_definicaoRtti = {YOb_rtti, "YNo", sizeof(YNo), nullptr, destroiNo};

const YRtti *YNo_rtti(void) {
    return &YNo_definicaoRtti;
}

Ponteiro<YNo> pramo::criaNo(std::string_view nome, std::string_view valor) {
    const auto espaco = [](std::string_view texto) { return texto.data() != nullptr ? texto.size() + 1 : 0; };
    // One block: the node, its name, its content, each with its zero. Rounded up, so that the address
    // behind it has no bit where the marks stand.
    const std::size_t tamanho = (sizeof(YNo) + espaco(nome) + espaco(valor) + MARCAS) & ~MARCAS;
    auto *no = static_cast<YNo *>(std::malloc(tamanho));
    if (no == nullptr) {
        faltaMemoria(FONTE, __LINE__);
    }
    // As the object system leaves an instance: all zero, the descriptor set, in the allocation report.
    std::memset(static_cast<void *>(no), 0, sizeof *no);
    no->rtti = &YNo_definicaoRtti;
    auto *fim = reinterpret_cast<char *>(no + 1);
    const auto copia = [&](std::string_view texto) -> char * {
        if (texto.data() == nullptr) {
            return nullptr;
        }
        char *inicio = fim;
        std::memcpy(inicio, texto.data(), texto.size());
        inicio[texto.size()] = 0;
        fim += texto.size() + 1;
        return inicio;
    };
    no->nome = copia(nome);
    no->valor = copia(valor);
    no->privado = reinterpret_cast<char *>(no) + tamanho;
    anotaAlocacao(no, YNo_definicaoRtti.name, tamanho, FONTE, __LINE__);
    return Ponteiro<YNo>(no);
}

void pramo::assume(YNo &destino, Ponteiro<YNo> origem) {
    // Texts are copied, as those of `origem` may stand in its block; after that nothing fails.
    Ponteiro<char> nome(YduplicaString(origem->nome));
    Ponteiro<char> valor(YduplicaString(origem->valor));
    // Swapped: what `destino` had is freed with `origem`.
    std::swap(destino.filhos, origem->filhos);
    std::swap(destino.atributos, origem->atributos);
    for (void *filho : filhosDe(destino)) {
        mudaPai(*static_cast<YNo *>(filho), &destino);
    }
    liberaTexto(destino, std::exchange(destino.nome, nome.release()));
    liberaTexto(destino, std::exchange(destino.valor, valor.release()));
    liberaTexto(destino, std::exchange(destino.prefixo, nullptr));
}

void pramo::mudaPai(YNo &no, YNo *pai) {
    if (no.pai != nullptr && tem(no, LIGADO)) {
        esqueceLigacao(no);
    }
    no.pai = pai;
}

// ---- Fields ----

const char *YNo_getNome(const YNo *no) {
    return no != nullptr ? no->nome : nullptr;
}

void YNo_setNome(YNo *no, const char *nome) {
    // What follows the prefix ends where the name ends, so it is a text itself.
    trocaTexto(*no, no->nome, nome != nullptr ? semPrefixo(nome).data() : nullptr);
}

const char *YNo_getValor(const YNo *no) {
    return no != nullptr ? no->valor : nullptr;
}

void YNo_setValor(YNo *no, const char *valor) {
    trocaTexto(*no, no->valor, valor);
}

const char *YNo_getPrefixo(const YNo *no) {
    while (no != nullptr && no->prefixo == nullptr) {
        no = no->pai;
    }
    return no != nullptr ? no->prefixo : nullptr;
}

void YNo_setPrefixo(YNo *no, const char *prefixo) {
    trocaTexto(*no, no->prefixo, prefixo);
}

const char *YNo_getAtributo(const YNo *no, const char *nome) {
    return no != nullptr && no->atributos != nullptr ? YDIC_recupera(no->atributos, nome) : nullptr;
}

int YNo_setAtributo(YNo *no, const char *nome, const char *valor) {
    if (nome == nullptr || valor == nullptr) {
        return 0;
    }
    if (no->atributos == nullptr) {
        no->atributos = YDIC_constroi();
    }
    return YDIC_guarda(no->atributos, nome, valor);
}

// ---- Parent and children ----

namespace {

// Only a node that is somebody's parent can lie above another one, so that growing a tree downwards costs no
// climb.
void recusaCiclo(const YNo *no, const YNo &filho) {
    const bool podeEstarAcima = !filhosDe(filho).empty() || tem(filho, TEM_LIGACOES);
    const YNo *acima = no;
    while (acima != nullptr && acima != &filho) {
        acima = podeEstarAcima ? acima->pai : nullptr;
    }
    if (acima != nullptr) {
        lanca(YExcSoap_rtti, "Um nó não pode ficar abaixo de si mesmo."_l1, FONTE);
    }
}

void poeNaLista(YNo &no, YNo *filho) {
    if (no.filhos != nullptr) {
        YVetor_poe(no.filhos, filho);
        return;
    }
    // The node gets the list only with a child in it: one that could not be appended leaves no list behind.
    auto lista = cria<YVetor>(YVetorQueDestroi_rtti, FONTE);
    YVetor_poe(lista, filho);
    no.filhos = lista.release();
}

bool temNome(const YNo &no, std::string_view nome) {
    return no.nome != nullptr && nome == no.nome;
}

YNo *primeiroFilho(const YNo &no, std::string_view nome, uint32_t pulados = 0) {
    for (void *elemento : filhosDe(no)) {
        auto *filho = static_cast<YNo *>(elemento);
        if (temNome(*filho, nome) && pulados-- == 0) {
            return filho;
        }
    }
    return nullptr;
}

} // namespace

YNo *YNo_getPai(const YNo *no) {
    return no != nullptr ? no->pai : nullptr;
}

void YNo_setPai(YNo *no, YNo *pai) {
    recusaCiclo(pai, *no);
    if (pai == nullptr) {
        return desligaDoPai(*no);
    }
    semFaltaDeMemoria(FONTE, [&] { anotaLigacao(*pai, no); });
    desligaDoPai(*no); // takes one note away when the parent is the same: there are two now
    // Not through mudaPai: the note of this link is there already.
    no->pai = pai;
    marca(*no, LIGADO);
}

YVetor *YNo_getFilhos(const YNo *no) {
    return no != nullptr ? no->filhos : nullptr;
}

YNo *YNo_getFilho(const YNo *no, const char *nome, uint32_t indice) {
    return no != nullptr && nome != nullptr ? primeiroFilho(*no, nome, indice) : nullptr;
}

YNo *pramo::pendura(YNo &no, Ponteiro<YNo> filho) {
    poeNaLista(no, filho);
    // Linked by the list alone: only the links of YNo_setPai are noted.
    filho->pai = &no;
    return filho.release();
}

void YNo_acrescentaFilho(YNo *no, YNo *filho) {
    recusaCiclo(no, *filho);
    poeNaLista(*no, filho);
    (void)tiraUltimo(*no->filhos); // there is room for it now: nothing below fails
    desligaDoPai(*filho);
    YVetor_poe(no->filhos, filho);
    mudaPai(*filho, no);
}

int YNo_temFilho(const YNo *no) {
    return no != nullptr && no->filhos != nullptr ? 1 : 0;
}

int YNo_removeFilho(YNo *no, YNo *filho) {
    if (no == nullptr || no->filhos == nullptr || YVetor_remove(no->filhos, filho) == 0) {
        return 0;
    }
    mudaPai(*filho, nullptr);
    return 1;
}

// ---- Paths ----

namespace {

// Takes the first name off the path.
std::string_view tiraNome(std::string_view &caminho) {
    const std::size_t barra = caminho.find('/');
    const std::string_view nome = caminho.substr(0, barra);
    caminho.remove_prefix(barra == std::string_view::npos ? caminho.size() : barra + 1);
    return nome;
}

bool ehProprioNo(const char *caminho) {
    return caminho == nullptr || *caminho == 0;
}

} // namespace

YNo *YNo_procuraDescendente(const YNo *no, const char *caminho) {
    std::string_view resto = caminho != nullptr ? caminho : "";
    while (no != nullptr && !resto.empty()) {
        no = primeiroFilho(*no, tiraNome(resto));
    }
    return const_cast<YNo *>(no);
}

YNo *YNo_criaDescendente(YNo *no, const char *caminho) {
    return ehProprioNo(caminho) ? no : criaDescendente(*no, caminho, nullptr);
}

YNo *pramo::criaDescendente(YNo &no, const char *caminho, const char *valor) {
    if (ehProprioNo(caminho)) {
        YNo_setValor(&no, valor);
        return &no;
    }
    // The chain is made aside and joins the tree when nothing but that can fail.
    Ponteiro<YNo> topo;
    YNo *ultimo = nullptr;
    for (std::string_view resto = caminho; !resto.empty();) {
        const std::string_view nome = tiraNome(resto);
        Ponteiro<YNo> novo = criaNo(nome, textoOuNada(resto.empty() ? valor : nullptr));
        if (ultimo == nullptr) {
            ultimo = novo.get();
            topo = std::move(novo);
        } else {
            ultimo = pendura(*ultimo, std::move(novo));
        }
    }
    pendura(no, std::move(topo));
    return ultimo;
}

YNo *YNo_getFilhoUnico(const YNo *no, const char *caminho) {
    YNo *achado = YNo_procuraDescendente(no, caminho);
    if (achado == nullptr) {
        faltouTag(caminho);
    }
    return achado;
}

void pramo::faltouTag(const char *caminho) {
    YContextoTry_printf("Tag procurada: %s. ", caminho != nullptr ? caminho : "");
    YContextoTry_atributo("campo", caminho);
    lanca(YExcSoap_rtti, "Faltou tag.", FONTE);
}
