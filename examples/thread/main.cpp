// A thread object of one's own: it numbers the lines of standard input and prints them, while main goes on
// reading. It sleeps until there is something for it, and ends with the input.
#include <3pramo/3pramo.hpp>

#include <iostream>
#include <mutex>
#include <string>
#include <vector>

namespace {

constexpr std::uint32_t SONO = 60000; // milliseconds; every line wakes it

// What the two threads share.
struct Fila {
    std::mutex mutex;
    std::vector<std::string> linhas;
};

// A class of the library derives from a struct by Y_CLASSE; its own fields are zero when it is constructed.
Y_CLASSE(Impressora, YObThread) {
    Y_PAI(YObThread)
    Fila *fila;       // owned
    std::size_t saiu; // lines printed; the thread's alone
};

void constroi(void *objeto) {
    static_cast<Impressora *>(objeto)->fila = new Fila;
}

// The thread has ended by now: freeing the object stops it first.
void destroi(void *objeto) {
    delete static_cast<Impressora *>(objeto)->fila;
}

void imprime(Impressora *eu) {
    std::vector<std::string> linhas;
    {
        const std::lock_guard trava(eu->fila->mutex);
        linhas.swap(eu->fila->linhas);
    }
    for (const std::string &linha : linhas) {
        std::cout << ++eu->saiu << ": " << linha << std::endl;
    }
}

// The thread. What comes while it prints wakes it from the sleep that it goes to next: no line waits.
void roda(YObThread *thread) {
    auto *eu = static_cast<Impressora *>(thread);
    do {
        imprime(eu);
    } while (YObThread_dorme(eu, SONO) != 0);
    imprime(eu); // what came just before the stop
}

const YObThread_Rtti DEFINICAO = {{YObThread_rtti, "Impressora", sizeof(Impressora), constroi, destroi},
                                  roda,
                                  YObThread_startImpl,
                                  YObThread_stopImpl};

const YRtti *Impressora_rtti() {
    return &DEFINICAO.rtti;
}

// Puts it down first, then wakes.
void poe(Impressora *impressora, const std::string &linha) {
    {
        const std::lock_guard trava(impressora->fila->mutex);
        impressora->fila->linhas.push_back(linha);
    }
    YObThread_acorda(impressora);
}

} // namespace

int main() {
    try {
        const auto impressora = pramo::cria<Impressora>(Impressora_rtti);
        YObThread_start(impressora);
        for (std::string linha; std::getline(std::cin, linha);) {
            poe(impressora, linha);
        }
        YObThread_stop(impressora); // returns when its run has; freeing the object would do the same
        std::cout << impressora->saiu << " linhas" << std::endl;
        return std::cout ? 0 : 1; // nobody may have got them
    } catch (const std::exception &erro) {
        std::cerr << "thread: " << erro.what() << '\n';
        return 1;
    }
}
