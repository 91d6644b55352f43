// A method that takes a card and a PIN through most of what the library does with a request: a form of which
// one answer is refused, a message, streams, nodes and maps.
#pragma once

#include "apoio/soap.hpp"

namespace apoio {

inline const std::string CARTAO = "4929123456781234";
inline const std::string SENHA = "73519284";
inline const std::string PIN = "A1B2C3D4E5F60718";

inline void trabalha(YWebService * /*servico*/, YNo *requisicao, YNo *resposta) {
    const char *cartao = YNo_getString(requisicao, "cartao");
    const auto op = cria<Pramo_Operacao>(Pramo_Operacao_rtti);
    Pramo_Operacao_setCargaEstrita(op, 1);
    Pramo_Operacao_habilitaPeriferico(op, Pramo_Periferico_getPIN());
    Pramo_Operacao_criaBotao(op, "botao", "Botao");
    Pramo_Operacao_guardaMensagem(op, "mensagem");
    Pramo_Operacao_setRespostaDoPopup(op, "p", cartao);
    const std::pair<const char *, Pramo_Tipo *> campos[] = {{"s", Pramo_Tipo_getTipoSenha()},
                                                            {"c", Pramo_Tipo_getTipoEscolhaMultipla()},
                                                            {"i", Pramo_Tipo_getTipoId()}};
    for (const auto &[nome, tipo] : campos) {
        Pramo_Variavel *variavel = Pramo_Operacao_criaVariavel(op, nome, tipo, nullptr, 16);
        Pramo_Variavel_setTitulo(variavel, "Titulo");
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
    Pramo_Operacao_clear(op);

    const auto mensagem = cria<YMensagemIso>(YMensagemIso_rtti);
    const auto copia = cria<YMensagemIso>(YMensagemIso_rtti);
    const auto fio = cria<YStream>(YStream_rtti);
    YMensagemIso_setBit(mensagem, 2, cartao);
    YMensagemIso_setBit(mensagem, 52, PIN.c_str());
    YMensagemIso_setBit(mensagem, 70, "30x");
    YMensagemIso_copiaDe(copia, mensagem);
    YMensagemIso_setBit(mensagem, 2, "1");
    YMensagemIso_dumpMascaradoEmStream(copia, fio);
    YMensagemIso_valida(copia, nullptr, nullptr);
    YStream_clear(fio);
    YMensagemIso_emiteEmStream(copia, fio);
    const char *posicao = YStream_str(fio);
    YMensagemIso_carrega(mensagem, &posicao);
    const int32_t eco = 2;
    YMensagemIso_montaResposta(mensagem, mensagem, 210, &eco, 1);
    YMensagemIso_salvaEmArquivo(mensagem, "/dev/null");
    YStream_printf(fio, "%600s", cartao);
    const auto no = cria<YNo>(YNo_rtti);
    for (const char *texto : {cartao, "um texto mais longo que o primeiro", cartao, ""}) {
        YNo_setAtributo(no, "t", texto);
        YNo_setValor(no, texto);
    }
}

/// The port type "Caixa" with the method, and its body.
inline YDefinicaoPortType definicaoDaCaixa() {
    static constexpr YDefinicaoMetodo metodos[] = {{"trabalha", trabalha}, {nullptr, nullptr}};
    return {"Caixa", metodos, YWebService_rtti, nullptr, nullptr};
}

inline std::string corpoDoTrabalho() {
    std::string corpo = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><e><Body><trabalha t=\"" + CARTAO +
                        "\"><cartao>" + CARTAO + "</cartao><z>\xC3\xA7" + std::string(3000, 'z') + "</z>";
    for (const std::string &campo : {"s\">" + SENHA, "c\">" + CARTAO, "i\">x" + SENHA}) {
        corpo += "<campo opcao=\"" + CARTAO + "\" nome=\"" + campo + "</campo>";
    }
    return corpo + "<m type=\"n:Map\"><item><key>k</key><value>" + CARTAO + "</value></item></m><b>" +
           CARTAO + "&amp;</b></trabalha></Body></e>";
}

} // namespace apoio
