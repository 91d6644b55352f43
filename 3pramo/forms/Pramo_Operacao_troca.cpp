// The exchange with the client: answers in, form out.
//
// A request is what a peer sends: names may be unknown or repeated, values anything. Without strictness each
// field is stored as it comes and the first that is refused ends the loading; with it a request is looked
// through whole before anything is stored, and what was stored goes back when something fails.
#include <3pramo/forms/Pramo_Operacao_interno.hpp>

#include <3pramo/foundation/YVetor_interno.hpp>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

using namespace pramo;

// ---- Loading ----

namespace {

// Names are quoted; what a field holds never is.
[[noreturn]] void recusaNome(const char *antes, const char *nome, const char *depois) {
    const std::string mensagem = semFaltaDeMemoria(
        FONTE_DA_OPERACAO, [&] { return std::string(antes) + "\"" + nome + "\"" + depois; });
    lanca(YExcSoap_rtti, mensagem.c_str(), FONTE_DA_OPERACAO);
}

// Who handles the refusal of a field need not look for its name in the text.
[[noreturn]] void recusaCampo(const char *antes, const char *nome, const char *depois) {
    YContextoTry_atributo("campo", nome);
    recusaNome(antes, nome, depois);
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

/// Calls `visita` with each child of this name, in the order sent.
template <typename VISITA>
void visitaFilhos(const YNo *elemento, const char *nome, VISITA visita) {
    const YVetor *filhos = YNo_getFilhos(elemento);
    if (filhos == nullptr) {
        return;
    }
    for (void *posicao : elementos(*filhos)) {
        const auto &filho = *static_cast<const YNo *>(posicao);
        if (filho.nome != nullptr && std::strcmp(filho.nome, nome) == 0) {
            visita(filho);
        }
    }
}

/// Calls `visita` with each element "campo" and its variable, in the order sent. A name that no variable has
/// ends the walk where it stands, with an exception.
template <typename VISITA>
void visitaCampos(const Pramo_Operacao &operacao, const YNo *elemento, VISITA visita) {
    visitaFilhos(elemento, "campo",
                 [&](const YNo &campo) { visita(variavelDoCampo(operacao, campo), campo); });
}

// What was not offered cannot be pressed, as if it did not exist. Null when there is none.
Pramo_Botao *botaoOferecido(const Pramo_Operacao &operacao, const char *nome) {
    for (void *elemento : elementos(*operacao.botoes)) {
        auto *botao = static_cast<Pramo_Botao *>(elemento);
        if (Pramo_Botao_getOferecido(botao) != 0 && botao->nome != nullptr &&
            std::strcmp(botao->nome, nome) == 0) {
            return botao;
        }
    }
    return nullptr;
}

/// The button that the request names, null for none; strictly, one that is not offered is refused and so is
/// a second one.
Pramo_Botao *acionadoNaRequisicao(const Pramo_Operacao &operacao, const YNo *elemento, bool estrita) {
    Pramo_Botao *acionado = nullptr;
    visitaFilhos(elemento, "botaoAcionado", [&](const YNo &filho) {
        if (filho.valor == nullptr) {
            return; // what a client's library makes of a parameter that was not given
        }
        if (estrita && acionado != nullptr) {
            lanca(YExcSoap_rtti, "Veio mais de um botão acionado."_l1, FONTE_DA_OPERACAO);
        }
        Pramo_Botao *botao = botaoOferecido(operacao, filho.valor);
        if (estrita && botao == nullptr) {
            recusaNome("O botão "_l1, filho.valor, " não foi oferecido."_l1);
        }
        acionado = botao != nullptr ? botao : acionado;
    });
    return acionado;
}

// The mark goes only when the value is in: a field that was refused is still asked for.
void carrega(Pramo_Variavel &variavel, const YNo &campo) {
    Pramo_Variavel_leDeYNo(&variavel, &campo);
    Pramo_Variavel_desmarcaUsada(&variavel);
}

// ---- Strict loading ----

/// A type touches as many bytes as the variable has; dates and times, and types derived from them, two.
std::uint64_t bytesDe(const Pramo_Variavel &variavel) {
    const YRtti *tipo = variavel.tipo->rtti;
    const bool dois =
        YRtti_deriva(tipo, Pramo_TipoDATAC_rtti) != 0 || YRtti_deriva(tipo, Pramo_TipoHORAC_rtti) != 0;
    return dois ? 2 : variavel.tamanho;
}

/// What loading changes of a variable, as it was before: its bytes, its option, and the fields of the answer.
/// All memory is taken when it is made, so that going back cannot fail.
class Antes {
public:
    explicit Antes(Pramo_Variavel &variavel)
        : variavel_(&variavel), campos_(variavel),
          bytes_(YduplicaStringTam(static_cast<const char *>(variavel.endereco), bytesDe(variavel))),
          opcao_(YduplicaString(variavel.opcaoEscolhida)) {}

    [[nodiscard]] bool eh(const Pramo_Variavel &variavel) const { return variavel_ == &variavel; }

    void volta() noexcept {
        if (bytes_ != nullptr) { // null for a variable without an address
            std::memcpy(variavel_->endereco, bytes_.get(), bytesDe(*variavel_));
        }
        // The option that loading put there is freed, the one from before goes back to its owner.
        YliberaMemoria(std::exchange(variavel_->opcaoEscolhida, opcao_.release()));
        variavel_->perifericoUtilizado = campos_.perifericoUtilizado;
        variavel_->caracteresAntesDaVirgula = campos_.caracteresAntesDaVirgula;
        variavel_->caracteresDepoisDaVirgula = campos_.caracteresDepoisDaVirgula;
        variavel_->usada = campos_.usada;
    }

private:
    Pramo_Variavel *variavel_;
    Pramo_Variavel campos_; // its fields alone: it owns nothing
    Ponteiro<char> bytes_;
    Ponteiro<char> opcao_;
};

bool temOpcao(const Pramo_Variavel &variavel, const char *chave) {
    const auto ehEsta = [&](const void *opcao) {
        const char *propria = static_cast<const Opcao *>(opcao)->chave;
        return propria != nullptr && std::strcmp(propria, chave) == 0;
    };
    return variavel.opcoes != nullptr && std::ranges::any_of(elementos(*variavel.opcoes), ehEsta);
}

/// Loads all fields of a request or, when one of them is refused, none.
class CargaEstrita {
public:
    CargaEstrita() = default;
    CargaEstrita(const CargaEstrita &) = delete;
    CargaEstrita &operator=(const CargaEstrita &) = delete;
    /// Whatever ends the loading early, also an exception that is not the library's, passes here.
    ~CargaEstrita() {
        // Variables may share memory: the last one goes back first.
        for (; !feita_ && !antes_.empty(); antes_.pop_back()) {
            antes_.back().volta();
        }
    }

    void carregaTudo(const Pramo_Operacao &operacao, const YNo *elemento) {
        visitaCampos(operacao, elemento, [&](Pramo_Variavel &variavel, const YNo &campo) {
            confereCampo(variavel, campo);
            semFaltaDeMemoria(FONTE_DA_OPERACAO, [&] { antes_.emplace_back(variavel); });
        });
        // The same fields once more: only a type can refuse one now, or memory be short.
        visitaCampos(operacao, elemento, carregaComNome);
        feita_ = true;
    }

private:
    void confereCampo(const Pramo_Variavel &variavel, const YNo &campo) const {
        const char *opcao = YNo_getAtributo(&campo, "opcao");
        if (variavel.usada == 0) {
            recusa(variavel, "O campo ", " não foi oferecido."_l1);
        }
        if (variavel.somenteLeitura != 0) {
            recusa(variavel, "O campo ", " é somente para leitura."_l1);
        }
        // This also bounds what a peer can have kept here: each variable once.
        if (std::ranges::any_of(antes_, [&](const Antes &antes) { return antes.eh(variavel); })) {
            recusa(variavel, "O campo ", " veio duas vezes.");
        }
        if (opcao != nullptr && !temOpcao(variavel, opcao)) {
            recusa(variavel, "A opção escolhida não existe no campo "_l1, ".");
        }
    }

    // The detail text of this thread comes in front of the message of its next exception.
    [[noreturn]] static void recusa(const Pramo_Variavel &variavel, const char *antes, const char *depois) {
        YContextoTry_printf("campo: %s. ", variavel.nome);
        recusaCampo(antes, variavel.nome, depois);
    }

    /// Whatever the type raises is said of its field, as an exception of the exchange.
    static void carregaComNome(Pramo_Variavel &variavel, const YNo &campo) {
        try {
            carrega(variavel, campo);
        } catch (const YExcecao &e) {
            YContextoTry_printf("campo: %s. ", variavel.nome);
            YContextoTry_atributo("campo", variavel.nome);
            lanca(YExcSoap_rtti, e.what(), FONTE_DA_OPERACAO);
        }
    }

    std::vector<Antes> antes_;
    bool feita_ = false;
};

} // namespace

void Pramo_Operacao_carregaDaRequisicao(Pramo_Operacao *operacao, const YNo *elemento) {
    Pramo_Operacao_Privado &p = privado(*operacao);
    p.botaoAcionado = nullptr;
    Pramo_Botao *acionado = acionadoNaRequisicao(*operacao, elemento, p.cargaEstrita);
    if (p.cargaEstrita) {
        CargaEstrita().carregaTudo(*operacao, elemento);
    } else {
        visitaCampos(*operacao, elemento, carrega);
    }
    p.botaoAcionado = acionado; // of a request that was refused nothing counts
}

Pramo_Botao *Pramo_Operacao_getBotaoAcionado(const Pramo_Operacao *operacao) {
    return privado(*operacao).botaoAcionado;
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
        // Right behind its field, and only with it: a focus on an unmarked variable is not written.
        if (variavel == operacao->foco) {
            YNo_setString(elemento, "focado", variavel->nome);
        }
    }
    for (const void *posicao : elementos(*operacao->botoes)) {
        const auto *botao = static_cast<const Pramo_Botao *>(posicao);
        if (Pramo_Botao_getOferecido(botao) != 0) {
            gravaBotao(*botao, elemento);
        }
    }
    YNo_setString(elemento, "estilo", "DialogoPadrao");
    // Behind all that clients know from before: one that does not know it reads over it.
    if (const char *aviso = Pramo_Operacao_getAviso(operacao)) {
        YNo_setString(elemento, "aviso", aviso);
    }
}
