// Runs the tests; one that leaves blocks or objects of the library behind fails, and says which.
#include "servidor.hpp"

#include <gtest/gtest.h>

#include <sstream>

namespace {

void descreve(void *contexto, const char *classe, uint64_t tamanho, const char *arquivo, int linha) {
    *static_cast<std::ostringstream *>(contexto) << "\n  " << (classe != nullptr ? classe : "block") << ", "
                                                 << tamanho << " bytes, " << arquivo << ":" << linha;
}

class NadaFica : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo & /*teste*/) override { YMemoria_habilitaRelatorio(1); }

    void OnTestEnd(const testing::TestInfo & /*teste*/) override {
        // Threads that the test did not wait for may be about to free theirs.
        if (!apoio::acontece([] { return YMemoria_vivos() == 0; })) {
            std::ostringstream vivos;
            YMemoria_relatorio(descreve, &vivos);
            ADD_FAILURE() << "still alive:" << vivos.str();
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
