#!/usr/bin/env python3
"""Rooms of the library include only the rooms they may stand on, and no file includes itself in a circle.

Usage: andares.py FOLDER_OF_THE_LIBRARY
"""
import pathlib
import re
import sys

# What a room may include beside itself. Files directly in the folder (the umbrella headers, the version) may
# include every room.
PERMITIDAS = {
    "foundation": set(),
    "http": {"foundation"},
    "node": {"foundation"},
    "iso": {"foundation"},
    "forms": {"foundation", "node"},
    "soap": {"foundation", "node", "http"},
}
# The one file outside the rooms that they may include.
VERSAO = "versao.h"


def inclusoes(pasta, arquivo):
    """Our files that the file includes, relative to the folder."""
    for modo, nome in re.findall(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', arquivo.read_text(encoding="utf-8"), re.M):
        if nome.startswith(f"{pasta.name}/"):
            yield pathlib.PurePath(nome).relative_to(pasta.name)
        elif modo == '"':
            yield (arquivo.parent / nome).resolve().relative_to(pasta)


def sala(arquivo):
    return arquivo.parts[0] if len(arquivo.parts) > 1 else None


def proibidas(grafo):
    for arquivo, incluidos in grafo.items():
        propria = sala(arquivo)
        if propria and propria not in PERMITIDAS:
            yield f"{arquivo}: the room {propria} is unknown"
            continue
        for incluido in incluidos:
            if propria and str(incluido) != VERSAO and sala(incluido) not in PERMITIDAS[propria] | {propria}:
                yield f"{arquivo} includes {incluido}"


def circulos(grafo):
    feitos = set()

    def visita(arquivo, caminho):
        if arquivo in caminho:
            yield "circle: " + " > ".join(map(str, [*caminho[caminho.index(arquivo):], arquivo]))
        elif arquivo not in feitos:
            for incluido in grafo.get(arquivo, ()):
                yield from visita(incluido, [*caminho, arquivo])
            feitos.add(arquivo)

    for arquivo in grafo:
        yield from visita(arquivo, [])


def main():
    pasta = pathlib.Path(sys.argv[1]).resolve()
    arquivos = [a for a in sorted(pasta.rglob("*")) if a.suffix in (".h", ".hpp", ".cpp")]
    grafo = {a.relative_to(pasta): list(inclusoes(pasta, a)) for a in arquivos}
    queixas = [*proibidas(grafo), *circulos(grafo)]
    print(*queixas, sep="\n")
    print(f"{len(grafo)} files, {len(queixas)} complaints")
    return 1 if queixas or not grafo else 0


if __name__ == "__main__":
    sys.exit(main())
