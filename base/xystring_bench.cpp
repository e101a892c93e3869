// Counted strings against the standard library: copying and releasing a 1 KiB text (a count against
// a heap copy), and a million appends through the builder against std::wstring::append.
#include <benchmark/benchmark.h>

#include <string>

#include "base/string_concat.h"
#include "base/xystring.h"

namespace {

constexpr int kCaracteres1KiB = 1024 / sizeof(wchar_t);
constexpr int kAjouts = 1000000;
const wchar_t kMorceau[] = L"été";

void BM_XYString_CopieLibere1KiB(benchmark::State& state) {
    const std::wstring sTexte(kCaracteres1KiB, L'é');
    const CXYString<wchar_t> clSource(sTexte.c_str(), kCaracteres1KiB);
    for (auto _ : state) {
        CXYString<wchar_t> clCopie(clSource);
        benchmark::DoNotOptimize(clCopie.pGetBloc());
    }
}
BENCHMARK(BM_XYString_CopieLibere1KiB);

void BM_WString_CopieLibere1KiB(benchmark::State& state) {
    const std::wstring sSource(kCaracteres1KiB, L'é');
    for (auto _ : state) {
        std::wstring sCopie(sSource);
        benchmark::DoNotOptimize(sCopie.data());
    }
}
BENCHMARK(BM_WString_CopieLibere1KiB);

void BM_XYStringConcat_MillionAjouts(benchmark::State& state) {
    for (auto _ : state) {
        CXYStringConcat<wchar_t> cl(static_cast<int>(state.range(0)));
        for (int i = 0; i < kAjouts; ++i) cl.Add(kMorceau, 3);
        benchmark::DoNotOptimize(cl.pszGet());
    }
    state.SetItemsProcessed(state.iterations() * kAjouts);
}
BENCHMARK(BM_XYStringConcat_MillionAjouts)->Arg(4096)->Arg(65536)->Unit(benchmark::kMillisecond);

void BM_WString_MillionAppend(benchmark::State& state) {
    for (auto _ : state) {
        std::wstring s;
        for (int i = 0; i < kAjouts; ++i) s.append(kMorceau, 3);
        benchmark::DoNotOptimize(s.data());
    }
    state.SetItemsProcessed(state.iterations() * kAjouts);
}
BENCHMARK(BM_WString_MillionAppend)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
