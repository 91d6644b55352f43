/* The words every header of the library is written with: what is exported, how a class shows its
 * parent in C and in C++, and how the compiler is told about formats, functions that never return
 * and functions that never raise. */
#ifndef Y3PRAMO_FOUNDATION_EXPORTA_H
#define Y3PRAMO_FOUNDATION_EXPORTA_H

/* Marks what the shared library exports; everything else is hidden. */
#define Y_EXPORTA __attribute__((visibility("default")))

/* The function checks its format against its arguments as printf does. */
#define Y_FORMATO(formato, argumentos) __attribute__((format(printf, formato, argumentos)))
#define Y_FORMATO_SCANF(formato, argumentos) __attribute__((format(scanf, formato, argumentos)))

/* C linkage for everything between the two. */
#ifdef __cplusplus
#define Y_INICIO_C extern "C" {
#define Y_FIM_C }
#define Y_NAO_VOLTA [[noreturn]]
#define Y_NAO_LANCA noexcept
#else
#define Y_INICIO_C
#define Y_FIM_C
#define Y_NAO_VOLTA _Noreturn
#define Y_NAO_LANCA
#endif

/* A class is a struct that begins with its parent:
 *
 *     Y_CLASSE(MinhaClasse, YWebService) { Y_PAI(YWebService) int32_t contador; };
 *
 * In C++ the parent is a base class, so an object goes wherever its parent goes and a wrong class
 * does not compile; in C it is the first member, `pai_`, and `&objeto->pai_` is the parent. Both
 * have the same layout as long as no class ends in padding (end it with a pointer or a 64-bit
 * field). */
#ifdef __cplusplus
#define Y_CLASSE(nome, mae) struct nome : mae
#define Y_PAI(mae)
#else
#define Y_CLASSE(nome, mae)                                                                                  \
    typedef struct nome nome;                                                                                \
    struct nome
#define Y_PAI(mae) struct mae pai_;
#endif

#endif
