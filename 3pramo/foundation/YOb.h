/* Objects: class descriptors, creation and destruction.
 *
 * Every instance begins with a pointer to its class's descriptor. A class is named to the object
 * system by its `_rtti` function.
 * Owns: an object belongs to whoever created it until it is handed to something that says it takes
 * it.
 * Threads: objects are not synchronised; different ones may be made and freed on any threads.
 *
 *     YStream *stream = NULL;
 *     YalocaObjeto(&stream, YStream_rtti);
 *     YliberaObjeto(stream); */
#ifndef Y3PRAMO_FOUNDATION_YOB_H
#define Y3PRAMO_FOUNDATION_YOB_H

#include <3pramo/foundation/exporta.h>
#include <stdint.h>
#ifdef __cplusplus
#include <type_traits>
#endif

Y_INICIO_C

typedef struct YRtti YRtti;

/* The function that names a class: takes nothing, gives the class's descriptor. */
typedef const YRtti *(*YFuncaoRtti)(void);

/* Class descriptor; lives as long as the class is used. A class with virtual operations extends it:
 * a struct whose first member is the parent's descriptor, followed by its own slots (see
 * YObThread_Rtti). */
struct YRtti {
    YFuncaoRtti parent; /* the parent class; null only for YOb */
    const char *name;   /* class name, lives as long as the class is used */
    uint64_t size;      /* instance size in bytes; 0, or less than the parent's, means the parent's */
    void (*constructor)(void *); /* initialises the fields this class adds (they are zero before), or null */
    void (*destructor)(void *);  /* releases what this class owns and nothing else, or null */
};

/* The root class: the header alone. */
typedef struct YOb {
    const YRtti *rtti;
} YOb;

Y_EXPORTA extern const YRtti YOb_definicaoRtti;
Y_EXPORTA const YRtti *YOb_rtti(void);

/* Makes an object of the class and stores its address in the pointer variable at `lugar`; never
 * null. The instance is zeroed, its header set, and the constructors run from the root class down.
 * Raises: YExc "Memória insuficiente."; whatever a constructor raises. The constructors that had
 * finished are then undone by their destructors, the instance is freed, and `lugar` stays as it
 * was. */
Y_EXPORTA void YalocaObjeto(void *lugar, YFuncaoRtti classe);

/* The same; the allocation report (YMemoria.h) shows this file and line.
 * Owns: the file name stays the caller's, and must live as long as the object. */
Y_EXPORTA void YalocaObjeto_debug(void *lugar, YFuncaoRtti classe, const char *arquivo, int linha);

/* In C++ the object itself where its variable's address should stand does not compile. */
#ifdef __cplusplus
extern "C++" {
template <typename OBJETO>
typename std::enable_if<std::is_class<OBJETO>::value>::type YalocaObjeto(OBJETO *, YFuncaoRtti) = delete;
template <typename OBJETO>
typename std::enable_if<std::is_class<OBJETO>::value>::type YalocaObjeto_debug(OBJETO *, YFuncaoRtti,
                                                                               const char *, int) = delete;
}
#endif

/* Frees an object: destructors from its class up to the root, then the instance. Null is ignored. A
 * thread object is stopped first, through its stopImpl slot, while its derived fields are whole. A
 * service object that calls are using goes when the last of them has returned (YWebService.h).
 * Raises: YExc "Objeto em uso pela própria thread.", before any destructor runs, when the caller is
 * the thread of a thread object, or a thread that is working for it (a handler that frees its
 * server). An exception of a destructor does not stop the others: all run, the instance is freed,
 * and the first exception is raised again unless another one is already in flight. */
Y_EXPORTA void YliberaObjeto(void *objeto);
Y_EXPORTA void YliberaObjeto_debug(void *objeto, const char *arquivo, int linha);

/* The same for a caller that must not raise (a destructor, the end of a thread).
 * Whatever YliberaObjeto raises is logged as an error and goes no further. A log sink of the
 * application gets the record with the next one. */
Y_EXPORTA void YliberaObjeto_semLancar(void *objeto) Y_NAO_LANCA;

/* 1 when the class is `ancestral` or derives from it, else 0. */
Y_EXPORTA int YRtti_deriva(const YRtti *classe, YFuncaoRtti ancestral);

/* What a slot holds that a class leaves to its subclasses: logs the call as an error and
 * returns. */
Y_EXPORTA void YchamouFuncaoVirtualPura(void);

/* What libraries of this version call themselves, as "1.0.0". */
Y_EXPORTA const char *Y3PRAMO_versao(void);

Y_FIM_C

#endif
