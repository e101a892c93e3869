// Sorting 100,000 file names in logical order: the library's compares beside glibc's strverscmp.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "base/str_compare.h"

namespace {

constexpr size_t NB_NOMS = 100000;

const std::vector<std::string>& tabNoms() {
    static const std::vector<std::string> s_tab = [] {
        const char* const PREFIXES[] = {"rapport_", "photo", "IMG_", "facture-2023-", "chapitre ", "v"};
        std::mt19937 clAlea(42);
        std::vector<std::string> tab;
        tab.reserve(NB_NOMS);
        for (size_t i = 0; i < NB_NOMS; ++i) {
            std::string sNom = PREFIXES[clAlea() % 6];
            sNom += std::to_string(clAlea() % 100000);
            if (clAlea() % 2 == 0) sNom += "." + std::to_string(clAlea() % 20);
            sNom += clAlea() % 3 == 0 ? ".txt" : ".jpg";
            tab.push_back(sNom);
        }
        return tab;
    }();
    return s_tab;
}

const std::vector<std::wstring>& tabNomsWide() {
    static const std::vector<std::wstring> s_tab = [] {
        std::vector<std::wstring> tab;
        for (const std::string& sNom : tabNoms()) tab.emplace_back(sNom.begin(), sNom.end());
        return tab;
    }();
    return s_tab;
}

template <class T, class FCompare>
void Trie(benchmark::State& stEtat, const std::vector<T>& tabSource, FCompare fnCompare) {
    for (auto _ : stEtat) {
        stEtat.PauseTiming();
        std::vector<const T*> tab;
        tab.reserve(tabSource.size());
        for (const T& s : tabSource) tab.push_back(&s);
        stEtat.ResumeTiming();
        std::sort(tab.begin(), tab.end(), [&](const T* p1, const T* p2) { return fnCompare(*p1, *p2) < 0; });
        benchmark::DoNotOptimize(tab.data());
    }
}

void TriLogique_Bibliotheque(benchmark::State& stEtat) {
    Trie(stEtat, tabNoms(),
         [](const std::string& s1, const std::string& s2) { return STR_nCmpLogiqueAnsiFast(s1.c_str(), s2.c_str()); });
}
BENCHMARK(TriLogique_Bibliotheque)->Unit(benchmark::kMillisecond);

void TriLogique_Strverscmp(benchmark::State& stEtat) {
    Trie(stEtat, tabNoms(),
         [](const std::string& s1, const std::string& s2) { return strverscmp(s1.c_str(), s2.c_str()); });
}
BENCHMARK(TriLogique_Strverscmp)->Unit(benchmark::kMillisecond);

void TriLogiqueWide_Bibliotheque(benchmark::State& stEtat) {
    Trie(stEtat, tabNomsWide(), [](const std::wstring& s1, const std::wstring& s2) {
        return STR_nCompareRespecteNumeriqueW(s1.data(), static_cast<int>(s1.size()), s2.data(),
                                              static_cast<int>(s2.size()), 0);
    });
}
BENCHMARK(TriLogiqueWide_Bibliotheque)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
