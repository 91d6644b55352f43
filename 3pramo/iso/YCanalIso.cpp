// The class, its settings, and its operations on messages.
#include <3pramo/iso/YCanalIso_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/iso/YMensagemIso_interno.hpp>

using namespace pramo;
using namespace pramo::iso;

namespace {

Canal &canalDe(const YCanalIso *canal) {
    return *static_cast<Canal *>(canal->privado);
}

void constroiCanal(void *objeto) {
    auto *eu = static_cast<YCanalIso *>(objeto);
    eu->privado = semFaltaDeMemoria(FONTE_DO_CANAL, [eu] { return new Canal(*eu); });
}

void destroiCanal(void *objeto) {
    delete static_cast<Canal *>(static_cast<YCanalIso *>(objeto)->privado);
}

std::string exigeChave(const YMensagemIso &pedido) {
    std::string chave = chaveDoPedido(pedido);
    if (chave.empty()) {
        lanca(YExc_rtti, "A mensagem não é um pedido."_l1, FONTE_DO_CANAL);
    }
    if (YMensagemIso_getBit(&pedido, 11) == nullptr) {
        lanca(YExc_rtti, "Falta o elemento 11.", FONTE_DO_CANAL);
    }
    return chave;
}

} // namespace

const YRtti YCanalIso_definicaoRtti = {YOb_rtti, "YCanalIso", sizeof(YCanalIso), constroiCanal, destroiCanal};

const YRtti *YCanalIso_rtti(void) {
    return &YCanalIso_definicaoRtti;
}

// ---- Settings ----

void YCanalIso_setSocket(YCanalIso *canal, YSocket *socket) {
    canalDe(canal).setSocket(socket);
}

void YCanalIso_setQuadro(YCanalIso *canal, YQuadroIso quadro, int contaASiMesmo) {
    if (quadro < Y_ISO_QUADRO_2_BYTES || quadro > Y_ISO_QUADRO_LINHA) {
        lanca(YExc_rtti, "Quadro desconhecido.", FONTE_DO_CANAL);
    }
    Enquadramento &como = canalDe(canal).como;
    como.quadro = quadro;
    como.contaASi = contaASiMesmo != 0;
}

void YCanalIso_setCabecalho(YCanalIso *canal, const void *bytes, uint32_t quantos) {
    semFaltaDeMemoria(FONTE_DO_CANAL, [&] {
        canalDe(canal).como.cabecalho =
            quantos != 0 ? std::string(static_cast<const char *>(bytes), quantos) : std::string();
    });
}

void YCanalIso_setTabela(YCanalIso *canal, const YTabelaIso *tabela) {
    canalDe(canal).como.tabela = tabela;
}

void YCanalIso_setLimite(YCanalIso *canal, uint32_t bytes) {
    canalDe(canal).como.limite = bytes;
}

void YCanalIso_setAvulsas(YCanalIso *canal, void *contexto, YFuncaoAvulsaIso funcao) {
    canalDe(canal).contexto = contexto;
    canalDe(canal).funcao = funcao;
}

uint64_t YCanalIso_getAvulsas(const YCanalIso *canal, YAvulsaIso qual) {
    return canalDe(canal).avulsas(qual);
}

// ---- Messages ----

YFimDaEspera YCanalIso_envia(YCanalIso *canal, const YMensagemIso *mensagem, uint32_t milissegundos) {
    const Prazo prazo = Prazo::daqui(milissegundos);
    return semFaltaDeMemoria(FONTE_DO_CANAL, [&] { return canalDe(canal).envia(*mensagem, prazo); });
}

YFimDaEspera YCanalIso_recebe(YCanalIso *canal, YMensagemIso *mensagem, YStream *cabecalho,
                              uint32_t milissegundos) {
    const Prazo prazo = Prazo::daqui(milissegundos);
    return semFaltaDeMemoria(FONTE_DO_CANAL, [&] {
        Recebida recebida;
        const YFimDaEspera fim = canalDe(canal).recebe({}, nullptr, recebida, prazo);
        if (fim != Y_ESPERA_PRONTA) {
            return fim;
        }
        trocaConteudo(*mensagem, *recebida.mensagem);
        if (recebida.queixa != nullptr) {
            std::rethrow_exception(recebida.queixa);
        }
        if (cabecalho != nullptr) {
            YStream_clear(cabecalho);
            acrescenta(*cabecalho, recebida.cabecalho);
        }
        return fim;
    });
}

YFimDaEspera YCanalIso_troca(YCanalIso *canal, const YMensagemIso *pedido, YMensagemIso *resposta,
                             uint32_t milissegundos) {
    const Prazo prazo = Prazo::daqui(milissegundos);
    return semFaltaDeMemoria(FONTE_DO_CANAL, [&] {
        Recebida recebida;
        const YFimDaEspera fim = canalDe(canal).recebe(exigeChave(*pedido), pedido, recebida, prazo);
        if (fim == Y_ESPERA_PRONTA) {
            trocaConteudo(*resposta, *recebida.mensagem);
        }
        return fim;
    });
}
