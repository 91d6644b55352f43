// What the examples in C++ read from their folder.
#pragma once

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

inline std::string leArquivo(const char *caminho) {
    std::ifstream arquivo(caminho, std::ios::binary);
    if (!arquivo) {
        throw std::runtime_error(std::string("falta o arquivo ") + caminho);
    }
    return {std::istreambuf_iterator<char>(arquivo), {}};
}
