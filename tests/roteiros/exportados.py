#!/usr/bin/env python3
"""What the library exports is what its public headers mark with Y_EXPORTA, and what tests/exportados.txt keeps.

The kept list makes every change of the binary interface visible in a review. After an intended change:

    ctest --preset release -R exportados     fails and names the differences
    tests/roteiros/exportados.py --reescreve --biblioteca build/release/3pramo/lib3pramo.so
"""
import argparse
import pathlib
import re
import subprocess
import sys

LISTA = pathlib.Path(__file__).resolve().parent.parent / "exportados.txt"
MARCA = '__attribute__((visibility("default")))'


def saida(*comando, entrada=None):
    return subprocess.run(comando, input=entrada, check=True, stdout=subprocess.PIPE, text=True,
                          encoding="utf-8").stdout


def exportados(biblioteca):
    """Names as the linker knows them."""
    return {linha.split()[2].split("@")[0] for linha in saida("nm", "-D", "--defined-only", biblioteca).splitlines()
            if linha.split()[1] != "A"}


def declaracoes(cabecalhos, inclusao):
    """The marked declarations of our headers, macros expanded, what they include from elsewhere left out."""
    fonte = "".join(f'#include "{c}"\n' for c in cabecalhos)
    opcoes = [f"-I{pasta}" for pasta in inclusao]
    texto, nosso = [], False
    for linha in saida("g++", "-std=c++20", "-E", "-x", "c++", "-", *opcoes, entrada=fonte).splitlines():
        marcador = re.match(r'# \d+ "(.*?)"', linha)
        if marcador:
            nosso = any(marcador[1].startswith(pasta) for pasta in inclusao)
        elif nosso:
            texto.append(linha)
    for trecho in " ".join(texto).split(MARCA)[1:]:
        yield re.split(r"[;{]", trecho)[0].strip()


def marcados(cabecalhos, inclusao):
    """C names of functions and objects, and the classes, of the marked declarations."""
    nomes, classes = set(), set()
    for declaracao in declaracoes(cabecalhos, inclusao):
        # A class reads `class MARK Name : base`, so that what follows the mark begins with its name.
        if re.match(r"\w+\s*(final\s*)?(:(?!:)|$)", declaracao):
            classes.add(re.match(r"\w+", declaracao)[0])
        else:
            nomes.add(re.search(r"(\w+)\s*(\(|\[|$)", declaracao)[1])
    return nomes, classes


def compara(titulo, sobra):
    for nome in sorted(sobra):
        print(f"{titulo}: {nome}")
    return len(sobra)


def main():
    opcoes = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    opcoes.add_argument("--biblioteca", required=True)
    opcoes.add_argument("--cabecalhos", nargs="+", help="public headers")
    opcoes.add_argument("--inclusao", nargs="+", default=[], help="folders that hold our headers")
    opcoes.add_argument("--reescreve", action="store_true", help="write the kept list anew from the library")
    args = opcoes.parse_args()

    nomes = exportados(args.biblioteca)
    if args.reescreve:
        LISTA.write_text("".join(f"{nome}\n" for nome in sorted(nomes)))
        return 0
    if not nomes:
        print("the library exports nothing")
        return 1

    guardados = set(LISTA.read_text().split())
    em_c, classes = marcados(args.cabecalhos, args.inclusao)
    do_cpp = {nome for nome in nomes if nome.startswith("_Z")}
    legiveis = dict(zip(sorted(do_cpp), saida("c++filt", entrada="\n".join(sorted(do_cpp))).splitlines()))
    sem_classe = {legivel for legivel in legiveis.values()
                  if not any(re.search(rf"\b{classe}\b", legivel) for classe in classes)}
    ausentes = {classe for classe in classes
                if not any(re.search(rf"\b{classe}\b", legivel) for legivel in legiveis.values())}
    erros = (compara("exported, not in tests/exportados.txt", nomes - guardados)
             + compara("in tests/exportados.txt, not exported", guardados - nomes)
             + compara("exported, in no public header", (nomes - do_cpp - em_c) | sem_classe)
             + compara("marked in a public header, not exported", (em_c - nomes) | ausentes))
    if erros:
        print(f"{erros} differences; --help tells how to rewrite the list")
    return 1 if erros else 0


if __name__ == "__main__":
    sys.exit(main())
