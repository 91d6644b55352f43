# Table of the micro-benchmarks, from the medians in Google Benchmark's CSV (run with -F,). Processor time, which the
# machine's other work disturbs least.

$1 ~ /_median$/ {
    nome = $1
    sub(/_median$/, "", nome)
    tempo[nome] = $4
}

function de(nome) {
    if (!(nome in tempo)) {
        print "no measure of " nome >"/dev/stderr"
        exit 1
    }
    return tempo[nome]
}

function arvore(operacao, titulo,    nosso, tiny, pugi) {
    nosso = de(operacao "/3pramo") / 1000
    tiny = de(operacao "/tinyxml2") / 1000
    pugi = de(operacao "/pugixml") / 1000
    printf "%-30s %9.1f %9.1f %9.1f   %5.2f (<= 1.00 %s) %11.2f\n", titulo, nosso, tiny, pugi, nosso / tiny, \
        nosso <= tiny ? "ok" : "ABOVE", nosso / pugi
}

function iso(quem, titulo,    nosso, referencia) {
    nosso = de(quem)
    referencia = de(substr(quem, 1, match(quem, "/[^/]*$")) "referencia")
    printf "%-42s %9.0f %9.0f   %5.2f (<= 1.20 %s)\n", titulo, nosso, referencia, nosso / referencia, \
        nosso <= 1.2 * referencia ? "ok" : "ABOVE"
}

END {
    printf "\n%-30s %9s %9s %9s   %-20s %s\n", "message of 500 items, us", "3pramo", "tinyxml2", "pugixml", \
        "3pramo/tinyxml2", "3pramo/pugixml"
    arvore("le", "parse and destroy")
    arvore("grava", "write")
    varredura = de("varredura/1000000")
    printf "\nsweep over 1,000,000 live objects: %.1f ms (< 50 ms %s)\n", varredura, varredura < 50 ? "ok" : "ABOVE"
    printf "look-up of one identity among 1,000 / 100,000 / 1,000,000: %.0f / %.0f / %.0f ns\n", \
        de("identidade/1000"), de("identidade/100000"), de("identidade/1000000")
    printf "\n%-42s %9s %9s   %s\n", "ISO 8583 message, ns", "3pramo", "reference", "3pramo/reference"
    for (quantos = 15; quantos <= 126; quantos += 111) {
        iso("iso_le/" quantos "/3pramo", quantos " elements, read and destroy")
        iso("iso_le/" quantos "/3pramo_ate_zero", quantos " elements, the same, zero-terminated")
        iso("iso_grava/" quantos "/3pramo", quantos " elements, write")
    }
}
