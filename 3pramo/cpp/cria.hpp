// Making objects, with the class and the type of the pointer compared where that can be done.
#ifndef Y3PRAMO_CPP_CRIA_HPP
#define Y3PRAMO_CPP_CRIA_HPP

#include <3pramo/forms/Pramo_Botao.h>
#include <3pramo/forms/Pramo_Operacao.h>
#include <3pramo/foundation/Ponteiro.hpp>
#include <3pramo/foundation/YRetentor.h>
#include <3pramo/foundation/YSocket.h>
#include <3pramo/foundation/YTcpServer.h>
#include <3pramo/iso/YCanalIso.h>
#include <3pramo/iso/YMensagemIso.h>
#include <3pramo/iso/YTabelaIso.h>
#include <3pramo/node/YSoapParser.h>
#include <3pramo/soap/YSoapClient.h>
#include <3pramo/soap/YSoapServer.h>

#include <tuple>
#include <type_traits>

namespace pramo {

namespace interno {

template <typename T, const YRtti *(*FUNCAO)()>
struct Par {};

// Each class with the function that names it; those whose structs are opaque stand for themselves only.
using Classes = std::tuple<
    Par<YOb, YOb_rtti>, Par<YObThread, YObThread_rtti>, Par<YObMutex, YObMutex_rtti>,
    Par<YStream, YStream_rtti>, Par<YSocket, YSocket_rtti>, Par<YSet, YSet_rtti>,
    Par<YSet, YSetQueDestroi_rtti>, Par<YMapa, YMapa_rtti>, Par<YMapa, YMapaQueDestroi_rtti>,
    Par<YVetor, YVetor_rtti>, Par<YVetor, YVetorQueDestroi_rtti>, Par<YTcpServer, YTcpServer_rtti>,
    Par<YMensagemHttp, YMensagemHttp_rtti>, Par<YWebServer, YWebServer_rtti>, Par<YNo, YNo_rtti>,
    Par<YSoapParser, YSoapParser_rtti>, Par<YPortType, YPortType_rtti>, Par<YWebService, YWebService_rtti>,
    Par<YSoapServer, YSoapServer_rtti>, Par<YSoapClient, YSoapClient_rtti>, Par<YRetentor, YRetentor_rtti>,
    Par<YMensagemIso, YMensagemIso_rtti>, Par<YTabelaIso, YTabelaIso_rtti>, Par<YCanalIso, YCanalIso_rtti>,
    Par<Pramo_Tipo, Pramo_Tipo_rtti>, Par<Pramo_Entidade, Pramo_Entidade_rtti>,
    Par<Pramo_Botao, Pramo_Botao_rtti>, Par<Pramo_Periferico, Pramo_Periferico_rtti>,
    Par<Pramo_Variavel, Pramo_Variavel_rtti>, Par<Pramo_Operacao, Pramo_Operacao_rtti>>;

template <typename T, typename CLASSE>
consteval bool ehDoTipo() {
    if constexpr (std::is_same_v<T, YOb>) {
        return true;
    } else if constexpr (requires { sizeof(CLASSE); } && !std::is_same_v<T, CLASSE>) {
        return std::is_base_of_v<T, CLASSE>;
    } else {
        return std::is_same_v<T, CLASSE>;
    }
}

// The function of the library's class whose struct is T.
template <typename T, typename... CLASSES, YFuncaoRtti... FUNCOES>
consteval YFuncaoRtti rttiDe(std::tuple<Par<CLASSES, FUNCOES>...> /*classes*/) {
    static_assert((std::is_same_v<T, CLASSES> || ...), "give the function that names this class, too");
    YFuncaoRtti achada = nullptr;
    ((achada = std::is_same_v<T, CLASSES> ? FUNCOES : achada), ...);
    return achada;
}

// False also where the compiler does not compare addresses of functions, as with some sanitizers.
consteval bool saoUma(YFuncaoRtti a, YFuncaoRtti b) {
    return __builtin_constant_p(a == b) != 0 ? a == b : false;
}

// Whether a class of the library is of type T; any other class may be.
template <typename T, typename... CLASSES, YFuncaoRtti... FUNCOES>
consteval bool podeSerDoTipo(YFuncaoRtti classe, std::tuple<Par<CLASSES, FUNCOES>...> /*classes*/) {
    return ((!saoUma(classe, FUNCOES) || ehDoTipo<T, CLASSES>()) && ...);
}

// A class that names itself (Objeto.hpp).
template <typename T>
concept TemClasse = std::is_same_v<typename T::ClasseDoObjeto, T>;

} // namespace interno

/// The class that cria makes an object of. A function of the library that names another class than T, or one
/// that does not derive from it, does not compile; a class chosen while the program runs is not compared.
template <typename T>
class Classe {
public:
    template <typename FUNCAO>
    requires std::is_function_v<FUNCAO>
    consteval Classe(FUNCAO &classe) : classe_(classe) {
        if (!interno::podeSerDoTipo<T>(classe, interno::Classes())) {
            throw "an object of this class is no T";
        }
    }
    template <typename FUNCAO>
    requires(!std::is_function_v<FUNCAO> && std::is_convertible_v<FUNCAO, YFuncaoRtti>)
        Classe(const FUNCAO &classe)
        : classe_(classe) {}

    [[nodiscard]] YFuncaoRtti funcao() const { return classe_; }

private:
    YFuncaoRtti classe_;
};

/// A new object of the class; T is the struct that the class's instances are. The allocation report shows the
/// caller's file and line.
template <typename T>
requires(!interno::TemClasse<T>) Ponteiro<T> cria(Classe<T> classe, const char *arquivo = __builtin_FILE(),
                                                  int linha = __builtin_LINE()) {
    T *novo = nullptr;
    YalocaObjeto_debug(&novo, classe.funcao(), arquivo, linha);
    return Ponteiro<T>(novo);
}

/// A new object of a class that is written in C++ (Objeto.hpp), whose constructor may raise.
template <interno::TemClasse T>
Ponteiro<T> cria(const char *arquivo = __builtin_FILE(), int linha = __builtin_LINE()) {
    T *novo = nullptr;
    YalocaObjeto_debug(&novo, T::rtti, arquivo, linha);
    return Ponteiro<T>(novo);
}

} // namespace pramo

#endif
