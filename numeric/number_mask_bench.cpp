// The numeric mask on a typical amount, beside the C library's printing of the same value.
#include <benchmark/benchmark.h>

#include <cstdio>

#include "numeric/number_mask.h"

namespace {

void BM_MasqueMontant(benchmark::State& state) {
    CMasqueNumerique cl(L"999 999 999,99", nullptr);
    CTString clSortie;
    for (auto _ : state) {
        cl.MetAuFormat(L"1234567.891", &clSortie, 0, nullptr);
        benchmark::DoNotOptimize(clSortie.pszGet());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_MasqueMontant)->Iterations(1000000);

void BM_SnprintfMontant(benchmark::State& state) {
    char sz[64];
    double d = 1234567.891;
    for (auto _ : state) {
        benchmark::DoNotOptimize(d);
        std::snprintf(sz, sizeof(sz), "%.2f", d);
        benchmark::DoNotOptimize(sz);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SnprintfMontant)->Iterations(1000000);

}  // namespace

BENCHMARK_MAIN();
