#include "faltas.hpp"

static bool deveFalhar() {
    return !poupada && alocacoes.chegouAVez();
}

// The linker sends what the library and the tests ask for here (-Wl,--wrap).
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void *__real_malloc(std::size_t tamanho);
void *__real_calloc(std::size_t quantos, std::size_t de);
void *__real_realloc(void *bloco, std::size_t tamanho);
int __real_pthread_create(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
void *__wrap_malloc(std::size_t tamanho) {
    return deveFalhar() ? nullptr : __real_malloc(tamanho);
}
void *__wrap_calloc(std::size_t quantos, std::size_t de) {
    return deveFalhar() ? nullptr : __real_calloc(quantos, de);
}
void *__wrap_realloc(void *bloco, std::size_t tamanho) {
    return deveFalhar() ? nullptr : __real_realloc(bloco, tamanho);
}
int __wrap_pthread_create(pthread_t *thread, const pthread_attr_t *atributos, void *(*funcao)(void *),
                          void *argumento) {
    return threads.chegouAVez() ? EAGAIN : __real_pthread_create(thread, atributos, funcao, argumento);
}
}
// NOLINTEND(bugprone-reserved-identifier)

// Not inlined: the compiler would take the pair below for a mismatch.
[[gnu::noinline]] void *operator new(std::size_t tamanho) {
    void *bloco = operator new(tamanho, std::nothrow);
    return bloco != nullptr ? bloco : throw std::bad_alloc();
}
[[gnu::noinline]] void *operator new(std::size_t tamanho, const std::nothrow_t &) noexcept {
    return std::malloc(tamanho != 0 ? tamanho : 1);
}
[[gnu::noinline]] void operator delete(void *bloco) noexcept {
    std::free(bloco);
}
[[gnu::noinline]] void operator delete(void *bloco, std::size_t) noexcept {
    std::free(bloco);
}
