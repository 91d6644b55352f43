#!/usr/bin/env python3
"""What the library exports is what its public headers mark with Y_EXPORTA, and what tests/exportados.txt keeps: the
kept list makes every change of the binary interface visible in a review."""
import argparse
import pathlib
import re
import subprocess
import sys

MARCA = '__attribute__((visibility("default")))'


def saida(*comando, entrada=None):
    return subprocess.run(comando, input=entrada, check=True, stdout=subprocess.PIPE, text=True).stdout


def exportados(biblioteca):
    simbolos = [linha.split() for linha in saida("nm", "-D", "--defined-only", biblioteca).splitlines()]
    return {nome.split("@")[0] for _, tipo, nome in simbolos if tipo != "A"}


def marcados(cabecalhos, inclusao):
    """C names of the marked declarations; what is exported of a class stands in the kept list alone."""
    texto = saida("g++", "-std=c++20", "-E", "-P", "-x", "c++", "-", *[f"-I{pasta}" for pasta in inclusao],
                  entrada="".join(f'#include "{c}"\n' for c in cabecalhos))
    for trecho in " ".join(texto.split("\n")).split(MARCA)[1:]:
        declaracao = re.split(r"[;{]", trecho)[0].strip()
        if not re.match(r"\w+\s*(final\s*)?(:(?!:)|$)", declaracao):
            yield re.search(r"(\w+)\s*(\(|\[|$)", declaracao)[1]


def main():
    opcoes = argparse.ArgumentParser(description=__doc__)
    opcoes.add_argument("--biblioteca", required=True)
    opcoes.add_argument("--cabecalhos", nargs="+", required=True, help="public headers")
    opcoes.add_argument("--inclusao", nargs="+", required=True, help="folders that hold our headers")
    args = opcoes.parse_args()

    nomes = exportados(args.biblioteca)
    guardados = set((pathlib.Path(__file__).resolve().parent.parent / "exportados.txt").read_text().split())
    em_c = {nome for nome in nomes if not nome.startswith("_Z")}
    declarados = set(marcados(args.cabecalhos, args.inclusao))
    print("exported, or in tests/exportados.txt, not both:", *sorted(nomes ^ guardados))
    print("exported, or marked in a public header, not both:", *sorted(em_c ^ declarados))
    return 0 if nomes == guardados and em_c == declarados and nomes else 1


if __name__ == "__main__":
    sys.exit(main())
