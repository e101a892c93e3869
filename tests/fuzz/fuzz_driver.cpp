// A small bounded fuzzer for the decoders of outside input. Each target defines
// LLVMFuzzerTestOneInput, so the same target also builds under libFuzzer where clang is at hand.
// This driver needs no special compiler: it mutates a seed corpus at random
// for a fixed time, under the sanitizers of the build, and stops by itself.
//
//   <target> [seconds] [seed files...]
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyData, size_t nTaille);

namespace {

std::vector<uint8_t> Mutate(const std::vector<uint8_t>& tabSource, std::mt19937_64& rng) {
    std::vector<uint8_t> tab = tabSource;
    int nMutations = 1 + static_cast<int>(rng() % 8);
    for (int i = 0; i < nMutations; ++i) {
        switch (rng() % 6) {
        case 0:  // flip a bit
            if (!tab.empty()) tab[rng() % tab.size()] ^= static_cast<uint8_t>(1u << (rng() % 8));
            break;
        case 1:  // set a byte to an edge value
            if (!tab.empty()) {
                static const uint8_t tabBords[] = {0, 1, 0x7f, 0x80, 0xff, '%', '!', '\\', '\n', '"'};
                tab[rng() % tab.size()] = tabBords[rng() % sizeof tabBords];
            }
            break;
        case 2:  // insert random bytes
            for (size_t n = rng() % 16, p = tab.empty() ? 0 : rng() % (tab.size() + 1); n > 0; --n)
                tab.insert(tab.begin() + static_cast<std::ptrdiff_t>(p), static_cast<uint8_t>(rng()));
            break;
        case 3:  // erase a range
            if (!tab.empty()) {
                size_t p = rng() % tab.size();
                size_t n = 1 + rng() % (tab.size() - p);
                tab.erase(tab.begin() + static_cast<std::ptrdiff_t>(p), tab.begin() + static_cast<std::ptrdiff_t>(p + n));
            }
            break;
        case 4:  // duplicate a range
            if (!tab.empty() && tab.size() < 1 << 16) {
                size_t p = rng() % tab.size();
                size_t n = 1 + rng() % (tab.size() - p);
                std::vector<uint8_t> tabCopie(tab.begin() + static_cast<std::ptrdiff_t>(p),
                                              tab.begin() + static_cast<std::ptrdiff_t>(p + n));
                tab.insert(tab.begin() + static_cast<std::ptrdiff_t>(rng() % (tab.size() + 1)), tabCopie.begin(),
                           tabCopie.end());
            }
            break;
        default:  // truncate
            if (!tab.empty()) tab.resize(rng() % tab.size());
            break;
        }
    }
    return tab;
}

}  // namespace

int main(int argc, char** argv) {
    double dSecondes = argc > 1 ? std::atof(argv[1]) : 10.0;
    std::vector<std::vector<uint8_t>> tabCorpus;
    for (int i = 2; i < argc; ++i) {
        std::ifstream in(argv[i], std::ios::binary);
        tabCorpus.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    if (tabCorpus.empty()) tabCorpus.emplace_back();
    std::mt19937_64 rng(20261121);
    auto fin = std::chrono::steady_clock::now() + std::chrono::duration<double>(dSecondes);
    long nEssais = 0;
    for (const auto& tab : tabCorpus) LLVMFuzzerTestOneInput(tab.data(), tab.size());
    while (std::chrono::steady_clock::now() < fin) {
        for (int i = 0; i < 256; ++i, ++nEssais) {
            std::vector<uint8_t>& tabBase = tabCorpus[rng() % tabCorpus.size()];
            std::vector<uint8_t> tab = Mutate(tabBase, rng);
            LLVMFuzzerTestOneInput(tab.data(), tab.size());
            // Keep some mutants as new seeds so that inputs drift away from the corpus.
            if (rng() % 64 == 0 && tabCorpus.size() < 4096) tabCorpus.push_back(std::move(tab));
        }
    }
    std::printf("%ld inputs in %.0f s, no fault\n", nEssais, dSecondes);
    return 0;
}
