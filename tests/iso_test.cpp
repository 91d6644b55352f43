// ISO 8583 messages: wire form, dump, text file, masks, validation, answers.
#include "apoio/arvore.hpp"
#include "apoio/beiraDaPagina.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>
#include <numeric>
#include <regex>
#include <sstream>

using namespace apoio;
using namespace pramo::literais;

namespace {

using Mensagem = pramo::Ponteiro<YMensagemIso>;
using Elementos = std::map<int, std::string>;

Mensagem montada(int codigo, const Elementos &elementos) {
    auto mensagem = pramo::cria<YMensagemIso>(YMensagemIso_rtti);
    YMensagemIso_setTransacao(mensagem, codigo);
    for (const auto &[bit, texto] : elementos) {
        YMensagemIso_setBitTam(mensagem, bit, texto.data(), texto.size());
    }
    return mensagem;
}

Mensagem carregada(std::string_view fio) {
    auto mensagem = montada(999, {{2, "antes"}, {70, "antes"}});
    const char *posicao = fio.data();
    YMensagemIso_carregaBloco(mensagem, &posicao, fio.size());
    EXPECT_EQ(posicao, fio.data() + fio.size()) << fio;
    return mensagem;
}

Elementos elementosDe(const Mensagem &mensagem) {
    Elementos elementos;
    for (int bit = 1; bit <= mensagem->capacidade; bit++) {
        if (const char *texto = YMensagemIso_getBit(mensagem, bit)) {
            EXPECT_EQ(texto[YMensagemIso_getTamanhoBit(mensagem, bit)], 0);
            elementos[bit] = {texto, YMensagemIso_getTamanhoBit(mensagem, bit)};
        }
    }
    return elementos;
}

std::string emitida(const Mensagem &mensagem) {
    return escrito(mensagem.get(), YMensagemIso_emiteEmStream);
}

// Elements as "2:16/4111111111111111 41:TERM____": the number, the length where the wire has one, the text,
// where _ is a blank.
Elementos lista(const std::string &notacao) {
    const std::regex forma("(\\d+):(?:\\d+/)?(\\S*)");
    Elementos elementos;
    for (std::sregex_iterator it(notacao.begin(), notacao.end(), forma), fim; it != fim; ++it) {
        elementos[std::stoi((*it)[1])] = std::regex_replace((*it)[2].str(), std::regex("_"), " ");
    }
    return elementos;
}

// clang-format off
const struct Exemplo {
    std::string notacao; // code and bitmaps, and the elements
    Elementos elementos = lista(notacao);
    std::string fio = std::regex_replace(notacao, std::regex("\\d+:|[/ ]"), "");
} EXEMPLOS[] = { // authorization, purchase, reversal; empty elements, a second bitmap of nothing, a code alone
    {"0100 7224448020C08000 2:16/4111111111111111 3:000000 4:000000012345 7:1122093015 11:000123 14:3012 "
     "18:5411 22:051 25:00 35:37/4111111111111111=30121010000012300000 41:TERM0001 42:ESTABELECIMENT1 49:986"},
    {"0200 3238040000C09214 3:003000 4:000000010000 7:1122093015 11:000124 12:093015 13:1122 22:051 41:TERM0001 "
     "42:ESTABELECIMENT1 49:BRL 52:0123456789ABCDEF 55:018/9F0206000000010000 60:7/1234567 62:004/0001"},
    {"0400 B22000000E800000 0000004000000001 3:003000 4:000000010000 7:1122093100 "
     "11:000125 37:112209300124 38:A1B2C3 39:00 41:TERM0001 90:020000012411220930150001000012300000000000 128:BEEF"},
    {"0210 4000000000000016 2:00/ 60:0/ 62:000/ 63:000/"},
    {"0200 8000000000000000 0000000000000000"},
    {"0800"},
};
// clang-format on

TEST(Iso, formaDoFioDeMensagensComoAsReais) {
    for (const auto &[notacao, elementos, fio] : EXEMPLOS) {
        const Mensagem mensagem = carregada(fio);
        EXPECT_EQ(elementosDe(mensagem), elementos) << notacao;
        EXPECT_EQ(emitida(mensagem), fio);
        EXPECT_EQ(emitida(montada(mensagem->transacao, elementos)),
                  elementos.empty() ? fio.substr(0, 4) : fio);
    }
}

TEST(Iso, aTabelaEAQueSeConhece) {
    uint64_t soma = 0; // any other class or length changes it
    for (const YElementoIso &elemento : elementosIso) {
        soma = soma * 31 + elemento.formato;
    }
    EXPECT_EQ(soma, 13438341819188673253U);
}

// Each text ends at a page that may not be touched; every second one with a zero.
TEST(Iso, todoComecoDeMensagemPara) {
    const auto pagina = beiraDaPagina();
    for (const auto &[notacao, elementos, fio] : EXEMPLOS) {
        for (std::size_t n = 0; n < 2 * fio.size(); n++) {
            const std::size_t tamanho = n / 2;
            auto *texto = reinterpret_cast<char *>(pagina.last(tamanho + n % 2).data());
            std::memcpy(texto, fio.substr(0, tamanho).c_str(), tamanho + n % 2);
            const Mensagem mensagem = montada(999, {{2, "antes"}, {70, "antes"}});
            const char *posicao = texto;
            const std::string excecao = apoio::excecao([&] {
                n % 2 != 0 ? YMensagemIso_carrega(mensagem, &posicao)
                           : YMensagemIso_carregaBloco(mensagem, &posicao, tamanho);
            });
            EXPECT_EQ(excecao.ends_with(". Mensagem ISO 8583 incompleta."), tamanho != 4) << notacao << n;
            EXPECT_LE(posicao, texto + tamanho);
            EXPECT_TRUE(std::ranges::includes(elementos, elementosDe(mensagem))) << notacao << n;
        }
    }
}

TEST(Iso, formasDoFioEstranhas) {
    // clang-format off
    constexpr const char *INVALIDO = "YExc: Bitmap 1. Bitmap com caractere inválido."_l1;
    const struct {
        const char *fio;
        int lidos;
        std::string queixa;
        const char *emitida;
    } lidas[] = {
        {"0A0B2000000000000000003000", 26, "", "00002000000000000000003000"},
        {"020040000000000000001x4", 23, "", "02004000000000000000014"},
        {"02002000000000000000003000\nsobra", 26, "", "02002000000000000000003000"},
        {"0200600000000000000f00003000", 4, INVALIDO, "0200"},
        {"0200000:00000000000000000", 4, INVALIDO, "0200"},
        {"0200800000000000000080000000000000000000000000000000", 36, "YExc: Mensagem ISO 8583 com terceiro bitmap.", "0200"},
        {"020", 0, "YExc: Código da transação. Mensagem ISO 8583 incompleta."_l1, "0000"},
        {"0200F000000000000000000", 20, "YExc: Bitmap 2. Mensagem ISO 8583 incompleta.", "0200"},
        {"02006000000000000000024130030", 24, "YExc: Elemento 3 (Processing code). Mensagem ISO 8583 incompleta.", "020040000000000000000241"},
    };
    // clang-format on
    for (const auto &[fio, lidos, queixa, esperada] : lidas) {
        const Mensagem mensagem = montada(999, {{2, "antes"}});
        const char *posicao = fio;
        EXPECT_EQ(excecao([&] { YMensagemIso_carrega(mensagem, &posicao); }), queixa) << fio;
        EXPECT_EQ(emitida(mensagem), esperada) << fio;
        EXPECT_EQ(posicao - fio, lidos) << fio;
    }
    EXPECT_NE(excecao([] { carregada(std::string_view()); }), "");

    EXPECT_EQ(emitida(montada(12345, {})) + emitida(montada(-7, {})), "12345-007");
    EXPECT_EQ(emitida(montada(200, {{1, "x"}, {2, std::string(20, '2')}, {3, "1"}})),
              "0200E000000000000000000000000000000019" + std::string(19, '2') + "1");
}

TEST(Iso, elementosEEspaco) {
    const Mensagem mensagem = montada(0, {{5, "000000000001"}});
    YMensagemIso *const m = mensagem.get();
    const char *quinto = YMensagemIso_getBit(m, 5);
    YMensagemIso_setBit(m, 65, nullptr);
    EXPECT_EQ(m->capacidade, 128);
    EXPECT_EQ(YMensagemIso_getBit(m, 5), quinto) << "the other elements stay where they are";
    YMensagemIso_setBit(m, 5, YMensagemIso_getBit(m, 5) + 10);
    EXPECT_EQ(elementosDe(mensagem), (Elementos{{5, "01"}}));
    YMensagemIso_setBit(m, 5, nullptr);
    EXPECT_EQ(emitida(mensagem), "000080000000000000000000000000000000");

    for (const int bit : {INT32_MIN, -1, 0, 129, INT32_MAX}) {
        const std::string queixa = "YExc: Elemento " + std::to_string(bit) +
                                   std::string(". O número do elemento vai de 1 a 128."_l1);
        EXPECT_EQ(excecao([&] { YMensagemIso_setBit(m, bit, "4111111111111111"); }), queixa);
        EXPECT_EQ(excecao([&] { YMensagemIso_montaResposta(m, m, 210, &bit, 1); }), queixa);
        EXPECT_EQ(YMensagemIso_getBit(m, bit), nullptr);
        EXPECT_EQ(YMensagemIso_getTamanhoBit(m, bit), 0U);
    }
    EXPECT_EQ(excecao([&] { YMensagemIso_setBit(m, 65, "00"); }),
              "YExc: O elemento 65 anunciaria um terceiro bitmap.");
}

TEST(Iso, copiasERespostas) {
    for (const auto &[notacao, elementos, fio] : EXEMPLOS) {
        const Mensagem origem = carregada(fio);
        const Mensagem copia = montada(1, {{2, "antes"}, {100, "antes"}});
        YMensagemIso_copiaDe(copia, origem);
        YMensagemIso_copiaDe(copia, copia);
        EXPECT_EQ(emitida(copia), fio);

        constexpr int32_t eco[] = {41, 11, 3, 11, 70, 64};
        Elementos ecoados = elementos;
        std::erase_if(ecoados, [&](const auto &e) { return std::ranges::count(eco, e.first) == 0; });
        for (YMensagemIso *requisicao : {origem.get(), copia.get()}) { // itself, at last
            YMensagemIso_montaResposta(copia, requisicao, 210, eco, 6);
            EXPECT_EQ(elementosDe(copia), ecoados) << notacao;
        }
        EXPECT_EQ(copia->transacao, 210);
    }
    const Mensagem aninhada = montada(200, {{48, EXEMPLOS[0].fio}});
    const char *deDentro = YMensagemIso_getBit(aninhada, 48);
    YMensagemIso_carrega(aninhada, &deDentro);
    EXPECT_EQ(emitida(aninhada), EXEMPLOS[0].fio) << "loaded from a text of its own";
}

TEST(Iso, todoElementoVaiEVolta) {
    Elementos elementos;
    for (int bit = 2; bit <= 128; bit++) {
        std::string &texto = elementos[bit] = std::string(Y_ISO_CARACTERES(elementosIso[bit - 1].formato), 0);
        std::iota(texto.begin(), texto.end(), static_cast<char>(bit));
    }
    elementos.erase(65); // it would announce a third bitmap
    EXPECT_EQ(elementosDe(carregada(emitida(montada(200, elementos)))), elementos);
}

TEST(Iso, arquivosDeTexto) {
    const std::string ARQUIVO = "/proc/self/fd/" + std::to_string(memfd_create("iso", 0));
    const auto doArquivo = [&] { return (std::ostringstream() << std::ifstream(ARQUIVO).rdbuf()).str(); };
    const Mensagem simples = montada(200, {{3, "003000"}});
    YMensagemIso_salvaEmArquivo(simples, ARQUIVO.c_str());
    EXPECT_EQ(doArquivo(), "200\n003 003000\n");
    YMensagemIso_dumpEmArquivo(simples, ARQUIVO.c_str());
    EXPECT_EQ(doArquivo(), "Código da Transação: 200\n  3 Processing code : \"003000\"\n"_l1);

    const std::string longo(2043, 'a');
    // clang-format off
    const struct {
        std::string conteudo;
        int codigo;
        std::string elementos; // beside element 7, which the message has before
    } casos[] = {
        {"", 1, ""}, {"\t+0400x\n", 400, ""}, {"-5\n3  \t003000\n", -5, "3:003000"},
        {"4294967297\n+4x y \n004\n005\n", 1, "4: 5:"}, {"99999999999999999999\n 2   \n", -1, "2:"}, {"200\n007 novo\n001 x", 200, "1:x 7:novo"},
        {"200\n\nabc\n0 x\n-3 x\n+-3 x\n129 x\n99999999999999999999 x\n065 x\n128 ok", 200, "128:ok"},
        {"200\n063 " + longo + "42 resto\n041 ok\n", 200, "41:ok 42:resto 63:" + longo},
    };
    // clang-format on
    for (const auto &[conteudo, codigo, elementos] : casos) {
        std::ofstream(ARQUIVO, std::ios::binary) << conteudo;
        const Mensagem mensagem = montada(1, {{7, "antes"}});
        YMensagemIso_leDeArquivo(mensagem, ARQUIVO.c_str());
        EXPECT_EQ(mensagem->transacao, codigo) << conteudo;
        EXPECT_EQ(elementosDe(mensagem), lista("7:antes " + elementos)) << conteudo;
    }
    YMensagemIso_leDeArquivo(simples, "/nao/existe");
    YMensagemIso_salvaEmArquivo(simples, "/nao/existe");
    EXPECT_EQ(emitida(simples), "02002000000000000000003000");
}

// ---- Masks and validation ----

TEST(Iso, dumpMascarado) {
    // clang-format off
    const struct {
        int bit;
        std::string texto, mascarado;
    } casos[] = {
        {1, "x", "\"x\""}, {2, "", "\"\""}, {2, "4111111111111", "\"411111***1111\""}, {2, "411111111111", "\"************\""},
        {2, "4111111111111111111", "\"411111*********1111\""}, {2, "41111111111111111111", "\"********************\""},
        {2, "4111 1111 1111 1111", "\"*******************\""}, {20, "076", "\"***\""}, {34, "4111", "\"****\""},
        {3, "a\"\n\x1B\x9B\xE7", "\"a\"\\x0A\\x1B\\x9B\xE7\""}, {35, "4111=3012", "(9 caracteres)"}, {36, "", "(0 caracteres)"},
        {45, "B4111^A^", "(8 caracteres)"}, {52, "0123456789ABCDEF", "(16 caracteres)"}, {53, "12", "\"**\""}, {55, "5A08", "\"****\""},
        {48, "4111", "(4 caracteres)"}, {62, "", "(0 caracteres)"}, {102, "4111", "(4 caracteres)"}, {127, "x", "(1 caracteres)"},
        {43, "a4111 1111-1111 1111b 1234567890123", "\"a4111 11**-**** 1111b 123456***0123\""},
        {72, ";4111111111111111=251210100000123", "\";411111******1111=251210*****0123\""},
    };
    // clang-format on
    for (const auto &[bit, texto, mascarado] : casos) {
        const Mensagem mensagem = montada(800, {{bit, texto}});
        char inicio[100];
        std::snprintf(inicio, sizeof inicio, "%s: 800\n%3d %s : ", "Código da Transação"_l1, bit,
                      elementosIso[bit - 1].rotulo);
        EXPECT_EQ(escrito(mensagem.get(), YMensagemIso_dumpEmStream), inicio + ('"' + texto + "\"\n"));
        EXPECT_EQ(escrito(mensagem.get(), YMensagemIso_dumpMascaradoEmStream), inicio + mascarado + '\n');
    }
    const auto linha = [](int bit) {
        return escrito(montada(1, {{7, "x"}, {48, "1234567890123\n"}, {97, "1234567890123456"}}).get(),
                       [&](auto *m, auto *s) { YMensagemIso_dumpElemento(m, bit, 1, s); });
    };
    EXPECT_EQ(linha(8) + linha(200) + linha(7), "  7 Transmission date & time : \"x\"\n");
    for (const auto &[bit, mostrado] : {std::pair(48, "3\\x0A\"\n"), {97, "\"1234567890123456\"\n"}}) {
        EXPECT_EQ(linha(bit).find("7890"), std::string::npos);
        YMensagemIso_mostraElemento(bit, 1);
        EXPECT_TRUE(linha(bit).ends_with(mostrado)) << bit;
        YMensagemIso_mostraElemento(bit, 0);
        EXPECT_EQ(linha(bit).find("7890"), std::string::npos);
    }
    for (const int bit : {2, 20, 34, 35, 36, 45, 52, 53, 55, 0, 129}) {
        EXPECT_NE(excecao([&] { YMensagemIso_mostraElemento(bit, 1); }), "") << bit;
    }
}

TEST(Iso, validacao) {
    // clang-format off
    const struct {
        int codigo;
        Elementos elementos;
        std::string falhas; // each with its line end
    } casos[] = {
        {9999, EXEMPLOS[0].elementos, "49 caractere 1 fora da classe a\n"},
        {200, EXEMPLOS[1].elementos, ""}, {0, EXEMPLOS[2].elementos, ""}, {200, lista("2: 60:a1b2c3d 63:"), ""},
        {10000, lista("3:00300"), "0 fora de 0 a 9999\n3 tamanho 5, exatamente 6\n"},
        {-1, lista("4:0000000000123"), "0 fora de 0 a 9999\n4 tamanho 13, exatamente 12\n"},
        {200, lista("2:44444444444444444444 3:00300x"), "2 tamanho 20, no m\xE1ximo 19\n3 caractere 6 fora da classe n\n"},
        {200, lista("35:4=3:4D> 45:B4^"), "45 caractere 3 fora da classe an\n"},
        {200, lista("35:4=3d 38:AB12__ 49:BRL 50:_86 91:_"), "35 caractere 4 fora da classe z\n50 caractere 1 fora da classe an\n"},
        {200, lista("52:0123456789abcdeF 64:000G"), "64 caractere 4 fora da classe b\n"},
        {200, {{1, "0000000000000000"}, {41, "A-1 \xE7\xC3?x"}, {63, "a\tb"}}, "63 caractere 2 fora da classe ans\n"},
        {200, {{60, "12345678"}, {61, std::string(1000, 'x')}, {128, {'\0'}}},
         "60 tamanho 8, no m\xE1ximo 7\n61 tamanho 1000, no m\xE1ximo 999\n128 tamanho 1, exatamente 4\n"
         "128 caractere 1 fora da classe b\n"},
    };
    // clang-format on
    for (const auto &[codigo, elementos, esperadas] : casos) {
        const Mensagem mensagem = montada(codigo, elementos);
        std::string falhas;
        const auto anota = [](void *contexto, int32_t bit, const char *rotulo, const char *motivo) {
            *static_cast<std::string *>(contexto) += std::to_string(bit) + ' ' + motivo + '\n';
            EXPECT_STREQ(rotulo, bit != 0 ? elementosIso[bit - 1].rotulo : "Código da Transação"_l1);
        };
        const auto quantas = std::ranges::count(esperadas, '\n');
        EXPECT_EQ(YMensagemIso_valida(mensagem, anota, &falhas), quantas);
        EXPECT_EQ(falhas, esperadas);
        EXPECT_EQ(YMensagemIso_valida(mensagem, nullptr, nullptr), quantas);
    }
}

} // namespace
