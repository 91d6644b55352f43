// Reading a SOAP message of 500 items into a tree and destroying it, and writing such a tree: this library's
// parser and nodes beside tinyxml2 and pugixml. Every reading starts from bytes that it must not change, as a
// server receives them; every writing goes into a buffer that keeps its memory.
#include "mensagem_de_itens.hpp"

#include <3pramo/3pramo.hpp>

#include <benchmark/benchmark.h>
#include <cstdint>
#include <iterator>
#include <malloc.h>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <tinyxml2.h>

namespace {

// Each library: a tree that reads itself from text and counts its items, and a buffer that it writes itself
// into.

class Nossa {
public:
    struct Saida {
        pramo::Ponteiro<YStream> stream = pramo::cria<YStream>(YStream_rtti);
    };

    void le(std::string_view texto) {
        const auto entrada = pramo::cria<YStream>(YStream_rtti);
        YStream_putBloco(entrada, texto.data(), static_cast<std::int64_t>(texto.size()));
        const auto parser = pramo::cria<YSoapParser>(YSoapParser_rtti);
        YNo *raiz = nullptr;
        YSoapParser_leNo(parser, &raiz, entrada);
        raiz_.reset(raiz);
    }

    std::string_view grava(Saida &saida) const {
        YStream_clear(saida.stream);
        YNo_gravaEm(raiz_, saida.stream);
        return {YStream_str(saida.stream), static_cast<std::size_t>(YStream_tam(saida.stream))};
    }

    int itens() const {
        const auto *const filhos = YNo_getFilhos(YNo_procuraDescendente(raiz_, "Body/cadastra"));
        return filhos == nullptr ? 0 : static_cast<int>(YVetor_tam(filhos));
    }

private:
    pramo::Ponteiro<YNo> raiz_;
};

class Tinyxml2 {
public:
    struct Saida : tinyxml2::XMLPrinter {
        Saida() : XMLPrinter(nullptr, true) {}
    };

    void le(std::string_view texto) { documento_.Parse(texto.data(), texto.size()); }

    std::string_view grava(Saida &saida) const {
        saida.ClearBuffer();
        documento_.Print(&saida);
        return {saida.CStr(), static_cast<std::size_t>(saida.CStrSize() - 1)};
    }

    int itens() const {
        const auto *item =
            documento_.RootElement()->FirstChildElement()->FirstChildElement()->FirstChildElement();
        int quantos = 0;
        for (; item != nullptr; item = item->NextSiblingElement()) {
            quantos++;
        }
        return quantos;
    }

private:
    tinyxml2::XMLDocument documento_;
};

class Pugixml {
public:
    struct Saida : pugi::xml_writer {
        std::string texto;
        void write(const void *bytes, std::size_t quantos) override {
            texto.append(static_cast<const char *>(bytes), quantos);
        }
    };

    void le(std::string_view texto) { documento_.load_buffer(texto.data(), texto.size()); }

    std::string_view grava(Saida &saida) const {
        saida.texto.clear();
        documento_.save(saida, "", pugi::format_raw | pugi::format_no_declaration);
        return saida.texto;
    }

    int itens() const {
        const auto itens = documento_.first_child().first_child().first_child().children();
        return static_cast<int>(std::distance(itens.begin(), itens.end()));
    }

private:
    pugi::xml_document documento_;
};

template <typename ARVORE>
void le(benchmark::State &estado) {
    const auto texto = bench::mensagemRecebida();
    for (auto _ : estado) {
        ARVORE arvore;
        arvore.le(texto);
        benchmark::DoNotOptimize(arvore);
    }
    ARVORE arvore;
    arvore.le(texto);
    if (arvore.itens() != bench::QUANTOS_ITENS) {
        estado.SkipWithError("the tree does not hold all items");
    }
    estado.SetBytesProcessed(estado.iterations() * static_cast<std::int64_t>(texto.size()));
}

template <typename ARVORE>
void grava(benchmark::State &estado) {
    const auto texto = bench::mensagemSemPrefixos();
    ARVORE arvore;
    arvore.le(texto);
    typename ARVORE::Saida saida;
    for (auto _ : estado) {
        benchmark::DoNotOptimize(arvore.grava(saida));
    }
    if (arvore.grava(saida) != texto) {
        estado.SkipWithError("what was written differs from what was read");
    }
    estado.SetBytesProcessed(estado.iterations() * static_cast<std::int64_t>(texto.size()));
}

BENCHMARK_TEMPLATE(le, Nossa)->Name("le/3pramo");
BENCHMARK_TEMPLATE(le, Tinyxml2)->Name("le/tinyxml2");
BENCHMARK_TEMPLATE(le, Pugixml)->Name("le/pugixml");
BENCHMARK_TEMPLATE(grava, Nossa)->Name("grava/3pramo");
BENCHMARK_TEMPLATE(grava, Tinyxml2)->Name("grava/tinyxml2");
BENCHMARK_TEMPLATE(grava, Pugixml)->Name("grava/pugixml");

} // namespace

int main(int argc, char **argv) {
    // Freed memory stays with the process, as in a server under load: otherwise a library whose tree ends at
    // the heap's top pays page faults anew in every round, and the comparison turns on that alone.
    mallopt(M_TRIM_THRESHOLD, 64 << 20);
    mallopt(M_MMAP_THRESHOLD, 64 << 20);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
}
