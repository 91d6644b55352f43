// Classes of the object system that are written as classes of C++.
#include "apoio/teste.hpp"

using namespace apoio;

namespace {

std::string ordem;

// A class of C, whose constructor and destructor see what a derived one left in its fields.
struct Base : YOb {
    int64_t campo;
};
const YRtti BASE = {YOb_rtti, "Base", sizeof(Base),
                    [](void *objeto) {
                        ordem += 'B';
                        static_cast<Base *>(objeto)->campo = 1;
                    },
                    [](void *objeto) { ordem += 'b' + std::to_string(static_cast<Base *>(objeto)->campo); }};
const YRtti *base() {
    return &BASE;
}

struct Membro {
    Membro() { ordem += 'M'; }
    ~Membro() { ordem += 'm'; }
    std::string texto = std::string(100, 'x');
};

struct Simples : pramo::Objeto<Simples, Base, base> {
    std::string texto;
    int zero; // without a constructor of its own all of it is zeroed
};

class Composta : public pramo::Objeto<Composta, Base, base> {
public:
    Composta() {
        EXPECT_EQ(YOb::rtti, rtti()) << "the base is whole already";
        EXPECT_EQ(campo++, 1);
        simples_ = cria<Simples>(); // others are made and go meanwhile
        ordem += 'C';
        if (falha) {
            throw std::runtime_error("não");
        }
    }
    ~Composta() {
        simples_.reset();
        campo++;
        ordem += 'c';
    }
    static inline bool falha = false;
    static constexpr const char *NOME = "Outro nome";

private:
    Ponteiro<Simples> simples_;
    Membro membro_;
};

TEST(ObjetoCpp, construtorEDestrutorRodamEntreOsDaBase) {
    EXPECT_STREQ(Simples::rtti()->name, "Simples");
    EXPECT_STREQ(Composta::rtti()->name, "Outro nome");
    EXPECT_EQ(cria<Simples>()->zero, 0);
    for (const auto &[falha, esperada] : {std::pair(false, "BMBCb1cmb3"), {true, "BMBCmb1b2"}}) {
        Composta::falha = falha;
        ordem.clear();
        try {
            cria<Composta>();
            EXPECT_FALSE(falha);
        } catch (const std::runtime_error &) {
            EXPECT_TRUE(falha);
        }
        // A member goes where it stands, the other object with its own base.
        EXPECT_EQ(ordem, esperada);
    }
    EXPECT_THROW(Simples(), YExcecao) << "made by nobody but the object system";
}

struct Fio : pramo::Objeto<Fio, YObThread> {
    void run() {
        while (YObThread_dorme(this, 600'000) != 0) {
        }
        ordem = fim; // whole until it has ended
    }
    std::string fim = "o fim de um texto longo, que não cabe no lugar dos curtos";
};

struct Retentor : pramo::Objeto<Retentor, YRetentor> {
    std::string texto = "três";
    static void poeSlots(YRetentor_Rtti &tabela) {
        tabela.requisita0 = [](YRetentor *eu, void *, uint32_t a, void *, uint32_t) {
            return static_cast<int32_t>(static_cast<Retentor *>(eu)->texto.size() + a);
        };
    }
};

struct Tipo : pramo::Objeto<Tipo, Pramo_Tipo> {
    std::string nome = "cpf";
    static void poeSlots(Pramo_Tipo_Rtti &tabela) {
        tabela.gravaEmYNo = [](Pramo_Tipo *eu, const Pramo_Variavel *, YNo *elemento) {
            YNo_setNome(elemento, static_cast<Tipo *>(eu)->nome.c_str());
        };
    }
};

TEST(ObjetoCpp, osSlotsSaoOsDaBaseEOsDaClasse) {
    const auto retentor = cria<Retentor>();
    EXPECT_EQ(YRetentor_requisita0(retentor, nullptr, 2, nullptr, 0), 7);
    const auto elemento = cria<YNo>(YNo_rtti);
    Pramo_Tipo_gravaEmYNo(cria<Tipo>().get(), nullptr, elemento);
    EXPECT_STREQ(YNo_getNome(elemento), "cpf");
    auto fio = cria<Fio>();
    YObThread_start(fio);
    fio.reset(); // the end stops it first
    EXPECT_EQ(ordem, "o fim de um texto longo, que não cabe no lugar dos curtos");
}

} // namespace
