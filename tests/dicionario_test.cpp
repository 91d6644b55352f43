// The dictionary of texts: order, letter case, replacement and lines.
#include "apoio/teste.hpp"

namespace {

using Pares = std::vector<std::pair<std::string, std::string>>;

struct Dicionario : testing::Test {
    Pares pares() {
        Pares todos;
        for (YDIC_IT it = YDIC_inicio(d); it != YDIC_fim(d); YDIC_IT_anda(&it)) {
            todos.emplace_back(YDIC_IT_getChave(it), YDIC_IT_getValor(it));
        }
        return todos;
    }

    Ponteiro<YDIC> dono{YDIC_constroi()};
    YDIC *d = dono.get();
};

TEST_F(Dicionario, textosDoProprioDicionario) {
    const std::string longo(5000, 'x');
    YDIC_guarda(d, "a", longo.c_str());
    YDIC_guarda(d, "a", YDIC_recupera(d, "a") + 1);
    YDIC_guarda(d, YDIC_recupera(d, "a"), YDIC_IT_getChave(YDIC_inicio(d))); // key and value both its own
    EXPECT_EQ(pares(), (Pares{{"a", longo.substr(1)}, {longo.substr(1), "a"}}));
}

TEST_F(Dicionario, trataLinha) {
    const auto tratada = [this](const std::string &linha) {
        YDIC_clear(d);
        const bool guardou = YDIC_trata_linha(d, linha.c_str(), ':') == 1;
        return guardou ? pares().at(0).first + "|" + pares().at(0).second : std::to_string(pares().size());
    };
    confere(tratada, {{" \tHost\t : a:80 \t", "Host|a:80"}, {"nbsp:\xA0x\xA0", "nbsp|\xA0x\xA0"}});
    confere(tratada,
            {{"brancos: \t ", "brancos|"}, {": sem nome", "|sem nome"}, {"", "0"}, {"sem separador", "0"}});
}

TEST_F(Dicionario, chavesQueUmaOpcaoNovaIgualaFicamSeparadas) {
    for (int i = 0; i < 20; i++) {
        YDIC_guarda(d, std::to_string(i).c_str(), "");
    }
    YDIC_guarda(d, "k", "primeira");
    YDIC_guarda(d, "K", "segunda");
    YDIC_muda_opcoes(d, YDIC_SEM_CAIXA);
    EXPECT_STREQ(YDIC_recupera(d, "K"), "primeira"); // searched through, then by the index again
    YDIC_guarda(d, "nova", "");
    EXPECT_STREQ(YDIC_recupera(d, "K"), "primeira");
    YDIC_remove(d, "k");
    EXPECT_STREQ(YDIC_recupera(d, "k"), "segunda");
}

// Random operations against a plain list of pairs. Without letter case only
// ASCII letters are the same: \xC7 and \xE7 are the two cases of an accented one, @ and ` differ in the same
// bit.
TEST_F(Dicionario, concordaComOModelo) {
    std::mt19937 acaso(20240607);
    for (const int opcoes : {0, YDIC_SEM_CAIXA}) {
        const auto compara = opcoes == 0 ? strcmp : strcasecmp;
        YDIC_clear(d);
        YDIC_muda_opcoes(d, opcoes);
        Pares modelo;
        for (unsigned passo = 0; passo < 20000; passo++) {
            std::string chave(acaso() % 2 * 100, 'k');
            for (auto n = acaso() % 4; n-- > 0;) {
                chave += "aAbB\xC7\xE7@`[{"[acaso() % 10];
            }
            const auto igual = [&](const auto &par) {
                return compara(par.first.c_str(), chave.c_str()) == 0;
            };
            const auto no = std::ranges::find_if(modelo, igual);
            const char *valor = YDIC_recupera(d, chave.c_str());
            ASSERT_EQ(valor != nullptr ? valor : "-", no != modelo.end() ? no->second : "-") << passo;
            if (acaso() % 100 < 55) {
                const std::string novo(acaso() % 40, 'v');
                ASSERT_EQ(YDIC_guarda(d, chave.c_str(), novo.c_str()), no == modelo.end());
                (no != modelo.end() ? *no : modelo.emplace_back(chave, "")).second = novo;
            } else {
                YDIC_remove(d, chave.c_str());
                modelo.erase(no, no == modelo.end() ? no : no + 1);
            }
            ASSERT_TRUE(passo % 16 != 0 || pares() == modelo) << passo;
        }
    }
}

} // namespace
