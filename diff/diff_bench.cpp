// diffCree and diffApplique against xdelta3 (-e -s / -d -s) and bsdiff/bspatch on 10 MiB with 1%
// of the bytes changed by small scattered edits (replacements, insertions, deletions). Each case
// reports its time per run, and as counters the size of the difference and the peak resident
// memory of a process that does only that work (the peers are processes; ours runs in a fork).
#include <benchmark/benchmark.h>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "diff/diff.h"

extern char** environ;

namespace {

using Octets = std::vector<uint8_t>;
constexpr size_t kTaille = 10u << 20;

struct STJeu {
    Octets tabSource;
    Octets tabCible;
    std::string sDossier;
};

// Half text-like lines, half binary records, so that neither peer nor ours meets only one kind.
const STJeu& stJeu() {
    static const STJeu st = [] {
        STJeu s;
        uint32_t x = 2024;
        auto nHasard = [&x] {
            x = x * 1103515245u + 12345u;
            return x >> 8;
        };
        s.tabSource.reserve(kTaille);
        while (s.tabSource.size() < kTaille) {
            if (nHasard() % 2 == 0) {
                const std::string sLigne = "client " + std::to_string(nHasard() % 100000) + " : commande livr\u00e9e \u00e0 No\u00ebl\n";
                s.tabSource.insert(s.tabSource.end(), sLigne.begin(), sLigne.end());
            } else {
                for (int i = 0; i < 48; ++i) s.tabSource.push_back(static_cast<uint8_t>(nHasard()));
            }
        }
        s.tabSource.resize(kTaille);
        // Edits of 1 to 32 bytes until 1% of the size has changed.
        s.tabCible.reserve(kTaille + kTaille / 50);
        size_t nModifie = 0;
        size_t p = 0;
        while (p < kTaille) {
            const size_t nSaut = nHasard() % 6400;
            const size_t nFin = std::min(kTaille, p + nSaut);
            s.tabCible.insert(s.tabCible.end(), s.tabSource.begin() + p, s.tabSource.begin() + nFin);
            p = nFin;
            const size_t nLongueur = 1 + nHasard() % 32;
            switch (nHasard() % 3) {
            case 0: for (size_t i = 0; i < nLongueur; ++i) s.tabCible.push_back(static_cast<uint8_t>(nHasard())); p += nLongueur; break;
            case 1: for (size_t i = 0; i < nLongueur; ++i) s.tabCible.push_back(static_cast<uint8_t>(nHasard())); break;
            default: p += nLongueur; break;
            }
            nModifie += nLongueur;
        }
        s.sDossier = "/tmp/ov_diff_bench_" + std::to_string(getpid());
        mkdir(s.sDossier.c_str(), 0700);
        std::ofstream(s.sDossier + "/source", std::ios::binary).write(reinterpret_cast<const char*>(s.tabSource.data()), static_cast<std::streamsize>(s.tabSource.size()));
        std::ofstream(s.sDossier + "/cible", std::ios::binary).write(reinterpret_cast<const char*>(s.tabCible.data()), static_cast<std::streamsize>(s.tabCible.size()));
        return s;
    }();
    return st;
}

// Runs a program with its arguments (no shell); its peak resident memory in KiB, -1 on failure.
long nLance(const std::vector<std::string>& tabArguments) {
    std::vector<char*> tab;
    for (const std::string& s : tabArguments) tab.push_back(const_cast<char*>(s.c_str()));
    tab.push_back(nullptr);
    pid_t pid = 0;
    if (posix_spawnp(&pid, tab[0], nullptr, nullptr, tab.data(), environ) != 0) return -1;
    int nStatut = 0;
    rusage st{};
    if (wait4(pid, &nStatut, 0, &st) != pid || !WIFEXITED(nStatut) || WEXITSTATUS(nStatut) != 0) return -1;
    return st.ru_maxrss;
}

// The peak resident memory of a fork that does the work: comparable with the peers' processes.
long nPicFork(const std::function<void()>& fn) {
    const pid_t pid = fork();
    if (pid == 0) {
        fn();
        _exit(0);
    }
    int nStatut = 0;
    rusage st{};
    if (pid < 0 || wait4(pid, &nStatut, 0, &st) != pid) return -1;
    return st.ru_maxrss;
}

long nTailleFichier(const std::string& sNom) {
    std::ifstream f(sNom, std::ios::binary | std::ios::ate);
    return f ? static_cast<long>(f.tellg()) : -1;
}

void BM_diffCree(benchmark::State& state) {
    const STJeu& st = stJeu();
    Octets tab;
    for (auto _ : state) {
        CDiffXDelta cl;
        if (!cl.bComputeDiff(st.tabSource.data(), st.tabSource.size(), st.tabCible.data(), st.tabCible.size(), &tab, false))
            state.SkipWithError("diffCree failed");
    }
    state.counters["diff_bytes"] = static_cast<double>(tab.size());
    state.counters["peak_KiB"] = static_cast<double>(nPicFork([&] {
        Octets t;
        CDiffXDelta().bComputeDiff(st.tabSource.data(), st.tabSource.size(), st.tabCible.data(), st.tabCible.size(), &t, false);
    }));
    std::ofstream(st.sDossier + "/ov.dif", std::ios::binary).write(reinterpret_cast<const char*>(tab.data()), static_cast<std::streamsize>(tab.size()));
}

void BM_diffApplique(benchmark::State& state) {
    const STJeu& st = stJeu();
    Octets tabDiff;
    CDiffXDelta().bComputeDiff(st.tabSource.data(), st.tabSource.size(), st.tabCible.data(), st.tabCible.size(), &tabDiff, false);
    Octets tab;
    for (auto _ : state) {
        CDiffXDelta cl;
        if (!cl.bApplyDiff(st.tabSource.data(), st.tabSource.size(), tabDiff.data(), tabDiff.size(), &tab) || tab != st.tabCible)
            state.SkipWithError("diffApplique failed");
    }
    state.counters["peak_KiB"] = static_cast<double>(nPicFork([&] {
        Octets t;
        CDiffXDelta().bApplyDiff(st.tabSource.data(), st.tabSource.size(), tabDiff.data(), tabDiff.size(), &t);
    }));
}

void BM_Peer(benchmark::State& state, std::vector<std::string> tabCree, std::vector<std::string> tabApplique,
             const std::string& sSortie, bool bApplique) {
    const STJeu& st = stJeu();
    for (std::string& s : tabCree) s = s == "S" ? st.sDossier + "/source" : s == "T" ? st.sDossier + "/cible" : s == "D" ? st.sDossier + "/" + sSortie : s;
    for (std::string& s : tabApplique) s = s == "S" ? st.sDossier + "/source" : s == "D" ? st.sDossier + "/" + sSortie : s == "R" ? st.sDossier + "/rebuilt" : s;
    if (nLance(tabCree) < 0) {
        state.SkipWithError("peer missing or failed (install xdelta3 and bsdiff)");
        return;
    }
    long nPic = 0;
    for (auto _ : state) nPic = nLance(bApplique ? tabApplique : tabCree);
    if (nPic < 0) state.SkipWithError("peer failed");
    state.counters["diff_bytes"] = static_cast<double>(nTailleFichier(st.sDossier + "/" + sSortie));
    state.counters["peak_KiB"] = static_cast<double>(nPic);
}

}  // namespace

BENCHMARK(BM_diffCree)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_CAPTURE(BM_Peer, xdelta3_encode, {"xdelta3", "-e", "-f", "-s", "S", "T", "D"}, {}, "x.vcdiff", false)
    ->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_CAPTURE(BM_Peer, bsdiff, {"bsdiff", "S", "T", "D"}, {}, "b.patch", false)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_diffApplique)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK_CAPTURE(BM_Peer, xdelta3_decode, {"xdelta3", "-e", "-f", "-s", "S", "T", "D"}, {"xdelta3", "-d", "-f", "-s", "S", "D", "R"}, "x.vcdiff", true)
    ->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK_CAPTURE(BM_Peer, bspatch, {"bsdiff", "S", "T", "D"}, {"bspatch", "S", "R", "D"}, "b.patch", true)
    ->Unit(benchmark::kMillisecond)->Iterations(5);
int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    // The inputs and outputs of the peers are this run's own files.
    const std::string& sDossier = stJeu().sDossier;
    for (const char* pszNom : {"source", "cible", "ov.dif", "x.vcdiff", "b.patch", "rebuilt"})
        std::remove((sDossier + "/" + pszNom).c_str());
    rmdir(sDossier.c_str());
    return 0;
}
