// Locks whose use clang checks at compile time (-Wthread-safety).
#ifndef Y3PRAMO_FOUNDATION_TRINCO_HPP
#define Y3PRAMO_FOUNDATION_TRINCO_HPP

#include <chrono>
#include <condition_variable>
#include <mutex>

#ifdef __clang__
#define Y_ANOTA(x) __attribute__((x))
#else
#define Y_ANOTA(x)
#endif

#define Y_GUARDADO_POR(trinco) Y_ANOTA(guarded_by(trinco))
#define Y_EXIGE(...) Y_ANOTA(requires_capability(__VA_ARGS__))
// For what takes a lock in one function and lets it go in another.
#define Y_SEM_ANALISE Y_ANOTA(no_thread_safety_analysis)

namespace pramo {

/// A mutex that clang knows: what Y_GUARDADO_POR one is touched only by who holds it. Held for a few steps;
/// in which order several are taken, the README says.
class Y_ANOTA(capability("mutex")) Trinco {
public:
    void tranca() Y_ANOTA(acquire_capability()) { mutex_.lock(); }
    void solta() Y_ANOTA(release_capability()) { mutex_.unlock(); }

private:
    friend class Condicao;
    std::mutex mutex_;
};

/// Holds a Trinco for its scope; may be let go and taken again within it.
class Y_ANOTA(scoped_lockable) Tranca {
public:
    explicit Tranca(Trinco &trinco) Y_ANOTA(acquire_capability(trinco)) : trinco_(trinco) {
        trinco_.tranca();
    }
    ~Tranca() Y_ANOTA(release_capability()) {
        if (fechada_) {
            trinco_.solta();
        }
    }
    Tranca(const Tranca &) = delete;
    Tranca &operator=(const Tranca &) = delete;

    void solta() Y_ANOTA(release_capability()) {
        // What was read under the lock may be another when it is taken again.
        fechada_ = false;
        trinco_.solta();
    }
    void tranca() Y_ANOTA(acquire_capability()) {
        trinco_.tranca();
        fechada_ = true;
    }

private:
    Trinco &trinco_;
    bool fechada_ = true;
};

/// Waits may end for nothing: whoever waits looks again at what it waits for, in a loop.
class Condicao {
public:
    void avisa() { condicao_.notify_all(); }
    void avisaUm() { condicao_.notify_one(); }

    void espera(Trinco &trinco) Y_EXIGE(trinco) {
        // The condition wants a lock object of its own kind: lent for the wait and taken apart again, so
        // that to the caller, and to clang, the Trinco is held all along.
        std::unique_lock trava(trinco.mutex_, std::adopt_lock);
        condicao_.wait(trava);
        trava.release();
    }

    /// False when the moment came first, by a clock that nobody sets.
    bool esperaAte(Trinco &trinco, std::chrono::steady_clock::time_point momento) Y_EXIGE(trinco) {
        std::unique_lock trava(trinco.mutex_, std::adopt_lock);
        const bool avisada = condicao_.wait_until(trava, momento) == std::cv_status::no_timeout;
        trava.release();
        return avisada;
    }

private:
    std::condition_variable condicao_;
};

} // namespace pramo

#endif
