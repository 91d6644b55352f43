#!/usr/bin/python3
"""Python's zeep fills its objects with the forms of the example server: formulario.py ADDRESS"""
import sys

import zeep

servico = zeep.Client(f"{sys.argv[1]}/wsdl/Formulario").service
eu = servico.constroi()
item = [{"nome": "valor", "_value_1": "12,50", "periferico": "TECLADO"}, {"nome": "quantidade", "_value_1": "1.500"}]
f = servico.preenche(eu, campo=item, botaoAcionado="consulta")
cancelada = servico.preenche(eu, botaoAcionado="cancelamento")
valor, ultimo = f._value_1[0]["campo"], f._value_1[-1]["campo"]
veio = [valor.valor, valor.somenteLeitura, valor.periferico, ultimo.titulo, f._value_1[1]["focado"], f.botao[1].titulo,
        f.aviso, cancelada.aviso, servico.destroi(eu)]
if veio != ["12.50", False, ["TECLADO"], "Identificação", "valor", "Consultar preço", "Total: 18,75", "Venda cancelada.",
            None]:
    sys.exit(f"got {veio}")
