// Which thread objects the current thread is working for, for the rooms whose classes are threads, and how
// long threads are kept.
#ifndef Y3PRAMO_FOUNDATION_YOBTHREAD_INTERNO_HPP
#define Y3PRAMO_FOUNDATION_YOBTHREAD_INTERNO_HPP

#include <3pramo/foundation/YObThread.h>

#include <atomic>
#include <chrono>

namespace pramo {

/// While it lives, the calling thread works for the thread object and cannot free it.
class EmUso {
public:
    explicit EmUso(const YObThread *thread);
    ~EmUso();
    EmUso(const EmUso &) = delete;
    EmUso &operator=(const EmUso &) = delete;

    /// True when the calling thread is working for it.
    static bool por(const YObThread *thread);

private:
    const YObThread *thread_;
    EmUso *anterior_;
};

/// Raises YExc "Objeto em uso pela própria thread." when the calling thread works for the thread object.
void recusaEmUso(const YObThread *thread);

/// `funcao` runs when the object is freed, after its thread was stopped and before any destructor, the
/// derived classes' included: for a class whose other threads work for the object. It raises only before it
/// changes anything.
void aoLiberar(YObThread *thread, void (*funcao)(YObThread *));

/// How long a thread of YexecutaThread waits for its next function. Only tests change it.
inline std::atomic<std::chrono::milliseconds> esperaDaOciosa{std::chrono::seconds(10)};

} // namespace pramo

#endif
