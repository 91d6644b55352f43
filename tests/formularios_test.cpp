// Operations with their variables and buttons: the form that goes out, the answers that come in, and who
// waits.
#include "apoio/arvore.hpp"
#include "apoio/servidor.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <fstream>
#include <thread>
#include <unistd.h>

using apoio::acontece;
using apoio::excecao;

using namespace pramo::literais;

namespace {

Pramo_Tipo *const ID = Pramo_Tipo_getTipoId();

struct Operacao {
    pramo::Ponteiro<Pramo_Operacao> dona = pramo::cria<Pramo_Operacao>(Pramo_Operacao_rtti);

    operator Pramo_Operacao *() const { return dona.get(); } // NOLINT: as C sees it

    Pramo_Variavel *cria(const char *nome, void *endereco, std::uint64_t tamanho,
                         Pramo_Tipo *tipo = ID) const {
        Pramo_Variavel *variavel = Pramo_Operacao_criaVariavel(*this, nome, tipo, endereco, tamanho);
        Pramo_Variavel_marcaUsada(variavel);
        return variavel;
    }
    [[nodiscard]] std::string escrita() const {
        const auto resposta = pramo::cria<YNo>(YNo_rtti);
        Pramo_Operacao_descarregaNaResposta(*this, resposta);
        return apoio::grava(resposta);
    }
    [[nodiscard]] std::string carrega(const std::string &campos) const {
        const auto requisicao = apoio::le("<r>" + campos + "</r>");
        return excecao([&] { Pramo_Operacao_carregaDaRequisicao(*this, requisicao); });
    }
};

// ---- Making and clearing ----

TEST(Operacao, nomeRepetidoDaAPrimeiraEAAreaTemFim) {
    const Operacao op;
    std::uint8_t memoria = 0;
    op.cria("fora", &memoria, 1 << 20);
    Pramo_Variavel *a = op.cria("a", nullptr, 1001);
    auto *bytes = static_cast<std::uint8_t *>(Pramo_Variavel_getEndereco(a));
    EXPECT_EQ(op.cria("a", &memoria, 5, nullptr), a);
    EXPECT_TRUE(a->endereco == bytes && a->tipo == ID);
    EXPECT_EQ(Pramo_Variavel_getEndereco(op.cria("b", nullptr, 23)), bytes + 1001);
    EXPECT_EQ(excecao([&] { op.cria("c", nullptr, 1); }),
              "YExcSoap: Nova variável da operação não coube na área pré-alocada."_l1);
    EXPECT_EQ(excecao([&] { Pramo_Operacao_getVariavel(op, "c"); }), "YExc: Variável desconhecida."_l1);

    bytes[0] = 7;
    Pramo_Operacao_clear(op);
    EXPECT_EQ(*static_cast<std::uint8_t *>(Pramo_Variavel_getEndereco(op.cria("d", nullptr, 1))), 7);
}

TEST(Operacao, depoisDeLimparNadaDoQueHaviaVolta) {
    const Operacao op;
    Pramo_Operacao_setTitulo(op, "Venda");
    Pramo_Operacao_setRespostaDoPopup(op, "k", "sim");
    Pramo_Operacao_habilitaPeriferico(op, Pramo_Periferico_getPIN());
    for (int volta = 0; volta < 20; volta++) {
        EXPECT_EQ(Pramo_Operacao_temMensagem(op, "m"), 0);
        Pramo_Operacao_guardaMensagem(op, "m");
        Pramo_Variavel *nova = op.cria("a", nullptr, 1);
        EXPECT_EQ(op.escrita().find("focado"), std::string::npos) << "made where the focused one was";
        EXPECT_NE(op.escrita().find("<periferico>PIN</periferico>"), std::string::npos);
        Pramo_Operacao_focaEm(op, nova);
        Pramo_Operacao_criaBotao(op, "b", "B");
        Pramo_Operacao_clear(op);
        EXPECT_EQ(op.escrita(), "<estilo>DialogoPadrao</estilo>");
    }
    EXPECT_STREQ(Pramo_Operacao_getTitulo(op), "Venda");
    EXPECT_STREQ(Pramo_Operacao_getRespostaDoPopup(op, "k"), "sim");
}

// ---- Writing ----

TEST(Operacao, gravaOsCamposMarcadosOsBotoesEOFoco) {
    const Operacao op;
    Pramo_Operacao_habilitaPeriferico(op, Pramo_Periferico_getTECLADO());
    Pramo_Variavel *a = op.cria("a", nullptr, 2);
    Pramo_Operacao_habilitaPeriferico(op, nullptr);
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
    // clang-format off
    const std::string campoA =
        "<campo nome=\"a\" estilo=\"CampoSenha\" tipo=\"id\" somenteLeitura=\"true\" requerValidacao=\"false\" titulo=\"\">"
        "<descricao>d&lt;</descricao><valor>0000 </valor><periferico>TECLADO</periferico>"
        "<opcao><chave>1</chave><texto>um</texto></opcao><opcao><chave>1</chave><texto>outro</texto></opcao></campo>";
    const std::string resto =
        "<campo nome=\"c\" estilo=\"CampoSenha\" tipo=\"qtde3\" somenteLeitura=\"false\" requerValidacao=\"true\">"
        "<valor>0.000</valor></campo><botao nomeDaOperacao=\"k\" titulo=\"K\" estilo=\"BotaoAbertura\"/><estilo>DialogoPadrao</estilo>";
    // clang-format on
    Pramo_Operacao_focaEm(op, b); // it is not marked
    EXPECT_EQ(op.escrita(), campoA + resto);
    Pramo_Operacao_focaEm(op, a);
    EXPECT_EQ(op.escrita(), campoA + "<focado>a</focado>" + resto) << "marks stay";
}

// ---- Loading ----

TEST(Operacao, carregaEmOrdemAteAFalha) {
    // clang-format off
    struct {
        bool estrita; // then a has options, b is not offered, and c is to be read only
        const char *campos;
        std::string excecao;
        const char *estado; // the values; * for those still marked
    } const casos[] = {
        {false, "<campo nome=\"c\">9</campo><campos nome=\"b\">9</campos><x:campo nome=\"a\">8</x:campo><campo nome=\"c\">7</campo>", "", "8 2* 7 "},
        {false, "<campo nome=\"a\">9</campo><campo nome=\"z%n\">8</campo><campo nome=\"c\">7</campo>",
         "YExcSoap: Não existe o campo \"z%n\"."_l1, "9 2* 3* "},
        {false, "<campo nome=\"a\"/><campo>9</campo>", "YExcSoap: Faltou atributo nome na tag campo.", "0 2* 3* "},
        {false, "<campo nome=\"a\">9</campo><campo nome=\"b\">x7</campo><campo nome=\"c\">9</campo>",
         "YExcSoap: Caractere inválido em número."_l1, "9 2* 3* "},
        // Strict loading takes all or nothing.
        {true, "<campo nome=\"a\">9</campo><campo nome=\"b\">8</campo>", "YExcSoap: campo: b. O campo \"b\" não foi oferecido."_l1, "1* 2 3* "},
        {true, "<campo nome=\"a\">9</campo><campo nome=\"c\">8</campo>", "YExcSoap: campo: c. O campo \"c\" é somente para leitura."_l1, "1* 2 3* "},
        {true, "<campo nome=\"a\" opcao=\"3\">8</campo>", "YExcSoap: campo: a. A opção escolhida não existe no campo \"a\"."_l1, "1* 2 3* "},
        {true, "<campo nome=\"a\">9</campo><campo/>", "YExcSoap: Faltou atributo nome na tag campo.", "1* 2 3* "},
        {true, "<campo nome=\"a\">9</campo><campo nome=\"a\">8</campo>", "YExcSoap: campo: a. O campo \"a\" veio duas vezes.", "1* 2 3* "},
        {true, "<campo nome=\"a\" opcao=\"2\">8</campo>", "", "8 2 3* "},
    };
    // clang-format on
    for (const auto &[estrita, campos, recusa, esperado] : casos) {
        const Operacao op;
        std::array<std::uint8_t, 3> memoria{1, 2, 3};
        std::array<Pramo_Variavel *, 3> abc = {op.cria("a", &memoria[0], 1), op.cria("b", &memoria[1], 1),
                                               op.cria("c", &memoria[2], 1)};
        if (estrita) {
            Pramo_Variavel_acrescentaOpcao(abc[0], "1", "um");
            Pramo_Variavel_acrescentaOpcao(abc[0], "2", "dois");
            Pramo_Variavel_desmarcaUsada(abc[1]);
            Pramo_Variavel_setSomenteLeitura(abc[2], 1);
            Pramo_Operacao_setCargaEstrita(op, 1);
        }
        EXPECT_EQ(op.carrega(campos), recusa) << campos;
        Pramo_Operacao_carregaDaRequisicao(op, nullptr);
        std::string estado;
        for (std::size_t i = 0; i < 3; i++) {
            estado += std::to_string(memoria[i]) + (Pramo_Variavel_foiUsada(abc[i]) != 0 ? "* " : " ");
        }
        EXPECT_EQ(estado, esperado) << campos;
    }
}

TEST(Operacao, perifericoEOpcaoFicamTambemDeUmValorRecusado) {
    const Operacao op;
    const Pramo_Variavel *a = op.cria("a", nullptr, 1);
    EXPECT_NE(op.carrega("<campo nome=\"a\" opcao=\"o\" periferico=\"PIN\">x</campo>"), "");
    EXPECT_STREQ(Pramo_Variavel_getOpcaoEscolhida(a), "o");
    EXPECT_EQ(Pramo_Variavel_getPerifericoUtilizado(a), Pramo_Periferico_getPIN());
}

// ---- Classes of the application ----

const Pramo_Tipo_Rtti tipoProprio = {
    {Pramo_Tipo_rtti, "TipoProprio", 0, nullptr, nullptr},
    [](Pramo_Tipo *, Pramo_Variavel *variavel, const YNo *) {
        *static_cast<char *>(variavel->endereco) = 'p';
    },
    [](Pramo_Tipo *, const Pramo_Variavel *, YNo *elemento) { YNo_setString(elemento, "valor", "meu"); }};

const Pramo_Operacao_Rtti operacaoPropria = {
    {Pramo_Operacao_rtti, "OperacaoPropria", 0, nullptr, nullptr},
    [](Pramo_Operacao *operacao) { Pramo_Operacao_guardaMensagem(operacao, "tratada"); }};

TEST(Operacao, classesDaAplicacaoPreenchemAsOperacoesQueFaltam) {
    const apoio::Diario diario;
    const auto tipo = pramo::cria<Pramo_Tipo>([] { return &tipoProprio.rtti; });
    const auto puro = pramo::cria<Pramo_Tipo>(Pramo_Tipo_rtti);
    const Operacao op = {pramo::cria<Pramo_Operacao>([] { return &operacaoPropria.rtti; })};
    char memoria = 0;
    for (Pramo_Tipo *usado : {tipo.get(), puro.get()}) {
        Pramo_Operacao_clear(op);
        op.cria("a", &memoria, 1, usado);
        EXPECT_EQ(op.carrega("<campo nome=\"a\">9</campo>"), "");
        EXPECT_EQ(memoria, 'p');
        op.cria("b", &memoria, 1, usado);
        EXPECT_EQ(op.escrita().find("<valor>meu</valor>") != std::string::npos, usado == tipo);
    }
    Pramo_Operacao_trataCampos(op);
    EXPECT_EQ(Pramo_Operacao_temMensagem(op, "tratada"), 1);
    Pramo_Operacao_trataCampos(Operacao());
    EXPECT_EQ(diario.quantos("Chamada de operação sem implementação."_l1), 3);
}

TEST(Operacao, cargaEstritaRecusadaDeixaTudoComoEra) {
    const Operacao op;
    Pramo_Operacao_setCargaEstrita(op, 1);
    const auto tipo = pramo::cria<Pramo_Tipo>([] { return &tipoProprio.rtti; });
    std::array<std::uint8_t, 6> memoria{1, 0x21, 0, 4, 5, 6};
    Pramo_Variavel *a = op.cria("a", &memoria[0], 1, Pramo_Tipo_getTipoBIN());
    Pramo_Variavel_acrescentaOpcao(a, "o", "O");
    op.cria("d", &memoria[1], 0, Pramo_Tipo_getTipoDATAC());
    op.cria("p", &memoria[3], 1, tipo);
    op.cria("q", &memoria[3], 2, Pramo_Tipo_getTipoAutorizacao()); // the same memory
    op.cria("c", &memoria[5], 1);
    const auto estado = [&] {
        const char *opcao = Pramo_Variavel_getOpcaoEscolhida(a);
        return op.escrita() + (opcao != nullptr ? opcao : "-") + std::to_string(a->caracteresAntesDaVirgula) +
               std::to_string(a->caracteresDepoisDaVirgula) + (a->perifericoUtilizado != nullptr ? "P" : "");
    };
    const auto antes = std::pair(memoria, estado());
    const std::string campos =
        "<campo nome=\"a\" periferico=\"PIN\" opcao=\"o\">1.2.3</campo><campo nome=\"d\">"
        "2024-03-05</campo><campo nome=\"p\"/><campo nome=\"q\">xy</campo><campo nome=\"c\">";
    EXPECT_EQ(op.carrega(campos + "x</campo>"), "YExcSoap: campo: c. Caractere inválido em número."_l1);
    EXPECT_EQ(std::pair(memoria, estado()), antes);
    EXPECT_EQ(op.carrega(campos + "7</campo>"), "") << "and can be corrected";
    EXPECT_EQ(memoria, (std::array<std::uint8_t, 6>{123, 0x65, 0x58, 'x', 'y', 7}));
    EXPECT_EQ(estado(), "<estilo>DialogoPadrao</estilo>o13P");
}

TEST(Periferico, seisComNomeECodigo) {
    constexpr std::pair<const char *, Pramo_Periferico *(*)()> PERIFERICOS[] = {
        {"TECLADO", Pramo_Periferico_getTECLADO},
        {"CMC7", Pramo_Periferico_getCMC7},
        {"MAGNETICO", Pramo_Periferico_getMAGNETICO},
        {"OPTICO", Pramo_Periferico_getOPTICO},
        {"PIN", Pramo_Periferico_getPIN},
        {"TOUCH", Pramo_Periferico_getTOUCH}};
    int codigo = 1;
    for (const auto &[nome, getter] : PERIFERICOS) {
        Pramo_Entidade_setNome(getter(), "outro");
        EXPECT_EQ(Pramo_Periferico_getPeriferico(nome), getter()) << nome;
        EXPECT_EQ(Pramo_Periferico_getCodigo(getter()), codigo) << nome;
        codigo *= 2;
    }
    for (const char *nome : {"", "PI", "PINO", "pin", static_cast<const char *>(nullptr)}) {
        EXPECT_EQ(Pramo_Periferico_getPeriferico(nome), nullptr);
    }
}

// ---- Waiting ----

bool dorme(pid_t thread) {
    std::ifstream arquivo("/proc/self/task/" + std::to_string(thread) + "/stat");
    const std::string linha{std::istreambuf_iterator<char>(arquivo), {}};
    return linha.find(") S ") != std::string::npos;
}

TEST(Operacao, umSinalAcordaTodosOsQueEsperam) {
    constexpr int VEZES = 20; // asleep so often in a row: not on the way to the wait any more
    const Operacao op;
    Pramo_Operacao_sinalizaCondicao(op);
    EXPECT_EQ(op.dona->sincronizacao, nullptr) << "a signal that nobody waits for";
    std::array<std::atomic<pid_t>, 8> esperando{};
    std::atomic<std::size_t> acordadas{0};
    std::vector<std::jthread> threads;
    for (auto &thread : esperando) {
        threads.emplace_back([&] {
            thread = gettid();
            Pramo_Operacao_esperaCondicao(op);
            acordadas++;
        });
    }
    int seguidas = 0;
    EXPECT_TRUE(acontece([&] {
        seguidas = std::ranges::all_of(esperando, dorme) ? seguidas + 1 : 0;
        return seguidas == VEZES;
    }));
    EXPECT_EQ(acordadas, 0U);
    Pramo_Operacao_sinalizaCondicao(op);
    EXPECT_TRUE(acontece([&] { return acordadas == esperando.size(); }));
    while (acordadas < esperando.size()) { // so that a failure is told, and not waited for
        Pramo_Operacao_sinalizaCondicao(op);
    }
}

} // namespace
