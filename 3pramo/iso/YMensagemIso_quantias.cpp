// Amounts, which have the decimals of their currency.
#include <3pramo/iso/YMensagemIso_interno.hpp>
#include <3pramo/iso/YMensagemIso_valores.h>

#include <3pramo/foundation/YExc_interno.hpp>

#include <limits>
#include <optional>

using namespace pramo;
using namespace pramo::iso;

namespace {

// ---- Currencies ----

constexpr std::size_t LETRAS = 3; // of each code, the alphabetic and the numeric one behind it

/// Every currency of ISO 4217, also those that went out of use lately.
constexpr std::string_view MOEDAS =
    "AED784AFN971ALL008AMD051ANG532AOA973ARS032AUD036AWG533AZN944BAM977BBD052BDT050BGN975"
    "BHD048BIF108BMD060BND096BOB068BOV984BRL986BSD044BTN064BWP072BYN933BZD084CAD124CDF976"
    "CHE947CHF756CHW948CLF990CLP152CNY156COP170COU970CRC188CUC931CUP192CVE132CZK203DJF262"
    "DKK208DOP214DZD012EGP818ERN232ETB230EUR978FJD242FKP238GBP826GEL981GHS936GIP292GMD270"
    "GNF324GTQ320GYD328HKD344HNL340HRK191HTG332HUF348IDR360ILS376INR356IQD368IRR364ISK352"
    "JMD388JOD400JPY392KES404KGS417KHR116KMF174KPW408KRW410KWD414KYD136KZT398LAK418LBP422"
    "LKR144LRD430LSL426LYD434MAD504MDL498MGA969MKD807MMK104MNT496MOP446MRU929MUR480MVR462"
    "MWK454MXN484MXV979MYR458MZN943NAD516NGN566NIO558NOK578NPR524NZD554OMR512PAB590PEN604"
    "PGK598PHP608PKR586PLN985PYG600QAR634RON946RSD941RUB643RWF646SAR682SBD090SCR690SDG938"
    "SEK752SGD702SHP654SLE925SLL694SOS706SRD968SSP728STN930SVC222SYP760SZL748THB764TJS972"
    "TMT934TND788TOP776TRY949TTD780TWD901TZS834UAH980UGX800USD840USN997UYI940UYU858UYW927"
    "UZS860VED926VES928VND704VUV548WST882XAF950XCD951XCG532XOF952XPF953YER886ZAR710ZMW967"
    "ZWG924ZWL932";

/// Those that have not two decimals, each list with the number of theirs.
constexpr struct {
    int casas;
    std::string_view moedas;
} FORA_DE_DUAS[] = {
    {0, "BIFCLPDJFGNFISKJPYKMFKRWPYGRWFUGXUYIVNDVUVXAFXOFXPF"},
    {3, "BHDIQDJODKWDLYDOMRTND"},
    {4, "CLFUYW"},
};

bool temNoPasso(std::string_view lista, std::string_view codigo) {
    for (; !lista.empty(); lista.remove_prefix(LETRAS)) {
        if (lista.starts_with(codigo)) {
            return true;
        }
    }
    return false;
}

/// The alphabetic code of a currency; empty when there is none.
std::string_view alfabetico(std::string_view codigo) {
    for (std::string_view resto = MOEDAS; codigo.size() == LETRAS && !resto.empty();
         resto.remove_prefix(2 * LETRAS)) {
        const std::string_view letras = resto.substr(0, LETRAS);
        if (codigo == letras || codigo == resto.substr(LETRAS, LETRAS)) {
            return letras;
        }
    }
    return {};
}

int casasDe(std::string_view codigo) {
    const std::string_view moeda = alfabetico(codigo);
    if (moeda.empty()) {
        return -1;
    }
    for (const auto &[casas, moedas] : FORA_DE_DUAS) {
        if (temNoPasso(moedas, moeda)) {
            return casas;
        }
    }
    return 2;
}

// ---- Amounts ----

constexpr int MAIS_CASAS = 18;

/// The element with the amount's currency; 0 for what is no amount.
int bitDaMoeda(std::int32_t bit) {
    switch (bit) {
    case 4:
    case 28:
    case 30:
        return 49;
    case 5:
    case 29:
    case 31:
    case 97:
        return 50;
    case 6:
    case 8:
        return 51;
    default:
        return bit >= 82 && bit <= 89 ? 50 : 0;
    }
}

/// The same amount with other decimals; none when it would be another one, or is too large.
std::optional<std::uint64_t> emCasas(std::uint64_t valor, int tem, int quer) {
    if (tem < 0 || tem > MAIS_CASAS || quer < 0 || quer > MAIS_CASAS) {
        return std::nullopt;
    }
    for (; tem < quer; tem++) {
        if (valor > std::numeric_limits<std::uint64_t>::max() / 10) {
            return std::nullopt;
        }
        valor *= 10;
    }
    for (; tem > quer; tem--) {
        if (valor % 10 != 0) {
            return std::nullopt;
        }
        valor /= 10;
    }
    return valor;
}

[[noreturn]] void recusa(std::int32_t bit, const char *motivo) {
    YContextoTry_printf("Elemento %d. ", bit);
    lanca(YExc_rtti, motivo, FONTE);
}

} // namespace

int32_t YMensagemIso_casasDaMoeda(const char *moeda) {
    return moeda != nullptr ? casasDe(moeda) : -1;
}

void YMensagemIso_setQuantia(YMensagemIso *mensagem, const YTabelaIso *tabela, int32_t bit, uint64_t valor,
                             int32_t casas) {
    exigeBit(bit);
    const int daMoeda = bitDaMoeda(bit);
    if (daMoeda == 0) {
        recusa(bit, "O elemento não é uma quantia."_l1);
    }
    const int casasDaMoeda = casasDe(elemento(*mensagem, daMoeda));
    if (casasDaMoeda < 0) {
        recusa(bit, "Moeda ausente ou desconhecida.");
    }
    const auto naMoeda = emCasas(valor, casas, casasDaMoeda);
    if (!naMoeda) {
        recusa(bit, "A quantia não cabe nas casas da moeda."_l1);
    }
    YMensagemIso_setNumero(mensagem, tabela, bit, *naMoeda);
}

YSituacao YMensagemIso_leQuantia(const YMensagemIso *mensagem, int32_t bit, int32_t casas, uint64_t *valor) {
    const int daMoeda = bitDaMoeda(bit);
    std::uint64_t numero = 0;
    const YSituacao situacao =
        daMoeda != 0 ? YMensagemIso_leNumero(mensagem, bit, &numero) : Y_LEITURA_AUSENTE;
    if (situacao != Y_LEITURA_OK) {
        return situacao;
    }
    const int casasDaMoeda = casasDe(elemento(*mensagem, daMoeda));
    if (casasDaMoeda < 0) {
        return Y_LEITURA_MAL_FORMADA;
    }
    const auto pedida = emCasas(numero, casasDaMoeda, casas);
    if (!pedida) {
        return Y_LEITURA_FORA_DA_FAIXA;
    }
    *valor = *pedida;
    return Y_LEITURA_OK;
}
