// The language's mask functions as a call reaches them (a component with a machine context), each
// beside the C library doing the same work: DateVersChaine("20240315", "JJ/MM/AAAA") against
// strftime, ChaineVersDate("15/03/2024", "JJ/MM/AAAA") against strptime.
#include <benchmark/benchmark.h>

#include <ctime>

#include "component/composante.h"
#include "component/testing/fake_vm.h"

namespace {

// A component bound to a machine that answers "nothing", as between two calls of the machine.
class CComposanteBanc {
public:
    CComposanteBanc() {
        m_stAppel.piVM = &m_clVM;
        m_stAppel.dwFrame = 0x70000u | 2u;
        m_cl.ChangeContexteAppel(&m_stAppel);
    }
    ~CComposanteBanc() { m_cl.ChangeContexteAppel(nullptr); }
    CComposanteStandard& cl() { return m_cl; }

private:
    CFakeVM m_clVM;
    STZKAppel m_stAppel{};
    CComposanteStandard m_cl;
};

void BM_DateVersChaine(benchmark::State& state) {
    CComposanteBanc clBanc;
    for (auto _ : state) {
        CXYString<wchar_t> cl = clBanc.cl().DateVersChaine(L"20240315", L"JJ/MM/AAAA");
        benchmark::DoNotOptimize(cl.pszGet());
    }
}
BENCHMARK(BM_DateVersChaine);

void BM_Strftime(benchmark::State& state) {
    char szSortie[32];
    for (auto _ : state) {
        // The peer reads the same text into its record first, as the function does.
        const char* pszTexte = "20240315";
        benchmark::DoNotOptimize(pszTexte);
        tm stTm{};
        stTm.tm_year = (pszTexte[0] - '0') * 1000 + (pszTexte[1] - '0') * 100 + (pszTexte[2] - '0') * 10 +
                       (pszTexte[3] - '0') - 1900;
        stTm.tm_mon = (pszTexte[4] - '0') * 10 + (pszTexte[5] - '0') - 1;
        stTm.tm_mday = (pszTexte[6] - '0') * 10 + (pszTexte[7] - '0');
        std::strftime(szSortie, sizeof szSortie, "%d/%m/%Y", &stTm);
        benchmark::DoNotOptimize(szSortie);
    }
}
BENCHMARK(BM_Strftime);

void BM_ChaineVersDate(benchmark::State& state) {
    CComposanteBanc clBanc;
    for (auto _ : state) {
        CXYString<wchar_t> cl = clBanc.cl().ChaineVersDate(L"15/03/2024", L"JJ/MM/AAAA");
        benchmark::DoNotOptimize(cl.pszGet());
    }
}
BENCHMARK(BM_ChaineVersDate);

void BM_Strptime(benchmark::State& state) {
    char szSortie[16];
    for (auto _ : state) {
        tm stTm{};
        strptime("15/03/2024", "%d/%m/%Y", &stTm);
        std::strftime(szSortie, sizeof szSortie, "%Y%m%d", &stTm);
        benchmark::DoNotOptimize(szSortie);
    }
}
BENCHMARK(BM_Strptime);

}  // namespace

BENCHMARK_MAIN();
