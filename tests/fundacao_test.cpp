// Objects, exceptions, protected regions, log, allocation report and identities.
#include <3pramo/3pramo.hpp>

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>
#include <vector>

using namespace pramo::literais;

namespace {

std::string ordem;

Y_CLASSE(Base, YOb) {
    int32_t *contador;
};
Y_CLASSE(Derivada, Base) {
    int64_t numero;
};

void constroiBase(void *) {
    ordem += "cB ";
}
void destroiBase(void *) {
    ordem += "dB ";
}
void constroiDerivada(void *) {
    ordem += "cD ";
}
void destroiDerivada(void *) {
    ordem += "dD ";
}
void constroiFalhando(void *) {
    throw std::runtime_error("falhou");
}
void destroiFalhando(void *) {
    ordem += "dX ";
    YContextoTry_throw(YExc_rtti, "destrutor", "teste", 1);
}

const YRtti base = {YOb_rtti, "Base", sizeof(Base), constroiBase, destroiBase};
const YRtti *base_rtti() {
    return &base;
}
const YRtti derivada = {base_rtti, "Derivada", sizeof(Derivada), constroiDerivada, destroiDerivada};
const YRtti *derivada_rtti() {
    return &derivada;
}
const YRtti semTamanho = {derivada_rtti, "SemTamanho", 0, nullptr, nullptr};
const YRtti *semTamanho_rtti() {
    return &semTamanho;
}
const YRtti queFalha = {base_rtti, "QueFalha", 0, constroiFalhando, destroiDerivada};
const YRtti *queFalha_rtti() {
    return &queFalha;
}
const YRtti queLanca = {base_rtti, "QueLanca", 0, nullptr, destroiFalhando};
const YRtti *queLanca_rtti() {
    return &queLanca;
}

TEST(Objetos, constroemDaRaizEDestroemDaClasse) {
    ordem.clear();
    Derivada *d = nullptr;
    YalocaObjeto(&d, semTamanho_rtti);
    EXPECT_STREQ(d->rtti->name, "SemTamanho");
    EXPECT_EQ(d->numero, 0) << "an instance begins zeroed, with its ancestors' size";
    EXPECT_TRUE(YRtti_deriva(d->rtti, base_rtti));
    EXPECT_FALSE(YRtti_deriva(&base, derivada_rtti));
    YliberaObjeto_debug(d, "teste", 1);
    YliberaObjeto_debug(nullptr, "teste", 1);
    YliberaMemoria_debug(nullptr, "teste", 1);
    EXPECT_EQ(ordem, "cB cD dD dB ");
}

TEST(Objetos, construtorQueFalhaDesfazSoOsQueTerminaram) {
    ordem.clear();
    Base *b = nullptr;
    EXPECT_THROW(YalocaObjeto(&b, queFalha_rtti), std::runtime_error);
    EXPECT_EQ(b, nullptr);
    EXPECT_EQ(ordem, "cB dB ");
}

TEST(Objetos, destrutorQueLancaNaoImpedeOsOutros) {
    ordem.clear();
    Base *b = nullptr;
    YalocaObjeto(&b, queLanca_rtti);
    EXPECT_THROW(YliberaObjeto(b), YExcecao);
    EXPECT_EQ(ordem, "cB dX dB ");

    YalocaObjeto(&b, queLanca_rtti);
    struct LiberaNaSaida {
        Base *objeto;
        ~LiberaNaSaida() { YliberaObjeto(objeto); }
    };
    EXPECT_THROW(
        {
            const LiberaNaSaida guarda{b};
            throw std::runtime_error("primeira");
        },
        std::runtime_error)
        << "while one exception is in flight another one does not leave";
}

TEST(Excecoes, detalheVaiUmaVezNaFrenteEAClasseDecide) {
    YContextoTry_printf("nome: %s. ", "100%n");
    try {
        YContextoTry_throw(YExcIOError_rtti, "Falha na leitura.", "Fonte", 12);
    } catch (const YExcecao &e) {
        EXPECT_STREQ(e.what(), "nome: 100%n. Falha na leitura.");
        EXPECT_TRUE(e.ehDaClasse(YExc_rtti));
        EXPECT_FALSE(e.ehDaClasse(YExcNaoImplementado_rtti));
        EXPECT_EQ(e.descricao(), "YExcIOError: nome: 100%n. Falha na leitura. (Fonte:12)");
        auto stream = pramo::cria<YStream>(YStream_rtti);
        YExc_descreveEmStream(stream.get());
        EXPECT_EQ(YStream_str(stream.get()), e.descricao());
    }
    try {
        YContextoTry_throw(YExc_rtti, "outra", "Fonte", 1);
    } catch (const YExcecao &e) {
        EXPECT_STREQ(e.what(), "outra") << "the detail was used up";
    }
}

void corpoQueLanca(void *classe) {
    YContextoTry_throw(reinterpret_cast<YFuncaoRtti>(classe), "do corpo", "teste", 3);
}
void corpoPadrao(void *) {
    throw std::logic_error("de fora");
}
void corpoCalmo(void *n) {
    ++*static_cast<int *>(n);
}

TEST(RegiaoProtegida, apanhaRelancaEDescreve) {
    int n = 0;
    YContextoTry c{};
    YContextoTry_inicia(&c);
    EXPECT_EQ(YContextoTry_executa(&c, corpoCalmo, &n), 1);
    EXPECT_EQ(n, 1);
    EXPECT_EQ(YContextoTry_catch(&c, YExc_rtti), 0) << "nothing is pending";
    EXPECT_NO_THROW(YContextoTry_finaliza(&c));

    c = {};
    YContextoTry_inicia(&c);
    EXPECT_EQ(YContextoTry_executa(&c, corpoQueLanca, reinterpret_cast<void *>(YExcIOError_rtti)), 0);
    EXPECT_EQ(YContextoTry_catch(&c, YExcNaoImplementado_rtti), 0);
    EXPECT_NE(YContextoTry_catch(&c, YExc_rtti), 0);
    EXPECT_STREQ(YContextoTry_mensagem(&c), "do corpo");
    auto stream = pramo::cria<YStream>(YStream_rtti);
    YExc_descreveEmStream(stream.get());
    EXPECT_STREQ(YStream_str(stream.get()), "YExcIOError: do corpo (teste:3)");
    EXPECT_NO_THROW(YContextoTry_finaliza(&c));

    c = {};
    YContextoTry_inicia(&c);
    YContextoTry_executa(&c, corpoPadrao, nullptr);
    YContextoTry_voltaContexto(&c);
    EXPECT_THROW(YContextoTry_finaliza(&c), YExcecao) << "what no catch took is raised again";
    EXPECT_THROW(YContextoTry_executa(&c, corpoCalmo, &n), YExcecao) << "the region has ended";
}

struct Registros {
    std::vector<std::string> linhas;
    static void anota(void *eu, int mascara, const char *texto) {
        static_cast<Registros *>(eu)->linhas.push_back(std::to_string(mascara) + ":" + texto);
    }
    Registros() { YObLOG_setSaida(anota, this); }
    ~Registros() {
        YObLOG_setSaida(nullptr, nullptr);
        YObLOG_habilita(Y_LOG_ERRO);
    }
};

TEST(Log, soMascarasLigadasEUmRegistroPorLinha) {
    Registros r;
    YObLOG_masc_print(Y_LOG_WEB, "desligado");
    EXPECT_EQ(YObLOG_habilita(Y_LOG_WEB | Y_LOG_ERRO), Y_LOG_ERRO);
    YObLOG_masc_print(Y_LOG_WEB, "a\nb\r\t\\\x01\x7f %d", 7);
    YObLOG_masc_print(Y_LOG_CORPO, "desligado");
    YchamouFuncaoVirtualPura();
    ASSERT_EQ(r.linhas.size(), 2U);
    EXPECT_EQ(r.linhas[0], "64:a\\nb\\r\\t\\\\\\x01\\x7F 7");
    EXPECT_EQ(r.linhas[1].substr(0, 2), "1:");
}

TEST(Memoria, relatorioMostraOQueEstaVivo) {
    const uint64_t antes = YMemoria_vivos(); // a listener may have it on
    YMemoria_habilitaRelatorio(1);
    void *bloco = YalocaMemoria_debug(10, "arquivo.c", 5);
    bloco = YrealocaMemoria_debug(bloco, 5000, "arquivo.c", 6);
    YStream *stream = nullptr;
    YalocaObjeto_debug(&stream, YStream_rtti, "outro.c", 7);
    std::string lista;
    YMemoria_relatorio(
        [](void *texto, const char *classe, uint64_t tamanho, const char *arquivo, int linha) {
            *static_cast<std::string *>(texto) +=
                std::string(classe != nullptr ? classe : std::to_string(tamanho)) + " " + arquivo + ":" +
                std::to_string(linha) + "; ";
        },
        &lista);
    EXPECT_EQ(lista, "5000 arquivo.c:6; YStream outro.c:7; ");
    YliberaMemoria(bloco);
    YliberaObjeto(stream);
    EXPECT_EQ(YMemoria_vivos(), 0U);
    YMemoria_habilitaRelatorio(antes > 0 ? 1 : 0);
    EXPECT_EQ(YduplicaString(nullptr), nullptr);
    const std::unique_ptr<char, pramo::Liberador> copia(YduplicaStringTam("abcdef", 3));
    EXPECT_STREQ(copia.get(), "abc");
    EXPECT_THROW(YalocaMemoria(uint64_t{1} << 62), YExcecao);
}

TEST(Identidade, naoRevelaNadaENaoSeRepete) {
    std::set<std::string> textos;
    std::vector<int> alvos(1000);
    char texto[64];
    for (int &alvo : alvos) {
        YObPtrToStr(texto, sizeof texto, &alvo);
        ASSERT_EQ(YObStrToPtr(texto), &alvo);
        ASSERT_TRUE(textos.insert(texto).second);
    }
    YObPtrToStr(texto, sizeof texto, alvos.data());
    EXPECT_EQ(YObStrToPtr((" \t" + std::string(texto) + "\n").c_str()), alvos.data());
    std::string outro = texto;
    outro[31] = outro[31] == '0' ? '1' : '0';
    for (const std::string &ruim : {std::string(), outro, std::string(texto).substr(1),
                                    texto + std::string("0"), std::string("0x55d0c0a81240")}) {
        EXPECT_EQ(YObStrToPtr(ruim.c_str()), nullptr) << ruim;
    }
    EXPECT_EQ(YObStrToPtr(nullptr), nullptr);
    YObPtrToStr(texto, sizeof texto, nullptr);
    EXPECT_STREQ(texto, "");
    EXPECT_THROW(YObPtrToStr(texto, 32, alvos.data()), YExcecao);
}

TEST(Latin1, literaisViramUmByteCadaLetra) {
    EXPECT_STREQ("Versão é ÿ"_l1, "Vers\xe3o \xe9 \xff");
}

} // namespace
