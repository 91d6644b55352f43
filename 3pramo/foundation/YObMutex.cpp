#include <3pramo/foundation/YObMutex.h>

#include <3pramo/foundation/YExc_interno.hpp>

#include <mutex>

using namespace pramo;

// By a pointer: an object of the object system is zeroed bytes, in which no C++ constructor runs.
struct YObMutex : YOb {
    std::recursive_mutex *mutex;
};

namespace {

void constroiMutex(void *objeto) {
    semFaltaDeMemoria("YObMutex", [&] {
        static_cast<YObMutex *>(objeto)->mutex = new std::recursive_mutex;
        return 0;
    });
}

void destroiMutex(void *objeto) {
    delete static_cast<YObMutex *>(objeto)->mutex;
}

} // namespace

const YRtti YObMutex_definicaoRtti = {YOb_rtti, "YObMutex", sizeof(YObMutex), constroiMutex, destroiMutex};

const YRtti *YObMutex_rtti(void) {
    return &YObMutex_definicaoRtti;
}

void YObMutex_requisita0(YObMutex *mutex, const char * /*arquivo*/, int /*linha*/) {
    mutex->mutex->lock();
}

void YObMutex_libera(YObMutex *mutex) {
    mutex->mutex->unlock();
}
