// The class, its elements, copies and answers. A message is one block of memory, the slots and behind them
// the texts that came together, so that loading or copying one costs a single allocation. A text that is set
// afterwards has a block of its own.
#include <3pramo/iso/YMensagemIso_interno.hpp>
#include <3pramo/iso/YTabelaIso_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YMemoria_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>
#include <3pramo/foundation/cria.hpp>

#include <algorithm>
#include <functional>

using namespace pramo;
using namespace pramo::iso;

namespace {

// ---- Texts ----

// The length, the bytes, and a zero for those who read the text as a C string.
constexpr std::size_t espacoDoTexto(std::size_t tamanho) {
    return sizeof(Tamanho) + tamanho + 1;
}

// Writes the length and the zero of a text into its space; gives the place of its bytes.
char *abreTexto(char *espaco, Tamanho tamanho) {
    // Texts follow each other closely: the length may stand at any address.
    std::memcpy(espaco, &tamanho, sizeof tamanho);
    char *lugar = espaco + sizeof tamanho;
    lugar[tamanho] = 0;
    return lugar;
}

bool estaNoBloco(const Privado &bloco, const char *texto) {
    // The text may be in another block; std::less orders pointers to different blocks too.
    const std::less<const void *> antes;
    return !antes(texto, &bloco + 1) && antes(texto, bloco.fim);
}

// A text of the message's block goes with the block, which is wiped as a whole; until then a replaced one
// stays there unseen.
void liberaTexto(const Privado &bloco, char *texto) {
    if (!estaNoBloco(bloco, texto)) {
        YliberaMemoria(texto - sizeof(Tamanho));
    }
}

// ---- The block of slots ----

// Slots beyond `capacidade` stay as memory gave them.
Privado *criaBloco(std::int32_t capacidade, std::size_t espacoDosTextos) {
    auto *novo =
        static_cast<Privado *>(YalocaMemoria_debug(sizeof(Privado) + espacoDosTextos, FONTE, __LINE__));
    std::fill_n(novo->presentes, 2, 0);
    std::fill_n(novo->slots, capacidade, nullptr);
    novo->fim = reinterpret_cast<char *>(novo + 1) + espacoDosTextos;
    return novo;
}

// `poe` writes the bytes of a text to their place.
template <typename POE>
Privado *criaBlocoCom(const Conteudo &conteudo, POE poe) {
    std::size_t espaco = 0;
    for (const auto &texto : conteudo) {
        espaco += espacoDoTexto(texto.tamanho);
    }
    Privado *novo = criaBloco(conteudo.capacidade, espaco);
    auto *lugar = reinterpret_cast<char *>(novo + 1);
    // `fim` is where this ends: the two loops count the same space.
    for (const auto &texto : conteudo) {
        poe(texto, novo->slots[texto.bit - 1] = abreTexto(lugar, texto.tamanho));
        novo->presentes[(texto.bit - 1) / BITS_POR_BITMAP] |= mascaraDoBit(texto.bit);
        lugar += espacoDoTexto(texto.tamanho);
    }
    return novo;
}

void limpa(YMensagemIso &mensagem) {
    percorre(mensagem,
             [&](int bit, std::string_view) { liberaTexto(*privado(mensagem), mensagem.bits[bit - 1]); });
    if (Privado *guarda = privado(mensagem)) {
        // The texts may be card data. The slots hold addresses alone: wiping them too would cost a kilobyte
        // for each message.
        char *textos = reinterpret_cast<char *>(guarda + 1);
        apaga(textos, static_cast<std::size_t>(guarda->fim - textos));
        liberaSemApagar(guarda);
    }
    mensagem.privado = nullptr;
    mensagem.bits = nullptr;
    mensagem.capacidade = 0;
    mensagem.transacao = 0;
}

void garanteCapacidade(YMensagemIso &mensagem, std::int32_t minima) {
    // Every block has room for all slots: growing only empties those that come into use.
    const std::int32_t nova = std::max(mensagem.capacidade, minima);
    if (mensagem.privado == nullptr) {
        Privado *novo = criaBloco(0, 0);
        mensagem.privado = novo;
        mensagem.bits = novo->slots;
    }
    std::fill(mensagem.bits + mensagem.capacidade, mensagem.bits + nova, nullptr);
    mensagem.capacidade = nova;
}

void guardaElemento(YMensagemIso &mensagem, std::int32_t bit, const char *texto, std::size_t tamanho) {
    // All that may fail comes before the first change, and the copy before the old text goes, as the new one
    // may be a part of it.
    Ponteiro<char> espaco;
    if (texto != nullptr) {
        espaco.reset(static_cast<char *>(YalocaMemoria_debug(espacoDoTexto(tamanho), FONTE, __LINE__)));
        std::memcpy(abreTexto(espaco, tamanho), texto, tamanho);
    }
    garanteCapacidade(mensagem, capacidadePara(bit, texto != nullptr));
    Privado &guarda = *privado(mensagem);
    char *&slot = mensagem.bits[bit - 1];
    std::uint64_t &presentes = guarda.presentes[(bit - 1) / BITS_POR_BITMAP];
    if (slot != nullptr) {
        liberaTexto(guarda, slot);
    }
    // The slot points behind the length, where a C string begins.
    slot = espaco != nullptr ? espaco.release() + sizeof(Tamanho) : nullptr;
    presentes = slot != nullptr ? presentes | mascaraDoBit(bit) : presentes & ~mascaraDoBit(bit);
}

template <typename POE>
void substituiPondo(YMensagemIso &mensagem, const Conteudo &novo, POE poe) {
    // The new block is whole before the old one goes: the texts may lie there.
    Privado *guarda = novo.capacidade != 0 ? criaBlocoCom(novo, poe) : nullptr;
    limpa(mensagem);
    mensagem.privado = guarda;
    mensagem.bits = guarda != nullptr ? guarda->slots : nullptr;
    mensagem.capacidade = novo.capacidade;
    mensagem.transacao = novo.transacao;
}

void destroiMensagem(void *objeto) {
    limpa(*static_cast<YMensagemIso *>(objeto));
}

} // namespace

// No constructor: an object of zeros is a message without slots, with the code 0.
const YRtti YMensagemIso_definicaoRtti = {YOb_rtti, "YMensagemIso", sizeof(YMensagemIso), nullptr,
                                          destroiMensagem};

const YRtti *YMensagemIso_rtti(void) {
    return &YMensagemIso_definicaoRtti;
}

void pramo::iso::substitui(YMensagemIso &mensagem, const Conteudo &novo) {
    substituiPondo(mensagem, novo, [](const Conteudo::Texto &texto, char *lugar) {
        std::memcpy(lugar, texto.inicio, texto.tamanho);
    });
}

void pramo::iso::substitui(YMensagemIso &mensagem, const Conteudo &novo, const YTabelaIso &tabela) {
    substituiPondo(mensagem, novo, [&](const Conteudo::Texto &texto, char *lugar) {
        decodifica(tabela.elementos[texto.bit - 1].forma, texto.inicio, texto.tamanho, lugar);
    });
}

void pramo::iso::exigeBit(std::int32_t bit) {
    if (bit < 1 || bit > Y_ISO_ELEMENTOS) {
        YContextoTry_printf("Elemento %d. ", bit);
        lanca(YExc_rtti, "O número do elemento vai de 1 a 128."_l1, FONTE);
    }
}

// ---- Code and elements ----

void YMensagemIso_setTransacao(YMensagemIso *mensagem, int32_t transacao) {
    mensagem->transacao = transacao;
}

int32_t YMensagemIso_getTransacao(const YMensagemIso *mensagem) {
    return mensagem->transacao;
}

void YMensagemIso_setBit(YMensagemIso *mensagem, int32_t bit, const char *texto) {
    YMensagemIso_setBitTam(mensagem, bit, texto, texto != nullptr ? std::strlen(texto) : 0);
}

void YMensagemIso_setBitTam(YMensagemIso *mensagem, int32_t bit, const char *texto, uint64_t tamanho) {
    exigeBit(bit);
    // On the wire its bit, the first of the second bitmap, would announce another one.
    if (bit == BITS_POR_BITMAP + 1 && texto != nullptr) {
        lanca(YExc_rtti, "O elemento 65 anunciaria um terceiro bitmap.", FONTE);
    }
    guardaElemento(*mensagem, bit, texto, tamanho);
}

const char *YMensagemIso_getBit(const YMensagemIso *mensagem, int32_t bit) {
    return bit >= 1 && bit <= mensagem->capacidade ? mensagem->bits[bit - 1] : nullptr;
}

uint64_t YMensagemIso_getTamanhoBit(const YMensagemIso *mensagem, int32_t bit) {
    return elemento(*mensagem, bit).size();
}

YSituacao YMensagemIso_leNumero(const YMensagemIso *mensagem, int32_t bit, uint64_t *valor) {
    const std::string_view texto = elemento(*mensagem, bit);
    // Neither a sign nor a blank, which a number of XML may have.
    if (!std::ranges::all_of(texto, ehAlgarismo)) {
        return Y_LEITURA_MAL_FORMADA;
    }
    return YLeitura_uint64(texto.data(), texto.size(), valor);
}

void YMensagemIso_copiaDe(YMensagemIso *destino, const YMensagemIso *origem) {
    if (destino == origem) {
        return;
    }
    Conteudo copia;
    copia.transacao = origem->transacao;
    copia.capacidade = origem->capacidade;
    percorre(*origem, [&](int bit, std::string_view texto) { copia.poe(bit, texto); });
    substitui(*destino, copia);
}

void YMensagemIso_montaResposta(YMensagemIso *resposta, const YMensagemIso *requisicao, int32_t transacao,
                                const int32_t *ecoados, int32_t quantos) {
    // By number, so that one listed twice is there once, and all are looked at before anything changes.
    bool ecoa[Y_ISO_ELEMENTOS + 1] = {};
    for (int32_t i = 0; i < quantos; i++) {
        exigeBit(ecoados[i]);
        ecoa[ecoados[i]] = true;
    }
    Conteudo nova;
    nova.transacao = transacao;
    percorre(*requisicao, [&](int bit, std::string_view texto) {
        if (ecoa[bit]) {
            nova.poe(bit, texto);
            // As many slots as its own elements need, not as the request has.
            nova.capacidade = std::max(nova.capacidade, capacidadePara(bit, true));
        }
    });
    substitui(*resposta, nova);
}
