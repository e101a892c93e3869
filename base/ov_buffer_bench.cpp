// Ten million 32-bit writes into a COVBuffer beside the same writes pushed into a
// std::vector<uint8_t>, both from empty, so that growth is part of what is measured; and the
// reading back of those words. The growth step is kept small on purpose: the buffer must not turn
// quadratic when the step is far below the data.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "base/ov_buffer.h"

namespace {

constexpr uint32_t kNbMots = 10'000'000;

void BM_OVBuffer_Ecrit32(benchmark::State& state) {
    for (auto _ : state) {
        COVBuffer clBuffer(0, 64);
        for (uint32_t i = 0; i < kNbMots; ++i) clBuffer << i;
        benchmark::DoNotOptimize(clBuffer.pbyGetData());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kNbMots * 4);
}
BENCHMARK(BM_OVBuffer_Ecrit32)->Unit(benchmark::kMillisecond);

void BM_Vector_Push32(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<uint8_t> tab;
        for (uint32_t i = 0; i < kNbMots; ++i) {
            uint8_t tabOctets[4];
            std::memcpy(tabOctets, &i, 4);
            tab.insert(tab.end(), tabOctets, tabOctets + 4);
        }
        benchmark::DoNotOptimize(tab.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kNbMots * 4);
}
BENCHMARK(BM_Vector_Push32)->Unit(benchmark::kMillisecond);

void BM_OVBuffer_Lit32(benchmark::State& state) {
    COVBuffer clBuffer(kNbMots * 4, 0);
    for (uint32_t i = 0; i < kNbMots; ++i) clBuffer << i;
    for (auto _ : state) {
        clBuffer.SeekNoResize(0);
        uint32_t dwSomme = 0, dw = 0;
        for (uint32_t i = 0; i < kNbMots; ++i) {
            clBuffer >> dw;
            dwSomme += dw;
        }
        benchmark::DoNotOptimize(dwSomme);
    }
}
BENCHMARK(BM_OVBuffer_Lit32)->Unit(benchmark::kMillisecond);

void BM_Vector_Lit32(benchmark::State& state) {
    std::vector<uint8_t> tab(size_t{kNbMots} * 4);
    for (uint32_t i = 0; i < kNbMots; ++i) std::memcpy(tab.data() + 4 * i, &i, 4);
    for (auto _ : state) {
        uint32_t dwSomme = 0, dw = 0;
        for (size_t o = 0; o + 4 <= tab.size(); o += 4) {
            std::memcpy(&dw, tab.data() + o, 4);
            dwSomme += dw;
        }
        benchmark::DoNotOptimize(dwSomme);
    }
}
BENCHMARK(BM_Vector_Lit32)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
