#!/usr/bin/env python3
"""The examples. Those that serve SOAP answer recorded requests as they must, one after the other, in forms that the
living clients do not send. Then their page, ports that no server can have, and the client with the first of them.

Usage: exemplos.py CALC CALC-C CLIENTE TCP WEB LOG THREAD
"""
import pathlib
import re
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


def ecoa_linhas(caminho):
    with Programa(caminho) as programa, socket.create_connection(("127.0.0.1", programa.porta)):  # one stays idle
        for enviado, devolvido in (b"a\r\n\xe7\0\nresto", b"a\n\xe7\0\n"), (
                b"x" * 1024 + b"\n" + b"y" * 1025 + b"\nz\n", b"x" * 1024 + b"\nlinha longa demais\n"):
            exige(programa.conversa(enviado) == devolvido, f"{caminho}: {enviado}")


def serve_paginas(caminho, *pedidos):
    with Programa(caminho, "--fecha-logo", stderr=subprocess.PIPE) as programa:
        for uri, achado in pedidos:
            resposta = programa.conversa(b"GET %s HTTP/1.0\r\n\r\n" % uri)
            exige(re.search(achado, resposta), f"{caminho}: {uri} gives {resposta}")
    return programa.erros


def imprime_linhas(caminho):
    with subprocess.Popen([caminho], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True) as processo:
        for n in range(1, 4):  # each is printed while the program waits for the next
            print("linha", file=processo.stdin, flush=True)
            exige(processo.stdout.readline() == f"{n}: linha\n", f"{caminho}: line {n}")
        exige(processo.communicate()[0] == "3 linhas\n", caminho)


def responde_gravadas(caminho):
    with Programa(caminho, "--log-corpo", stderr=subprocess.PIPE) as programa:
        for gravada in sorted(GRAVADAS.glob("*.http")):
            confere(programa, gravada)
        pagina = programa.conversa(b"GET /index.html HTTP/1.1\r\n\r\n")
        exige(pagina.startswith(b"HTTP/1.1 200 ") and b"urn:Calc#" in pagina and pagina.isascii(), "the page")
    exige("Calc#soma" in programa.erros, f"no record of the bodies: {programa.erros}")


def usa_cliente(caminho, calc):
    with Programa(calc) as programa:
        comando = [caminho, "127.0.0.1", str(programa.porta)]
        dito = subprocess.run(comando, capture_output=True, timeout=60, check=True).stdout.decode()
    esperado = "2 + 3 = 5\nO coração tem razões que a própria razão desconhece\ncontador: 20\ncontador: 40\n" \
        "recusada: Divisao por zero.\n"
    exige(dito == esperado, f"{caminho}: {dito}")


calc, calc_c, cliente, tcp, web, log, thread = sys.argv[1:]
ecoa_linhas(tcp)
PAGINA = (b"/index.html", b"200 OK\n(.*\n)+<h1>A hora")
serve_paginas(web, PAGINA, (b"/", PAGINA[1]), (b"/hora", rb'json\n(.*\n)+{"hora": "\d.*Z"}\n$'), (b"/x", b"404"))
registros = serve_paginas(log, PAGINA)
exige(re.search(r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} web YWebServer: .*/index\.html servido\.$", registros, re.M),
      f"no record of the page: {registros}")
imprime_linhas(thread)
usa_cliente(cliente, calc)
for soap in calc, calc_c:
    responde_gravadas(soap)
for servidor in calc, calc_c, tcp, web, log:
    recusa_porta(servidor)
