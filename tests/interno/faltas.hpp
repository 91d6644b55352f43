// Allocations and threads that the system refuses.
#ifndef TESTES_INTERNO_FALTAS_HPP
#define TESTES_INTERNO_FALTAS_HPP

#include <atomic>

namespace apoio {

constexpr int NUNCA = -1;

extern thread_local int ateFalhar;           // allocations that still succeed on this thread, then one fails
extern std::atomic<int> ateFalharEmQualquer; // the same, counted over all threads that are not spared
extern thread_local bool poupada;
extern std::atomic<int> threadsAteFalhar; // threads that can still be made, then one cannot

} // namespace apoio

#endif
