// The port type Formulario: a service object holds one client's sale, and its one method is a round of it.
#include "Formulario.hpp"
#include "Venda.hpp"

#include <memory>
#include <mutex>

namespace {

/// One client's conversation.
struct Formulario : YWebService {
    std::mutex trinco; // two connections may call the same object at once
    Venda *venda;
};

void constroi(void *objeto) {
    auto *formulario = static_cast<Formulario *>(objeto);
    std::construct_at(&formulario->trinco);
    YalocaObjeto(&formulario->venda, Venda_rtti);
}

void destroi(void *objeto) {
    auto *formulario = static_cast<Formulario *>(objeto);
    YliberaObjeto(formulario->venda);
    std::destroy_at(&formulario->trinco);
}

const YRtti definicao = {YWebService_rtti, "Formulario", sizeof(Formulario), constroi, destroi};

const YRtti *Formulario_rtti() {
    return &definicao;
}

/// Without answers it gives the form again. An answer that is refused becomes the client's fault; nothing of
/// its request counts, and the next form asks for all of it again.
void preenche(YWebService *servico, YNo *requisicao, YNo *resposta) {
    auto &formulario = *static_cast<Formulario *>(servico);
    // An operation belongs to one thread at a time: a whole round is done under the lock.
    const std::lock_guard tranca(formulario.trinco);
    Pramo_Operacao_carregaDaRequisicao(formulario.venda, requisicao);
    Pramo_Operacao_trataCampos(formulario.venda);
    Pramo_Operacao_descarregaNaResposta(formulario.venda, resposta);
}

constexpr YDefinicaoMetodo METODOS[] = {{"preenche", preenche}, {nullptr, nullptr}};

} // namespace

YDefinicaoPortType definicaoDoFormulario(const char *wsdl) {
    return {"Formulario", METODOS, Formulario_rtti, wsdl, nullptr};
}
