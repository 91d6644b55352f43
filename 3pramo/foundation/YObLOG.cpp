#include <3pramo/foundation/YObLOG_interno.hpp>

#include <3pramo/foundation/Formato.hpp>
#include <3pramo/foundation/Trinco.hpp>

#include <array>
#include <atomic>
#include <cstdio>
#include <ctime>
#include <exception>
#include <string>

using namespace pramo;

namespace {

struct Log {
    std::atomic<int> mascaras{Y_LOG_ERRO};
    Trinco trinco;
    YFuncaoLog funcao Y_GUARDADO_POR(trinco) = nullptr;
    void *contexto Y_GUARDADO_POR(trinco) = nullptr;
};

// Never destroyed: threads may log while the process ends.
Log &registro() {
    static auto *const unico = new Log;
    return *unico;
}

// True while this thread is inside the sink.
thread_local bool naSaida = false;

std::string escapa(std::string_view texto) {
    std::string linha;
    linha.reserve(texto.size());
    for (const char c : texto) {
        const auto byte = static_cast<unsigned char>(c);
        constexpr const char *HEX = "0123456789ABCDEF";
        if (c == '\n') {
            linha += "\\n";
        } else if (c == '\r') {
            linha += "\\r";
        } else if (c == '\t') {
            linha += "\\t";
        } else if (c == '\\') {
            linha += "\\\\";
        } else if (byte < 32 || (byte >= 127 && byte < 160)) {
            linha += {'\\', 'x', HEX[byte >> 4], HEX[byte & 15]};
        } else {
            linha += c;
        }
    }
    return linha;
}

/// Terminals of today read UTF-8.
std::string emUtf8(const char *latin1) {
    std::string texto;
    for (; *latin1 != 0; latin1++) {
        const auto c = static_cast<unsigned char>(*latin1);
        if (c < 128) {
            texto += *latin1;
        } else {
            texto += {static_cast<char>(0xC0 | c >> 6), static_cast<char>(0x80 | (c & 0x3F))};
        }
    }
    return texto;
}

void escreveNoErroPadrao(int mascara, const char *texto) {
    std::time_t agora = std::time(nullptr);
    std::tm tm{};
    gmtime_r(&agora, &tm);
    std::fprintf(stderr, "%04d-%02d-%02d %02d:%02d:%02d %d %s\n", tm.tm_year + 1900, tm.tm_mon + 1,
                 tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, mascara, emUtf8(texto).c_str());
}

void entrega(int mascara, const std::string &linha) {
    if (naSaida) {
        escreveNoErroPadrao(mascara, linha.c_str());
        return;
    }
    Log &log = registro();
    const Tranca tranca(log.trinco);
    if (log.funcao == nullptr) {
        escreveNoErroPadrao(mascara, linha.c_str());
        return;
    }
    naSaida = true;
    try {
        log.funcao(log.contexto, mascara, linha.c_str());
    } catch (const std::exception &) {
        escreveNoErroPadrao(mascara, linha.c_str());
    }
    naSaida = false;
}

} // namespace

void pramo::registraTexto(int mascara, std::string_view texto) {
    if ((YObLOG_habilitadas() & mascara) == 0) {
        return;
    }
    try {
        entrega(mascara, escapa(texto));
    } catch (const std::exception &) {
        // Logging never fails its caller.
        escreveNoErroPadrao(mascara, "(registro perdido)");
    }
}

void pramo::registraAdiado(int mascara, std::string_view texto) noexcept {
    registraTexto(mascara, texto);
}

void YObLOG_masc_print(int mascara, const char *formato, ...) {
    if ((YObLOG_habilitadas() & mascara) == 0) {
        return;
    }
    va_list argumentos;
    va_start(argumentos, formato);
    try {
        registraTexto(mascara, formataTexto(formato, argumentos));
    } catch (const std::exception &) {
        escreveNoErroPadrao(mascara, "(registro perdido)");
    }
    va_end(argumentos);
}

int YObLOG_habilita(int mascaras) {
    return registro().mascaras.exchange(mascaras);
}

int YObLOG_habilitadas(void) {
    return registro().mascaras.load(std::memory_order_relaxed);
}

void YObLOG_setSaida(YFuncaoLog funcao, void *contexto) Y_SEM_ANALISE {
    Log &log = registro();
    if (!naSaida) {
        log.trinco.tranca();
    }
    log.funcao = funcao;
    log.contexto = contexto;
    if (!naSaida) {
        log.trinco.solta();
    }
}
