// The answer to a request.
#include <3pramo/iso/YMensagemIso_interno.hpp>

#include <algorithm>

using namespace pramo::iso;

void YMensagemIso_montaResposta(YMensagemIso *resposta, const YMensagemIso *requisicao, int32_t transacao,
                                const int32_t *ecoados, int32_t quantos) {
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
            nova.capacidade = std::max(nova.capacidade, capacidadePara(bit, true));
        }
    });
    substitui(*resposta, nova);
}
