#include "programa.hpp"

#include "servidor.hpp"

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace apoio {

namespace {

constexpr int PRAZO = 20'000; // milliseconds

/// What comes up to the first line end.
std::string leLinha(int fd) {
    std::string linha;
    for (char c = 0; c != '\n'; linha += c) {
        pollfd chegada = {fd, POLLIN, 0};
        if (poll(&chegada, 1, PRAZO) != 1 || read(fd, &c, 1) != 1) {
            throw std::runtime_error("the program says nothing: " + linha);
        }
    }
    return linha;
}

pid_t inicia(const std::string &caminho, std::vector<std::string> &opcoes, int saida, int erros) {
    std::vector<char *> argumentos;
    for (std::string &opcao : opcoes) {
        argumentos.push_back(opcao.data());
    }
    argumentos.push_back(nullptr);
    posix_spawn_file_actions_t trocas;
    posix_spawn_file_actions_init(&trocas);
    posix_spawn_file_actions_adddup2(&trocas, saida, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&trocas, erros, STDERR_FILENO);
    pid_t pid = 0;
    const int erro = posix_spawn(&pid, caminho.c_str(), &trocas, nullptr, argumentos.data(), environ);
    posix_spawn_file_actions_destroy(&trocas);
    if (erro != 0) {
        throw std::runtime_error("cannot start " + caminho);
    }
    return pid;
}

} // namespace

Programa::Programa() : erros_(memfd_create("erros", MFD_CLOEXEC)) {}

// The object is complete before the program starts, so that a failure ends it.
Programa::Programa(const std::string &nome, std::vector<std::string> opcoes) : Programa() {
    int tubo[2];
    if (erros_ < 0 || pipe2(tubo, O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe2");
    }
    opcoes.insert(opcoes.begin(), {nome, "--porta", "0"});
    pid_ = inicia(PASTA_DOS_PROGRAMAS "/" + nome, opcoes, tubo[1], erros_);
    close(tubo[1]);
    const std::string linha = leLinha(tubo[0]);
    close(tubo[0]);
    porta_ = static_cast<std::uint32_t>(std::stoul(linha.substr(linha.rfind(':') + 1)));
}

Programa::~Programa() {
    if (pid_ != 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    close(erros_);
}

int Programa::termina() {
    kill(pid_, SIGTERM);
    int estado = 0;
    if (!acontece([&] { return waitpid(pid_, &estado, WNOHANG) == pid_; })) {
        throw std::runtime_error("the program does not end");
    }
    pid_ = 0;
    return WIFEXITED(estado) ? WEXITSTATUS(estado) : -1;
}

std::string Programa::erros() const {
    std::string texto(static_cast<std::size_t>(lseek(erros_, 0, SEEK_END)), 0);
    const ssize_t lidos = pread(erros_, texto.data(), texto.size(), 0);
    texto.resize(lidos > 0 ? static_cast<std::size_t>(lidos) : 0);
    return texto;
}

} // namespace apoio
