// Lists, sets and maps of pointers.
#include "apoio/teste.hpp"

namespace {

/// An object that tells of its end.
struct Elemento : YOb {
    int numero;
};

std::function<void(Elemento *)> aoMorrer;

const YRtti ELEMENTO = {YOb_rtti, "Elemento", sizeof(Elemento), nullptr,
                        [](void *objeto) { aoMorrer(static_cast<Elemento *>(objeto)); }};

Elemento *novo(int numero) {
    Elemento *elemento = cria<Elemento>([] { return &ELEMENTO; }).release();
    elemento->numero = numero;
    return elemento;
}

std::string chaveDe(const Elemento *elemento) {
    return std::to_string(elemento->numero);
}

/// The same of the three kinds of container that free their elements.
template <typename RECIPIENTE, typename POE, typename TIRA>
void liberaCadaUmUmaVez(YFuncaoRtti classe, POE poe, TIRA tira) {
    RECIPIENTE *r = cria<RECIPIENTE>(classe).release();
    std::vector<Elemento *> elementos;
    std::vector<int> mortos;
    std::string primeira;
    aoMorrer = [&](Elemento *e) {
        mortos.push_back(e->numero);
        tira(r, e);
        Elemento *outro = std::exchange(elementos[8], nullptr);
        if (e != outro && outro != nullptr) { // whoever dies first takes another one along
            tira(r, outro);
            YliberaObjeto(outro);
        }
        if (e->numero % 6 == 1) {
            primeira = primeira.empty() ? chaveDe(e) : primeira;
            YContextoTry_throw(YExcIOError_rtti, chaveDe(e).c_str(), "containers_test", 1);
        }
    };
    for (int i = 0; i < 20; i++) {
        poe(r, elementos.emplace_back(novo(i)));
    }
    const std::string recusa = excecao([r] { YliberaObjeto(r); });
    EXPECT_EQ(recusa, "YExcIOError: " + primeira);
    EXPECT_TRUE(classe != YVetorQueDestroi_rtti || mortos[0] == 19) << "the last one first";
    EXPECT_EQ(mortos.size() + std::set<int>(mortos.begin(), mortos.end()).size(), 20U + 20U);
}

TEST(QueDestroi, liberaCadaElementoUmaVezFacaOQueFizer) {
    liberaCadaUmUmaVez<YVetor>(YVetorQueDestroi_rtti, YVetor_poe, YVetor_remove);
    liberaCadaUmUmaVez<YSet>(YSetQueDestroi_rtti, YSet_poe, YSet_remove);
    liberaCadaUmUmaVez<YMapa>(
        YMapaQueDestroi_rtti, [](YMapa *m, Elemento *e) { YMapa_guarda(m, chaveDe(e).c_str(), e); },
        [](YMapa *m, Elemento *e) { YMapa_retira(m, chaveDe(e).c_str()); });
}

TEST(QueDestroi, mapaDestroiOValorSubstituido) {
    int morto = 0;
    aoMorrer = [&](const Elemento *e) { morto = 10 * morto + e->numero; };
    const auto mapa = cria<YMapa>(YMapaQueDestroi_rtti);
    YMapa_guarda(mapa, "k", novo(1));
    Elemento *segundo = novo(2);
    YMapa_guarda(mapa, "k", segundo);
    YMapa_guarda(mapa, "k", segundo); // the same pointer lives on
    EXPECT_EQ(YMapa_retira(mapa, "k"), segundo);
    EXPECT_EQ(morto, 1);
    YliberaObjeto(segundo);
}

/// Pointers to nowhere in particular, for containers that leave their elements alone.
void *ponteiro(std::uintptr_t numero) {
    return reinterpret_cast<void *>(numero * 8);
}

TEST(Vetor, removeAPrimeiraOcorrenciaEConservaAOrdem) {
    const auto vetor = cria<YVetor>(YVetor_rtti);
    for (const std::uintptr_t i : {0U, 1U, 2U, 0U, 1U}) { // null is an element like any other
        YVetor_poe(vetor, ponteiro(i));
    }
    const int vezes = YVetor_remove(vetor, nullptr) + YVetor_remove(vetor, ponteiro(1));
    EXPECT_EQ(vezes + YVetor_remove(vetor, ponteiro(3)), 2);
    EXPECT_EQ(std::vector<void *>(YVetor_inicio(vetor), YVetor_fim(vetor)),
              (std::vector<void *>{ponteiro(2), nullptr, ponteiro(1)}));
}

TEST(Set, concordaComOModelo) {
    const auto s = cria<YSet>(YSet_rtti);
    const auto todos = [](YSet *set) { return std::multiset<void *>(YSet_inicio(set), YSet_fim(set)); };
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
    }
    EXPECT_EQ(todos(s), std::multiset<void *>(modelo.begin(), modelo.end()));
    const auto uniao = cria<YSet>(YSet_rtti);
    for (const std::size_t passo : {1U, 2U, 5U}) { // a walk that removes every element, every second one, ...
        YSet_clear(uniao);
        YSet_poe(uniao, ponteiro(999));
        YSet_poeTudo(uniao, s);
        YSet_poeTudo(uniao, uniao);
        const auto postos = todos(uniao);
        std::multiset<void *> vistos;
        for (YSetIt it = YSet_inicio(uniao); it != YSet_fim(uniao);) {
            vistos.insert(*it);
            vistos.size() % passo == 0 ? static_cast<void>(YSet_remove(uniao, *it)) : YSetIt_anda(&it);
        }
        EXPECT_TRUE(vistos == postos && postos.size() == modelo.size() + 1) << passo;
    }
}

TEST(Mapa, chavesSaoComparadasPeloConteudoECopiadas) {
    const auto m = cria<YMapa>(YMapa_rtti);
    std::string chave = "a";
    EXPECT_EQ(YMapa_guarda(m, chave.c_str(), nullptr), 1);
    chave = "c"; // the map has its own
    EXPECT_NE(YMapa_busca(m, "a"), nullptr) << "a null value is there, unlike an unknown key";
    EXPECT_EQ(YMapa_guarda(m, "a", ponteiro(3)), 0);
    EXPECT_EQ(YMapa_retira(m, "a"), ponteiro(3));
    for (const char *desconhecida : {"", "a", "A", "c"}) {
        EXPECT_TRUE(YMapa_busca(m, desconhecida) == nullptr && YMapa_retira(m, desconhecida) == nullptr);
    }
}

} // namespace
