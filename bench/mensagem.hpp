// Where an HTTP message ends: head, blank line, Content-Length bytes. Lines may end in LF or CR LF.
#pragma once

#include <charconv>
#include <cstddef>
#include <optional>
#include <string_view>
#include <strings.h>

namespace bench {

// Length of the head with its blank line; nothing while it is incomplete.
inline std::optional<std::size_t> fimDoCabecalho(std::string_view texto) {
    for (auto lf = texto.find('\n'); lf != std::string_view::npos; lf = texto.find('\n', lf + 1)) {
        const auto resto = texto.substr(lf + 1);
        if (resto.starts_with('\n')) {
            return lf + 2;
        }
        if (resto.starts_with("\r\n")) {
            return lf + 3;
        }
    }
    return std::nullopt;
}

// The Content-Length of a complete head; nothing when there is none that can be read.
inline std::optional<std::size_t> tamanhoDoCorpo(std::string_view cabecalho) {
    constexpr std::string_view NOME = "Content-Length:";
    for (auto lf = cabecalho.find('\n'); lf != std::string_view::npos; lf = cabecalho.find('\n', lf + 1)) {
        auto linha = cabecalho.substr(lf + 1);
        if (linha.size() < NOME.size() || strncasecmp(linha.data(), NOME.data(), NOME.size()) != 0) {
            continue;
        }
        linha.remove_prefix(NOME.size());
        while (linha.starts_with(' ')) {
            linha.remove_prefix(1);
        }
        std::size_t tamanho = 0;
        if (std::from_chars(linha.data(), linha.data() + linha.size(), tamanho).ec == std::errc{}) {
            return tamanho;
        }
    }
    return std::nullopt;
}

} // namespace bench
