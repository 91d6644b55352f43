/* Protected regions for C.
 *
 *     static void corpo(void *argumento) { ... may raise ... }
 *
 *     YContextoTry contexto;
 *     contexto.estado = 0;
 *     YContextoTry_inicia(&contexto);
 *     YContextoTry_executa(&contexto, corpo, &argumento);
 *     if (YContextoTry_catch(&contexto, YExcSoap_rtti)) { ... handled ... }
 *     ... clean-up common to both paths ...
 *     YContextoTry_finaliza(&contexto);
 *
 * Without a catch this is try/finally, with one try/catch/finally. Every region that was begun is
 * ended with YContextoTry_finaliza, on the thread that began it. C code through which exceptions
 * pass (a body, and whatever it calls) is compiled with -fexceptions; the pkg-config file says so.
 * C++ code uses try and catch with YExcecao.hpp instead. */
#ifndef Y3PRAMO_FOUNDATION_YCONTEXTOTRY_H
#define Y3PRAMO_FOUNDATION_YCONTEXTOTRY_H

#include <3pramo/foundation/YExc.h>

Y_INICIO_C

/* One protected region; owned by the caller, usually a local variable. Only `estado` is the
 * caller's. */
typedef struct YContextoTry {
    int32_t estado;  /* set to 0 before YContextoTry_inicia */
    int32_t tratada; /* 1 when a catch took the pending exception */
    void *pendente;  /* the exception that left the body */
} YContextoTry;

/* Opens the region. */
Y_EXPORTA void YContextoTry_inicia(YContextoTry *contexto);

/* Runs the body in the region. Keeping its exception takes no memory.
 * Gives: 1 when it returned; 0 when an exception ended it, which then is pending as it was raised.
 * For the functions below a standard C++ exception is of the class YExc with its what() as message,
 * a std::bad_alloc with "Memória insuficiente.", any other one with "Exceção desconhecida."
 * Raises: YExc "Região protegida não está aberta.", also when an exception is pending. */
Y_EXPORTA int YContextoTry_executa(YContextoTry *contexto, void (*corpo)(void *argumento), void *argumento);

/* Marks the pending exception as handled when its class is the given one or derives from it.
 * Gives: nonzero when it is; it is then the one that YExc_descreve_no_log describes. */
Y_EXPORTA int YContextoTry_catch(YContextoTry *contexto, YFuncaoRtti classe);

/* Closes the region early: the body can no longer run in it, and failures of the clean-up that
 * follows reach the enclosing region by themselves. A pending exception stays so until
 * YContextoTry_finaliza. */
Y_EXPORTA void YContextoTry_voltaContexto(YContextoTry *contexto);

/* Ends the region.
 * Raises: the pending exception that no catch took, the very one that left the body. */
Y_EXPORTA void YContextoTry_finaliza(YContextoTry *contexto);

/* The message of the pending or handled exception, detail text in front; null when there is none.
 * Lives: until YContextoTry_finaliza. */
Y_EXPORTA const char *YContextoTry_mensagem(const YContextoTry *contexto);

/* An attribute of the pending or handled exception (YContextoTry_atributo); null when there is none
 * of this name.
 * Lives: until YContextoTry_finaliza. */
Y_EXPORTA const char *YContextoTry_getAtributo(const YContextoTry *contexto, const char *nome);

Y_FIM_C

#endif
