// The emulated system calls beside the C library's own ways to the same answer: the tick count
// beside std::chrono's steady clock, the memory status read from its file beside sysinfo(2), and
// an environment read through the library beside getenv.
#include <benchmark/benchmark.h>
#include <sys/sysinfo.h>

#include <chrono>
#include <cstdlib>

#include "base/tstring.h"
#include "system/emulation.h"
#include "system/system_info.h"

namespace {

void BM_GetTickCount(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(GetTickCount());
}
BENCHMARK(BM_GetTickCount);

void BM_SteadyClockMilliseconds(benchmark::State& state) {
    using namespace std::chrono;
    for (auto _ : state)
        benchmark::DoNotOptimize(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}
BENCHMARK(BM_SteadyClockMilliseconds);

void BM_GlobalMemoryStatusEx(benchmark::State& state) {
    _MEMORYSTATUSEX st;
    for (auto _ : state) {
        GlobalMemoryStatusEx(&st);
        benchmark::DoNotOptimize(st.ullAvailPhys);
    }
}
BENCHMARK(BM_GlobalMemoryStatusEx);

void BM_Sysinfo(benchmark::State& state) {
    struct sysinfo st {};
    for (auto _ : state) {
        sysinfo(&st);
        benchmark::DoNotOptimize(st.freeram);
    }
}
BENCHMARK(BM_Sysinfo);

void BM_LitEnvironnement(benchmark::State& state) {
    setenv("OV_BANC_ESSAI", "D\xC3\xA9j\xC3\xA0 \xC3\xA9t\xC3\xA9", 1);
    CTString clValeur;
    for (auto _ : state) {
        bLitEnvironnement(L"OV_BANC_ESSAI", &clValeur);
        benchmark::DoNotOptimize(clValeur.pszGet());
    }
}
BENCHMARK(BM_LitEnvironnement);

void BM_Getenv(benchmark::State& state) {
    setenv("OV_BANC_ESSAI", "D\xC3\xA9j\xC3\xA0 \xC3\xA9t\xC3\xA9", 1);
    for (auto _ : state) benchmark::DoNotOptimize(getenv("OV_BANC_ESSAI"));
}
BENCHMARK(BM_Getenv);

}  // namespace

BENCHMARK_MAIN();
