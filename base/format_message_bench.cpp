// The numbered message form and the printf form beside the C library's swprintf for the same text.
#include <benchmark/benchmark.h>

#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cwchar>

#include "base/format_message.h"

namespace {

const wchar_t gszNom[] = L"rapport_été.txt";

void BM_FormatMessageWin_Inserts(benchmark::State& state) {
    const uintptr_t anArguments[] = {reinterpret_cast<uintptr_t>(gszNom), 4096};
    wchar_t szTexte[256];
    for (auto _ : state) {
        benchmark::DoNotOptimize(FormatMessageWin(FORMAT_MESSAGE_FROM_STRING, L"Le fichier « %1 » n'a que %2!d! octets.",
                                                  0, 0, szTexte, 256, anArguments, 2));
        benchmark::DoNotOptimize(szTexte);
    }
}
BENCHMARK(BM_FormatMessageWin_Inserts);

void BM_FormatMessageWin_Alloue(benchmark::State& state) {
    const uintptr_t anArguments[] = {reinterpret_cast<uintptr_t>(gszNom), 4096};
    for (auto _ : state) {
        wchar_t* pszTexte = nullptr;
        benchmark::DoNotOptimize(FormatMessageWin(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ALLOCATE_BUFFER,
                                                  L"Le fichier « %1 » n'a que %2!d! octets.", 0, 0,
                                                  reinterpret_cast<wchar_t*>(&pszTexte), 0, anArguments, 2));
        free(pszTexte);
    }
}
BENCHMARK(BM_FormatMessageWin_Alloue);

unsigned int nFormateW(wchar_t* pszTexte, const wchar_t* pszFormat, ...) {
    va_list pArguments;
    va_start(pArguments, pszFormat);
    const unsigned int nLongueur =
        FormatMessageW(FORMAT_MESSAGE_FROM_STRING, pszFormat, 0, 0, pszTexte, 256, &pArguments);
    va_end(pArguments);
    return nLongueur;
}

void BM_FormatMessageW_Printf(benchmark::State& state) {
    wchar_t szTexte[256];
    for (auto _ : state) {
        benchmark::DoNotOptimize(nFormateW(szTexte, L"Le fichier « %s » n'a que %d octets.", gszNom, 4096));
        benchmark::DoNotOptimize(szTexte);
    }
}
BENCHMARK(BM_FormatMessageW_Printf);

// The peer: the C library's wide printf on the same text.
void BM_Swprintf_Pair(benchmark::State& state) {
    wchar_t szTexte[256];
    for (auto _ : state) {
        benchmark::DoNotOptimize(swprintf(szTexte, 256, L"Le fichier « %ls » n'a que %d octets.", gszNom, 4096));
        benchmark::DoNotOptimize(szTexte);
    }
}
BENCHMARK(BM_Swprintf_Pair);

}  // namespace
