// Objects, exceptions, protected regions, log, allocation report and identities.
#include "apoio/servidor.hpp"

namespace {

std::string ordem;

template <char LETRA>
void anota(void *) {
    ordem += LETRA;
}
void corpoQueLanca(void *) {
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
const YRtti derivada = {da<base>, "Derivada", 0, anota<'D'>, anota<'d'>};
const YRtti queFalha = {da<base>, "QueFalha", 0, corpoPadrao, anota<'d'>};
const YRtti queLanca = {da<base>, "QueLanca", 0, nullptr, corpoQueLanca};

TEST(Objetos, constroemDaRaizEDestroemDaClasseOQueTerminou) {
    const std::pair<YFuncaoRtti, const char *> casos[] = {
        {da<derivada>, "BDdb"}, {da<queFalha>, "Bb!"}, {da<queLanca>, "BXb!"}};
    for (const auto &[classe, esperada] : casos) {
        ordem.clear();
        try {
            YliberaObjeto(cria<YOb>(classe).release());
        } catch (const std::exception &) {
            ordem += '!';
        }
        EXPECT_EQ(ordem, esperada);
    }
    struct Guarda {
        YOb *objeto = cria<YOb>(da<queLanca>).release();
        ~Guarda() noexcept(false) { YliberaObjeto(objeto); }
    };
    const auto lancaDuas = [] {
        const Guarda guarda;
        throw std::logic_error("primeira");
    };
    EXPECT_THROW(lancaDuas(), std::logic_error) << "while one is in flight another one does not leave";
}

std::string descricao() {
    const auto stream = cria<YStream>(YStream_rtti);
    YExc_descreveEmStream(stream);
    return YStream_str(stream);
}

TEST(Excecoes, detalheVaiUmaVezNaFrente) {
    const auto mensagem = [](const char *texto) {
        return excecao([=] { YContextoTry_throw(YExcIOError_rtti, texto, "teste", 1); });
    };
    YContextoTry_printf("nome: %s. ", "100%n");
    EXPECT_EQ(mensagem("Falha."), "YExcIOError: nome: 100%n. Falha.");
    YContextoTry_printf("n: %s. ", std::string(65'532, 'x').c_str()); // one more than fits: the middle goes
    EXPECT_TRUE(mensagem("fim") == "YExcIOError: n: " + std::string(65'531, 'x') + ". fim");
    EXPECT_EQ(mensagem("outra"), "YExcIOError: outra");
}

TEST(RegiaoProtegida, levaAdianteOQueNinguemApanhou) {
    YContextoTry c{};
    YContextoTry_inicia(&c);
    EXPECT_EQ(YContextoTry_executa(&c, corpoPadrao, nullptr), 0);
    EXPECT_STREQ(YContextoTry_mensagem(&c), "de fora");
    EXPECT_EQ(YContextoTry_catch(&c, YExcNaoImplementado_rtti), 0);
    EXPECT_THROW(YContextoTry_finaliza(&c), std::runtime_error) << "as it was raised";
    EXPECT_THROW(YContextoTry_executa(&c, corpoPadrao, nullptr), YExcecao) << "the region has ended";
}

/// So many regions, each within the handling of the one before; what they raise is described within them.
void aninha(int niveis, void (*corpo)(void *), const std::string &descrita, void (*dentro)() = nullptr) {
    YContextoTry c{};
    YContextoTry_inicia(&c);
    EXPECT_EQ(YContextoTry_executa(&c, corpo, nullptr), 0);
    EXPECT_NE(YContextoTry_catch(&c, YExc_rtti), 0);
    EXPECT_TRUE(descricao().starts_with(descrita)) << descricao();
    niveis > 1 ? aninha(niveis - 1, corpo, descrita) : void();
    dentro != nullptr ? dentro() : void();
    YContextoTry_finaliza(&c);
}

TEST(RegiaoProtegida, descreveOQueSeTrataMaisPorDentro) {
    aninha(1, corpoQueLanca, "YExcIOError: do corpo (teste:3)", [] {
        const std::string daRegiao = descricao();
        try {
            YContextoTry_throw(YExc_rtti, "em C++", "teste", 4);
        } catch (const YExcecao &) {
            aninha(1, corpoPadrao, "YExc: de fora (");
            EXPECT_EQ(descricao(), "YExc: em C++ (teste:4)");
        }
        EXPECT_EQ(descricao(), daRegiao);
        aninha(9, corpoPadrao, "YExc: de fora ("); // deeper than what is remembered
    });
    EXPECT_TRUE(descricao().starts_with("YExc: de fora (")) << "the last one that was handled";
}

TEST(Log, soMascarasLigadasEUmRegistroPorLinha) {
    const Diario diario(Y_LOG_WEB);
    YObLOG_masc_print(Y_LOG_WEB, "a\nb\r\t\\\x01\x7f %d", 7);
    YObLOG_masc_print(Y_LOG_CORPO, "desligado");
    EXPECT_EQ(diario.quantos("") + diario.quantos("a\\nb\\r\\t\\\\\\x01\\x7F 7"), 2);
}

TEST(Log, erroPadraoQueNinguemLeNaoSeguraNinguem) {
    EXPECT_TRUE(noFilho([] {
        int tubo[2];
        std::string lido(65536, 0); // all that a pipe holds
        if (pipe(tubo) != 0 || dup2(tubo[1], STDERR_FILENO) < 0) {
            return false;
        }
        YObLOG_masc_print(Y_LOG_ERRO, "%0100000d", 1); // cut in the middle of its line
        YObLOG_masc_print(Y_LOG_ERRO, "de fora");
        const bool cheio = read(tubo[0], lido.data(), lido.size()) == 65536;
        YObLOG_masc_print(Y_LOG_ERRO, "fim");
        lido.resize(static_cast<std::size_t>(read(tubo[0], lido.data(), lido.size())));
        close(tubo[0]);
        YObLOG_masc_print(Y_LOG_ERRO, "sem leitor"); // no signal
        return cheio && lido.starts_with("\n") && lido.find(" de fora: 2.\n") != lido.npos &&
               lido.ends_with(" 1 fim\n");
    }));
}

/// A sink that does not return until it is let go.
struct Saida {
    std::atomic<bool> solta;
    std::atomic<int> entraram{0}, passaram{0}, avisos{0};

    static void passa(void *contexto, int /*mascara*/, const char *texto) {
        auto *saida = static_cast<Saida *>(contexto);
        saida->entraram++;
        acontece([saida] { return saida->solta.load(); });
        saida->avisos += texto == std::string("Registros deixados de fora: 976.") ? 1 : 0;
        saida->passaram++;
    }
};

TEST(Log, saidaPresaSeguraUmaThreadSo) {
    Saida presa{false};
    Saida livre{true};
    YObLOG_setSaida(Saida::passa, &presa);
    std::jthread primeira([] { YObLOG_masc_print(Y_LOG_ERRO, "primeiro"); });
    EXPECT_TRUE(acontece([&] { return presa.entraram == 1; }));
    for (int i = 0; i < 2000; i++) { // of which 1024 wait
        YObLOG_masc_print(Y_LOG_ERRO, "%d", i);
    }
    EXPECT_TRUE(noFilho([&] { // where nobody is inside the sink
        YObLOG_setSaida(Saida::passa, &livre);
        YObLOG_masc_print(Y_LOG_ERRO, "no filho");
        return livre.passaram == 1;
    }));
    const std::jthread abre([&] { presa.solta = true; });
    YObLOG_setSaida(Saida::passa, &livre);
    EXPECT_EQ(presa.entraram, presa.passaram) << "it may be taken apart once it has been replaced";
    primeira.join();
    for (int i = 0; i < 10; i++) { // each caller takes some along
        YObLOG_masc_print(Y_LOG_ERRO, "mais um");
    }
    EXPECT_EQ(presa.passaram + livre.passaram, 1 + 1024 + 1 + 10);
    EXPECT_EQ(presa.avisos + livre.avisos, 1);
    YObLOG_setSaida(nullptr, nullptr);
}

TEST(Memoria, relatorioMostraOQueEstaVivo) { // it is on in every test
    YStream *stream = nullptr;
    YalocaObjeto_debug(&stream, YStream_rtti, "fonte.c", 7);
    std::string vivos;
    const auto anotaVivo = [](void *onde, const char *classe, uint64_t, const char *fonte, int linha) {
        *static_cast<std::string *>(onde) += classe + std::string(fonte) + std::to_string(linha) + ";";
    };
    YMemoria_relatorio(anotaVivo, &vivos);
    YliberaObjeto(stream);
    EXPECT_EQ(vivos, "YStreamfonte.c7;");
    EXPECT_THROW(YalocaMemoria(uint64_t{1} << 62), YExcecao);
}

TEST(Identidade, naoRevelaNadaENaoSeRepete) {
    std::set<std::string> textos;
    std::vector<int> alvos(1000);
    char texto[64];
    for (int &alvo : alvos) {
        YObPtrToStr(texto, sizeof texto, &alvo);
        EXPECT_TRUE(YObStrToPtr(texto) == &alvo && textos.insert(texto).second) << texto;
    }
    const std::string certo = texto;
    EXPECT_EQ(YObStrToPtr((" \t" + certo + "\n").c_str()), &alvos.back());
    for (const std::string &ruim : {certo.substr(1), certo + "0", certo.substr(0, 31) + "x"}) {
        EXPECT_EQ(YObStrToPtr(ruim.c_str()), nullptr) << ruim;
    }
    YObPtrToStr(texto, sizeof texto, nullptr);
    EXPECT_STREQ(texto, "");
    EXPECT_THROW(YObPtrToStr(texto, 32, alvos.data()), YExcecao);
    for (const char &alvo : std::string(100'000, ' ')) { // the latest so many are kept
        YObPtrToStr(texto, sizeof texto, &alvo);
    }
    EXPECT_TRUE(YObStrToPtr(texto) != nullptr && YObStrToPtr(certo.c_str()) == nullptr);
}

} // namespace
