# Table of the calls. Input, tab-separated: cell, server, calls a second, p50, p99, bytes of one answer.
# Rates and latencies are medians over the rounds; a ratio is the median of the ratios of the single rounds.

function mediana(texto,    valores, n, i, j, v) {
    n = split(texto, valores, " ")
    for (i = 2; i <= n; i++) {
        v = valores[i] + 0
        for (j = i - 1; j >= 1 && valores[j] + 0 > v; j--)
            valores[j + 1] = valores[j]
        valores[j + 1] = v
    }
    return n % 2 ? valores[(n + 1) / 2] + 0 : (valores[n / 2] + valores[n / 2 + 1]) / 2
}

function razao(celula, outro,    nossos, outros, n, i, lista) {
    n = split(taxa[celula, "3pramo"], nossos, " ")
    split(taxa[celula, outro], outros, " ")
    for (i = 1; i <= n; i++)
        lista = lista " " nossos[i] / outros[i]
    return mediana(lista)
}

function juizo(valor, alvo) {
    return sprintf("%5.2f (>= %.2f %s)", valor, alvo, valor >= alvo ? "ok" : "BELOW")
}

BEGIN { FS = "\t" }

{
    if (!(($1, "nu") in taxa) && !(($1, "3pramo") in taxa))
        celulas[++quantas] = $1
    taxa[$1, $2] = taxa[$1, $2] " " $3
    p50[$1, $2] = p50[$1, $2] " " $4
    p99[$1, $2] = p99[$1, $2] " " $5
    bytes[$2] = $6
}

END {
    printf "\n%-11s %26s %26s %26s   %-20s %s\n", "", "bare responder", "3pramo", "gSOAP", "3pramo/bare", "3pramo/gSOAP"
    printf "%-11s", "connections"
    for (i = 1; i <= 3; i++)
        printf " %8s %8s %8s", "calls/s", "p50 us", "p99 us"
    print ""
    split("nu 3pramo gsoap", servidores, " ")
    for (c = 1; c <= quantas; c++) {
        celula = celulas[c]
        split(celula, partes, "-")
        printf "%-4s %6d", partes[1] == "nova" ? "new" : "kept", partes[2]
        for (i = 1; i <= 3; i++)
            printf " %8.0f %8.1f %8.1f", mediana(taxa[celula, servidores[i]]), \
                mediana(p50[celula, servidores[i]]), mediana(p99[celula, servidores[i]])
        printf "   %-20s %s\n", juizo(razao(celula, "nu"), partes[1] == "nova" ? 0.8 : 0.6), \
            juizo(razao(celula, "gsoap"), 1)
    }
    printf "bytes of one answer: bare %d, 3pramo %d, gSOAP %d\n", bytes["nu"], bytes["3pramo"], bytes["gsoap"]
}
