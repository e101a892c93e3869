// Unpacking a message of the block beside decoding the same text stored plain in UTF-8: the price
// of the packed block on every error raised.
#include <benchmark/benchmark.h>

#include <string>

#include "base/data_compressor.h"
#include "base/internal/test_resource_block.h"
#include "base/internal/utf.h"
#include "base/module_info.h"

namespace {

const std::string gsTexte = "Le fichier n°%d « %s » n'est pas ouvert : aucun fichier ne porte ce numéro.";

void BM_Message_DecompresseC40(benchmark::State& state) {
    const std::string sPaquet = base_internal::sCompresse(gsTexte);
    const STRessourceModule stRessource{1000, reinterpret_cast<const uint8_t*>(sPaquet.data()),
                                        static_cast<uint32_t>(sPaquet.size()), RESSOURCE_FORMAT_UTF8, 0};
    wchar_t szTexte[256];
    for (auto _ : state) {
        int nLongueur = 256;
        benchmark::DoNotOptimize(CDataCompressor::s_nDeCompress(szTexte, &nLongueur, stRessource));
        benchmark::DoNotOptimize(szTexte);
    }
    state.counters["octets"] = static_cast<double>(sPaquet.size());
}
BENCHMARK(BM_Message_DecompresseC40);

void BM_Message_DecodeUtf8Brut(benchmark::State& state) {
    wchar_t szTexte[256];
    for (auto _ : state) {
        benchmark::DoNotOptimize(base_internal::nUtf8VersWide(gsTexte.data(), gsTexte.size(), szTexte, 255));
        benchmark::DoNotOptimize(szTexte);
    }
    state.counters["octets"] = static_cast<double>(gsTexte.size());
}
BENCHMARK(BM_Message_DecodeUtf8Brut);

}  // namespace
