#!/usr/bin/env python3
"""Runs a client against an example server: cliente.py SERVER [OPTION...] -- CLIENT [ARGUMENT...]. The client gets the
server's address as its last argument; its status is this program's, and the server's end must be clean."""
import os
import subprocess
import sys

from programa import Programa

meio = sys.argv.index("--")
ambiente = {nome: valor for nome, valor in os.environ.items() if not nome.lower().endswith("_proxy")}
with Programa(*sys.argv[1:meio]) as servidor:
    feito = subprocess.run([*sys.argv[meio + 1:], servidor.endereco], env=ambiente, timeout=60)
sys.exit(feito.returncode)
