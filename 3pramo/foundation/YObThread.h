/* Threads: the thread class that applications derive from. */
#ifndef Y3PRAMO_FOUNDATION_YOBTHREAD_H
#define Y3PRAMO_FOUNDATION_YOBTHREAD_H

#include <3pramo/foundation/YOb.h>
#include <3pramo/foundation/YexecutaThread.h>

Y_INICIO_C

/* A thread object. A derived class fills the run slot; its descriptor names the parent's functions
 * for the slots it keeps. Freeing a thread object stops it first (YliberaObjeto). */
Y_CLASSE(YObThread, YOb) {
    Y_PAI(YOb)
    void *privado; /* the implementation's */
};

typedef struct YObThread YObThread;

/* Descriptor of a thread class. */
typedef struct YObThread_Rtti {
    YRtti rtti;
    void (*run)(YObThread *thread);       /* the thread's body; ends soon after YObThread_isAlive gives 0 */
    void (*startImpl)(YObThread *thread); /* what YObThread_start does */
    void (*stopImpl)(YObThread *thread);  /* what YObThread_stop does */
} YObThread_Rtti;

Y_EXPORTA extern const YObThread_Rtti YObThread_definicaoRtti;
Y_EXPORTA const YRtti *YObThread_rtti(void);

/* Start and stop the thread through the slots of the object's class.
 * Raises: YExc "Objeto em uso pela própria thread." on a thread that is working for the object (a
 * handler of a server), and changes nothing; but a start of what is alive does nothing, and a stop
 * on the object's own thread is only asked for.
 * Threads: any; starts, stops and the freeing of one object come one after the other, each
 * whole. */
Y_EXPORTA void YObThread_start(YObThread *thread);
Y_EXPORTA void YObThread_stop(YObThread *thread);

/* Nonzero once started, also before YObThread_start returns, until a stop is asked or `run` has
 * ended: returned, or by an exception (which is logged with the class of the object), or by
 * pthread_exit. So what runs for a thread object, a handler of a server for one, learns from it that
 * it is to come to an end.
 * Threads: any. */
Y_EXPORTA int YObThread_isAlive(const YObThread *thread);

/* Sleeps up to `milissegundos` on behalf of the thread, less when a stop is asked or YObThread_acorda
 * wakes it; for use in `run`.
 * Gives: what YObThread_isAlive then gives; whether it was woken or the time passed, it does not
 *   say: look at what the thread works on. */
Y_EXPORTA int YObThread_dorme(YObThread *thread, uint32_t milissegundos);

/* Wakes the thread from YObThread_dorme; it goes on living. While it does not sleep the wake is kept
 * for its next sleep, which then returns at once, also across a stop and a start: a sleep that a stop
 * ends takes none. Several that no sleep has taken yet are one. So none is lost: put down the work
 * first, then wake.
 * Threads: any, while the object lives. */
Y_EXPORTA void YObThread_acorda(YObThread *thread);

/* The class's own start: runs the run slot on a new thread. Does nothing when it is alive. After a
 * stop it may be started again; one that the thread asked itself ends first.
 * Raises: YExc "Não foi possível criar a thread.", and the object is as it was. */
Y_EXPORTA void YObThread_startImpl(YObThread *thread);

/* The class's own stop: makes YObThread_isAlive 0 and returns once `run` has returned, also when
 * another stop is under way. On the thread itself it only asks for the stop and returns at once. */
Y_EXPORTA void YObThread_stopImpl(YObThread *thread);

Y_FIM_C

#endif
