// The sale as the library sees it: which fields a round offers, what is done when they are filled, and how
// they are bound to the object's memory.
#include "Venda.hpp"

#include <algorithm>
#include <cstring>
#include <span>

using namespace pramo::literais;

namespace {

// ---- The rounds of the conversation ----

constexpr const char *ITEM[] = {"valor", "quantidade", "data", "hora", "identificacao"};
constexpr const char *PAGAMENTO[] = {"parcelas", "senha", "autorizacao"};
constexpr const char *RECIBO[] = {"total"};
constexpr std::span<const char *const> ETAPAS[] = {ITEM, PAGAMENTO, RECIBO};

void oferece(Venda &venda, std::int64_t etapa) {
    venda.etapa = etapa;
    for (const char *nome : ETAPAS[etapa]) {
        Pramo_Variavel_marcaUsada(Pramo_Operacao_getVariavel(&venda, nome));
    }
    Pramo_Operacao_focaEm(&venda, Pramo_Operacao_getVariavel(&venda, ETAPAS[etapa].front()));
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

void esqueceSenha(Venda &venda) {
    const Pramo_Variavel *senha = Pramo_Operacao_getVariavel(&venda, "senha");
    std::memset(Pramo_Variavel_getEndereco(senha), 0, Pramo_Variavel_getTamanho(senha));
}

/// Goes on when the round is complete: a field that was loaded is no longer marked.
void trataCampos(Pramo_Operacao *operacao) {
    auto &venda = static_cast<Venda &>(*operacao);
    if (faltaResposta(venda)) {
        return;
    }
    if (venda.etapa == 0) {
        calculaTotal(venda);
    } else {
        esqueceSenha(venda); // here it would be verified; a response would send it back
    }
    oferece(venda, venda.etapa + 1); // the last round has no answer, so it stays
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
    campo(venda, "valor", "Valor", Pramo_Tipo_getTipoBIN(), venda.valor);
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
    // Without an address: four bytes of the operation's own.
    Pramo_Variavel *senha =
        Pramo_Operacao_criaVariavel(&venda, "senha", Pramo_Tipo_getTipoSenha(), nullptr, 4);
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
    Pramo_Variavel *total = campo(venda, "total", "Total", Pramo_Tipo_getTipoBIN(), venda.total);
    Pramo_Variavel_setSomenteLeitura(total, 1);
    Pramo_Operacao_criaBotao(&venda, "cancelamento", "Cancelar");
    Pramo_Operacao_criaBotao(&venda, "consulta", "Consultar preço"_l1);
    oferece(venda, 0);
}

const Pramo_Operacao_Rtti definicao = {{Pramo_Operacao_rtti, "Venda", sizeof(Venda), constroi, nullptr},
                                       trataCampos};

} // namespace

const YRtti *Venda_rtti() {
    return &definicao.rtti;
}
