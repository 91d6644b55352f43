/* YExcFalhaRemota: what YSoapClient_chama raises for a SOAP fault: the call reached its server and
 * was refused there. Adds no fields.
 *
 * The message is that of the exception over there, with its detail text in front. What is known of
 * it beside that are attributes (C: YContextoTry_getAtributo, C++: YExcecao::atributo):
 *
 *   classeRemota     the class of the exception over there, as "YExcSoap"
 *   mensagemRemota   its message
 *   detalheRemoto    the detail text, when the fault tells it apart
 *   lugarRemoto      where it was raised, SOURCE:LINE
 *   faultcode        as it came
 *   faultstring      as it came
 *   campo, ...       up to eight attributes that it had there, under the same names
 *
 * The message holds 64 KiB of each of its two texts, an attribute 4 KiB.
 *
 * They come from the fault's detail (YSoapServer_setDetalheDaFalha). Of a fault without one, class
 * and place are known when its text has the form that this library writes; else mensagemRemota is
 * the whole text, and the message too.
 *
 *     } catch (const YExcecao &e) {
 *         if (!e.ehDaClasse(YExcFalhaRemota_rtti)) throw;
 *         mostra(e.atributo("campo"), e.atributo("mensagemRemota"));
 *     } */
#ifndef Y3PRAMO_SOAP_YEXCFALHAREMOTA_H
#define Y3PRAMO_SOAP_YEXCFALHAREMOTA_H

#include <3pramo/node/YExcSoap.h>

Y_INICIO_C

/* The class's descriptor; its parent is YExcSoap. The record itself is not exported. */
Y_EXPORTA const YRtti *YExcFalhaRemota_rtti(void);

Y_FIM_C

#endif
