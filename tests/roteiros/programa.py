"""An example server as a process: started on a free port, asked over TCP, stopped with SIGTERM."""
import re
import select
import socket
import subprocess
import sys

PRAZO = 30  # seconds, for everything that is waited for


class Programa:
    """`with Programa(path, *options) as p`: p.porta and p.endereco are where it listens. Its end must be clean."""

    def __init__(self, caminho, *opcoes, **popen):
        self.comando = [caminho, "--porta", "0", *opcoes]
        self.popen = popen

    def __enter__(self):
        self.processo = subprocess.Popen(self.comando, stdout=subprocess.PIPE, text=True, **self.popen)
        pronto, _, _ = select.select([self.processo.stdout], [], [], PRAZO)
        linha = self.processo.stdout.readline() if pronto else ""
        achado = re.match(r"pronto: (\w+://127\.0\.0\.1:(\d+))/", linha)
        if not achado:
            self.processo.kill()
            raise RuntimeError(f"{self.comando} is not ready: {linha!r}")
        self.endereco, self.porta = achado[1], int(achado[2])
        return self

    def __exit__(self, tipo, *_):
        self.processo.terminate()
        try:
            _, self.erros = self.processo.communicate(timeout=PRAZO)
        finally:
            self.processo.kill()
        if self.processo.returncode != 0 and tipo is None:
            raise RuntimeError(f"{self.comando} ended with status {self.processo.returncode}")

    def conversa(self, bytes_):
        """Sends the bytes, half closes, and gives all that comes until the server closes."""
        with socket.create_connection(("127.0.0.1", self.porta), timeout=PRAZO) as conexao:
            conexao.sendall(bytes_)
            conexao.shutdown(socket.SHUT_WR)
            return b"".join(iter(lambda: conexao.recv(65536), b""))


def chamada(port_type, metodo, parametros=""):
    """The request of a call."""
    corpo = f"<Envelope><Body><{metodo}>{parametros}</{metodo}></Body></Envelope>"
    return (f'POST /soap/{port_type} HTTP/1.1\r\nSOAPAction: "urn:{port_type}#{metodo}"\r\n'
            f"Content-Length: {len(corpo)}\r\n\r\n{corpo}").encode()


def exige(condicao, mensagem):
    if not condicao:
        sys.exit(mensagem)
