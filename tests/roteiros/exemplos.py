#!/usr/bin/env python3
"""The example servers, given as arguments, answer recorded requests as they must, one after the other, in forms that
the living clients do not send. Then their page, and ports that they cannot have."""
import pathlib
import socket
import subprocess
import sys

from programa import Programa, exige

GRAVADAS = pathlib.Path(__file__).resolve().parent.parent / "dados" / "requisicoes"


def confere(programa, gravada):
    metodo, valor = ("eco", "a&#231;&#227;o") if "-eco-" in gravada.name else ("soma", "5")
    resposta = programa.conversa(gravada.read_bytes()).decode("ascii")
    esperada = (f'<SOAP-ENV:Body><ns1:{metodo}Response xmlns:ns1="urn:Calc"><ns1:return>{valor}</ns1:return>'
                f"</ns1:{metodo}Response></SOAP-ENV:Body></SOAP-ENV:Envelope>")
    exige(resposta.endswith(esperada), f"{gravada}:\nexpected {esperada}\ngot      {resposta}")


def recusa_porta(caminho):
    with socket.create_server(("", 0)) as ocupada:
        for situacao, porta in (2, "65536"), (2, "x"), (1, str(ocupada.getsockname()[1])):
            deu = subprocess.run([caminho, "--porta", porta], capture_output=True, timeout=60).returncode
            exige(deu == situacao, f"{caminho} --porta {porta}: {deu}")


for caminho in sys.argv[1:]:
    for opcao in ("--fecha-logo", "--log-corpo"):
        with Programa(caminho, opcao, stderr=subprocess.PIPE) as programa:
            for gravada in sorted(GRAVADAS.glob("*.http")):
                confere(programa, gravada)
            pagina = programa.conversa(b"GET /index.html HTTP/1.1\r\n\r\n")
            exige(pagina.startswith(b"HTTP/1.1 200 ") and b"urn:Calc#" in pagina and pagina.isascii(), "the page")
    exige("Calc#soma" in programa.erros, f"no record of the bodies: {programa.erros}")
    recusa_porta(caminho)
