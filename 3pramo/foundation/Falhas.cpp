// A fixed table of causes under one lock. The text of a failure is made before the lock is taken and goes to
// the log after it was let go, so that neither a slow sink nor one that fails in turn holds up the others.
#include <3pramo/foundation/Falhas.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YObLOG.h>
#include <3pramo/foundation/mascara.hpp>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <typeinfo>
#include <utility>

using namespace pramo;

namespace {

constexpr std::chrono::seconds INTERVALO{1};
constexpr std::chrono::minutes SILENCIO{1};

// FNV-1a. The lowest bit is set because 0 marks a free place.
std::uint64_t mistura(std::string_view texto, std::uint64_t semente) {
    std::uint64_t chave = semente ^ 0xCBF29CE484222325;
    for (const char c : texto) {
        chave = (chave ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    }
    return chave | 1;
}

// Nothing is caught around the log, which raises nothing: a sink that ends its thread unwinds through here
// while an exception is handled, and in a catch block that would end the process.
void escreveNoLog(const Falhas::Texto &texto, std::uint32_t caladas) {
    if (caladas == 0) {
        YObLOG_masc_print(Y_LOG_ERRO, "%s", texto.data());
    } else {
        YObLOG_masc_print(Y_LOG_ERRO, "%s [mais %u vezes]", texto.data(), caladas);
    }
}

/// A message as a line may show it: a handler's may quote what it failed on, card data too. Masked before it
/// is cut, with more behind the cut than a card number is long: the beginning of one looks like none.
class Mensagem {
public:
    explicit Mensagem(const char *inteira) {
        std::snprintf(texto_.data(), texto_.size(), "%s", inteira);
        mascaraNoLugar(texto_.data(), std::strlen(texto_.data()));
    }

    [[nodiscard]] const char *texto() const { return texto_.data(); }

private:
    std::array<char, std::tuple_size_v<Falhas::Texto> + 64> texto_{};
};

} // namespace

/// In a catch block. Gives the key of the cause: not of the text, which a peer may have chosen.
std::uint64_t Falhas::descreve(const char *operacao, Texto &texto) const {
    const auto escreve = [&](const char *classe, const char *mensagem) {
        std::snprintf(texto.data(), texto.size(), "%s_%s: %s: %s", classe_, operacao, classe, mensagem);
    };
    try {
        throw;
    } catch (const YExcecao &e) {
        std::snprintf(texto.data(), texto.size(), "%s_%s: %s: %.200s (%s:%d)", classe_, operacao,
                      e.classe()->name, Mensagem(e.what()).texto(), e.arquivo(), e.linha());
        return mistura(e.classe()->name, mistura(e.arquivo(), static_cast<std::uint64_t>(e.linha())));
    } catch (const std::bad_alloc &) {
        escreve("YExc", "Memória insuficiente."_l1);
    } catch (const std::exception &e) {
        // Its text may quote what a peer sent: the type alone is the cause.
        escreve("YExc", Mensagem(e.what()).texto());
        return mistura(typeid(e).name(), 0);
    } catch (...) {
        if (terminaAThread()) {
            throw;
        }
        escreve("YExc", "Exceção desconhecida."_l1);
    }
    return mistura(texto.data(), 1);
}

Falhas::Causa &Falhas::lugarPara(std::uint64_t chave) {
    const auto achada = std::find_if(causas_.begin(), causas_.end(),
                                     [chave](const Causa &causa) { return causa.chave == chave; });
    if (achada != causas_.end()) {
        return *achada;
    }
    // A free place was never seen, so it is the oldest. What the one that goes had counted is lost with it.
    Causa &maisVelha = *std::min_element(causas_.begin(), causas_.end(),
                                         [](const Causa &a, const Causa &b) { return a.vista < b.vista; });
    maisVelha = Causa{};
    return maisVelha;
}

void Falhas::registra(const char *operacao, Quanto quanto) {
    Texto texto{};
    const std::uint64_t chave = descreve(operacao, texto);
    std::uint32_t caladas = 0;
    {
        const auto agora = std::chrono::steady_clock::now();
        const Tranca tranca(trinco_);
        Causa &causa = lugarPara(chave);
        const bool nova = causa.chave == 0;
        // UMA_VEZ counts from the last time it was seen: what goes on failing stays silent.
        const bool calada =
            quanto == Quanto::UMA_VEZ ? agora - causa.vista < SILENCIO : agora - causa.registrada < INTERVALO;
        causa.chave = chave;
        causa.quanto = quanto;
        causa.vista = agora;
        causa.texto = texto;
        // A new cause has no times yet, and soon after boot the clock itself is below these bounds.
        if (calada && !nova) {
            causa.caladas++;
            return;
        }
        causa.registrada = agora;
        caladas = std::exchange(causa.caladas, 0);
    }
    escreveNoLog(texto, caladas);
}

bool Falhas::contagemVencida(const Causa &causa, Momento agora) {
    return causa.caladas > 0 && causa.quanto == Quanto::UMA_POR_SEGUNDO &&
           agora - causa.registrada >= INTERVALO;
}

void Falhas::registraContagens() {
    const auto agora = std::chrono::steady_clock::now();
    Tranca tranca(trinco_);
    for (Causa &causa : causas_) {
        if (contagemVencida(causa, agora)) {
            const Texto texto = causa.texto;
            const std::uint32_t caladas = std::exchange(causa.caladas, 0);
            causa.registrada = agora;
            // Without the lock: a sink may take its time, or serve a request that fails. The places stay
            // where they are, so the walk goes on behind this one.
            tranca.solta();
            escreveNoLog(texto, caladas);
            tranca.tranca();
        }
    }
}
