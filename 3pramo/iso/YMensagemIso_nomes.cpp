// What codes of a message are called, for people to read.
#include <3pramo/iso/YMensagemIso_interno.hpp>
#include <3pramo/iso/YMensagemIso_valores.h>

#include <algorithm>
#include <span>

using namespace pramo;
using namespace pramo::iso;

namespace {

struct Transacao {
    std::int32_t codigo;
    const char *nome;
};

constexpr Transacao TRANSACOES[] = {
    {100, "Authorization request"},
    {101, "Authorization request repeat"},
    {110, "Authorization request response"},
    {120, "Authorization advice"},
    {121, "Authorization advice repeat"},
    {130, "Authorization advice response"},
    {200, "Financial transaction request"},
    {201, "Financial transaction request repeat"},
    {210, "Financial transaction request response"},
    {220, "Financial transaction advice"},
    {221, "Financial transaction advice repeat"},
    {230, "Financial transaction advice response"},
    {300, "File update request"},
    {301, "File update request repeat"},
    {310, "File update request response"},
    {320, "File update advice"},
    {321, "File update advice repeat"},
    {330, "File update advice response"},
    {400, "Reversal request"},
    {401, "Reversal request repeat"},
    {402, "Card issuer reversal request"},
    {403, "Card issuer reversal request repeat"},
    {410, "Reversal request response"},
    {412, "Card issuer reversal request response"},
    {420, "Reversal advice"},
    {421, "Reversal advice repeat"},
    {422, "Card issuer reversal advice"},
    {423, "Card issuer reversal advice repeat"},
    {430, "Reversal advice response"},
    {432, "Card issuer reversal advice response"},
    {500, "Acquirer reconciliation request"},
    {501, "Acquirer reconciliation request repeat"},
    {502, "Card issuer reconciliation request"},
    {503, "Card issuer reconciliation request repeat"},
    {510, "Acquirer reconciliation request response"},
    {512, "Card issuer reconciliation request response"},
    {520, "Acquirer reconciliation advice"},
    {521, "Acquirer reconciliation advice repeat"},
    {522, "Card issuer reconciliation advice"},
    {523, "Card issuer reconciliation advice repeat"},
    {530, "Acquirer reconciliation advice response"},
    {532, "Card issuer reconciliation advice response"},
    {600, "Administrative request"},
    {601, "Administrative request repeat"},
    {610, "Administrative request response"},
    {620, "Administrative advice"},
    {621, "Administrative advice repeat"},
    {630, "Administrative advice response"},
    {800, "Network management request"},
    {801, "Network management request repeat"},
    {810, "Network management request response"},
    {820, "Network management advice"},
    {821, "Network management advice repeat"},
};

struct Codigo {
    std::string_view codigo;
    const char *nome;
};

constexpr Codigo PROCESSAMENTOS[] = {
    {"00", "Goods and services"},
    {"01", "Cash"},
    {"02", "Debit adjustment"},
    {"03", "Check guarantee (funds guaranteed)"},
    {"04", "Check verification (funds available but not guaranteed)"},
    {"05", "Eurocheck"},
    {"06", "Traveler check"},
    {"07", "Letter of credit"},
    {"08", "Giro (postal banking)"},
    {"09", "Goods and services with cash disbursement"},
    {"20", "Returns"},
    {"21", "Deposit"},
    {"22", "Credit adjustment"},
    {"23", "Check deposit guarantee"},
    {"24", "Check deposit"},
    {"30", "Available funds inquiry"},
    {"31", "Balance inquiry"},
    {"40", "Cardholder accounts transfer"},
};

// From 07 up they came after the standard's first version, and are used with it.
constexpr Codigo ENTRADAS[] = {
    {"00", "Unspecified"},
    {"01", "Manual"},
    {"02", "Magnetic stripe"},
    {"03", "Bar code"},
    {"04", "OCR"},
    {"05", "Integrated circuit card"},
    {"07", "Contactless integrated circuit card"},
    {"10", "Credential on file"},
    {"80", "Fallback from integrated circuit card to magnetic stripe"},
    {"90", "Magnetic stripe, whole track read"},
    {"91", "Contactless magnetic stripe"},
    {"95", "Integrated circuit card, verification value unreliable"},
};

constexpr Codigo RESPOSTAS[] = {
    {"00", "Approved or completed successfully"},
    {"01", "Refer to card issuer"},
    {"02", "Refer to card issuer's special conditions"},
    {"03", "Invalid merchant"},
    {"04", "Pick-up"},
    {"05", "Do not honor"},
    {"06", "Error"},
    {"07", "Pick-up card, special condition"},
    {"08", "Honor with identification"},
    {"09", "Request in progress"},
    {"10", "Approved for partial amount"},
    {"11", "Approved (VIP)"},
    {"12", "Invalid transaction"},
    {"13", "Invalid amount"},
    {"14", "Invalid card number (no such number)"},
    {"15", "No such issuer"},
    {"16", "Approved, update track 3"},
    {"17", "Customer cancellation"},
    {"18", "Customer dispute"},
    {"19", "Re-enter transaction"},
    {"20", "Invalid response"},
    {"21", "No action taken"},
    {"22", "Suspected malfunction"},
    {"23", "Unacceptable transaction fee"},
    {"24", "File update not supported by receiver"},
    {"25", "Unable to locate record on file"},
    {"26", "Duplicate file update record, old record replaced"},
    {"27", "File update field edit error"},
    {"28", "File update file locked out"},
    {"29", "File update not successful, contact acquirer"},
    {"30", "Format error"},
    {"31", "Bank not supported by switch"},
    {"32", "Completed partially"},
    {"33", "Expired card, pick-up"},
    {"34", "Suspected fraud, pick-up"},
    {"35", "Card acceptor contact acquirer, pick-up"},
    {"36", "Restricted card, pick-up"},
    {"37", "Card acceptor call acquirer security, pick-up"},
    {"38", "Allowable PIN tries exceeded, pick-up"},
    {"39", "No credit account"},
    {"40", "Requested function not supported"},
    {"41", "Lost card"},
    {"42", "No universal account"},
    {"43", "Stolen card, pick-up"},
    {"44", "No investment account"},
    {"51", "Not sufficient funds"},
    {"52", "No checking account"},
    {"53", "No savings account"},
    {"54", "Expired card"},
    {"55", "Incorrect PIN"},
    {"56", "No card record"},
    {"57", "Transaction not permitted to cardholder"},
    {"58", "Transaction not permitted to terminal"},
    {"59", "Suspected fraud"},
    {"60", "Card acceptor contact acquirer"},
    {"61", "Exceeds withdrawal amount limit"},
    {"62", "Restricted card"},
    {"63", "Security violation"},
    {"64", "Original amount incorrect"},
    {"65", "Exceeds withdrawal frequency limit"},
    {"66", "Card acceptor call acquirer's security department"},
    {"67", "Hard capture (requires that card be picked up at ATM)"},
    {"68", "Response received too late"},
    {"75", "Allowable number of PIN tries exceeded"},
    {"90", "Cutoff is in process"},
    {"91", "Issuer or switch is inoperative"},
    {"92", "Financial institution or intermediate network facility cannot be found for routing"},
    {"93", "Transaction cannot be completed, violation of law"},
    {"94", "Duplicate transmission"},
    {"95", "Reconcile error"},
    {"96", "System malfunction"},
};

// The rows stand in the order of their codes, which the search needs.
static_assert(std::ranges::is_sorted(TRANSACOES, {}, &Transacao::codigo));
static_assert(std::ranges::is_sorted(PROCESSAMENTOS, {}, &Codigo::codigo));
static_assert(std::ranges::is_sorted(ENTRADAS, {}, &Codigo::codigo));
static_assert(std::ranges::is_sorted(RESPOSTAS, {}, &Codigo::codigo));

template <typename LINHA, typename CODIGO>
const char *nomeEm(std::span<const LINHA> tabela, const CODIGO &codigo) {
    const auto linha = std::ranges::lower_bound(tabela, codigo, {}, &LINHA::codigo);
    return linha != tabela.end() && linha->codigo == codigo ? linha->nome : nullptr;
}

std::span<const Codigo> codigosDe(std::int32_t bit) {
    switch (bit) {
    case 3:
        return PROCESSAMENTOS;
    case 22:
        return ENTRADAS;
    case 39:
        return RESPOSTAS;
    default:
        return {};
    }
}

} // namespace

const char *YMensagemIso_nomeDaTransacao(int32_t transacao) {
    return nomeEm(std::span<const Transacao>(TRANSACOES), transacao);
}

const char *YMensagemIso_nomeDoCodigo(int32_t bit, const char *texto) {
    const auto codigos = codigosDe(bit);
    const std::string_view inteiro = texto != nullptr ? texto : "";
    if (codigos.empty() || inteiro.size() != regraDe(bit).maximo) {
        return nullptr;
    }
    return nomeEm(codigos, inteiro.substr(0, 2));
}
