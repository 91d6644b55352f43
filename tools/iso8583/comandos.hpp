// What the program does with its inputs.
#ifndef ISO8583_COMANDOS_HPP
#define ISO8583_COMANDOS_HPP

#include <string>
#include <vector>

namespace iso8583 {

struct Pedido {
    bool claro = false; // card data as it is
    std::vector<std::string> entradas;
};

/// Each writes whole messages only and gives the program's status; a bad input raises Erro.
int dump(const Pedido &pedido);
int decode(const Pedido &pedido);
int encode(const Pedido &pedido);
int check(const Pedido &pedido);
int diff(const Pedido &pedido);

} // namespace iso8583

#endif
