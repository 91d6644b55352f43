// What the sources of the channel share: who waits, who reads, who writes.
// One lock guards who does what and who waits for what; nobody holds it while the network is waited for.
// Reading is a turn: a thread that waits takes it when it is free, hands the others what is theirs, and wakes
// one of them when it gives it back. No wake is lost: whoever goes, woken or not, wakes the next while
// the turn is free.
#ifndef Y3PRAMO_ISO_YCANALISO_INTERNO_HPP
#define Y3PRAMO_ISO_YCANALISO_INTERNO_HPP

#include <3pramo/foundation/Trinco.hpp>
#include <3pramo/iso/quadro.hpp>

#include <atomic>
#include <exception>
#include <list>
#include <optional>
#include <unordered_set>

namespace pramo::iso {

/// What was read, with its header.
struct Recebida {
    Ponteiro<YMensagemIso> mensagem;
    std::string cabecalho;
    std::string chave;         // of the request that it answers; empty when it is no answer
    std::exception_ptr queixa; // why it is no message; null otherwise
};

/// One thread that waits, for an answer or (without a key) for any message. All but the key is guarded by the
/// channel's lock until it is ready.
struct Espera {
    const std::string chave;
    Condicao condicao{};
    bool dormindo = false;
    bool pronta = false;
    Recebida recebida{};
};

/// By what an answer is found to be a request's, of the request; empty when the message is none.
std::string chaveDoPedido(const YMensagemIso &mensagem);

/// The same, of an answer.
std::string chaveDaResposta(const YMensagemIso &mensagem);

/// The keys that were asked lately.
class ChavesPedidas {
public:
    void anota(const std::string &chave);
    [[nodiscard]] bool tem(const std::string &chave) const;

private:
    // Two halves, of which the older one is forgotten as a whole.
    std::unordered_set<std::string> novas_, antigas_;
};

class Canal {
public:
    explicit Canal(YCanalIso &eu) : eu_(eu) {}

    Enquadramento como; // a setting, like the next two
    void *contexto = nullptr;
    YFuncaoAvulsaIso funcao = nullptr;

    void setSocket(YSocket *socket);
    [[nodiscard]] std::uint64_t avulsas(YAvulsaIso qual) const { return avulsas_[qual]; }

    YFimDaEspera envia(const YMensagemIso &mensagem, const Prazo &prazo);
    /// Sends the request, if there is one, and waits for what has the key; raises when frames can no longer
    /// be told apart.
    YFimDaEspera recebe(const std::string &chave, const YMensagemIso *pedido, Recebida &recebida,
                        const Prazo &prazo);

private:
    class Registro; // one that waits, among the others for its scope
    class Leitura;  // the turn of reading
    class Escrita;  // the turn of writing

    YSocket &socket() const;
    YFimDaEspera enviaQuadro(YStream &quadro, const Prazo &prazo);
    YFimDaEspera espera(Espera &eu, const Prazo &prazo);
    std::optional<YFimDaEspera> tomaVez(Espera &eu, const Prazo &prazo);
    YFimDaEspera leEDistribui(const Espera &eu, const Prazo &prazo, Recebida &avulsa, YAvulsaIso &qual);
    YFimDaEspera leUma(Recebida &recebida, const Prazo &prazo);
    std::optional<YAvulsaIso> entrega(Recebida &recebida);
    Espera *donaDe(const std::string &chave) Y_EXIGE(trinco_);
    void avisaAvulsa(YAvulsaIso qual, const Recebida &avulsa);
    void acordaUm() Y_EXIGE(trinco_);
    YFimDaEspera fecha(YFimDaEspera fim);
    void rompe();
    std::optional<YFimDaEspera> fim();

    YCanalIso &eu_;
    YSocket *socket_ = nullptr; // not owned
    LeitorDeQuadros leitor_;    // of whoever has the turn of reading
    std::atomic<std::uint64_t> avulsas_[3] = {};
    Trinco trinco_;
    Condicao podeEscrever_;
    std::list<Espera *> esperas_ Y_GUARDADO_POR(trinco_);
    ChavesPedidas pedidas_ Y_GUARDADO_POR(trinco_);
    bool lendo_ Y_GUARDADO_POR(trinco_) = false;
    bool escrevendo_ Y_GUARDADO_POR(trinco_) = false;
    YFimDaEspera fim_ Y_GUARDADO_POR(trinco_) = Y_ESPERA_PRONTA; // another once nothing more is received
};

} // namespace pramo::iso

#endif
