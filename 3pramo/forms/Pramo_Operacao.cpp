// The operation's life, its variables and buttons, and the threads that wait on it. What it exchanges with a
// client is in Pramo_Operacao_troca.cpp.
//
// One thread at a time works with an operation, so nothing here is locked but the waiting, which has a block
// of its own behind `sincronizacao`.
#include <3pramo/forms/Pramo_Operacao_interno.hpp>

#include <3pramo/foundation/Trinco.hpp>
#include <3pramo/foundation/YMemoria_interno.hpp>
#include <3pramo/foundation/YVetor_interno.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cstring>
#include <memory>
#include <utility>

using namespace pramo;

namespace {

// Behind the area: a date or time takes two bytes, also when its variable says less and stands at the end.
constexpr std::uint64_t BYTES_DE_SOBRA = 2;
constexpr std::uint64_t BYTES_DA_AREA = PRAMO_AREA_PRE_ALOCADA + BYTES_DE_SOBRA;

/// What waiting threads share. Each remembers the count that it met and leaves when it has changed, so that
/// neither a wake-up without a signal nor a second signal in between leads it astray.
struct Sincronizacao {
    Trinco trinco;
    Condicao mudou;
    std::uint64_t sinais Y_GUARDADO_POR(trinco) = 0;
};

// Also takes back a construction that was broken off: what is not there yet is null, which all of these take.
void destroi(void *objeto) {
    auto *operacao = static_cast<Pramo_Operacao *>(objeto);
    YliberaObjeto(operacao->mensagens);
    YliberaObjeto(operacao->variaveis);
    YliberaObjeto(operacao->botoes);
    YliberaObjeto(operacao->perifericosHabilitados);
    YliberaMemoria(operacao->titulo);
    YliberaMemoria(operacao->areaPreAlocada);
    YDIC_destroi(operacao->respostasDoPopup);
    // Nobody waits any more: whoever frees an operation is the only one to use it.
    delete static_cast<Sincronizacao *>(operacao->sincronizacao);
    delete static_cast<Pramo_Operacao_Privado *>(operacao->privado);
}

void constroi(void *objeto) {
    auto *operacao = static_cast<Pramo_Operacao *>(objeto);
    try {
        operacao->variaveis = cria<YVetor>(YVetorQueDestroi_rtti, FONTE_DA_OPERACAO).release();
        operacao->botoes = cria<YVetor>(YVetorQueDestroi_rtti, FONTE_DA_OPERACAO).release();
        operacao->mensagens = cria<YMapa>(YMapa_rtti, FONTE_DA_OPERACAO).release();
        operacao->perifericosHabilitados = cria<YSet>(YSet_rtti, FONTE_DA_OPERACAO).release();
        operacao->respostasDoPopup = YDIC_constroi();
        operacao->privado = semFaltaDeMemoria(FONTE_DA_OPERACAO, [] { return new Pramo_Operacao_Privado; });
    } catch (...) {
        // A constructor that raises is not followed by its destructor.
        destroi(operacao);
        throw;
    }
}

void trataSemImplementacao(Pramo_Operacao * /*operacao*/) {
    YchamouFuncaoVirtualPura();
}

} // namespace

const Pramo_Operacao_Rtti Pramo_Operacao_definicaoRtti = {
    {YOb_rtti, "Pramo_Operacao", sizeof(Pramo_Operacao), constroi, destroi}, trataSemImplementacao};

const YRtti *Pramo_Operacao_rtti(void) {
    return &Pramo_Operacao_definicaoRtti.rtti;
}

void Pramo_Operacao_trataCampos(Pramo_Operacao *operacao) {
    reinterpret_cast<const Pramo_Operacao_Rtti *>(operacao->rtti)->trataCampos(operacao);
}

namespace {

/// Secrets that stand in the area, which goes on to hold other variables. When it is freed, all of it is
/// wiped.
void apagaSegredos(Pramo_Operacao &operacao) {
    const auto inicio = reinterpret_cast<std::uintptr_t>(operacao.areaPreAlocada);
    for (void *elemento : elementos(*operacao.variaveis)) {
        const auto &variavel = *static_cast<const Pramo_Variavel *>(elemento);
        // Another address than the area's is far away from its start: the difference goes round below it.
        const std::uint64_t posicao = reinterpret_cast<std::uintptr_t>(variavel.endereco) - inicio;
        if (inicio != 0 && posicao < BYTES_DA_AREA && variavel.tipo != nullptr &&
            YRtti_deriva(variavel.tipo->rtti, Pramo_TipoSegredo_rtti) != 0) {
            apaga(variavel.endereco, std::min(variavel.tamanho, BYTES_DA_AREA - posicao));
        }
    }
}

} // namespace

void Pramo_Operacao_clear(Pramo_Operacao *operacao) {
    // Everything new is made before anything old goes: without memory nothing has changed.
    auto variaveis = cria<YVetor>(YVetorQueDestroi_rtti, FONTE_DA_OPERACAO);
    auto botoes = cria<YVetor>(YVetorQueDestroi_rtti, FONTE_DA_OPERACAO);
    auto mensagens = cria<YMapa>(YMapa_rtti, FONTE_DA_OPERACAO);
    apagaSegredos(*operacao);
    operacao->foco = nullptr;
    operacao->areaOcupada = 0;
    privado(*operacao).botaoAcionado = nullptr;
    privado(*operacao).aviso.reset();
    YliberaObjeto(std::exchange(operacao->variaveis, variaveis.release()));
    YliberaObjeto(std::exchange(operacao->botoes, botoes.release()));
    YliberaObjeto(std::exchange(operacao->mensagens, mensagens.release()));
}

// ---- Variables and buttons ----

namespace {

/// The next bytes of the area, which is made, zeroed, at its first use. They are handed out when
/// `areaOcupada` grows. That is never more than the area has, so the difference does not go below 0.
void *lugarNaArea(Pramo_Operacao &operacao, std::uint64_t tamanho) {
    if (tamanho > PRAMO_AREA_PRE_ALOCADA - operacao.areaOcupada) {
        lanca(YExcSoap_rtti, "Nova variável da operação não coube na área pré-alocada."_l1,
              FONTE_DA_OPERACAO);
    }
    if (operacao.areaPreAlocada == nullptr) {
        operacao.areaPreAlocada =
            static_cast<std::uint8_t *>(YalocaMemoria_debug(BYTES_DA_AREA, FONTE_DA_OPERACAO, __LINE__));
        std::memset(operacao.areaPreAlocada, 0, BYTES_DA_AREA);
    }
    return operacao.areaPreAlocada + operacao.areaOcupada;
}

/// The object is the list's from the moment that it stands there, and its maker's until then.
template <typename T>
T *poe(YVetor *vetor, Ponteiro<T> novo) {
    YVetor_poe(vetor, novo.get());
    return novo.release();
}

} // namespace

Pramo_Variavel *Pramo_Operacao_criaVariavel(Pramo_Operacao *operacao, const char *nome, Pramo_Tipo *tipo,
                                            void *endereco, uint64_t tamanho) {
    if (Pramo_Variavel *existente = Pramo_Operacao_recuperaVariavel(operacao, nome)) {
        return existente;
    }
    // The variable is complete before the list has it, and its bytes are taken from the area last: what fails
    // on the way leaves the form as it was.
    const bool naArea = endereco == nullptr;
    auto nova = cria<Pramo_Variavel>(Pramo_Variavel_rtti, FONTE_DA_OPERACAO);
    nova->tipo = tipo;
    nova->endereco = naArea ? lugarNaArea(*operacao, tamanho) : endereco;
    nova->tamanho = tamanho;
    Pramo_Entidade_setNome(nova, nome);
    Pramo_Variavel_incluiPerifericos(nova.get(), operacao->perifericosHabilitados);
    Pramo_Variavel *variavel = poe(operacao->variaveis, std::move(nova));
    operacao->areaOcupada += naArea ? tamanho : 0;
    return variavel;
}

Pramo_Botao *Pramo_Operacao_criaBotao(Pramo_Operacao *operacao, const char *nome, const char *titulo) {
    auto novo = cria<Pramo_Botao>(Pramo_Botao_rtti, FONTE_DA_OPERACAO);
    Pramo_Entidade_setNome(novo, nome);
    Pramo_Botao_setTitulo(novo.get(), titulo);
    return poe(operacao->botoes, std::move(novo));
}

// A form has few fields and keeps them in the order made: no index pays. A variable without a name is not
// found, and a null name finds none.
Pramo_Variavel *Pramo_Operacao_recuperaVariavel(const Pramo_Operacao *operacao, const char *nome) {
    for (void *elemento : elementos(*operacao->variaveis)) {
        auto *variavel = static_cast<Pramo_Variavel *>(elemento);
        if (nome != nullptr && variavel->nome != nullptr && std::strcmp(variavel->nome, nome) == 0) {
            return variavel;
        }
    }
    return nullptr;
}

Pramo_Variavel *Pramo_Operacao_getVariavel(const Pramo_Operacao *operacao, const char *nome) {
    Pramo_Variavel *variavel = Pramo_Operacao_recuperaVariavel(operacao, nome);
    if (variavel == nullptr) {
        lanca(YExc_rtti, "Variável desconhecida."_l1, FONTE_DA_OPERACAO);
    }
    return variavel;
}

void Pramo_Operacao_focaEm(Pramo_Operacao *operacao, Pramo_Variavel *variavel) {
    operacao->foco = variavel;
}

void Pramo_Operacao_setTitulo(Pramo_Operacao *operacao, const char *titulo) {
    trocaTexto(operacao->titulo, titulo);
}

const char *Pramo_Operacao_getTitulo(const Pramo_Operacao *operacao) {
    return operacao->titulo;
}

void Pramo_Operacao_habilitaPeriferico(Pramo_Operacao *operacao, Pramo_Periferico *periferico) {
    if (periferico != nullptr) {
        YSet_poe(operacao->perifericosHabilitados, periferico);
    } else {
        YSet_clear(operacao->perifericosHabilitados);
    }
}

// ---- Messages and answers ----

void Pramo_Operacao_guardaMensagem(Pramo_Operacao *operacao, const char *mensagem) {
    YMapa_guarda(operacao->mensagens, mensagem, nullptr);
}

int32_t Pramo_Operacao_temMensagem(const Pramo_Operacao *operacao, const char *mensagem) {
    return YMapa_busca(operacao->mensagens, mensagem) != nullptr ? 1 : 0;
}

void Pramo_Operacao_setRespostaDoPopup(Pramo_Operacao *operacao, const char *chave, const char *resposta) {
    YDIC_guarda(operacao->respostasDoPopup, chave, resposta);
}

const char *Pramo_Operacao_getRespostaDoPopup(const Pramo_Operacao *operacao, const char *chave) {
    return YDIC_recupera(operacao->respostasDoPopup, chave);
}

void Pramo_Operacao_setAviso(Pramo_Operacao *operacao, const char *aviso) {
    privado(*operacao).aviso = Ponteiro<char>(YduplicaString(aviso));
}

const char *Pramo_Operacao_getAviso(const Pramo_Operacao *operacao) {
    return privado(*operacao).aviso.get();
}

// ---- Waiting for each other ----

namespace {

// The field is a plain pointer to C; any thread may be the first to wait, so it is read and set atomically.
std::atomic_ref<void *> lugarDaSincronizacao(Pramo_Operacao &operacao) {
    return std::atomic_ref(operacao.sincronizacao);
}

/// Makes it when it is not there; of two threads that do so at once, one gives its own up.
Sincronizacao &garanteSincronizacao(Pramo_Operacao &operacao) {
    const auto lugar = lugarDaSincronizacao(operacao);
    void *feita = lugar.load();
    if (feita == nullptr) {
        auto nova = semFaltaDeMemoria(FONTE_DA_OPERACAO, [] { return std::make_unique<Sincronizacao>(); });
        if (lugar.compare_exchange_strong(feita, nova.get())) {
            feita = nova.release();
        }
    }
    return *static_cast<Sincronizacao *>(feita);
}

} // namespace

void Pramo_Operacao_esperaCondicao(Pramo_Operacao *operacao) {
    Sincronizacao &sincronizacao = garanteSincronizacao(*operacao);
    // From the look at the count until it waits a thread holds the lock: no signal can fall in between.
    const Tranca tranca(sincronizacao.trinco);
    const std::uint64_t antes = sincronizacao.sinais;
    while (sincronizacao.sinais == antes) {
        sincronizacao.mudou.espera(sincronizacao.trinco);
    }
}

int32_t Pramo_Operacao_esperaCondicaoMs(Pramo_Operacao *operacao, int64_t milissegundos) {
    const auto espera = std::chrono::milliseconds(std::clamp<std::int64_t>(milissegundos, 0, INT_MAX));
    const auto fim = std::chrono::steady_clock::now() + espera;
    Sincronizacao &sincronizacao = garanteSincronizacao(*operacao);
    const Tranca tranca(sincronizacao.trinco);
    const std::uint64_t antes = sincronizacao.sinais;
    while (sincronizacao.sinais == antes && sincronizacao.mudou.esperaAte(sincronizacao.trinco, fim)) {
    }
    // A signal in the last moment came, whatever the wait has ended by.
    return sincronizacao.sinais != antes ? 1 : 0;
}

void Pramo_Operacao_sinalizaCondicao(Pramo_Operacao *operacao) {
    auto *sincronizacao = static_cast<Sincronizacao *>(lugarDaSincronizacao(*operacao).load());
    if (sincronizacao == nullptr) {
        return; // nobody has ever waited, and a signal is not kept
    }
    // Wakes with the lock held: a thread that is woken and then frees the operation comes after this one's
    // last use of the condition.
    const Tranca tranca(sincronizacao->trinco);
    sincronizacao->sinais++;
    sincronizacao->mudou.avisa();
}
