#!/usr/bin/env python3
"""3pramo-iso8583 as a person runs it: what it writes, byte for byte, what it refuses, and how it ends.
Arguments: --programa PROGRAM [--sem-memoria], the second where sanitizers need memory of their own."""
import pathlib
import subprocess
import sys
import tempfile

from programa import exige

_, _, PROGRAMA, *SEM_MEMORIA = sys.argv
CARTAO, TRILHA, PIN = "4111111111111111", "4111111111111111=30121010000012300000", "0123456789ABCDEF"
COMPRA = f"0200702000002080100016{CARTAO}00300000000001234500012337{TRILHA}TERM0001{PIN}".encode()
REDE = b"0800822000000000000004000000000000001122093015000126301"
FIO_DOS_NOMES = ("0200" "0000000000200006" + "PADARIA SÃO JOÃO".ljust(40) + "0041\x00\t9" + "010  brancos ").encode("latin-1")
TEXTO_DA_COMPRA = (f"200\n002 {CARTAO}\n003 003000\n004 000000012345\n011 000123\n035 {TRILHA}\n041 TERM0001\n"
                   f"052 {PIN}\n").encode()
TEXTO_DA_REDE = b"800\n007 1122093015\n011 000126\n070 301\n"


def confere(oque, obtido, esperado):
    exige(obtido == esperado, f"{oque}\n  expected {esperado!r}\n  got      {obtido!r}")


def iso(*argumentos, entrada=b"", saida=subprocess.PIPE, antes=()):
    """(status, standard output, standard error as text)"""
    feito = subprocess.run([*antes, PROGRAMA, *map(str, argumentos)], input=entrada, stdout=saida,
                           stderr=subprocess.PIPE, timeout=60, check=False)
    return feito.returncode, feito.stdout, feito.stderr.decode()


def formas():
    """decode and encode undo each other; lines may end in CR LF, be empty, or lack their end."""
    for fio, texto in ((COMPRA + b"\n\r\n\n" + REDE + b"\r\n" + COMPRA,
                        TEXTO_DA_COMPRA + b"\n" + TEXTO_DA_REDE + b"\n" + TEXTO_DA_COMPRA),
                       (FIO_DOS_NOMES, None), (b"0800\n", b"800\n"), (b"", b""),
                       (b"02008" + b"0" * 31, b"200\n001 0000000000000000\n")):  # a second bitmap of nothing
        feito = iso("decode", entrada=fio)
        confere(f"decode, {fio}", feito, (0, feito[1] if texto is None else texto, ""))
        linhas = [linha + b"\n" for linha in fio.replace(b"\r", b"").split(b"\n") if linha]
        confere(f"encode, {fio}", iso("encode", entrada=feito[1]), (0, b"".join(linhas), ""))
    confere("encode, order and blanks", iso("encode", entrada=b"\n0800\n70 301\n11 000126\n007 1122093015")[:2],
            (0, REDE + b"\n"))
    confere("decode, bitmap of nothing", iso("decode", entrada=b"0200" + b"0" * 16),
            (2, b"", "3pramo-iso8583: -:1: bitmap vazio, que a forma de texto não guarda\n"))
    if not SEM_MEMORIA:
        confere("17 MB of messages with 4 MB of memory",
                iso("decode", entrada=(COMPRA + b"\n") * 100_000, saida=subprocess.DEVNULL,
                    antes=("sh", "-c", 'ulimit -d 4096 && exec "$@"', "sh")), (0, None, ""))


def vistas(a, b):
    """Secrets are masked unless asked for; texts of the message become UTF-8."""
    nome = f'43 Card acceptor name/location : "{"PADARIA SÃO JOÃO":40}"\n'
    for opcoes in ([], ["--clear"]):
        visto = iso("dump", *opcoes, entrada=COMPRA + b"\n" + FIO_DOS_NOMES)[1].decode()
        confere(f"dump {opcoes}", [t in visto for t in (nome, CARTAO, TRILHA, PIN)], [True] + [bool(opcoes)] * 3)

    ruim = COMPRA.replace(b"TERM", b"TE\tM").replace(b"003000", b"00300x")
    falhas_de = "".join(f"-:{n}: elemento 3 (Processing code): caractere 6 fora da classe n\n-:{n}: elemento 41 "
                        "(Card acceptor terminal identification): caractere 3 fora da classe ans\n" for n in (3, 5))
    confere("check", iso("check", entrada=b"\n".join((COMPRA, b"", ruim, REDE, ruim))), (1, falhas_de.encode(), ""))

    a.write_bytes(REDE + b"\n" + COMPRA + b"\n")
    b.write_bytes(REDE + b"\n\n0220" + COMPRA[4:].replace(CARTAO.encode(), b"4111119999991111", 1) + b"\n" + REDE)
    cartao = '2 Primary account number (PAN) : "411111******1111"'
    confere("diff", iso("diff", a, b), (1, (f"--- {a}:2\n+++ {b}:3\n-Código da Transação: 200\n+Código da "
            f"Transação: 220\n-  {cartao}\n+  {cartao}\n+{b}:4\n").encode(), ""))
    confere("diff --clear", CARTAO.encode() in iso("diff", "--clear", "-", b, entrada=a.read_bytes())[1], True)


def recusas(arquivo):
    for fio, motivo in (  # what follows a good message, and what is said of it
            (b"020x", "código da transação: caractere 4 inválido"),
            (REDE[:25] + b"x" + REDE[26:], "bitmap 2: caractere 6 inválido"),
            (COMPRA + b"\0", "depois da mensagem sobram 1 bytes"),
            (COMPRA[:20] + b"1x" + COMPRA[22:],
             "elemento 2 (Primary account number (PAN)), tamanho: caractere 2 inválido"),
            (COMPRA[:-1], "Elemento 52 (Personal identification number data). Mensagem ISO 8583 incompleta."),
            (b"0200" + b"0" * 70000, "linha com mais de 65536 bytes")):
        arquivo.write_bytes(REDE + b"\r\n\r\n" + fio + b"\r\n" + REDE)
        confere(f"decode, {fio[:60]}", iso("decode", arquivo),
                (2, TEXTO_DA_REDE, f"3pramo-iso8583: {arquivo}:3: {motivo}\n"))
    for texto, motivo in (  # the second message, its wrong line, and what is said of it
            *((codigo, "3: código da transação inválido") for codigo in (b"200 ", b"20000", b"-200", b"-0")),
            (b"200\n0003 x", "4: número do elemento inválido"),
            (b"200\n003x", "4: falta um espaço depois do número do elemento"),
            (b"200\n003 003000\n003 003000", "5: elemento 3 (Processing code): repetido"),
            (b"200\n003  003000", "4: elemento 3 (Processing code): tamanho 7, exatamente 6"),
            (b"200\n063 x\r", "4: elemento 63 (Reserved private): a mensagem termina em CR, que o fim da linha absorveria")):
        confere(f"encode, {texto}", iso("encode", entrada=b"800\n\n" + texto),
                (2, b"0800\n", f"3pramo-iso8583: -:{motivo}\n"))
    for argumentos in ([], ["mostra"], ["dump", "--claro"], ["check", "--clear"], ["diff", "a"], ["diff", "-", "-"],
                       ["dump", arquivo.parent], ["dump", arquivo.parent / "nada"]):
        status, saida, erros = iso(*argumentos)
        confere(f"{argumentos}", (status, saida, erros.count("\n")), (2, b"", 1))
    arquivo.write_bytes(COMPRA + b"\n" + REDE)
    for argumentos in (["--help"], ["--version"], ["check", arquivo], ["diff", arquivo, arquivo]):
        confere(f"{argumentos}, nothing wrong", iso(*argumentos)[::2], (0, ""))
    with open("/dev/full", "wb") as cheio:
        confere("full output", iso("dump", entrada=COMPRA, saida=cheio)[0], 2)


formas()
with tempfile.TemporaryDirectory() as nome_da_pasta:
    vistas(pathlib.Path(nome_da_pasta, "a"), pathlib.Path(nome_da_pasta, "b"))
    recusas(pathlib.Path(nome_da_pasta, "ruim"))
