/* YSoapParser stands in node/; this header is for applications that include it from here. */
#ifndef Y3PRAMO_SOAP_YSOAPPARSER_H
#define Y3PRAMO_SOAP_YSOAPPARSER_H

#include <3pramo/node/YSoapParser.h>

#endif
