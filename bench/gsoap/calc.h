// The service as soapcpp2 reads it: its directives are comments that bear no blank.
// clang-format off
//gsoap ns service name: Calc
//gsoap ns service namespace: urn:Calc
//gsoap ns service style: rpc
//gsoap ns service encoding: encoded
//gsoap ns schema namespace: urn:Calc

int ns__soma(int a, int b, int *return_);
