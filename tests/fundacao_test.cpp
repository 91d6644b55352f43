// Objects, exceptions, protected regions, log, allocation report and identities.
#include "apoio/filho.hpp"
#include "apoio/servidor.hpp"

#include <3pramo/3pramo.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/ioctl.h>
#include <thread>
#include <vector>

namespace {

std::string ordem;

Y_CLASSE(Base, YOb) {
    int64_t numero;
};

template <char LETRA>
void anota(void *) {
    ordem += LETRA;
}
void constroiFalhando(void *) {
    throw std::runtime_error("falhou");
}
void destroiFalhando(void *) {
    ordem += 'X';
    YContextoTry_throw(YExc_rtti, "destrutor", "teste", 1);
}

template <const YRtti &RTTI>
const YRtti *da() {
    return &RTTI;
}
const YRtti base = {YOb_rtti, "Base", sizeof(Base), anota<'B'>, anota<'b'>};
const YRtti derivada = {da<base>, "Derivada", 0, anota<'D'>,
                        anota<'d'>}; // its instances are like its parent's
const YRtti queFalha = {da<base>, "QueFalha", 0, constroiFalhando, anota<'d'>};
const YRtti queLanca = {da<base>, "QueLanca", 0, nullptr, destroiFalhando};

TEST(Objetos, constroemDaRaizEDestroemDaClasseOQueTerminou) {
    const std::pair<YFuncaoRtti, const char *> casos[] = {
        {da<derivada>, "BDdb"}, {da<queFalha>, "Bb!"}, {da<queLanca>, "BXb!"}};
    for (const auto &[classe, esperada] : casos) {
        ordem.clear();
        Base *b = nullptr;
        try {
            YalocaObjeto(&b, classe);
            EXPECT_EQ(b->numero, 0) << "an instance begins zeroed";
            YliberaObjeto(b);
        } catch (const std::exception &) {
            ordem += '!';
        }
        EXPECT_EQ(ordem, esperada);
    }
    const auto lancaDuas = [] {
        Base *b = nullptr;
        YalocaObjeto(&b, da<queLanca>);
        const std::shared_ptr<void> guarda(b, [](void *objeto) { YliberaObjeto(objeto); });
        throw std::runtime_error("primeira");
    };
    EXPECT_THROW(lancaDuas(), std::runtime_error) << "while one is in flight another one does not leave";
    YliberaObjeto(nullptr);
    YliberaMemoria(nullptr);
}

std::string descricao() {
    const auto stream = pramo::cria<YStream>(YStream_rtti);
    YExc_descreveEmStream(stream.get());
    return YStream_str(stream.get());
}

/// The message of an exception that is raised with the text.
std::string mensagemDe(const char *texto) {
    try {
        YContextoTry_throw(YExcIOError_rtti, texto, "Fonte", 12);
    } catch (const YExcecao &e) {
        EXPECT_TRUE(e.ehDaClasse(YExc_rtti) && !e.ehDaClasse(YExcNaoImplementado_rtti));
        EXPECT_TRUE(e.descricao() == std::string("YExcIOError: ") + e.what() + " (Fonte:12)");
        EXPECT_TRUE(e.descricao() == descricao());
        return e.what();
    }
}

TEST(Excecoes, detalheVaiUmaVezNaFrente) {
    YContextoTry_printf("nome: %s. ", "100%n");
    EXPECT_EQ(mensagemDe("Falha na leitura."), "nome: 100%n. Falha na leitura.");
    for (const auto &[tamanho, fica] : {std::pair(65'531, 65'531), {65'532, 65'531}, {1'000'000, 65'531}}) {
        // Of the longest the middle goes, the end never.
        YContextoTry_printf("n: %s. ", std::string(static_cast<std::size_t>(tamanho), 'x').c_str());
        const std::string inteira = "n: " + std::string(static_cast<std::size_t>(fica), 'x') + ". outra";
        EXPECT_TRUE(mensagemDe("outra") == inteira) << tamanho;
    }
    EXPECT_EQ(mensagemDe(""), "");
    YContextoTry_printf("velho. ");
    EXPECT_THROW(YContextoTry_printf("%ls", L"\xD800"), YExcecao) << "no multibyte form";
    EXPECT_EQ(mensagemDe("outra"), "outra") << "neither used up nor replaced in vain";
}

void corpoQueLanca(void * /*argumento*/) {
    YContextoTry_throw(YExcIOError_rtti, "do corpo", "teste", 3);
}
void corpoPadrao(void *) {
    throw std::logic_error("de fora");
}

/// A region that has taken the exception of its body.
struct Regiao {
    YContextoTry c{};
    explicit Regiao(void (*corpo)(void *)) {
        YContextoTry_inicia(&c);
        EXPECT_EQ(YContextoTry_executa(&c, corpo, nullptr), 0);
        EXPECT_EQ(YContextoTry_catch(&c, YExcNaoImplementado_rtti), 0);
        EXPECT_NE(YContextoTry_catch(&c, YExc_rtti), 0);
        EXPECT_NE(YContextoTry_catch(&c, YExc_rtti), 0);
    }
    ~Regiao() { YContextoTry_finaliza(&c); }
};

TEST(RegiaoProtegida, semNadaPendenteOuComOQueNinguemApanhou) {
    for (const auto corpo : {anota<'C'>, corpoPadrao}) {
        YContextoTry c{};
        YContextoTry_inicia(&c);
        const bool padrao = YContextoTry_executa(&c, corpo, nullptr) == 0;
        EXPECT_EQ(padrao, corpo == corpoPadrao);
        EXPECT_STREQ(YContextoTry_mensagem(&c), padrao ? "de fora" : nullptr);
        if (padrao) {
            EXPECT_THROW(YContextoTry_finaliza(&c), std::logic_error) << "raised as it was";
        } else {
            EXPECT_EQ(YContextoTry_catch(&c, YExc_rtti), 0);
            EXPECT_NO_THROW(YContextoTry_finaliza(&c));
        }
        EXPECT_THROW(YContextoTry_executa(&c, corpo, nullptr), YExcecao) << "the region has ended";
    }
}

void aninha(int niveis) {
    const Regiao regiao(corpoPadrao);
    if (niveis > 1) {
        aninha(niveis - 1);
    }
}

TEST(RegiaoProtegida, descreveOQueSeTrataMaisPorDentro) {
    const std::string daRegiao = "YExcIOError: do corpo (teste:3)";
    {
        const Regiao externa(corpoQueLanca);
        EXPECT_EQ(descricao(), daRegiao);
        try {
            YContextoTry_throw(YExc_rtti, "em C++", "teste", 4);
        } catch (const YExcecao &e) {
            EXPECT_EQ(descricao(), e.descricao());
            {
                const Regiao interna(corpoPadrao);
                EXPECT_NE(descricao().find("YExc: de fora"), std::string::npos) << descricao();
            }
            EXPECT_EQ(descricao(), e.descricao());
        }
        EXPECT_EQ(descricao(), daRegiao);
        aninha(9); // deeper than what is remembered
    }
    EXPECT_NE(descricao().find("YExc: de fora"), std::string::npos) << "the last one that was handled";
}

TEST(Log, soMascarasLigadasEUmRegistroPorLinha) {
    const apoio::Diario diario(Y_LOG_WEB);
    YObLOG_masc_print(Y_LOG_WEB, "a\nb\r\t\\\x01\x7f %d", 7);
    YObLOG_masc_print(Y_LOG_CORPO, "desligado");
    EXPECT_EQ(diario.quantos(""), 1);
    EXPECT_EQ(diario.quantos("a\\nb\\r\\t\\\\\\x01\\x7F 7"), 1);
}

/// What has been written into the pipe until now.
std::string leTubo(int tubo) {
    int prontos = 0;
    ioctl(tubo, FIONREAD, &prontos);
    std::string tudo(static_cast<std::size_t>(prontos), 0);
    return prontos > 0 && read(tubo, tudo.data(), tudo.size()) == prontos ? tudo : "";
}

/// How many records the line says were left out; 0 for other lines.
int deixados(const std::string &linha) {
    const std::string aviso = "Registros deixados de fora: ";
    const std::size_t onde = linha.find(aviso);
    return onde != std::string::npos ? std::stoi(linha.substr(onde + aviso.size())) : 0;
}

TEST(Log, erroPadraoQueNinguemLeNaoSeguraNinguem) {
    EXPECT_TRUE(apoio::noFilho([] {
        int tubo[2];
        if (pipe(tubo) != 0 || dup2(tubo[1], STDERR_FILENO) < 0) {
            return false;
        }
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; i++) {
            threads.emplace_back([] {
                for (int n = 0; n < 500; n++) {
                    YObLOG_masc_print(Y_LOG_ERRO, "%0900d", n);
                }
            });
        }
        threads.clear();
        std::string tudo = leTubo(tubo[0]);
        YObLOG_masc_print(Y_LOG_ERRO, "%0100000d", 1); // cut in the middle of its line
        for (const char *texto : {"um", "dois"}) {
            tudo += leTubo(tubo[0]);
            YObLOG_masc_print(Y_LOG_ERRO, "%s", texto);
        }
        tudo += leTubo(tubo[0]);
        close(tubo[0]);
        YObLOG_masc_print(Y_LOG_ERRO, "sem leitor"); // no signal
        std::istringstream linhas(tudo);
        int contados = 0;
        for (std::string linha; std::getline(linhas, linha);) {
            contados += std::max(deixados(linha), 1);
        }
        // The line that was cut is both there and counted.
        return contados == 4 * 500 + 2 + 2 && tudo.ends_with(" 1 dois\n");
    }));
}

/// A sink that does not return until it is let go.
struct SaidaPresa {
    std::atomic<bool> dentro{false}, solta{false};
    std::atomic<int> passaram{0}, foraAvisados{0};

    static void recebe(void *eu, int /*mascara*/, const char *texto) {
        auto *presa = static_cast<SaidaPresa *>(eu);
        presa->dentro = true;
        apoio::acontece([presa] { return presa->solta.load(); });
        presa->foraAvisados += deixados(texto);
        presa->passaram++;
    }
};

TEST(Log, saidaPresaSeguraUmaThreadSo) {
    SaidaPresa presa;
    YObLOG_setSaida(SaidaPresa::recebe, &presa);
    std::jthread primeira([] { YObLOG_masc_print(Y_LOG_ERRO, "primeiro"); });
    ASSERT_TRUE(apoio::acontece([&] { return presa.dentro.load(); }));
    for (int i = 0; i < 2000; i++) {
        YObLOG_masc_print(Y_LOG_ERRO, "%d", i);
    }
    EXPECT_TRUE(apoio::noFilho([] { // where nobody is inside the sink
        close(STDERR_FILENO);
        YObLOG_setSaida(nullptr, nullptr);
        YObLOG_masc_print(Y_LOG_ERRO, "no filho");
        return true;
    }));
    presa.solta = true;
    primeira.join();
    while (presa.passaram < 1 + 1 + 1024) { // each one that logs takes some along
        const int antes = presa.passaram;
        YObLOG_masc_print(Y_LOG_ERRO, "mais um");
        ASSERT_GT(presa.passaram, antes);
    }
    EXPECT_EQ(presa.foraAvisados, 2000 - 1024);

    presa.solta = presa.dentro = false;
    presa.passaram = 0;
    const std::jthread outra([] { YObLOG_masc_print(Y_LOG_ERRO, "outro"); });
    ASSERT_TRUE(apoio::acontece([&] { return presa.dentro.load(); }));
    const std::jthread solta([&] { presa.solta = true; });
    YObLOG_setSaida(nullptr, nullptr);
    EXPECT_EQ(presa.passaram, 1) << "the sink may be taken apart once it has been replaced";
}

TEST(Memoria, relatorioMostraOQueEstaVivo) { // it is on in every test
    void *bloco = YalocaMemoria_debug(10, "arquivo.c", 5);
    bloco = YrealocaMemoria_debug(bloco, 5000, "arquivo.c", 6);
    YStream *stream = nullptr;
    YalocaObjeto_debug(&stream, YStream_rtti, "outro.c", 7);
    std::string lista;
    YMemoria_relatorio(
        [](void *texto, const char *classe, uint64_t tamanho, const char *arquivo, int linha) {
            std::string linhaDele = classe != nullptr ? classe : std::to_string(tamanho);
            linhaDele += std::string(" ") + arquivo + ":" + std::to_string(linha) + "; ";
            *static_cast<std::string *>(texto) += linhaDele;
        },
        &lista);
    EXPECT_EQ(lista, "5000 arquivo.c:6; YStream outro.c:7; ");
    YliberaMemoria(bloco);
    YliberaObjeto(stream);
    EXPECT_EQ(YMemoria_vivos(), 0U);
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
    const std::string certo = texto;
    for (const std::string &ruim : {std::string(), certo.substr(1), certo + "0", certo.substr(0, 31) + "x",
                                    std::string("0x55d0c0a81240")}) {
        EXPECT_EQ(YObStrToPtr(ruim.c_str()), nullptr) << ruim;
    }
    EXPECT_EQ(YObStrToPtr(nullptr), nullptr);
    YObPtrToStr(texto, sizeof texto, nullptr);
    EXPECT_STREQ(texto, "");
    EXPECT_THROW(YObPtrToStr(texto, 32, alvos.data()), YExcecao);
}

} // namespace
