#!/usr/bin/env python3
"""The example servers, given as arguments (the one in C++ first), answer requests recorded from real clients as they
must, one after the other; each time the next client is served. Then their options, WSDL and page."""
import pathlib
import re
import socket
import subprocess
import sys

from programa import Programa, conversa

GRAVADAS = pathlib.Path(__file__).resolve().parent.parent / "dados" / "requisicoes"

INICIO = b"""<?xml version="1.0" encoding="ISO-8859-1"?>
<SOAP-ENV:Envelope SOAP-ENV:encodingStyle="http://schemas.xmlsoap.org/soap/encoding/" \
xmlns:SOAP-ENV="http://schemas.xmlsoap.org/soap/envelope/" xmlns:xsd="http://www.w3.org/2001/XMLSchema" \
xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" \
xmlns:SOAP-ENC="http://schemas.xmlsoap.org/soap/encoding/"><SOAP-ENV:Body>"""
FIM = b"</SOAP-ENV:Body></SOAP-ENV:Envelope>"


def retorna(metodo, texto):
    return re.escape(f'<ns1:{metodo}Response xmlns:ns1="urn:Calc"><ns1:return>') + texto + \
        re.escape(f"</ns1:return></ns1:{metodo}Response>")


def falha(texto):
    return r"<SOAP-ENV:Fault><faultcode>SOAP-ENV:Client</faultcode><faultstring>" + re.escape(texto) + \
        r" \(\w+:\d+\)</faultstring><faultactor/></SOAP-ENV:Fault>"


SOMA = retorna("soma", "5")
ACAO = retorna("eco", "a&#231;&#227;o")
RECIFE = retorna("cadastra", "cidade=Recife; uf=PE")
TOKEN = falha("YExcSoap: Token inesperado.")
SEM_SERVICO = falha("YExcSoap: Servico nao consta da lista de servicos ativos.")

# What the Body of the answer to each recorded request must be.
ESPERADO = {
    "curl-soma-soma": SOMA,
    "curl-soma-bom-soma": SOMA,
    "curl-soma-expect-soma": SOMA,
    "curl-soma-header-minusculo-soma": SOMA,
    "curl-soma-http10-soma": SOMA,
    "curl-soma-indentado-soma": SOMA,
    "curl-soma-multiref-soma": SOMA,
    "perl-plain-soma": SOMA,
    "php-plain-soma": SOMA,
    "suds-soma": SOMA,
    "curl-eco-acento-latin1-eco-acento": ACAO,
    "curl-eco-acento-refs-eco-acento": ACAO,
    "curl-eco-acento-utf8-eco-acento": ACAO,
    "perl-latin1-eco-acento": ACAO,
    "php-plain-eco-acento": ACAO,
    "suds-eco-acento": ACAO,
    "php-plain-eco": retorna("eco", "ola mundo"),
    "php-plain-eco-marcas": retorna("eco", re.escape("&lt;a href=&quot;x&quot;&gt;&amp;'&lt;/a&gt;")),
    "perl-latin1-cadastra": RECIFE,
    "php-plain-cadastra": RECIFE,
    "suds-cadastra": RECIFE,
    "php-plain-cadastra-dentro": retorna("cadastra", "nome=Ana; endereco/rua=A; endereco/num=7"),
    "php-plain-constroi": retorna("constroi", "[0-9a-f]{32}"),
    # An absent value is an absent element.
    "php-plain-eco-nulo": falha("YExcSoap: Tag procurada: texto. Faltou tag."),
    "php-plain-falha": falha("YExcSoap: Esta operacao sempre falha."),
    # Their identities are the recording's own.
    "php-plain-valor": SEM_SERVICO,
    "php-plain-destroi": SEM_SERVICO,
    # What this parser does not read.
    "curl-eco-cdata-eco-marcas": TOKEN,
    "curl-soma-comentario-branco-soma": TOKEN,
    "curl-soma-doctype-soma": TOKEN,
    # A comment in one word ends the list of the Body's children, in front of the method's element.
    "curl-soma-comentario-colado-soma": falha("YExcSoap: Tag procurada: a. Faltou tag."),
    "curl-soma-chunked-soma": None,  # refused by the web server, with one line
}


def exige(condicao, mensagem):
    if not condicao:
        sys.exit(mensagem)


def confere(nome, resposta):
    esperado = ESPERADO[nome]
    if esperado is None:
        exige(resposta == b"HTTP/1.1 411 Length Required.\n", f"{nome}: {resposta}")
        return
    if "-expect-" in nome:
        continua, _, resposta = resposta.partition(b"\n\n")
        exige(continua == b"HTTP/1.1 100 Continue", f"{nome}: {continua} before the answer")
    cabeca, _, corpo = resposta.partition(b"\n\n")
    linhas = cabeca.decode().split("\n")
    exige(linhas[0] == "HTTP/1.1 200 OK", f"{nome}: {linhas[0]}")
    exige({"Content-Type: text/xml; charset=ISO-8859-1", f"Content-Length: {len(corpo)}"} <= set(linhas),
          f"{nome}: {linhas}")
    exige(corpo.startswith(INICIO) and corpo.endswith(FIM), f"{nome}: no envelope: {corpo}")
    conteudo = corpo[len(INICIO):-len(FIM)].decode("ascii")
    exige(re.fullmatch(esperado, conteudo), f"{nome}:\nexpected {esperado}\ngot      {conteudo}")


def repete_as_gravadas(programa):
    bem_formada = (GRAVADAS / "php-plain-soma.http").read_bytes()
    gravadas = {arquivo.stem: arquivo.read_bytes() for arquivo in sorted(GRAVADAS.glob("*.http"))}
    exige(gravadas.keys() == ESPERADO.keys(), f"not both: {gravadas.keys() ^ ESPERADO.keys()}")
    for nome, pedido in gravadas.items():
        confere(nome, conversa(programa.porta, pedido))
        confere("php-plain-soma", conversa(programa.porta, bem_formada))


def publica(programa):
    def pede(uri):
        campos = f"Host: 127.0.0.1:{programa.porta}\r\nConnection: close\r\n\r\n"
        return conversa(programa.porta, f"GET {uri} HTTP/1.1\r\n{campos}".encode()).partition(b"\n\n")

    cabeca, _, wsdl = pede("/wsdl/Calc")
    exige(b"text/xml" in cabeca and b"$(" not in wsdl, f"WSDL: {cabeca}")
    exige(f'location="{programa.endereco}/soap/Calc"'.encode() in wsdl, "the WSDL names the address of the client")
    cabeca, _, pagina = pede("/index.html")
    exige(cabeca.startswith(b"HTTP/1.1 200 OK\n") and b"urn:Calc#" in pagina and pagina.isascii(), "the page")
    exige(pede("/../calc.cpp")[0].startswith(b"HTTP/1.1 403 "), "nothing outside the page's folder")


def registra_corpos(caminho):
    with Programa(caminho, "--log-corpo", stderr=subprocess.PIPE) as programa:
        conversa(programa.porta, (GRAVADAS / "curl-soma-indentado-soma.http").read_bytes())
    registros = [linha for linha in programa.erros.splitlines() if "Calc#soma" in linha]
    exige(len(registros) == 2, f"one record for the request, one for the answer: {programa.erros}")


def recusa_opcoes(caminho):
    def situacao(*opcoes):
        return subprocess.run([caminho, *opcoes], capture_output=True, timeout=60).returncode

    for opcoes in (["--porta", "65536"], ["--porta", "x"], ["--porta", ""], ["--nada"], ["sobra"], ["--endereco"]):
        exige(situacao(*opcoes) == 2, f"{caminho} takes {opcoes}")
    with socket.create_server(("", 0)) as ocupada:
        porta = str(ocupada.getsockname()[1])
        for endereco in ([], ["--endereco", ""], ["--endereco", "192.0.2.1"]):
            exige(situacao(*endereco, "--porta", porta) == 1, f"{caminho} takes what it cannot have: {endereco}")


def main():
    for caminho in sys.argv[1:]:
        for opcoes in ([], ["--fecha-logo"]):
            with Programa(caminho, *opcoes) as programa:
                repete_as_gravadas(programa)
                publica(programa)
        registra_corpos(caminho)
        recusa_opcoes(caminho)
    return 0


if __name__ == "__main__":
    sys.exit(main())
