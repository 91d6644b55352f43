// A web server on a free port, and the log as a list of lines.
#pragma once

#include <3pramo/3pramo.hpp>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

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

/// A running web server; without a handler it serves files.
class Servidor {
public:
    explicit Servidor(YFuncaoTratadorHttp tratador = nullptr, void *contexto = nullptr) {
        YWebServer_setPorta(get(), 0);
        if (tratador != nullptr) {
            YWebServer_setTratador(get(), contexto, tratador);
        }
        inicia();
    }

    void inicia() {
        YObThread_start(get());
        if (YWebServer_esperaPronto(get(), std::time(nullptr) + 10) == 0) {
            throw std::runtime_error("the server does not listen");
        }
    }

    void libera() { servidor_.reset(); }

    [[nodiscard]] YWebServer *get() const { return servidor_.get(); }
    operator YWebServer *() const { return servidor_; }
    [[nodiscard]] std::uint32_t porta() const { return YWebServer_getPorta(get()); }

private:
    pramo::Ponteiro<YWebServer> servidor_ = pramo::cria<YWebServer>(YWebServer_rtti);
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
