// The C++ exception that carries every exception of the library.
#ifndef Y3PRAMO_FOUNDATION_YEXCECAO_HPP
#define Y3PRAMO_FOUNDATION_YEXCECAO_HPP

#include <3pramo/foundation/YExc.h>

#include <exception>
#include <memory>
#include <string>

/// Catch it by reference; ask `ehDaClasse` for the class:
///
///     try { YNo_getInt(no, "a"); }
///     catch (const YExcecao &e) { if (!e.ehDaClasse(YExcSoap_rtti)) throw; ... }
class Y_EXPORTA YExcecao : public std::exception {
public:
    /// Copies the texts. `detalhe` goes in front of the message. Never raises: without memory for the copies
    /// the message is "Memória insuficiente." and the source "YExc".
    YExcecao(YFuncaoRtti qual, const char *detalhe, const char *mensagem, const char *arquivo, int linha);
    ~YExcecao() override;
    YExcecao(const YExcecao &) noexcept = default;
    YExcecao &operator=(const YExcecao &) noexcept = default;

    /// The message with the detail text in front, ISO-8859-1; lives as long as the exception.
    [[nodiscard]] const char *what() const noexcept override;
    [[nodiscard]] const YRtti *classe() const noexcept { return classe_(); }
    [[nodiscard]] const char *arquivo() const noexcept;
    [[nodiscard]] int linha() const noexcept { return linha_; }

    /// True when the exception's class is `qual` or derives from it.
    [[nodiscard]] bool ehDaClasse(YFuncaoRtti qual) const noexcept;

    /// "CLASS: MESSAGE (SOURCE:LINE)", ISO-8859-1. Raises YExcecao "Memória insuficiente.".
    [[nodiscard]] std::string descricao() const;

private:
    struct Textos {
        std::string mensagem;
        std::string arquivo;
    };

    YFuncaoRtti classe_;
    // Shared, so that copying an exception in flight cannot fail; null when there was no memory for them.
    std::shared_ptr<const Textos> textos_;
    int linha_;
};

#endif
