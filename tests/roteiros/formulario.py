#!/usr/bin/env python3
"""A terminal conducts a sale with the example program, given as argument: the elements that it sends, and that come
back."""
import re
import subprocess
import sys

from programa import Programa, chamada, exige

INICIO = "valor=0000 ;quantidade=0.000;data=1980-01-00;hora=00:00;identificacao=0000 ;=cancelamento;=consulta;"
ITEM = ('<campo nome="quantidade" periferico="TECLADO">1.500</campo><campo nome="valor">12.50</campo>'
        '<campo nome="identificacao">123456789</campo><campo nome="data">2024-03-05</campo><campo nome="hora">')
# What the terminal fills in, and the next form: its fields, with their values, and its buttons; or the fault.
RODADAS = (
    ("", INICIO),
    (ITEM + "1430</campo>", "=YExcSoap: campo: hora. Conteudo de hora mal formado.;"),
    ("", INICIO),  # nothing was taken: all can be corrected
    (ITEM + "14:30</campo>", "parcelas=;senha=0000 ;autorizacao=;=cancelamento;=consulta;"),
    ('<campo nome="parcelas" opcao="3">3</campo><campo nome="senha" periferico="PIN">987654</campo>'
     '<campo nome="autorizacao">AUT 42</campo>', "total=1875 ;=cancelamento;=consulta;"),
)
PARTE = (r'<ns1:campo nome="(\w+)".*?<ns1:valor>(.*?)<|<ns1:botao nomeDaOperacao="(\w+)"|'
         r"<faultstring>(.*?) \(\w+:\d+\)<")

with Programa(sys.argv[1], "--log-corpo", stderr=subprocess.PIPE) as programa:
    def chama(metodo, parametros=""):
        return programa.conversa(chamada("Formulario", metodo, parametros)).decode("ascii")

    eu = f"<eu>{re.search('return>(.*?)<', chama('constroi'))[1]}</eu>"
    for campos, esperado in RODADAS:
        resposta = chama("preenche", eu + campos)
        veio = "".join(f"{nome}={valor}{botao}{falha};" for nome, valor, botao, falha in re.findall(PARTE, resposta))
        exige(veio == esperado, f"{campos}: expected {esperado}, got {veio}\n{resposta}")
    exige("destroiResponse" in chama("destroi", eu), "destroi")
exige('<campo nome="senha" periferico="PIN">[*]</campo>' in programa.erros
      and not re.search("987654|AUT 42|123456789", programa.erros), programa.erros)
