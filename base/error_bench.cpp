// Raising a numbered error and clearing it, as a failing language call and the next call do,
// beside the usual C++ way of carrying the same message: a std::runtime_error built and dropped.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <stdexcept>

#include "base/error.h"
#include "base/module_info.h"

namespace {

void BM_RaiseAndClearError(benchmark::State& state) {
    CXError clErreur(&gstMyModuleInfo8);
    int n = 0;
    for (auto _ : state) {
        clErreur.SetUserError(&gstMyModuleInfo8, 80022, ++n);  // loads, unpacks and formats the text
        benchmark::DoNotOptimize(clErreur.pszGetUserMessage());
        clErreur.RAZ();
    }
}
BENCHMARK(BM_RaiseAndClearError);

void BM_RuntimeErrorPeer(benchmark::State& state) {
    int n = 0;
    for (auto _ : state) {
        char sz[128];
        std::snprintf(sz, sizeof sz, "Invalid file number: %d. No file is open under this number.", ++n);
        std::runtime_error cl(sz);
        benchmark::DoNotOptimize(cl.what());
    }
}
BENCHMARK(BM_RuntimeErrorPeer);

}  // namespace

BENCHMARK_MAIN();
