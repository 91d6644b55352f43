// Feeds every file of the folder given to a fuzzing target, without a fuzzing engine.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t tamanho);

int main(int argc, char **argv) {
    int lidos = 0;
    for (const auto &caminho : std::filesystem::directory_iterator(argc > 1 ? argv[1] : ".")) {
        std::fprintf(stderr, "%s\n", caminho.path().c_str()); // when the target crashes, it is the last line
        std::ifstream arquivo(caminho.path(), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(arquivo), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
        lidos++;
    }
    return lidos == 0 ? 1 : 0;
}
