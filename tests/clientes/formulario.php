<?php
// PHP's SoapClient fills its objects with the forms of the example server: formulario.php ADDRESS
$cliente = new SoapClient("$argv[1]/wsdl/Formulario", ['cache_wsdl' => WSDL_CACHE_NONE]);
$eu = ['eu' => $cliente->constroi()->return];
$item = ['campo' => [['nome' => 'valor', '_' => '12,50', 'periferico' => 'TECLADO'], ['nome' => 'quantidade', '_' => '1.500']]];
$f = $cliente->preenche($eu + $item + ['botaoAcionado' => 'consulta']);
$cancelada = $cliente->preenche($eu + ['botaoAcionado' => 'cancelamento']);
$cliente->destroi($eu);
$veio = [$f->campo[0]->valor, $f->campo[0]->somenteLeitura, $f->campo[0]->periferico, $f->campo[4]->titulo, $f->focado,
    $f->botao[1]->titulo, $f->aviso, $cancelada->aviso];
$esperado = ['12.50', false, 'TECLADO', 'Identificação', 'valor', 'Consultar preço', 'Total: 18,75', 'Venda cancelada.'];
if ($veio !== $esperado) {
    var_dump($veio);
    exit(1);
}
