// ISO 8583 messages from any bytes: what was loaded, whole or cut short, is written and loaded again as it
// was; a text file read into a message is saved and read again as it was.
#include "../tests/apoio/arvore.hpp"

#include <3pramo/iso/YMensagemIso_interno.hpp>

#include <cassert>

namespace {

using Mensagem = pramo::Ponteiro<YMensagemIso>;

std::string texto(const Mensagem &mensagem) {
    return apoio::escrito(mensagem.get(), YMensagemIso_salvaEmStream);
}

std::string fio(const Mensagem &mensagem) {
    return apoio::escrito(mensagem.get(), YMensagemIso_emiteEmStream);
}

/// The loadings stop inside the text; the zero-terminated one sees the same up to the first zero byte.
Mensagem carregada(const std::string &bytes, bool ateZero) {
    auto mensagem = pramo::cria<YMensagemIso>(YMensagemIso_rtti);
    const char *posicao = bytes.c_str();
    apoio::excecao([&] { // what was read stays in the message
        ateZero ? YMensagemIso_carrega(mensagem, &posicao)
                : YMensagemIso_carregaBloco(mensagem, &posicao, bytes.size());
    });
    assert(posicao >= bytes.c_str() && posicao <= bytes.c_str() + bytes.size());
    return mensagem;
}

Mensagem doTexto(std::string bytes) {
    auto mensagem = pramo::cria<YMensagemIso>(YMensagemIso_rtti);
    if (std::FILE *arquivo = bytes.empty() ? nullptr : fmemopen(bytes.data(), bytes.size(), "r")) {
        pramo::iso::leTexto(*mensagem, arquivo);
        std::fclose(arquivo);
    }
    return mensagem;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *dados, std::size_t tamanho) {
    const std::string bytes(reinterpret_cast<const char *>(dados), tamanho);
    assert(texto(carregada(bytes.c_str(), false)) == texto(carregada(bytes.c_str(), true)));
    const Mensagem doArquivo = doTexto(bytes);
    for (const Mensagem &lida : {carregada(bytes, true), carregada(bytes, false)}) {
        assert(fio(carregada(fio(lida), false)) == fio(lida));
        apoio::escrito(lida.get(), YMensagemIso_dumpMascaradoEmStream);
        YMensagemIso_valida(lida, nullptr, nullptr);
    }
    // Longer texts are cut in reading.
    assert(tamanho > 2043 || texto(doTexto(texto(doArquivo))) == texto(doArquivo));
    fio(doArquivo);
    return 0;
}
