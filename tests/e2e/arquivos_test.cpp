// Static files over TCP.
#include "apoio/servidor.hpp"

namespace fs = std::filesystem;

namespace {

const std::string OI = "HTTP/1.1 200 OK<p>oi</p>";
const std::string PROIBIDO = "HTTP/1.1 403 Forbidden.<h1>Erro 403</h1><br/>Proibido: ";
const std::string FALTA = "HTTP/1.1 404 File not found.<h1>Erro 404</h1><br/>Inexistente: ";

struct Arquivos : testing::Test {
    std::string modelo = fs::temp_directory_path() / "arquivos-XXXXXX";
    const fs::path raiz = mkdtemp(modelo.data());
    Servidor servidor;
    const std::string binario = std::string(6'000'000, 'b') + '\0'; // more than the buffers on the way take

    Arquivos() {
        fs::create_directories(raiz / "a");
        std::ofstream(raiz / "index.html") << "<p>oi</p>";
        std::ofstream(raiz / "a/b.bin", std::ios::binary) << binario;
        YWebServer_setDiretorioBase(servidor, raiz.c_str());
    }
    ~Arquivos() override { fs::remove_all(raiz); }
    /// A file under the base, with slashes that bring its path to the length that is asked for.
    [[nodiscard]] std::string uriComCaminhoDe(std::size_t tamanho) const {
        return "a" + std::string(tamanho - raiz.string().size() - 7, '/') + "b.bin";
    }
    /// Status line and body.
    [[nodiscard]] std::string obtem(const std::string &uri) const {
        const Resposta r = servidor.responde(requisicao("GET /" + uri));
        return r.linha + r.corpo;
    }
};

TEST_F(Arquivos, servidosOuNao) {
    std::ofstream(raiz / "vazio").flush();
    fs::create_symlink("../index.html", raiz / "a/dentro");
    fs::create_symlink("/dev/zero", raiz / "zero");
    fs::create_symlink("/etc", raiz / "etc");
    ASSERT_EQ(mkfifo((raiz / "fifo").c_str(), 0600), 0);
    const Diario diario;
    const std::string servido = "HTTP/1.1 200 OK";
    const std::pair<std::string, std::vector<std::string>> casos[] = {
        {"", {"", "a", "fifo"}}, // the read fails, at once, and the connection ends without an answer
        {OI, {"index.html", "\\index.html", "a/dentro"}},
        {servido, {"vazio"}},
        {servido + binario, {uriComCaminhoDe(511)}},
        {FALTA, {uriComCaminhoDe(512), "zero", "etc/passwd", "index.html?x=%s", "%69ndex.html"}},
        {PROIBIDO, {"a/../b", "x..y", ".."}},
    };
    for (const auto &[esperado, uris] : casos) {
        for (const std::string &uri : uris) {
            EXPECT_TRUE(obtem(uri) == esperado + (esperado.ends_with(": ") ? uri : "")) << uri;
        }
    }
    EXPECT_TRUE(acontece([&] { return diario.quantos("Falha na leitura do arquivo.") > 0; }));
}

TEST_F(Arquivos, dataDoArquivoTambemComHead) {
    const timespec tempos[] = {{1'794'041'377, 0}, {1'794'041'377, 0}};
    ASSERT_EQ(utimensat(0, (raiz / "index.html").c_str(), tempos, 0), 0);
    for (const auto &[metodo, fim] : {std::pair("GET", "9\n\n<p>oi</p>"), {"HEAD", "0\n\n"}}) {
        const std::string r = servidor.conversa(requisicao(metodo + " /index.html"s));
        EXPECT_TRUE(r.ends_with("\nDate: 07 Nov 2026 08:49:37 GMT\nContent-Length: "s + fim)) << r;
    }
}

TEST_F(Arquivos, tomamExatamenteOSeuTamanho) {
    YWebServer_setLimiteDosCorpos(servidor, binario.size());
    EXPECT_TRUE(obtem("a/b.bin").ends_with(binario));
    YWebServer_setLimiteDosCorpos(servidor, binario.size() - 1);
    EXPECT_EQ(obtem("a/b.bin"), "HTTP/1.1 503 Service Unavailable.<h1>Erro 503</h1><br/>Ocupado: a/b.bin");
}

TEST_F(Arquivos, diretoriosBase) {
    fs::create_directory_symlink(raiz, raiz / "laco");
    const auto comBase = [&](const char *base, const std::string &uri) {
        YWebServer_setDiretorioBase(servidor, base);
        return obtem(uri);
    };
    YWebServer_setDiretorioBase(servidor, (raiz / "laco").c_str());
    // Its own text.
    EXPECT_EQ(comBase(static_cast<YWebServer *>(servidor)->diretorioBase, "index.html"), OI);
    EXPECT_EQ(comBase(nullptr, "index.html"), FALTA + "index.html");
    EXPECT_EQ(comBase((raiz / "a/..").c_str(), "index.html"), PROIBIDO + "index.html");
    fs::create_symlink("../ao lado", raiz / "a/fora");
    std::ofstream(raiz / "ao lado") << "a folder's name begins this one";
    EXPECT_EQ(comBase((raiz / "a").c_str(), "fora"), FALTA + "fora");
    // With one descriptor for the file, and none to find out where it lies.
    Cliente cliente(servidor.porta());
    rlimit antes{};
    getrlimit(RLIMIT_NOFILE, &antes);
    const int livre = dup(0);
    close(livre);
    const rlimit umSo{static_cast<rlim_t>(livre) + 1, antes.rlim_max};
    setrlimit(RLIMIT_NOFILE, &umSo);
    EXPECT_EQ(cliente.pede(requisicao("GET /fora")).find("a folder's name"), std::string::npos);
    setrlimit(RLIMIT_NOFILE, &antes);
}

} // namespace
