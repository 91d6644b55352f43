// Every allocation of an operation fails, alone and with all that follow: the operation raises or succeeds,
// and nothing is lost or half done.
#include "faltas.hpp"

#include "apoio/teste.hpp"

#include <3pramo/foundation/YExc_interno.hpp>

using namespace apoio;
namespace {

/// Runs the operation with its n-th allocation failing, and then with all from the n-th on, for every n,
/// until it needs no more than n.
void falhaEmCada(const char *nome, const std::function<void()> &operacao) {
    operacao(); // what is made once for the whole process exists now
    for (int n = 0; n < 4000; n++) {
        const uint64_t antes = YMemoria_vivos();
        alocacoes.seguidas = n % 2 != 0 ? INT_MAX : 1;
        alocacoes.ainda = n / 2;
        try {
            operacao(); // it may survive a failure, too
        } catch (const YExcecao &) {
        }
        const bool falhou = alocacoes.ainda.exchange(NUNCA) < 0;
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

TEST(FaltaDeMemoria, naoPerdeNadaEmLugarNenhum) {
    YMemoria_habilitaRelatorio(1);
    YObLOG_habilita(0);
    falhaEmCada("parser, mapas e escrita", [] {
        const auto entrada = cria<YStream>(YStream_rtti);
        YStream_puts(entrada, "<e:Body xmlns:e='x'><a tipo='x:int' b='2'>3 &amp; &#231;</a><d x:type='n:Map'>"
                              "<item><key>um</key><value>1</value></item>"
                              "<item><key>dois</key><value><i>2</i></value></item></d></e:Body>");
        const auto no = cria<YNo>(YNo_rtti);
        YNo_leDe(no, entrada);
        YNo_corrigeMaps(no);
        YNo_setNome(no, YNo_getNome(no));
        YNo_setPai(cria<YNo>(YNo_rtti).get(), no);
        YStream_clear(entrada);
        try {
            YNo_gravaEm(no, entrada);
        } catch (const YExcecao &) {
            confere(YStream_tam(entrada) == 0);
            throw;
        }
    });
    const std::string longo(40, 'k');
    falhaEmCada("containers", [&longo] {
        const Ponteiro<YDIC> dic(YDIC_constroi());
        const auto set = cria<YSet>(YSetQueDestroi_rtti);
        const auto mapa = cria<YMapa>(YMapaQueDestroi_rtti);
        for (const char *texto = longo.c_str(); *texto != '\0'; texto++) {
            YDIC_guarda(dic, texto, "valor");
            YDIC_guarda(dic, "k", texto);
            auto noSet = cria<YOb>(YOb_rtti);
            YSet_poe(set, noSet.get());
            (void)noSet.release();
            auto noMapa = cria<YOb>(YOb_rtti);
            YMapa_guarda(mapa, texto, noMapa.get());
            (void)noMapa.release();
        }
        const auto uniao = cria<YSet>(YSet_rtti);
        YSet_poe(uniao, nullptr);
        try {
            YSet_poeTudo(uniao, set);
        } catch (const YExcecao &) {
            confere(YSet_tam(uniao) == 1 && YSet_tem(uniao, nullptr) != 0);
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
        YObLOG_setSaida([](void *, int, const char *) {}, nullptr);
        YObLOG_habilita(Y_LOG_ERRO);
        const auto corpo = [](void *) { YContextoTry_throw(YExcIOError_rtti, "do corpo", "teste", 1); };
        YContextoTry regiao{};
        YContextoTry_inicia(&regiao);
        confere(YContextoTry_executa(&regiao, corpo, nullptr) == 0);
        confere(std::strncmp(YContextoTry_mensagem(&regiao), "velho", 5) != 0);
        confere(YContextoTry_catch(&regiao, YExc_rtti) != 0);
        YExc_descreve_no_log();
        YContextoTry_finaliza(&regiao);
        try {
            throw std::bad_alloc();
        } catch (...) {
            pramo::registraExcecaoCorrente("aqui");
            pramo::registraExcecaoAdiada("aqui"); // arrives with the next one
        }
        YObLOG_masc_print(Y_LOG_ERRO, "%03000d", 1);
        YObLOG_habilita(0);
        YObLOG_setSaida(nullptr, nullptr);
        pramo::esqueceExcecoes();
    });
    falhaEmCada("relatório e threads", [] {
        YMemoria_relatorio([](void *, const char *, uint64_t, const char *, int) {}, nullptr);
        YexecutaThread([](void *) {}, nullptr);
    });
    falhaEmCada("mensagem ISO 8583", [] {
        const auto mensagem = cria<YMensagemIso>(YMensagemIso_rtti);
        const auto outra = cria<YMensagemIso>(YMensagemIso_rtti);
        const auto saida = cria<YStream>(YStream_rtti);
        YMensagemIso_setBit(mensagem, 70, "301");
        YMensagemIso_setBit(mensagem, 3, "00300x");
        YMensagemIso_setBit(mensagem, 3, YMensagemIso_getBit(mensagem, 3));
        YMensagemIso_copiaDe(outra, mensagem);
        YMensagemIso_emiteEmStream(mensagem, saida);
        const char *fio = YStream_str(saida);
        YMensagemIso_carrega(outra, &fio);
        const int32_t ecoado = 70;
        YMensagemIso_montaResposta(outra, outra, 810, &ecoado, 1);
        YMensagemIso_valida(mensagem, nullptr, nullptr);
        YMensagemIso_dumpMascaradoEmStream(mensagem, saida);
    });
    YObLOG_habilita(Y_LOG_ERRO);
    YMemoria_habilitaRelatorio(0);
}

} // namespace
