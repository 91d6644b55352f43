// Nodes as XML text: the writer, and one element read by the parser. The writer keeps open elements on a
// stack of its own, and the inherited prefix goes down with them.
#include <3pramo/node/YNo_interno.hpp>
#include <3pramo/node/YSoapParser.h>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>

#include <cstring>
#include <vector>

using namespace pramo;

namespace {

class Escritor {
public:
    explicit Escritor(YStream &stream) : stream_(stream) {}

    void escreve(const YNo &no) {
        abre(no, textoOuNada(YNo_getPrefixo(&no)));
        escreveAbertos();
    }

    void escreveConteudo(const YNo &no) {
        empilha(no, textoOuNada(YNo_getPrefixo(&no)), {});
        escreveAbertos();
    }

private:
    // An element whose start tag is written. The views are of the tree's texts; a null data() is none.
    struct Aberto {
        const YNo *no;
        std::size_t proximo; // index of the next child
        std::string_view prefixo;
        std::string_view nome; // without data when there is no end tag to write
    };

    void empilha(const YNo &no, std::string_view prefixo, std::string_view nome) {
        abertos_.push_back({&no, 0, prefixo, nome});
    }

    void escreveAbertos() {
        while (!abertos_.empty()) {
            // Not to be used after `abre`, which may move the stack.
            Aberto &aberto = abertos_.back();
            const auto filhos = filhosDe(*aberto.no);
            if (aberto.proximo < filhos.size()) {
                const auto &filho = *static_cast<const YNo *>(filhos[aberto.proximo++]);
                abre(filho, filho.prefixo != nullptr ? filho.prefixo : aberto.prefixo);
                continue;
            }
            YStream_putHtmlString(&stream_, aberto.no->valor);
            if (aberto.nome.data() != nullptr) {
                poeTag("</", aberto.prefixo, aberto.nome, ">");
            }
            abertos_.pop_back();
        }
    }

    // Writes the node as far as its children, and all of it when it has none.
    void abre(const YNo &no, std::string_view prefixo) {
        if (no.nome == nullptr) {
            // It has no tags, but its children and its content are written.
            return empilha(no, prefixo, {});
        }
        const std::string_view nome = no.nome;
        const bool vazio = no.filhos == nullptr && no.valor == nullptr;
        const char *fim = vazio ? "/>" : ">";
        if (no.atributos == nullptr) {
            poeTag("<", prefixo, nome, fim);
        } else {
            poeTag("<", prefixo, nome, "");
            poeAtributos(*no.atributos);
            acrescenta(stream_, fim);
        }
        // A leaf, the usual case, is written at once and never put on the stack.
        if (no.filhos != nullptr) {
            empilha(no, prefixo, nome);
        } else if (!vazio) {
            YStream_putHtmlString(&stream_, no.valor);
            poeTag("</", prefixo, nome, ">");
        }
    }

    void poeTag(std::string_view inicio, std::string_view prefixo, std::string_view nome,
                std::string_view fim) {
        // Room for all of the tag at once, the colon included: nothing below fails.
        char *destino = reserva(stream_, inicio.size() + prefixo.size() + 1 + nome.size() + fim.size());
        const char *antes = destino;
        const auto poe = [&](std::string_view texto) {
            std::memcpy(destino, texto.data(), texto.size());
            destino += texto.size();
        };
        poe(inicio);
        if (prefixo.data() != nullptr) {
            poe(prefixo);
            poe(":");
        }
        poe(nome);
        poe(fim);
        avanca(stream_, static_cast<std::size_t>(destino - antes));
    }

    void poeAtributos(const YDIC &atributos) {
        for (YDIC_IT it = YDIC_inicio(&atributos); it != YDIC_fim(&atributos); YDIC_IT_anda(&it)) {
            poeTag(" ", {}, YDIC_IT_getChave(it), "=\"");
            YStream_putHtmlString(&stream_, YDIC_IT_getValor(it));
            acrescenta(stream_, "\"");
        }
    }

    YStream &stream_;
    std::vector<Aberto> abertos_;
};

template <typename ESCREVE>
void escreveTudoOuNada(YStream &stream, ESCREVE escreve) {
    // What was appended goes again, and is wiped, unless all of it was.
    TudoOuNada acrescimo(stream);
    semFaltaDeMemoria("YNo", [&] {
        Escritor escritor(stream);
        escreve(escritor);
    });
    acrescimo.fica();
}

} // namespace

void YNo_gravaEm(const YNo *no, YStream *stream) {
    if (no != nullptr) {
        escreveTudoOuNada(*stream, [&](Escritor &escritor) { escritor.escreve(*no); });
    }
}

void YNo_gravaConteudo(const YNo *no, YStream *stream) {
    if (no != nullptr) {
        escreveTudoOuNada(*stream, [&](Escritor &escritor) { escritor.escreveConteudo(*no); });
    }
}

void YNo_leDe(YNo *no, YStream *stream) {
    const auto parser = cria<YSoapParser>(YSoapParser_rtti, "YNo");
    YNo *lido = nullptr;
    YSoapParser_leNo(parser, &lido, stream);
    if (lido == nullptr) {
        lanca(YExcSoap_rtti, "Mensagem SOAP mal formada.", "YNo");
    }
    // The node stays where it is and what it is to its owner; only what it holds is replaced.
    assume(*no, Ponteiro<YNo>(lido));
}
