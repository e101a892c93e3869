// Day number to date and back: the language's calendar against <chrono>'s year_month_day on the
// same random day numbers of the Gregorian years.
#include <benchmark/benchmark.h>

#include <chrono>
#include <random>
#include <vector>

#include "datetime/date_time.h"

namespace {

// 1 January 1800 is day 1 for the language; sys_days counts from 1 January 1970.
constexpr int NUMERO_1970 = 62092;

const std::vector<int>& tabNumeros() {
    static const std::vector<int> tab = [] {
        std::mt19937 clHasard(2024);
        std::uniform_int_distribution<int> clLoi(CDateTimeBase::s_nDateVersEntier(1, 1, 1583),
                                                 CDateTimeBase::s_nDateVersEntier(31, 12, 9999));
        std::vector<int> tabValeurs(4096);
        for (int& n : tabValeurs) n = clLoi(clHasard);
        return tabValeurs;
    }();
    return tab;
}

void BM_DateTime_NumeroVersDateEtRetour(benchmark::State& clEtat) {
    const std::vector<int>& tab = tabNumeros();
    size_t i = 0;
    for (auto _ : clEtat) {
        int nJour = 0, nMois = 0, nAnnee = 0, nNumero = 0;
        CDateTimeBase::__bEntierVersDate(tab[i], &nJour, &nMois, &nAnnee);
        CDateTimeBase::__bDateVersEntier(nJour, nMois, nAnnee, &nNumero, true);
        benchmark::DoNotOptimize(nNumero);
        i = (i + 1) & 4095;
    }
}
BENCHMARK(BM_DateTime_NumeroVersDateEtRetour);

void BM_Chrono_YearMonthDayEtRetour(benchmark::State& clEtat) {
    using namespace std::chrono;
    const std::vector<int>& tab = tabNumeros();
    size_t i = 0;
    for (auto _ : clEtat) {
        const year_month_day stDate{sys_days{days{tab[i] - NUMERO_1970}}};
        benchmark::DoNotOptimize(stDate);
        const int nNumero = static_cast<int>(sys_days{stDate}.time_since_epoch().count()) + NUMERO_1970;
        benchmark::DoNotOptimize(nNumero);
        i = (i + 1) & 4095;
    }
}
BENCHMARK(BM_Chrono_YearMonthDayEtRetour);

}  // namespace
