// An example, run as a person runs it.
#ifndef TESTES_APOIO_PROGRAMA_HPP
#define TESTES_APOIO_PROGRAMA_HPP

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace apoio {

/// A program that serves on a free port ("--porta 0") and says on its first line where ("...:PORT/...").
/// Every wait is bounded: what does not come in time throws.
class Programa {
public:
    explicit Programa(const std::string &nome, std::vector<std::string> opcoes = {});
    ~Programa();
    Programa(const Programa &) = delete;
    Programa &operator=(const Programa &) = delete;

    [[nodiscard]] std::uint32_t porta() const { return porta_; }

    /// Asks it to end and waits for that; gives its exit status, or -1 when a signal ended it.
    int termina();

    /// What it has written to its standard error.
    [[nodiscard]] std::string erros() const;

private:
    Programa();

    int erros_; // a file without a name
    pid_t pid_ = 0;
    std::uint32_t porta_ = 0;
};

} // namespace apoio

#endif
