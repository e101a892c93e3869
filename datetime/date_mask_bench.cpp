// Date-time masks against the C library: display of "20240315" through "JJ/MM/AAAA" against
// strftime, and reading "15/03/2024" back against strptime. The mask is built in the loop, as a
// language function builds one per call.
#include <benchmark/benchmark.h>

#include <ctime>

#include "datetime/date_mask.h"

static void BM_MasqueFormate(benchmark::State& state) {
    CTString clSortie;
    for (auto _ : state) {
        CMasqueDateHeure clMasque(L"JJ/MM/AAAA", true, nullptr);
        clMasque.bFormateEx(L"20240315", &clSortie, 0);
        benchmark::DoNotOptimize(clSortie.pszGet());
    }
}
BENCHMARK(BM_MasqueFormate);

// The same mask kept from one call to the next, as the language functions now keep theirs.
static void BM_MasqueFormateGarde(benchmark::State& state) {
    CTString clSortie;
    const CMasqueDateHeure clMasque(L"JJ/MM/AAAA", true, nullptr);
    for (auto _ : state) {
        clMasque.bFormateEx(L"20240315", &clSortie, 0);
        benchmark::DoNotOptimize(clSortie.pszGet());
    }
}
BENCHMARK(BM_MasqueFormateGarde);

static void BM_Strftime(benchmark::State& state) {
    char szSortie[32];
    for (auto _ : state) {
        // The peer reads the same text into its record first, as the mask does.
        const char* pszTexte = "20240315";
        tm stTm{};
        stTm.tm_year = (pszTexte[0] - '0') * 1000 + (pszTexte[1] - '0') * 100 + (pszTexte[2] - '0') * 10 + (pszTexte[3] - '0') - 1900;
        stTm.tm_mon = (pszTexte[4] - '0') * 10 + (pszTexte[5] - '0') - 1;
        stTm.tm_mday = (pszTexte[6] - '0') * 10 + (pszTexte[7] - '0');
        benchmark::DoNotOptimize(pszTexte);
        std::strftime(szSortie, sizeof szSortie, "%d/%m/%Y", &stTm);
        benchmark::DoNotOptimize(szSortie);
    }
}
BENCHMARK(BM_Strftime);

static void BM_MasqueLit(benchmark::State& state) {
    CTString clSortie;
    for (auto _ : state) {
        CMasqueDateHeure clMasque(L"JJ/MM/AAAA", true, nullptr);
        clMasque.DeformateDateHeure(L"15/03/2024", &clSortie, 0);
        benchmark::DoNotOptimize(clSortie.pszGet());
    }
}
BENCHMARK(BM_MasqueLit);

static void BM_Strptime(benchmark::State& state) {
    char szSortie[16];
    for (auto _ : state) {
        tm stTm{};
        strptime("15/03/2024", "%d/%m/%Y", &stTm);
        std::strftime(szSortie, sizeof szSortie, "%Y%m%d", &stTm);
        benchmark::DoNotOptimize(szSortie);
    }
}
BENCHMARK(BM_Strptime);
