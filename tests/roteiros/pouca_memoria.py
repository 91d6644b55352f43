#!/usr/bin/env python3
"""An example server, given as the argument, in little address space: large bodies from many peers at once and hundreds
of idle connections do not end it, and when they have gone the next client is served."""
import pathlib
import resource
import socket
import sys
import threading
import time

from programa import PRAZO, Programa, conversa

MB = 1 << 20
GRAVADA = pathlib.Path(__file__).resolve().parent.parent / "dados" / "requisicoes" / "php-plain-soma.http"


def inunda(porta):
    cabeca = b"POST /soap/Calc HTTP/1.1\r\nSOAPAction: \"urn:Calc#soma\"\r\nContent-Length: %d\r\n\r\n" % (20 * MB)
    with socket.create_connection(("127.0.0.1", porta), timeout=PRAZO) as conexao:
        try:
            conexao.sendall(cabeca + b"<a>" * (20 * MB // 3) + b"  ")
            conexao.recv(65536)
        except OSError:
            pass  # it was turned away


def e_servida(programa):
    try:
        return b"<ns1:return>5<" in conversa(programa.porta, GRAVADA.read_bytes())
    except OSError:
        return False  # no thread could be made for it


def exige_servida(programa, depois_de):
    fim = time.monotonic() + PRAZO
    while not e_servida(programa):
        if time.monotonic() > fim:
            sys.exit(f"no client is served after {depois_de}")


def main():
    for limite in (200, 600):
        def aperta(bytes_=limite * MB):
            resource.setrlimit(resource.RLIMIT_AS, (bytes_, bytes_))

        with Programa(sys.argv[1], preexec_fn=aperta) as programa:
            enchente = [threading.Thread(target=inunda, args=(programa.porta,)) for _ in range(30)]
            for par in enchente:
                par.start()
            for par in enchente:
                par.join()
            exige_servida(programa, f"a flood in {limite} MB")
            ociosas = [socket.create_connection(("127.0.0.1", programa.porta), timeout=PRAZO) for _ in range(600)]
            exige_servida(programa, f"600 connections in {limite} MB")
            for ociosa in ociosas:
                ociosa.close()
            exige_servida(programa, "all that")
    return 0


if __name__ == "__main__":
    sys.exit(main())
