#!/usr/bin/env python3
"""What is installed serves its users: into an empty prefix, which is then moved, and from there a program in C and
one in C++ are built with the CMake package and with pkg-config, and run."""
import argparse
import os
import pathlib
import subprocess
import sys
import tempfile

CONSUMIDOR = pathlib.Path(__file__).resolve().parent.parent / "consumidor"


def roda(*comando, **ambiente):
    feito = subprocess.run([str(parte) for parte in comando], env={**os.environ, **ambiente}, capture_output=True,
                           text=True)
    if feito.returncode != 0:
        sys.exit(f"failed: {' '.join(map(str, comando))}\n{feito.stdout}{feito.stderr}")
    return feito.stdout.strip()


def confere_cabecalhos(pasta, publicos):
    """Exactly the public headers are there, and they need no other."""
    instalados = {str(arquivo.relative_to(pasta)) for arquivo in pasta.rglob("*") if arquivo.is_file()}
    if instalados != set(publicos):
        sys.exit(f"headers installed and public differ: {sorted(instalados ^ set(publicos))}")
    todos = [opcao for nome in publicos for opcao in ("-include", nome)]
    roda("g++", "-std=c++20", f"-I{pasta}", *todos, "-fsyntax-only", "-x", "c++", os.devnull)


def pelo_cmake(prefixo, pasta):
    roda("cmake", "-G", "Ninja", "-S", CONSUMIDOR, "-B", pasta, f"-DCMAKE_PREFIX_PATH={prefixo}")
    roda("cmake", "--build", pasta)
    return [roda(pasta / "consumidor_c"), roda(pasta / "consumidor_cpp")]


def pelo_pkg_config(prefixo, pasta, versao):
    pc = next(prefixo.rglob("3pramo.pc"))
    ambiente = {"PKG_CONFIG_PATH": str(pc.parent)}
    if roda("pkg-config", "--modversion", "3pramo", **ambiente) != versao:
        sys.exit("pkg-config gives another version")
    opcoes = roda("pkg-config", "--cflags", "--libs", "3pramo", **ambiente).split()
    pasta.mkdir()
    saidas = []
    for compilador, padrao, fonte in (("gcc", "c11", "consumidor.c"), ("g++", "c++20", "consumidor.cpp")):
        programa = pasta / f"{fonte}.out"
        roda(compilador, f"-std={padrao}", "-Wall", "-Wextra", "-pedantic", "-Werror", CONSUMIDOR / fonte, *opcoes,
             "-o", programa)
        saidas.append(roda(programa, LD_LIBRARY_PATH=str(pc.parent.parent)))
    return saidas


def main():
    opcoes = argparse.ArgumentParser(description=__doc__)
    opcoes.add_argument("--construcao", required=True, help="build folder to install from")
    opcoes.add_argument("--versao", required=True)
    opcoes.add_argument("--cabecalhos", nargs="+", required=True, help="headers, relative to the include folder")
    args = opcoes.parse_args()

    with tempfile.TemporaryDirectory() as nome:
        temporaria = pathlib.Path(nome)
        roda("cmake", "--install", args.construcao, "--prefix", temporaria / "antes")
        prefixo = (temporaria / "antes").rename(temporaria / "depois")
        confere_cabecalhos(prefixo / "include", args.cabecalhos)
        saidas = pelo_cmake(prefixo, temporaria / "cmake") + pelo_pkg_config(prefixo, temporaria / "pc", args.versao)
    if saidas != [args.versao] * 4:
        sys.exit(f"expected the version {args.versao} from each consumer, got {saidas}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
