// ISO 8583 messages from any bytes: what was loaded, whole or cut short, is written and loaded again as it
// was; a text file read into a message is saved and read again as it was.
#include "../tests/apoio/arvore.hpp"

#include <3pramo/iso/YMensagemIso_interno.hpp>

#include <cstdint>
#include <cstdlib>

namespace {

using Mensagem = pramo::Ponteiro<YMensagemIso>;

void exige(bool condicao) {
    if (!condicao) {
        std::abort();
    }
}

/// The loadings stop inside the text; the zero-terminated one sees the same up to the first zero byte.
Mensagem carregada(const std::string &texto, bool ateZero) {
    auto mensagem = pramo::cria<YMensagemIso>(YMensagemIso_rtti);
    const char *posicao = texto.c_str();
    apoio::excecao([&] { // what was read stays in the message
        ateZero ? YMensagemIso_carrega(mensagem, &posicao)
                : YMensagemIso_carregaBloco(mensagem, &posicao, texto.size());
    });
    exige(posicao >= texto.c_str() && posicao <= texto.c_str() + texto.size());
    return mensagem;
}

void pelaFormaDoFio(const std::string &texto) {
    const std::string limpo = texto.c_str();
    exige(apoio::escrito(carregada(limpo, false).get(), YMensagemIso_salvaEmStream) ==
          apoio::escrito(carregada(limpo, true).get(), YMensagemIso_salvaEmStream));
    for (const Mensagem &lida : {carregada(texto, true), carregada(texto, false)}) {
        const std::string fio = apoio::escrito(lida.get(), YMensagemIso_emiteEmStream);
        exige(apoio::escrito(carregada(fio, false).get(), YMensagemIso_emiteEmStream) == fio);
        apoio::escrito(lida.get(), YMensagemIso_dumpMascaradoEmStream);
        YMensagemIso_valida(lida, nullptr, nullptr);
    }
}

Mensagem doTexto(std::string texto) {
    auto mensagem = pramo::cria<YMensagemIso>(YMensagemIso_rtti);
    if (std::FILE *arquivo = texto.empty() ? nullptr : fmemopen(texto.data(), texto.size(), "r")) {
        pramo::iso::leTexto(*mensagem, arquivo);
        std::fclose(arquivo);
    }
    return mensagem;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t tamanho) {
    const std::string texto(reinterpret_cast<const char *>(bytes), tamanho);
    pelaFormaDoFio(texto);
    const Mensagem mensagem = doTexto(texto);
    bool cabem = true; // longer texts are cut in reading
    for (std::int32_t bit = 1; bit <= mensagem->capacidade; bit++) {
        cabem = cabem && YMensagemIso_getTamanhoBit(mensagem, bit) <= 2043;
    }
    const std::string salvo = apoio::escrito(mensagem.get(), YMensagemIso_salvaEmStream);
    exige(!cabem || apoio::escrito(doTexto(salvo).get(), YMensagemIso_salvaEmStream) == salvo);
    apoio::escrito(mensagem.get(), YMensagemIso_emiteEmStream);
    return 0;
}
