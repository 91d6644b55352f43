#!/usr/bin/env bash
# A SOAP conversation with calc by curl: conversa.sh ADDRESS, as http://127.0.0.1:8080. Prints each request and
# response as they travel; the status is 0 only if every answer was right.
set -euo pipefail

endereco=${1:?usage: conversa.sh ADDRESS}
errados=0
realce='' normal=''
[[ ! -t 1 ]] || realce=$'\e[1m' normal=$'\e[0m'
pasta=$(mktemp -d)
trap 'rm -r "$pasta"' EXIT

cabeca='<?xml version="1.0" encoding="ISO-8859-1"?>
<SOAP-ENV:Envelope SOAP-ENV:encodingStyle="http://schemas.xmlsoap.org/soap/encoding/"'
cabeca+=' xmlns:SOAP-ENV="http://schemas.xmlsoap.org/soap/envelope/" xmlns:xsd="http://www.w3.org/2001/XMLSchema"'
cabeca+=' xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"'
cabeca+=' xmlns:SOAP-ENC="http://schemas.xmlsoap.org/soap/encoding/"><SOAP-ENV:Body>'
cauda='</SOAP-ENV:Body></SOAP-ENV:Envelope>'

# Sends what the arguments after the title tell curl to, and prints what went and what came.
troca() {
    local titulo=$1
    shift
    printf '\n%s==== %s%s\n' "$realce" "$titulo" "$normal"
    curl -sv --noproxy '*' --max-time 20 -D "$pasta/campos" -o "$pasta/resposta" "$@" 2>"$pasta/curl" ||
        { cat "$pasta/curl"; errados=$((errados + 1)); return 0; }
    sed -n 's/\r$//; s/^> /  > /p' "$pasta/curl"
    [[ ! -s $pasta/pedido ]] || sed '$a\' "$pasta/pedido" | sed 's/^/  > /'
    echo
    sed 's/^/  < /' "$pasta/campos"
    sed '$a\' "$pasta/resposta" | sed 's/^/  < /'
}

# The content of the Body, or the whole answer when it has not the form that it must have.
conteudo() {
    local resposta
    resposta=$(cat "$pasta/resposta")
    if [[ $(head -n 1 "$pasta/campos") == "HTTP/1.1 200 OK" && $resposta == "$cabeca"*"$cauda" ]]; then
        resposta=${resposta#"$cabeca"}
        resposta=${resposta%"$cauda"}
    fi
    echo "$resposta"
}

# chama TITLE PORT_TYPE METHOD PARAMETERS EXPECTED: one call; what is expected of the Body may hold a *.
chama() {
    local titulo=$1 tipo=$2 metodo=$3 parametros=$4 esperado=$5
    printf '<?xml version="1.0" encoding="UTF-8"?>\n%s%s%s' \
        '<e:Envelope xmlns:e="http://schemas.xmlsoap.org/soap/envelope/"><e:Body>' \
        "<c:$metodo xmlns:c=\"urn:$tipo\">$parametros</c:$metodo>" '</e:Body></e:Envelope>' >"$pasta/pedido"
    troca "$titulo" -H 'Content-Type: text/xml; charset=utf-8' -H "SOAPAction: \"urn:$tipo#$metodo\"" \
        --data-binary "@$pasta/pedido" "$endereco/soap/$tipo"
    # shellcheck disable=SC2053
    [[ $(conteudo) == $esperado ]] || erra "$esperado"
}

erra() {
    errados=$((errados + 1))
    printf '  WRONG: expected %s\n' "$1"
}

# What a call that returns a value is answered, and one that returns none.
retorno() {
    echo "<ns1:$2Response xmlns:ns1=\"urn:$1\"><ns1:return>$3</ns1:return></ns1:$2Response>"
}
nada() {
    echo "<ns1:$2Response xmlns:ns1=\"urn:$1\"></ns1:$2Response>"
}
falha() {
    echo "<SOAP-ENV:Fault><faultcode>SOAP-ENV:Client</faultcode><faultstring>YExcSoap: $1 (*:*)</faultstring><faultactor/></SOAP-ENV:Fault>"
}

chama "constroi: a counter of our own, named by its identity" Contador constroi "" \
    "$(retorno Contador constroi '*')"
eu=$(conteudo | sed 's/.*return>\([0-9a-f]\{32\}\)<.*/\1/')
[[ $eu =~ ^[0-9a-f]{32}$ ]] || erra "an identity of 32 hexadecimal digits"
chama "incrementa by 2, on that counter" Contador incrementa "<eu>$eu</eu><valor>2</valor>" \
    "$(retorno Contador incrementa 2)"
chama "incrementa by 40: the counter kept its total" Contador incrementa "<eu>$eu</eu><valor>40</valor>" \
    "$(retorno Contador incrementa 42)"
chama "destroi" Contador destroi "<eu>$eu</eu>" "$(nada Contador destroi)"
chama "valor: a fault, the counter is gone" Contador valor "<eu>$eu</eu>" \
    "$(falha 'Servico nao consta da lista de servicos ativos.')"
chama "divide: a fault of the service itself" Calc divide "<a>1</a><b>0</b>" "$(falha 'Divisao por zero.')"
chama "eco: accents come back as references" Calc eco "<texto>ação &amp; reação</texto>" \
    "$(retorno Calc eco 'a&#231;&#227;o &amp; rea&#231;&#227;o')"

rm "$pasta/pedido"
troca "the WSDL, with the address that the client used" "$endereco/wsdl/Contador"
for esperado in "HTTP/1.1 200 OK" "Content-Type: text/xml; charset=ISO-8859-1"; do
    grep -qxF "$esperado" "$pasta/campos" || erra "$esperado"
done
grep -qF "<soap:address location=\"$endereco/soap/Contador\"/>" "$pasta/resposta" || erra "the address"
grep -qF '$(' "$pasta/resposta" && erra "no macro left"

printf '\n%s\n' "$( ((errados)) && echo "$errados answers were wrong" || echo "every answer was right")"
exit $((errados > 0))
