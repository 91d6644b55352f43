// The registry of the SOAP server, seen by an application: deadlines, live set, groups, retainers, port
// types.
#include "apoio/soap.hpp"

namespace {

struct SoapRegistro : testing::Test {
    Ponteiro<YSoapServer> servidor = cria<YSoapServer>(YSoapServer_rtti);
    Ponteiro<YSoapServer> outro = cria<YSoapServer>(YSoapServer_rtti);
    Ponteiro<YWebService> servico = cria<YWebService>(Alvo_rtti);
    YWebService *s = servico.get();

    /// The service object is in the live set of this server only, and says so.
    void estaEm(YSoapServer *este) {
        EXPECT_EQ(YWebService_getSoapServer(s), este);
        for (YSoapServer *qual : {servidor.get(), outro.get()}) {
            EXPECT_EQ(YSoapServer_getServicos(qual), qual == este ? 1U : 0U);
        }
    }
};

TEST_F(SoapRegistro, entraESaiDoConjuntoVivo) {
    estaEm(nullptr);
    for (YSoapServer *este : {servidor.get(), servidor.get(), outro.get()}) {
        YWebService_setMomentoLimite(s, 5);
        YWebService_setSoapServer(s, este);
        estaEm(este);
        EXPECT_NEAR(static_cast<double>(YWebService_getMomentoLimite(s)),
                    static_cast<double>(std::time(nullptr) + 1800), 2);
    }
    YWebService_setMomentoLimite(s, 7);
    YWebService_setSoapServer(s, nullptr);
    EXPECT_EQ(YWebService_getMomentoLimite(s), 7) << "stays as it was";
    YSoapServer_registraServico(outro, s);
    estaEm(outro);
    EXPECT_EQ(YSoapServer_removeServico(servidor, s), 0);
    EXPECT_NE(YSoapServer_removeServico(outro, s), 0);
    estaEm(nullptr);
    YWebService_setSoapServer(s, servidor);
    servico.reset();
    EXPECT_EQ(YSoapServer_getServicos(servidor), 0U) << "freeing takes it out";
}

TEST_F(SoapRegistro, muitasThreadsDeixamNumSoConjunto) {
    emThreads(3, [&](int qual) {
        for (int i = 0; i < 2000; i++) {
            YWebService_setSoapServer(s, qual == 0 ? outro : servidor);
        }
    });
    estaEm(YWebService_getSoapServer(s));
}

// Objects that in their destructor enter their server's live set again, fail, or free another one.
struct Par : YWebService {
    YWebService *outro;
};

const YRtti TEIMOSO = {YWebService_rtti, "Teimoso", 0, nullptr, [](void *objeto) {
                           auto *servico = static_cast<YWebService *>(objeto);
                           YSoapServer *dono = YWebService_getSoapServer(servico);
                           YWebService_setSoapServer(servico, dono);
                           YSoapServer_registraServico(dono, servico);
                           Alvo::quebrados++;
                       }};
const YRtti QUE_FALHA = {YWebService_rtti, "QueFalha", 0, nullptr,
                         [](void *) { YContextoTry_throw(YExc_rtti, "fim", "teste", __LINE__); }};
const YRtti PAR = {YWebService_rtti, "Par", sizeof(Par), nullptr, [](void *objeto) {
                       YWebService *outro = static_cast<Par *>(objeto)->outro;
                       YWebService_setSoapServer(outro, nullptr);
                       YliberaObjeto(outro);
                   }};

TEST_F(SoapRegistro, oServidorLiberaOsSeusComoQuerQueTerminem) {
    const Diario diario; // the failures are logged
    auto teimoso = cria<YWebService>([] { return &TEIMOSO; });
    YWebService_setSoapServer(teimoso, outro);
    teimoso.reset();
    EXPECT_EQ(Alvo::quebrados.exchange(0), 1) << "its destructor ran once";
    EXPECT_EQ(YSoapServer_getServicos(outro), 0U) << "who ends does not come back";

    const auto entra = [&](YFuncaoRtti classe) {
        YWebService *novo = cria<YWebService>(classe).release();
        YWebService_setSoapServer(novo, servidor);
        return novo;
    };
    for (int i = 0; i < 10; i++) {
        entra([] { return &QUE_FALHA; });
        auto *par = static_cast<Par *>(entra([] { return &PAR; }));
        par->outro = entra(Alvo_rtti);
    }
    EXPECT_NO_THROW(servidor.reset());
    EXPECT_EQ(Alvo::vivos, 1);
}

TEST_F(SoapRegistro, quemNasceNoLugarDeOutroNaoHerdaASuaIdentidade) {
    char identidades[50][Y_TAMANHO_IDENTIDADE];
    std::vector<void *> velhos;
    for (auto &identidade : identidades) {
        velhos.push_back(YalocaMemoria(sizeof(Alvo)));
        YObPtrToStr(identidade, sizeof identidade, velhos.back());
    }
    std::ranges::for_each(velhos, YliberaMemoria);
    std::vector<Ponteiro<YWebService>> novos(50); // most of them at these addresses
    std::ranges::generate(novos, [] { return cria<YWebService>(Alvo_rtti); });
    for (const char *identidade : identidades) {
        EXPECT_EQ(std::ranges::count(novos, YObStrToPtr(identidade), &Ponteiro<YWebService>::get), 0);
    }
}

const YRetentor_Rtti RETENTOR = {
    {YRetentor_rtti, "Retentor", 0, nullptr, nullptr},
    [](YRetentor * /*retentor*/, void *grupo, uint32_t a, void *ponteiro, uint32_t b) {
        return static_cast<int32_t>(10 * a + b) + *static_cast<int *>(grupo) + *static_cast<int *>(ponteiro);
    }};

TEST_F(SoapRegistro, oGrupoEDoObjetoOuDoSeuServidor) {
    int proprio = 1000;
    int doServidor = 2000;
    int ponteiro = 300;
    YWebService_setSoapServer(s, servidor);
    YSoapServer_setGrupoDeRecursos(servidor, &doServidor);
    EXPECT_EQ(YWebService_getGrupoDeRecursos(s), &doServidor);
    YWebService_setGrupoDeRecursos(s, &proprio);
    const auto retentor = cria<YRetentor>([] { return &RETENTOR.rtti; });
    EXPECT_EQ(YWebService_retemRecurso(s, 2, retentor, &ponteiro, 1), 1321);
}

void um(YWebService * /*servico*/, YNo * /*requisicao*/, YNo * /*resposta*/) {}
void dois(YWebService * /*servico*/, YNo * /*requisicao*/, YNo * /*resposta*/) {}

TEST_F(SoapRegistro, umPortTypeNoLugarDeOutro) {
    int grupo = 0;
    const YDefinicaoMetodo primeiros[] = {{"um", um}, {"dois", dois}, {nullptr, nullptr}};
    const YDefinicaoMetodo segundos[] = {{"dois", um}, {nullptr, nullptr}};
    std::string nome = "Tipo";
    YPortType *portType = nullptr;
    const auto registra = [&](const YDefinicaoPortType &definicao) {
        portType = YSoapServer_registraPortType(servidor, &definicao);
        nome = "Outr"; // the name was copied
        EXPECT_EQ(YSoapServer_recuperaPortType(servidor, "Tipo"), portType);
    };
    registra({nome.c_str(), primeiros, Alvo_rtti, "wsdl", &grupo});
    const auto constroi = [&] {
        YWebService *novo = nullptr;
        YPortType_constroiObjeto(portType, &novo);
        servico.reset(novo);
    };
    constroi();
    EXPECT_EQ(YWebService_getGrupoDeRecursos(servico), &grupo);

    registra({"Tipo", segundos, nullptr, nullptr, nullptr});
    EXPECT_EQ(YPortType_obtemTratador(portType, "um"), nullptr) << "a method of the one that is gone";
    EXPECT_EQ(YPortType_registraTratador(portType, "dois", dois), 0);
    EXPECT_EQ(YPortType_obtemTratador(portType, "dois"), dois);
    for (const YFuncaoRtti classe : {YFuncaoRtti{}, YFuncaoRtti{YNo_rtti}}) {
        YPortType_setRttiDoServico(portType, classe);
        EXPECT_EQ(excecao(constroi), "YExcSoap: PortType sem classe de servi\xE7o.");
    }
    EXPECT_THROW(registra({nullptr, segundos, nullptr, nullptr, nullptr}), YExcecao);
}

} // namespace
