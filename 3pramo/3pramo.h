/* Everything the library offers, for C and C++. */
#ifndef Y3PRAMO_3PRAMO_H
#define Y3PRAMO_3PRAMO_H

#include <3pramo/forms/Pramo_Botao.h>
#include <3pramo/forms/Pramo_Entidade.h>
#include <3pramo/forms/Pramo_Operacao.h>
#include <3pramo/forms/Pramo_Periferico.h>
#include <3pramo/forms/Pramo_Tipo.h>
#include <3pramo/forms/Pramo_Variavel.h>
#include <3pramo/foundation/DATAC.h>
#include <3pramo/foundation/YContextoTry.h>
#include <3pramo/foundation/YContextoTry_throw.h>
#include <3pramo/foundation/YConversoes.h>
#include <3pramo/foundation/YDIC.h>
#include <3pramo/foundation/YExc.h>
#include <3pramo/foundation/YIdentidade.h>
#include <3pramo/foundation/YLeitura.h>
#include <3pramo/foundation/YMapa.h>
#include <3pramo/foundation/YMemoria.h>
#include <3pramo/foundation/YNumeros.h>
#include <3pramo/foundation/YObLOG.h>
#include <3pramo/foundation/YObMutex.h>
#include <3pramo/foundation/YObThread.h>
#include <3pramo/foundation/YRetentor.h>
#include <3pramo/foundation/YSet.h>
#include <3pramo/foundation/YSocket.h>
#include <3pramo/foundation/YStream.h>
#include <3pramo/foundation/YTcpServer.h>
#include <3pramo/foundation/YVetor.h>
#include <3pramo/foundation/YexecutaThread.h>
#include <3pramo/http/YMensagemHttp.h>
#include <3pramo/http/YWebServer.h>
#include <3pramo/iso/YMensagemIso.h>
#include <3pramo/iso/YMensagemIso_valores.h>
#include <3pramo/iso/YTabelaIso.h>
#include <3pramo/node/YExcSoap.h>
#include <3pramo/node/YNo.h>
#include <3pramo/node/YSoapParser.h>
#include <3pramo/node/yuliano.h>
#include <3pramo/soap/YExcFalhaRemota.h>
#include <3pramo/soap/YPortType.h>
#include <3pramo/soap/YSoapClient.h>
#include <3pramo/soap/YSoapServer.h>
#include <3pramo/soap/YWebService.h>
#include <3pramo/versao.h>

#endif
