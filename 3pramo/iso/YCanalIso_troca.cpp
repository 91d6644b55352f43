// Who reads, who writes, and whose a message is.
#include <3pramo/iso/YCanalIso_interno.hpp>

#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/iso/YMensagemIso_interno.hpp>

#include <algorithm>

using namespace pramo;
using namespace pramo::iso;

namespace {

constexpr std::size_t CHAVES_LEMBRADAS = 8192;
constexpr int SEQUENCIA = 11;
constexpr int TERMINAL = 41;

Prazo::Relogio::time_point momentoDe(const Prazo &prazo) {
    return Prazo::Relogio::now() + std::chrono::milliseconds(prazo.resta());
}

// Class and function of the request, and the lengths of the elements: no text can pass for two.
std::string chave(std::int32_t codigoDoPedido, const YMensagemIso &mensagem) {
    std::string texto = std::to_string(codigoDoPedido / 10);
    for (const int bit : {SEQUENCIA, TERMINAL}) {
        const std::string_view valor = elemento(mensagem, bit);
        texto += valor.data() != nullptr ? '|' + std::to_string(valor.size()) + ':' : "|";
        texto += valor;
    }
    return texto;
}

thread_local bool avisando = false; // in the application's function of some channel

// The functions come in pairs: an even one asks, the odd one after it answers.
bool ehResposta(std::int32_t codigo) {
    return codigo / 10 % 2 == 1;
}

} // namespace

std::string pramo::iso::chaveDoPedido(const YMensagemIso &mensagem) {
    const std::int32_t codigo = mensagem.transacao;
    return codigo < 0 || ehResposta(codigo) ? std::string() : chave(codigo, mensagem);
}

std::string pramo::iso::chaveDaResposta(const YMensagemIso &mensagem) {
    const std::int32_t codigo = mensagem.transacao;
    return ehResposta(codigo) ? chave(codigo - 10, mensagem) : std::string();
}

void ChavesPedidas::anota(const std::string &chave) {
    if (novas_.size() == CHAVES_LEMBRADAS) {
        antigas_ = std::move(novas_);
        novas_.clear();
    }
    novas_.insert(chave);
}

bool ChavesPedidas::tem(const std::string &chave) const {
    return novas_.contains(chave) || antigas_.contains(chave);
}

// ---- Turns ----

class Canal::Registro {
public:
    Registro(Canal &canal, Espera &eu) : canal_(canal), eu_(eu) {
        const Tranca tranca(canal.trinco_);
        if (!eu.chave.empty()) {
            if (canal.donaDe(eu.chave) != nullptr) {
                lanca(YExc_rtti, "Pedido igual em andamento.", FONTE_DO_CANAL);
            }
            // Before it is sent, when giving up is still free.
            canal.pedidas_.anota(eu.chave);
        }
        canal.esperas_.push_back(&eu);
    }
    ~Registro() {
        // What came for one that an exception or a failed request takes away was for nobody.
        if (!saiu_ && sai()) {
            canal_.avulsas_[eu_.chave.empty() ? Y_ISO_ESTRANHA : Y_ISO_TARDIA]++;
        }
    }
    Registro(const Registro &) = delete;
    Registro &operator=(const Registro &) = delete;

    /// From here on nothing is handed to it. True when something was, be it after its wait had ended.
    bool sai() {
        const Tranca tranca(canal_.trinco_);
        saiu_ = true;
        canal_.esperas_.remove(&eu_);
        // It may have been woken to read, and go for another reason.
        canal_.acordaUm();
        return eu_.pronta;
    }

private:
    Canal &canal_;
    Espera &eu_;
    bool saiu_ = false;
};

class Canal::Leitura {
public:
    explicit Leitura(Canal &canal) : canal_(canal) {}
    ~Leitura() {
        const Tranca tranca(canal_.trinco_);
        canal_.lendo_ = false;
        canal_.acordaUm();
    }
    Leitura(const Leitura &) = delete;
    Leitura &operator=(const Leitura &) = delete;

private:
    Canal &canal_;
};

class Canal::Escrita {
public:
    explicit Escrita(Canal &canal) : canal_(canal) {}
    ~Escrita() {
        const Tranca tranca(canal_.trinco_);
        canal_.escrevendo_ = false;
        canal_.podeEscrever_.avisaUm();
    }
    Escrita(const Escrita &) = delete;
    Escrita &operator=(const Escrita &) = delete;

private:
    Canal &canal_;
};

void Canal::acordaUm() {
    if (lendo_) {
        return;
    }
    for (Espera *espera : esperas_) {
        if (espera->dormindo && !espera->pronta) {
            espera->condicao.avisa();
            return;
        }
    }
}

// Nothing when the turn of reading is the caller's.
std::optional<YFimDaEspera> Canal::tomaVez(Espera &eu, const Prazo &prazo) {
    const Tranca tranca(trinco_);
    for (;;) {
        if (eu.pronta) {
            return Y_ESPERA_PRONTA;
        }
        if (fim_ != Y_ESPERA_PRONTA) {
            return fim_;
        }
        if (!lendo_) {
            lendo_ = true;
            return std::nullopt;
        }
        if (prazo.resta() == 0) {
            return Y_ESPERA_PRAZO;
        }
        eu.dormindo = true;
        eu.condicao.esperaAte(trinco_, momentoDe(prazo));
        eu.dormindo = false;
    }
}

// Gives how it ended first: what comes of that, a cancelled socket, is no other end.
YFimDaEspera Canal::fecha(YFimDaEspera fim) {
    const Tranca tranca(trinco_);
    if (fim_ == Y_ESPERA_PRONTA) {
        fim_ = fim;
    }
    for (Espera *espera : esperas_) {
        espera->condicao.avisa();
    }
    return fim_;
}

void Canal::rompe() {
    fecha(Y_ESPERA_FECHADA);
    YSocket_cancela(&socket());
}

// ---- Connection ----

void Canal::setSocket(YSocket *socket) {
    socket_ = socket;
    leitor_.recomeca();
    const Tranca tranca(trinco_);
    fim_ = Y_ESPERA_PRONTA;
}

YSocket &Canal::socket() const {
    if (socket_ == nullptr) {
        lanca(YExc_rtti, "Canal sem conexão."_l1, FONTE_DO_CANAL);
    }
    return *socket_;
}

// ---- Sending ----

YFimDaEspera Canal::envia(const YMensagemIso &mensagem, const Prazo &prazo) {
    socket();
    const auto quadro = cria<YStream>(YStream_rtti, FONTE_DO_CANAL);
    como.escreve(mensagem, *quadro);
    return enviaQuadro(*quadro, prazo);
}

YFimDaEspera Canal::enviaQuadro(YStream &quadro, const Prazo &prazo) {
    {
        const Tranca tranca(trinco_);
        while (escrevendo_) {
            if (prazo.resta() == 0) {
                return Y_ESPERA_PRAZO;
            }
            podeEscrever_.esperaAte(trinco_, momentoDe(prazo));
        }
        escrevendo_ = true;
    }
    const Escrita escrita(*this);
    const YFimDaEspera fim = YSocket_enviaMs(&socket(), &quadro, static_cast<std::uint32_t>(prazo.resta()));
    if (fim == Y_ESPERA_PRAZO) {
        rompe(); // a part may have gone: whatever followed would be taken for the rest
    }
    return fim == Y_ESPERA_PRONTA || fim == Y_ESPERA_PRAZO ? fim : fecha(fim);
}

// ---- Receiving ----

YFimDaEspera Canal::recebe(const std::string &chave, const YMensagemIso *pedido, Recebida &recebida,
                           const Prazo &prazo) {
    if (avisando) {
        lanca(YExc_rtti, "Recebimento dentro do aviso de uma avulsa.", FONTE_DO_CANAL);
    }
    socket();
    Espera eu{chave};
    // An answer may come before sending has returned.
    Registro registro(*this, eu);
    if (pedido != nullptr) {
        if (const auto acabou = fim()) {
            return *acabou; // no answer could come any more
        }
        if (const YFimDaEspera enviado = envia(*pedido, prazo); enviado != Y_ESPERA_PRONTA) {
            return enviado;
        }
    }
    const YFimDaEspera esperado = espera(eu, prazo);
    if (!registro.sai()) {
        return esperado;
    }
    recebida = std::move(eu.recebida);
    return Y_ESPERA_PRONTA;
}

std::optional<YFimDaEspera> Canal::fim() {
    const Tranca tranca(trinco_);
    return fim_ != Y_ESPERA_PRONTA ? std::optional(fim_) : std::nullopt;
}

YFimDaEspera Canal::espera(Espera &eu, const Prazo &prazo) {
    for (;;) {
        if (const auto fim = tomaVez(eu, prazo)) {
            return *fim;
        }
        Recebida avulsa;
        YAvulsaIso qual = Y_ISO_ESTRANHA;
        {
            const Leitura leitura(*this);
            const YFimDaEspera fim = leEDistribui(eu, prazo, avulsa, qual);
            if (fim != Y_ESPERA_PRONTA) {
                return fim;
            }
        }
        // Without the turn: others read on.
        if (avulsa.mensagem != nullptr) {
            avisaAvulsa(qual, avulsa);
            if (prazo.resta() == 0) {
                return Y_ESPERA_PRAZO; // they hold nobody beyond the deadline
            }
        }
    }
}

// Reads until `eu` is ready or something came that nobody waits for.
YFimDaEspera Canal::leEDistribui(const Espera &eu, const Prazo &prazo, Recebida &avulsa, YAvulsaIso &qual) {
    // Only who has the turn makes somebody ready: no lock for looking.
    while (!eu.pronta) {
        Recebida recebida;
        const YFimDaEspera fim = leUma(recebida, prazo);
        if (fim != Y_ESPERA_PRONTA) {
            return fim;
        }
        if (const auto deNinguem = entrega(recebida)) {
            avulsa = std::move(recebida);
            qual = *deNinguem;
            break;
        }
        if (!eu.pronta && prazo.resta() == 0) {
            return Y_ESPERA_PRAZO;
        }
    }
    return Y_ESPERA_PRONTA;
}

YFimDaEspera Canal::leUma(Recebida &recebida, const Prazo &prazo) {
    // All that may fail for want of memory comes before the frame is taken, but its texts.
    recebida.mensagem = cria<YMensagemIso>(YMensagemIso_rtti, FONTE_DO_CANAL);
    recebida.cabecalho.resize(como.cabecalho.size());
    try {
        const YFimDaEspera fim = leitor_.le(socket(), como, prazo);
        if (fim != Y_ESPERA_PRONTA) {
            return fim == Y_ESPERA_PRAZO ? fim : fecha(fim);
        }
    } catch (const YExcecao &e) {
        if (e.ehDaClasse(YExcIOError_rtti)) {
            rompe(); // a shortage of memory leaves the frame where it was
        }
        throw;
    }
    const std::string_view corpo = leitor_.corpo();
    try {
        como.carrega(corpo, *recebida.mensagem);
        recebida.chave = chaveDaResposta(*recebida.mensagem);
        corpo.copy(recebida.cabecalho.data(), recebida.cabecalho.size());
    } catch (const std::exception &) {
        recebida.queixa = std::current_exception();
    }
    leitor_.recomeca();
    return Y_ESPERA_PRONTA;
}

Espera *Canal::donaDe(const std::string &chave) {
    const auto achada = std::ranges::find_if(
        esperas_, [&](const Espera *espera) { return !espera->pronta && espera->chave == chave; });
    return achada != esperas_.end() ? *achada : nullptr;
}

// Hands it to whom it is for; otherwise says what it is.
std::optional<YAvulsaIso> Canal::entrega(Recebida &recebida) {
    const Tranca tranca(trinco_);
    const std::string ninguem;
    const bool ehResposta = !recebida.chave.empty();
    Espera *dona = ehResposta ? donaDe(recebida.chave) : nullptr;
    const bool tardia = dona == nullptr && ehResposta && pedidas_.tem(recebida.chave);
    if (dona == nullptr && !tardia) {
        dona = donaDe(ninguem); // who takes whatever comes
    }
    if (dona == nullptr) {
        const YAvulsaIso qual = recebida.queixa != nullptr ? Y_ISO_MAL_FORMADA
                                : tardia                   ? Y_ISO_TARDIA
                                                           : Y_ISO_ESTRANHA;
        avulsas_[qual]++;
        return qual;
    }
    dona->recebida = std::move(recebida);
    dona->pronta = true;
    dona->condicao.avisa();
    return std::nullopt;
}

void Canal::avisaAvulsa(YAvulsaIso qual, const Recebida &avulsa) {
    if (funcao == nullptr) {
        return;
    }
    // Within itself it would go as deep as the peer has messages.
    struct Aviso {
        Aviso() { avisando = true; }
        ~Aviso() { avisando = false; }
    } const aviso;
    try {
        funcao(contexto, &eu_, qual, avulsa.mensagem, avulsa.queixa ? mensagemDe(avulsa.queixa) : nullptr);
    } catch (...) {
        registraExcecaoCorrente("YCanalIso_avulsa");
    }
}
