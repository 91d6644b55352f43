// The exchange with the client: answers in, form out.
#include <3pramo/forms/Pramo_Operacao_interno.hpp>

#include <3pramo/foundation/YVetor_interno.hpp>

#include <algorithm>
#include <cstring>
#include <string>

using namespace pramo;
using namespace pramo::forms;

// ---- Loading ----

namespace {

[[noreturn]] void recusaCampo(const char *antes, const char *nome, const char *depois) {
    const std::string mensagem = semFaltaDeMemoria(
        FONTE_DA_OPERACAO, [&] { return std::string(antes) + "\"" + nome + "\"" + depois; });
    lanca(YExcSoap_rtti, mensagem.c_str(), FONTE_DA_OPERACAO);
}

Pramo_Variavel &variavelDoCampo(const Pramo_Operacao &operacao, const YNo &campo) {
    const char *nome = YNo_getAtributo(&campo, "nome");
    if (nome == nullptr) {
        lanca(YExcSoap_rtti, "Faltou atributo nome na tag campo.", FONTE_DA_OPERACAO);
    }
    Pramo_Variavel *variavel = Pramo_Operacao_recuperaVariavel(&operacao, nome);
    if (variavel == nullptr) {
        recusaCampo("Não existe o campo "_l1, nome, ".");
    }
    return *variavel;
}

bool temOpcao(const Pramo_Variavel &variavel, const char *chave) {
    const auto ehEsta = [&](const void *opcao) {
        const char *propria = static_cast<const Opcao *>(opcao)->chave;
        return propria != nullptr && std::strcmp(propria, chave) == 0;
    };
    const auto opcoes = variavel.opcoes != nullptr ? elementos(*variavel.opcoes) : std::span<void *>();
    return std::any_of(opcoes.begin(), opcoes.end(), ehEsta);
}

void recusaNaoOferecido(const Pramo_Variavel &variavel, const YNo &campo) {
    const char *opcao = YNo_getAtributo(&campo, "opcao");
    if (variavel.usada == 0) {
        recusaCampo("O campo ", variavel.nome, " não foi oferecido."_l1);
    }
    if (variavel.somenteLeitura != 0) {
        recusaCampo("O campo ", variavel.nome, " é somente para leitura."_l1);
    }
    if (opcao != nullptr && !temOpcao(variavel, opcao)) {
        recusaCampo("A opção escolhida não existe no campo "_l1, variavel.nome, ".");
    }
}

template <typename VISITA>
void visitaCampos(const Pramo_Operacao &operacao, const YNo *elemento, VISITA visita) {
    const YVetor *filhos = YNo_getFilhos(elemento);
    if (filhos == nullptr) {
        return;
    }
    for (void *filho : elementos(*filhos)) {
        const auto &campo = *static_cast<const YNo *>(filho);
        if (campo.nome != nullptr && std::strcmp(campo.nome, "campo") == 0) {
            visita(variavelDoCampo(operacao, campo), campo);
        }
    }
}

} // namespace

void Pramo_Operacao_carregaDaRequisicao(Pramo_Operacao *operacao, const YNo *elemento) {
    if (privado(*operacao).cargaEstrita) {
        visitaCampos(*operacao, elemento, recusaNaoOferecido);
    }
    visitaCampos(*operacao, elemento, [](Pramo_Variavel &variavel, const YNo &campo) {
        Pramo_Variavel_leDeYNo(&variavel, &campo);
        Pramo_Variavel_desmarcaUsada(&variavel);
    });
}

void Pramo_Operacao_setCargaEstrita(Pramo_Operacao *operacao, int32_t estrita) {
    privado(*operacao).cargaEstrita = estrita != 0;
}

int32_t Pramo_Operacao_getCargaEstrita(const Pramo_Operacao *operacao) {
    return privado(*operacao).cargaEstrita ? 1 : 0;
}

// ---- Writing ----

namespace {

void gravaVariavel(const Pramo_Variavel &variavel, YNo *elemento) {
    YNo *campo = YNo_criaDescendente(elemento, "campo");
    if (variavel.descricao != nullptr) {
        YNo_setString(campo, "descricao", variavel.descricao);
    }
    YNo_setAtributo(campo, "nome", variavel.nome);
    YNo_setAtributo(campo, "estilo", "CampoSenha");
    Pramo_Variavel_gravaEmYNo(&variavel, campo);
}

void gravaBotao(const Pramo_Botao &botao, YNo *elemento) {
    YNo *no = YNo_criaDescendente(elemento, "botao");
    YNo_setAtributo(no, "nomeDaOperacao", botao.nome);
    YNo_setAtributo(no, "titulo", botao.titulo);
    YNo_setAtributo(no, "estilo", "BotaoAbertura");
}

} // namespace

void Pramo_Operacao_descarregaNaResposta(const Pramo_Operacao *operacao, YNo *elemento) {
    for (const void *posicao : elementos(*operacao->variaveis)) {
        const auto *variavel = static_cast<const Pramo_Variavel *>(posicao);
        if (variavel->usada == 0) {
            continue;
        }
        gravaVariavel(*variavel, elemento);
        if (variavel == operacao->foco) {
            YNo_setString(elemento, "focado", variavel->nome);
        }
    }
    for (const void *botao : elementos(*operacao->botoes)) {
        gravaBotao(*static_cast<const Pramo_Botao *>(botao), elemento);
    }
    YNo_setString(elemento, "estilo", "DialogoPadrao");
}
