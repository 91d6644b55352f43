#!/usr/bin/env python3
"""Rooms of the library include only the rooms they may stand on, and no file includes itself in a circle.

Usage: andares.py FOLDER_OF_THE_LIBRARY
"""
import graphlib
import pathlib
import re
import sys

# What a room may include beside itself and the version. Files directly in the folder (the umbrella headers) may
# include every room.
PERMITIDAS = {
    "foundation": set(),
    "http": {"foundation"},
    "node": {"foundation"},
    "iso": {"foundation"},
    "forms": {"foundation", "node"},
    "soap": {"foundation", "node", "http"},
    "cpp": {"foundation", "http", "node", "soap", "forms", "iso"},  # the face of C++
}


def inclusoes(pasta, arquivo):
    """Our files that the file includes, relative to the folder."""
    for modo, nome in re.findall(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', arquivo.read_text(encoding="utf-8"), re.M):
        if nome.startswith(f"{pasta.name}/"):
            yield pathlib.PurePath(nome).relative_to(pasta.name)
        elif modo == '"':
            yield (arquivo.parent / nome).resolve().relative_to(pasta)


pasta = pathlib.Path(sys.argv[1]).resolve()
arquivos = [a for a in pasta.rglob("*") if a.suffix in (".h", ".hpp", ".cpp")]
grafo = {a.relative_to(pasta): set(inclusoes(pasta, a)) for a in arquivos}
proibidas = [f"{arquivo} includes {incluido}" for arquivo, incluidos in grafo.items() for incluido in incluidos
             if len(arquivo.parts) > 1 and str(incluido) != "versao.h"
             and incluido.parts[0] not in PERMITIDAS[arquivo.parts[0]] | {arquivo.parts[0]}]
list(graphlib.TopologicalSorter(grafo).static_order())  # raises when there is a circle, and names its files
print(*proibidas, f"{len(grafo)} files", sep="\n")
sys.exit(bool(proibidas) or not grafo)
