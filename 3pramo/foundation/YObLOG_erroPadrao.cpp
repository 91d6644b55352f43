// The default sink: lines on standard error, which may be a file, a terminal, or a pipe that nobody reads.
#include <3pramo/foundation/YObLOG_interno.hpp>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace pramo;

namespace {

/// While it lives, the thread is not ended from outside, and the signals of a write that fails (nobody reads
/// the pipe, the file is too long) neither end the process nor stay behind.
class Resguardo {
public:
    Resguardo() noexcept {
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelamento_);
        sigemptyset(&sinais_);
        sigaddset(&sinais_, SIGPIPE);
        sigaddset(&sinais_, SIGXFSZ);
        pthread_sigmask(SIG_BLOCK, &sinais_, &antes_);
    }
    ~Resguardo() {
        if (falhou_) {
            // Those that the application keeps blocked are its own.
            for (const int sinal : {SIGPIPE, SIGXFSZ}) {
                if (sigismember(&antes_, sinal) == 1) {
                    sigdelset(&sinais_, sinal);
                }
            }
            const timespec jaPassou{};
            sigtimedwait(&sinais_, nullptr, &jaPassou);
        }
        pthread_sigmask(SIG_SETMASK, &antes_, nullptr);
        pthread_setcancelstate(cancelamento_, nullptr);
    }
    Resguardo(const Resguardo &) = delete;
    Resguardo &operator=(const Resguardo &) = delete;

    void falhou() { falhou_ = true; }

private:
    sigset_t sinais_{};
    sigset_t antes_{};
    int cancelamento_ = 0;
    bool falhou_ = false;
};

/// What one write takes without waiting; -1 when nothing.
ssize_t escreveUmaVez(const char *bytes, std::size_t quantos) {
    // A socket takes "without waiting" as an option of the call; anything else is asked whether it is ready
    // first.
    const ssize_t enviados = send(STDERR_FILENO, bytes, quantos, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (enviados >= 0 || errno != ENOTSOCK) {
        return enviados;
    }
    // A pipe that is ready takes PIPE_BUF bytes.
    pollfd pronto{STDERR_FILENO, POLLOUT, 0};
    if (poll(&pronto, 1, 0) == 1 && (pronto.revents & POLLOUT) != 0) {
        return write(STDERR_FILENO, bytes, quantos);
    }
    errno = EAGAIN;
    return -1;
}

/// A line on its way out, in pieces of PIPE_BUF: a line no longer than that arrives whole or not at all.
class Linha {
public:
    void poe(char c) {
        if (quantos_ == bytes_.size()) {
            escreve();
        }
        bytes_[quantos_++] = c;
    }

    /// True when everything was taken.
    bool termina() {
        escreve();
        return inteira_;
    }

    /// True when something was taken.
    [[nodiscard]] bool comecou() const { return comecou_; }

private:
    // After a piece that was not taken the rest of the line is left out.
    void escreve() {
        std::size_t escritos = 0;
        while (inteira_ && escritos < quantos_) {
            const ssize_t n = escreveUmaVez(bytes_.data() + escritos, quantos_ - escritos);
            if (n > 0) {
                escritos += static_cast<std::size_t>(n);
                comecou_ = true;
            } else if (n == 0 || errno != EINTR) {
                inteira_ = false;
                resguardo_.falhou();
            }
        }
        quantos_ = 0;
    }

    Resguardo resguardo_;
    std::array<char, PIPE_BUF> bytes_;
    std::size_t quantos_ = 0;
    bool inteira_ = true;
    bool comecou_ = false;
};

// No lock: only the thread whose turn it is writes, or one inside that turn.
bool linhaCortada = false; // the last line that was begun lacks its end

} // namespace

bool pramo::escreveNoErroPadrao(int mascara, std::string_view texto) noexcept {
    std::time_t agora = std::time(nullptr);
    std::tm tm{};
    gmtime_r(&agora, &tm);
    char inicio[80];
    std::snprintf(inicio, sizeof inicio, "%s%04d-%02d-%02d %02d:%02d:%02d %d ", linhaCortada ? "\n" : "",
                  tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, mascara);
    Linha linha;
    for (const char *c = inicio; *c != 0; c++) {
        linha.poe(*c);
    }
    for (const char c : texto) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 128) {
            linha.poe(c);
        } else { // terminals of today read UTF-8
            linha.poe(static_cast<char>(0xC0 | byte >> 6));
            linha.poe(static_cast<char>(0x80 | (byte & 0x3F)));
        }
    }
    linha.poe('\n');
    const bool inteira = linha.termina();
    if (linha.comecou()) {
        linhaCortada = !inteira;
    }
    return inteira;
}
