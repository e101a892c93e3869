// The "-lh5-" stream against zlib (deflate level 6, inflate) on the same bytes: 64 MiB of C
// headers and 16 MiB of random bytes. Read the ratios from one run; the counter "taille" is the
// compressed size over the original. OV_LH5_CORPUS=<path> also writes the text corpus there, so
// that another encoder can be measured on the same bytes.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include "compress/lh5.h"

namespace {

using Octets = std::vector<uint8_t>;

const Octets& tabTexte() {
    static const Octets tab = [] {
        constexpr size_t kTaille = 64u << 20;
        std::vector<std::filesystem::path> tabChemins;
        for (const auto& e : std::filesystem::recursive_directory_iterator("/usr/include"))
            if (e.is_regular_file()) tabChemins.push_back(e.path());
        std::sort(tabChemins.begin(), tabChemins.end());
        Octets t;
        t.reserve(kTaille);
        while (t.size() < kTaille && !tabChemins.empty()) {
            for (const auto& chemin : tabChemins) {
                std::ifstream f(chemin, std::ios::binary);
                t.insert(t.end(), std::istreambuf_iterator<char>(f), {});
                if (t.size() >= kTaille) break;
            }
        }
        t.resize(kTaille);
        if (const char* psz = std::getenv("OV_LH5_CORPUS")) {
            std::ofstream f(psz, std::ios::binary);
            f.write(reinterpret_cast<const char*>(t.data()), static_cast<std::streamsize>(t.size()));
        }
        return t;
    }();
    return tab;
}

const Octets& tabHasard() {
    static const Octets tab = [] {
        Octets t(16u << 20);
        std::mt19937_64 gen(1);
        for (size_t i = 0; i < t.size(); i += 8) {
            const uint64_t n = gen();
            std::memcpy(t.data() + i, &n, 8);
        }
        return t;
    }();
    return tab;
}

const Octets& tabCorpus(int64_t n) { return n == 0 ? tabTexte() : tabHasard(); }

class CSource final : public ovlh5::ISource {
public:
    explicit CSource(const Octets& tab) : m_tab(tab) {}
    long nLit(uint8_t* pby, size_t nTaille) noexcept override {
        const size_t n = std::min(nTaille, m_tab.size() - m_nPos);
        std::memcpy(pby, m_tab.data() + m_nPos, n);
        m_nPos += n;
        return static_cast<long>(n);
    }

private:
    const Octets& m_tab;
    size_t m_nPos = 0;
};

class CPuits final : public ovlh5::IPuits {
public:
    bool bEcrit(const uint8_t* pby, size_t nTaille) noexcept override {
        m_tab.insert(m_tab.end(), pby, pby + nTaille);
        return true;
    }
    Octets m_tab;
};

// With the compacted files' limit: the original size less a header.
Octets tabLh5(const Octets& tab, ovlh5::EResultat* pe = nullptr) {
    CSource clSource(tab);
    CPuits clPuits;
    clPuits.m_tab.reserve(tab.size() / 2);
    const auto st = ovlh5::stEncode(&clSource, &clPuits, tab.size() - 296, nullptr);
    if (pe) *pe = st.eResultat;
    return std::move(clPuits.m_tab);
}

Octets tabZlib(const Octets& tab) {
    uLongf n = compressBound(tab.size());
    Octets t(n);
    compress2(t.data(), &n, tab.data(), tab.size(), 6);
    t.resize(n);
    return t;
}

void Lh5Encode(benchmark::State& state) {
    const Octets& tab = tabCorpus(state.range(0));
    size_t nTaille = 0;
    ovlh5::EResultat e = ovlh5::EResultat::OK;
    for (auto _ : state) nTaille = tabLh5(tab, &e).size();
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * tab.size()));
    state.counters["taille"] = static_cast<double>(nTaille) / static_cast<double>(tab.size());
    state.counters["incompressible"] = e == ovlh5::EResultat::INCOMPRESSIBLE;
}

void ZlibDeflate6(benchmark::State& state) {
    const Octets& tab = tabCorpus(state.range(0));
    size_t nTaille = 0;
    for (auto _ : state) nTaille = tabZlib(tab).size();
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * tab.size()));
    state.counters["taille"] = static_cast<double>(nTaille) / static_cast<double>(tab.size());
}

void Lh5Decode(benchmark::State& state) {
    const Octets& tab = tabTexte();
    const Octets tabFlux = tabLh5(tab);
    Octets tabSortie(tab.size());
    for (auto _ : state) {
        if (ovlh5::eDecodeMemoire(tabFlux.data(), tabFlux.size(), tabSortie.data(), tabSortie.size()) !=
            ovlh5::EResultat::OK)
            state.SkipWithError("decoding failed");
        benchmark::DoNotOptimize(tabSortie.data());
    }
    if (tabSortie != tab) state.SkipWithError("round trip differs");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * tab.size()));
}

// The way the compacted files read: 8,192 bytes a call.
void Lh5DecodePar8K(benchmark::State& state) {
    const Octets& tab = tabTexte();
    const Octets tabFlux = tabLh5(tab);
    Octets tabSortie(tab.size());
    for (auto _ : state) {
        CSource clSource(tabFlux);
        ovlh5::CDecodeurLh5 clDecodeur;
        clDecodeur.bDemarre(&clSource, tabFlux.size());
        for (size_t n = 0; n < tabSortie.size(); n += 8192)
            clDecodeur.eDecode(tabSortie.data() + n, std::min<size_t>(8192, tabSortie.size() - n));
        benchmark::DoNotOptimize(tabSortie.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * tab.size()));
}

void ZlibInflate(benchmark::State& state) {
    const Octets& tab = tabTexte();
    const Octets tabFlux = tabZlib(tab);
    Octets tabSortie(tab.size());
    for (auto _ : state) {
        uLongf n = tabSortie.size();
        if (uncompress(tabSortie.data(), &n, tabFlux.data(), tabFlux.size()) != Z_OK)
            state.SkipWithError("inflate failed");
        benchmark::DoNotOptimize(tabSortie.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * tab.size()));
}

// 0: text, 1: random.
BENCHMARK(Lh5Encode)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ZlibDeflate6)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Lh5Decode)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Lh5DecodePar8K)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ZlibInflate)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
