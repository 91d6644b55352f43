#!/usr/bin/env python3
"""The library is linked and compiled hardened, and needs nothing beyond the C and C++ runtime."""
import argparse
import re
import subprocess
import sys

BASE = {"libstdc++.so.6", "libgcc_s.so.1", "libm.so.6", "libc.so.6", "ld-linux-x86-64.so.2"}


def main():
    opcoes = argparse.ArgumentParser(description=__doc__)
    opcoes.add_argument("--biblioteca", required=True)
    opcoes.add_argument("--tipo", required=True, help="build type; Debug has no _FORTIFY_SOURCE")
    args = opcoes.parse_args()

    elf = subprocess.run(["readelf", "-d", "-l", "--dyn-syms", "-W", args.biblioteca], check=True,
                         capture_output=True, text=True).stdout
    importados = set(re.findall(r"UND (\w+)", elf))
    provas = {
        "soname is lib3pramo.so.1": "[lib3pramo.so.1]" in elf,
        "all relocations at load (BIND_NOW)": re.search(r"\(FLAGS\).*BIND_NOW|\(BIND_NOW\)", elf),
        "relocations read-only afterwards (GNU_RELRO)": "GNU_RELRO" in elf,
        "stays loaded (NODELETE)": "NODELETE" in elf,
        "no text relocations": "TEXTREL" not in elf,
        "stack not executable": re.search(r"GNU_STACK.*\sRW\s+0x", elf),
        "stack protector": "__stack_chk_fail" in importados,
        "_FORTIFY_SOURCE": args.tipo == "Debug" or any(n.endswith("_chk") for n in importados),
        "no first use on a thread takes memory (thread_local with destructors, or made on demand)":
            not importados & {"__cxa_thread_atexit", "__cxa_thread_atexit_impl", "__tls_get_addr"},
        "no foreign libraries": BASE >= set(re.findall(r"\(NEEDED\).*\[(.*)\]", elf)),
    }
    print(*[f"{'ok  ' if vale else 'FAIL'} {prova}" for prova, vale in provas.items()], sep="\n")
    return 0 if all(provas.values()) else 1


if __name__ == "__main__":
    sys.exit(main())
