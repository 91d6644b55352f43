#!/usr/bin/env python3
"""Reads the JUnit file of a ctest run: prints the output of every test that failed, the names of the skipped ones,
the slowest and the whole time, and as last line "N passed, N failed". The exit status is 0 only when tests ran and none failed."""
import sys
import xml.etree.ElementTree


def situacao(teste):
    if teste.get("status") == "run":
        return "passed"
    pulado = teste.find("skipped")
    pediu = pulado is not None and pulado.get("message", "").startswith("SKIP_")
    return "skipped" if pediu or teste.get("status") == "disabled" else "failed"


def main():
    suite = xml.etree.ElementTree.parse(sys.argv[1]).getroot()
    testes = suite.findall("testcase")
    grupos = {"passed": [], "failed": [], "skipped": []}
    for teste in testes:
        grupos[situacao(teste)].append(teste)
    for teste in grupos["failed"]:
        motivo = next((e.get("message") for e in teste if e.tag in ("failure", "skipped")), None)
        print(f"---- {teste.get('name')} failed after {float(teste.get('time')):.1f} s{': ' if motivo else ''}{motivo or ''}")
        print((teste.findtext("system-out") or "").rstrip())
    for teste in grupos["skipped"]:
        print(f"skipped: {teste.get('name')}")
    for teste in grupos["failed"]:
        print(f"failed: {teste.get('name')}")
    lentos = sorted(testes, key=lambda teste: -float(teste.get("time")))[:5]
    print(f"{float(suite.get('time')):.0f} s; slowest:", ", ".join(f"{t.get('name')} {float(t.get('time')):.1f} s" for t in lentos))
    contas = [f"{len(grupos[g])} {g}" for g in ("passed", "failed", "skipped") if grupos[g] or g != "skipped"]
    print(", ".join(contas))
    return 0 if grupos["passed"] and not grupos["failed"] else 1


if __name__ == "__main__":
    sys.exit(main())
