#!/usr/bin/env python3
"""Each public header compiles by itself, twice in a file, and with all the others in either order, as C11 and as
C++20, without a warning, with every compiler that is there."""
import argparse
import concurrent.futures
import os
import shutil
import subprocess
import sys


def compila(caso):
    """None, or what the compiler says."""
    comando, cabecalhos = caso
    fonte = "".join(f'#include "{c}"\n' for c in cabecalhos) + "int main(void) { return 0; }\n"
    feito = subprocess.run(comando, input=fonte, capture_output=True, text=True)
    return f"{comando[0]} {cabecalhos[:2]}\n{feito.stderr}" if feito.returncode else None


def casos(inclusao, cabecalhos):
    em_c = [c for c in cabecalhos if c.endswith(".h")]
    opcoes = ["-S", "-o", "/dev/null", "-Wall", "-Wextra", "-pedantic", "-Werror", *[f"-I{p}" for p in inclusao], "-"]
    for compilador, padrao, linguagem, todos in (("gcc", "c11", "c", em_c), ("clang", "c11", "c", em_c),
                                                 ("g++", "c++20", "c++", cabecalhos),
                                                 ("clang++", "c++20", "c++", cabecalhos)):
        if shutil.which(compilador):
            for arquivo in [[c, c] for c in todos] + [todos, todos[::-1]]:
                yield [compilador, f"-std={padrao}", "-x", linguagem, *opcoes], arquivo


def main():
    opcoes = argparse.ArgumentParser(description=__doc__)
    opcoes.add_argument("--cabecalhos", nargs="+", required=True)
    opcoes.add_argument("--inclusao", nargs="+", required=True)
    args = opcoes.parse_args()
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as executor:
        queixas = [q for q in executor.map(compila, casos(args.inclusao, args.cabecalhos)) if q]
    print(*queixas, sep="\n")
    return 1 if queixas else 0


if __name__ == "__main__":
    sys.exit(main())
