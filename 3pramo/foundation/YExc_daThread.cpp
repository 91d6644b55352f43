// What a thread remembers of exceptions: made in the thread's own static memory when it first has something
// to remember, given up when the thread ends. Nothing here allocates, so the first exception of a thread
// may be that there is no memory.
#include <3pramo/foundation/YExc_daThread.hpp>

#include <3pramo/foundation/YExc_interno.hpp>

#include <pthread.h>
#include <utility>

using namespace pramo;

namespace {

// Bytes, not an object: a thread_local with a constructor or a destructor is registered at its first use,
// and the process ends when there is no memory for that. The thread's end is told through `chave` instead.
struct Lugar {
    alignas(Lembrancas) unsigned char bytes[sizeof(Lembrancas)];
    Lembrancas *feitas;
};
constinit thread_local Lugar lugar{};

void esqueceNoFim(void * /*lembrancas*/) {
    esqueceExcecoes();
    lugar.feitas = nullptr; // whatever still runs on this thread registers them anew
}

// Made at load, when keys are few: setting one of the first keys needs no memory.
struct Chave {
    Chave() : valida(pthread_key_create(&chave, esqueceNoFim) == 0) {}
    pthread_key_t chave{};
    bool valida;
};
const Chave chave;

} // namespace

Lembrancas *pramo::lembrancas() noexcept {
    return lugar.feitas;
}

// Without the key nobody would free the texts and exceptions at the end of the thread: then nothing is
// remembered, and an exception goes without its detail.
Lembrancas *pramo::lembrancasOuNovas() noexcept {
    if (lugar.feitas == nullptr && chave.valida && pthread_setspecific(chave.chave, lugar.bytes) == 0) {
        // After the key was set: from now on the end of the thread frees what they hold.
        lugar.feitas = new (lugar.bytes) Lembrancas;
    }
    return lugar.feitas;
}

void pramo::esqueceExcecoes() noexcept {
    if (Lembrancas *l = lembrancas()) {
        // Out first: the destructor of an exception may come back here.
        const Lembrancas esquecidas = std::exchange(*l, Lembrancas());
    }
}
