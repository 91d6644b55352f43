// A running server, threads of a test, and the log as a list of lines.
#pragma once

#include "cliente.hpp"

namespace apoio {

/// Waits until the condition holds, ten seconds at most; false when it never did.
template <typename CONDICAO>
bool acontece(CONDICAO condicao) {
    const auto fim = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    bool feito = false;
    while (!(feito = condicao()) && std::chrono::steady_clock::now() < fim) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return feito;
}

/// Runs the function with 0, 1 and so on, on so many threads at once, until the vector goes; what one throws
/// is a failure of the test.
template <typename FUNCAO>
std::vector<std::jthread> emThreads(int quantas, FUNCAO funcao) {
    std::vector<std::jthread> todas;
    for (int i = 0; i < quantas; i++) {
        todas.emplace_back([=] {
            try {
                funcao(i);
            } catch (const std::exception &e) {
                ADD_FAILURE() << "on a thread: " << e.what();
            }
        });
    }
    return todas;
}

/// A server of a class, on a free port of the address of this process.
template <typename CLASSE, auto SET_PORTA, auto SET_ENDERECO, auto ESPERA_PRONTO, auto PORTA>
class ServidorDe {
public:
    explicit ServidorDe(YFuncaoRtti classe) : servidor_(cria<CLASSE>(classe)) {
        SET_PORTA(servidor_, 0);
        SET_ENDERECO(servidor_, inet_ntoa(enderecoProprio()));
    }

    void inicia() {
        YObThread_start(servidor_);
        EXPECT_EQ(ESPERA_PRONTO(servidor_, std::time(nullptr) + 10), 1);
    }

    void libera() { servidor_.reset(); }

    operator CLASSE *() const { return servidor_; }
    [[nodiscard]] std::uint32_t porta() const { return static_cast<std::uint32_t>(PORTA(servidor_)); }
    /// The answer to bytes on a connection of their own; all that comes.
    [[nodiscard]] Resposta responde(std::string_view bytes) const { return Cliente(porta()).pergunta(bytes); }
    std::string conversa(std::string_view bytes) const { return apoio::conversa(porta(), bytes); }

private:
    Ponteiro<CLASSE> servidor_;
};

using ServidorTcp = ServidorDe<YTcpServer, YTcpServer_setPorta, YTcpServer_setEndereco,
                               YTcpServer_esperaPronto, YTcpServer_getPorta>;

/// A running web server; without a handler it serves files.
struct Servidor : ServidorDe<YWebServer, YWebServer_setPorta, YWebServer_setEndereco, YWebServer_esperaPronto,
                             YWebServer_getPorta> {
    explicit Servidor(YFuncaoTratadorHttp tratador = nullptr, void *contexto = nullptr,
                      YFuncaoRtti classe = YWebServer_rtti)
        : ServidorDe(classe) {
        if (tratador != nullptr) {
            YWebServer_setTratador(*this, contexto, tratador);
        }
        inicia();
    }
};

/// While it lives, takes the records of the log, those of `mascaras` only.
class Diario {
public:
    explicit Diario(int mascaras = Y_LOG_ERRO) : antes_(YObLOG_habilita(mascaras)) {
        YObLOG_setSaida(anota, this);
    }
    ~Diario() {
        YObLOG_setSaida(nullptr, nullptr);
        YObLOG_habilita(antes_);
    }

    /// How many records hold the text.
    [[nodiscard]] long quantos(std::string_view texto) const {
        const std::lock_guard trava(mutex_);
        return std::ranges::count_if(linhas_,
                                     [=](const auto &linha) { return linha.find(texto) != linha.npos; });
    }

private:
    static void anota(void *eu, int /*mascara*/, const char *texto) {
        auto *diario = static_cast<Diario *>(eu);
        const std::lock_guard trava(diario->mutex_);
        diario->linhas_.emplace_back(texto);
    }

    mutable std::mutex mutex_; // so that it stays where the log knows it to be
    std::vector<std::string> linhas_;
    int antes_;
};

} // namespace apoio
