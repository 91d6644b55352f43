#!/usr/bin/env python3
"""Each public header compiles by itself, twice in a file, as C11 and as C++20, without a warning, and all together in
either order with every compiler that is there. In C++ what the types can refuse does not compile.

Usage: cabecalhos.py [-IFOLDER...] HEADER...
"""
import concurrent.futures
import os
import shutil
import subprocess
import sys

OPCOES = ["-fsyntax-only", "-Wall", "-Wextra", "-pedantic", "-Werror", *[a for a in sys.argv[1:] if a[:2] == "-I"]]
CABECALHOS = [a for a in sys.argv[1:] if a[:2] != "-I"]

# A body with the YNo *no, the pramo::Ponteiro<YNo> dono and the YFuncaoRtti classe, and why it does not compile.
CORPOS = {
    "YalocaObjeto(&no, YNo_rtti); no = dono; (void)pramo::cria<YWebService>(classe);": "",
    "YalocaObjeto(no, YNo_rtti);": "deleted function",
    "(void)pramo::cria<YNo>(YStream_rtti);": "not a constant expression",
    "(void)pramo::cria<YSoapServer>(YWebServer_rtti);": "not a constant expression",
    "(void)pramo::cria<YWebServer>(YTcpServer_rtti);": "not a constant expression",
    "no = pramo::cria<YNo>(YNo_rtti);": "deleted function",  # what it owns would be gone
    "YliberaObjeto(dono);": "deleted function",
    "struct A : pramo::Objeto<A, YNo> {}; (void)pramo::cria<A>(YNo_rtti);": "no matching function",
    "struct A : pramo::Objeto<A, YNo> {}; new A;": "deleted function",
    "struct A : pramo::Objeto<A, YNo> { virtual void g() {} }; A::rtti();": "no virtual functions",
    "struct B { int b; }; struct A : B, pramo::Objeto<A, YNo> {}; A::rtti();": "is the first base of its class",
    "struct A : pramo::Objeto<A, YNo> {}; struct B : pramo::Objeto<B, A, A::rtti> {};": "a class of C",
    "struct A : pramo::Objeto<A, YObThread> {}; A::rtti();": "has a public void run()",
    'pramo::PortType("P").metodo("m", {"a"}, [] {});': "a name for each parameter",
    'pramo::PortType("P").metodo("m", {"a"}, [](char *) {});': "no type of a parameter",
    'pramo::PortType("P").metodo("m", [n = 0]() mutable { n++; });': "not mutable",
}


def comandos():
    for compilador, padrao, linguagem in (("gcc", "c11", "c"), ("clang", "c11", "c"),
                                          ("g++", "c++20", "c++"), ("clang++", "c++20", "c++")):
        todos = [c for c in CABECALHOS if linguagem == "c++" or c.endswith(".h")]
        sozinhos = [[c, c] for c in todos] if compilador[0] == "g" else []
        for arquivos in [*sozinhos, todos, todos[::-1]]:
            if shutil.which(compilador):
                inclusoes = [parte for arquivo in arquivos for parte in ("-include", arquivo)]
                yield [compilador, f"-std={padrao}", *OPCOES, *inclusoes, "-x", linguagem, "-"]


def corpo_certo(corpo, motivo):
    cpp = next(c for c in CABECALHOS if c.endswith("3pramo.hpp"))
    fonte = f"void f(YNo *no, const pramo::Ponteiro<YNo> &dono, YFuncaoRtti classe) {{ {corpo} }}"
    feito = subprocess.run(["g++", "-std=c++20", *OPCOES, "-Wno-unused", "-include", cpp, "-x", "c++", "-"],
                           input=fonte, capture_output=True, text=True, env={**os.environ, "LC_ALL": "C"})
    certo = motivo in feito.stderr if motivo else feito.returncode == 0
    return certo or print(f"{corpo}: expected '{motivo}', got '{feito.stderr}'")


with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as executor:
    feitos = list(executor.map(lambda comando: subprocess.run(comando, input=b"int um;\n").returncode, comandos()))
    certos = list(executor.map(corpo_certo, *zip(*CORPOS.items())))
sys.exit(any(feitos) or not all(certos) or not CABECALHOS)
