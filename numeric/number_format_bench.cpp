// NumeriqueVersChaine's printing of a real under "12.2f", beside the C library's snprintf on the
// same format and the same values.
#include <benchmark/benchmark.h>

#include <cstdio>

#include "numeric/number_format.h"

namespace {

constexpr double kadValeurs[] = {2.675, -1234.5678, 0.001, 98765432.1, 3.0, -0.125, 42.4242, 1e9 + 0.5};
constexpr int kNbValeurs = sizeof kadValeurs / sizeof kadValeurs[0];

void BM_NumeriqueVersChaine_12_2f(benchmark::State& state) {
    CAny aclValeurs[kNbValeurs];
    for (int i = 0; i < kNbValeurs; ++i) aclValeurs[i].SetR8(kadValeurs[i]);
    CXYString<wchar_t> clTexte;
    int i = 0;
    for (auto _ : state) {
        eNumeriqueVersChaine(aclValeurs[i], L"12.2f", &clTexte);
        benchmark::DoNotOptimize(clTexte.pszGet());
        i = (i + 1) % kNbValeurs;
    }
}
BENCHMARK(BM_NumeriqueVersChaine_12_2f);

void BM_snprintf_12_2f(benchmark::State& state) {
    char sz[64];
    int i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::snprintf(sz, sizeof sz, "%12.2f", kadValeurs[i]));
        benchmark::DoNotOptimize(sz);
        i = (i + 1) % kNbValeurs;
    }
}
BENCHMARK(BM_snprintf_12_2f);

}  // namespace

BENCHMARK_MAIN();
