// Every allocation of an operation fails, alone and with some that follow: the operation raises or succeeds,
// and nothing is lost or half done.
#include "faltas.hpp"

#include <3pramo/foundation/YExc_interno.hpp>

namespace {

void falhaEmCada(void (*operacao)()) {
    const auto tenta = [=] {
        try {
            operacao(); // it may survive a failure, too
        } catch (const YExcecao &) {
        }
    };
    const uint64_t antes = YMemoria_vivos();
    emCadaAlocacao(tenta, [=](const auto &quem) { ASSERT_EQ(YMemoria_vivos(), antes) << quem; });
}

TEST(FaltaDeMemoria, containersETextos) {
    falhaEmCada([] {
        constexpr const char *LONGO = "kkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkk";
        const Ponteiro<YDIC> dic(YDIC_constroi());
        const auto set = cria<YSet>(YSetQueDestroi_rtti);
        const auto mapa = cria<YMapa>(YMapaQueDestroi_rtti);
        const auto no = cria<YNo>(YNo_rtti);
        for (const char *texto = LONGO; *texto != '\0'; texto++) {
            YDIC_guarda(dic, texto, "valor");
            YDIC_guarda(dic, "k", texto);
            YNo_setString(no, texto, texto);
            auto noSet = cria<YOb>(YOb_rtti);
            YSet_poe(set, noSet.get());
            (void)noSet.release();
            auto noMapa = cria<YOb>(YOb_rtti);
            YMapa_guarda(mapa, texto, noMapa.get());
            (void)noMapa.release();
        }
        const auto uniao = cria<YSet>(YSet_rtti);
        const auto saida = cria<YStream>(YStream_rtti);
        YSet_poe(uniao, nullptr);
        try {
            YSet_poeTudo(uniao, set);
            YNo_gravaEm(no, saida);
        } catch (const YExcecao &) { // all or nothing; the check needs no memory when it holds
            const uint64_t tamanho = YSet_tam(uniao);
            EXPECT_TRUE((tamanho == 1 || tamanho == 1 + YSet_tam(set)) && YStream_tam(saida) == 0);
            throw;
        }
    });
}

TEST(FaltaDeMemoria, excecoesRelatorioEThreads) {
    falhaEmCada([] {
        YMemoria_relatorio([](void *, const char *, uint64_t, const char *, int) {}, nullptr);
        YexecutaThread([](void *) {}, nullptr);
        YContextoTry_printf("velho. ");
        try {
            YContextoTry_printf("%0700d. ", 1);
        } catch (const YExcecao &e) {
            EXPECT_STREQ(e.what(), "Memória insuficiente."_l1);
        }
        YObLOG_setSaida([](void *, int, const char *) {}, nullptr);
        YObLOG_habilita(Y_LOG_ERRO);
        const auto corpo = [](void *) { YContextoTry_throw(YExcIOError_rtti, "do corpo", "teste", 1); };
        YContextoTry regiao{};
        YContextoTry_inicia(&regiao);
        EXPECT_EQ(YContextoTry_executa(&regiao, corpo, nullptr), 0);
        EXPECT_NE(std::strncmp(YContextoTry_mensagem(&regiao), "velho", 5), 0);
        EXPECT_NE(YContextoTry_catch(&regiao, YExc_rtti), 0);
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
}

TEST(FaltaDeMemoria, portTypes) {
    falhaEmCada([] {
        const auto servidor = cria<YSoapServer>(YSoapServer_rtti);
        auto portType = cria<YPortType>(YPortType_rtti);
        const YDefinicaoParametro parametro = {"parametroDeNomeLongo", Y_XSD_INT};
        YPortType_descreveMetodo(portType, "metodoDeNomeLongo", &parametro, 1, Y_XSD_INT);
        auto contexto = cria<YOb>(YOb_rtti);
        YPortType_registraTratadorComContexto(
            portType, "metodoDeNomeLongo", [](void *, YWebService *, YNo *, YNo *) {}, contexto.get(),
            YliberaObjeto);
        (void)contexto.release();
        YSoapServer_poePortType(servidor, "PortTypeDeNomeLongo", portType);
        (void)portType.release();
    });
}

} // namespace
