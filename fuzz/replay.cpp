// Feeds every file of the folders and files given to a fuzzing target, without a fuzzing engine.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t tamanho);

namespace {

namespace fs = std::filesystem;

// The name goes out first: when the target crashes, it is the last line.
bool alimenta(const fs::path &caminho) {
    std::ifstream arquivo(caminho, std::ios::binary);
    const std::vector<char> conteudo{std::istreambuf_iterator<char>(arquivo), {}};
    if (!arquivo.is_open()) {
        std::fprintf(stderr, "cannot read %s\n", caminho.c_str());
        return false;
    }
    std::fprintf(stderr, "%s\n", caminho.c_str());
    const std::vector<std::uint8_t> bytes(conteudo.begin(), conteudo.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    return true;
}

} // namespace

int main(int argc, char **argv) {
    std::size_t lidos = 0;
    for (int i = 1; i < argc; i++) {
        std::vector<fs::path> caminhos{argv[i]};
        if (fs::is_directory(argv[i])) {
            caminhos.assign(fs::directory_iterator(argv[i]), {});
        }
        for (const fs::path &caminho : caminhos) {
            if (!alimenta(caminho)) {
                return 1;
            }
            lidos++;
        }
    }
    std::printf("%zu inputs\n", lidos);
    return lidos == 0 ? 1 : 0;
}
