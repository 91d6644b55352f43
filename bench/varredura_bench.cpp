// What a crowd of live service objects costs: one pass of the sweep over it when nobody has expired, with the
// registry lock held all along, and one look-up of an identity in it as a call does it.
#include <3pramo/3pramo.hpp>
#include <3pramo/soap/YSoapServer_interno.hpp>

#include <array>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace {

using Identidade = std::array<char, Y_TAMANHO_IDENTIDADE>;

// A server that was never started, with so many live objects; it owns them.
class Multidao {
public:
    explicit Multidao(std::int64_t quantos) {
        identidades_.resize(static_cast<std::size_t>(quantos));
        for (auto &identidade : identidades_) {
            auto servico = pramo::cria<YWebService>(YWebService_rtti);
            YWebService_setSoapServer(servico, servidor_);
            YObPtrToStr(identidade.data(), identidade.size(), servico.release()); // the live set's now
        }
    }

    YSoapServer *servidor() const { return servidor_; }

    // Another one each time, far from the one before.
    const char *proximaIdentidade() {
        constexpr std::size_t PASSO = 7'919; // a prime that divides no size used here
        atual_ = (atual_ + PASSO) % identidades_.size();
        return identidades_[atual_].data();
    }

private:
    pramo::Ponteiro<YSoapServer> servidor_ = pramo::cria<YSoapServer>(YSoapServer_rtti);
    std::vector<Identidade> identidades_;
    std::size_t atual_ = 0;
};

std::map<std::int64_t, std::unique_ptr<Multidao>> multidoes;

Multidao &multidaoDe(std::int64_t quantos) {
    auto &multidao = multidoes[quantos];
    if (!multidao) {
        multidao = std::make_unique<Multidao>(quantos);
    }
    return *multidao;
}

void varredura(benchmark::State &estado) {
    auto *servidor = multidaoDe(estado.range(0)).servidor();
    for (auto _ : estado) {
        pramo::soap::varre(servidor);
    }
    if (YSoapServer_getServicos(servidor) != static_cast<std::uint64_t>(estado.range(0))) {
        estado.SkipWithError("the sweep took objects that have not expired");
    }
}

void identidade(benchmark::State &estado) {
    auto &multidao = multidaoDe(estado.range(0));
    for (auto _ : estado) {
        const auto pino = pramo::soap::pinaVivo(multidao.servidor(), multidao.proximaIdentidade());
        if (!pino.vivo()) {
            estado.SkipWithError("a live object was not found");
            break;
        }
    }
}

BENCHMARK(varredura)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(identidade)->Arg(1'000)->Arg(100'000)->Arg(1'000'000);

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    multidoes.clear(); // before the library's own statics go
}
