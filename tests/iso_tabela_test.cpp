// ISO 8583 messages by a table: the table's text and its errors, the wire forms, what they refuse.
#include "apoio/teste.hpp"

using namespace apoio;

namespace {

using Mensagem = Ponteiro<YMensagemIso>;
using Tabela = Ponteiro<YTabelaIso>;

Tabela tabelaDe(std::string_view texto) {
    return Tabela(YTabelaIso_leTexto(texto.data(), texto.size(), nullptr, nullptr));
}

std::string emHexadecimal(const std::string &bytes) {
    std::string texto;
    for (const unsigned char c : bytes) {
        texto += std::string{"0123456789ABCDEF"[c >> 4], "0123456789ABCDEF"[c & 15]};
    }
    return texto;
}

std::string bytesDe(const std::string &hexadecimal) {
    const std::string digitos = std::regex_replace(hexadecimal, std::regex("[^0-9A-F]"), "");
    std::string bytes;
    for (std::size_t i = 0; i < digitos.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digitos.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

std::string texto(const Mensagem &mensagem) {
    return escrito(mensagem.get(), YMensagemIso_salvaEmStream);
}

std::string emitida(const Mensagem &mensagem, const Tabela &tabela) {
    return escrito(mensagem.get(), [&](auto *m, YStream *saida) { YMensagemIso_emiteCom(m, tabela, saida); });
}

// From bytes that end where memory does; what is raised, and how many bytes were read.
std::string carrega(const Mensagem &mensagem, const Tabela &tabela, const std::string &fio,
                    std::size_t &lidos) {
    static const auto pagina = beiraDaPagina();
    auto *inicio = reinterpret_cast<char *>(pagina.last(fio.size()).data());
    std::memcpy(inicio, fio.data(), fio.size());
    const char *posicao = inicio;
    const std::string queixa =
        excecao([&] { YMensagemIso_carregaCom(mensagem, tabela, &posicao, fio.size()); });
    lidos = static_cast<std::size_t>(posicao - inicio);
    return queixa;
}

constexpr const char *NOMES[] = {"caracteres", "bcd", "ebcdic"};
Tabela daCasa(const std::string &nome) {
    return Tabela(YTabelaIso_leArquivo((TABELAS "/" + nome + ".tabela").c_str(), nullptr, nullptr));
}

// Digits in most elements, which every class takes, as many as the element may have.
Mensagem qualquer(const Tabela &tabela, std::mt19937 &sorte) {
    auto mensagem = cria<YMensagemIso>(YMensagemIso_rtti);
    YMensagemIso_setTransacao(mensagem, static_cast<int32_t>(sorte() % 10000));
    std::map<int, std::size_t> tamanhos; // those that are told to be wrong
    for (int bit = 2; bit <= 128; bit++) {
        if (bit != 65 && sorte() % 3 != 0) {
            YMensagemIso_setBit(mensagem, bit, std::string(2 * (sorte() % 12), '0').c_str());
        }
    }
    const auto anota = [](void *contexto, int32_t bit, const char * /*rotulo*/, const char *motivo) {
        (*static_cast<std::map<int, std::size_t> *>(contexto))[bit] = std::stoul(std::strrchr(motivo, ' '));
    };
    YMensagemIso_validaCom(mensagem, tabela, anota, &tamanhos);
    for (int bit = 2; bit <= 128; bit++) {
        if (YMensagemIso_getBit(mensagem, bit) != nullptr) {
            const std::size_t tem = YMensagemIso_getTamanhoBit(mensagem, bit);
            std::string digitos(tamanhos.contains(bit) ? tamanhos[bit] : tem, '0');
            std::ranges::generate(digitos, [&] { return static_cast<char>('0' + sorte() % 10); });
            YMensagemIso_setBit(mensagem, bit, digitos.c_str());
        }
    }
    return mensagem;
}

TEST(IsoTabela, todaTabelaDaCasaVaiEVolta) {
    std::mt19937 sorte(8583); // NOLINT(cert-msc51-cpp)
    std::size_t lidos = 0;
    for (const char *nome : NOMES) {
        const Tabela tabela = daCasa(nome);
        for (int i = 0; i < 200; i++) {
            const Mensagem ida = qualquer(tabela, sorte);
            EXPECT_EQ(YMensagemIso_validaCom(ida, tabela, nullptr, nullptr), 0);
            const std::string fio = emitida(ida, tabela);
            const Mensagem volta = cria<YMensagemIso>(YMensagemIso_rtti);
            EXPECT_EQ(carrega(volta, tabela, fio, lidos), "") << nome << i;
            EXPECT_EQ(lidos, fio.size());
            EXPECT_EQ(texto(volta), texto(ida)) << nome << i;
        }
    }
    // Every character of ISO-8859-1 has its own in EBCDIC.
    const Tabela ebcdic = tabelaDe("63 ans...999 ebcdic");
    const Mensagem toda = cria<YMensagemIso>(YMensagemIso_rtti);
    std::string letras(256, 0);
    std::iota(letras.begin(), letras.end(), '\0');
    YMensagemIso_setBitTam(toda, 63, letras.data(), letras.size());
    const std::string fio = emitida(toda, ebcdic);
    EXPECT_EQ(std::set<char>(fio.end() - 256, fio.end()).size(), 256U);
    carrega(toda, ebcdic, fio, lidos);
    EXPECT_EQ(std::string(YMensagemIso_getBit(toda, 63), 256), letras);
}

constexpr const char *TEXTO =
    "200\n002 4111111111111111\n003 003000\n011 000123\n022 051\n035 4111111111111111=301210100000123\n"
    "041 TERM-A1 \n052 0123456789ABCDEF\n070 301\n";

// The same message by hand in each form: code, bitmaps, then an element a line.
const std::pair<std::string, std::string> A_MAO[] = {
    {"caracteres", emHexadecimal("0200E0200400208010000400000000000000164111111111111111003000000123051"
                                 "324111111111111111=301210100000123TERM-A1 0123456789ABCDEF301")},
    {"bcd", "0200 E020040020801000 0400000000000000 16 4111111111111111 003000 000123 0051"
            "32 4111111111111111D301210100000123 5445524D2D413120 0123456789ABCDEF 0301"},
    {"ebcdic", "F0F2F0F0 E020040020801000 0400000000000000 F1F6 F4F1F1F1F1F1F1F1F1F1F1F1F1F1F1F1"
               "F0F0F3F0F0F0 F0F0F0F1F2F3 F0F5F1 F3F2 F4F1F1F1F1F1F1F1F1F1F1F1F1F1F1F1 7E"
               "F3F0F1F2F1F0F1F0F0F0F0F0F1F2F3 E3C5D9D460C1F140 0123456789ABCDEF F3F0F1"},
};

TEST(IsoTabela, mensagensEscritasAMao) {
    for (const auto &[nome, hexadecimal] : A_MAO) {
        const std::string fio = bytesDe(hexadecimal);
        const Mensagem mensagem = cria<YMensagemIso>(YMensagemIso_rtti);
        std::size_t lidos = 0;
        EXPECT_EQ(carrega(mensagem, daCasa(nome), fio, lidos), "") << nome;
        EXPECT_EQ(texto(mensagem), TEXTO) << nome;
        EXPECT_EQ(emHexadecimal(emitida(mensagem, daCasa(nome))), emHexadecimal(fio)) << nome;
    }
}

// Cut after every byte, and with every byte exchanged: it is refused, at a place in the message, or is a
// message that is written as it was read.
TEST(IsoTabela, mensagensCortadasETrocadas) {
    for (const auto &[nome, hexadecimal] : A_MAO) {
        const Tabela tabela = daCasa(nome);
        const std::string fio = bytesDe(hexadecimal);
        const Mensagem mensagem = cria<YMensagemIso>(YMensagemIso_rtti);
        std::size_t lidos = 0;
        const std::size_t codigo = nome == "bcd"s ? 2 : 4;
        for (std::size_t n = 0; n < fio.size(); n++) {
            const std::string queixa = carrega(mensagem, tabela, fio.substr(0, n), lidos);
            EXPECT_EQ(queixa.ends_with(". Mensagem ISO 8583 incompleta."), n != codigo)
                << nome << n << queixa;
            EXPECT_EQ(emitida(mensagem, tabela).size() >= codigo, true);
            for (int c = 0; c < 256; c++) {
                std::string trocada = fio;
                trocada[n] = static_cast<char>(c);
                if (carrega(mensagem, tabela, trocada, lidos).empty()) {
                    EXPECT_EQ(emitida(mensagem, tabela), trocada.substr(0, lidos)) << nome << n << ' ' << c;
                }
            }
        }
    }
}

TEST(IsoTabela, oQueORefusaTemNomeEByte) {
    constexpr const char *BCD =
        "codigo bcd\nbitmap binario\ntamanhos bcd\nn bcd\nz bcd direita=F\nb binario\n"
        "55 b...255 tamanho=binario \"Chip\"\n48 n...300 tamanho=ebcdic esquerda=F";
    // clang-format off
    const std::tuple<const char *, std::size_t, const char *> casos[] = { // where it stops, what is raised
        {"0A00 0000000000000000", 0, "Código da transação, byte 0. Código com caractere inválido."_l1},
        {"0200 C000", 2, "Bitmap 1, byte 2. Mensagem ISO 8583 incompleta."},
        {"0200 8000000000000000 8000000000000000", 18, "Mensagem ISO 8583 com terceiro bitmap."},
        {"0200 4000000000000000 1A", 10, "Elemento 2 (Primary account number (PAN)), byte 10. Tamanho com caractere inválido."_l1},
        {"0200 4000000000000000 20 00", 10, "Elemento 2 (Primary account number (PAN)), byte 10. Tamanho além do máximo."_l1},
        {"0200 4000000000000000 16 4111", 10, "Elemento 2 (Primary account number (PAN)), byte 11. Mensagem ISO 8583 incompleta."},
        {"0200 2000000000000000 00300A", 10, "Elemento 3 (Processing code), byte 12. Algarismo compactado inválido."_l1},
        {"0200 0000040000000000 1051", 10, "Elemento 22 (Point of service entry mode), byte 10. Algarismo compactado inválido."_l1},
        {"0200 0000000020000000 05 4D123F", 14, ""}, {"0200 0000000020000000 05 4D1230", 10, "Elemento 35 (Track 2 data), byte 13. Algarismo compactado inválido."_l1},
        {"0200 0000000020000000 06 4D12FF", 10, "Elemento 35 (Track 2 data), byte 13. Algarismo compactado inválido."_l1},
        {"0200 0000000000000200 00FF 00", 10, "Elemento 55 (Chip), byte 12. Mensagem ISO 8583 incompleta."},
        {"0200 0000000000000200 0100", 10, "Elemento 55 (Chip), byte 10. Tamanho além do máximo."_l1},
        {"0200 0000000000000200 0002 9F26", 14, ""}, {"0200 0000000000010000 F0F0F3 F123 FF", 15, ""}, {"0200 FF", 2, "Bitmap 1, byte 2. Mensagem ISO 8583 incompleta."},
    };
    // clang-format on
    const Tabela tabela = tabelaDe(BCD);
    for (const auto &[hexadecimal, lidosAqui, queixa] : casos) {
        const Mensagem mensagem = cria<YMensagemIso>(YMensagemIso_rtti);
        std::size_t lidos = 0;
        const std::string raiz = *queixa == '\0' ? "" : "YExc: ";
        EXPECT_EQ(carrega(mensagem, tabela, bytesDe(hexadecimal), lidos), raiz + queixa) << hexadecimal;
        EXPECT_EQ(lidos, lidosAqui) << hexadecimal;
    }

    // clang-format off
    const std::tuple<int, std::string, std::string> recusados[] = {
        {3, "00300", "tamanho 5, exatamente 6"}, {3, "0030000", "tamanho 7, exatamente 6"}, {2, std::string(20, '4'), "tamanho 20, no máximo 19"_l1},
        {2, "4111=", "caractere 5 fora da classe n"}, {35, "4111:", "caractere 5 fora da codificação"_l1}, {55, "9F2", "tamanho 3, não par"_l1},
        {52, "0123456789ABCDEG", "caractere 16 fora da classe b"}, {35, "4111D301=", ""}, {55, "9f26", ""},
    };
    // clang-format on
    for (const auto &[bit, valor, motivo] : recusados) {
        const Mensagem m = cria<YMensagemIso>(YMensagemIso_rtti);
        YMensagemIso_setBit(m, 41, "TERM0001");
        YMensagemIso_setBit(m, bit, valor.c_str());
        std::string visto;
        const auto anota = [](void *contexto, int32_t /*bit*/, const char * /*rotulo*/, const char *dito) {
            *static_cast<std::string *>(contexto) += dito;
        };
        YMensagemIso_validaCom(m, tabela, anota, &visto);
        EXPECT_EQ(visto, motivo);
        const auto saida = streamDe("antes");
        const std::string queixa = excecao([&] { YMensagemIso_emiteCom(m, tabela, saida); });
        EXPECT_EQ(queixa.ends_with(". Elemento fora da tabela."), !motivo.empty()) << valor << queixa;
        EXPECT_TRUE(motivo.empty() || conteudo(saida) == "antes") << valor;
    }
    const Mensagem codigo = cria<YMensagemIso>(YMensagemIso_rtti);
    YMensagemIso_setTransacao(codigo, 10000);
    EXPECT_EQ(excecao([&] { emitida(codigo, tabela); }), "YExc: Código da transação fora de 0 a 9999."_l1);
}

TEST(IsoTabela, dumpMascaradoEscondeOQueViajaEmBinario) {
    const Tabela tabela =
        tabelaDe("3 \"Processamento\"\n72 b...99 binario\n55 b...99 binario\n64 b64 binario");
    const Mensagem m = cria<YMensagemIso>(YMensagemIso_rtti);
    for (const auto &[bit, valor] :
         {std::pair(3, "003000"), {55, "5A"}, {64, "BEEF"}, {72, "F4F1F1F1F1F1"}}) {
        YMensagemIso_setBit(m, bit, valor);
    }
    const auto visto = escrito(
        m.get(), [&](auto *qual, YStream *saida) { YMensagemIso_dumpMascaradoCom(qual, tabela, saida); });
    EXPECT_EQ(visto.substr(visto.find('\n') + 1),
              "  3 Processamento : \"003000\"\n 55 Reserved ISO : \"**\"\n"
              " 64 Message authentication code (MAC) : \"BEEF\"\n 72 Data record : (12 caracteres)\n");
}

TEST(IsoTabela, todosOsErrosDeUmaTabela) {
    const std::string nome(101, 'x');
    // clang-format off
    const std::pair<std::string, std::string> casos[] = { // the errors, each as LINE:reason and a line end
        {"", ""}, {"# só\r\n\n\t2 n..19 bcd \"Cartão\" # fim\r\n3 esquerda=0 bcd\n48 binario b..255 tamanho=binario", ""},
        {"0\n129 n6\nx\n1 b64\n65 b64\nBCD", "1:\"0\" não é elemento de 1 a 128 nem palavra da tabela\n2:\"129\" não é elemento de 1 a 128 nem palavra da tabela\n"
         "3:\"x\" não é elemento de 1 a 128 nem palavra da tabela\n4:o elemento 1 anuncia um bitmap e não viaja\n"
         "5:o elemento 65 anuncia um bitmap e não viaja\n6:\"BCD\" não é elemento de 1 a 128 nem palavra da tabela\n"},
        {"3 n6\n3 n6\nn bcd\nn bcd", "2:\"3\" já está na linha 1\n4:\"n\" já está na linha 3\n"},
        {"3 bcd bcd\n4 n\n5 n0\n6 nn6\n7 n123456\n8 direita=A\n9 direita=F=F\n10 tamanho=x\n11 .6", "1:\"bcd\" não se entende aqui\n2:\"n\" não se entende aqui\n3:\"n0\" não se entende aqui\n"
         "4:\"nn6\" não se entende aqui\n5:\"n123456\" não se entende aqui\n6:\"direita=A\" não se entende aqui\n7:\"direita=F=F\" não se entende aqui\n8:\"tamanho=x\" não se entende aqui\n9:\".6\" não se entende aqui\n"},
        {"3 \"\"\n4 \"x\n5 \"x\" bcd\n6 \"" + nome + "\"\n7 \"\x1B\"", "1:nome vazio ou de mais de 100 caracteres\n2:nome sem aspas no fim\n3:nome sem aspas no fim\n4:nome vazio ou de mais de 100 caracteres\n5:caractere de controle\n"},
        {"3 binario\n41 bcd\n52 bcd\n37 an12 binario\n38 bn6\n39 za2", "1:classe que não pode estar em binario\n2:classe que não pode estar em bcd\n3:classe que não pode estar em bcd\n"
         "4:classe que não pode estar em binario\n5:b e z não se juntam a outra classe\n6:b e z não se juntam a outra classe\n"},
        {"3 direita=F\n41 tamanho=bcd\n2 n..100\n2 n6\n46 ans.....9\n47 b...256\n48 b..256 binario tamanho=binario\n52 b12 binario\n64 b6\n50 n10000",
         "1:enchimento fora de bcd\n2:tamanho= em elemento fixo\n3:máximo além de 99\n4:\"2\" já está na linha 3\n5:tamanho de mais de 4 algarismos\n7:máximo além de 255\n8:bits que não são múltiplo de 8\n9:bits que não são múltiplo de 4\n10:máximo além de 9999\n"},
        {"codigo binario\nbitmap bcd\ntamanhos\nn binario\nz bcd n6\nb bcd\noutros bcd direita=0\nn", "1:\"codigo\" não pode estar em binario\n2:\"bitmap\" não pode estar em bcd\n3:\"tamanhos\" sem codificação\n4:\"n\" não pode estar em binario\n"
         "5:\"z\" tem só a codificação e, em bcd de n e z, o enchimento\n6:\"b\" não pode estar em bcd\n7:\"outros\" não pode estar em bcd\n7:\"outros\" tem só a codificação e, em bcd de n e z, o enchimento\n8:\"n\" já está na linha 4\n"},
        {std::string("3\0", 2), "1:caractere de controle\n"},
    };
    // clang-format on
    for (const auto &[tabela, emUtf8] : casos) {
        const std::string esperados = pramo::latin1(emUtf8);
        const std::string texto = tabela.find('\x1B') == tabela.npos ? pramo::latin1(tabela) : tabela;
        std::string erros;
        const auto anota = [](void *contexto, int32_t linha, const char *motivo) {
            *static_cast<std::string *>(contexto) += std::to_string(linha) + ':' + motivo + '\n';
        };
        const std::string queixa =
            excecao([&] { YliberaObjeto(YTabelaIso_leTexto(texto.data(), texto.size(), anota, &erros)); });
        EXPECT_EQ(erros, esperados) << tabela;
        EXPECT_EQ(queixa.starts_with("YExc: Linha " + esperados.substr(0, 1) + ": "), !esperados.empty())
            << queixa;
    }
    EXPECT_EQ(excecao([] { tabelaDe(std::string(Y_ISO_MAIOR_TABELA + 1, '\n')); }),
              "YExc: Tabela ISO 8583 grande demais.");
    EXPECT_EQ(excecao([] { YTabelaIso_leArquivo("/", nullptr, nullptr); }),
              "YExcIOError: nome: /. Falha na leitura do arquivo.");
}

} // namespace
