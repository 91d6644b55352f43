// What every test stands on: the library and the framework, trees and texts, and parts of a test that need a
// process or memory of their own.
#pragma once

#include "arvore.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <csignal>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <mutex>
#include <numeric>
#include <optional>
#include <random>
#include <regex>
#include <set>
#include <span>
#include <sstream>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace apoio {

using namespace pramo::literais;
using pramo::cria;
using pramo::Ponteiro;
using namespace std::literals;

using Casos = std::vector<std::pair<std::string, std::string>>;

/// The function gives for each input what stands beside it.
template <typename FUNCAO>
void confere(FUNCAO funcao, const Casos &casos) {
    for (const auto &[entrada, esperado] : casos) {
        EXPECT_EQ(funcao(entrada), esperado) << entrada;
    }
}

/// All that a file holds.
inline std::string conteudoDe(const std::string &caminho) {
    return (std::ostringstream() << std::ifstream(caminho).rdbuf()).str();
}

/// Runs the function in a child of this process; true when it gives true within twenty seconds.
template <typename FUNCAO>
bool noFilho(FUNCAO funcao) {
    const pid_t pid = fork();
    if (pid == 0) {
        alarm(20);
        _exit(funcao() ? 0 : 1);
    }
    int estado = -1;
    while (pid > 0 && waitpid(pid, &estado, 0) < 0 && errno == EINTR) {
    }
    return estado == 0;
}

/// Memory that ends where a page begins that may not be touched: an access beyond it ends the test at once.
/// It stays until the process ends.
inline std::span<std::uint8_t> beiraDaPagina() {
    const auto tamanho = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void *inicio = mmap(nullptr, 2 * tamanho, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    const std::span<std::uint8_t> paginas(static_cast<std::uint8_t *>(inicio), 2 * tamanho);
    if (inicio == MAP_FAILED || mprotect(&paginas[tamanho], tamanho, PROT_NONE) != 0) {
        throw std::runtime_error("no page of its own");
    }
    return paginas.first(tamanho);
}

} // namespace apoio

using namespace apoio; // for the tests, which all begin with this header or one that stands on it
