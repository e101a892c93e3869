// Memory lists against the standard library in one run: a sort of 10^6 records against std::sort
// of the same stored keys, and adds and reads by number beside std::map.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "memory/memory_lists.h"

namespace {

constexpr int kNombre = 1000000;

// Wide keys of 8 characters in their stored form: UTF-32 little-endian with a terminator.
const std::vector<std::string>& tabCles() {
    static const std::vector<std::string> tab = [] {
        const std::wstring sAlphabet = L"abcdeéèàçôûxyz\U0001F600";
        std::mt19937 alea(2024);
        std::vector<std::string> t;
        t.reserve(kNombre);
        for (int i = 0; i < kNombre; ++i) {
            std::string s;
            for (int n = 0; n <= 8; ++n) {
                const uint32_t c = n < 8 ? static_cast<uint32_t>(sAlphabet[alea() % sAlphabet.size()]) : 0;
                for (int k = 0; k < 4; ++k) s.push_back(static_cast<char>((c >> (8 * k)) & 0xFF));
            }
            t.push_back(std::move(s));
        }
        return t;
    }();
    return tab;
}

void Remplit(stCTXMEM& ctx) {
    MEM_InitModule(ctx);
    bMemCree(ctx, L"bench");
    for (int i = 0; i < kNombre; ++i) {
        const std::string& s = tabCles()[static_cast<size_t>(i)];
        const int64_t n = i;
        bMemAjoute(ctx, L"bench", {ovmem::kcTexteLarge, reinterpret_cast<const uint8_t*>(s.data()), static_cast<int>(s.size())},
                   {ovmem::kcEntier, reinterpret_cast<const uint8_t*>(&n), 8});
    }
}

void BM_MemTri(benchmark::State& state) {
    stCTXMEM ctx{};
    for (auto _ : state) {
        state.PauseTiming();
        Remplit(ctx);
        state.ResumeTiming();
        benchmark::DoNotOptimize(bMemTri(ctx, L"bench", 1));
    }
    MEM_FinModule(ctx);
}
BENCHMARK(BM_MemTri)->Iterations(3)->Unit(benchmark::kMillisecond);

void BM_StdSortMemesCles(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<std::string> tab = tabCles();
        state.ResumeTiming();
        std::sort(tab.begin(), tab.end());
        benchmark::DoNotOptimize(tab.data());
    }
}
BENCHMARK(BM_StdSortMemesCles)->Iterations(3)->Unit(benchmark::kMillisecond);

void BM_MemAjoute(benchmark::State& state) {
    stCTXMEM ctx{};
    for (auto _ : state) Remplit(ctx);
    state.SetItemsProcessed(state.iterations() * kNombre);
    MEM_FinModule(ctx);
}
BENCHMARK(BM_MemAjoute)->Iterations(2)->Unit(benchmark::kMillisecond);

void BM_MapInsere(benchmark::State& state) {
    for (auto _ : state) {
        std::map<std::string, int64_t> map;
        for (int i = 0; i < kNombre; ++i) map.emplace(tabCles()[static_cast<size_t>(i)], i);
        benchmark::DoNotOptimize(map.size());
    }
    state.SetItemsProcessed(state.iterations() * kNombre);
}
BENCHMARK(BM_MapInsere)->Iterations(2)->Unit(benchmark::kMillisecond);

void BM_MemRecupereAuHasard(benchmark::State& state) {
    static stCTXMEM ctx{};
    static const bool bPret = (Remplit(ctx), true);
    benchmark::DoNotOptimize(bPret);
    std::mt19937 alea(7);
    for (auto _ : state) {
        STDonneeMem st{};
        benchmark::DoNotOptimize(lpvMemRenvoie(ctx, L"bench", 1 + static_cast<int>(alea() % kNombre), ovmem::eENREG_VALEUR, &st));
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_MemRecupereAuHasard);

void BM_MapTrouveAuHasard(benchmark::State& state) {
    static const std::map<std::string, int64_t> map = [] {
        std::map<std::string, int64_t> m;
        for (int i = 0; i < kNombre; ++i) m.emplace(tabCles()[static_cast<size_t>(i)], i);
        return m;
    }();
    std::mt19937 alea(7);
    for (auto _ : state) benchmark::DoNotOptimize(map.find(tabCles()[alea() % kNombre]));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_MapTrouveAuHasard);

}  // namespace

BENCHMARK_MAIN();
