// The library's hash tables beside std::unordered_map: lookups of present keys, for integer keys
// and for short wide names (the use they were made for), and the cost of filling a table.
#include <benchmark/benchmark.h>

#include <cwchar>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/hash_table.h"

namespace {

constexpr int kNbCle = 4096;

uint32_t dwHashEntier(const void* p) { return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(p)); }
int nCmpEntier(const void* p1, const void* p2) { return p1 == p2 ? 0 : 1; }
int nCmpTexte(const void* p1, const void* p2) {
    return wcscmp(static_cast<const wchar_t*>(p1), static_cast<const wchar_t*>(p2));
}

const std::vector<std::wstring>& tabNoms() {
    static const std::vector<std::wstring> s_tab = [] {
        std::vector<std::wstring> tab;
        for (int i = 0; i < kNbCle; ++i) tab.push_back(L"Élément_" + std::to_wstring(i * 7919 % 100000));
        return tab;
    }();
    return s_tab;
}

void BM_Bounce_TrouveEntier(benchmark::State& state) {
    CHashTableBounce clTable(kNbCle, nCmpEntier, dwHashEntier);
    for (uintptr_t i = 1; i <= kNbCle; ++i) clTable.bAddElement(reinterpret_cast<const void*>(i * 2654435761u), nullptr);
    uintptr_t i = 0;
    for (auto _ : state) {
        i = i % kNbCle + 1;
        benchmark::DoNotOptimize(clTable.bGetElement(reinterpret_cast<const void*>(i * 2654435761u)));
    }
}
BENCHMARK(BM_Bounce_TrouveEntier);

void BM_UnorderedMap_TrouveEntier(benchmark::State& state) {
    std::unordered_map<uintptr_t, void*> map;
    for (uintptr_t i = 1; i <= kNbCle; ++i) map.emplace(i * 2654435761u, nullptr);
    uintptr_t i = 0;
    for (auto _ : state) {
        i = i % kNbCle + 1;
        benchmark::DoNotOptimize(map.find(i * 2654435761u));
    }
}
BENCHMARK(BM_UnorderedMap_TrouveEntier);

void BM_Bounce_TrouveNom(benchmark::State& state) {
    CHashTableBounce clTable(kNbCle, nCmpTexte, dwHashValT);
    for (const std::wstring& s : tabNoms()) clTable.bAddElement(s.c_str(), nullptr);
    size_t i = 0;
    for (auto _ : state) {
        i = (i + 1) % kNbCle;
        benchmark::DoNotOptimize(clTable.bGetElement(tabNoms()[i].c_str()));
    }
}
BENCHMARK(BM_Bounce_TrouveNom);

// The same table with a mixing hash: what the sum costs on names that differ only by digits.
uint32_t dwHashFnv(const void* p) {
    uint32_t dw = 2166136261u;
    for (const wchar_t* psz = static_cast<const wchar_t*>(p); *psz; ++psz) dw = (dw ^ static_cast<uint32_t>(*psz)) * 16777619u;
    return dw;
}

void BM_Bounce_TrouveNomHashMelange(benchmark::State& state) {
    CHashTableBounce clTable(kNbCle, nCmpTexte, dwHashFnv);
    for (const std::wstring& s : tabNoms()) clTable.bAddElement(s.c_str(), nullptr);
    size_t i = 0;
    for (auto _ : state) {
        i = (i + 1) % kNbCle;
        benchmark::DoNotOptimize(clTable.bGetElement(tabNoms()[i].c_str()));
    }
}
BENCHMARK(BM_Bounce_TrouveNomHashMelange);

void BM_UnorderedMap_TrouveNom(benchmark::State& state) {
    std::unordered_map<std::wstring, void*> map;
    for (const std::wstring& s : tabNoms()) map.emplace(s, nullptr);
    size_t i = 0;
    for (auto _ : state) {
        i = (i + 1) % kNbCle;
        benchmark::DoNotOptimize(map.find(tabNoms()[i]));
    }
}
BENCHMARK(BM_UnorderedMap_TrouveNom);

class CHashNom : public CHashBase {
public:
    using CHashBase::CHashBase;
    uint32_t dwHash(const void* p) const noexcept override { return dwHashValT(p); }
    bool bEgal(const void* p1, const void* p2) const noexcept override { return nCmpTexte(p1, p2) == 0; }
};

void BM_HashBase_TrouveNom(benchmark::State& state) {
    CHashNom clTable;
    for (const std::wstring& s : tabNoms()) clTable.AjouteDYN(s.c_str(), nullptr);
    size_t i = 0;
    for (auto _ : state) {
        i = (i + 1) % kNbCle;
        benchmark::DoNotOptimize(clTable.bRechercheConst(tabNoms()[i].c_str()));
    }
}
BENCHMARK(BM_HashBase_TrouveNom);

void BM_Bounce_Remplit(benchmark::State& state) {
    for (auto _ : state) {
        CHashTableBounce clTable(0, nCmpEntier, dwHashEntier);
        for (uintptr_t i = 1; i <= kNbCle; ++i) clTable.bAddElement(reinterpret_cast<const void*>(i), nullptr);
        benchmark::DoNotOptimize(clTable.dwGetNumElement());
    }
}
BENCHMARK(BM_Bounce_Remplit);

void BM_UnorderedMap_Remplit(benchmark::State& state) {
    for (auto _ : state) {
        std::unordered_map<uintptr_t, void*> map;
        for (uintptr_t i = 1; i <= kNbCle; ++i) map.emplace(i, nullptr);
        benchmark::DoNotOptimize(map.size());
    }
}
BENCHMARK(BM_UnorderedMap_Remplit);

}  // namespace

BENCHMARK_MAIN();
