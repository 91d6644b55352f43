// Objects, exceptions, protected regions, log, allocation report and identities.
#include "apoio/filho.hpp"
#include "apoio/servidor.hpp"

#include <3pramo/3pramo.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fcntl.h>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

std::string ordem;

template <char LETRA>
void anota(void *) {
    ordem += LETRA;
}
void corpoQueLanca(void * /*argumento*/) {
    ordem += 'X';
    YContextoTry_throw(YExcIOError_rtti, "do corpo", "teste", 3);
}
void corpoPadrao(void *) {
    throw std::runtime_error("de fora");
}

template <const YRtti &RTTI>
const YRtti *da() {
    return &RTTI;
}
const YRtti base = {YOb_rtti, "Base", sizeof(YOb), anota<'B'>, anota<'b'>};
const YRtti derivada = {da<base>, "Derivada", 0, anota<'D'>,
                        anota<'d'>}; // its instances are like its parent's
const YRtti queFalha = {da<base>, "QueFalha", 0, corpoPadrao, anota<'d'>};
const YRtti queLanca = {da<base>, "QueLanca", 0, nullptr, corpoQueLanca};

TEST(Objetos, constroemDaRaizEDestroemDaClasseOQueTerminou) {
    const std::pair<YFuncaoRtti, const char *> casos[] = {
        {da<derivada>, "BDdb"}, {da<queFalha>, "Bb!"}, {da<queLanca>, "BXb!"}};
    for (const auto &[classe, esperada] : casos) {
        ordem.clear();
        try {
            YOb *b = nullptr;
            YalocaObjeto(&b, classe);
            YliberaObjeto(b);
        } catch (const std::exception &) {
            ordem += '!';
        }
        EXPECT_EQ(ordem, esperada);
    }
    const auto lancaDuas = [] {
        const auto guarda = pramo::cria<YOb>(da<queLanca>);
        throw std::logic_error("primeira");
    };
    EXPECT_THROW(lancaDuas(), std::logic_error) << "while one is in flight another one does not leave";
}

std::string descricao() {
    const auto stream = pramo::cria<YStream>(YStream_rtti);
    YExc_descreveEmStream(stream);
    return YStream_str(stream);
}

/// The message of an exception that is raised with the text.
std::string mensagemDe(const char *texto) {
    try {
        YContextoTry_throw(YExcIOError_rtti, texto, "Fonte", 12);
    } catch (const YExcecao &e) {
        EXPECT_TRUE(descricao() == std::string("YExcIOError: ") + e.what() + " (Fonte:12)");
        return e.what();
    }
}

TEST(Excecoes, detalheVaiUmaVezNaFrente) {
    YContextoTry_printf("nome: %s. ", "100%n");
    EXPECT_EQ(mensagemDe("Falha na leitura."), "nome: 100%n. Falha na leitura.");
    for (const std::size_t tamanho : {65'531, 65'532, 1'000'000}) {
        // Of the longest the middle goes, the end never.
        YContextoTry_printf("n: %s. ", std::string(tamanho, 'x').c_str());
        const std::string inteira =
            "n: " + std::string(std::min<std::size_t>(tamanho, 65'531), 'x') + ". outra";
        EXPECT_TRUE(mensagemDe("outra") == inteira) << tamanho;
    }
    YContextoTry_printf("velho. ");
    EXPECT_THROW(YContextoTry_printf("%ls", L"\xD800"), YExcecao) << "no multibyte form";
    EXPECT_EQ(mensagemDe("outra"), "outra") << "neither used up nor replaced in vain";
}

TEST(RegiaoProtegida, semNadaPendenteOuComOQueNinguemApanhou) {
    for (const auto corpo : {anota<'C'>, corpoPadrao}) {
        YContextoTry c{};
        YContextoTry_inicia(&c);
        const bool padrao = YContextoTry_executa(&c, corpo, nullptr) == 0;
        EXPECT_STREQ(YContextoTry_mensagem(&c), padrao ? "de fora" : nullptr);
        if (padrao) {
            EXPECT_THROW(YContextoTry_finaliza(&c), std::runtime_error) << "raised as it was";
        } else {
            EXPECT_EQ(YContextoTry_catch(&c, YExc_rtti), 0);
            EXPECT_NO_THROW(YContextoTry_finaliza(&c));
        }
        EXPECT_THROW(YContextoTry_executa(&c, corpo, nullptr), YExcecao) << "the region has ended";
    }
}

/// Does something in a region that has taken the exception of its body.
template <typename FUNCAO>
void tratando(void (*corpo)(void *), FUNCAO funcao) {
    YContextoTry c{};
    YContextoTry_inicia(&c);
    EXPECT_EQ(YContextoTry_executa(&c, corpo, nullptr), 0);
    EXPECT_EQ(YContextoTry_catch(&c, YExcNaoImplementado_rtti), 0);
    EXPECT_NE(YContextoTry_catch(&c, YExc_rtti), 0);
    funcao();
    YContextoTry_finaliza(&c);
}

void aninha(int niveis) {
    tratando(corpoPadrao, [niveis] {
        EXPECT_NE(descricao().find("YExc: de fora"), std::string::npos) << descricao();
        niveis > 1 ? aninha(niveis - 1) : void();
    });
}

TEST(RegiaoProtegida, descreveOQueSeTrataMaisPorDentro) {
    tratando(corpoQueLanca, [] {
        const std::string daRegiao = "YExcIOError: do corpo (teste:3)";
        EXPECT_EQ(descricao(), daRegiao);
        try {
            YContextoTry_throw(YExc_rtti, "em C++", "teste", 4);
        } catch (const YExcecao &e) {
            EXPECT_EQ(descricao(), e.descricao());
            aninha(1);
            EXPECT_EQ(descricao(), e.descricao());
        }
        EXPECT_EQ(descricao(), daRegiao);
        aninha(9); // deeper than what is remembered
    });
    EXPECT_NE(descricao().find("YExc: de fora"), std::string::npos) << "the last one that was handled";
}

TEST(Log, soMascarasLigadasEUmRegistroPorLinha) {
    const apoio::Diario diario(Y_LOG_WEB);
    YObLOG_masc_print(Y_LOG_WEB, "a\nb\r\t\\\x01\x7f %d", 7);
    YObLOG_masc_print(Y_LOG_CORPO, "desligado");
    EXPECT_EQ(diario.quantos(""), 1);
    EXPECT_EQ(diario.quantos("a\\nb\\r\\t\\\\\\x01\\x7F 7"), 1);
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
        if (pipe(tubo) != 0 || dup2(tubo[1], STDERR_FILENO) < 0 || fcntl(tubo[0], F_SETFL, O_NONBLOCK) != 0) {
            return false;
        }
        std::string tudo;
        const auto esvazia = [&] {
            char pedaco[4096];
            for (ssize_t lidos = 0; (lidos = read(tubo[0], pedaco, sizeof pedaco)) > 0;) {
                tudo.append(pedaco, static_cast<std::size_t>(lidos));
            }
        };
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; i++) {
            threads.emplace_back([] {
                for (int n = 0; n < 500; n++) {
                    YObLOG_masc_print(Y_LOG_ERRO, "%0900d", n);
                }
            });
        }
        threads.clear();
        esvazia();
        YObLOG_masc_print(Y_LOG_ERRO, "%0100000d", 1); // cut in the middle of its line
        for (const char *texto : {"um", "dois"}) {
            esvazia();
            YObLOG_masc_print(Y_LOG_ERRO, "%s", texto);
        }
        esvazia();
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

// A sink that does not return until it is let go.
std::atomic<bool> solta;
std::atomic<int> entraram, passaram, foraAvisados;

void saidaPresa(void * /*contexto*/, int /*mascara*/, const char *texto) {
    entraram++;
    apoio::acontece([] { return solta.load(); });
    foraAvisados += deixados(texto);
    passaram++;
}

TEST(Log, saidaPresaSeguraUmaThreadSo) {
    solta = false;
    entraram = passaram = foraAvisados = 0;
    YObLOG_setSaida(saidaPresa, nullptr);
    std::jthread primeira([] { YObLOG_masc_print(Y_LOG_ERRO, "primeiro"); });
    ASSERT_TRUE(apoio::acontece([] { return entraram == 1; }));
    for (int i = 0; i < 2000; i++) {
        YObLOG_masc_print(Y_LOG_ERRO, "%d", i);
    }
    EXPECT_TRUE(apoio::noFilho([] { // where nobody is inside the sink
        close(STDERR_FILENO);
        YObLOG_setSaida(nullptr, nullptr);
        YObLOG_masc_print(Y_LOG_ERRO, "no filho");
        return true;
    }));
    solta = true;
    primeira.join();
    while (passaram < 1 + 1 + 1024) { // each one that logs takes some along
        const int antes = passaram;
        YObLOG_masc_print(Y_LOG_ERRO, "mais um");
        ASSERT_GT(passaram, antes);
    }
    EXPECT_EQ(foraAvisados, 2000 - 1024);

    solta = false;
    const int antes = passaram;
    const std::jthread outra([] { YObLOG_masc_print(Y_LOG_ERRO, "outro"); });
    ASSERT_TRUE(apoio::acontece([antes] { return entraram > antes; }));
    const std::jthread abre([] { solta = true; });
    YObLOG_setSaida(nullptr, nullptr);
    EXPECT_GT(passaram, antes) << "the sink may be taken apart once it has been replaced";
}

TEST(Memoria, relatorioMostraOQueEstaVivo) { // it is on in every test
    void *bloco = YalocaMemoria_debug(10, "arquivo.c", 5);
    bloco = YrealocaMemoria_debug(bloco, 5000, "arquivo.c", 6);
    YStream *stream = nullptr;
    YalocaObjeto_debug(&stream, YStream_rtti, "outro.c", 7);
    std::ostringstream lista;
    YMemoria_relatorio(
        [](void *texto, const char *classe, uint64_t tamanho, const char *arquivo, int linha) {
            *static_cast<std::ostringstream *>(texto)
                << (classe != nullptr ? classe : std::to_string(tamanho)) << " " << arquivo << ":" << linha
                << "; ";
        },
        &lista);
    EXPECT_EQ(lista.str(), "5000 arquivo.c:6; YStream outro.c:7; ");
    YliberaMemoria(bloco);
    YliberaObjeto(stream);
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
    const std::string certo = texto;
    EXPECT_EQ(YObStrToPtr((" \t" + certo + "\n").c_str()), &alvos.back());
    for (const std::string &ruim : {std::string(), certo.substr(1), certo + "0", certo.substr(0, 31) + "x"}) {
        EXPECT_EQ(YObStrToPtr(ruim.c_str()), nullptr) << ruim;
    }
    EXPECT_EQ(YObStrToPtr(nullptr), nullptr);
    YObPtrToStr(texto, sizeof texto, nullptr);
    EXPECT_STREQ(texto, "");
    EXPECT_THROW(YObPtrToStr(texto, 32, alvos.data()), YExcecao);
}

} // namespace
