// 3pramo-iso8583: ISO 8583 messages shown, converted, checked and compared. Its manual is 3pramo-iso8583(1).
#include "comandos.hpp"
#include "texto.hpp"

#include <3pramo/3pramo.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <getopt.h>

namespace {

using namespace iso8583;

constexpr int ENTRADA_RUIM = 2;

constexpr const char *USO =
    R"(uso: 3pramo-iso8583 dump [--clear] [ARQUIVO...]     mostra as mensagens, dados do cartão mascarados
     3pramo-iso8583 decode [ARQUIVO...]             forma do fio para texto numerado
     3pramo-iso8583 encode [ARQUIVO...]             texto numerado para forma do fio
     3pramo-iso8583 check [ARQUIVO...]              confere os elementos com a tabela
     3pramo-iso8583 diff [--clear] A B              compara elemento por elemento

Sem ARQUIVO, ou com -, lê a entrada padrão. Forma do fio: uma mensagem por linha; texto numerado: mensagens
separadas por uma linha vazia.

  --clear    mostra todos os elementos como são
  --help     mostra este texto
  --version  mostra a versão

Status: 0 tudo bem; 1 falhas (check) ou diferenças (diff); 2 entrada ou uso errados.
)";

struct Comando {
    std::string_view nome;
    int (*executa)(const Pedido &pedido);
    bool mostraCartao;
    std::size_t entradas; // exactly so many; 0 for any number
};

// --clear is for the two that mask: decode and encode need the elements whole, check shows none.
constexpr Comando COMANDOS[] = {
    {"dump", dump, true, 0},    {"decode", decode, false, 0}, {"encode", encode, false, 0},
    {"check", check, false, 0}, {"diff", diff, true, 2},
};

[[noreturn]] void usoErrado(const std::string &motivo) {
    throw Erro(motivo + " (3pramo-iso8583 --help mostra o uso)");
}

const Comando &comandoDe(int argc, char **argv) {
    if (optind == argc) {
        usoErrado("falta o comando");
    }
    const std::string_view nome = argv[optind++];
    const auto *const achado = std::find_if(std::begin(COMANDOS), std::end(COMANDOS),
                                            [&](const Comando &comando) { return comando.nome == nome; });
    if (achado == std::end(COMANDOS)) {
        usoErrado("comando desconhecido: " + std::string(nome));
    }
    return *achado;
}

void confere(const Comando &comando, const Pedido &pedido) {
    const std::string nome(comando.nome);
    if (pedido.claro && !comando.mostraCartao) {
        usoErrado(nome + " não tem a opção --clear");
    }
    if (comando.entradas != 0 && pedido.entradas.size() != comando.entradas) {
        usoErrado(nome + " pede " + std::to_string(comando.entradas) + " arquivos");
    }
    if (std::count(pedido.entradas.begin(), pedido.entradas.end(), "-") > 1) {
        usoErrado("a entrada padrão só pode ser lida uma vez");
    }
}

// What was written before stands whole in front of it.
int queixa(const std::string &motivo) {
    std::fflush(stdout);
    std::fprintf(stderr, "3pramo-iso8583: %s\n", motivo.c_str());
    return ENTRADA_RUIM;
}

int executa(int argc, char **argv) {
    static const option OPCOES[] = {{"clear", no_argument, nullptr, 'c'},
                                    {"help", no_argument, nullptr, 'h'},
                                    {"version", no_argument, nullptr, 'v'},
                                    {nullptr, 0, nullptr, 0}};
    // Options may stand behind the command: getopt_long moves what is none to the end.
    Pedido pedido;
    opterr = 0; // what is wrong is said below, in one line
    for (int letra = 0; (letra = getopt_long(argc, argv, "", OPCOES, nullptr)) != -1;) {
        switch (letra) {
        case 'c':
            pedido.claro = true;
            break;
        case 'h':
            escreve(USO);
            return 0;
        case 'v':
            escreve(std::string("3pramo-iso8583 ") + Y3PRAMO_versao() + '\n');
            return 0;
        default:
            usoErrado("opção desconhecida: " + std::string(argv[optind - 1]));
        }
    }
    const Comando &comando = comandoDe(argc, argv);
    pedido.entradas.assign(argv + optind, argv + argc);
    if (pedido.entradas.empty() && comando.entradas == 0) {
        pedido.entradas.emplace_back("-");
    }
    confere(comando, pedido);
    return comando.executa(pedido);
}

} // namespace

int main(int argc, char **argv) try {
    const int status = executa(argc, argv);
    descarrega();
    return status;
} catch (const YExcecao &erro) { // the library's texts are ISO-8859-1, all others UTF-8
    return queixa(emUtf8(erro.what()));
} catch (const std::exception &erro) {
    return queixa(erro.what());
}
