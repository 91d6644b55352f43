#!/usr/bin/env python3
"""The library is linked and compiled hardened, needs nothing beyond the C and C++ runtime, and exports what its public
headers mark and tests/exportados.txt keeps: the kept list makes each change of the binary interface visible in a review.

Usage: biblioteca.py LIBRARY BUILD_TYPE PUBLIC_HEADER...
"""
import pathlib
import re
import subprocess
import sys

BASE = {"libstdc++.so.6", "libgcc_s.so.1", "libm.so.6", "libc.so.6", "ld-linux-x86-64.so.2"}
POR_THREAD = {"__cxa_thread_atexit", "__cxa_thread_atexit_impl", "__tls_get_addr"}

biblioteca, tipo, *cabecalhos = sys.argv[1:]
elf = subprocess.run(["readelf", "-d", "-l", "--dyn-syms", "-W", biblioteca], check=True, capture_output=True,
                     text=True).stdout
importados = set(re.findall(r"UND (\w+)", elf))
exportados = set(re.findall(r"(?:FUNC|OBJECT) +(?:GLOBAL|WEAK) .* (?!UND)\w+ ([^\s@]+)", elf))
guardados = set((pathlib.Path(__file__).resolve().parent.parent / "exportados.txt").read_text().split())
declaracoes = "".join(pathlib.Path(c).read_text() for c in cabecalhos)
# What is exported of a class stands in the kept list alone.
marcados = set(re.findall(r"^(?:\w+ )?Y_EXPORTA [^;({\[]*?(\w+)\s*[;(\[]", declaracoes, re.M))
so_de_um = (exportados ^ guardados) | ({nome for nome in exportados if not nome.startswith("_Z")} ^ marcados)
provas = {
    "soname is lib3pramo.so.1": "[lib3pramo.so.1]" in elf,
    "all relocations at load (BIND_NOW)": re.search(r"\(FLAGS\).*BIND_NOW|\(BIND_NOW\)", elf),
    "relocations read-only afterwards (GNU_RELRO)": "GNU_RELRO" in elf,
    "stays loaded (NODELETE)": "NODELETE" in elf,
    "no text relocations": "TEXTREL" not in elf,
    "stack not executable": re.search(r"GNU_STACK.*\sRW\s+0x", elf),
    "stack protector": "__stack_chk_fail" in importados,
    "_FORTIFY_SOURCE": tipo == "Debug" or any(nome.endswith("_chk") for nome in importados),  # Debug has none
    "no first use on a thread takes memory (thread_local with destructors, or made on demand)":
        not importados & POR_THREAD,
    "no foreign libraries": BASE >= set(re.findall(r"\(NEEDED\).*\[(.*)\]", elf)),
    f"exported, marked in a public header and kept, not one of these only: {sorted(so_de_um)}": not so_de_um,
}
print(*[f"{'ok  ' if vale else 'FAIL'} {prova}" for prova, vale in provas.items()], sep="\n")
sys.exit(not all(provas.values()))
