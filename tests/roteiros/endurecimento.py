#!/usr/bin/env python3
"""The library is linked and compiled hardened, and needs nothing beyond the C and C++ runtime."""
import argparse
import re
import subprocess
import sys

BASE = {"libstdc++.so.6", "libgcc_s.so.1", "libm.so.6", "libc.so.6", "ld-linux-x86-64.so.2"}


def readelf(opcao, biblioteca):
    return subprocess.run(["readelf", opcao, "-W", biblioteca], check=True, capture_output=True, text=True).stdout


def main():
    opcoes = argparse.ArgumentParser(description=__doc__)
    opcoes.add_argument("--biblioteca", required=True)
    opcoes.add_argument("--tipo", required=True, help="build type; Debug has no _FORTIFY_SOURCE")
    args = opcoes.parse_args()

    dinamica = readelf("-d", args.biblioteca)
    segmentos = readelf("-l", args.biblioteca)
    importados = set(re.findall(r"UND (\w+)", readelf("--dyn-syms", args.biblioteca)))
    pilha = re.search(r"GNU_STACK.*\s([RWE ]+)\s+0x", segmentos)
    alheias = set(re.findall(r"\(NEEDED\).*\[(.*)\]", dinamica)) - BASE
    provas = {
        "soname is lib3pramo.so.1": "[lib3pramo.so.1]" in dinamica,
        "all relocations at load (BIND_NOW)": re.search(r"\(FLAGS\).*BIND_NOW|\(BIND_NOW\)", dinamica),
        "relocations read-only afterwards (GNU_RELRO)": "GNU_RELRO" in segmentos,
        "stays loaded (NODELETE)": "NODELETE" in dinamica,
        "no text relocations": "TEXTREL" not in dinamica,
        "stack not executable": pilha and "E" not in pilha[1],
        "stack protector": "__stack_chk_fail" in importados,
        "_FORTIFY_SOURCE": args.tipo == "Debug" or any(n.endswith("_chk") for n in importados),
        "no first use on a thread takes memory (thread_local with destructors, or made on demand)":
            not importados & {"__cxa_thread_atexit", "__cxa_thread_atexit_impl", "__tls_get_addr"},
        f"no foreign libraries {sorted(alheias) or ''}": not alheias,
    }
    for prova, vale in provas.items():
        print("ok  " if vale else "FAIL", prova)
    return 0 if all(provas.values()) else 1


if __name__ == "__main__":
    sys.exit(main())
