// Identities: from a pointer to its entry and from the 128 bits of its text (its ficha) back, two tables
// under one lock. The kept entries are service objects, until esqueceIdentidade; the others are passengers,
// of whom the one issued first makes room for the next. A client's text is only looked up: one that was not
// issued leads nowhere, and nothing that it holds is ever taken for an address.
#include <3pramo/foundation/YIdentidade_interno.hpp>

#include <3pramo/foundation/Eterno.hpp>
#include <3pramo/foundation/Trinco.hpp>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>

#include <array>
#include <cerrno>
#include <cstring>
#include <list>
#include <optional>
#include <sys/random.h>
#include <unordered_map>
#include <utility>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YIdentidade";
constexpr std::size_t MAXIMO_DE_PASSAGEIRAS = 100'000;
constexpr std::size_t DIGITOS = 32;

using Ficha = std::array<std::uint64_t, 2>; // 128 random bits

// Random as they are: only texts issued here are entered, so no client chooses which ones collide.
struct EspalhaFicha {
    std::size_t operator()(const Ficha &ficha) const { return ficha[0]; }
};

struct Entrada {
    std::optional<Ficha> ficha;            // none until the identity is asked for
    std::list<const void *>::iterator vez; // place in `passageiras`; its end for a kept one
    void *registro;                        // of a kept one
};

class Tabela {
public:
    void conserva(const void *ponteiro, void *registro) {
        const Tranca tranca(trinco);
        // A text that was asked for before the object was kept stays its text.
        const auto [it, nova] =
            porPonteiro_.try_emplace(ponteiro, Entrada{std::nullopt, passageiras_.end(), registro});
        if (!nova && it->second.vez != passageiras_.end()) {
            passageiras_.erase(it->second.vez);
            it->second.vez = passageiras_.end();
        }
        it->second.registro = registro;
    }

    void esquece(const void *ponteiro) {
        const Tranca tranca(trinco);
        if (const auto it = porPonteiro_.find(ponteiro); it != porPonteiro_.end()) {
            apaga(it);
        }
    }

    Ficha fichaDe(const void *ponteiro) {
        const Tranca tranca(trinco);
        auto it = porPonteiro_.find(ponteiro);
        if (it != porPonteiro_.end() && it->second.ficha) {
            return *it->second.ficha;
        }
        const Ficha ficha = sorteia();
        if (it == porPonteiro_.end()) {
            it = entraComoPassageira(ponteiro);
        }
        // In this order: should the table find no memory, the entry is one without a text and gets it next
        // time.
        porFicha_.emplace(ficha, &*it); // elements of a map stay where they are
        it->second.ficha = ficha;
        return ficha;
    }

    const void *ponteiroDe(const Ficha &ficha) {
        const Tranca tranca(trinco);
        const auto it = porFicha_.find(ficha);
        return it != porFicha_.end() ? it->second->first : nullptr;
    }

    // Looking up and accepting are one step under the lock that `esquece` takes: the object behind a record
    // that was accepted cannot have gone in between.
    void *pina(const Ficha &ficha, bool (*aceita)(void *registro)) {
        const Tranca tranca(trinco);
        const auto it = porFicha_.find(ficha);
        void *registro = it != porFicha_.end() ? it->second->second.registro : nullptr;
        return registro != nullptr && aceita(registro) ? registro : nullptr;
    }

    // What the parent fetched, the parent gives out too.
    void noFilho() Y_EXIGE(trinco) { usadas_ = sorteadas_.size(); }

    Trinco trinco;

private:
    using PorPonteiro = std::unordered_map<const void *, Entrada>;

    PorPonteiro::iterator entraComoPassageira(const void *ponteiro) Y_EXIGE(trinco) {
        if (passageiras_.size() >= MAXIMO_DE_PASSAGEIRAS) {
            apaga(porPonteiro_.find(passageiras_.front()));
        }
        // The place first, since the entry refers to it.
        passageiras_.push_back(ponteiro);
        try {
            return porPonteiro_
                .emplace(ponteiro, Entrada{std::nullopt, std::prev(passageiras_.end()), nullptr})
                .first;
        } catch (...) {
            passageiras_.pop_back();
            throw;
        }
    }

    void apaga(PorPonteiro::iterator it) Y_EXIGE(trinco) {
        if (it->second.ficha) {
            porFicha_.erase(*it->second.ficha);
        }
        if (it->second.vez != passageiras_.end()) {
            passageiras_.erase(it->second.vez);
        }
        porPonteiro_.erase(it);
    }

    // Random bits are fetched from the system in batches.
    Ficha sorteia() Y_EXIGE(trinco) {
        if (usadas_ == sorteadas_.size()) {
            auto *bytes = reinterpret_cast<unsigned char *>(sorteadas_.data());
            std::size_t lidos = 0;
            while (lidos < sizeof sorteadas_) {
                const ssize_t n = getrandom(bytes + lidos, sizeof sorteadas_ - lidos, 0);
                if (n < 0 && errno != EINTR) {
                    lanca(YExc_rtti, "Falta de números aleatórios."_l1, FONTE);
                }
                lidos += n > 0 ? static_cast<std::size_t>(n) : 0;
            }
            usadas_ = 0;
        }
        // The batch keeps no copy of what it gave out.
        return std::exchange(sorteadas_[usadas_++], Ficha{});
    }

    PorPonteiro porPonteiro_ Y_GUARDADO_POR(trinco);
    std::unordered_map<Ficha, PorPonteiro::value_type *, EspalhaFicha> porFicha_ Y_GUARDADO_POR(trinco);
    std::list<const void *> passageiras_ Y_GUARDADO_POR(trinco); // oldest first
    std::array<Ficha, 16> sorteadas_ Y_GUARDADO_POR(trinco){};
    std::size_t usadas_ Y_GUARDADO_POR(trinco) = 16;
};

Eterno<Tabela> tabelaEterna;

Tabela &tabela() {
    return *tabelaEterna;
}

const Bifurcavel<tabela> bifurcavel;

constexpr char HEX[] = "0123456789abcdef";

// Whatever a client sends: exactly 32 digits in lower case, as they are issued, or none.
std::optional<Ficha> leFicha(std::string_view texto) {
    texto = apara(texto);
    if (texto.size() != DIGITOS) {
        return std::nullopt;
    }
    Ficha ficha{};
    for (std::size_t i = 0; i < DIGITOS; i++) {
        const void *digito = std::memchr(HEX, texto[i], 16);
        if (digito == nullptr) {
            return std::nullopt;
        }
        const auto valor = static_cast<std::uint64_t>(static_cast<const char *>(digito) - HEX);
        ficha[i / 16] = ficha[i / 16] << 4 | valor;
    }
    return ficha;
}

} // namespace

void pramo::conservaIdentidade(const void *ponteiro, void *registro) {
    semFaltaDeMemoria(FONTE, [&] { tabela().conserva(ponteiro, registro); });
}

void *pramo::pinaIdentidade(const char *texto, bool (*aceita)(void *registro)) {
    const std::optional<Ficha> ficha = leFicha(texto != nullptr ? texto : "");
    return ficha ? tabela().pina(*ficha, aceita) : nullptr;
}

// Erasing takes no memory and raises nothing: it stands in destructors.
void pramo::esqueceIdentidade(const void *ponteiro) noexcept {
    tabela().esquece(ponteiro);
}

void YObPtrToStr(char *buffer, uint64_t tamanho, const void *ponteiro) {
    if (tamanho < Y_TAMANHO_IDENTIDADE) {
        lanca(YExc_rtti, "Buffer pequeno para a identidade."_l1, FONTE);
    }
    // Before the table is asked, which may raise: the caller then finds an empty text.
    buffer[0] = 0;
    if (ponteiro == nullptr) {
        return;
    }
    const Ficha ficha = semFaltaDeMemoria(FONTE, [&] { return tabela().fichaDe(ponteiro); });
    for (std::size_t i = 0; i < DIGITOS; i++) {
        buffer[i] = HEX[ficha[i / 16] >> (60 - 4 * (i % 16)) & 15];
    }
    buffer[DIGITOS] = 0;
}

void *YObStrToPtr(const char *texto) {
    const std::optional<Ficha> ficha = leFicha(texto != nullptr ? texto : "");
    // The table never writes through the pointer; it hands back what its caller gave.
    return ficha ? const_cast<void *>(tabela().ponteiroDe(*ficha)) : nullptr;
}
