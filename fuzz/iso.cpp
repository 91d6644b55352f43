// ISO 8583 messages from any bytes: what was loaded, whole or cut short, is written and loaded again as it
// was; a text file read into a message is saved and read again as it was.
#include <3pramo/iso/YMensagemIso_interno.hpp>

#include <3pramo/3pramo.hpp>

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

using Mensagem = pramo::Ponteiro<YMensagemIso>;

Mensagem nova() {
    return pramo::cria<YMensagemIso>(YMensagemIso_rtti);
}

template <typename ESCREVE>
std::string escrito(const YMensagemIso *mensagem, ESCREVE escreve) {
    const auto stream = pramo::cria<YStream>(YStream_rtti);
    escreve(mensagem, stream.get());
    return {YStream_str(stream.get()), static_cast<std::size_t>(YStream_tam(stream.get()))};
}

void exige(bool condicao) {
    if (!condicao) {
        std::abort();
    }
}

/// The loadings stop inside the text; the zero-terminated one sees the same up to the first zero byte.
Mensagem carregada(const std::string &texto, bool ateZero) {
    auto mensagem = nova();
    const char *posicao = texto.c_str();
    try {
        if (ateZero) {
            YMensagemIso_carrega(mensagem.get(), &posicao);
        } else {
            YMensagemIso_carregaBloco(mensagem.get(), &posicao, texto.size());
        }
    } catch (const YExcecao &) {
        // What was read stays in the message.
    }
    exige(posicao >= texto.c_str() && posicao <= texto.c_str() + texto.size());
    return mensagem;
}

void pelaFormaDoFio(const std::string &texto) {
    const std::string limpo = texto.c_str();
    const Mensagem mensagem = carregada(limpo, true);
    exige(escrito(carregada(limpo, false).get(), YMensagemIso_salvaEmStream) ==
          escrito(mensagem.get(), YMensagemIso_salvaEmStream));
    for (const Mensagem &lida : {carregada(texto, true), carregada(texto, false)}) {
        const std::string fio = escrito(lida.get(), YMensagemIso_emiteEmStream);
        exige(escrito(carregada(fio, false).get(), YMensagemIso_emiteEmStream) == fio);
        escrito(lida.get(), YMensagemIso_dumpMascaradoEmStream);
        YMensagemIso_valida(lida.get(), nullptr, nullptr);
    }
}

Mensagem doTexto(std::string texto) {
    auto mensagem = nova();
    if (std::FILE *arquivo = texto.empty() ? nullptr : fmemopen(texto.data(), texto.size(), "r")) {
        pramo::iso::leTexto(*mensagem, arquivo);
        std::fclose(arquivo);
    }
    return mensagem;
}

/// Longer texts are cut in reading.
bool cabemNaLinha(const YMensagemIso *mensagem) {
    bool cabem = true;
    for (std::int32_t bit = 1; bit <= mensagem->capacidade; bit++) {
        cabem = cabem && YMensagemIso_getTamanhoBit(mensagem, bit) <= 2043;
    }
    return cabem;
}

void peloArquivo(const std::string &texto) {
    const Mensagem mensagem = doTexto(texto);
    const std::string salvo = escrito(mensagem.get(), YMensagemIso_salvaEmStream);
    exige(!cabemNaLinha(mensagem.get()) ||
          escrito(doTexto(salvo).get(), YMensagemIso_salvaEmStream) == salvo);
    escrito(mensagem.get(), YMensagemIso_emiteEmStream);
    YMensagemIso_valida(mensagem.get(), nullptr, nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t tamanho) {
    const std::string texto(reinterpret_cast<const char *>(bytes), tamanho);
    pelaFormaDoFio(texto);
    peloArquivo(texto);
    return 0;
}
