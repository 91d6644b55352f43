// An example, run as a person runs it.
#pragma once

#include "cliente.hpp"

namespace apoio {

/// A program that serves on a free port ("--porta 0") of this process's address and says where
/// ("...:PORT/soap/..."). It is ended after half a minute, so that every wait for it is bounded.
class Programa {
public:
    explicit Programa(const std::string &nome, const std::string &opcao) {
        const std::string pasta =
            std::filesystem::read_symlink("/proc/self/exe").parent_path() / "../examples/";
        const std::string onde = " --porta 0 --endereco " + std::string(inet_ntoa(enderecoProprio())) + " ";
        saida_ = popen(("echo $$; exec timeout 30 " + pasta + nome + onde + opcao + " 2>&1").c_str(), "re");
        while (escrito_.find("/soap/") == std::string::npos && leLinha()) {
        }
    }

    [[nodiscard]] std::uint32_t porta() const {
        const std::size_t depois = escrito_.rfind(':', escrito_.find("/soap/")) + 1;
        return static_cast<std::uint32_t>(std::stoul(escrito_.substr(depois)));
    }

    /// Asks it to end and waits for that; gives its status as wait does.
    int termina() {
        kill(std::stoi(escrito_), SIGTERM); // its first line is the shell's, which became the program
        while (leLinha()) {
        }
        return pclose(saida_);
    }

    /// What it has written until its end.
    [[nodiscard]] const std::string &erros() const { return escrito_; }

private:
    bool leLinha() {
        char linha[4096];
        const bool leu = std::fgets(linha, sizeof linha, saida_) != nullptr;
        escrito_ += leu ? linha : "";
        return leu;
    }

    std::FILE *saida_;
    std::string escrito_;
};

} // namespace apoio
