/* The same soma by gSOAP, set up as its guide shows for a multi-threaded stand-alone server with kept
 * connections: a copy of the context and a detached thread, with a 256 KiB stack, for every connection. gSOAP
 * itself sets TCP_NODELAY on each, receives a call in one system call and sends its answer in one. */
#include "Calc.nsmap"
#include "soapH.h"

#include <arpa/inet.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>

int ns__soma(struct soap *soap, int a, int b, int *return_) {
    (void)soap;
    *return_ = a + b;
    return SOAP_OK;
}

static void *atende(void *contexto) {
    struct soap *soap = contexto;
    soap_serve(soap);
    soap_destroy(soap);
    soap_end(soap);
    soap_free(soap);
    return NULL;
}

/* Listens on the port (0: any free one) of the loopback address and prints which it is. */
static void escuta(struct soap *soap, int porta) {
    soap->bind_flags = SO_REUSEADDR;
    if (!soap_valid_socket(soap_bind(soap, "127.0.0.1", porta, SOMAXCONN))) {
        soap_print_fault(soap, stderr);
        exit(1);
    }
    struct sockaddr_in endereco;
    socklen_t tamanho = sizeof endereco;
    getsockname(soap->master, (struct sockaddr *)&endereco, &tamanho);
    printf("porta %d\n", ntohs(endereco.sin_port));
    fflush(stdout);
}

int main(int argc, char **argv) {
    if (argc > 2) {
        fputs("uso: servidor_gsoap [PORTA]\n", stderr);
        return 2;
    }
    static struct soap soap;
    soap_init1(&soap, SOAP_IO_KEEPALIVE);
    soap.max_keep_alive = 0; /* no bound */
    escuta(&soap, argc > 1 ? atoi(argv[1]) : 0);

    pthread_attr_t atributos;
    pthread_attr_init(&atributos);
    pthread_attr_setstacksize(&atributos, 256 * 1024);
    pthread_attr_setdetachstate(&atributos, PTHREAD_CREATE_DETACHED);
    for (;;) {
        if (!soap_valid_socket(soap_accept(&soap))) {
            soap_print_fault(&soap, stderr);
            continue;
        }
        struct soap *copia = soap_copy(&soap);
        pthread_t thread;
        if (copia == NULL || pthread_create(&thread, &atributos, atende, copia) != 0) {
            perror("servidor_gsoap");
            return 1;
        }
    }
}
