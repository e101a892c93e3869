// Base 64 over 64 MiB of random bytes, each case beside coreutils base64 on the same bytes in the
// same run: in memory (ours) and file to file (ours and the peer, from the page cache to a file
// in the same directory), encoding with 20 groups (80 characters) a line and decoding that text.
// The bytes per second of each pair give the ratio. Both sides are checked to agree first.
//
//   build/crypt/encoders_bench
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>

#include "base/error.h"
#include "crypt/encoders.h"

namespace {

constexpr size_t kTaille = size_t{64} << 20;

struct STDonnees {
    std::string sDir;
    std::string sOctets;
    std::string sTexte;  // ours: CR LF line ends
    std::wstring sSource, sTexteFichier, sSortie;
};

std::string sLit(const std::string& sNom) {
    std::ifstream f(sNom, std::ios::binary);
    std::ostringstream ss;
    ss << f.rdbuf();
    return ss.str();
}

int nLance(const std::string& s) {
    const int n = std::system(s.c_str());
    if (n != 0) {
        std::fprintf(stderr, "failed: %s\n", s.c_str());
        std::abort();
    }
    return n;
}

const STDonnees& stDonnees() {
    static const STDonnees st = [] {
        STDonnees d;
        char sz[] = "/tmp/ov_encoders_bench_XXXXXX";
        if (mkdtemp(sz) == nullptr) std::abort();
        d.sDir = sz;
        d.sOctets.resize(kTaille);
        std::mt19937_64 gen(5);
        for (size_t i = 0; i < kTaille; i += 8) {
            const uint64_t n = gen();
            std::memcpy(d.sOctets.data() + i, &n, 8);
        }
        std::ofstream(d.sDir + "/source", std::ios::binary) << d.sOctets;
        CEncodeBase64 cl;
        const auto* pby = reinterpret_cast<const unsigned char*>(d.sOctets.data());
        d.sTexte.resize(static_cast<size_t>(cl.nEncodeA(pby, kTaille, 20, nullptr)));
        d.sTexte.resize(static_cast<size_t>(cl.nEncodeA(pby, kTaille, 20, d.sTexte.data())));
        // The peer's own text (LF line ends) for its decoder; both must say the same.
        nLance("base64 -w 80 " + d.sDir + "/source > " + d.sDir + "/texte_peer");
        std::string sPeer = sLit(d.sDir + "/texte_peer"), sNous;
        for (char c : d.sTexte)
            if (c != '\r') sNous += c;
        if (!sNous.empty() && sNous.back() != '\n') sNous += '\n';  // the peer ends every text with a line end
        if (sNous != sPeer) {
            std::fprintf(stderr, "the texts differ from coreutils base64\n");
            std::abort();
        }
        std::ofstream(d.sDir + "/texte", std::ios::binary) << d.sTexte;
        const auto Large = [](const std::string& s) { return std::wstring(s.begin(), s.end()); };
        d.sSource = Large(d.sDir + "/source");
        d.sTexteFichier = Large(d.sDir + "/texte");
        d.sSortie = Large(d.sDir + "/sortie");
        return d;
    }();
    return st;
}

void BM_Encode_Ours_Memory(benchmark::State& state) {
    const STDonnees& d = stDonnees();
    CEncodeBase64 cl;
    std::string s(d.sTexte.size() + 1, '\0');
    for (auto _ : state)
        benchmark::DoNotOptimize(cl.nEncodeA(reinterpret_cast<const unsigned char*>(d.sOctets.data()), kTaille, 20, s.data()));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTaille));
}
void BM_Encode_Ours_File(benchmark::State& state) {
    const STDonnees& d = stDonnees();
    CEncodeBase64 cl;
    for (auto _ : state) {
        CXError clErreur;
        if (!cl.bEncodeFichier(d.sSortie.c_str(), d.sSource.c_str(), 20, &clErreur)) state.SkipWithError("encode failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTaille));
}
void BM_Encode_Coreutils_File(benchmark::State& state) {
    const STDonnees& d = stDonnees();
    const std::string s = "base64 -w 80 " + d.sDir + "/source > " + d.sDir + "/sortie_peer";
    for (auto _ : state) nLance(s);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTaille));
}
void BM_Decode_Ours_Memory(benchmark::State& state) {
    const STDonnees& d = stDonnees();
    CEncodeBase64 cl;
    std::string s(kTaille, '\0');
    for (auto _ : state) benchmark::DoNotOptimize(cl.nDecodeA(d.sTexte.c_str(), reinterpret_cast<unsigned char*>(s.data())));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTaille));
}
void BM_Decode_Ours_File(benchmark::State& state) {
    const STDonnees& d = stDonnees();
    CEncodeBase64 cl;
    for (auto _ : state) {
        CXError clErreur;
        if (!cl.bDecodeFichier(d.sSortie.c_str(), d.sTexteFichier.c_str(), &clErreur)) state.SkipWithError("decode failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTaille));
}
void BM_Decode_Coreutils_File(benchmark::State& state) {
    const STDonnees& d = stDonnees();
    const std::string s = "base64 -d " + d.sDir + "/texte_peer > " + d.sDir + "/sortie_peer";
    for (auto _ : state) nLance(s);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTaille));
}

BENCHMARK(BM_Encode_Ours_Memory)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Encode_Ours_File)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Encode_Coreutils_File)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Decode_Ours_Memory)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Decode_Ours_File)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Decode_Coreutils_File)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::system(("rm -rf " + stDonnees().sDir).c_str());
    return 0;
}
