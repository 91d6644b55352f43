// No block goes back to the allocator while it still holds a card number, a password or a PIN.
#include "apoio/soap.hpp"

#include <malloc.h>

using namespace apoio;
namespace {

constexpr std::string_view SEGREDOS[] = {"4929123456781234", "73519284", "A1B2C3D4E5F60718"};
std::atomic<bool> vigia{false};
std::atomic<int> achados{0};
thread_local bool cliente = false; // its texts are the test's own: wiped here, so that no block inherits them

void examina(void *bloco) {
    const std::size_t tamanho = malloc_usable_size(bloco);
    if (cliente) {
        std::memset(bloco, 0, tamanho);
        return;
    }
    for (const std::string_view segredo : SEGREDOS) {
        achados += memmem(bloco, tamanho, segredo.data(), segredo.size()) != nullptr ? 1 : 0;
    }
}

} // namespace

// The linker sends the library's frees here (-Wl,--wrap).
extern "C" {
void __real_free(void *bloco);  // NOLINT(bugprone-reserved-identifier)
void __wrap_free(void *bloco) { // NOLINT
    if (bloco != nullptr && vigia.load(std::memory_order_relaxed)) {
        examina(bloco);
    }
    __real_free(bloco);
}
}

namespace {

// A form of which one request is refused, and messages, streams and texts with the card number.
void preenche(YWebService *, YNo *requisicao, YNo *resposta) {
    const char *cartao = YNo_getString(requisicao, "cartao");
    const auto op = cria<Pramo_Operacao>(Pramo_Operacao_rtti);
    Pramo_Operacao_setCargaEstrita(op, 1);
    Pramo_Operacao_setRespostaDoPopup(op, "p", cartao);
    const std::pair<const char *, Pramo_Tipo *> campos[] = {{"s", Pramo_Tipo_getTipoSenha()},
                                                            {"c", Pramo_Tipo_getTipoEscolhaMultipla()},
                                                            {"i", Pramo_Tipo_getTipoId()}};
    for (const auto &[nome, tipo] : campos) {
        Pramo_Variavel *variavel = Pramo_Operacao_criaVariavel(op, nome, tipo, nullptr, 16);
        Pramo_Variavel_acrescentaOpcao(variavel, cartao, cartao);
        Pramo_Variavel_marcaUsada(variavel);
    }
    EXPECT_NE(excecao([&] { Pramo_Operacao_carregaDaRequisicao(op, requisicao); }), "");
    YNo_setStringVal(YNo_getFilho(requisicao, "campo", 2), "1");
    Pramo_Operacao_carregaDaRequisicao(op, requisicao);
    for (const auto &[nome, tipo] : campos) {
        Pramo_Variavel_marcaUsada(Pramo_Operacao_getVariavel(op, nome));
    }
    Pramo_Operacao_descarregaNaResposta(op, resposta);

    const auto mensagem = cria<YMensagemIso>(YMensagemIso_rtti);
    const auto copia = cria<YMensagemIso>(YMensagemIso_rtti);
    const auto fio = cria<YStream>(YStream_rtti);
    YMensagemIso_setBit(mensagem, 2, cartao);
    YMensagemIso_setBit(mensagem, 52, SEGREDOS[2].data());
    YMensagemIso_copiaDe(copia, mensagem);
    YMensagemIso_setBit(mensagem, 2, "1");
    YMensagemIso_dumpMascaradoEmStream(copia, fio);
    YStream_clear(fio);
    YMensagemIso_emiteEmStream(copia, fio);
    const char *posicao = YStream_str(fio);
    YMensagemIso_carrega(mensagem, &posicao);
    YMensagemIso_salvaEmArquivo(mensagem, "/dev/null");
    YStream_printf(fio, "%600s", cartao);
    const auto no = cria<YNo>(YNo_rtti);
    for (const char *texto : {cartao, "um texto mais longo que o primeiro", cartao, ""}) {
        YNo_setAtributo(no, "t", texto);
        YNo_setValor(no, texto);
    }
    YliberaMemoria(YrealocaMemoria_debug(YduplicaString(cartao), 4096, "teste", 1));
}

TEST(Apagamento, nenhumBlocoLiberadoGuardaUmSegredo) {
    const YDefinicaoMetodo metodos[] = {{"preenche", preenche}, {nullptr, nullptr}};
    ServidorSoap servidor({{"Alvo", metodos, YWebService_rtti, nullptr, nullptr}});
    const Diario diario(Y_LOG_CORPO);
    cliente = vigia = true;
    {
        const std::string cartao(SEGREDOS[0]);
        const std::string senha(SEGREDOS[1]);
        std::string corpo = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><e><Body><preenche t=\"" + cartao +
                            "\"><cartao>" + cartao + "</cartao><z>\xC3\xA7" + std::string(3000, 'z') + "</z>";
        for (const std::string &campo : {"s\">" + senha, "c\">" + cartao, "i\">x" + senha}) {
            corpo += "<campo opcao=\"" + cartao + "\" nome=\"" + campo + "</campo>";
        }
        corpo += "<b>" + cartao + "&amp;</b></preenche></Body></e>";
        const std::string pedido = pedidoSoap("Alvo", "preenche", corpo);
        const std::string respostas = conversa(servidor.porta(), pedido + pedido);
        EXPECT_NE(respostas.find("<ns1:valor>" + cartao + "</ns1:valor>"), std::string::npos) << respostas;
    }
    cliente = false;
    servidor.libera();
    vigia = false;
    EXPECT_EQ(achados, 0);
}

} // namespace
