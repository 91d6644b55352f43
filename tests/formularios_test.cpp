// Operations with their variables and buttons: the form that goes out, the answers that come in, and who
// waits.
#include "apoio/servidor.hpp"

namespace {

Pramo_Tipo *const ID = Pramo_Tipo_getTipoId();

struct Operacao {
    Ponteiro<Pramo_Operacao> dona = pramo::cria<Pramo_Operacao>(Pramo_Operacao_rtti);

    operator Pramo_Operacao *() const { return dona; } // NOLINT: as C sees it

    Pramo_Variavel *cria(const char *nome, void *endereco, std::uint64_t tamanho,
                         Pramo_Tipo *tipo = ID) const {
        Pramo_Variavel *variavel = Pramo_Operacao_criaVariavel(*this, nome, tipo, endereco, tamanho);
        Pramo_Variavel_marcaUsada(variavel);
        return variavel;
    }
    [[nodiscard]] std::string escrita() const {
        const auto resposta = pramo::cria<YNo>(YNo_rtti);
        Pramo_Operacao_descarregaNaResposta(*this, resposta);
        return grava(resposta);
    }
    [[nodiscard]] std::string carrega(const std::string &campos) const {
        const auto requisicao = le("<r>" + campos + "</r>");
        return excecao([&] { Pramo_Operacao_carregaDaRequisicao(*this, requisicao); });
    }
};

// ---- Making, clearing, writing ----

TEST(Operacao, nomeRepetidoDaAPrimeiraEAAreaTemFim) {
    const Operacao op;
    std::uint8_t memoria = 0;
    op.cria("fora", &memoria, 1 << 20);
    Pramo_Variavel *a = op.cria("a", nullptr, 1001);
    auto *bytes = static_cast<std::uint8_t *>(Pramo_Variavel_getEndereco(a));
    EXPECT_EQ(op.cria("a", &memoria, 5, nullptr), a);
    EXPECT_EQ(a->tipo, ID);
    EXPECT_EQ(Pramo_Variavel_getEndereco(op.cria("b", nullptr, 23)), bytes + 1001);
    EXPECT_EQ(excecao([&] { op.cria("c", nullptr, 1); }),
              "YExcSoap: Nova variável da operação não coube na área pré-alocada."_l1);
    EXPECT_EQ(excecao([&] { Pramo_Operacao_getVariavel(op, "c"); }), "YExc: Variável desconhecida."_l1);
    Pramo_Operacao_clear(op);
    EXPECT_EQ(Pramo_Variavel_getEndereco(op.cria("d", nullptr, 1)), bytes);
}

TEST(Operacao, gravaOQueEstaMarcadoEDepoisDeLimparNadaVolta) {
    // clang-format off
    const std::string campoA =
        "<campo nome=\"a\" estilo=\"CampoSenha\" tipo=\"id\" somenteLeitura=\"true\" requerValidacao=\"false\" titulo=\"\">"
        "<descricao>d&lt;</descricao><valor>0000 </valor><periferico>TECLADO</periferico>"
        "<opcao><chave>1</chave><texto>um</texto></opcao><opcao><chave>1</chave><texto>outro</texto></opcao></campo>";
    const std::string resto =
        "<campo nome=\"c\" estilo=\"CampoSenha\" tipo=\"qtde3\" somenteLeitura=\"false\" requerValidacao=\"true\">"
        "<valor>0.000</valor><periferico>TECLADO</periferico></campo><botao nomeDaOperacao=\"k\" titulo=\"K\" estilo=\"BotaoAbertura\"/><estilo>DialogoPadrao</estilo>";
    // clang-format on
    const Operacao op;
    Pramo_Operacao_setTitulo(op, "Venda"); // it stays, as the answer does
    Pramo_Operacao_setRespostaDoPopup(op, "k", "sim");
    Pramo_Operacao_habilitaPeriferico(op, Pramo_Periferico_getTECLADO());
    for (int volta = 0; volta < 20; volta++) { // so often made where the focused one was
        Pramo_Variavel *a = op.cria("a", nullptr, 2);
        Pramo_Variavel_incluiPerifericos(a, nullptr);
        Pramo_Variavel_setDescricao(a, "d<");
        Pramo_Variavel_setTitulo(a, "");
        Pramo_Variavel_setSomenteLeitura(a, 2);
        Pramo_Variavel_acrescentaOpcao(a, "1", "um");
        Pramo_Variavel_acrescentaOpcao(a, "1", "outro");
        Pramo_Variavel *b = op.cria("b", nullptr, 1);
        Pramo_Variavel_desmarcaUsada(b);
        Pramo_Variavel_setRequerValidacao(op.cria("c", nullptr, 1, Pramo_Tipo_getTipoQTDE3()), 1);
        Pramo_Operacao_criaBotao(op, "k", "K");
        Pramo_Botao_setOferecido(Pramo_Operacao_criaBotao(op, "r", "R"), 0);
        EXPECT_EQ(op.escrita(), campoA + resto);
        Pramo_Operacao_focaEm(op, volta % 2 == 0 ? a : b); // b is not marked
        EXPECT_EQ(op.escrita(), campoA + (volta % 2 == 0 ? "<focado>a</focado>" : "") + resto)
            << "marks stay";
        Pramo_Operacao_setAviso(op, "x<");
        EXPECT_TRUE(op.escrita().ends_with(resto + "<aviso>x&lt;</aviso>"));
        Pramo_Operacao_clear(op);
    }
    Pramo_Operacao_habilitaPeriferico(op, nullptr);
    op.cria("z", nullptr, 1);
    EXPECT_EQ(op.escrita().find("periferico"), std::string::npos);
    EXPECT_STREQ(Pramo_Operacao_getTitulo(op), "Venda");
    EXPECT_STREQ(Pramo_Operacao_getRespostaDoPopup(op, "k"), "sim");
}

TEST(Operacao, limparApagaOsSegredosDaArea) {
    const Operacao op;
    char fora[] = "xyz";
    op.cria("f", fora, 4, Pramo_Tipo_getTipoSegredo());
    auto *area = static_cast<char *>(op.cria("a", nullptr, 3, Pramo_Tipo_getTipoTexto())->endereco);
    op.cria("s", nullptr, 3, Pramo_Tipo_getTipoSegredo());
    EXPECT_EQ(op.carrega("<campo nome=a>AB</campo><campo nome=s>xy</campo>"), "");
    Pramo_Variavel_setTamanho(Pramo_Operacao_getVariavel(op, "s"), ~0ULL); // no further than the area
    EXPECT_EQ(std::string(area, 6), std::string("AB\0xy\0", 6));
    Pramo_Operacao_clear(op);
    EXPECT_EQ(fora + std::string(area, 6), std::string("xyzAB\0\0\0\0", 9));
}

// ---- Loading ----

TEST(Operacao, oBotaoAcionadoEhUmDosOferecidos) {
    const std::string k = "<botaoAcionado>k</botaoAcionado>";
    const std::string r = "<botaoAcionado>r</botaoAcionado>";
    // The request; the title of the button pressed; the same when loading is strict, or what is raised.
    // clang-format off
    const std::tuple<std::string, std::string, std::string> casos[] = {
        {k, "1", "1"}, {"<botaoAcionado/><botao nomeDaOperacao=k/><botaoAcionado>j</botaoAcionado>", "2", "2"}, {"<campo nome=a>1</campo>", "", ""},
        {r, "", "YExcSoap: O botão \"r\" não foi oferecido."_l1}, {"<botaoAcionado> k </botaoAcionado>", "", "YExcSoap: O botão \"k \" não foi oferecido."_l1},
        {"<botaoAcionado>j</botaoAcionado>" + k + r, "1", "YExcSoap: Veio mais de um botão acionado."_l1},
        {k + "<campo nome=a>x</campo>", "YExcSoap: Caractere inválido em número."_l1, "YExcSoap: campo: a. Caractere inválido em número."_l1},
    };
    // clang-format on
    for (const auto &[campos, frouxa, estrita] : casos) {
        for (const int qual : {0, 1}) {
            const Operacao op;
            op.cria("a", nullptr, 1);
            for (const auto &[nome, titulo] : {std::pair("k", "1"), {"k", "outro"}, {"j", "2"}, {"r", "3"}}) {
                Pramo_Botao_setOferecido(Pramo_Operacao_criaBotao(op, nome, titulo), *nome - 'r');
            }
            EXPECT_EQ(op.carrega(k), "");
            Pramo_Operacao_setCargaEstrita(op, qual);
            const std::string recusa = op.carrega(campos);
            const Pramo_Botao *botao = Pramo_Operacao_getBotaoAcionado(op);
            EXPECT_EQ(recusa + (botao != nullptr ? botao->titulo : ""), qual != 0 ? estrita : frouxa)
                << campos;
        }
    }
}

// ---- Classes of the application ----

const Pramo_Tipo_Rtti tipoProprio = {
    {Pramo_Tipo_rtti, "TipoProprio", 0, nullptr, nullptr},
    [](Pramo_Tipo *, Pramo_Variavel *variavel, const YNo *) {
        *static_cast<char *>(variavel->endereco) = 'p';
    },
    [](Pramo_Tipo *, const Pramo_Variavel *, YNo *elemento) { YNo_setString(elemento, "valor", "meu"); }};

TEST(Operacao, umTipoDaAplicacaoEOperacoesQueFaltam) {
    const Diario diario;
    const auto tipo = cria<Pramo_Tipo>([] { return &tipoProprio.rtti; });
    const auto puro = cria<Pramo_Tipo>(Pramo_Tipo_rtti);
    const Operacao op;
    op.cria("a", nullptr, 1, tipo);
    op.cria("b", nullptr, 1, puro);
    EXPECT_NE(op.escrita().find("<valor>meu</valor>"), std::string::npos);
    EXPECT_EQ(op.carrega("<campo nome=b>9</campo>"), "");
    Pramo_Operacao_trataCampos(op);
    EXPECT_EQ(diario.quantos("Chamada de operação sem implementação."_l1), 3);
    Pramo_Operacao_guardaMensagem(op, "m");
    EXPECT_EQ(Pramo_Operacao_temMensagem(op, "m"), 1);
    Pramo_Operacao_clear(op);
    EXPECT_EQ(Pramo_Operacao_temMensagem(op, "m"), 0);
}

TEST(Operacao, carregaEmOrdemAteAFalhaEAEstritaTudoOuNada) {
    const auto proprio = cria<Pramo_Tipo>([] { return &tipoProprio.rtti; });
    // Strict loading or not; the answers; what is raised; the memory and, of each variable, the option, the
    // peripheral, the digits counted, and whether it is still marked (*) or not (.).
    // clang-format off
    const std::tuple<bool, const char *, std::string, std::string> casos[] = {
        {false, "<campo nome=c opcao=1 periferico=PIN>57</campo><campos nome=b>57</campos><x:campo nome=a>56</x:campo><campo nome=c>55</campo>", "", "827DDPQ5 20.*.****"},
        {false, "<campo nome=a>57</campo><campo nome=z%n>56</campo><campo nome=c>55</campo>", "YExcSoap: Não existe o campo \"z%n\"."_l1, "923DDPQ5 20.******"},
        {false, "<campo nome=a>48</campo><campo>57</campo>", "YExcSoap: Faltou atributo nome na tag campo.", "023DDPQ5 20.******"},
        {false, "<campo nome=a>57</campo><campo nome=b opcao=o periferico=PIN>x7</campo><campo nome=c>57</campo>",
         "YExcSoap: Caractere inválido em número."_l1, "923DDPQ5 20.oPIN******"},
        // b is not offered, and c is to be read only; p and q are in the same memory
        {true, "<campo nome=a>57</campo><campo nome=b>56</campo>", "YExcSoap: campo: b. O campo \"b\" não foi oferecido."_l1, "123DDPQ5 *.*****"},
        {true, "<campo nome=a>57</campo><campo nome=c>56</campo>", "YExcSoap: campo: c. O campo \"c\" é somente para leitura."_l1, "123DDPQ5 *.*****"},
        {true, "<campo nome=a opcao=3>56</campo>", "YExcSoap: campo: a. A opção escolhida não existe no campo \"a\"."_l1, "123DDPQ5 *.*****"},
        {true, "<campo nome=a>57</campo><campo/>", "YExcSoap: Faltou atributo nome na tag campo.", "123DDPQ5 *.*****"},
        {true, "<campo nome=a>57</campo><campo nome=a>56</campo>", "YExcSoap: campo: a. O campo \"a\" veio duas vezes.", "123DDPQ5 *.*****"},
        {true, "<campo nome=a periferico=PIN opcao=2>5.7</campo><campo nome=d>2024-03-05</campo><campo nome=p/><campo nome=q>xy</campo><campo nome=e>x</campo>",
         "YExcSoap: campo: e. Caractere inválido em número."_l1, "123DDPQ5 *.*****"},
        {true, "<campo nome=a periferico=PIN opcao=2>5.7</campo><campo nome=d>2024-03-05</campo><campo nome=q>xy</campo><campo nome=p/><campo nome=e>56</campo>",
         "", "923eXpy8 2PIN11..*...."},
    };
    // clang-format on
    for (const auto &[estrita, campos, recusa, esperado] : casos) {
        const Operacao op;
        std::string memoria = "123DDPQ5";
        Pramo_Variavel *variaveis[] = {op.cria("a", &memoria[0], 1, Pramo_Tipo_getTipoBIN()),
                                       op.cria("b", &memoria[1], 1),
                                       op.cria("c", &memoria[2], 1),
                                       op.cria("d", &memoria[3], 0, Pramo_Tipo_getTipoDATAC()),
                                       op.cria("p", &memoria[5], 1, proprio),
                                       op.cria("q", &memoria[5], 2, Pramo_Tipo_getTipoAutorizacao()),
                                       op.cria("e", &memoria[7], 1)};
        Pramo_Variavel_acrescentaOpcao(variaveis[0], "1", "um");
        Pramo_Variavel_acrescentaOpcao(variaveis[0], "2", "dois");
        if (estrita) {
            Pramo_Variavel_desmarcaUsada(variaveis[1]);
            Pramo_Variavel_setSomenteLeitura(variaveis[2], 1);
            Pramo_Operacao_setCargaEstrita(op, 1);
        }
        EXPECT_EQ(op.carrega(campos), recusa) << campos;
        Pramo_Operacao_carregaDaRequisicao(op, nullptr);
        std::string visto = memoria + " ";
        for (const Pramo_Variavel *v : variaveis) {
            visto += v->opcaoEscolhida != nullptr ? v->opcaoEscolhida : "";
            visto += v->perifericoUtilizado != nullptr ? v->perifericoUtilizado->nome : "";
            const std::uint64_t digitos = v->caracteresAntesDaVirgula * 10 + v->caracteresDepoisDaVirgula;
            visto += digitos != 0 ? std::to_string(digitos) : "";
            visto += Pramo_Variavel_foiUsada(v) != 0 ? "*" : ".";
        }
        EXPECT_EQ(visto, esperado) << campos;
    }
}

TEST(Periferico, seisComNomeECodigo) {
    const char *const nomes[] = {"TECLADO", "CMC7", "MAGNETICO", "OPTICO", "PIN", "TOUCH"};
    int qual = 0;
    for (const auto obtem :
         {Pramo_Periferico_getTECLADO, Pramo_Periferico_getCMC7, Pramo_Periferico_getMAGNETICO,
          Pramo_Periferico_getOPTICO, Pramo_Periferico_getPIN, Pramo_Periferico_getTOUCH}) {
        Pramo_Entidade_setNome(obtem(), "outro");
        EXPECT_EQ(Pramo_Periferico_getPeriferico(nomes[qual]), obtem()) << qual;
        EXPECT_EQ(Pramo_Periferico_getCodigo(obtem()), 1 << qual++);
    }
    for (const char *nome : {"", "PI", "PINO", "pin", static_cast<const char *>(nullptr)}) {
        EXPECT_EQ(Pramo_Periferico_getPeriferico(nome), nullptr);
    }
}

// ---- Waiting ----

TEST(Operacao, umSinalAcordaTodosOsQueEsperam) {
    constexpr int VEZES = 20; // asleep so often in a row: not on the way to the wait any more
    const Operacao op;
    Pramo_Operacao_sinalizaCondicao(op); // nobody waits for it
    std::array<std::atomic<pid_t>, 8> esperando{};
    std::atomic<std::size_t> acordadas{0};
    const auto threads = emThreads(esperando.size(), [&](int qual) {
        esperando[qual] = gettid();
        if (qual % 2 == 0) {
            Pramo_Operacao_esperaCondicao(op);
        } else {
            EXPECT_EQ(Pramo_Operacao_esperaCondicaoMs(op, INT64_MAX), 1);
        }
        acordadas++;
    });
    const auto dorme = [](pid_t thread) {
        return conteudoDe("/proc/self/task/" + std::to_string(thread) + "/stat").find(") S ") !=
               std::string::npos;
    };
    int seguidas = 0;
    EXPECT_TRUE(acontece([&] {
        seguidas = std::ranges::all_of(esperando, dorme) ? seguidas + 1 : 0;
        return seguidas == VEZES;
    }));
    EXPECT_EQ(acordadas, 0U);
    EXPECT_EQ(Pramo_Operacao_esperaCondicaoMs(op, INT64_MIN) + Pramo_Operacao_esperaCondicaoMs(op, 1), 0);
    Pramo_Operacao_sinalizaCondicao(op);
    EXPECT_TRUE(acontece([&] { return acordadas == esperando.size(); }));
}

} // namespace
