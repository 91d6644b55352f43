// ISO 8583 messages: wire form, dump, text file, masks, validation, answers.
#include "apoio/teste.hpp"

namespace {

using Mensagem = Ponteiro<YMensagemIso>;

// Of "0100 4000000000000000 2:16/4111111111111111 41:TERM____": the code, the bitmaps, which are not looked
// at, and each element with the length that the wire has in front of it, if any, and its text, where _ is a
// blank.
Mensagem montada(const std::string &notacao) {
    static const std::regex elemento("(\\d+):(?:\\d*/)?([^ ]*)");
    auto mensagem = cria<YMensagemIso>(YMensagemIso_rtti);
    YMensagemIso_setTransacao(mensagem, std::stoi(notacao));
    for (std::sregex_iterator it(notacao.begin(), notacao.end(), elemento), fim; it != fim; ++it) {
        std::string texto = it->str(2);
        std::ranges::replace(texto, '_', ' ');
        YMensagemIso_setBitTam(mensagem, std::stoi(it->str(1)), texto.data(), texto.size());
    }
    return mensagem;
}

Mensagem carregada(const std::string &fio) {
    auto mensagem = montada("999 2:antes 70:antes");
    const char *posicao = fio.data();
    YMensagemIso_carregaBloco(mensagem, &posicao, fio.size());
    EXPECT_EQ(posicao, fio.data() + fio.size()) << fio;
    return mensagem;
}

std::string emitida(const Mensagem &mensagem) {
    return escrito(mensagem.get(), YMensagemIso_emiteEmStream);
}

// Code and elements, a line each.
std::string texto(const Mensagem &mensagem) {
    return escrito(mensagem.get(), YMensagemIso_salvaEmStream);
}

std::string fioDe(const std::string &notacao) {
    return std::regex_replace(notacao, std::regex("\\d+:|[/ ]"), "");
}

const std::string EXEMPLOS[] = {
    // authorization, purchase, reversal
    "0100 7224448020C08000 2:16/4111111111111111 3:000000 4:000000012345 7:1122093015 11:000123 14:3012 "
    "18:5411 22:051 25:00 35:37/4111111111111111=30121010000012300000 41:TERM0001 42:ESTABELECIMENT1 49:986",
    "0200 3238040000C09214 3:003000 4:000000010000 7:1122093015 11:000124 12:093015 13:1122 22:051 "
    "41:TERM0001 42:ESTABELECIMENT1 49:BRL 52:0123456789ABCDEF 55:018/9F0206000000010000 60:7/1234567 "
    "62:004/0001",
    "0400 B22000000E800000 0000004000000001 3:003000 4:000000010000 7:1122093100 11:000125 37:112209300124 "
    "38:A1B2C3 39:00 41:TERM0001 90:020000012411220930150001000012300000000000 128:BEEF",
    // empty elements, a second bitmap of nothing, a code alone
    "0210 4000000000000016 2:00/ 60:0/ 62:000/ 63:000/", "0200 8000000000000000 0000000000000000", "0800"};

TEST(Iso, mensagensComoAsReaisSuasCopiasERespostas) {
    for (const std::string &notacao : EXEMPLOS) {
        const std::string fio = fioDe(notacao);
        const Mensagem lida = carregada(fio);
        const Mensagem copia = montada("1 2:antes 100:antes");
        EXPECT_EQ(texto(lida), texto(montada(notacao)));
        EXPECT_EQ(emitida(montada(notacao)), notacao.find(':') != notacao.npos ? fio : fio.substr(0, 4));
        YMensagemIso_copiaDe(copia, lida);
        YMensagemIso_copiaDe(copia, copia);
        EXPECT_EQ(emitida(copia), fio);

        constexpr int32_t eco[] = {41, 11, 3, 11, 90, 64};
        const std::regex outros(" (?!(3|11|41|64|90):)[^ ]+");
        for (const YMensagemIso *requisicao : {lida.get(), copia.get()}) { // itself, at last
            YMensagemIso_montaResposta(copia, requisicao, 210, eco, 6);
            EXPECT_EQ(emitida(copia),
                      emitida(montada("210" + std::regex_replace(notacao.substr(4), outros, ""))));
        }
    }
    const Mensagem aninhada = montada("200 48:" + fioDe(EXEMPLOS[0]));
    const char *deDentro = YMensagemIso_getBit(aninhada, 48);
    YMensagemIso_carrega(aninhada, &deDentro);
    EXPECT_EQ(emitida(aninhada), fioDe(EXEMPLOS[0])) << "loaded from a text of its own";
}

TEST(Iso, todoElementoTemOFormatoDaTabelaEVaiEVolta) {
    std::string tabela; // classes, a point for each digit of the length prefix, largest length
    const Mensagem toda = montada("200");
    for (int bit = 1; bit <= 128; bit++) {
        const uint64_t formato = elementosIso[bit - 1].formato;
        for (int classe = 0; classe < 5; classe++) {
            tabela += std::string("zbans").substr(classe, formato >> classe & 1);
        }
        tabela += std::string(Y_ISO_DIGITOS(formato), '.') + std::to_string(Y_ISO_MAXIMO(formato)) + ' ';
        std::string texto(Y_ISO_CARACTERES(formato), 0);
        std::iota(texto.begin(), texto.end(), static_cast<char>(bit));
        if (bit != 1 && bit != 65) { // only its bit is on the wire; it would announce a third bitmap
            YMensagemIso_setBitTam(toda, bit, texto.data(), texto.size());
        }
    }
    // clang-format off
    EXPECT_EQ(tabela,
        "b64 n..19 n6 n12 n12 n12 n10 n8 n8 n8 n6 n6 n4 n4 n4 n4 n4 n4 n3 n3 n3 n3 n3 n3 n2 n2 n1 n8 n8 n8 n8 "
        "n..11 n..11 n..28 z..37 n...104 an12 an6 an2 an3 ans8 ans15 ans40 an..25 an..76 an...999 an...999 "
        "an...999 a3 an3 a3 b64 n18 an...120 ans...999 ans...999 ans...999 ans...999 ans...999 an.7 ans...999 "
        "ans...999 ans...999 b16 b64 n1 n2 n3 n3 n3 n4 ans...999 n6 n10 n10 n10 n10 n10 n10 n10 n10 n12 n12 "
        "n12 n12 n15 n15 n15 n15 n42 an1 n2 n5 an7 an42 an8 n16 ans25 n..11 n..11 ans17 ans..28 ans..28 "
        "ans...100 ans...999 ans...999 ans...999 ans...999 ans...999 ans...999 ans...999 ans...999 n..11 "
        "ans...999 ans...999 ans...999 ans...999 ans...999 ans...999 ans...999 ans...999 ans...999 ans...999 "
        "ans...255 ans...372 ans...999 ans...999 b16 ");
    // clang-format on
    EXPECT_EQ(texto(carregada(emitida(toda))), texto(toda));
}

// Each text ends at a page that may not be touched; every second one with a zero.
TEST(Iso, todoComecoDeMensagemPara) {
    const auto pagina = beiraDaPagina();
    for (const std::string &notacao : EXEMPLOS) {
        const std::string fio = fioDe(notacao);
        for (std::size_t n = 0; n < 2 * fio.size(); n++) {
            const std::size_t tamanho = n / 2;
            auto *comeco = reinterpret_cast<char *>(pagina.last(tamanho + n % 2).data());
            std::memcpy(comeco, fio.substr(0, tamanho).c_str(), tamanho + n % 2);
            const Mensagem m = montada("999 2:antes 70:antes");
            const char *posicao = comeco;
            const std::string recusa = excecao([&] {
                n % 2 != 0 ? YMensagemIso_carrega(m, &posicao)
                           : YMensagemIso_carregaBloco(m, &posicao, tamanho);
            });
            EXPECT_EQ(recusa.ends_with(". Mensagem ISO 8583 incompleta."), tamanho != 4) << notacao << n;
            EXPECT_LE(posicao, comeco + tamanho);
            EXPECT_TRUE(tamanho < 4 || texto(montada(notacao)).starts_with(texto(m))) << notacao << n;
        }
    }
}

TEST(Iso, formasDoFioEstranhas) {
    // clang-format off
    constexpr const char *INVALIDO = "YExc: Bitmap 1. Bitmap com caractere inválido."_l1;
    const std::tuple<const char *, int, std::string, const char *> casos[] = { // how far it reads, what is raised, what it has
        {"0A0B2000000000000000003000", 26, "", "00002000000000000000003000"},
        {"020040000000000000001x4", 23, "", "02004000000000000000014"},
        {"020060000000000000000212164", 24, "YExc: Elemento 3 (Processing code). Mensagem ISO 8583 incompleta.", "020040000000000000000212"},
        {"0200400000000000000016411", 20, "YExc: Elemento 2 (Primary account number (PAN)). Mensagem ISO 8583 incompleta.", "02000000000000000000"},
        {"02002000000000000000003000\nsobra", 26, "", "02002000000000000000003000"},
        {"0200600000000000000f00003000", 4, INVALIDO, "0200"},
        {"0200000:00000000000000000", 4, INVALIDO, "0200"},
        {"0200800000000000000080000000000000000000000000000000", 36, "YExc: Mensagem ISO 8583 com terceiro bitmap.", "0200"},
    };
    // clang-format on
    for (const auto &[fio, lidos, queixa, esperada] : casos) {
        const Mensagem mensagem = montada("999 2:antes");
        const char *posicao = fio;
        EXPECT_EQ(excecao([&] { YMensagemIso_carrega(mensagem, &posicao); }), queixa) << fio;
        EXPECT_EQ(emitida(mensagem), esperada) << fio;
        EXPECT_EQ(posicao - fio, lidos) << fio;
    }
    EXPECT_EQ(emitida(montada("12345")) + emitida(montada("-7")), "12345-007");
    EXPECT_EQ(emitida(montada("200 1:x 2:22222222222222222222 3:1")),
              "0200E00000000000000000000000000000001922222222222222222221");
}

TEST(Iso, elementosEEspaco) {
    const Mensagem m = montada("0 5:000000000001");
    const char *quinto = YMensagemIso_getBit(m, 5);
    YMensagemIso_setBitTam(m, 66, "a\0b", 3);
    EXPECT_EQ(std::string(YMensagemIso_getBit(m, 66), YMensagemIso_getTamanhoBit(m, 66) + 1),
              std::string("a\0b\0", 4));
    EXPECT_EQ(YMensagemIso_getBit(m, 5), quinto) << "the other elements stay where they are";
    YMensagemIso_setBit(m, 5, quinto + 10);
    YMensagemIso_setBit(m, 66, nullptr);
    EXPECT_EQ(emitida(m), "00008800000000000000000000000000000001");

    for (const int bit : {INT32_MIN, -1, 0, 129, INT32_MAX}) {
        const std::string queixa = "YExc: Elemento " + std::to_string(bit) +
                                   std::string(". O número do elemento vai de 1 a 128."_l1);
        EXPECT_EQ(excecao([&] { YMensagemIso_setBit(m, bit, "4111111111111111"); }), queixa);
        EXPECT_EQ(excecao([&] { YMensagemIso_montaResposta(m, m, 210, &bit, 1); }), queixa);
        EXPECT_EQ(excecao([&] { YMensagemIso_mostraElemento(bit, 1); }), queixa);
        EXPECT_EQ(YMensagemIso_getBit(m, bit), nullptr);
        EXPECT_EQ(YMensagemIso_getTamanhoBit(m, bit), 0U);
    }
    EXPECT_EQ(excecao([&] { YMensagemIso_setBit(m, 65, ""); }),
              "YExc: O elemento 65 anunciaria um terceiro bitmap.");
}

TEST(Iso, arquivosDeTexto) {
    const std::string ARQUIVO = "/proc/self/fd/" + std::to_string(memfd_create("iso", 0));
    const Mensagem simples = montada("200 3:4111111111111\"\x1B");
    YMensagemIso_salvaEmArquivo(simples, ARQUIVO.c_str());
    EXPECT_EQ(conteudoDe(ARQUIVO), "200\n003 4111111111111\"\x1B\n");
    YMensagemIso_dumpEmArquivo(simples, ARQUIVO.c_str());
    EXPECT_EQ(conteudoDe(ARQUIVO),
              "Código da Transação: 200\n  3 Processing code : \"4111111111111\"\x1B\"\n"_l1);

    const std::string longo(2043, 'a');
    // clang-format off
    const std::pair<std::string, std::string> casos[] = { // read into a message that has a code and element 7
        {"", "1 7:antes"}, {"\t+0400x\n", "400 7:antes"}, {"-5\n3  \t003000\n", "-5 3:003000 7:antes"},
        {"4294967297\n+4x y \n004\n005\n", "1 4: 5: 7:antes"}, {"99999999999999999999\n 2   \n", "-1 2: 7:antes"}, {"200\n007 novo\n001 x", "200 1:x 7:novo"},
        {"+-3\n\nabc\n0 x\n-3 x\n129 x\n99999999999999999999 x\n065 x\n128 ok", "0 7:antes 128:ok"},
        {"200\n063 " + longo + "42 resto\n041 ok\n", "200 7:antes 41:ok 42:resto 63:" + longo},
    };
    // clang-format on
    for (const auto &[conteudo, esperada] : casos) {
        std::ofstream(ARQUIVO, std::ios::binary) << conteudo;
        const Mensagem mensagem = montada("1 7:antes");
        YMensagemIso_leDeArquivo(mensagem, ARQUIVO.c_str());
        EXPECT_EQ(texto(mensagem), texto(montada(esperada))) << conteudo;
    }
    YMensagemIso_leDeArquivo(simples, "/nao/existe");
    YMensagemIso_salvaEmArquivo(simples, "/nao/existe");
    EXPECT_EQ(texto(simples), "200\n003 4111111111111\"\x1B\n");
}

// ---- Masks and validation ----

// What stands behind an element's name in a masked dump, where the absent ones leave nothing.
std::string mascarado(int bit, const std::string &texto) {
    const Mensagem m = montada("800");
    const auto saida = cria<YStream>(YStream_rtti);
    YMensagemIso_setBit(m, bit, texto.c_str());
    for (int qual = -1; qual <= 129; qual++) {
        YMensagemIso_dumpElemento(m, qual, 1, saida);
    }
    return conteudo(saida).substr(conteudo(saida).find(" : ") + 3);
}

TEST(Iso, dumpMascarado) {
    // clang-format off
    const std::tuple<int, std::string, std::string> casos[] = {
        {1, "x", "\"x\""}, {2, "", "\"\""}, {2, "4111111111111", "\"411111***1111\""}, {2, "411111111111", "\"************\""},
        {2, "4111111111111111111", "\"411111*********1111\""}, {2, "41111111111111111111", "\"********************\""},
        {3, "a\"\n\x1B\x7F\x9F\xA0\xE7", "\"a\"\\x0A\\x1B\\x7F\\x9F\xA0\xE7\""}, {36, "", "(0 caracteres)"},
        {43, "a4111 1111-1111 1111b 1234567890123", "\"a4111 11**-**** 1111b 123456***0123\""},
        {72, ";4111111111111111=251210100000123", "\";411111******1111=251210*****0123\""},
    };
    // clang-format on
    for (const auto &[bit, texto, visto] : casos) {
        EXPECT_EQ(mascarado(bit, texto), visto + '\n');
    }

    const std::string numero = "41111111 11111111\n";
    const std::string tudo = "\"41111111 11111111\\x0A\"\n";
    // What an element shows first: 4 of the card number masked, * where all is, 1 of its length; ! where it
    // never shows more.
    std::string vistos;
    for (int bit = 1; bit <= 128; bit += bit == 64 ? 2 : 1) {
        const std::string antes = mascarado(bit, numero);
        const bool nunca = !excecao([&] { YMensagemIso_mostraElemento(bit, 1); }).empty();
        EXPECT_EQ(mascarado(bit, numero), nunca ? antes : tudo) << bit;
        excecao([&] { YMensagemIso_mostraElemento(bit, 0); });
        EXPECT_EQ(mascarado(bit, numero), antes) << bit;
        EXPECT_NE(antes, tudo) << bit;
        vistos += antes.substr(1, 1) + (nunca ? "!" : "");
    }
    EXPECT_EQ(vistos, "4*!44444444444444444*!4444444444444*!1!1!444444411!1114441!*!1*!111111"
                      "114444444444444444444444444444444444444111111111111111111111111114");
}

TEST(Iso, validacao) {
    // The failures, each with its line end.
    const auto falhas = [](const std::string &notacao) {
        const Mensagem mensagem = montada(notacao);
        std::string todas;
        const auto anota = [](void *contexto, int32_t bit, const char * /*rotulo*/, const char *motivo) {
            *static_cast<std::string *>(contexto) += std::to_string(bit) + ' ' + motivo + '\n';
        };
        const int quantas = YMensagemIso_valida(mensagem, anota, &todas);
        EXPECT_EQ(YMensagemIso_valida(mensagem, nullptr, nullptr), quantas);
        EXPECT_EQ(std::ranges::count(todas, '\n'), quantas);
        return todas;
    };
    // clang-format off
    confere(falhas, {
        {"9999" + EXEMPLOS[0].substr(4), "49 caractere 1 fora da classe a\n"}, {EXEMPLOS[1], ""}, {"0" + EXEMPLOS[2].substr(4), ""},
        {"200 2: 60:a1b2c3d 63:", ""}, {"10000 3:00300", "0 fora de 0 a 9999\n3 tamanho 5, exatamente 6\n"},
        {"-1 4:0000000000123", "0 fora de 0 a 9999\n4 tamanho 13, exatamente 12\n"},
        {"200 2:44444444444444444444 3:00300x", "2 tamanho 20, no m\xE1ximo 19\n3 caractere 6 fora da classe n\n"},
        {"200 35:4=3:4D> 45:B4^ 52:0123456789abcdeF 64:000G", "45 caractere 3 fora da classe an\n64 caractere 4 fora da classe b\n"},
        {"200 35:4=3d 38:AB12__ 49:BRL 50:_86 91:_", "35 caractere 4 fora da classe z\n50 caractere 1 fora da classe an\n"},
        {"200 1:0000000000000000 41:A-1_\xE7\xC3?x 63:a\tb", "63 caractere 2 fora da classe ans\n"},
        {"200 60:12345678 61:" + std::string(1000, 'x') + " 128:" + '\0', "60 tamanho 8, no m\xE1ximo 7\n"
         "61 tamanho 1000, no m\xE1ximo 999\n128 tamanho 1, exatamente 4\n128 caractere 1 fora da classe b\n"},
    });
    // clang-format on
}

TEST(Iso, valoresNaFormaDeSeusElementos) {
    const Ponteiro<YTabelaIso> rede(
        YTabelaIso_leTexto("41 n6\n63 n20\n37 an12 ebcdic", 27, nullptr, nullptr));
    const auto onde = [](int bit) { return "YExc: Elemento " + std::to_string(bit); };
    // What the element is then, or what was raised, and it is as before.
    const auto poe = [&](int bit, auto acao) {
        const Mensagem m = montada("200 49:BRL 50:392 51:KWD " + std::to_string(bit) + ":antes");
        const std::string queixa = excecao([&] { acao(m, bit); });
        const std::string elemento(YMensagemIso_getBit(m, bit), YMensagemIso_getTamanhoBit(m, bit));
        EXPECT_TRUE(queixa.empty() || elemento == "antes") << bit;
        return queixa.empty()
                   ? elemento
                   : std::regex_replace(queixa, std::regex(R"( \(.*\)|\. Elemento fora da tabela\.)"), "");
    };
    // clang-format off
    const std::tuple<int, const YTabelaIso *, uint64_t, std::string> numeros[] = {
        {11, nullptr, 123, "000123"}, {11, nullptr, 1000000, onde(11) + ": tamanho 7, exatamente 6"}, {32, nullptr, 7, "7"},
        {32, nullptr, 100000000000, onde(32) + std::string(": tamanho 12, no máximo 11"_l1)}, {39, nullptr, 5, "05"}, {41, rede, 5, "000005"},
        {63, rede, UINT64_MAX, "18446744073709551615"}, {35, nullptr, 1, onde(35) + std::string(": não numérico"_l1)},
        {64, nullptr, 1, onde(64) + std::string(": não numérico"_l1)}};
    const std::tuple<int, const YTabelaIso *, const char *, std::string, std::string> textos[] = { // and what is read again
        {41, nullptr, "TERM1", "TERM1   ", "TERM1"}, {41, rede, "12", "000012", "000012"}, {3, nullptr, "3000", "003000", "003000"}, {37, nullptr, "", "            ", ""},
        {2, nullptr, "4111", "4111", "4111"}, {41, nullptr, "TERM00010", onde(41) + ": tamanho 9, exatamente 8", ""}, {3, nullptr, "3 0", onde(3) + ": caractere 5 fora da classe n", ""},
        {52, nullptr, "0123456789ABCDE", onde(52) + ": tamanho 15, exatamente 16", ""}, {52, nullptr, "0123456789ABCDEF", "0123456789ABCDEF", "0123456789ABCDEF"}};
    const std::tuple<int, uint64_t, int, std::string> quantias[] = { // 49 has two decimals, 50 none, 51 three
        {4, 1250, 2, "000000001250"}, {28, 1250, 3, "00000125"}, {5, 1250, 1, "000000000125"}, {97, 7, 0, "0000000000000007"}, {6, 1250, 2, "000000012500"},
        {89, 0, 18, "000000000000000"}, {4, 1255, 3, onde(4) + std::string(". A quantia não cabe nas casas da moeda."_l1)}, {6, UINT64_MAX / 5, 2, onde(6) + std::string(". A quantia não cabe nas casas da moeda."_l1)},
        {4, 0, 19, onde(4) + std::string(". A quantia não cabe nas casas da moeda."_l1)}, {4, 0, -1, onde(4) + std::string(". A quantia não cabe nas casas da moeda."_l1)},
        {4, 1000000000000, 2, onde(4) + ": tamanho 13, exatamente 12"}, {3, 1, 0, onde(3) + std::string(". O elemento não é uma quantia."_l1)}};
    // clang-format on
    for (const auto &[bit, tabela, valor, esperado] : numeros) {
        EXPECT_EQ(poe(bit, [&](auto &m, int b) { YMensagemIso_setNumero(m, tabela, b, valor); }), esperado);
    }
    for (const auto &[bit, tabela, valor, esperado, relido] : textos) {
        const auto vaiEVolta = [&](auto &m, int b) {
            YMensagemIso_setTexto(m, tabela, b, valor);
            const char *lido = nullptr;
            uint64_t tamanho = 0;
            EXPECT_EQ(YMensagemIso_leTexto(m, tabela, b, &lido, &tamanho), Y_LEITURA_OK) << valor;
            EXPECT_EQ(std::string(lido, tamanho), relido);
        };
        EXPECT_EQ(poe(bit, vaiEVolta), esperado);
    }
    for (const auto &[bit, valor, casas, esperado] : quantias) {
        const auto vaiEVolta = [&](auto &m, int b) {
            YMensagemIso_setQuantia(m, nullptr, b, valor, casas);
            uint64_t lido = 1;
            EXPECT_EQ(YMensagemIso_leQuantia(m, b, casas, &lido), Y_LEITURA_OK) << b;
            EXPECT_EQ(lido, valor) << b;
        };
        EXPECT_EQ(poe(bit, vaiEVolta), esperado);
    }
    const Mensagem m = montada("200 3:3 4:000000001255 5:1 8:x 12:1 37:\xE7___________ 49:brl");
    EXPECT_EQ(excecao([&] { YMensagemIso_setQuantia(m, nullptr, 5, 1, 0); }),
              onde(5) + ". Moeda ausente ou desconhecida.");
    EXPECT_EQ(excecao([&] { YMensagemIso_setNumero(m, nullptr, 129, 1); }),
              onde(129) + std::string(". O número do elemento vai de 1 a 128."_l1));
    YMensagemIso_setTexto(m, nullptr, 12, nullptr);
    EXPECT_EQ(YMensagemIso_getBit(m, 12), nullptr);
    uint64_t tamanho = 0;
    const char *lido = nullptr;
    std::string situacoes;
    for (const int bit : {129, 12, 3, 37, 2}) {
        situacoes += std::to_string(YMensagemIso_leTexto(m, nullptr, bit, &lido, &tamanho));
    }
    // 4 and 5 have no currency that is known, then 4 loses a digit.
    for (const int bit : {129, 3, 6, 8, 4, 5}) {
        situacoes += std::to_string(YMensagemIso_leQuantia(m, bit, 2, &tamanho));
    }
    YMensagemIso_setBit(m, 49, "986");
    situacoes += std::to_string(YMensagemIso_leQuantia(m, 4, 1, &tamanho));
    EXPECT_EQ(situacoes, "113211112223") << "none was written";
    EXPECT_EQ(lido, nullptr);
    EXPECT_EQ(tamanho, 0U);
}

TEST(Iso, momentosSemAno) {
    const auto fuso = [](const char *regra) {
        setenv("TZ", regra, 1); // NOLINT(concurrency-mt-unsafe)
        tzset();
    };
    fuso("EST5EDT,M3.2.0,M11.1.0");
    constexpr time_t DIA = 86400;
    constexpr time_t NATAL = 1703507696; // 2023-12-25 12:34:56 in GMT
    const Mensagem m = montada("200");
    constexpr time_t BISSEXTO = 1709208000;
    for (const time_t momento : {NATAL, NATAL + 7 * DIA, BISSEXTO, time_t{0}, time_t{-1}}) {
        for (const int bit : {7, 12, 13}) {
            YMensagemIso_setMomento(m, bit, momento);
        }
        for (const time_t distancia : {-182 * DIA, time_t{0}, 182 * DIA}) {
            time_t gmt = 0;
            time_t local = 0;
            EXPECT_EQ(YMensagemIso_leTransmissao(m, momento + distancia, &gmt), Y_LEITURA_OK);
            EXPECT_EQ(YMensagemIso_leMomentoLocal(m, momento + distancia, &local), Y_LEITURA_OK);
            EXPECT_TRUE(gmt == momento && local == momento) << momento << '+' << distancia;
        }
    }
    const auto lido = [&](const std::string &notacao) { // in GMT, then local, seen from Christmas 2023
        const Mensagem lida = montada("200 " + notacao);
        std::string lidos;
        for (const auto le : {YMensagemIso_leTransmissao, YMensagemIso_leMomentoLocal}) {
            time_t momento = 0;
            const YSituacao situacao = le(lida, NATAL, &momento);
            lidos += std::to_string(situacao) +
                     (situacao == Y_LEITURA_OK ? ' ' + std::to_string(momento) : "") + ' ';
        }
        return lidos;
    };
    // clang-format off
    confere(lido, {
        {"7:1225123456 12:073456 13:1225", "0 1703507696 0 1703507696 "}, {"7:0229000000 12:000000 13:0229", "0 1709164800 0 1709182800 "},
        {"12:073456", "1 1 "}, {"7: 13:1225", "2 1 "}, {"7:122512345 12:07345 13:1225", "2 2 "}, {"7:12251234567 12:073456 13:122_", "2 2 "},
        {"7:0230000000 12:240000 13:1225", "3 3 "}, {"7:1301000000 12:000060 13:1225", "3 3 "}, {"7:0001000000 12:006000 13:0100", "3 3 "},
        {"12:023000 13:0310", "1 3 "}, {"12:013000 13:1105", "1 0 1699165800 "}, // skipped, and twice: the one nearer to Christmas
    });
    // clang-format on
    fuso("UTC0");
    time_t momento = 1;
    for (const time_t fora :
         {std::numeric_limits<time_t>::min(), std::numeric_limits<time_t>::max(), time_t{253402300800}}) {
        EXPECT_EQ(YMensagemIso_leTransmissao(m, fora, &momento), Y_LEITURA_FORA_DA_FAIXA) << fora;
    }
    EXPECT_EQ(momento, 1);
    EXPECT_EQ(excecao([&] { YMensagemIso_setMomento(m, 15, 0); }),
              "YExc: Elemento 15. O elemento n\xE3o \xE9 um momento.");
    EXPECT_EQ(excecao([&] { YMensagemIso_setMomento(m, 7, std::numeric_limits<time_t>::max()); }),
              "YExc: Momento fora do calend\xE1rio.");
    EXPECT_STREQ(YMensagemIso_getBit(m, 7), "1231235959");
}

TEST(Iso, nomesDosCodigosECasasDasMoedas) {
    const auto nome = [](const std::string &codigo) { // "39:51", or a transaction code
        const std::size_t depois = codigo.find(':') + 1;
        const char *achado = depois == 0
                                 ? YMensagemIso_nomeDaTransacao(std::stoi(codigo))
                                 : YMensagemIso_nomeDoCodigo(std::stoi(codigo), codigo.c_str() + depois);
        return std::string(achado != nullptr ? achado : "-");
    };
    // clang-format off
    confere(nome, {
        {"100", "Authorization request"}, {"430", "Reversal advice response"}, {"821", "Network management advice repeat"}, {"0", "-"}, {"102", "-"}, {"1100", "-"}, {"-100", "-"},
        {"3:003000", "Goods and services"}, {"3:310000", "Balance inquiry"}, {"3:00", "-"}, {"3:410000", "-"}, {"22:051", "Integrated circuit card"}, {"22:0510", "-"}, {"22:061", "-"},
        {"39:00", "Approved or completed successfully"}, {"39:51", "Not sufficient funds"}, {"39:96", "System malfunction"}, {"39:", "-"}, {"39:5", "-"}, {"39:N7", "-"}, {"38:00", "-"}, {"0:00", "-"}});
    confere([](const std::string &moeda) { return std::to_string(YMensagemIso_casasDaMoeda(moeda.c_str())); }, {
        {"BRL", "2"}, {"986", "2"}, {"JPY", "0"}, {"392", "0"}, {"KWD", "3"}, {"414", "3"}, {"CLF", "4"}, {"AED", "2"}, {"932", "2"},
        {"", "-1"}, {"BR", "-1"}, {"brl", "-1"}, {"BRL ", "-1"}, {"XAU", "-1"}, {"999", "-1"}, {"000", "-1"}, {"EUR978", "-1"}, {"D78", "-1"}});
    // clang-format on
    EXPECT_EQ(YMensagemIso_nomeDoCodigo(39, nullptr), nullptr);
    EXPECT_EQ(YMensagemIso_casasDaMoeda(nullptr), -1);
}

} // namespace
