#!/usr/bin/env perl
# Perl's SOAP::Lite against the example server, without and with its WSDL: cliente.pl ADDRESS
use strict;
use warnings;
use utf8;
use SOAP::Lite;
binmode STDERR, ':utf8';

my ($endereco) = @ARGV;

sub confere {
    my ($o_que, $veio, $esperado) = @_;
    $veio //= 'undef';
    die "$o_que: expected $esperado, got $veio\n" if $veio ne $esperado;
}

# What the call dies of, without the place in the sources.
sub falha {
    my ($chamada) = @_;
    eval { $chamada->(); 1 } and return 'no fault';
    return $@ =~ s/ \(\w+:\d+\).*//sr;
}

sub p { SOAP::Data->name($_[0] => $_[1]) }
sub texto { SOAP::Data->name($_[0])->type(string => $_[1]) } # otherwise accents travel as base64

my $morre = sub { my ($soap, $res) = @_; die ref $res ? $res->faultstring : $soap->transport->status, "\n" };
my $calc = SOAP::Lite->new(uri => 'urn:Calc', proxy => "$endereco/soap/Calc", on_fault => $morre);
my $contador = SOAP::Lite->new(uri => 'urn:Contador', proxy => "$endereco/soap/Contador", on_fault => $morre);

confere('soma', $calc->soma(p(a => 2), p(b => 3))->result, 5);
confere('eco', $calc->eco(texto(texto => 'ação "x" <&>'))->result, 'ação "x" <&>');
confere('falha', falha(sub { $calc->falha }), 'YExcSoap: Esta operacao sempre falha.');

# A hash travels as a structure; as a map when it is asked to.
sub dados { p(dados => { nome => SOAP::Data->type(string => 'José'), endereco => { rua => 'A', num => 7 } }) }
for my $dados (dados(), dados()->type('map')) {
    confere('cadastra', $calc->cadastra($dados)->result, 'nome=José; endereco/rua=A; endereco/num=7');
}

my $eu = p(eu => $contador->constroi->result);
confere('incrementa', $contador->incrementa($eu, p(valor => 2))->result, 2);
confere('incrementa', $contador->incrementa($eu, p(valor => 40))->result, 42);
confere('destroi', scalar $contador->destroi($eu)->result, 'undef');
confere('valor after destroi', falha(sub { $contador->valor($eu) }),
    'YExcSoap: Servico nao consta da lista de servicos ativos.');

my $servico = SOAP::Lite->service("$endereco/wsdl/Calc");
confere('soma by WSDL', $servico->soma(2, 3), 5);
