// Static files over TCP.
#include "apoio/cliente.hpp"
#include "apoio/servidor.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

using namespace apoio;
using namespace std::literals;
namespace fs = std::filesystem;

namespace {

const std::string FALTA = "HTTP/1.1 404 File not found.";

class Arquivos : public testing::Test {
protected:
    std::string modelo = fs::temp_directory_path() / "arquivos-XXXXXX";
    const fs::path raiz = mkdtemp(modelo.data());
    Servidor servidor;
    std::string binario = std::string(6'000'000, 'b') + '\0'; // more than the buffers on the way take

    Arquivos() {
        fs::create_directories(raiz / "a");
        std::ofstream(raiz / "index.html") << "<p>oi</p>";
        std::ofstream(raiz / "a/b.bin", std::ios::binary) << binario;
        YWebServer_setDiretorioBase(servidor, raiz.c_str());
    }
    ~Arquivos() override {
        servidor.libera();
        fs::remove_all(raiz);
    }
    /// A file under the base, with slashes that bring its path to the length that is asked for.
    [[nodiscard]] std::string uriComCaminhoDe(std::size_t tamanho) const {
        return "/a" + std::string(tamanho - raiz.string().size() - 7, '/') + "b.bin";
    }
    [[nodiscard]] Resposta pede(const std::string &metodoEUri) const {
        Cliente cliente(servidor.porta());
        cliente.envia(requisicao(metodoEUri));
        return cliente.recebe();
    }
};

TEST_F(Arquivos, servidosOuNao) {
    std::ofstream(raiz / "vazio").flush();
    fs::create_symlink(raiz / "index.html", raiz / "a/dentro");
    fs::create_symlink("../index.html", raiz / "a/relativo");
    fs::create_symlink("/dev/zero", raiz / "zero");
    fs::create_symlink("/etc", raiz / "etc");
    const std::pair<std::string, std::string> servidos[] = {
        {"/index.html", "<p>oi</p>"}, {"/\\index.html", "<p>oi</p>"}, {"/vazio", ""},
        {"/a/dentro", "<p>oi</p>"},   {"/a/relativo", "<p>oi</p>"},   {uriComCaminhoDe(511), binario},
    };
    for (const auto &[uri, corpo] : servidos) {
        const Resposta r = pede("GET " + uri);
        EXPECT_EQ(r.linha, "HTTP/1.1 200 OK") << uri;
        EXPECT_TRUE(r.corpo == corpo) << uri << ": " << r.corpo.substr(0, 200);
    }
    for (const std::string uri : {"a/../b", "x..y", ".."}) {
        const Resposta r = pede("GET /" + uri);
        EXPECT_EQ(r.linha + r.corpo, "HTTP/1.1 403 Forbidden.<h1>Erro 403</h1><br/>Proibido: " + uri);
    }
    for (const std::string &uri : {"zero"s, "etc/passwd"s, std::string(600, 'n'), "index.html?x=%s"s,
                                   "%69ndex.html"s, uriComCaminhoDe(512).substr(1)}) {
        const Resposta r = pede("GET /" + uri);
        EXPECT_EQ(r.linha + r.corpo, FALTA + "<h1>Erro 404</h1><br/>Inexistente: " + uri);
    }
}

// Directories, FIFOs and devices: the read fails, at once, and the connection ends without an answer.
TEST_F(Arquivos, soOsRegulares) {
    ASSERT_EQ(mkfifo((raiz / "fifo").c_str(), 0600), 0);
    const Diario diario;
    for (const char *uri : {"GET /", "GET /a", "GET /fifo"}) {
        EXPECT_EQ(conversa(servidor.porta(), requisicao(uri)), "") << uri;
    }
    EXPECT_TRUE(acontece([&] { return diario.quantos("Falha na leitura do arquivo.") > 0; }));
}

TEST_F(Arquivos, dataDoArquivoTambemComHead) {
    const timespec tempos[] = {{1'794'041'377, 0}, {1'794'041'377, 0}};
    ASSERT_EQ(utimensat(0, (raiz / "index.html").c_str(), tempos, 0), 0);
    for (const auto &[pedido, tamanho] : {std::pair("GET /index.html", "9"), {"HEAD /index.html", "0"}}) {
        Resposta r = pede(pedido);
        EXPECT_EQ(r.campos["date"] + r.campos["content-length"], "07 Nov 2026 08:49:37 GMT"s + tamanho);
    }
}

TEST_F(Arquivos, tomamExatamenteOSeuTamanho) {
    YWebServer_setLimiteDosCorpos(servidor, binario.size());
    EXPECT_TRUE(pede("GET /a/b.bin").corpo == binario);
    YWebServer_setLimiteDosCorpos(servidor, binario.size() - 1);
    EXPECT_EQ(pede("GET /a/b.bin").linha, "HTTP/1.1 503 Service Unavailable.");
}

TEST_F(Arquivos, diretoriosBase) {
    fs::create_directory_symlink(raiz, raiz / "laco");
    const auto comBase = [&](const char *base, const char *uri) {
        YWebServer_setDiretorioBase(servidor, base);
        const Resposta r = pede(uri);
        return r.linha == "HTTP/1.1 200 OK" ? r.corpo : r.linha;
    };
    comBase((raiz / "laco").c_str(), "GET /");
    EXPECT_EQ(comBase(static_cast<YWebServer *>(servidor)->diretorioBase, "GET /index.html"), "<p>oi</p>")
        << "its own text";
    EXPECT_EQ(comBase(nullptr, "GET /index.html"), FALTA);
    EXPECT_EQ(comBase((raiz / "a/..").c_str(), "GET /index.html"), "HTTP/1.1 403 Forbidden.");
    EXPECT_EQ(comBase((raiz / "index.html").c_str(), "GET /"), "<p>oi</p>");
}

} // namespace
