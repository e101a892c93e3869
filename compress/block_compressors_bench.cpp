// The LZW block coders (types 4 and 2) over 64 MiB of C headers in 64 KiB blocks, both ways,
// beside `compress -b16` (ncompress) run in a child process on the same bytes. Before timing, the
// whole corpus goes through each coder and back once and must come back whole. On a loaded machine
// compare our CPU time with the child's (child_cpu_ms) rather than the wall times.
//
//   build/compress/block_compressors_bench
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "compress/block_compressors.h"

extern char** environ;

namespace {

constexpr size_t kTailleCorpus = size_t{64} << 20;
constexpr uint32_t kTailleBloc = 64 << 10;

// C headers of the system, in a fixed order, repeated if they fall short.
const std::string& sCorpus() {
    static const std::string s = [] {
        std::vector<std::filesystem::path> tabFichiers;
        std::error_code ec;
        for (auto it = std::filesystem::recursive_directory_iterator("/usr/include", ec);
             it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
            if (ec) break;
            if (it->is_regular_file(ec) && it->path().extension() == ".h") tabFichiers.push_back(it->path());
        }
        std::sort(tabFichiers.begin(), tabFichiers.end());
        std::string sTout;
        for (const auto& chemin : tabFichiers) {
            std::ifstream f(chemin, std::ios::binary);
            sTout.append(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
            if (sTout.size() >= kTailleCorpus) break;
        }
        if (sTout.empty()) sTout = "int main(void) { return 0; }\n";
        std::string sCorpus;
        while (sCorpus.size() < kTailleCorpus) sCorpus += sTout;
        sCorpus.resize(kTailleCorpus);
        return sCorpus;
    }();
    return s;
}

struct STBlocs {
    std::vector<uint8_t> tabDonnees;
    std::vector<std::pair<size_t, uint32_t>> tabBlocs;  // offset, size
    size_t nTaille = 0;
};

// The blocks go into *pst, whose memory is kept from one run to the next as a caller's would be.
void Compresse(CCompresseur* pcl, const std::string& s, STBlocs* pst) {
    STBlocs& st = *pst;
    const uint32_t dwPlace = pcl->dwTailleBufferCompression(kTailleBloc);
    st.tabDonnees.resize(s.size() / kTailleBloc * dwPlace + dwPlace);
    st.tabBlocs.clear();
    size_t oSortie = 0;
    for (size_t o = 0; o < s.size(); o += kTailleBloc) {
        const auto dw = static_cast<uint32_t>(std::min<size_t>(kTailleBloc, s.size() - o));
        const uint32_t dwBloc = pcl->dwCompression(reinterpret_cast<const uint8_t*>(s.data()) + o, dw,
                                                   st.tabDonnees.data() + oSortie, dwPlace);
        st.tabBlocs.emplace_back(oSortie, dwBloc);
        oSortie += dwBloc;
    }
    st.nTaille = oSortie;
}

bool bDecompresse(CCompresseur* pcl, const STBlocs& st, std::vector<uint8_t>* ptabSortie) {
    ptabSortie->resize(st.tabBlocs.size() * kTailleBloc);
    size_t o = 0;
    for (const auto& [oBloc, dwBloc] : st.tabBlocs) {
        const uint32_t dw = pcl->dwDecompression(st.tabDonnees.data() + oBloc, dwBloc, ptabSortie->data() + o,
                                                 kTailleBloc, 0);
        if (dw == CCompresseurBase::kdwEchec) return false;
        o += dw;
    }
    ptabSortie->resize(o);
    return true;
}

// Each coder once over the whole corpus and back, before anything is timed.
void VerifieAllerRetour(uint8_t eType) {
    CCompresseur cl;
    cl.ChangeMethodeCompression(eType);
    STBlocs st;
    Compresse(&cl, sCorpus(), &st);
    std::vector<uint8_t> tab;
    if (!bDecompresse(&cl, st, &tab) || tab.size() != sCorpus().size() ||
        !std::equal(tab.begin(), tab.end(), reinterpret_cast<const uint8_t*>(sCorpus().data()))) {
        std::fprintf(stderr, "type %d: the 64 MiB corpus did not come back\n", eType);
        std::abort();
    }
}

void BM_Compression(benchmark::State& state) {
    const auto eType = static_cast<uint8_t>(state.range(0));
    CCompresseur cl;
    cl.ChangeMethodeCompression(eType);
    STBlocs st;
    Compresse(&cl, sCorpus(), &st);
    for (auto _ : state) {
        Compresse(&cl, sCorpus(), &st);
        benchmark::DoNotOptimize(st.tabDonnees.data());
    }
    const size_t nSortie = st.nTaille;
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTailleCorpus));
    state.counters["ratio"] = static_cast<double>(nSortie) / kTailleCorpus;
}

void BM_Decompression(benchmark::State& state) {
    const auto eType = static_cast<uint8_t>(state.range(0));
    CCompresseur cl;
    cl.ChangeMethodeCompression(eType);
    STBlocs st;
    Compresse(&cl, sCorpus(), &st);
    std::vector<uint8_t> tab;
    bDecompresse(&cl, st, &tab);
    for (auto _ : state) {
        if (!bDecompresse(&cl, st, &tab)) state.SkipWithError("damaged block");
        benchmark::DoNotOptimize(tab.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTailleCorpus));
}

// ---------------------------------------------------------------- the peer: compress -b16

std::string sFichierTemp(const char* pszSuffixe) {
    const char* pszTmp = std::getenv("TMPDIR");
    return std::string(pszTmp != nullptr && *pszTmp != 0 ? pszTmp : "/tmp") + "/ov_block_bench_" +
           std::to_string(getpid()) + pszSuffixe;
}

// Runs the argument vector with standard input and output on the given files; its exit status.
// The child's processor time is added to *pdSecondesCpu, to set beside ours on a loaded machine.
int nLance(const std::vector<const char*>& tabArgv, const std::string& sEntree, const std::string& sSortie,
           double* pdSecondesCpu) {
    posix_spawn_file_actions_t stActions;
    posix_spawn_file_actions_init(&stActions);
    posix_spawn_file_actions_addopen(&stActions, 0, sEntree.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&stActions, 1, sSortie.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    std::vector<char*> tab;
    for (const char* psz : tabArgv) tab.push_back(const_cast<char*>(psz));
    tab.push_back(nullptr);
    pid_t nPid;
    const int nErreur = posix_spawnp(&nPid, tab[0], &stActions, nullptr, tab.data(), environ);
    posix_spawn_file_actions_destroy(&stActions);
    if (nErreur != 0) return -1;
    int nStatut = 0;
    struct rusage stUsage {};
    if (wait4(nPid, &nStatut, 0, &stUsage) != nPid || !WIFEXITED(nStatut)) return -1;
    *pdSecondesCpu += static_cast<double>(stUsage.ru_utime.tv_sec + stUsage.ru_stime.tv_sec) +
                      static_cast<double>(stUsage.ru_utime.tv_usec + stUsage.ru_stime.tv_usec) / 1e6;
    return WEXITSTATUS(nStatut);
}

// The corpus and its packed form on disk, removed when the program ends.
struct STFichiersPair {
    std::string sCheminCorpus = sFichierTemp(".h");
    std::string sCheminPacke = sFichierTemp(".Z");
    STFichiersPair() {
        std::ofstream(sCheminCorpus, std::ios::binary).write(sCorpus().data(), static_cast<std::streamsize>(kTailleCorpus));
    }
    ~STFichiersPair() {
        std::remove(sCheminCorpus.c_str());
        std::remove(sCheminPacke.c_str());
    }
};

STFichiersPair& stPair() {
    static STFichiersPair st;
    return st;
}

void BM_CompressPair(benchmark::State& state) {
    STFichiersPair& st = stPair();
    double dCpu = 0;
    for (auto _ : state) {
        if (nLance({"compress", "-b16", "-c"}, st.sCheminCorpus, st.sCheminPacke, &dCpu) != 0)
            state.SkipWithError("compress -b16 failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTailleCorpus));
    state.counters["child_cpu_ms"] = dCpu * 1000 / static_cast<double>(state.iterations());
    std::error_code ec;
    state.counters["ratio"] = static_cast<double>(std::filesystem::file_size(st.sCheminPacke, ec)) / kTailleCorpus;
}

void BM_DecompressPair(benchmark::State& state) {
    STFichiersPair& st = stPair();
    double dCpu = 0;
    if (nLance({"compress", "-b16", "-c"}, st.sCheminCorpus, st.sCheminPacke, &dCpu) != 0)
        state.SkipWithError("compress -b16 failed");
    dCpu = 0;
    for (auto _ : state) {
        if (nLance({"compress", "-d", "-c"}, st.sCheminPacke, "/dev/null", &dCpu) != 0)
            state.SkipWithError("compress -d failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTailleCorpus));
    state.counters["child_cpu_ms"] = dCpu * 1000 / static_cast<double>(state.iterations());
}

}  // namespace

BENCHMARK(BM_Compression)->Arg(CCompresseurBase::eCOMPRESSEUR_ZLW)->Arg(CCompresseurBase::eCOMPRESSEUR_VIEUXBLOC)
    ->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_CompressPair)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Decompression)->Arg(CCompresseurBase::eCOMPRESSEUR_ZLW)->Arg(CCompresseurBase::eCOMPRESSEUR_VIEUXBLOC)
    ->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_DecompressPair)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char** argv) {
    VerifieAllerRetour(CCompresseurBase::eCOMPRESSEUR_ZLW);
    VerifieAllerRetour(CCompresseurBase::eCOMPRESSEUR_VIEUXBLOC);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
