// Runs the tests; one that leaves blocks or objects of the library behind fails, and says which.
#include "servidor.hpp"

namespace {

class NadaFica : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo & /*teste*/) override { YMemoria_habilitaRelatorio(1); }

    void OnTestEnd(const testing::TestInfo & /*teste*/) override {
        // Threads that the test did not wait for may be about to free theirs.
        if (!apoio::acontece([] { return YMemoria_vivos() == 0; })) {
            const auto falha = [](void *, const char *classe, uint64_t tamanho, const char *fonte,
                                  int linha) {
                ADD_FAILURE_AT(fonte, linha)
                    << (classe != nullptr ? classe : "block") << " of " << tamanho << " bytes is still alive";
            };
            YMemoria_relatorio(falha, nullptr);
        }
        YMemoria_habilitaRelatorio(0);
    }
};

} // namespace

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new NadaFica);
    return RUN_ALL_TESTS();
}
