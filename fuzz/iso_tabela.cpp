// A table from any text, and messages from any bytes by the tables of each form: what is loaded is written as
// it was read. The first byte chooses the table; for one from the input, a zero byte ends its text.
#include "../tests/apoio/arvore.hpp"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace {

using Tabela = pramo::Ponteiro<YTabelaIso>;

// Null when the text has errors, of which each has a line and a reason then.
Tabela tabelaDe(std::string_view texto) {
    int erros = 0;
    const auto conta = [](void *contexto, int32_t linha, const char *motivo) {
        assert(linha > 0 &&
               std::all_of(motivo, motivo + std::strlen(motivo), [](char c) { return c < 0 || c >= ' '; }));
        ++*static_cast<int *>(contexto);
    };
    Tabela tabela;
    apoio::excecao([&] { tabela.reset(YTabelaIso_leTexto(texto.data(), texto.size(), conta, &erros)); });
    assert((tabela == nullptr) == (erros != 0));
    return tabela;
}

constexpr std::string_view FORMAS[] = {
    "", "codigo bcd\nbitmap binario\ntamanhos bcd\nn bcd\nz bcd direita=F\nb binario\n55 b...255\n",
    "codigo ebcdic\nbitmap ebcdic\ntamanhos binario\nn ebcdic\nb binario\noutros ebcdic\n36 z...104 bcd\n"};

void vaiEVolta(const YTabelaIso *tabela, std::string_view bytes) {
    const auto mensagem = pramo::cria<YMensagemIso>(YMensagemIso_rtti);
    const char *posicao = bytes.data();
    const std::string queixa =
        apoio::excecao([&] { YMensagemIso_carregaCom(mensagem, tabela, &posicao, bytes.size()); });
    const auto lidos = static_cast<std::size_t>(posicao - bytes.data());
    assert(lidos <= bytes.size());
    const std::string fio = apoio::escrito(
        mensagem.get(), [&](auto *m, YStream *saida) { YMensagemIso_emiteCom(m, tabela, saida); });
    assert(!queixa.empty() || fio == bytes.substr(0, lidos));
    YMensagemIso_validaCom(mensagem, tabela, nullptr, nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *dados, std::size_t tamanho) {
    const std::string_view tudo(reinterpret_cast<const char *>(dados), tamanho);
    if (tudo.empty()) {
        return 0;
    }
    const std::string_view resto = tudo.substr(1);
    if (const auto forma = static_cast<std::size_t>(dados[0] - '0'); forma < std::size(FORMAS)) {
        const Tabela tabela = tabelaDe(FORMAS[forma]);
        vaiEVolta(tabela, resto);
    } else {
        const std::size_t fim = std::min(resto.find('\0'), resto.size());
        const Tabela tabela = tabelaDe(resto.substr(0, fim));
        if (tabela != nullptr) {
            vaiEVolta(tabela, resto.substr(std::min(fim + 1, resto.size())));
        }
    }
    return 0;
}
