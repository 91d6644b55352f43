// The sale as the library sees it: which fields a round offers, what is done when they are filled, and how
// they are bound to the object's memory.
#include "Venda.hpp"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <span>
#include <string>

using namespace pramo::literais;

namespace {

// ---- The rounds of the conversation ----

constexpr const char *ITEM[] = {"valor", "quantidade", "data", "hora", "identificacao"};
constexpr const char *PAGAMENTO[] = {"parcelas", "senha", "autorizacao"};
constexpr const char *RECIBO[] = {"total"};
constexpr std::span<const char *const> ETAPAS[] = {ITEM, PAGAMENTO, RECIBO};

constexpr std::int64_t ULTIMA = std::size(ETAPAS) - 1;

void oferece(Venda &venda, std::int64_t etapa) {
    for (const char *nome : ETAPAS[venda.etapa]) {
        Pramo_Variavel_desmarcaUsada(Pramo_Operacao_getVariavel(&venda, nome));
    }
    venda.etapa = etapa;
    for (const char *nome : ETAPAS[etapa]) {
        Pramo_Variavel_marcaUsada(Pramo_Operacao_getVariavel(&venda, nome));
    }
    Pramo_Operacao_focaEm(&venda, Pramo_Operacao_getVariavel(&venda, ETAPAS[etapa].front()));
    Pramo_Botao_setOferecido(venda.cancelamento, etapa < ULTIMA);
    Pramo_Botao_setOferecido(venda.consulta, etapa == 0);
}

bool faltaResposta(const Venda &venda) {
    return std::ranges::any_of(ETAPAS[venda.etapa], [&](const char *nome) {
        return Pramo_Variavel_foiUsada(Pramo_Operacao_getVariavel(&venda, nome)) != 0;
    });
}

// The types take what has their form; whether it makes sense is the application's to say.
void calculaTotal(Venda &venda) {
    std::int64_t milesimos = 0;
    if (venda.valor <= 0 || venda.quantidade <= 0 ||
        __builtin_mul_overflow(venda.valor, std::int64_t{venda.quantidade}, &milesimos)) {
        oferece(venda, 0); // the client gets the fault, and the same fields at its next call
        YContextoTry_throw(YExcSoap_rtti, "Valor ou quantidade fora do permitido."_l1, "Venda", __LINE__);
    }
    venda.total = milesimos / 1000;
}

void esquece(Venda &venda, const char *nome) {
    const Pramo_Variavel *variavel = Pramo_Operacao_getVariavel(&venda, nome);
    std::memset(Pramo_Variavel_getEndereco(variavel), 0, Pramo_Variavel_getTamanho(variavel));
}

void cancela(Venda &venda) {
    for (const auto campos : ETAPAS) {
        std::ranges::for_each(campos, [&](const char *nome) { esquece(venda, nome); });
    }
    oferece(venda, 0);
    Pramo_Operacao_setAviso(&venda, "Venda cancelada.");
}

/// What it would cost, and the same round again.
void consulta(Venda &venda) {
    calculaTotal(venda);
    oferece(venda, venda.etapa);
    const std::string centavos = std::to_string(venda.total % 100 + 100).substr(1);
    const std::string aviso = "Total: " + std::to_string(venda.total / 100) + "," + centavos;
    Pramo_Operacao_setAviso(&venda, aviso.c_str());
}

/// The round is complete; the last one has no answer.
void avanca(Venda &venda) {
    if (venda.etapa == 0) {
        calculaTotal(venda);
    } else {
        esquece(venda, "senha"); // here it would be verified
    }
    oferece(venda, venda.etapa + 1);
}

void trataCampos(Pramo_Operacao *operacao) {
    auto &venda = static_cast<Venda &>(*operacao);
    const Pramo_Botao *acionado = Pramo_Operacao_getBotaoAcionado(&venda);
    Pramo_Operacao_setAviso(&venda, nullptr);
    if (acionado != nullptr) {
        acionado == venda.cancelamento ? cancela(venda) : consulta(venda);
    } else if (!faltaResposta(venda)) { // a field that was loaded is no longer marked
        avanca(venda);
    }
}

// ---- The form ----

/// Binds a field of the form to a member of the object, which lives as long as the operation that it is.
template <typename T>
Pramo_Variavel *campo(Venda &venda, const char *nome, const char *titulo, Pramo_Tipo *tipo, T &onde) {
    Pramo_Variavel *variavel = Pramo_Operacao_criaVariavel(&venda, nome, tipo, &onde, sizeof onde);
    Pramo_Variavel_setTitulo(variavel, titulo);
    return variavel;
}

void montaItem(Venda &venda) {
    campo(venda, "valor", "Valor", Pramo_Tipo_getTipoDinheiro(), venda.valor);
    campo(venda, "quantidade", "Quantidade", Pramo_Tipo_getTipoQTDE3(), venda.quantidade);
    campo(venda, "data", "Data", Pramo_Tipo_getTipoDATAC(), venda.data);
    campo(venda, "hora", "Hora", Pramo_Tipo_getTipoHORAC(), venda.hora);
    Pramo_Variavel *identificacao =
        campo(venda, "identificacao", "Identificação"_l1, Pramo_Tipo_getTipoId(), venda.identificacao);
    Pramo_Variavel_setDescricao(identificacao, "Matrícula de quem vende"_l1);
}

void montaPagamento(Venda &venda) {
    Pramo_Variavel *parcelas =
        campo(venda, "parcelas", "Parcelas", Pramo_Tipo_getTipoEscolhaMultipla(), venda.parcelas);
    Pramo_Variavel_acrescentaOpcao(parcelas, "1", "à vista"_l1);
    Pramo_Variavel_acrescentaOpcao(parcelas, "3", "3 vezes");
    // Without an address: bytes of the operation's own, for six digits and the zero.
    Pramo_Variavel *senha =
        Pramo_Operacao_criaVariavel(&venda, "senha", Pramo_Tipo_getTipoSegredo(), nullptr, 7);
    Pramo_Variavel_setRequerValidacao(senha, 1);
    Pramo_Variavel_incluiPeriferico(senha, Pramo_Periferico_getPIN());
    campo(venda, "autorizacao", "Autorização"_l1, Pramo_Tipo_getTipoAutorizacao(), venda.autorizacao);
}

void constroi(void *objeto) {
    auto &venda = *static_cast<Venda *>(objeto);
    Pramo_Operacao_setCargaEstrita(&venda, 1); // a terminal changes only what it was offered
    Pramo_Operacao_habilitaPeriferico(&venda, Pramo_Periferico_getTECLADO());
    montaItem(venda);
    montaPagamento(venda);
    Pramo_Variavel *total = campo(venda, "total", "Total", Pramo_Tipo_getTipoDinheiro(), venda.total);
    Pramo_Variavel_setSomenteLeitura(total, 1);
    venda.cancelamento = Pramo_Operacao_criaBotao(&venda, "cancelamento", "Cancelar");
    venda.consulta = Pramo_Operacao_criaBotao(&venda, "consulta", "Consultar preço"_l1);
    oferece(venda, 0);
}

const Pramo_Operacao_Rtti definicao = {{Pramo_Operacao_rtti, "Venda", sizeof(Venda), constroi, nullptr},
                                       trataCampos};

} // namespace

const YRtti *Venda_rtti() {
    return &definicao.rtti;
}
