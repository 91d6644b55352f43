// The strict readings of a tree.
#include <3pramo/node/YNo.h>

#include <cstring>

namespace {

template <typename VALOR>
YSituacao le(const YNo *no, const char *caminho, YSituacao (*leTexto)(const char *, uint64_t, VALOR *),
             VALOR *valor) {
    const char *texto = nullptr;
    const YSituacao situacao = YNo_leTexto(no, caminho, &texto);
    return situacao == Y_LEITURA_OK ? leTexto(texto, std::strlen(texto), valor) : situacao;
}

} // namespace

YSituacao YNo_leTexto(const YNo *no, const char *caminho, const char **valor) {
    const YNo *achado = YNo_procuraDescendente(no, caminho);
    if (achado == nullptr) {
        return Y_LEITURA_AUSENTE;
    }
    if (achado->valor == nullptr && YNo_temFilho(achado) != 0) {
        return Y_LEITURA_MAL_FORMADA;
    }
    *valor = achado->valor != nullptr ? achado->valor : "";
    return Y_LEITURA_OK;
}

YSituacao YNo_leInt64(const YNo *no, const char *caminho, int64_t *valor) {
    return le(no, caminho, YLeitura_int64, valor);
}

YSituacao YNo_leUint64(const YNo *no, const char *caminho, uint64_t *valor) {
    return le(no, caminho, YLeitura_uint64, valor);
}

YSituacao YNo_leDouble(const YNo *no, const char *caminho, double *valor) {
    return le(no, caminho, YLeitura_double, valor);
}

YSituacao YNo_leBoolean(const YNo *no, const char *caminho, int *valor) {
    return le(no, caminho, YLeitura_boolean, valor);
}

YSituacao YNo_leData(const YNo *no, const char *caminho, struct tm *valor) {
    return le(no, caminho, YLeitura_data, valor);
}
