// CRC-32 and Adler-32 over 16 MiB of random bytes, each beside zlib's crc32 and adler32 on the same
// buffer; the bytes per second of each pair give the ratio. Both sides are checked to agree first.
//
//   build/crypt/checksums_bench
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "crypt/checksums.h"

namespace {

constexpr size_t kTaille = size_t{16} << 20;

const std::string& sDonnees() {
    static const std::string s = [] {
        std::string t(kTaille, '\0');
        std::mt19937 gen(1);
        for (char& c : t) c = static_cast<char>(gen());
        const auto* pby = reinterpret_cast<const uint8_t*>(t.data());
        if (CCrc2::nCalculeCRC32(pby, t.size(), 0) != crc32(0, pby, static_cast<uInt>(t.size())) ||
            nAdler32(1, pby, t.size()) != adler32(1, pby, static_cast<uInt>(t.size()))) {
            std::fprintf(stderr, "checksums disagree with zlib\n");
            std::abort();
        }
        return t;
    }();
    return s;
}

const uint8_t* pbyDonnees() { return reinterpret_cast<const uint8_t*>(sDonnees().data()); }

void BM_Crc32_Ours(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(CCrc2::nCalculeCRC32(pbyDonnees(), kTaille, 0));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTaille));
}
void BM_Crc32_Zlib(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(crc32(0, pbyDonnees(), static_cast<uInt>(kTaille)));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTaille));
}
void BM_Adler32_Ours(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(nAdler32(1, pbyDonnees(), kTaille));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTaille));
}
void BM_Adler32_Zlib(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(adler32(1, pbyDonnees(), static_cast<uInt>(kTaille)));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTaille));
}

BENCHMARK(BM_Crc32_Ours)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Crc32_Zlib)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Adler32_Ours)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Adler32_Zlib)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
