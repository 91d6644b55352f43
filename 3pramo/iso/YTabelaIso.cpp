// The class: a table begins as the built-in one in characters and is filled from its text, once.
#include <3pramo/iso/YTabelaIso_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/cria.hpp>

#include <cstdio>
#include <memory>
#include <string>

using namespace pramo;
using namespace pramo::iso;

namespace {

// Zeros are fixed elements in characters; the rest comes from the built-in records.
void constroiTabela(void *objeto) {
    auto &tabela = *static_cast<YTabelaIso *>(objeto);
    for (int i = 0; i < Y_ISO_ELEMENTOS; i++) {
        const auto &[formato, rotulo] = elementosIso[i];
        ElementoDaTabela &elemento = tabela.elementos[i];
        elemento.rotulo = rotulo;
        elemento.maximo = Y_ISO_CARACTERES(formato);
        elemento.classes = static_cast<std::uint8_t>(formato & Y_ISO_CLASSES);
        elemento.digitos = static_cast<std::uint8_t>(Y_ISO_DIGITOS(formato));
    }
}

void destroiTabela(void *objeto) {
    for (char *nome : static_cast<YTabelaIso *>(objeto)->nomes) {
        YliberaMemoria(nome);
    }
}

// One byte more than a table may have, when the file is longer.
std::string leArquivo(const char *caminho) {
    struct Fecha {
        void operator()(std::FILE *arquivo) const { std::fclose(arquivo); }
    };
    const std::unique_ptr<std::FILE, Fecha> arquivo(std::fopen(caminho, "re"));
    std::string texto(Y_ISO_MAIOR_TABELA + 1, 0);
    const std::size_t lidos =
        arquivo != nullptr ? std::fread(texto.data(), 1, texto.size(), arquivo.get()) : 0;
    if (arquivo == nullptr || std::ferror(arquivo.get()) != 0) {
        YContextoTry_printf("nome: %s. ", caminho);
        lanca(YExcIOError_rtti, "Falha na leitura do arquivo.", FONTE_TABELA);
    }
    texto.resize(lidos);
    return texto;
}

} // namespace

const YRtti YTabelaIso_definicaoRtti = {YOb_rtti, "YTabelaIso", sizeof(YTabelaIso), constroiTabela,
                                        destroiTabela};

const YRtti *YTabelaIso_rtti(void) {
    return &YTabelaIso_definicaoRtti;
}

YTabelaIso *YTabelaIso_leTexto(const char *texto, uint64_t tamanho, YFuncaoErroTabelaIso funcao,
                               void *contexto) {
    if (tamanho > Y_ISO_MAIOR_TABELA) {
        lanca(YExc_rtti, "Tabela ISO 8583 grande demais.", FONTE_TABELA);
    }
    auto tabela = cria<YTabelaIso>(YTabelaIso_rtti, FONTE_TABELA);
    semFaltaDeMemoria(FONTE_TABELA, [&] { leTabela(*tabela, {texto, tamanho}, funcao, contexto); });
    return tabela.release();
}

YTabelaIso *YTabelaIso_leArquivo(const char *caminho, YFuncaoErroTabelaIso funcao, void *contexto) {
    const std::string texto = semFaltaDeMemoria(FONTE_TABELA, [&] { return leArquivo(caminho); });
    return YTabelaIso_leTexto(texto.data(), texto.size(), funcao, contexto);
}
