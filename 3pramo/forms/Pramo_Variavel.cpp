// A field of a form: its settings, and the elements of a request and a response that it is read from and
// written to. The value itself is the type's to convert. All fields are zero at first; the set of peripherals
// and the list of options are made when something goes into them.
#include <3pramo/forms/Pramo_Variavel.h>

#include <3pramo/foundation/YVetor_interno.hpp>
#include <3pramo/foundation/cria.hpp>

using namespace pramo;

namespace {

constexpr const char *FONTE = "Pramo_Variavel";

void liberaOpcao(Opcao *opcao) {
    YliberaMemoria(opcao->chave);
    YliberaMemoria(opcao->texto);
    YliberaMemoria(opcao);
}

std::span<void *> opcoesDe(const Pramo_Variavel &variavel) {
    return variavel.opcoes != nullptr ? elementos(*variavel.opcoes) : std::span<void *>();
}

void destroi(void *objeto) {
    auto *variavel = static_cast<Pramo_Variavel *>(objeto);
    YliberaMemoria(variavel->titulo);
    YliberaMemoria(variavel->descricao);
    YliberaMemoria(variavel->opcaoEscolhida);
    YliberaObjeto(variavel->perifericos); // the set alone: peripherals are nobody's
    // Options are no objects, so their list cannot free them.
    for (void *opcao : opcoesDe(*variavel)) {
        liberaOpcao(static_cast<Opcao *>(opcao));
    }
    YliberaObjeto(variavel->opcoes);
}

} // namespace

const YRtti Pramo_Variavel_definicaoRtti = {Pramo_Entidade_rtti, "Pramo_Variavel", sizeof(Pramo_Variavel),
                                            nullptr, destroi};

const YRtti *Pramo_Variavel_rtti(void) {
    return &Pramo_Variavel_definicaoRtti;
}

// ---- Fields ----

// One row below is the setter and the getter of one field: CAMPO stores the value, TEXTO a copy.

#define CAMPO(Nome, campo, tipo)                                                                             \
    void Pramo_Variavel_set##Nome(Pramo_Variavel *variavel, tipo valor) {                                    \
        variavel->campo = valor;                                                                             \
    }                                                                                                        \
    tipo Pramo_Variavel_get##Nome(const Pramo_Variavel *variavel) {                                          \
        return variavel->campo;                                                                              \
    }
#define TEXTO(Nome, campo)                                                                                   \
    void Pramo_Variavel_set##Nome(Pramo_Variavel *variavel, const char *texto) {                             \
        trocaTexto(variavel->campo, texto);                                                                  \
    }                                                                                                        \
    const char *Pramo_Variavel_get##Nome(const Pramo_Variavel *variavel) {                                   \
        return variavel->campo;                                                                              \
    }

CAMPO(Tipo, tipo, Pramo_Tipo *)
CAMPO(Endereco, endereco, void *)
CAMPO(Tamanho, tamanho, uint64_t)
CAMPO(SomenteLeitura, somenteLeitura, int32_t)
CAMPO(RequerValidacao, requerValidacao, int32_t)
TEXTO(Titulo, titulo)
TEXTO(Descricao, descricao)
CAMPO(PerifericoUtilizado, perifericoUtilizado, Pramo_Periferico *)
CAMPO(CaracteresAntesDaVirgula, caracteresAntesDaVirgula, uint64_t)
CAMPO(CaracteresDepoisDaVirgula, caracteresDepoisDaVirgula, uint64_t)
TEXTO(OpcaoEscolhida, opcaoEscolhida)

void Pramo_Variavel_marcaUsada(Pramo_Variavel *variavel) {
    variavel->usada = 1;
}

void Pramo_Variavel_desmarcaUsada(Pramo_Variavel *variavel) {
    variavel->usada = 0;
}

int32_t Pramo_Variavel_foiUsada(const Pramo_Variavel *variavel) {
    return variavel->usada;
}

// ---- Peripherals and options ----

namespace {

YSet *garantePerifericos(Pramo_Variavel &variavel) {
    if (variavel.perifericos == nullptr) {
        variavel.perifericos = cria<YSet>(YSet_rtti, FONTE).release();
    }
    return variavel.perifericos;
}

} // namespace

void Pramo_Variavel_incluiPeriferico(Pramo_Variavel *variavel, Pramo_Periferico *periferico) {
    if (periferico != nullptr) {
        YSet_poe(garantePerifericos(*variavel), periferico);
    }
}

void Pramo_Variavel_incluiPerifericos(Pramo_Variavel *variavel, const YSet *perifericos) {
    // A set that grows while it is walked would move under the iterator; into itself there is nothing to add.
    YSet *todos = garantePerifericos(*variavel);
    if (perifericos == nullptr || perifericos == todos) {
        return;
    }
    for (YSetIt it = YSet_inicio(perifericos); it != YSet_fim(perifericos); YSetIt_anda(&it)) {
        Pramo_Variavel_incluiPeriferico(variavel, static_cast<Pramo_Periferico *>(*it));
    }
}

void Pramo_Variavel_acrescentaOpcao(Pramo_Variavel *variavel, const char *chave, const char *texto) {
    if (variavel->opcoes == nullptr) {
        variavel->opcoes = cria<YVetor>(YVetor_rtti, FONTE).release();
    }
    // Each text has an owner until the option has both, and the option one until the list has it.
    Ponteiro<char> copiaDaChave(YduplicaString(chave));
    Ponteiro<char> copiaDoTexto(YduplicaString(texto));
    auto *opcao = static_cast<Opcao *>(YalocaMemoria_debug(sizeof(Opcao), FONTE, __LINE__));
    *opcao = {copiaDaChave.release(), copiaDoTexto.release()};
    try {
        YVetor_poe(variavel->opcoes, opcao);
    } catch (...) {
        liberaOpcao(opcao);
        throw;
    }
}

// ---- Exchange ----

void Pramo_Variavel_leDeYNo(Pramo_Variavel *variavel, const YNo *elemento) {
    // The value comes last: of an answer that its type refuses, peripheral and option are recorded.
    variavel->perifericoUtilizado = Pramo_Periferico_getPeriferico(YNo_getAtributo(elemento, "periferico"));
    trocaTexto(variavel->opcaoEscolhida, YNo_getAtributo(elemento, "opcao"));
    Pramo_Tipo_leDeYNo(variavel->tipo, variavel, elemento);
}

void Pramo_Variavel_gravaEmYNo(const Pramo_Variavel *variavel, YNo *elemento) {
    const auto sinal = [](int32_t valor) { return valor != 0 ? "true" : "false"; };
    // The order of children and attributes is part of what travels.
    Pramo_Tipo_gravaEmYNo(variavel->tipo, variavel, elemento);
    YNo_setAtributo(elemento, "somenteLeitura", sinal(variavel->somenteLeitura));
    YNo_setAtributo(elemento, "requerValidacao", sinal(variavel->requerValidacao));
    YNo_setAtributo(elemento, "titulo", variavel->titulo); // null is not stored
    if (const YSet *perifericos = variavel->perifericos) {
        for (YSetIt it = YSet_inicio(perifericos); it != YSet_fim(perifericos); YSetIt_anda(&it)) {
            YNo_setString(elemento, "periferico", static_cast<Pramo_Periferico *>(*it)->nome);
        }
    }
    for (void *posicao : opcoesDe(*variavel)) {
        const auto *opcao = static_cast<Opcao *>(posicao);
        YNo *no = YNo_criaDescendente(elemento, "opcao");
        YNo_setString(no, "chave", opcao->chave);
        YNo_setString(no, "texto", opcao->texto);
    }
}
