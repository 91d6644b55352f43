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
    YFuncaoRtti classe;
    void (*poe)(void *recipiente, Elemento *elemento);
    void (*tira)(void *recipiente, Elemento *elemento);
};

const Especie ESPECIES[] = {
    {YVetorQueDestroi_rtti, [](void *r, Elemento *e) { YVetor_poe(static_cast<YVetor *>(r), e); },
     [](void *r, Elemento *e) { YVetor_remove(static_cast<YVetor *>(r), e); }},
    {YSetQueDestroi_rtti, [](void *r, Elemento *e) { YSet_poe(static_cast<YSet *>(r), e); },
     [](void *r, Elemento *e) { YSet_remove(static_cast<YSet *>(r), e); }},
    {YMapaQueDestroi_rtti,
     [](void *r, Elemento *e) { YMapa_guarda(static_cast<YMapa *>(r), chaveDe(e).c_str(), e); },
     [](void *r, Elemento *e) { YMapa_retira(static_cast<YMapa *>(r), chaveDe(e).c_str()); }},
};

Elemento *novo(int numero, const std::function<void(Elemento *)> &aoMorrer) {
    Elemento *elemento = cria<Elemento>([] { return &ELEMENTO; }).release();
    elemento->aoMorrer = &aoMorrer;
    elemento->numero = numero;
    return elemento;
}

TEST(QueDestroi, liberaCadaElementoUmaVezFacaOQueFizer) {
    for (const Especie &especie : ESPECIES) {
        YOb *r = cria<YOb>(especie.classe).release();
        std::vector<Elemento *> elementos;
        std::vector<int> mortos;
        std::string primeira;
        const std::function<void(Elemento *)> aoMorrer = [&](Elemento *e) {
            mortos.push_back(e->numero);
            especie.tira(r, e);
            Elemento *outro = std::exchange(elementos[8], nullptr);
            if (e != outro && outro != nullptr) { // whoever dies first takes another one along
                especie.tira(r, outro);
                YliberaObjeto(outro);
            }
            if (e->numero % 6 == 1) {
                primeira = primeira.empty() ? chaveDe(e) : primeira;
                YContextoTry_throw(YExcIOError_rtti, chaveDe(e).c_str(), "containers_test", __LINE__);
            }
        };
        for (int i = 0; i < 20; i++) {
            elementos.push_back(novo(i, aoMorrer));
            especie.poe(r, elementos.back());
        }
        especie.tira(r, elementos[3]);
        EXPECT_TRUE(mortos.empty());
        especie.poe(r, elementos[3]);
        try {
            YliberaObjeto(r);
            ADD_FAILURE() << "the exception was lost";
        } catch (const YExcecao &e) {
            EXPECT_EQ(e.what(), primeira);
        }
        EXPECT_EQ(mortos.size(), 20U);
        EXPECT_EQ(std::set<int>(mortos.begin(), mortos.end()).size(), 20U);
        EXPECT_TRUE(especie.classe != YVetorQueDestroi_rtti || mortos[2] == 19) << "the last one first";
    }
}

TEST(QueDestroi, mapaDestroiOValorSubstituido) {
    std::vector<int> mortos;
    const std::function<void(Elemento *)> aoMorrer = [&](Elemento *e) { mortos.push_back(e->numero); };
    const auto mapa = cria<YMapa>(YMapaQueDestroi_rtti);
    YMapa_guarda(mapa, "k", novo(1, aoMorrer));
    const Ponteiro<Elemento> segundo(novo(2, aoMorrer));
    YMapa_guarda(mapa.get(), "k", segundo.get());
    YMapa_guarda(mapa.get(), "k", segundo.get()); // the same pointer lives on
    EXPECT_EQ(YMapa_retira(mapa.get(), "k"), segundo.get());
    EXPECT_EQ(mortos, std::vector{1});
}

/// Pointers to nowhere in particular, for containers that leave their elements alone.
void *ponteiro(std::uintptr_t numero) {
    return reinterpret_cast<void *>(numero * 8);
}

TEST(Vetor, removeAPrimeiraOcorrenciaEConservaAOrdem) {
    const auto vetor = cria<YVetor>(YVetor_rtti);
    std::vector<void *> modelo;
    for (std::uintptr_t i = 0; i < 100; i++) {
        modelo.push_back(ponteiro(i % 40)); // null is an element like any other
        YVetor_poe(vetor, modelo.back());
    }
    for (const std::uintptr_t i : {0U, 39U, 5U, 5U, 19U}) {
        EXPECT_EQ(YVetor_remove(vetor, ponteiro(i)), 1) << i;
        modelo.erase(std::find(modelo.begin(), modelo.end(), ponteiro(i)));
        EXPECT_EQ(std::vector<void *>(YVetor_inicio(vetor), YVetor_fim(vetor)), modelo) << i;
    }
    EXPECT_EQ(YVetor_remove(vetor, ponteiro(41)), 0);
}

TEST(Set, passeioQueRemoveVeCadaElementoUmaVez) {
    const auto s = cria<YSet>(YSet_rtti);
    for (const std::size_t passo : {1U, 2U, 5U}) { // removes every element, every second one, ...
        YSet_clear(s);
        std::multiset<void *> vistos;
        std::multiset<void *> postos;
        for (std::uintptr_t i = 0; i < 30; i++) {
            YSet_poe(s, *postos.insert(ponteiro(i)));
        }
        for (YSetIt it = YSet_inicio(s); it != YSet_fim(s);) {
            vistos.insert(*it);
            vistos.size() % passo == 0 ? static_cast<void>(YSet_remove(s, *it)) : YSetIt_anda(&it);
        }
        EXPECT_EQ(vistos, postos) << passo;
    }
}

TEST(Set, concordaComOModelo) {
    const auto dono = cria<YSet>(YSet_rtti);
    YSet *s = dono.get();
    std::mt19937 acaso(42);
    std::set<void *> modelo;
    for (int passo = 0; passo < 20000; passo++) {
        void *p = ponteiro(acaso() % 300);
        if (acaso() % 2 != 0) {
            YSet_poe(s, p);
            modelo.insert(p);
        } else {
            ASSERT_EQ(YSet_remove(s, p) != 0, modelo.erase(p) != 0) << passo;
        }
        ASSERT_EQ(YSet_tam(s), modelo.size()) << passo;
        ASSERT_TRUE(passo % 64 != 0 || std::set<void *>(YSet_inicio(s), YSet_fim(s)) == modelo) << passo;
    }
    const auto uniao = cria<YSet>(YSet_rtti);
    YSet_poe(uniao, *modelo.insert(ponteiro(999)).first);
    YSet_poeTudo(uniao, s);
    YSet_poeTudo(uniao, uniao);
    EXPECT_EQ(std::set<void *>(YSet_inicio(uniao), YSet_fim(uniao)), modelo);
}

TEST(Mapa, chavesSaoComparadasPeloConteudoECopiadas) {
    const auto mapa = cria<YMapa>(YMapa_rtti);
    YMapa *m = mapa.get();
    for (const std::string &chave : {std::string("a"), std::string("b")}) {
        EXPECT_EQ(YMapa_guarda(m, chave.c_str(), nullptr), 1);
    }
    EXPECT_EQ(YMapa_guarda(m, "a", ponteiro(3)), 0);
    EXPECT_EQ(YMapa_guarda(m, nullptr, ponteiro(4)), 0);
    EXPECT_NE(YMapa_busca(m, "b"), nullptr) << "a null value is there, unlike an unknown key";
    for (const char *desconhecida : {"", "A", static_cast<const char *>(nullptr)}) {
        EXPECT_EQ(YMapa_busca(m, desconhecida), nullptr);
    }
    EXPECT_EQ(YMapa_retira(m, "a"), ponteiro(3));
    EXPECT_EQ(YMapa_retira(m, "a"), nullptr);
}

TEST(Retentor, semOperacaoDaZeroERegistra) {
    const auto retentor = cria<YRetentor>(YRetentor_rtti);
    const apoio::Diario diario;
    EXPECT_EQ(YRetentor_requisita0(retentor, nullptr, 4, nullptr, 5), 0);
    EXPECT_EQ(diario.quantos("Chamada de operação sem implementação."_l1), 1);
}

} // namespace
