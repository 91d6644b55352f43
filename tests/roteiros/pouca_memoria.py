#!/usr/bin/env python3
"""The example servers, given as arguments, in little address space: large bodies from many peers at once and hundreds
of idle connections do not end them, and when they have gone the next client is served."""
import concurrent.futures
import contextlib
import resource
import socket
import sys
import time

from programa import PRAZO, Programa, chamada

MB = 1 << 20


def exige_servida(programa, port_type, depois_de):
    fim = time.monotonic() + PRAZO
    while time.monotonic() < fim:
        with contextlib.suppress(OSError):  # no thread could be made for it
            if b"<ns1:constroiResponse" in programa.conversa(chamada(port_type, "constroi")):
                return
    sys.exit(f"{programa.comando}: no client is served after {depois_de}")


def aperta(caminho, limite):
    port_type = "Formulario" if caminho.endswith("formulario") else "Calc"
    grande = chamada(port_type, "constroi", "<a>" * (20 * MB // 3))
    limites = (limite * MB, limite * MB)
    with Programa(caminho, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, limites)) as programa:
        with concurrent.futures.ThreadPoolExecutor(12) as enchente:
            for _ in range(12):
                enchente.submit(programa.conversa, grande)  # whether it is served or turned away
        exige_servida(programa, port_type, f"a flood in {limite} MB")
        with contextlib.ExitStack() as ociosas:
            for _ in range(600):
                ociosas.enter_context(socket.create_connection(("127.0.0.1", programa.porta), timeout=PRAZO))
            exige_servida(programa, port_type, f"600 connections in {limite} MB")
        exige_servida(programa, port_type, f"all that in {limite} MB")


with concurrent.futures.ThreadPoolExecutor(3) as juntas:
    tarefas = [(caminho, limite) for limite in (200, 400, 600) for caminho in sys.argv[1:]]
    list(juntas.map(aperta, *zip(*tarefas)))
