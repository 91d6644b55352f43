// Field types: what a text becomes in memory, what is written back, and that no other byte is touched.
#include "apoio/teste.hpp"

namespace {

// clang-format off
Pramo_Tipo *const BIN = Pramo_Tipo_getTipoBIN(), *const DATAC = Pramo_Tipo_getTipoDATAC(),
           *const HORAC = Pramo_Tipo_getTipoHORAC(), *const QTDE3 = Pramo_Tipo_getTipoQTDE3(),
           *const ID = Pramo_Tipo_getTipoId(), *const SENHA = Pramo_Tipo_getTipoSenha(),
           *const AUTORIZACAO = Pramo_Tipo_getTipoAutorizacao(), *const ESCOLHA = Pramo_Tipo_getTipoEscolhaMultipla(),
           *const DINHEIRO = Pramo_Tipo_getTipoDinheiro(), *const TEXTO = Pramo_Tipo_getTipoTexto(), *const SEGREDO = Pramo_Tipo_getTipoSegredo();
// clang-format on

std::string bytes(std::initializer_list<int> valores) {
    return {valores.begin(), valores.end()};
}

TEST(Tipos, leEGravaSoNosSeusBytesOuNada) {
    // clang-format off
    constexpr const char *NAO_CABE = "YExcSoap: Número não cabe no campo."_l1, *CARACTERE = "YExcSoap: Caractere inválido em número."_l1,
        *TAMANHO = "YExc: Tamanho não suportado."_l1, *HORA = "YExcSoap: Conteúdo de hora mal formado."_l1, *DATA = "YExcSoap: DateTime inválido."_l1,
        *MAL = "YExcSoap: Conteúdo de dinheiro mal formado."_l1, *LONGO = "YExcSoap: Texto não cabe no campo."_l1, *CONTROLE = "YExcSoap: Caractere inválido em texto."_l1;
    const struct {
        Pramo_Tipo *tipo;
        std::uint64_t tamanho;
        const char *texto; // null: no content
        std::string bytes, resultado; // what is written again, or what was raised
    } casos[] = {
        {BIN, 3, nullptr, bytes({0, 0, 0}), "0000 "}, {BIN, 9, "-1", std::string(9, '\xFF'), "-0001 "},
        {ID, 6, "123456789012", bytes({0x14, 0x1A, 0x99, 0xBE, 0x1C, 0}), "123456789012 "}, {SENHA, 4, "+0042", bytes({42, 0, 0, 0}), "0042 "},
        {QTDE3, 1, "-0.012", bytes({0xF4}), "-0.012"}, {QTDE3, 18, "0005 ", bytes({5}) + std::string(17, '\0'), "0.005"},
        {DATAC, 7, "1979-12-31", bytes({0, 0}), "1980-01-00"}, {DATAC, 0, "2107-12-31", bytes({0x9F, 0xFF}), "2107-12-31"},
        {HORAC, 0, "12:30xyz", bytes({0xCE, 0x04}), "12:30"}, {HORAC, 9, " +9: 5", bytes({0x89, 0x03}), "09:05"},
        {HORAC, 2, ":30", bytes({30, 0}), "00:30"}, {HORAC, 2, "12:", bytes({0xB0, 0x04}), "12:00"},
        {HORAC, 2, "-1:30", bytes({0xBA, 0xFF}), "654:66"}, {HORAC, 2, "656:00", bytes({0x40, 0}), "00:64"},
        {AUTORIZACAO, 6, "AB", std::string("AB\0\0\0\0", 6), "AB"}, {AUTORIZACAO, 6, "ABCDEFGH", "ABCDEF", "ABCDEF"},
        {AUTORIZACAO, 3, nullptr, std::string(3, '\0'), ""}, {AUTORIZACAO, 0, "AB", "", ""}, {ESCOLHA, 1, "\xE7\xE3", "\xE7", "\xE7"},
        {BIN, 1, "128", "", NAO_CABE}, {QTDE3, 4, "1,5", "", CARACTERE}, {BIN, 0, "1", "", TAMANHO}, {ID, 19, "1", "", TAMANHO},
        {SENHA, ~0ULL, "1", "", TAMANHO}, {HORAC, 2, "1230", "", HORA}, {HORAC, 2, "9 :05", "", HORA}, {HORAC, 2, "+:05", "", HORA},
        {HORAC, 2, nullptr, "", HORA}, {DATAC, 2, "2024/03/05", "", DATA},
        {DATAC, 2, "2108-01-01", "", "YExcSoap: Data posterior a 2107."},
        {DINHEIRO, 8, "\n12,5 ", bytes({0xE2, 4, 0, 0, 0, 0, 0, 0}), "12.50"}, {DINHEIRO, 8, "-0.01", std::string(8, '\xFF'), "-0.01"}, {DINHEIRO, 8, "007", bytes({0xBC, 2, 0, 0, 0, 0, 0, 0}), "7.00"},
        {DINHEIRO, 8, "-92233720368547758.08", std::string(7, '\0') + "\x80", "-92233720368547758.08"}, {DINHEIRO, 8, "92233720368547758.08", "", NAO_CABE}, {DINHEIRO, 8, "1000000000000000000", "", NAO_CABE},
        {DINHEIRO, 8, "1.000", "", MAL}, {DINHEIRO, 8, "1.000,00", "", MAL}, {DINHEIRO, 8, "1 000", "", MAL}, {DINHEIRO, 8, "1e3", "", MAL}, {DINHEIRO, 8, "+1", "", MAL}, {DINHEIRO, 8, "--1", "", MAL}, {DINHEIRO, 8, "- 1", "", MAL},
        {DINHEIRO, 8, "12,", "", MAL}, {DINHEIRO, 8, ",50", "", MAL}, {DINHEIRO, 8, "1.5-", "", MAL}, {DINHEIRO, 8, "-", "", MAL}, {DINHEIRO, 8, " ", "", MAL}, {DINHEIRO, 8, nullptr, "", MAL}, {DINHEIRO, 4, "1", "", TAMANHO},
        {TEXTO, 6, " \xE7\t01", std::string(" \xE7\t01\0", 6), " \xE7\t01"}, {TEXTO, 2, nullptr, std::string(2, '\0'), ""}, {TEXTO, 5, "00123", "", LONGO}, {TEXTO, 6, "0\x1B[2", "", CONTROLE}, {TEXTO, 0, "", "", TAMANHO},
        {SEGREDO, 7, "004200", std::string("004200\0", 7), "(none)"}, {SEGREDO, 6, "004200", "", LONGO}, {SEGREDO, 0, "1", "", TAMANHO},
    };
    // clang-format on
    const auto pagina = beiraDaPagina();
    for (const auto &[tipo, tamanho, texto, bytes, resultado] : casos) {
        for (const std::size_t folga : {0, 1}) { // one of the two is not aligned
            std::string esperada(pagina.size(), '\xA5');
            std::ranges::copy(esperada, pagina.begin());
            const std::size_t onde = pagina.size() - folga - (bytes.empty() ? 18 : bytes.size());
            esperada.replace(onde, bytes.size(), bytes);
            const auto variavel = cria<Pramo_Variavel>(Pramo_Variavel_rtti);
            Pramo_Variavel_setTipo(variavel, tipo);
            Pramo_Variavel_setEndereco(variavel, &pagina[onde]);
            Pramo_Variavel_setTamanho(variavel, tamanho);
            const auto no = cria<YNo>(YNo_rtti);
            YNo_setValor(no, texto);
            const std::string recusa = excecao([&] { Pramo_Variavel_leDeYNo(variavel, no); });
            EXPECT_EQ(std::string(pagina.begin(), pagina.end()), esperada) << resultado;
            const auto gravado = cria<YNo>(YNo_rtti);
            const std::string falha = excecao([&] { Pramo_Variavel_gravaEmYNo(variavel, gravado); });
            EXPECT_TRUE(resultado != TAMANHO || falha == TAMANHO) << "nor can it be written";
            const YNo *valor = YNo_getFilho(gravado, "valor", 0);
            EXPECT_EQ(recusa.empty() ? falha + (valor != nullptr ? YNo_getValor(valor) : "(none)") : recusa,
                      resultado);
        }
    }
}

} // namespace
