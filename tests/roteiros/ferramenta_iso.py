#!/usr/bin/env python3
"""3pramo-iso8583 as a person runs it: what it writes, byte for byte, what it refuses, and how it ends."""
import argparse
import pathlib
import subprocess
import sys
import tempfile

CARTAO, TRILHA, PIN = "4111111111111111", "4111111111111111=30121010000012300000", "0123456789ABCDEF"
COMPRA = f"0200702000002080100016{CARTAO}00300000000001234500012337{TRILHA}TERM0001{PIN}".encode()
REDE = b"0800822000000000000004000000000000001122093015000126301"
FIO_DOS_NOMES = ("0200" "0000000000200006" + "PADARIA SÃO JOÃO".ljust(40) + "0041\x00\t9" + "010  brancos ").encode("latin-1")
TEXTO_DA_COMPRA = (f"200\n002 {CARTAO}\n003 003000\n004 000000012345\n011 000123\n035 {TRILHA}\n041 TERM0001\n"
                   f"052 {PIN}\n").encode()
TEXTO_DA_REDE = b"800\n007 1122093015\n011 000126\n070 301\n"

falhas = 0


def confere(oque, obtido, esperado):
    global falhas
    if obtido != esperado:
        falhas += 1
        print(f"{oque}\n  expected {esperado!r}\n  got      {obtido!r}")


class Ferramenta:
    def __init__(self, programa):
        self.programa = programa

    def __call__(self, *argumentos, entrada=b"", **opcoes):
        """(status, standard output, standard error as text)"""
        opcoes.setdefault("stdout", subprocess.PIPE)
        feito = subprocess.run([self.programa, *map(str, argumentos)], input=entrada, stderr=subprocess.PIPE,
                               timeout=60, check=False, **opcoes)
        return feito.returncode, feito.stdout, feito.stderr.decode()


def formas(iso):
    """decode and encode undo each other; lines may end in CR LF, be empty, or lack their end."""
    for nome, fio, texto in (
            ("one", COMPRA, TEXTO_DA_COMPRA),
            ("several", COMPRA + b"\n\r\n\n" + REDE + b"\r\n" + COMPRA,
             TEXTO_DA_COMPRA + b"\n" + TEXTO_DA_REDE + b"\n" + TEXTO_DA_COMPRA),
            ("any bytes", FIO_DOS_NOMES, None),
            ("second bitmap of nothing", b"02008000000000000000" + b"0" * 16, b"200\n001 " + b"0" * 16 + b"\n"),
            ("code alone", b"0800\n", b"800\n"),
            ("nothing", b"", b"")):
        status, obtido, erros = iso("decode", entrada=fio)
        confere(f"decode, {nome}", (status, erros), (0, ""))
        if texto is not None:
            confere(f"decode, {nome}", obtido, texto)
        linhas = [linha for linha in fio.replace(b"\r", b"").split(b"\n") if linha]
        confere(f"encode, {nome}", iso("encode", entrada=obtido),
                (0, b"".join(linha + b"\n" for linha in linhas), ""))
    confere("encode, order and blanks", iso("encode", entrada=b"\n0800\n70 301\n11 000126\n007 1122093015")[:2],
            (0, REDE + b"\n"))


def mostra(iso):
    _, mascarado, _ = iso("dump", entrada=COMPRA + b"\n" + FIO_DOS_NOMES)
    for segredo in (CARTAO, TRILHA[:10], TRILHA[-10:], PIN):
        confere(f"{segredo} in a masked dump", segredo in mascarado.decode(), False)
    linhas = mascarado.decode().split("\n")
    confere("masked dump", linhas[:2], ["Código da Transação: 200",
                                        '  2 Primary account number (PAN) : "411111******1111"'])
    confere("characters of a dump", linhas[8:11], ["", "Código da Transação: 200",
            ' 43 Card acceptor name/location : "' + "PADARIA SÃO JOÃO".ljust(40) + '"'])
    confere("control characters", linhas[11], ' 62 Reserved private : "1\\x00\\x099"')
    _, claro, _ = iso("dump", "--clear", entrada=COMPRA)
    confere("clear dump", [s in claro.decode() for s in (CARTAO, TRILHA, PIN)], [True] * 3)


def conferencia(iso):
    ruim = COMPRA.replace(b"TERM", b"TE\tM").replace(b"003000", b"00300x")
    confere("check, good", iso("check", entrada=COMPRA + b"\n" + REDE), (0, b"", ""))
    status, saida, erros = iso("check", entrada=COMPRA + b"\n\n" + ruim + b"\n" + REDE + b"\n" + ruim)
    linhas = ["elemento 3 (Processing code): caractere 6 fora da classe n",
              "elemento 41 (Card acceptor terminal identification): caractere 3 fora da classe ans"]
    confere("check, bad", (status, saida.decode().splitlines(), erros),
            (1, [f"-:{n}: {linha}" for n in (3, 5) for linha in linhas], ""))
    longo = b"0200400000000000000025" + b"4" * 25
    confere("check, length", iso("check", entrada=longo)[:2],
            (1, "-:1: elemento 2 (Primary account number (PAN)): tamanho 25, no máximo 19\n".encode()))


def comparacao(iso, pasta):
    a, b = pasta / "a", pasta / "b"
    a.write_bytes(REDE + b"\n" + COMPRA + b"\n")
    b.write_bytes(REDE + b"\n\n" + COMPRA.replace(b"0200", b"0220", 1).replace(CARTAO.encode(), b"4111119999991111", 1) +
                  b"\n" + REDE + b"\n")
    confere("diff, same", iso("diff", a, a), (0, b"", ""))
    cartao = '2 Primary account number (PAN) : "411111******1111"'
    esperado = [f"--- {a}:2", f"+++ {b}:3", "-Código da Transação: 200", "+Código da Transação: 220",
                f"-  {cartao}", f"+  {cartao}", f"+{b}:4"]
    status, saida, erros = iso("diff", a, b)
    confere("diff", (status, saida.decode().splitlines(), erros), (1, esperado, ""))
    status, saida, _ = iso("diff", "--clear", "-", b, entrada=a.read_bytes())
    confere("diff --clear", (status, CARTAO.encode() in saida), (1, True))
    confere("diff, bitmaps", iso("diff", "-", a, entrada=b"02008000000000000000" + b"0" * 16)[0], 1)


def recusas(iso, pasta):
    arquivo = pasta / "ruim"
    fios = {  # what follows a good message, and what is said of it
        b"02x0" + COMPRA[4:]: "código da transação: caractere 3 inválido",
        b"0200700000000000000g": "bitmap 1: caractere 16 inválido",
        b"0200c0": "bitmap 1: caractere 1 inválido",
        REDE[:25] + b"x" + REDE[26:]: "bitmap 2: caractere 6 inválido",
        REDE[:20] + b"8" + REDE[21:]: "Mensagem ISO 8583 com terceiro bitmap.",
        COMPRA + b"\0": "depois da mensagem sobram 1 bytes",
        COMPRA[:20] + b"1x" + COMPRA[22:]: "elemento 2 (Primary account number (PAN)), tamanho: caractere 2 inválido",
        COMPRA[:-1]: "Elemento 52 (Personal identification number data). Mensagem ISO 8583 incompleta.",
        b"0200" + b"0" * 70000: "linha com mais de 65536 bytes",
    }
    for fio, motivo in fios.items():
        arquivo.write_bytes(REDE + b"\r\n\r\n" + fio + b"\r\n" + REDE)
        for comando, antes in (("decode", TEXTO_DA_REDE), ("check", b"")):
            confere(f"{comando}, {fio[:60]}", iso(comando, arquivo),
                    (2, antes, f"3pramo-iso8583: {arquivo}:3: {motivo}\n"))
    for n in (1, 3, 5, 19, *range(20, len(COMPRA), 7)):
        status, saida, erros = iso("dump", entrada=COMPRA[:n])
        confere(f"first {n} bytes", (status, saida, erros.count("\n"), "-:1:" in erros), (2, b"", 1, True))
    confere("decode, empty bitmap", iso("decode", entrada=b"0200" + b"0" * 16)[:2], (2, b""))

    textos = {  # the second message, on whose first or second line something is wrong
        b"200 ": (1, "código da transação inválido"),
        b"20000": (1, "código da transação inválido"),
        b"-200": (1, "código da transação inválido"),
        b"200\r\n003 003000": (1, "código da transação inválido"),
        b"200\nabc": (2, "número do elemento inválido"),
        b"200\n0003 x": (2, "número do elemento inválido"),
        b"200\n003x": (2, "falta um espaço depois do número do elemento"),
        b"200\n129 x": (2, "Elemento 129. O número do elemento vai de 1 a 128."),
        b"200\n000 x": (2, "Elemento 0. O número do elemento vai de 1 a 128."),
        b"200\n065 " + b"0" * 16: (2, "O elemento 65 anunciaria um terceiro bitmap."),
        b"200\n003 003000\n003 003000": (3, "elemento 3 (Processing code): repetido"),
        b"200\n003  003000": (2, "elemento 3 (Processing code): tamanho 7, exatamente 6"),
        b"200\n002 " + b"4" * 20: (2, "elemento 2 (Primary account number (PAN)): tamanho 20, no máximo 19"),
        b"200\n063 x\r": (2, "elemento 63 (Reserved private): a mensagem termina em CR, que o fim da linha "
                            "absorveria"),
    }
    for texto, (linha, motivo) in textos.items():
        confere(f"encode, {texto}", iso("encode", entrada=b"800\n\n" + texto),
                (2, b"0800\n", f"3pramo-iso8583: -:{2 + linha}: {motivo}\n"))


def uso(iso, pasta):
    for argumentos in ([], ["mostra"], ["dump", "--claro"], ["check", "--clear"], ["diff", "a"], ["diff", "-", "-"],
                       ["dump", pasta], ["dump", pasta / "nada"]):
        status, saida, erros = iso(*argumentos)
        confere(f"{argumentos}", (status, saida, erros.count("\n")), (2, b"", 1))
    for opcao in ("--help", "--version"):
        status, saida, erros = iso(opcao)
        confere(opcao, (status, b"3pramo-iso8583" in saida, erros), (0, True, ""))
    with open("/dev/full", "wb") as cheio:
        confere("full output", iso("dump", entrada=COMPRA, stdout=cheio)[0], 2)


def memoria(iso):
    """Long inputs stream."""
    limitada = Ferramenta("sh")
    status, _, erros = limitada("-c", 'ulimit -d 4096 && exec "$@"', "sh", iso.programa, "decode",
                                entrada=(COMPRA + b"\n") * 100_000, stdout=subprocess.DEVNULL)
    confere("17 MB of messages with 4 MB of memory", (status, erros), (0, ""))


def main():
    opcoes = argparse.ArgumentParser(description=__doc__)
    opcoes.add_argument("--programa", required=True)
    opcoes.add_argument("--sem-memoria", action="store_true", help="sanitizers need memory of their own")
    args = opcoes.parse_args()

    iso = Ferramenta(args.programa)
    if not args.sem_memoria:
        memoria(iso)
    formas(iso)
    mostra(iso)
    conferencia(iso)
    with tempfile.TemporaryDirectory() as nome:
        pasta = pathlib.Path(nome)
        comparacao(iso, pasta)
        recusas(iso, pasta)
        uso(iso, pasta)
    print(f"{falhas} failed")
    return 1 if falhas else 0


if __name__ == "__main__":
    sys.exit(main())
