// One pass over the bytes of the stream, without recursion: the elements that are still open are a chain,
// and a closing tag ends the last of it. Words and texts are views of the input until a node copies them;
// only a text with references is decoded aside. What the sender can multiply (levels, nodes, bytes) is
// counted before anything is made of it.
#include <3pramo/node/YSoapParser_interno.hpp>

#include <3pramo/foundation/YDIC_interno.hpp>
#include <3pramo/foundation/YExc_interno.hpp>
#include <3pramo/foundation/YStream_interno.hpp>
#include <3pramo/foundation/caracteres.hpp>
#include <3pramo/node/YNo_interno.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

using namespace pramo;

namespace {

constexpr const char *FONTE = "YSoapParser";

// ---- Life of the parser ----

enum Limite { NIVEIS, NOS, BYTES, LIMITES };
constexpr std::uint64_t PADRAO[LIMITES] = {1000, 1'000'000, 64 << 20};

// What stands behind YSoapParser.privado.
struct YSoapParser_Privado {
    std::uint64_t limites[LIMITES];
    std::uint64_t resta[LIMITES]; // what the last read left of them
    bool temHref;                 // whether it met an attribute of that name
};

YSoapParser_Privado &privado(const YSoapParser &parser) {
    return *static_cast<YSoapParser_Privado *>(parser.privado);
}

void constroi(void *objeto) {
    auto *parser = static_cast<YSoapParser *>(objeto);
    auto texto = cria<YStream>(YStream_rtti, FONTE);
    auto palavra = cria<YStream>(YStream_rtti, FONTE);
    // A constructor that raises is not undone by its own destructor: until here the two owners free the
    // streams, and nothing below raises.
    parser->privado = YalocaMemoria_debug(sizeof(YSoapParser_Privado), FONTE, __LINE__);
    privado(*parser) = {};
    std::copy_n(PADRAO, LIMITES, privado(*parser).limites);
    parser->texto = texto.release();
    parser->palavra = palavra.release();
}

void destroi(void *objeto) {
    auto *parser = static_cast<YSoapParser *>(objeto);
    YliberaObjeto(std::exchange(parser->texto, nullptr));
    YliberaObjeto(std::exchange(parser->palavra, nullptr));
    YliberaMemoria(std::exchange(parser->privado, nullptr));
}

// ---- Characters ----

constexpr bool ehDelimitador(char c) {
    return c == '=' || c == '<' || c == '>' || c == '/';
}

// What ends a word: white space, a delimiter, and the zero byte, which may stand nowhere.
constexpr auto TERMINA_PALAVRA = [] {
    std::array<bool, 256> tabela{};
    for (const char c : {' ', '\t', '\n', '\v', '\f', '\r', '=', '<', '>', '/', '\0'}) {
        tabela[static_cast<unsigned char>(c)] = true;
    }
    return tabela;
}();

[[noreturn]] void tokenInesperado() {
    lanca(YExcSoap_rtti, "Token inesperado.", FONTE);
}

[[noreturn]] void malFormada() {
    lanca(YExcSoap_rtti, "Mensagem SOAP mal formada.", FONTE);
}

// ---- Parts of a message ----

enum Tag { TAG_ABERTURA, TAG_FECHAMENTO, TAG_VAZIA, TAG_DECLARACAO };

// What a tag says. The name is part of the input.
struct Cabeca {
    std::string_view nome;
    Ponteiro<YDIC> atributos;

    // May be asked for once: the attributes move into the node.
    Ponteiro<YNo> no(std::string_view valor = {}) {
        Ponteiro<YNo> novo = criaNo(nome, valor);
        novo->atributos = atributos.release();
        return novo;
    }
};

bool ehNulo(const YNo &no) {
    const char *nulo = YNo_getAtributo(&no, "nil");
    return nulo != nullptr && std::strcmp(nulo, "true") == 0;
}

// The elements whose closing tag has not come yet: each knows its parent, but is not among its children
// before it is complete and known not to be left out.
class Abertos {
public:
    Abertos() = default;
    Abertos(const Abertos &) = delete;
    Abertos &operator=(const Abertos &) = delete;
    ~Abertos() {
        while (!vazio()) {
            fecha();
        }
    }

    [[nodiscard]] bool vazio() const { return ultimo_ == nullptr; }
    [[nodiscard]] std::uint64_t quantos() const { return quantos_; }
    [[nodiscard]] YNo &ultimo() const { return *ultimo_; }

    void abre(Ponteiro<YNo> no) {
        // The chain takes no memory. Whatever ends the read frees it from the last one up, each alone.
        no->pai = ultimo_;
        ultimo_ = no.release();
        quantos_++;
    }

    // The node is on its own then: it never was in its parent's list.
    Ponteiro<YNo> fecha() {
        Ponteiro<YNo> no(ultimo_);
        ultimo_ = std::exchange(no->pai, nullptr);
        quantos_--;
        return no;
    }

private:
    YNo *ultimo_ = nullptr;
    std::uint64_t quantos_ = 0;
};

// ---- One read ----
//
// The input ends in a zero byte behind its content; a zero byte within it may stand nowhere. So every search
// that stops at one stays inside, and what is found there is unexpected in both cases.

class Leitor {
public:
    Leitor(YSoapParser &parser, YStream &entrada)
        : parser_(parser), entrada_(entrada), p_(YStream_str(&entrada) + entrada.lido),
          fim_(p_ + naoLido(entrada).size()) {
        // The bounds are copied: a read uses up its own.
        std::copy_n(privado(parser).limites, LIMITES, resta_);
        privado(parser).temHref = false;
    }
    Leitor(const Leitor &) = delete;
    Leitor &operator=(const Leitor &) = delete;
    // The position is where the reader stands, also when it stands at a failure.
    ~Leitor() { entrada_.lido = entrada_.tam - static_cast<std::size_t>(fim_ - p_); }

    // The root, or nothing.
    Ponteiro<YNo> leNo() {
        for (;;) {
            leToken();
            Ponteiro<YNo> completo;
            switch (leElemento(completo)) {
            case TAG_ABERTURA:
                continue;
            case TAG_VAZIA:
                break;
            case TAG_FECHAMENTO:
            case TAG_DECLARACAO:
                if (abertos_.vazio()) {
                    return nullptr;
                }
                completo = abertos_.fecha();
            }
            if (abertos_.vazio()) {
                return completo;
            }
            // Complete, and no xsi:nil: now it joins its parent. One that is left out has counted, too.
            if (!ehNulo(*completo)) {
                pendura(abertos_.ultimo(), std::move(completo));
            }
        }
    }

    // Shows the last word and the last text in the parser's fields, and what is left of the bounds.
    void mostra() {
        std::copy_n(resta_, LIMITES, privado(parser_).resta);
        YStream_clear(parser_.palavra);
        acrescenta(*parser_.palavra, palavra_);
        // A decoded text is in the field already, and would be cleared under its own view.
        if (texto_.data() != conteudo(*parser_.texto).data()) {
            YStream_clear(parser_.texto);
            acrescenta(*parser_.texto, texto_);
        }
    }

private:
    // A tag, and what follows it up to the next tag or, when that is text, up to the closing tag.
    // TAG_ABERTURA: the element is now the last of the open ones. TAG_VAZIA: it is complete. Else it was
    // none.
    Tag leElemento(Ponteiro<YNo> &completo) {
        exigeToken('<');
        pulaBrancos();
        // Looked at, not read: the "!" becomes the first character of the name.
        const bool declaracao = *p_ == '!';
        Cabeca cabeca;
        const Tag tag = leTag(cabeca);
        exigeToken('>');
        if (declaracao || tag == TAG_FECHAMENTO) {
            return declaracao ? TAG_DECLARACAO : TAG_FECHAMENTO;
        }
        // Levels are not used up by an element that is closed: the bound itself is compared.
        if (abertos_.quantos() >= resta_[NIVEIS]) {
            malFormada();
        }
        if (tag == TAG_VAZIA) {
            completo = cabeca.no();
            return TAG_VAZIA;
        }
        pulaBrancos();
        if (*p_ == '<') {
            // White space alone is no content: what follows are children, or at once the closing tag.
            abertos_.abre(cabeca.no());
            return TAG_ABERTURA;
        }
        leTexto('<');
        conta(BYTES, texto_.size());
        completo = cabeca.no(texto_);
        // A text ends at a "<", which must begin the closing tag: content is never mixed.
        leFechamento();
        return TAG_VAZIA;
    }

    void leFechamento() {
        leToken();
        Cabeca cabeca;
        if (leTag(cabeca) != TAG_FECHAMENTO) {
            lanca(YExcSoap_rtti, "Mensagem SOAP mal formada. Esperava tag fechando.", FONTE);
        }
        exigeToken('>');
    }

    // From behind the "<" to the token that should be ">".
    Tag leTag(Cabeca &cabeca) {
        leToken();
        if (parser_.token == '/') {
            leToken();
            exigeToken(TOKEN_PALAVRA);
            leToken();
            return TAG_FECHAMENTO;
        }
        exigeToken(TOKEN_PALAVRA);
        // The view is of the input, so it outlives the words read after it.
        cabeca.nome = semPrefixo(palavra_);
        conta(NOS, 1);
        conta(BYTES, cabeca.nome.size());
        leToken();
        leAtributos(cabeca);
        if (parser_.token != '/') {
            return TAG_ABERTURA;
        }
        leToken();
        return TAG_VAZIA;
    }

    void leAtributos(Cabeca &cabeca) {
        while (parser_.token == TOKEN_PALAVRA) {
            const std::string_view nome = semPrefixo(palavra_);
            // Spares most messages the search for references.
            privado(parser_).temHref |= nome == "href";
            leToken();
            exigeToken('=');
            leToken();
            if (parser_.token != TOKEN_PALAVRA && parser_.token != TOKEN_STRING) {
                malFormada();
            }
            // Copied into the dictionary below, before another text is decoded.
            const std::string_view valor = parser_.token == TOKEN_STRING ? texto_ : palavra_;
            conta(NOS, 1);
            conta(BYTES, nome.size() + valor.size());
            if (cabeca.atributos == nullptr) {
                cabeca.atributos.reset(YDIC_constroi());
            }
            guarda(*cabeca.atributos, nome, valor);
            leToken();
        }
    }

    void exigeToken(std::int32_t token) const {
        if (parser_.token != token) {
            tokenInesperado();
        }
    }

    void leToken() {
        pulaBrancos();
        const char c = *p_;
        if (ehDelimitador(c)) {
            p_++;
            parser_.token = static_cast<unsigned char>(c);
        } else if (c == '"') {
            p_++;
            leTexto('"');
            p_++;
            parser_.token = TOKEN_STRING;
        } else if (p_ == fim_) {
            parser_.token = TOKEN_FIM;
        } else {
            lePalavra();
            parser_.token = TOKEN_PALAVRA;
        }
    }

    void pulaBrancos() {
        while (ehBranco(*p_)) {
            p_++;
        }
    }

    // The white space that ends a word is read with it.
    void lePalavra() {
        const char *inicio = p_;
        while (!TERMINA_PALAVRA[static_cast<unsigned char>(*p_)]) {
            p_++;
        }
        if (*p_ == 0) {
            tokenInesperado();
        }
        palavra_ = {inicio, p_};
        if (ehBranco(*p_)) {
            p_++;
        }
    }

    // The text up to the character, which stays unread. Without references it is part of the input, else it
    // stands in the parser's stream.
    void leTexto(char fim) {
        const char *inicio = p_;
        andaAte(fim);
        texto_ = {inicio, p_};
        if (*p_ == '&') {
            decodificaAte(fim);
        }
        if (*p_ == 0) {
            tokenInesperado();
        }
    }

    void decodificaAte(char fim) {
        YStream &texto = *parser_.texto;
        YStream_clear(&texto);
        acrescenta(texto, texto_);
        while (*p_ == '&') {
            const Referencia referencia = decodificaReferencia(ateOFim(fim));
            YStream_put(&texto, referencia.caractere);
            const char *inicio = p_ += referencia.tamanho;
            andaAte(fim);
            acrescenta(texto, {inicio, p_});
        }
        texto_ = conteudo(texto);
    }

    // As much of the rest of the text as a reference can take.
    [[nodiscard]] std::string_view ateOFim(char fim) const {
        const std::string_view perto = std::string_view(p_, fim_).substr(0, MAIOR_REFERENCIA);
        return perto.substr(0, perto.find(fim));
    }

    void andaAte(char fim) {
        while (*p_ != fim && *p_ != '&' && *p_ != 0) {
            p_++;
        }
    }

    void conta(Limite limite, std::uint64_t quanto) {
        if (quanto > resta_[limite]) {
            malFormada();
        }
        resta_[limite] -= quanto;
    }

    YSoapParser &parser_;
    YStream &entrada_;
    const char *p_;
    const char *fim_;
    std::string_view palavra_; // the last word, part of the input
    std::string_view texto_;   // the last text
    Abertos abertos_;
    std::uint64_t resta_[LIMITES]; // of each bound
};

} // namespace

const YRtti YSoapParser_definicaoRtti = {YOb_rtti, "YSoapParser", sizeof(YSoapParser), constroi, destroi};

const YRtti *YSoapParser_rtti(void) {
    return &YSoapParser_definicaoRtti;
}

void YSoapParser_leNo(YSoapParser *parser, YNo **raiz, YStream *entrada) {
    parser->entrada = entrada;
    Leitor leitor(*parser, *entrada);
    Ponteiro<YNo> lido = leitor.leNo();
    leitor.mostra();
    *raiz = lido.release();
}

Sobra pramo::sobraDaLeitura(const YSoapParser &parser) {
    const YSoapParser_Privado &p = privado(parser);
    return {p.resta[NIVEIS], p.resta[NOS], p.resta[BYTES], p.temHref};
}

void YSoapParser_setLimiteDeNiveis(YSoapParser *parser, uint64_t niveis) {
    privado(*parser).limites[NIVEIS] = niveis;
}

void YSoapParser_setLimiteDeNos(YSoapParser *parser, uint64_t nos) {
    privado(*parser).limites[NOS] = nos;
}

void YSoapParser_setLimiteDeBytes(YSoapParser *parser, uint64_t bytes) {
    privado(*parser).limites[BYTES] = bytes;
}
