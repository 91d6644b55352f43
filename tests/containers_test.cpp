// Lists, sets and maps of pointers, and the retainer.
#include "apoio/servidor.hpp"

#include <3pramo/3pramo.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <vector>

using namespace pramo::literais;
using pramo::cria;
using pramo::Ponteiro;

namespace {

/// An object that tells of its end.
struct Elemento : YOb {
    const std::function<void(Elemento *)> *aoMorrer;
    int numero;
};

const YRtti ELEMENTO = {YOb_rtti, "Elemento", sizeof(Elemento), nullptr, [](void *objeto) {
                            auto *elemento = static_cast<Elemento *>(objeto);
                            (*elemento->aoMorrer)(elemento);
                        }};

std::string chaveDe(const Elemento *elemento) {
    return "e" + std::to_string(elemento->numero);
}

/// What the three kinds of container that free their elements have in common.
struct Especie {
    const char *nome;
    YFuncaoRtti classe;
    void (*poe)(void *recipiente, Elemento *elemento);
    void (*tira)(void *recipiente, Elemento *elemento);
};

// clang-format off
const Especie ESPECIES[] = {
    {"Vetor", YVetorQueDestroi_rtti, [](void *r, Elemento *e) { YVetor_poe(static_cast<YVetor *>(r), e); },
     [](void *r, Elemento *e) { YVetor_remove(static_cast<YVetor *>(r), e); }},
    {"Set", YSetQueDestroi_rtti, [](void *r, Elemento *e) { YSet_poe(static_cast<YSet *>(r), e); },
     [](void *r, Elemento *e) { YSet_remove(static_cast<YSet *>(r), e); }},
    {"Mapa", YMapaQueDestroi_rtti, [](void *r, Elemento *e) { YMapa_guarda(static_cast<YMapa *>(r), chaveDe(e).c_str(), e); },
     [](void *r, Elemento *e) { YMapa_retira(static_cast<YMapa *>(r), chaveDe(e).c_str()); }},
};
// clang-format on

class MapaQueDestroi : public testing::Test {
protected:
    Elemento *novo(int numero) {
        Elemento *elemento = cria<Elemento>([] { return &ELEMENTO; }).release();
        elemento->aoMorrer = &aoMorrer;
        elemento->numero = numero;
        return elemento;
    }

    std::vector<int> mortos;
    std::function<void(Elemento *)> aoMorrer = [this](Elemento *e) { mortos.push_back(e->numero); };
};

class QueDestroi : public MapaQueDestroi, public testing::WithParamInterface<Especie> {
protected:
    QueDestroi() {
        for (int i = 0; i < 20; i++) {
            elementos.push_back(novo(i));
            GetParam().poe(recipiente.get(), elementos.back());
        }
    }
    void morreram(std::size_t quantos) {
        EXPECT_EQ(mortos.size(), quantos);
        EXPECT_EQ(std::set<int>(mortos.begin(), mortos.end()).size(), quantos);
    }

    std::vector<Elemento *> elementos;
    Ponteiro<YOb> recipiente = cria<YOb>(GetParam().classe);
};

TEST_P(QueDestroi, liberaCadaElementoUmaVez) {
    GetParam().tira(recipiente.get(), elementos[3]);
    const Ponteiro<Elemento> meu(elementos[3]);
    recipiente.reset();
    morreram(19);
    EXPECT_EQ(std::count(mortos.begin(), mortos.end(), 3), 0);
    if (GetParam().classe == YVetorQueDestroi_rtti) {
        EXPECT_TRUE(std::is_sorted(mortos.rbegin(), mortos.rend())); // the last one first
    }
}

TEST_P(QueDestroi, destrutorPodeMexerNoRecipiente) {
    YOb *r = recipiente.release();
    Elemento *dependente = elementos[7];
    aoMorrer = [&](Elemento *e) {
        mortos.push_back(e->numero);
        GetParam().tira(r, e);
        Elemento *outro = std::exchange(dependente, nullptr);
        if (e != outro && outro != nullptr) { // whoever dies first takes another one along
            GetParam().tira(r, outro);
            YliberaObjeto(outro);
        }
    };
    YliberaObjeto(r);
    morreram(20);
}

TEST_P(QueDestroi, excecaoDeUmDestrutorNaoDeixaOsOutros) {
    std::string primeira;
    aoMorrer = [&](Elemento *e) {
        mortos.push_back(e->numero);
        if (e->numero % 6 == 1) {
            primeira = primeira.empty() ? chaveDe(e) : primeira;
            YContextoTry_throw(YExcIOError_rtti, chaveDe(e).c_str(), "containers_test", __LINE__);
        }
    };
    try {
        YliberaObjeto(recipiente.release());
        ADD_FAILURE() << "the exception was lost";
    } catch (const YExcecao &e) {
        EXPECT_EQ(e.what(), primeira);
    }
    morreram(20);
}

INSTANTIATE_TEST_SUITE_P(, QueDestroi, testing::ValuesIn(ESPECIES),
                         [](const auto &caso) { return std::string(caso.param.nome); });

TEST_F(MapaQueDestroi, destroiOValorSubstituido) {
    const auto mapa = cria<YMapa>(YMapaQueDestroi_rtti);
    YMapa_guarda(mapa.get(), "k", novo(1));
    const Ponteiro<Elemento> segundo(novo(2));
    for (int vez = 0; vez < 2; vez++) { // the same pointer lives on
        EXPECT_EQ(YMapa_guarda(mapa.get(), "k", segundo.get()), 0);
    }
    EXPECT_EQ(YMapa_retira(mapa.get(), "k"), segundo.get());
    const auto alheio = cria<YMapa>(YMapa_rtti);
    YMapa_guarda(alheio.get(), "k", segundo.get());
    YMapa_guarda(alheio.get(), "k", nullptr);
    EXPECT_EQ(mortos, std::vector{1});
}

/// Pointers to nowhere in particular, for containers that leave their elements alone.
void *ponteiro(std::uintptr_t numero) {
    return reinterpret_cast<void *>(numero * 8);
}

TEST(Vetor, removeAPrimeiraOcorrenciaEConservaAOrdem) {
    const auto vetor = cria<YVetor>(YVetor_rtti);
    YVetor *v = vetor.get();
    EXPECT_EQ(YVetor_inicio(v), YVetor_fim(v));
    std::vector<void *> modelo;
    for (std::uintptr_t i = 0; i < 100; i++) {
        YVetor_poe(v, ponteiro(i % 40)); // null is an element like any other
        modelo.push_back(ponteiro(i % 40));
    }
    for (const std::uintptr_t i : {0U, 39U, 5U, 5U, 5U, 5U, 41U, 19U}) {
        const auto achado = std::find(modelo.begin(), modelo.end(), ponteiro(i));
        EXPECT_EQ(YVetor_remove(v, ponteiro(i)), achado != modelo.end()) << i;
        modelo.erase(achado, achado + (achado != modelo.end() ? 1 : 0));
        EXPECT_EQ(std::vector<void *>(YVetor_inicio(v), YVetor_fim(v)), modelo) << i;
    }
}

class Set : public testing::Test {
protected:
    Ponteiro<YSet> dono = cria<YSet>(YSet_rtti);
    YSet *s = dono.get();
};

TEST_F(Set, passeioQueRemoveVeCadaElementoUmaVez) {
    for (std::uintptr_t passo = 1; passo <= 5; passo++) { // removes every element, every second one, ...
        YSet_clear(s);
        for (std::uintptr_t i = 0; i < 30; i++) {
            YSet_poe(s, ponteiro(i));
        }
        std::vector<void *> vistos;
        for (YSetIt it = YSet_inicio(s); it != YSet_fim(s);) {
            vistos.push_back(*it);
            vistos.size() % passo == 0 ? static_cast<void>(YSet_remove(s, *it)) : YSetIt_anda(&it);
        }
        EXPECT_EQ(vistos.size(), 30U) << passo;
        EXPECT_EQ(std::set<void *>(vistos.begin(), vistos.end()).size(), 30U) << passo;
        EXPECT_EQ(YSet_tam(s), 30 - 30 / passo) << passo;
    }
}

TEST_F(Set, concordaComOModelo) {
    std::mt19937 acaso(42);
    std::set<void *> modelo;
    for (int passo = 0; passo < 20000; passo++) {
        void *p = ponteiro(acaso() % 300);
        ASSERT_EQ(YSet_tem(s, p) != 0, modelo.contains(p)) << passo;
        if (acaso() % 2 != 0) {
            YSet_poe(s, p);
            modelo.insert(p);
        } else {
            ASSERT_EQ(YSet_remove(s, p) != 0, modelo.erase(p) != 0) << passo;
        }
        if (acaso() % 5000 == 0) {
            YSet_clear(s);
            modelo.clear();
        }
        ASSERT_EQ(YSet_tam(s), modelo.size()) << passo;
        ASSERT_TRUE(passo % 64 != 0 || std::set<void *>(YSet_inicio(s), YSet_fim(s)) == modelo) << passo;
    }
    const auto uniao = cria<YSet>(YSet_rtti);
    YSet_poe(uniao.get(), ponteiro(5));
    YSet_poe(uniao.get(), ponteiro(999));
    YSet_poeTudo(uniao.get(), s);
    YSet_poeTudo(uniao.get(), uniao.get());
    modelo.insert({ponteiro(5), ponteiro(999)});
    EXPECT_EQ(std::set<void *>(YSet_inicio(uniao.get()), YSet_fim(uniao.get())), modelo);
}

TEST(Mapa, chavesSaoComparadasPeloConteudoECopiadas) {
    const auto mapa = cria<YMapa>(YMapa_rtti);
    YMapa *m = mapa.get();
    char chave[] = "a";
    EXPECT_EQ(YMapa_guarda(m, chave, ponteiro(1)), 1);
    chave[0] = 'b';
    EXPECT_EQ(YMapa_guarda(m, chave, nullptr), 1);
    EXPECT_EQ(YMapa_guarda(m, "a", ponteiro(3)), 0);
    EXPECT_EQ(YMapa_guarda(m, nullptr, ponteiro(4)), 0);
    const YMapaIt entrada = YMapa_busca(m, "b"); // a null value is there, unlike an unknown key
    ASSERT_NE(entrada, nullptr);
    EXPECT_EQ(YMapaIt_getValor(entrada), nullptr);
    for (const char *desconhecida : {"", "A", "ab", static_cast<const char *>(nullptr)}) {
        EXPECT_EQ(YMapa_busca(m, desconhecida), nullptr);
        EXPECT_EQ(YMapa_retira(m, desconhecida), nullptr);
    }
    EXPECT_EQ(YMapa_retira(m, "a"), ponteiro(3));
    EXPECT_EQ(YMapa_recupera(m, "a"), nullptr);
}

const YRetentor_Rtti RETENTOR = {{YRetentor_rtti, "Retentor", 0, nullptr, nullptr},
                                 [](YRetentor *retentor, void *grupo, uint32_t a, void *p, uint32_t b) {
                                     return grupo == nullptr && p == retentor ? int32_t(10 * a + b) : 0;
                                 }};

TEST(Retentor, passaORequisitoAClasseDoObjeto) {
    const auto retentor = cria<YRetentor>([] { return &RETENTOR.rtti; });
    EXPECT_EQ(YRetentor_requisita0(retentor.get(), nullptr, 4, retentor.get(), 5), 45);
    const auto semOperacao = cria<YRetentor>(YRetentor_rtti);
    const apoio::Diario diario;
    EXPECT_EQ(YRetentor_requisita0(semOperacao.get(), nullptr, 4, nullptr, 5), 0);
    EXPECT_EQ(diario.quantos("Chamada de operação sem implementação."_l1), 1);
}

} // namespace
