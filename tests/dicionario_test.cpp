// The dictionary of texts: order, letter case, replacement, lines, and many keys.
#include <3pramo/3pramo.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

using Pares = std::vector<std::pair<std::string, std::string>>;

class Dicionario : public testing::Test {
protected:
    Pares pares() {
        Pares todos;
        for (YDIC_IT it = YDIC_inicio(d); it != YDIC_fim(d); YDIC_IT_anda(&it)) {
            todos.emplace_back(YDIC_IT_getChave(it), YDIC_IT_getValor(it));
        }
        return todos;
    }

    pramo::Ponteiro<YDIC> dono{YDIC_constroi()};
    YDIC *d = dono.get();
};

std::string minusculas(std::string texto) {
    std::transform(texto.begin(), texto.end(), texto.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return texto;
}

TEST_F(Dicionario, guardaNaOrdemDaPrimeiraVez) {
    EXPECT_EQ(YDIC_guarda(d, "b", "1"), 1);
    EXPECT_EQ(YDIC_guarda(d, "", "vazia"), 1);
    EXPECT_EQ(YDIC_guarda(d, "a", "2"), 1);
    EXPECT_EQ(YDIC_guarda(d, "b", "outro"), 0);
    EXPECT_EQ(YDIC_guarda(d, nullptr, "v"), 0);
    EXPECT_EQ(YDIC_guarda(d, "k", nullptr), 0);
    EXPECT_EQ(YDIC_recupera(d, nullptr), nullptr);
    YDIC_remove(d, nullptr);
    YDIC_destroi(nullptr);
    EXPECT_EQ(pares(), (Pares{{"b", "outro"}, {"", "vazia"}, {"a", "2"}}));
}

TEST_F(Dicionario, semCaixaIgualaSoLetrasAscii) {
    YDIC_muda_opcoes(d, YDIC_SEM_CAIXA);
    YDIC_guarda(d, "Content-Type", "a");
    EXPECT_EQ(YDIC_guarda(d, "CONTENT-tYPE", "b"), 0);
    EXPECT_EQ(pares(), (Pares{{"Content-Type", "b"}})); // the key keeps its letters
    // \xE7 and \xC7 are the two cases of an accented letter; @ and ` differ in the same bit.
    for (const char *outra : {"[", "{", "@", "`", "\xE7", "\xC7"}) {
        EXPECT_EQ(YDIC_guarda(d, outra, "x"), 1) << outra;
    }
    YDIC_muda_opcoes(d, 0);
    EXPECT_EQ(YDIC_recupera(d, "content-type"), nullptr);
}

TEST_F(Dicionario, valorPodeSerTextoDoProprioDicionario) {
    YDIC_guarda(d, "a", "abcdef");
    YDIC_guarda(d, "a", YDIC_recupera(d, "a") + 2);
    EXPECT_STREQ(YDIC_recupera(d, "a"), "cdef");
    const std::string longo(5000, 'x');
    YDIC_guarda(d, "longo", longo.c_str());
    YDIC_guarda(d, "a", YDIC_recupera(d, "longo") + 1);
    EXPECT_EQ(YDIC_recupera(d, "a"), longo.substr(1));
    YDIC_guarda(d, YDIC_recupera(d, "a"), YDIC_IT_getChave(YDIC_inicio(d))); // key and value both its own
    EXPECT_STREQ(YDIC_recupera(d, longo.c_str() + 1), "a");
    YDIC_guarda(d, "linha", "linha: valor bem mais longo");
    EXPECT_EQ(YDIC_trata_linha(d, YDIC_recupera(d, "linha"), ':'), 1);
    EXPECT_STREQ(YDIC_recupera(d, "linha"), "valor bem mais longo");
}

TEST_F(Dicionario, trataLinha) {
    struct Caso {
        const char *linha;
        char separador;
        Pares pares;
    };
    // clang-format off
    const Caso casos[] = {
        {" \tHost\t : a:80 \t", ':', {{"Host", "a:80"}}}, {"vazio:", ':', {{"vazio", ""}}}, {"brancos: \t ", ':', {{"brancos", ""}}},
        {": sem nome", ':', {{"", "sem nome"}}}, {"a b=c d", '=', {{"a b", "c d"}}}, {"nbsp:\xA0x\xA0", ':', {{"nbsp", "\xA0x\xA0"}}},
        {"", ':', {}}, {"sem separador", ':', {}}, {"o fim da linha nada separa", '\0', {}},
    };
    // clang-format on
    for (const Caso &caso : casos) {
        YDIC_clear(d);
        EXPECT_EQ(YDIC_trata_linha(d, caso.linha, caso.separador), caso.pares.empty() ? 0 : 1) << caso.linha;
        EXPECT_EQ(pares(), caso.pares) << caso.linha;
    }
}

TEST_F(Dicionario, vinteMilChavesParecidas) {
    const std::string prefixo(100, 'k');
    const auto chave = [&](int i) { return prefixo + std::to_string(i); };
    for (int i = 0; i < 20000; i++) {
        ASSERT_EQ(YDIC_guarda(d, chave(i).c_str(), std::to_string(i).c_str()), 1);
    }
    for (int i = 0; i < 20000; i += 2) {
        YDIC_remove(d, chave(i).c_str());
    }
    for (int i = 0; i < 20000; i++) {
        const char *valor = YDIC_recupera(d, chave(i).c_str());
        ASSERT_EQ(valor == nullptr, i % 2 == 0) << i;
        ASSERT_TRUE(valor == nullptr || valor == std::to_string(i)) << i;
    }
    EXPECT_EQ(pares().size(), 10000U);
    EXPECT_EQ(pares().back().second, "19999");
}

TEST_F(Dicionario, chavesQueUmaOpcaoNovaIgualaFicamSeparadas) {
    for (int i = 0; i < 20; i++) {
        YDIC_guarda(d, std::to_string(i).c_str(), "");
    }
    YDIC_guarda(d, "k", "primeira");
    YDIC_guarda(d, "K", "segunda");
    YDIC_muda_opcoes(d, YDIC_SEM_CAIXA);
    for (const char *chave : {"a mudança", "a nova chave"}) { // searched through, then by the index again
        EXPECT_STREQ(YDIC_recupera(d, "K"), "primeira");
        YDIC_guarda(d, chave, "");
    }
    YDIC_remove(d, "k");
    EXPECT_STREQ(YDIC_recupera(d, "k"), "segunda");
    YDIC_remove(d, "k");
    EXPECT_EQ(YDIC_recupera(d, "K"), nullptr);
}

/// Random operations against a plain list of pairs that is searched through.
class DicionarioAoAcaso : public Dicionario, public testing::WithParamInterface<int> {};

TEST_P(DicionarioAoAcaso, concordaComOModelo) {
    const bool semCaixa = GetParam() == YDIC_SEM_CAIXA;
    YDIC_muda_opcoes(d, GetParam());
    std::mt19937 acaso(20240607);
    const auto sorteia = [&](unsigned ate) { return static_cast<unsigned>(acaso() % ate); };
    Pares modelo;
    for (int passo = 0; passo < 20000; passo++) {
        std::string chave;
        for (unsigned n = sorteia(4); n-- > 0;) {
            chave += "aAbB\xC7\xE7"[sorteia(6)];
        }
        const auto no = std::find_if(modelo.begin(), modelo.end(), [&](const auto &par) {
            return semCaixa ? minusculas(par.first) == minusculas(chave) : par.first == chave;
        });
        const char *valor = YDIC_recupera(d, chave.c_str());
        ASSERT_EQ(valor == nullptr, no == modelo.end()) << passo;
        const unsigned acao = sorteia(100);
        if (acao < 55) {
            const std::string novo(sorteia(40), static_cast<char>('a' + sorteia(26)));
            ASSERT_EQ(YDIC_guarda(d, chave.c_str(), novo.c_str()), no == modelo.end());
            no != modelo.end() ? no->second = novo : modelo.emplace_back(chave, novo).second;
        } else if (acao < 98) {
            YDIC_remove(d, chave.c_str());
            if (no != modelo.end()) {
                modelo.erase(no);
            }
        } else if (acao == 99 && sorteia(20) == 0) {
            YDIC_clear(d);
            modelo.clear();
        }
        if (passo % 16 == 0) {
            ASSERT_EQ(pares(), modelo) << passo;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, DicionarioAoAcaso, testing::Values(0, YDIC_SEM_CAIXA));

} // namespace
