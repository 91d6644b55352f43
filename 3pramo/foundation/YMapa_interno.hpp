// The layout of a map, for a class that adds to it and for who looks at all of its entries.
#ifndef Y3PRAMO_FOUNDATION_YMAPA_INTERNO_HPP
#define Y3PRAMO_FOUNDATION_YMAPA_INTERNO_HPP

#include <3pramo/foundation/YMapa.h>

#include <functional>
#include <map>
#include <string>

struct YMapaEntrada {
    void *valor;
};

struct YMapa : YOb {
    // Nodes that stay where they are: a YMapaIt is the address of one. std::less<> looks texts up without a
    // copy.
    using Entradas = std::map<std::string, YMapaEntrada, std::less<>>;

    Entradas *entradas; // made with the first key
};

#endif
