<?php
// PHP's SoapClient against the example server, without and with its WSDL: cliente.php ADDRESS

function confere(string $o_que, mixed $veio, mixed $esperado): void
{
    if ($veio !== $esperado) {
        echo "$o_que: expected ", var_export($esperado, true), ", got ", var_export($veio, true), "\n";
        exit(1);
    }
}

function falha(callable $chamada): string
{
    try {
        $chamada();
    } catch (SoapFault $falha) {
        return preg_replace('/ \(\w+:\d+\)$/', '', "$falha->faultcode: $falha->faultstring");
    }
    return 'no fault';
}

// $p gives a parameter its name, where no WSDL does; $int and $float are what a number comes back as.
function conversa(SoapClient $calc, SoapClient $contador, callable $p, callable $int, callable $float): void
{
    confere('soma', $calc->soma($p('a', 2), $p('b', 3)), $int(5));
    confere('divide', $calc->divide($p('a', 7), $p('b', 2)), $float('3.500000'));
    confere('eco', $calc->eco($p('texto', 'ação "x" <&> \' é')), 'ação "x" <&> \' é');
    confere('lema', $calc->lema(), 'O coração tem razões que a própria razão desconhece');
    $dados = ['nome' => 'José', 'uf' => null, 'endereco' => ['rua' => 'São João', 'num' => 7]];
    confere('cadastra', $calc->cadastra($p('dados', $dados)), 'nome=José; endereco/rua=São João; endereco/num=7');

    confere('falha', falha(fn() => $calc->falha()), 'SOAP-ENV:Client: YExcSoap: Esta operacao sempre falha.');
    $duasVezes = (object) ['rua' => 'A']; // the second time it travels as a reference
    confere('an object twice', $calc->cadastra($p('dados', ['x' => $duasVezes, 'endereco' => $duasVezes])),
        'endereco/rua=A');

    $eu = $p('eu', $contador->constroi());
    confere('incrementa', $contador->incrementa($eu, $p('valor', 2)), $int(2));
    confere('incrementa', $contador->incrementa($eu, $p('valor', 40)), $int(42));
    confere('destroi', $contador->destroi($eu), null);
    confere('valor after destroi', falha(fn() => $contador->valor($eu)),
        'SOAP-ENV:Client: YExcSoap: Servico nao consta da lista de servicos ativos.');
}

$endereco = $argv[1];
$semWsdl = fn($nome) => new SoapClient(null, ['location' => "$endereco/soap/$nome", 'uri' => "urn:$nome"]);
$comWsdl = fn($nome) => new SoapClient("$endereco/wsdl/$nome", ['cache_wsdl' => WSDL_CACHE_NONE]);

conversa($semWsdl('Calc'), $semWsdl('Contador'), fn($nome, $valor) => new SoapParam($valor, $nome),
    fn($n) => (string) $n, fn($texto) => $texto);
conversa($comWsdl('Calc'), $comWsdl('Contador'), fn($nome, $valor) => $valor, fn($n) => $n, 'floatval');
