#!/usr/bin/env python3
"""Each public header compiles by itself, twice in a file, and with all the others in either order, as C11 and as
C++20, without a warning, with every compiler that is there."""
import argparse
import concurrent.futures
import os
import shutil
import subprocess
import sys

AVISOS = ["-Wall", "-Wextra", "-pedantic", "-Werror"]


def compila(compilador, linguagem, padrao, inclusao, cabecalhos):
    """None, or what the compiler says."""
    fonte = "".join(f'#include "{c}"\n' for c in cabecalhos) + "int main(void) { return 0; }\n"
    comando = [compilador, f"-std={padrao}", "-x", linguagem, "-S", "-o", "/dev/null", *AVISOS,
               *[f"-I{pasta}" for pasta in inclusao], "-"]
    feito = subprocess.run(comando, input=fonte, capture_output=True, text=True)
    if feito.returncode == 0:
        return None
    quais = cabecalhos[0] if len(set(cabecalhos)) == 1 else "all headers in one file"
    return f"{compilador} {padrao} {quais}\n{feito.stderr}"


def casos(cabecalhos):
    """(compiler, language, standard, headers of one file)"""
    em_c = [c for c in cabecalhos if c.endswith(".h")]
    for linguagem, padrao, compiladores, todos in (("c", "c11", ("gcc", "clang"), em_c),
                                                   ("c++", "c++20", ("g++", "clang++"), cabecalhos)):
        for compilador in filter(shutil.which, compiladores):
            for arquivo in [[c, c] for c in todos] + [todos, todos[::-1]]:
                yield compilador, linguagem, padrao, arquivo


def main():
    opcoes = argparse.ArgumentParser(description=__doc__)
    opcoes.add_argument("--cabecalhos", nargs="+", required=True)
    opcoes.add_argument("--inclusao", nargs="+", required=True)
    args = opcoes.parse_args()

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as executor:
        tarefas = [executor.submit(compila, compilador, linguagem, padrao, args.inclusao, arquivo)
                   for compilador, linguagem, padrao, arquivo in casos(args.cabecalhos)]
        queixas = [tarefa.result() for tarefa in tarefas if tarefa.result()]
    print(*queixas, sep="\n")
    print(f"{len(tarefas)} compilations, {len(queixas)} failed")
    return 1 if queixas else 0


if __name__ == "__main__":
    sys.exit(main())
