// An example, run as a person runs it.
#pragma once

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace apoio {

/// A program that serves on a free port ("--porta 0") and says where ("pronto: ...:PORT/..."). It ends by
/// itself after half a minute, so that every wait for it is bounded.
class Programa {
public:
    explicit Programa(const std::string &nome, const char *opcao) {
        const std::string caminho =
            std::filesystem::read_symlink("/proc/self/exe").parent_path() / "../examples" / nome;
        int tubo[2] = {-1, -1};
        pid_ = pipe2(tubo, O_CLOEXEC) == 0 ? fork() : -1;
        if (pid_ == 0) {
            dup2(tubo[1], STDOUT_FILENO);
            dup2(tubo[1], STDERR_FILENO);
            alarm(30); // it stays in the program
            execl(caminho.c_str(), caminho.c_str(), "--porta", "0", opcao, nullptr);
            _exit(127);
        }
        close(tubo[1]);
        saida_ = tubo[0];
        while (escrito_.find("/soap/") == std::string::npos && leMais()) {
        }
    }
    ~Programa() {
        termina();
        close(saida_);
    }
    Programa(const Programa &) = delete;
    Programa &operator=(const Programa &) = delete;

    [[nodiscard]] std::uint32_t porta() const {
        const std::size_t depois = escrito_.rfind(':', escrito_.find("/soap/")) + 1;
        return static_cast<std::uint32_t>(std::stoul(escrito_.substr(depois)));
    }

    /// Asks it to end and waits for that; gives its exit status, or -1 when a signal ended it.
    int termina() {
        int estado = 0;
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            while (leMais()) {
            }
            waitpid(std::exchange(pid_, 0), &estado, 0);
        }
        return WIFEXITED(estado) ? WEXITSTATUS(estado) : -1;
    }

    /// What it has written until its end.
    [[nodiscard]] const std::string &erros() const { return escrito_; }

private:
    bool leMais() {
        char pedaco[4096];
        const ssize_t n = read(saida_, pedaco, sizeof pedaco);
        escrito_.append(pedaco, n > 0 ? static_cast<std::size_t>(n) : 0);
        return n > 0;
    }

    int saida_;
    pid_t pid_;
    std::string escrito_;
};

} // namespace apoio
