// The ciphers' speed on 16 MiB: RC5 with 8 and 16 rounds beside crypto++'s RC5 in CBC mode with a
// zero start on the same data (read the ratio from one run), and the home-made mixer's MB/s.
#include <benchmark/benchmark.h>
#include <cryptopp/modes.h>
#include <cryptopp/rc5.h>

#include <cstring>
#include <random>
#include <vector>

#include "crypt/ciphers.h"

namespace {

constexpr size_t kTaille = 16u << 20;

const std::vector<unsigned char>& Donnees() {
    static const std::vector<unsigned char> v = [] {
        std::vector<unsigned char> w(kTaille);
        std::mt19937 gen(1);
        for (auto& by : w) by = static_cast<unsigned char>(gen());
        return w;
    }();
    return v;
}

const CCrypt::TCle kCle = {0x10, 0x32, 0x54, 0x76, 0x98, 0xBA, 0xDC, 0xFE, 0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};

void BM_Ours_RC5(benchmark::State& state) {
    std::vector<unsigned char> v = Donnees();
    CCryptRC5 clRC5(static_cast<int>(state.range(0)));
    clRC5.bSetCryptKey(&kCle);
    for (auto _ : state) {
        clRC5.Crypt(v.data(), v.size(), nullptr);
        benchmark::DoNotOptimize(v.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kTaille));
}
BENCHMARK(BM_Ours_RC5)->Arg(8)->Arg(16)->Unit(benchmark::kMillisecond);

void BM_CryptoPP_RC5_CBC(benchmark::State& state) {
    std::vector<unsigned char> v = Donnees();
    const unsigned char tabZero[8] = {};
    CryptoPP::CBC_Mode<CryptoPP::RC5>::Encryption clPair;
    CryptoPP::AlgorithmParameters stParams = CryptoPP::MakeParameters(CryptoPP::Name::Rounds(), static_cast<int>(state.range(0)))(
        CryptoPP::Name::IV(), CryptoPP::ConstByteArrayParameter(tabZero, 8));
    clPair.SetKey(kCle, 16, stParams);
    for (auto _ : state) {
        clPair.Resynchronize(tabZero);
        clPair.ProcessData(v.data(), v.data(), v.size());
        benchmark::DoNotOptimize(v.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kTaille));
}
BENCHMARK(BM_CryptoPP_RC5_CBC)->Arg(8)->Arg(16)->Unit(benchmark::kMillisecond);

void BM_Ours_HomeMade(benchmark::State& state) {
    std::vector<unsigned char> v = Donnees();
    CCryptHomeMade clMaison;
    clMaison.bSetCryptKey(&kCle);
    for (auto _ : state) {
        clMaison.Crypt(v.data(), v.size(), nullptr);
        benchmark::DoNotOptimize(v.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kTaille));
}
BENCHMARK(BM_Ours_HomeMade)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
