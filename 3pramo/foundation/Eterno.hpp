// Statics that are there from load to the last instruction of the process.
#ifndef Y3PRAMO_FOUNDATION_ETERNO_HPP
#define Y3PRAMO_FOUNDATION_ETERNO_HPP

#include <3pramo/foundation/Trinco.hpp>

#include <new>
#include <pthread.h>
#include <type_traits>

namespace pramo {

/// A static of namespace scope: made when the library is loaded, without memory from the heap, and never
/// destroyed, for threads and other statics that outlive main. So no first use of it can fail.
template <typename T>
class Eterno {
    static_assert(std::is_nothrow_default_constructible_v<T>);

public:
    Eterno() noexcept { new (lugar_) T; }
    Eterno(const Eterno &) = delete;
    Eterno &operator=(const Eterno &) = delete;

    T &operator*() noexcept { return *std::launder(reinterpret_cast<T *>(lugar_)); }
    T *operator->() noexcept { return &**this; }

private:
    alignas(T) unsigned char lugar_[sizeof(T)];
};

/// A static of namespace scope: from load on, a fork waits until the lock `trinco` of what OBJETO() gives is
/// free, and in the child, whose only thread is the one that forked, `noFilho()` of it is called before the
/// lock is let go. Nobody logs, nor takes one such lock, while holding another one: a fork takes them all, in
/// an order that nobody chose.
template <auto OBJETO>
class Bifurcavel {
public:
    Bifurcavel() noexcept { pthread_atfork(tranca, solta, noFilho); }

private:
    static void tranca() Y_SEM_ANALISE { OBJETO().trinco.tranca(); }
    static void solta() Y_SEM_ANALISE { OBJETO().trinco.solta(); }
    // Of what the other threads were doing nothing goes on here; the lock is the forking thread's, as is the
    // child.
    static void noFilho() Y_SEM_ANALISE {
        OBJETO().noFilho();
        OBJETO().trinco.solta();
    }
};

} // namespace pramo

#endif
