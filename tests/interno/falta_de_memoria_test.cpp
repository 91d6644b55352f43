// Every allocation of an operation fails, alone and with all that follow: the operation raises or succeeds,
// and nothing is lost or half done.
#include "faltas.hpp"

#include <3pramo/3pramo.hpp>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/soap/YSoapServer_despacho.hpp>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

using namespace pramo::literais;

namespace {

using apoio::falta;

/// Runs the operation with its n-th allocation failing, and then with all from the n-th on, for every n,
/// until it needs no more than n.
void falhaEmCada(const char *nome, const std::function<void()> &operacao) {
    operacao(); // what is made once for the whole process exists now
    for (int n = 0; n < 4000; n++) {
        const uint64_t antes = YMemoria_vivos();
        falta = {n / 2, true, n % 2 != 0, false};
        try {
            operacao(); // it may survive a failure, too
        } catch (const YExcecao &) {
        }
        const bool falhou = std::exchange(falta, {}).falhou;
        ASSERT_EQ(YMemoria_vivos(), antes) << nome << ", allocation " << n / 2;
        if (!falhou) {
            return;
        }
    }
    FAIL() << nome << " never succeeded";
}

/// Needs no memory, unlike the checks of the framework.
void confere(bool vale) {
    if (!vale) {
        std::abort();
    }
}

constexpr const char *DOCUMENTO =
    "<e:Envelope xmlns:e='x'><e:Body><c:soma xmlns:c=\"urn:Calc\"><a tipo=\"x:int\">2</a><b>3 &amp; "
    "&#231;</b>"
    "<lista><item/><item a=\"1\" b=\"2\">x</item></lista>"
    "<dados x:type=\"n:Map\"><item><key>um</key><value>1</value></item>"
    "<item><key>dois</key><value><i>2</i></value></item></dados></c:soma></e:Body></e:Envelope>";

void soma(YWebService *, YNo *requisicao, YNo *resposta) {
    YNo_setInt(resposta, "a/b/return", YNo_getInt(requisicao, "a"));
    YNo_setString(resposta, "texto", YNo_getString(requisicao, "dados/dois/i"));
}

TEST(FaltaDeMemoria, naoPerdeNadaEmLugarNenhum) {
    YMemoria_habilitaRelatorio(1);
    YObLOG_habilita(0);
    falhaEmCada("parser, mapas e escrita", [] {
        auto entrada = pramo::Dono<YStream>(pramo::cria<YStream>(YStream_rtti, "teste"));
        YStream_puts(entrada.get(), DOCUMENTO);
        auto no = pramo::Dono<YNo>(pramo::cria<YNo>(YNo_rtti, "teste"));
        YNo_leDe(no.get(), entrada.get());
        YNo_corrigeMaps(no.get());
        YNo_setNome(no.get(), YNo_getNome(no.get()));
        const auto ligado = pramo::cria<YNo>(YNo_rtti, "teste");
        YNo_setPai(ligado.get(), no.get());
        auto saida = pramo::Dono<YStream>(pramo::cria<YStream>(YStream_rtti, "teste"));
        YStream_put(saida.get(), '-');
        try {
            YNo_gravaEm(no.get(), saida.get());
        } catch (const YExcecao &) {
            EXPECT_STREQ(YStream_str(saida.get()), "-");
            throw;
        }
    });
    std::vector<std::string> textos; // longer and longer; the operation itself makes none
    for (std::size_t i = 0; i < 40; i++) {
        textos.emplace_back(i, 'k');
    }
    falhaEmCada("containers", [&textos] {
        const pramo::Dono<YDIC> dic(YDIC_constroi());
        const pramo::Dono<YSet> set = pramo::cria<YSet>(YSetQueDestroi_rtti, "teste");
        const pramo::Dono<YMapa> mapa = pramo::cria<YMapa>(YMapaQueDestroi_rtti, "teste");
        for (const std::string &texto : textos) {
            YDIC_guarda(dic.get(), texto.c_str(), "valor");
            YDIC_guarda(dic.get(), "k", texto.c_str());
            pramo::Dono<YOb> elemento = pramo::cria<YOb>(YOb_rtti, "teste");
            YSet_poe(set.get(), elemento.get());
            (void)elemento.release();
            pramo::Dono<YOb> valor = pramo::cria<YOb>(YOb_rtti, "teste");
            YMapa_guarda(mapa.get(), texto.c_str() + texto.size() / 2, valor.get());
            (void)valor.release();
        }
        const pramo::Dono<YSet> outro = pramo::cria<YSet>(YSet_rtti, "teste");
        const pramo::Dono<YSet> uniao = pramo::cria<YSet>(YSet_rtti, "teste");
        for (std::uintptr_t i = 0; i < 30; i++) {
            YSet_poe(i % 2 != 0 ? outro.get() : uniao.get(), reinterpret_cast<void *>(i));
        }
        try {
            YSet_poeTudo(uniao.get(), outro.get());
        } catch (const YExcecao &) {
            confere(YSet_tam(uniao.get()) == 15 && YSet_tem(uniao.get(), nullptr) != 0);
            throw;
        }
    });
    falhaEmCada("exceções", [] {
        YContextoTry_printf("velho. ");
        try {
            YContextoTry_printf("%0700d. ", 1);
        } catch (const YExcecao &e) {
            confere(std::strcmp(e.what(), "Memória insuficiente."_l1) == 0);
        }
        int registros = 0;
        YObLOG_setSaida([](void *n, int, const char *) { ++*static_cast<int *>(n); }, &registros);
        YObLOG_habilita(Y_LOG_ERRO);
        for (void (*corpo)(void *) :
             {static_cast<void (*)(void *)>([](void *) { throw std::bad_alloc(); }),
              static_cast<void (*)(void *)>(
                  [](void *) { YContextoTry_throw(YExcIOError_rtti, "do corpo que falhou", "teste", 1); })}) {
            YContextoTry regiao{};
            YContextoTry_inicia(&regiao);
            confere(YContextoTry_executa(&regiao, corpo, nullptr) == 0);
            confere(std::strncmp(YContextoTry_mensagem(&regiao), "velho", 5) != 0);
            confere(YContextoTry_catch(&regiao, YExc_rtti) != 0);
            YExc_descreve_no_log();
            YContextoTry_finaliza(&regiao);
            try {
                corpo(nullptr);
            } catch (...) {
                pramo::registraExcecaoCorrente("aqui");
                pramo::registraExcecaoAdiada("aqui"); // arrives with the next one
            }
            YObLOG_masc_print(Y_LOG_ERRO, "%03000d", 1);
        }
        YObLOG_habilita(0);
        YObLOG_setSaida(nullptr, nullptr);
        confere(registros == 8);
        pramo::esqueceExcecoes();
    });
    falhaEmCada("relatório", [] {
        std::uint64_t linhas = 0;
        YMemoria_relatorio(
            [](void *n, const char *, uint64_t, const char *, int) { ++*static_cast<uint64_t *>(n); },
            &linhas);
        confere(linhas == YMemoria_vivos());
        YexecutaThread([](void *) {}, nullptr);
    });
    falhaEmCada("servidor e chamada", [] {
        const YDefinicaoMetodo metodos[] = {{"soma", soma}, {nullptr, nullptr}};
        const YDefinicaoPortType calc = {"Calc", metodos, YWebService_rtti, nullptr, nullptr};
        const pramo::Dono<YSoapServer> servidor = pramo::cria<YSoapServer>(YSoapServer_rtti, "teste");
        YSoapServer_setPorta(servidor.get(), 0);
        YSoapServer_registraPortType(servidor.get(), &calc);
        for (const char *metodo : {"soma", "constroi"}) {
            const pramo::Dono<YStream> entrada = pramo::cria<YStream>(YStream_rtti, "teste");
            const pramo::Dono<YStream> saida = pramo::cria<YStream>(YStream_rtti, "teste");
            YStream_puts(entrada.get(), DOCUMENTO);
            try {
                pramo::soap::processaChamada({servidor.get(), "Calc", metodo, true, 0}, entrada.get(),
                                             saida.get(), nullptr);
            } catch (const std::bad_alloc &) {
                // Inside the library; what leaves it is a fault.
            }
        }
    });
    falhaEmCada("formulário", [] {
        const pramo::Dono<Pramo_Operacao> operacao =
            pramo::cria<Pramo_Operacao>(Pramo_Operacao_rtti, "teste");
        const pramo::Dono<YNo> no = pramo::cria<YNo>(YNo_rtti, "teste");
        Pramo_Operacao_habilitaPeriferico(operacao.get(), Pramo_Periferico_getPIN());
        for (Pramo_Tipo *tipo : {Pramo_Tipo_getTipoQTDE3(), Pramo_Tipo_getTipoAutorizacao()}) {
            const char *nome = tipo->rtti->name;
            Pramo_Variavel *variavel = Pramo_Operacao_criaVariavel(operacao.get(), nome, tipo, nullptr, 8);
            Pramo_Variavel_setTitulo(variavel, "Título");
            Pramo_Variavel_acrescentaOpcao(variavel, "chave", "texto");
            Pramo_Variavel_marcaUsada(variavel);
            YNo *campo = YNo_setString(no.get(), "campo", "1.234");
            YNo_setAtributo(campo, "nome", nome);
            YNo_setAtributo(campo, "opcao", "chave");
        }
        Pramo_Operacao_criaBotao(operacao.get(), "botao", "Botão");
        Pramo_Operacao_guardaMensagem(operacao.get(), "mensagem");
        Pramo_Operacao_setRespostaDoPopup(operacao.get(), "chave", "resposta");
        Pramo_Operacao_descarregaNaResposta(operacao.get(), no.get());
        Pramo_Operacao_carregaDaRequisicao(operacao.get(), no.get());
        Pramo_Operacao_clear(operacao.get());
        Pramo_Operacao_sinalizaCondicao(operacao.get());
    });
    falhaEmCada("mensagem ISO 8583", [] {
        const auto mensagem = pramo::cria<YMensagemIso>(YMensagemIso_rtti, "teste");
        const auto outra = pramo::cria<YMensagemIso>(YMensagemIso_rtti, "teste");
        const auto saida = pramo::cria<YStream>(YStream_rtti, "teste");
        YMensagemIso_setBit(mensagem.get(), 3, "00300x");
        YMensagemIso_setBit(mensagem.get(), 70, "301");
        YMensagemIso_setBit(mensagem.get(), 3, YMensagemIso_getBit(mensagem.get(), 3));
        YMensagemIso_copiaDe(outra.get(), mensagem.get());
        YMensagemIso_emiteEmStream(mensagem.get(), saida.get());
        const char *fio = YStream_str(saida.get());
        YMensagemIso_carrega(outra.get(), &fio);
        const int32_t ecoado = 70;
        YMensagemIso_montaResposta(outra.get(), outra.get(), 810, &ecoado, 1);
        YMensagemIso_valida(mensagem.get(), nullptr, nullptr);
        YMensagemIso_dumpMascaradoEmStream(mensagem.get(), saida.get());
    });
    YObLOG_habilita(Y_LOG_ERRO);
    YMemoria_habilitaRelatorio(0);
}

} // namespace
