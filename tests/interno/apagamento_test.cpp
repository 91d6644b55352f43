// No block goes back to the allocator while it still holds a card number, a password or a PIN.
#include "trabalho.hpp"

#include <malloc.h>

static std::atomic<bool> vigia{false};
static std::atomic<int> achados{0};
// On this thread the texts are the test's own: wiped here, so that no block inherits them.
static thread_local bool cliente = false;

static void examina(void *bloco) {
    const std::size_t tamanho = malloc_usable_size(bloco);
    if (cliente) {
        std::memset(bloco, 0, tamanho);
        return;
    }
    for (const std::string &segredo : {std::cref(CARTAO), std::cref(SENHA), std::cref(PIN)}) {
        achados += memmem(bloco, tamanho, segredo.data(), segredo.size()) != nullptr ? 1 : 0;
    }
}

// The linker sends the library's frees here (-Wl,--wrap).
extern "C" {
void __real_free(void *bloco);  // NOLINT(bugprone-reserved-identifier)
void __wrap_free(void *bloco) { // NOLINT
    if (bloco != nullptr && vigia.load(std::memory_order_relaxed)) {
        examina(bloco);
    }
    __real_free(bloco);
}
}

TEST(Apagamento, nenhumBlocoLiberadoGuardaUmSegredo) {
    ServidorSoap servidor({definicaoDaCaixa()});
    const Diario diario(Y_LOG_CORPO);
    vigia = true;
    YliberaMemoria(YrealocaMemoria_debug(YduplicaString(CARTAO.c_str()), 4096, "teste", 1));
    cliente = true;
    {
        const std::string pedido = pedidoSoap("Caixa", "trabalha", corpoDoTrabalho());
        const std::string respostas = servidor.conversa(pedido + pedido);
        EXPECT_NE(respostas.find("<ns1:valor>" + CARTAO + "</ns1:valor>"), std::string::npos) << respostas;
    }
    cliente = false;
    servidor.libera();
    vigia = false;
    EXPECT_EQ(achados, 0);
}
