// The element is walked down with a stack of its own, not by recursion: how deep a message is, its sender
// says. A node that refers to a target takes the target's attributes and value when it is entered, and
// copies of its children one by one as they are visited; so every copy is counted before it is made, and a
// message whose references multiply meets its bounds, not the end of memory. A target is open as long as
// what reads as it is on the way down: a reference to an open one is a circle.
//
// Nothing is taken out of the tree meanwhile, so addresses of nodes hold.
#include <3pramo/soap/referencias.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/node/YNo_interno.hpp>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace pramo::soap {

namespace {

constexpr const char *FONTE = "YSoapServer";

// The parser takes a single quote for a character of the value.
std::string_view semAspas(std::string_view valor) {
    const bool entreAspas = valor.size() >= 2 && valor.front() == '\'' && valor.back() == '\'';
    return entreAspas ? valor.substr(1, valor.size() - 2) : valor;
}

std::uint64_t nivelDe(const YNo *no) {
    std::uint64_t nivel = 0;
    for (; no != nullptr; no = no->pai) {
        nivel++;
    }
    return nivel;
}

[[noreturn]] void malFormada() {
    lanca(YExcSoap_rtti, "Mensagem SOAP mal formada.", FONTE);
}

// Walks down the element, resolving each node before its children.
class Resolucao {
public:
    Resolucao(const YNo &corpo, const YNo &elemento, const Sobra &sobra) : sobra_(sobra) {
        // The walk counts its levels from the element; the bound counts them from the root.
        sobra_.niveis -= std::min(sobra_.niveis, nivelDe(elemento.pai));
        for (void *filho : filhosDe(corpo)) {
            anotaAlvo(*static_cast<const YNo *>(filho), elemento);
        }
        anotaAlvosDentro(corpo, elemento);
    }

    void resolve(YNo &elemento) {
        for (entra(elemento, elemento); !visitas_.empty();) {
            // Not to be used after `entra`, which may move the stack.
            Visita &visita = visitas_.back();
            const auto modelos = filhosDe(*visita.modelo);
            if (visita.proximo == modelos.size()) {
                sai();
                continue;
            }
            auto &modelo = *static_cast<YNo *>(modelos[visita.proximo++]);
            entra(visita.modelo == visita.no ? modelo : copia(*visita.no, modelo), modelo);
        }
    }

private:
    // An element that others may refer to; open while what reads as it is walked through.
    struct Alvo {
        const YNo *no;
        bool aberto;
    };

    // A node on the way down, and the one that its content is read from: itself, or what it is a copy of,
    // whose children are copied one by one as they are visited.
    struct Visita {
        YNo *no;
        const YNo *modelo;
        std::size_t proximo;   // index of the model's next child
        std::size_t jaAbertos; // targets that were open before
    };

    void anotaAlvo(const YNo &no, const YNo &elemento) {
        const char *id = YNo_getAtributo(&no, "id");
        if (id != nullptr && &no != &elemento) {
            alvos_.try_emplace(std::string(semAspas(id)), Alvo{&no, false});
        }
    }

    // In the order of the document; those beside the element were there first.
    void anotaAlvosDentro(const YNo &corpo, const YNo &elemento) {
        std::vector<const YNo *> espera{&corpo};
        while (!espera.empty()) {
            const YNo &no = *espera.back();
            espera.pop_back();
            if (&no != &corpo) {
                anotaAlvo(no, elemento);
            }
            const auto filhos = filhosDe(no);
            for (auto filho = filhos.rbegin(); filho != filhos.rend(); filho++) {
                espera.push_back(static_cast<const YNo *>(*filho));
            }
        }
    }

    void entra(YNo &no, const YNo &original) {
        if (visitas_.size() == sobra_.niveis) {
            malFormada();
        }
        const YNo *modelo = &original;
        const std::size_t jaAbertos = abertos_.size();
        if (Alvo *alvo = comoAlvo(no)) {
            abre(*alvo);
        }
        while (Alvo *alvo = alvoReferido(*modelo)) {
            abre(*alvo);
            modelo = alvo->no;
            conta(1, textoOuNada(modelo->valor).size());
            // A target that is a reference too gives its own href along: the next turn takes it off again.
            YDIC_remove(no.atributos, "href");
            copiaAtributos(no, *modelo);
            YNo_setValor(&no, modelo->valor);
        }
        visitas_.push_back({&no, modelo, 0, jaAbertos});
    }

    void sai() {
        for (; abertos_.size() > visitas_.back().jaAbertos; abertos_.pop_back()) {
            abertos_.back()->aberto = false;
        }
        visitas_.pop_back();
    }

    YNo &copia(YNo &pai, const YNo &modelo) {
        conta(1, textoOuNada(modelo.nome).size() + textoOuNada(modelo.valor).size());
        YNo &nova = *pendura(pai, criaNo(textoOuNada(modelo.nome), textoOuNada(modelo.valor)));
        copiaAtributos(nova, modelo);
        return nova;
    }

    void copiaAtributos(YNo &no, const YNo &modelo) {
        if (modelo.atributos == nullptr) {
            return;
        }
        for (YDIC_IT it = YDIC_inicio(modelo.atributos); it != YDIC_fim(modelo.atributos);
             YDIC_IT_anda(&it)) {
            const char *nome = YDIC_IT_getChave(it);
            const char *valor = YDIC_IT_getValor(it);
            conta(1, std::string_view(nome).size() + std::string_view(valor).size());
            YNo_setAtributo(&no, nome, valor);
        }
    }

    Alvo *alvoDe(std::string_view id) {
        const auto achado = alvos_.find(id);
        return achado != alvos_.end() ? &achado->second : nullptr;
    }

    // A target that is walked through where it stands: within the element, or beside it where that is the
    // Body.
    Alvo *comoAlvo(const YNo &no) {
        const char *id = YNo_getAtributo(&no, "id");
        Alvo *alvo = id != nullptr ? alvoDe(semAspas(id)) : nullptr;
        return alvo != nullptr && alvo->no == &no ? alvo : nullptr;
    }

    Alvo *alvoReferido(const YNo &no) {
        const bool vazio = no.valor == nullptr && filhosDe(no).empty();
        const std::string_view href = vazio ? semAspas(textoOuNada(YNo_getAtributo(&no, "href"))) : "";
        return href.starts_with('#') ? alvoDe(href.substr(1)) : nullptr;
    }

    void abre(Alvo &alvo) {
        if (alvo.aberto) {
            YContextoTry_printf("id: %s. ", YNo_getAtributo(alvo.no, "id"));
            lanca(YExcSoap_rtti, "Referência circular entre elementos."_l1, FONTE);
        }
        abertos_.push_back(&alvo);
        alvo.aberto = true;
    }

    void conta(std::uint64_t nos, std::uint64_t bytes) {
        if (nos > sobra_.nos || bytes > sobra_.bytes) {
            malFormada();
        }
        sobra_.nos -= nos;
        sobra_.bytes -= bytes;
    }

    std::map<std::string, Alvo, std::less<>> alvos_; // by id
    Sobra sobra_;
    std::vector<Visita> visitas_;
    std::vector<Alvo *> abertos_;
};

} // namespace

void resolveReferencias(const YNo &corpo, YNo &elemento, const Sobra &sobra) {
    if (sobra.temHref) {
        semFaltaDeMemoria(FONTE, [&] { Resolucao(corpo, elemento, sobra).resolve(elemento); });
    }
}

} // namespace pramo::soap
