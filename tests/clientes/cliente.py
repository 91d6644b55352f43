#!/usr/bin/python3
"""Python's suds and zeep, by their WSDL, against the example server: cliente.py suds|zeep ADDRESS"""
import logging
import re
import sys


def falha(chamada, classe, texto):
    try:
        return chamada()
    except classe as excecao:
        return re.sub(r" \(\w+:\d+\).*", "", texto(excecao))


def conversa(calc, contador, classe, texto, cadastros=()):
    eu = contador.constroi()
    for veio, esperado in (
            (calc.soma(2, 3), 5),
            (calc.divide(7, 2), 3.5),
            (calc.eco('ação "x" <&>'), 'ação "x" <&>'),
            *((calc.cadastra(dados), "nome=José; endereco/rua=A; endereco/num=7") for dados in cadastros),
            (falha(calc.falha, classe, texto), "YExcSoap: Esta operacao sempre falha."),
            (contador.incrementa(eu, 2), 2),
            (contador.incrementa(eu, 40), 42),
            (contador.destroi(eu), None),
            (falha(lambda: contador.valor(eu), classe, texto),
             "YExcSoap: Servico nao consta da lista de servicos ativos.")):
        if veio != esperado:
            sys.exit(f"expected {esperado!r}, got {veio!r}")


def com_suds(endereco):
    import suds.client

    logging.getLogger("suds").setLevel(logging.ERROR)  # it warns of faults with status 200
    calc, contador = (suds.client.Client(f"{endereco}/wsdl/{nome}", cache=None).service for nome in ("Calc", "Contador"))
    conversa(calc, contador, suds.WebFault, lambda e: str(e.fault.faultstring),
             [{"nome": "José", "endereco": {"rua": "A", "num": 7}}])


def com_zeep(endereco):
    import zeep

    calc, contador = (zeep.Client(f"{endereco}/wsdl/{nome}").service for nome in ("Calc", "Contador"))
    conversa(calc, contador, zeep.exceptions.Fault, lambda e: e.message)


{"suds": com_suds, "zeep": com_zeep}[sys.argv[1]](sys.argv[2])
