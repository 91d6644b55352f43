// Static files over TCP.
#include "apoio/cliente.hpp"
#include "apoio/servidor.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

using apoio::Cliente;
using apoio::conversa;
using apoio::Diario;
using apoio::requisicao;
using apoio::Resposta;
using apoio::Servidor;

namespace fs = std::filesystem;

namespace {

class Arquivos : public testing::Test {
protected:
    fs::path raiz = pastaNova();
    Servidor servidor;

    Arquivos() {
        escreve("index.html", "<p>oi</p>");
        escreve("vazio", "");
        escreve("a/b.bin", binario());
        YWebServer_setDiretorioBase(servidor.get(), raiz.c_str());
    }
    ~Arquivos() override {
        servidor.libera();
        fs::remove_all(raiz);
    }

    static fs::path pastaNova() {
        std::string modelo = fs::temp_directory_path() / "arquivos-XXXXXX";
        return mkdtemp(modelo.data());
    }
    static std::string binario() {
        std::string bytes(6'000'000, 0); // more than the buffers on the way take
        for (std::size_t i = 0; i < bytes.size(); i++) {
            bytes[i] = static_cast<char>(i * 7);
        }
        return bytes;
    }
    void escreve(const fs::path &nome, const std::string &bytes) const {
        fs::create_directories((raiz / nome).parent_path());
        std::ofstream(raiz / nome, std::ios::binary) << bytes;
    }
    /// A name of one letter under the base, padded with slashes to the length of path that is asked for.
    [[nodiscard]] std::string uriComCaminhoDe(std::size_t tamanho, char nome) const {
        return "/a" + std::string(tamanho - raiz.string().size() - 3, '/') + nome;
    }
    [[nodiscard]] Resposta pede(const std::string &metodoEUri) const {
        Cliente cliente(servidor.porta());
        cliente.envia(requisicao(metodoEUri));
        return cliente.recebe();
    }
};

TEST_F(Arquivos, servidosOuNao) {
    escreve("a/y", "no limite");
    fs::create_symlink(raiz / "index.html", raiz / "a/dentro");
    fs::create_symlink("../index.html", raiz / "a/relativo");
    fs::create_symlink("/dev/zero", raiz / "zero");
    fs::create_symlink("/etc", raiz / "etc");
    const std::string ok = "HTTP/1.1 200 OK";
    const std::string proibido = "HTTP/1.1 403 Forbidden.";
    const std::string falta = "HTTP/1.1 404 File not found.";
    const std::string p403 = "<h1>Erro 403</h1><br/>Proibido: ";
    const std::string p404 = "<h1>Erro 404</h1><br/>Inexistente: ";
    const std::string longo(600, 'n');
    struct {
        std::string uri;
        std::string linha;
        std::string corpo;
    } const casos[] = {
        {"/index.html", ok, "<p>oi</p>"},
        {"//index.html", ok, "<p>oi</p>"},
        {"/\\index.html", ok, "<p>oi</p>"},
        {"index.html", ok, "<p>oi</p>"},
        {"/vazio", ok, ""},
        {"/a/dentro", ok, "<p>oi</p>"},
        {"/a/relativo", ok, "<p>oi</p>"},
        {"/zero", falta, p404 + "zero"},
        {"/etc/passwd", falta, p404 + "etc/passwd"},
        {"/a/b.bin", ok, binario()},
        {uriComCaminhoDe(511, 'y'), ok, "no limite"},
        {uriComCaminhoDe(512, 'y'), falta, p404 + uriComCaminhoDe(512, 'y').substr(1)},
        {"/" + longo, falta, p404 + longo},
        {"/missing.txt", falta, p404 + "missing.txt"},
        {"/index.html?x=%s", falta, p404 + "index.html?x=%s"},
        {"/%69ndex.html", falta, p404 + "%69ndex.html"},
        {"/index.html/", falta, p404 + "index.html/"},
        {"/a/../b", proibido, p403 + "a/../b"},
        {"/x..y", proibido, p403 + "x..y"},
        {"/..", proibido, p403 + ".."},
    };
    for (const auto &caso : casos) {
        const Resposta r = pede("GET " + caso.uri);
        EXPECT_EQ(r.linha, caso.linha) << caso.uri;
        EXPECT_TRUE(r.corpo == caso.corpo) << caso.uri << ": " << r.corpo.substr(0, 200);
    }
}

// Directories, FIFOs and devices: the read fails, at once, and the connection ends without an answer.
TEST_F(Arquivos, soOsRegulares) {
    ASSERT_EQ(mkfifo((raiz / "fifo").c_str(), 0600), 0);
    const Diario diario;
    for (const char *uri : {"GET /", "GET /a", "GET /fifo"}) {
        EXPECT_EQ(conversa(servidor.porta(), requisicao(uri)), "") << uri;
    }
    EXPECT_TRUE(apoio::acontece([&] { return diario.quantos("Falha na leitura do arquivo.") > 0; }));
}

TEST_F(Arquivos, dataDoArquivoTambemComHead) {
    const timespec quando{1'794'041'377, 0};
    const timespec tempos[] = {quando, quando};
    ASSERT_EQ(utimensat(AT_FDCWD, (raiz / "index.html").c_str(), tempos, 0), 0);
    EXPECT_EQ(pede("GET /index.html").campos["date"], "07 Nov 2026 08:49:37 GMT");
    Resposta r = pede("HEAD /index.html");
    EXPECT_EQ(r.linha, "HTTP/1.1 200 OK");
    EXPECT_EQ(r.campos["date"], "07 Nov 2026 08:49:37 GMT");
    EXPECT_EQ(r.campos["content-length"], "0");
}

TEST_F(Arquivos, tomamExatamenteOSeuTamanho) {
    YWebServer_setLimiteDosCorpos(servidor.get(), binario().size());
    EXPECT_TRUE(pede("GET /a/b.bin").corpo == binario());
    YWebServer_setLimiteDosCorpos(servidor.get(), binario().size() - 1);
    EXPECT_EQ(pede("GET /a/b.bin").linha, "HTTP/1.1 503 Service Unavailable.");
}

TEST_F(Arquivos, diretoriosBase) {
    fs::create_directory_symlink(raiz, raiz / "laco");
    YWebServer_setDiretorioBase(servidor.get(), (raiz / "laco").c_str());
    EXPECT_EQ(pede("GET /index.html").corpo, "<p>oi</p>") << "the base may be a link";
    YWebServer_setDiretorioBase(servidor.get(), nullptr);
    EXPECT_EQ(pede("GET /index.html").linha, "HTTP/1.1 404 File not found.");
    EXPECT_EQ(pede("GET /").linha, "HTTP/1.1 404 File not found.");
    YWebServer_setDiretorioBase(servidor.get(), (raiz / "a/..").c_str());
    EXPECT_EQ(pede("GET /index.html").linha, "HTTP/1.1 403 Forbidden.");
    YWebServer_setDiretorioBase(servidor.get(), (raiz / "index.html").c_str());
    EXPECT_EQ(pede("GET /").corpo, "<p>oi</p>") << "the base itself";
    YWebServer_setDiretorioBase(servidor.get(), servidor.get()->diretorioBase);
    EXPECT_EQ(pede("GET /").corpo, "<p>oi</p>") << "set from its own text";
}

} // namespace
