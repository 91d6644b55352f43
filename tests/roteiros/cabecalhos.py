#!/usr/bin/env python3
"""Each public header compiles by itself, twice in a file, and with all the others in either order, as C11 and as
C++20, without a warning, with every compiler that is there.

Usage: cabecalhos.py [-IFOLDER...] HEADER...
"""
import concurrent.futures
import os
import shutil
import subprocess
import sys

OPCOES = ["-fsyntax-only", "-Wall", "-Wextra", "-pedantic", "-Werror", *[a for a in sys.argv[1:] if a[:2] == "-I"]]
CABECALHOS = [a for a in sys.argv[1:] if a[:2] != "-I"]


def comandos():
    for compilador, padrao, linguagem in (("gcc", "c11", "c"), ("clang", "c11", "c"),
                                          ("g++", "c++20", "c++"), ("clang++", "c++20", "c++")):
        todos = [c for c in CABECALHOS if linguagem == "c++" or c.endswith(".h")]
        for arquivos in [[c, c] for c in todos] + [todos, todos[::-1]]:
            if shutil.which(compilador):
                inclusoes = [parte for arquivo in arquivos for parte in ("-include", arquivo)]
                yield [compilador, f"-std={padrao}", *OPCOES, *inclusoes, "-x", linguagem, "-"]


with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as executor:
    feitos = list(executor.map(lambda comando: subprocess.run(comando, input=b"int um;\n").returncode, comandos()))
sys.exit(any(feitos) or not CABECALHOS)
