// The cost of one language call: EstPair through the stand-in machine, the descriptor tables and
// the thunk, beside the same method called directly. The difference is what the calling
// convention adds.
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "component/testing/fake_vm.h"
#include "component/composante.h"
#include "component/interfaces/machine.h"
#include "host/machine.h"

namespace {

ovhost::CStandInMachine& Machine() {
    static ovhost::CStandInMachine s_cl;
    return s_cl;
}

// EstPair resolved once, as a compiled program holds it; false (and the benchmark skipped) when
// the library cannot be loaded.
bool bPrepareEstPair(benchmark::State& state, ovhost::STPreparedCall* pst) {
    std::string sError;
    if (!Machine().bLoaded() && !Machine().bLoad(ovhost::CStandInMachine::s_sDefaultLibraryPath(), &sError)) {
        state.SkipWithError(sError.c_str());
        return false;
    }
    if (!Machine().bPrepare("EstPair", {ovhost::CValue::Int(0)}, pst, &sError)) {
        state.SkipWithError(sError.c_str());
        return false;
    }
    return true;
}

// The peer: the method itself, on an object of the statically linked library.
void BM_EstPairDirect(benchmark::State& state) {
    CComposanteStandard cl;
    int n = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(n);
        bool b = cl.EstPair(n++);
        benchmark::DoNotOptimize(b);
    }
}
BENCHMARK(BM_EstPairDirect);

// What a compiled program pays: a call resolved once, then the frame, the call record, the
// thunk, the method and SetRetour on every call.
void BM_EstPairThroughMachine(benchmark::State& state) {
    ovhost::STPreparedCall st;
    if (!bPrepareEstPair(state, &st)) return;
    int n = 0;
    void* tab[] = {&n};
    ovhost::CValue clResult;
    for (auto _ : state) {
        ++n;
        Machine().bCallPrepared(st, tab, &clResult);
        benchmark::DoNotOptimize(clResult.nInteger);
    }
}
BENCHMARK(BM_EstPairThroughMachine);

// The thunk alone: the same thunk pointer called with a record whose IVM keeps only the pushed
// value, so the machine's own bookkeeping is out of the measure.
class CResultOnlyVM final : public CFakeVM {
public:
    int32_t nResult = 0;
    void SetRetour(unsigned int, const void* pValeur, int) override { nResult = *static_cast<const int32_t*>(pValeur); }
    int nModeChaine() override { return 1; }
};

void BM_EstPairThunkOnly(benchmark::State& state) {
    ovhost::STPreparedCall st;
    if (!bPrepareEstPair(state, &st)) return;
    // A language object of the loaded library, made the way the machine makes one.
    void* h = dlopen(ovhost::CStandInMachine::s_sDefaultLibraryPath().c_str(), RTLD_NOW | RTLD_NOLOAD);
    auto pfnQuery = reinterpret_cast<void* (*)(int)>(dlsym(h, "pQueryProxy"));
    auto* piLangage = static_cast<IZKLibrary*>(pfnQuery(60));
    CResultOnlyVM clVM;
    STZKAppel stAppel{};
    stAppel.piVM = &clVM;
    stAppel.dwFrame = 1;
    piLangage->ChangeContexteAppel(&stAppel);
    int n = 0;
    void* tab[] = {&n};
    for (auto _ : state) {
        ++n;
        st.pfnThunk(&stAppel, piLangage, tab);
        benchmark::DoNotOptimize(clVM.nResult);
    }
    piLangage->Release();
    dlclose(h);
}
BENCHMARK(BM_EstPairThunkOnly);

}  // namespace

BENCHMARK_MAIN();
