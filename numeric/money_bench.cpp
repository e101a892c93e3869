// CMoney multiplication and division beside the same operations written on __int128, over the
// same everyday amounts, so that the ratio is read from one run.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "numeric/money.h"

namespace {

using Int128 = __int128;
constexpr Int128 kUn = 1000000;
constexpr size_t kPaires = 1024;

// Amounts up to a billion against factors up to a million, both with six decimals and either
// sign: the products and quotients stay well inside 128 bits for the peer.
struct STOperandes {
    std::vector<CMoney> tabA, tabB;
    std::vector<Int128> tabNA, tabNB;
    STOperandes() {
        std::mt19937_64 rng(42);
        for (size_t i = 0; i < kPaires; ++i) {
            const Int128 nA = static_cast<Int128>(rng() % (1000000000ULL * 1000000ULL)) * (rng() & 1 ? 1 : -1);
            Int128 nB = static_cast<Int128>(rng() % (1000000ULL * 1000000ULL)) * (rng() & 1 ? 1 : -1);
            if (nB == 0) nB = kUn;
            CMoney clA, clB;
            clA.SetBrut(nA);
            clB.SetBrut(nB);
            tabA.push_back(clA);
            tabB.push_back(clB);
            tabNA.push_back(nA);
            tabNB.push_back(nB);
        }
    }
};

const STOperandes& operandes() {
    static const STOperandes s_st;
    return s_st;
}

void BM_MoneyMultiply(benchmark::State& state) {
    const STOperandes& st = operandes();
    size_t i = 0;
    for (auto _ : state) {
        CMoney cl = st.tabA[i];
        benchmark::DoNotOptimize(pstMulMonetaire(&cl, &st.tabB[i]));
        benchmark::DoNotOptimize(cl);
        i = (i + 1) % kPaires;
    }
}
BENCHMARK(BM_MoneyMultiply);

// The peer: the same truncated product on a plain 128-bit integer.
void BM_Int128Multiply(benchmark::State& state) {
    const STOperandes& st = operandes();
    size_t i = 0;
    for (auto _ : state) {
        Int128 n = st.tabNA[i] * st.tabNB[i] / kUn;
        benchmark::DoNotOptimize(n);
        i = (i + 1) % kPaires;
    }
}
BENCHMARK(BM_Int128Multiply);

void BM_MoneyDivide(benchmark::State& state) {
    const STOperandes& st = operandes();
    size_t i = 0;
    for (auto _ : state) {
        CMoney cl = st.tabA[i];
        benchmark::DoNotOptimize(pstDivMonetaire(&cl, &st.tabB[i]));
        benchmark::DoNotOptimize(cl);
        i = (i + 1) % kPaires;
    }
}
BENCHMARK(BM_MoneyDivide);

// The peer: the same quotient rounded half away from zero on a plain 128-bit integer.
void BM_Int128Divide(benchmark::State& state) {
    const STOperandes& st = operandes();
    size_t i = 0;
    for (auto _ : state) {
        const Int128 nDividende = st.tabNA[i] * kUn;
        const Int128 nDiviseur = st.tabNB[i];
        Int128 nQuotient = nDividende / nDiviseur;
        const Int128 nReste = nDividende % nDiviseur;
        const Int128 nResteAbs = nReste < 0 ? -nReste : nReste;
        const Int128 nDiviseurAbs = nDiviseur < 0 ? -nDiviseur : nDiviseur;
        if (2 * nResteAbs >= nDiviseurAbs) nQuotient += (nDividende < 0) != (nDiviseur < 0) ? -1 : 1;
        benchmark::DoNotOptimize(nQuotient);
        i = (i + 1) % kPaires;
    }
}
BENCHMARK(BM_Int128Divide);

}  // namespace

BENCHMARK_MAIN();
