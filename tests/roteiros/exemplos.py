#!/usr/bin/env python3
"""The example servers, given as arguments, answer recorded requests as they must, one after the other, in forms that
the living clients do not send; each time the next client is served. Then their page, and ports that they cannot
have."""
import pathlib
import re
import socket
import subprocess
import sys

from programa import Programa, conversa

GRAVADAS = pathlib.Path(__file__).resolve().parent.parent / "dados" / "requisicoes"


RESPOSTA = '<ns1:{0}Response xmlns:ns1="urn:Calc"><ns1:return>{1}</ns1:return></ns1:{0}Response>'.format


def falha(texto):
    return r"<SOAP-ENV:Fault><faultcode>SOAP-ENV:Client</faultcode><faultstring>YExcSoap: " + texto + \
        r" \(\w+:\d+\)</faultstring><faultactor/></SOAP-ENV:Fault>"


# What the Body of the answer to a recorded request must be: the first row whose pattern is in the name.
ESPERADO = {
    "cdata|comentario-branco|doctype": falha("Token inesperado."),  # what this parser does not read
    # A comment in one word ends the list of the Body's children, in front of the method's element.
    "comentario-colado": falha("Tag procurada: a. Faltou tag."),
    "-soma$": RESPOSTA("soma", "5"),
    "-eco-acento$": RESPOSTA("eco", "a&#231;&#227;o"),
}


def exige(condicao, mensagem):
    if not condicao:
        sys.exit(mensagem)


def confere(programa, nome):
    resposta = conversa(programa.porta, (GRAVADAS / f"{nome}.http").read_bytes()).decode("ascii")
    corpo = next(corpo for qual, corpo in ESPERADO.items() if re.search(qual, nome))
    esperada = ("HTTP/1.1 100 Continue\n\n" if "-expect-" in nome else "") + \
        r"HTTP/1.1 200 OK\nContent-Type: text/xml; charset=ISO-8859-1\n(\w.*\n)*" + \
        f"Content-Length: {len(resposta.rpartition(chr(10) * 2)[2])}" + \
        r'\n\n<\?xml .*\?>\n<SOAP-ENV:Envelope [^<]*><SOAP-ENV:Body>' + corpo + \
        "</SOAP-ENV:Body></SOAP-ENV:Envelope>"
    if "-chunked-" in nome:  # refused by the web server, with one line
        esperada = "HTTP/1.1 411 Length Required.\n"
    exige(re.fullmatch(esperada, resposta), f"{nome}:\nexpected {esperada}\ngot      {resposta}")


def recusa_porta(caminho):
    with socket.create_server(("", 0)) as ocupada:
        for situacao, porta in (2, "65536"), (2, "x"), (1, str(ocupada.getsockname()[1])):
            deu = subprocess.run([caminho, "--porta", porta], capture_output=True, timeout=60).returncode
            exige(deu == situacao, f"{caminho} --porta {porta}: {deu}")


def main():
    for caminho in sys.argv[1:]:
        for opcao in ("--fecha-logo", "--log-corpo"):
            with Programa(caminho, opcao, stderr=subprocess.PIPE) as programa:
                for gravada in sorted(GRAVADAS.glob("*.http")):
                    confere(programa, gravada.stem)
                    confere(programa, "curl-soma-soma")
                pagina = conversa(programa.porta, b"GET /index.html HTTP/1.1\r\n\r\n")
                exige(pagina.startswith(b"HTTP/1.1 200 ") and b"urn:Calc#" in pagina and pagina.isascii(), "the page")
        exige("Calc#soma" in programa.erros, f"no record of the bodies: {programa.erros}")
        recusa_porta(caminho)
    return 0


if __name__ == "__main__":
    sys.exit(main())
