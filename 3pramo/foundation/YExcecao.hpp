// The C++ exception that carries every exception of the library.
#ifndef Y3PRAMO_FOUNDATION_YEXCECAO_HPP
#define Y3PRAMO_FOUNDATION_YEXCECAO_HPP

#include <3pramo/foundation/YExc.h>

#include <exception>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

/// Catch it by reference; ask `ehDaClasse` for the class:
///
///     try { YNo_getInt(no, "a"); }
///     catch (const YExcecao &e) { if (!e.ehDaClasse(YExcSoap_rtti)) throw; ... }
class Y_EXPORTA YExcecao : public std::exception {
public:
    /// Name and value.
    using Atributo = std::pair<std::string, std::string>;

    /// Copies the texts. `detalhe` goes in front of the message. Never raises: without memory for the copies
    /// the message is "Memória insuficiente." and the source "YExc".
    YExcecao(YFuncaoRtti qual, const char *detalhe, const char *mensagem, const char *arquivo, int linha);
    /// The same with attributes, which are gone with the texts when there is no memory.
    YExcecao(YFuncaoRtti qual, const char *detalhe, const char *mensagem, const char *arquivo, int linha,
             std::vector<Atributo> atributos);
    ~YExcecao() override;
    YExcecao(const YExcecao &) noexcept = default;
    YExcecao &operator=(const YExcecao &) noexcept = default;

    /// The message with the detail text in front, ISO-8859-1; lives as long as the exception.
    [[nodiscard]] const char *what() const noexcept override;
    /// The two apart; the detail text is "" when there is none, and raises YExcecao "Memória insuficiente.".
    [[nodiscard]] const char *mensagem() const noexcept;
    [[nodiscard]] std::string detalhe() const;
    [[nodiscard]] const YRtti *classe() const noexcept { return classe_(); }
    [[nodiscard]] const char *arquivo() const noexcept;
    [[nodiscard]] int linha() const noexcept { return linha_; }

    /// True when the exception's class is `qual` or derives from it.
    [[nodiscard]] bool ehDaClasse(YFuncaoRtti qual) const noexcept;

    /// The attribute's value, null when the exception has none of this name; and all of them. They live as
    /// long as the exception.
    [[nodiscard]] const char *atributo(const char *nome) const noexcept;
    [[nodiscard]] std::span<const Atributo> atributos() const noexcept;

    /// "CLASS: MESSAGE (SOURCE:LINE)", ISO-8859-1. Raises YExcecao "Memória insuficiente.".
    [[nodiscard]] std::string descricao() const;

private:
    struct Textos;

    YFuncaoRtti classe_;
    // Shared, so that copying an exception in flight cannot fail; null when there was no memory for them.
    std::shared_ptr<const Textos> textos_;
    int linha_;
};

#endif
