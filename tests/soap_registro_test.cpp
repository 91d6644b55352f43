// The registry of the SOAP server, seen by an application: deadlines, live set, groups, retainers, port
// types.
#include "apoio/alvo.hpp"
#include "apoio/arvore.hpp"

#include <gtest/gtest.h>

#include <ctime>
#include <thread>
#include <vector>

using apoio::Alvo;

namespace {

class SoapRegistro : public testing::Test {
protected:
    pramo::Ponteiro<YSoapServer> servidor = pramo::cria<YSoapServer>(YSoapServer_rtti);

    static pramo::Ponteiro<YWebService> novo() {
        YWebService *servico = nullptr;
        YalocaObjeto(&servico, apoio::Alvo_rtti);
        return pramo::Ponteiro<YWebService>(servico);
    }
    std::uint64_t vivos() { return YSoapServer_getServicos(servidor.get()); }
};

void esperaPrazoNovo(const YWebService *servico) {
    EXPECT_NEAR(static_cast<double>(YWebService_getMomentoLimite(servico)),
                static_cast<double>(std::time(nullptr) + 1800), 2);
}

TEST_F(SoapRegistro, entraESaiDoConjuntoVivo) {
    auto servico = novo();
    EXPECT_EQ(YWebService_getMomentoLimite(servico.get()), 0) << "a new object has no deadline";
    EXPECT_EQ(YWebService_getSoapServer(servico.get()), nullptr);
    EXPECT_EQ(YSoapServer_removeServico(servidor.get(), servico.get()), 0);

    for (int vez = 0; vez < 2; vez++) { // the second time it leaves and enters again
        YWebService_setMomentoLimite(servico.get(), 5);
        YWebService_setSoapServer(servico.get(), servidor.get());
        EXPECT_EQ(vivos(), 1U);
        EXPECT_EQ(YWebService_getSoapServer(servico.get()), servidor.get());
        esperaPrazoNovo(servico.get());
    }
    YWebService_setMomentoLimite(servico.get(), 0);
    EXPECT_EQ(YWebService_getMomentoLimite(servico.get()), 0);

    const auto outro = pramo::cria<YSoapServer>(YSoapServer_rtti);
    YWebService_setSoapServer(servico.get(), outro.get());
    EXPECT_EQ(vivos(), 0U);
    EXPECT_EQ(YSoapServer_getServicos(outro.get()), 1U) << "in one live set only";

    YWebService_setMomentoLimite(servico.get(), 7);
    YWebService_setSoapServer(servico.get(), nullptr);
    EXPECT_EQ(YSoapServer_getServicos(outro.get()), 0U);
    EXPECT_EQ(YWebService_getMomentoLimite(servico.get()), 7) << "stays as it was";

    YSoapServer_registraServico(servidor.get(), servico.get());
    EXPECT_EQ(YWebService_getSoapServer(servico.get()), servidor.get())
        << "the server of an object that has none";
    EXPECT_NE(YSoapServer_removeServico(servidor.get(), servico.get()), 0);
    EXPECT_EQ(YSoapServer_removeServico(servidor.get(), servico.get()), 0);
    EXPECT_EQ(YWebService_getSoapServer(servico.get()), nullptr);
    for (YSoapServer *este : {outro.get(), servidor.get()}) {
        YSoapServer_registraServico(este, servico.get());
        EXPECT_EQ(vivos() + YSoapServer_getServicos(outro.get()), 1U) << "it leaves the other one";
        EXPECT_EQ(YWebService_getSoapServer(servico.get()), este);
    }
    servico.reset();
    EXPECT_EQ(vivos(), 0U) << "freeing takes it out";
}

TEST_F(SoapRegistro, oServidorLiberaOsSeus) {
    for (int i = 0; i < 100; i++) {
        YWebService_setSoapServer(novo().release(), servidor.get());
    }
    EXPECT_EQ(Alvo::vivos, 100);
    servidor.reset();
    EXPECT_EQ(Alvo::vivos, 0);
    EXPECT_EQ(Alvo::quebrados, 0);
}

TEST_F(SoapRegistro, muitasThreadsDeixamNumSoConjunto) {
    const auto outro = pramo::cria<YSoapServer>(YSoapServer_rtti);
    const auto servico = novo();
    std::vector<std::jthread> threads;
    for (YSoapServer *este : {servidor.get(), outro.get(), servidor.get(), outro.get()}) {
        threads.emplace_back([&, este] {
            for (int i = 0; i < 2000; i++) {
                YWebService_setSoapServer(servico.get(), este);
            }
        });
    }
    threads.clear();
    YSoapServer *dono = YWebService_getSoapServer(servico.get());
    EXPECT_EQ(vivos() + YSoapServer_getServicos(outro.get()), 1U);
    EXPECT_EQ(YSoapServer_getServicos(dono), 1U);
}

// An object that would live for ever: it enters its server's live set in its own destructor.
void destroiTeimoso(void *objeto) {
    auto *servico = static_cast<YWebService *>(objeto);
    YSoapServer_registraServico(YWebService_getSoapServer(servico), servico);
    YWebService_setSoapServer(servico, YWebService_getSoapServer(servico));
    Alvo::quebrados++;
}

const YRtti *Teimoso_rtti();
const YRtti definicaoDoTeimoso = {YWebService_rtti, "Teimoso", sizeof(YWebService), nullptr, destroiTeimoso};
const YRtti *Teimoso_rtti() {
    return &definicaoDoTeimoso;
}

TEST_F(SoapRegistro, quemTerminaNaoVolta) {
    YWebService *teimoso = nullptr;
    YalocaObjeto(&teimoso, Teimoso_rtti);
    YWebService_setSoapServer(teimoso, servidor.get());
    YliberaObjeto(teimoso);
    EXPECT_EQ(Alvo::quebrados.exchange(0), 1) << "its destructor ran once";
    EXPECT_EQ(vivos(), 0U);
}

// An object that frees another one in its destructor, or fails there.
struct Par : YWebService {
    YWebService *outro;
};

void destroiPar(void *objeto) {
    YWebService *outro = static_cast<Par *>(objeto)->outro;
    if (outro == nullptr) {
        YContextoTry_throw(YExc_rtti, "fim", "teste", __LINE__);
    }
    YWebService_setSoapServer(outro, nullptr);
    YliberaObjeto(outro);
}

const YRtti *Par_rtti();
const YRtti definicaoDoPar = {YWebService_rtti, "Par", sizeof(Par), nullptr, destroiPar};
const YRtti *Par_rtti() {
    return &definicaoDoPar;
}

TEST_F(SoapRegistro, umaFalhaNoFimDeUmNaoPoupaOsOutros) {
    const int antes = YObLOG_habilita(0); // the failures are logged
    for (int i = 0; i < 10; i++) {
        Par *par = nullptr;
        YalocaObjeto(&par, Par_rtti);
        YWebService_setSoapServer(par, servidor.get());
        YWebService_setSoapServer(novo().release(), servidor.get());
    }
    EXPECT_NO_THROW(servidor.reset());
    EXPECT_EQ(Alvo::vivos, 0);
    YObLOG_habilita(antes);
}

TEST_F(SoapRegistro, quemTemOutroNoFimOLibera) {
    for (int i = 0; i < 10; i++) {
        Par *par = nullptr;
        YalocaObjeto(&par, Par_rtti);
        par->outro = novo().release();
        YWebService_setSoapServer(par, servidor.get());
    }
    servidor.reset();
    EXPECT_EQ(Alvo::vivos, 0);
}

// ---- Resource groups ----

int32_t requisita(YRetentor * /*retentor*/, void *grupo, uint32_t a, void *ponteiro, uint32_t b) {
    return static_cast<int32_t>(a + b) + *static_cast<int *>(grupo) + *static_cast<int *>(ponteiro);
}

const YRtti *Retentor_rtti();
const YRetentor_Rtti definicaoDoRetentor = {{YRetentor_rtti, "Retentor", sizeof(YRetentor), nullptr, nullptr},
                                            requisita};
const YRtti *Retentor_rtti() {
    return &definicaoDoRetentor.rtti;
}

TEST_F(SoapRegistro, oGrupoEDoObjetoOuDoSeuServidor) {
    int proprio = 1000;
    int doServidor = 2000;
    int ponteiro = 300;
    const auto servico = novo();
    EXPECT_EQ(YWebService_getGrupoDeRecursos(servico.get()), nullptr);
    YWebService_setSoapServer(servico.get(), servidor.get());
    EXPECT_EQ(YWebService_getGrupoDeRecursos(servico.get()), nullptr);
    YSoapServer_setGrupoDeRecursos(servidor.get(), &doServidor);
    EXPECT_EQ(YWebService_getGrupoDeRecursos(servico.get()), &doServidor);

    const auto retentor = pramo::cria<YRetentor>(Retentor_rtti);
    EXPECT_EQ(YWebService_retemRecurso(servico.get(), 20, retentor.get(), &ponteiro, 1), 2321);
    YWebService_setGrupoDeRecursos(servico.get(), &proprio);
    EXPECT_EQ(YWebService_retemRecurso(servico.get(), 20, retentor.get(), &ponteiro, 1), 1321);
    YWebService_setSoapServer(servico.get(), nullptr);
    EXPECT_EQ(YWebService_getGrupoDeRecursos(servico.get()), &proprio);

    EXPECT_EQ(YSoapServer_getContexto(servidor.get()), nullptr);
    YSoapServer_setContexto(servidor.get(), &ponteiro);
    EXPECT_EQ(YSoapServer_getContexto(servidor.get()), &ponteiro);
}

// ---- Port types ----

void um(YWebService * /*servico*/, YNo * /*requisicao*/, YNo * /*resposta*/) {}
void dois(YWebService * /*servico*/, YNo * /*requisicao*/, YNo * /*resposta*/) {}

TEST_F(SoapRegistro, umPortTypeNoLugarDeOutro) {
    int grupo = 0;
    const YDefinicaoMetodo primeiros[] = {{"um", um}, {"dois", dois}, {nullptr, nullptr}};
    const YDefinicaoMetodo segundos[] = {{"dois", um}, {nullptr, nullptr}};
    const YDefinicaoMetodo nenhum[] = {{nullptr, um}, {"um", um}, {nullptr, nullptr}};
    std::string nome = "Tipo";
    YDefinicaoPortType definicao = {nome.c_str(), primeiros, apoio::Alvo_rtti, "wsdl", &grupo};
    YPortType *portType = YSoapServer_registraPortType(servidor.get(), &definicao);
    nome = "Outr"; // the name was copied
    EXPECT_EQ(YSoapServer_recuperaPortType(servidor.get(), "Tipo"), portType);
    EXPECT_EQ(YSoapServer_recuperaPortType(servidor.get(), "Outr"), nullptr);
    EXPECT_EQ(YPortType_obtemTratador(portType, "um"), um);
    EXPECT_EQ(YPortType_obtemTratador(portType, "tres"), nullptr);
    EXPECT_STREQ(YPortType_getWsdl(portType), "wsdl");

    YWebService *servico = nullptr;
    YPortType_constroiObjeto(portType, &servico);
    EXPECT_EQ(servico->rtti, apoio::Alvo_rtti());
    EXPECT_EQ(YWebService_getGrupoDeRecursos(servico), &grupo);
    YliberaObjeto(servico);

    definicao = {"Tipo", segundos, nullptr, nullptr, nullptr};
    portType = YSoapServer_registraPortType(servidor.get(), &definicao);
    EXPECT_EQ(YSoapServer_recuperaPortType(servidor.get(), "Tipo"), portType);
    EXPECT_EQ(YPortType_obtemTratador(portType, "um"), nullptr) << "a method of the one that is gone";
    EXPECT_EQ(YPortType_obtemTratador(portType, "dois"), um);
    EXPECT_EQ(YPortType_registraTratador(portType, "dois", dois), 0);
    EXPECT_EQ(YPortType_registraTratador(portType, "tres", um), 1);
    EXPECT_EQ(YPortType_obtemTratador(portType, "dois"), dois);

    const auto constroi = [&] { YPortType_constroiObjeto(portType, &servico); };
    EXPECT_EQ(apoio::excecao(constroi), "YExcSoap: PortType sem classe de servi\xE7o.");
    YPortType_setRttiDoServico(portType, YNo_rtti);
    EXPECT_EQ(apoio::excecao(constroi), "YExcSoap: PortType sem classe de servi\xE7o.") << "no service class";

    definicao.nome = nullptr;
    EXPECT_EQ(apoio::excecao([&] { YSoapServer_registraPortType(servidor.get(), &definicao); }),
              "YExcSoap: PortType sem nome.");
    definicao = {"Tipo", nenhum, nullptr, nullptr, nullptr};
    EXPECT_EQ(YPortType_obtemTratador(YSoapServer_registraPortType(servidor.get(), &definicao), "um"),
              nullptr);
}

} // namespace
