#!/usr/bin/env python3
"""What is installed serves its users: into an empty prefix, which is then moved, and from there a program in C and
one in C++ are built with the CMake package and with pkg-config, and run.

Usage: instalacao.py BUILD_FOLDER VERSION HEADER..., the headers relative to the include folder
"""
import os
import pathlib
import subprocess
import sys
import tempfile

from programa import exige

CONSUMIDOR = pathlib.Path(__file__).resolve().parent.parent / "consumidor"


def roda(*comando, **ambiente):
    feito = subprocess.run([str(parte) for parte in comando], env={**os.environ, **ambiente}, capture_output=True,
                           text=True)
    exige(feito.returncode == 0, f"failed: {' '.join(map(str, comando))}\n{feito.stdout}{feito.stderr}")
    return feito.stdout.strip()


def pelo_cmake(prefixo, pasta):
    roda("cmake", "-G", "Ninja", "-S", CONSUMIDOR, "-B", pasta, f"-DCMAKE_PREFIX_PATH={prefixo}")
    roda("cmake", "--build", pasta)
    return [roda(pasta / "consumidor_c"), roda(pasta / "consumidor_cpp")]


def pelo_pkg_config(prefixo, pasta):
    pc = next(prefixo.rglob("3pramo.pc"))
    opcoes = roda("pkg-config", "--cflags", "--libs", "3pramo", PKG_CONFIG_PATH=str(pc.parent)).split()
    yield roda("pkg-config", "--modversion", "3pramo", PKG_CONFIG_PATH=str(pc.parent))
    for compilador, padrao, fonte in (("gcc", "c11", "consumidor.c"), ("g++", "c++20", "consumidor.cpp")):
        roda(compilador, f"-std={padrao}", "-Wall", "-Wextra", "-pedantic", "-Werror", CONSUMIDOR / fonte, *opcoes,
             "-o", pasta / compilador)
        yield roda(pasta / compilador, LD_LIBRARY_PATH=str(pc.parent.parent))


construcao, versao, *cabecalhos = sys.argv[1:]
with tempfile.TemporaryDirectory() as nome:
    temporaria = pathlib.Path(nome)
    roda("cmake", "--install", construcao, "--prefix", temporaria / "antes")
    prefixo = (temporaria / "antes").rename(temporaria / "depois")
    pasta = prefixo / "include"
    instalados = {str(arquivo.relative_to(pasta)) for arquivo in pasta.rglob("*") if arquivo.is_file()}
    exige(instalados == set(cabecalhos), f"not both: {instalados ^ set(cabecalhos)}")
    versoes = [*pelo_cmake(prefixo, temporaria / "cmake"), *pelo_pkg_config(prefixo, temporaria)]
exige(versoes == [versao] * 5, f"expected the version {versao} from each, got {versoes}")
