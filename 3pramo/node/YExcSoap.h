/* YExcSoap: the exception class of nodes, typed values, the parser, forms and everything SOAP.
 * Adds no fields. */
#ifndef Y3PRAMO_NODE_YEXCSOAP_H
#define Y3PRAMO_NODE_YEXCSOAP_H

#include <3pramo/foundation/YExc.h>

Y_INICIO_C

/* The class's descriptor; its parent is YExc. The record itself is not exported. */
Y_EXPORTA const YRtti *YExcSoap_rtti(void);

Y_FIM_C

#endif
