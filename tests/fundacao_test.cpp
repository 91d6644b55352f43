// Objects, exceptions, protected regions, log, allocation report and identities.
#include "apoio/servidor.hpp"

#include <3pramo/3pramo.hpp>

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

std::string ordem;

Y_CLASSE(Base, YOb) {
    int32_t *contador;
};
Y_CLASSE(Derivada, Base) {
    int64_t numero;
};

template <char LETRA>
void anota(void *) {
    (ordem += LETRA) += ' ';
}
void constroiFalhando(void *) {
    throw std::runtime_error("falhou");
}
void destroiFalhando(void *) {
    ordem += "X ";
    YContextoTry_throw(YExc_rtti, "destrutor", "teste", 1);
}

template <const YRtti &RTTI>
const YRtti *da() {
    return &RTTI;
}
const YRtti base = {YOb_rtti, "Base", sizeof(Base), anota<'B'>, anota<'b'>};
const YRtti derivada = {da<base>, "Derivada", sizeof(Derivada), anota<'D'>, anota<'d'>};
const YRtti semTamanho = {da<derivada>, "SemTamanho", 0, nullptr, nullptr};
const YRtti queFalha = {da<base>, "QueFalha", 0, constroiFalhando, anota<'d'>};
const YRtti queLanca = {da<base>, "QueLanca", 0, nullptr, destroiFalhando};

TEST(Objetos, constroemDaRaizEDestroemDaClasse) {
    ordem.clear();
    Derivada *d = nullptr;
    YalocaObjeto(&d, da<semTamanho>);
    EXPECT_EQ(d->numero, 0) << "an instance begins zeroed, with its ancestors' size";
    EXPECT_TRUE(YRtti_deriva(d->rtti, da<base>));
    EXPECT_FALSE(YRtti_deriva(&base, da<derivada>));
    YliberaObjeto_debug(d, "teste", 1);
    YliberaObjeto_debug(nullptr, "teste", 1);
    YliberaMemoria_debug(nullptr, "teste", 1);
    EXPECT_EQ(ordem, "B D d b ");
}

TEST(Objetos, construtorQueFalhaDesfazSoOsQueTerminaram) {
    ordem.clear();
    Base *b = nullptr;
    EXPECT_THROW(YalocaObjeto(&b, da<queFalha>), std::runtime_error);
    EXPECT_EQ(b, nullptr);
    EXPECT_EQ(ordem, "B b ");
}

TEST(Objetos, destrutorQueLancaNaoImpedeOsOutros) {
    ordem.clear();
    Base *b = nullptr;
    YalocaObjeto(&b, da<queLanca>);
    EXPECT_THROW(YliberaObjeto(b), YExcecao);
    EXPECT_EQ(ordem, "B X b ");

    YalocaObjeto(&b, da<queLanca>);
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
    EXPECT_EQ(YContextoTry_catch(&c, YExc_rtti), 0) << "nothing is pending";
    EXPECT_NO_THROW(YContextoTry_finaliza(&c));

    c = {};
    YContextoTry_inicia(&c);
    EXPECT_EQ(YContextoTry_executa(&c, corpoQueLanca, reinterpret_cast<void *>(YExcIOError_rtti)), 0);
    EXPECT_EQ(YContextoTry_catch(&c, YExcNaoImplementado_rtti), 0);
    EXPECT_NE(YContextoTry_catch(&c, YExc_rtti), 0);
    auto stream = pramo::cria<YStream>(YStream_rtti);
    YExc_descreveEmStream(stream.get());
    EXPECT_STREQ(YStream_str(stream.get()), "YExcIOError: do corpo (teste:3)");
    EXPECT_NO_THROW(YContextoTry_finaliza(&c));

    c = {};
    YContextoTry_inicia(&c);
    YContextoTry_executa(&c, corpoPadrao, nullptr);
    YContextoTry_voltaContexto(&c);
    EXPECT_THROW(YContextoTry_finaliza(&c), std::logic_error)
        << "what no catch took is raised again as it was";
    EXPECT_THROW(YContextoTry_executa(&c, corpoCalmo, &n), YExcecao) << "the region has ended";
}

TEST(Log, soMascarasLigadasEUmRegistroPorLinha) {
    const apoio::Diario diario(Y_LOG_WEB);
    YObLOG_masc_print(Y_LOG_WEB, "a\nb\r\t\\\x01\x7f %d", 7);
    YObLOG_masc_print(Y_LOG_CORPO, "desligado");
    EXPECT_EQ(diario.quantos(""), 1);
    EXPECT_EQ(diario.quantos("a\\nb\\r\\t\\\\\\x01\\x7F 7"), 1);
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

} // namespace
