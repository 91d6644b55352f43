#!/usr/bin/python3
"""Python's suds and zeep, by their WSDL, against the example server: cliente.py suds|zeep ADDRESS"""
import logging
import re
import sys

LEMA = "O coração tem razões que a própria razão desconhece"
erros = 0


def confere(o_que, veio, esperado):
    global erros
    if veio != esperado:
        erros += 1
        print(f"{o_que}: expected {esperado!r}, got {veio!r}")


def falha(chamada, classe, texto):
    try:
        chamada()
    except classe as excecao:
        return re.sub(r" \(\w+:\d+\).*", "", texto(excecao))
    return "no fault"


def conversa(calc, contador, classe, texto, dados):
    confere("soma", calc.soma(2, 3), 5)
    confere("divide", calc.divide(7, 2), 3.5)
    confere("eco", calc.eco('ação "x" <&>'), 'ação "x" <&>')
    confere("lema", calc.lema(), LEMA)
    confere("cadastra", calc.cadastra(dados), "nome=José; endereco/rua=A; endereco/num=7")
    confere("falha", falha(calc.falha, classe, texto), "YExcSoap: Esta operacao sempre falha.")

    eu = contador.constroi()
    confere("incrementa", contador.incrementa(eu, 2), 2)
    confere("incrementa", contador.incrementa(eu, 40), 42)
    confere("destroi", contador.destroi(eu), None)
    confere("valor after destroi", falha(lambda: contador.valor(eu), classe, texto),
            "YExcSoap: Servico nao consta da lista de servicos ativos.")


def com_suds(endereco):
    import suds.client

    logging.getLogger("suds").setLevel(logging.ERROR)  # it warns of faults with status 200
    calc, contador = (suds.client.Client(f"{endereco}/wsdl/{nome}", cache=None).service for nome in ("Calc", "Contador"))
    conversa(calc, contador, suds.WebFault, lambda e: str(e.fault.faultstring),
             {"nome": "José", "endereco": {"rua": "A", "num": 7}})


def com_zeep(endereco):
    import zeep
    from lxml.etree import QName
    from zeep import xsd

    calc, contador = (zeep.Client(f"{endereco}/wsdl/{nome}").service for nome in ("Calc", "Contador"))

    def estrutura(qual, /, **campos):  # for an anyType zeep must be told the structure
        return xsd.ComplexType(xsd.Sequence([xsd.Element(n, tipo) for n, tipo in campos.items()]),
                               qname=QName("urn:Calc", qual))

    endereco_postal = estrutura("Endereco", rua=xsd.String(), num=xsd.Int())
    pessoa = estrutura("Pessoa", nome=xsd.String(), endereco=endereco_postal)
    dados = xsd.AnyObject(pessoa, pessoa(nome="José", endereco={"rua": "A", "num": 7}))
    conversa(calc, contador, zeep.exceptions.Fault, lambda e: e.message, dados)


if __name__ == "__main__":
    {"suds": com_suds, "zeep": com_zeep}[sys.argv[1]](sys.argv[2])
    sys.exit(1 if erros else 0)
