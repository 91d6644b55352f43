#!/usr/bin/env python3
"""The published conversation is the example's, byte for byte; its elements are valid by the schema that the example
publishes; the log of its bodies shows no value: formularios.py EXAMPLE DOCUMENT"""
import pathlib
import re
import subprocess
import sys
import tempfile
import urllib.request

from programa import Programa, exige

exemplo, documento = sys.argv[1:]
blocos = re.findall(r"```http\n(.*?)\n```", pathlib.Path(documento).read_text(encoding="utf-8"), re.S)
publicada, data = (re.search(e, blocos[1])[0] for e in (r"(?<=<ns1:return>)\w+", "\nDate: .*"))
identidade = publicada
with Programa(exemplo, "--log-corpo", stderr=subprocess.PIPE) as programa:
    wsdl = urllib.request.urlopen(f"{programa.endereco}/wsdl/Formulario", timeout=30).read().decode("latin-1")
    for pedido, resposta in zip(blocos[::2], blocos[1::2], strict=True):
        veio = programa.conversa(pedido.replace(publicada, identidade).encode()).decode("ascii")
        if "constroiResponse" in veio:
            identidade = re.search(r"(?<=<ns1:return>)\w+", veio)[0]
        veio = re.sub("\nDate: .*", data, veio.replace(identidade, publicada))
        exige(re.sub(r":\d+\)", "", veio) == re.sub(r":\d+\)", "", resposta),  # lines of the sources move
              f"{pedido}\nis answered\n{veio}\nnot\n{resposta}")
mostrados = re.findall("12,50|123456|004217|AUT 42|18.75", programa.erros)
exige(not mostrados and '<f:campo nome="senha" periferico="PIN">[*]</f:campo>' in programa.erros,
      f"the log shows {mostrados}: {programa.erros}")

# Every element of a Body, and forms that are none.
elementos = [(re.search(r"Body>\s*(.*?)\s*</[\w:-]*Body", b, re.S)[1], True) for b in blocos if "Fault" not in b]
elementos += [(elementos[3][0].replace(certo, errado), False) for certo, errado in (
    ("<ns1:estilo>DialogoPadrao</ns1:estilo>", ""), ("campo nome", "campo name"), ("TECLADO", "teclado"), (":botao", ":x"))]
with tempfile.TemporaryDirectory() as pasta:
    schema, arquivo = pathlib.Path(pasta, "f.xsd"), pathlib.Path(pasta, "f.xml")
    schema.write_text(re.search(r"<xs:schema.*</xs:schema>", wsdl, re.S)[0], encoding="ascii")
    for elemento, vale in elementos:
        arquivo.write_text(elemento, encoding="ascii")
        feito = subprocess.run(["xmllint", "--noout", "--schema", schema, arquivo], capture_output=True, text=True)
        exige((feito.returncode == 0) == vale, f"{elemento}\nis valid: {not vale}\n{feito.stderr}")
