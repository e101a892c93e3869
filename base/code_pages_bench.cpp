// The library's conversions beside glibc's iconv on the same 100 MB of French text (accents every
// few words, a character outside the BMP now and then): UTF-8 to wide and back, 1252 to wide.
// OV_BENCH_MO sets another size in megabytes.
#include <benchmark/benchmark.h>
#include <iconv.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "base/code_pages.h"
#include "base/unicode.h"

namespace {

size_t nTailleOctets() {
    const char* pszMo = getenv("OV_BENCH_MO");
    const long nMo = pszMo != nullptr ? strtol(pszMo, nullptr, 10) : 100;
    return static_cast<size_t>(nMo > 0 ? nMo : 100) << 20;
}

const std::wstring& sTexteWide() {
    static const std::wstring s_sTexte = [] {
        const std::wstring sParagraphe =
            L"Où êtes-vous, Hélène ? L'été à Noël, ça coûte 12 € — « déjà-vu ». Le cœur a ses raisons "
            L"que la raison ne connaît point ; voilà pourquoi la forêt était si belle \U0001F600. ";
        std::wstring sTexte;
        const size_t nCible = nTailleOctets();
        while (sTexte.size() < nCible) sTexte += sParagraphe;  // about one byte a character in UTF-8
        return sTexte;
    }();
    return s_sTexte;
}

const std::string& sTexteUtf8() {
    static const std::string s_sTexte = [] {
        const std::wstring& sWide = sTexteWide();
        std::string sUtf8(static_cast<size_t>(nWideToUTF8(sWide.data(), static_cast<int>(sWide.size()), nullptr, 0)),
                          '\0');
        nWideToUTF8(sWide.data(), static_cast<int>(sWide.size()), sUtf8.data(), static_cast<int>(sUtf8.size()));
        return sUtf8;
    }();
    return s_sTexte;
}

const std::string& sTexte1252() {
    static const std::string s_sTexte = [] {
        const std::wstring& sWide = sTexteWide();
        std::string s1252(sWide.size(), '\0');
        WideCharToMultiByte(1252, 0, sWide.data(), static_cast<int>(sWide.size()), s1252.data(),
                            static_cast<int>(s1252.size()));
        return s1252;
    }();
    return s_sTexte;
}

// One whole conversion through iconv into a buffer large enough; answers the bytes written.
size_t nParIconv(iconv_t hIconv, const void* pEntree, size_t nEntree, void* pSortie, size_t nSortie) {
    iconv(hIconv, nullptr, nullptr, nullptr, nullptr);
    char* pLu = static_cast<char*>(const_cast<void*>(pEntree));
    char* pEcrit = static_cast<char*>(pSortie);
    size_t nLibre = nSortie;
    if (iconv(hIconv, &pLu, &nEntree, &pEcrit, &nLibre) == static_cast<size_t>(-1)) abort();
    return nSortie - nLibre;
}

void Utf8VersWide_Bibliotheque(benchmark::State& stEtat) {
    const std::string& sEntree = sTexteUtf8();
    std::vector<wchar_t> tabSortie(sEntree.size());
    for (auto _ : stEtat) {
        const int n = nUTF8ToWide(sEntree.data(), static_cast<int>(sEntree.size()), tabSortie.data(),
                                  static_cast<int>(tabSortie.size()));
        benchmark::DoNotOptimize(n);
    }
    stEtat.SetBytesProcessed(static_cast<int64_t>(stEtat.iterations() * sEntree.size()));
}
BENCHMARK(Utf8VersWide_Bibliotheque)->Unit(benchmark::kMillisecond);

void Utf8VersWide_Iconv(benchmark::State& stEtat) {
    const std::string& sEntree = sTexteUtf8();
    std::vector<wchar_t> tabSortie(sEntree.size());
    iconv_t hIconv = iconv_open("WCHAR_T", "UTF-8");
    for (auto _ : stEtat)
        benchmark::DoNotOptimize(nParIconv(hIconv, sEntree.data(), sEntree.size(), tabSortie.data(),
                                           tabSortie.size() * sizeof(wchar_t)));
    iconv_close(hIconv);
    stEtat.SetBytesProcessed(static_cast<int64_t>(stEtat.iterations() * sEntree.size()));
}
BENCHMARK(Utf8VersWide_Iconv)->Unit(benchmark::kMillisecond);

void WideVersUtf8_Bibliotheque(benchmark::State& stEtat) {
    const std::wstring& sEntree = sTexteWide();
    std::vector<char> tabSortie(sTexteUtf8().size());
    for (auto _ : stEtat) {
        const int n = nWideToUTF8(sEntree.data(), static_cast<int>(sEntree.size()), tabSortie.data(),
                                  static_cast<int>(tabSortie.size()));
        benchmark::DoNotOptimize(n);
    }
    stEtat.SetBytesProcessed(static_cast<int64_t>(stEtat.iterations() * tabSortie.size()));
}
BENCHMARK(WideVersUtf8_Bibliotheque)->Unit(benchmark::kMillisecond);

void WideVersUtf8_Iconv(benchmark::State& stEtat) {
    const std::wstring& sEntree = sTexteWide();
    std::vector<char> tabSortie(sTexteUtf8().size());
    iconv_t hIconv = iconv_open("UTF-8", "WCHAR_T");
    for (auto _ : stEtat)
        benchmark::DoNotOptimize(nParIconv(hIconv, sEntree.data(), sEntree.size() * sizeof(wchar_t), tabSortie.data(),
                                           tabSortie.size()));
    iconv_close(hIconv);
    stEtat.SetBytesProcessed(static_cast<int64_t>(stEtat.iterations() * tabSortie.size()));
}
BENCHMARK(WideVersUtf8_Iconv)->Unit(benchmark::kMillisecond);

void Cp1252VersWide_Bibliotheque(benchmark::State& stEtat) {
    const std::string& sEntree = sTexte1252();
    std::vector<wchar_t> tabSortie(sEntree.size());
    for (auto _ : stEtat) {
        const int n = STR_CP1252ToWideChar(sEntree.data(), static_cast<int>(sEntree.size()), tabSortie.data(),
                                           static_cast<int>(tabSortie.size()));
        benchmark::DoNotOptimize(n);
    }
    stEtat.SetBytesProcessed(static_cast<int64_t>(stEtat.iterations() * sEntree.size()));
}
BENCHMARK(Cp1252VersWide_Bibliotheque)->Unit(benchmark::kMillisecond);

void Cp1252VersWide_Iconv(benchmark::State& stEtat) {
    const std::string& sEntree = sTexte1252();
    std::vector<wchar_t> tabSortie(sEntree.size());
    iconv_t hIconv = iconv_open("WCHAR_T", "CP1252");
    for (auto _ : stEtat)
        benchmark::DoNotOptimize(nParIconv(hIconv, sEntree.data(), sEntree.size(), tabSortie.data(),
                                           tabSortie.size() * sizeof(wchar_t)));
    iconv_close(hIconv);
    stEtat.SetBytesProcessed(static_cast<int64_t>(stEtat.iterations() * sEntree.size()));
}
BENCHMARK(Cp1252VersWide_Iconv)->Unit(benchmark::kMillisecond);

// The system-call emulation on the same text: the 1252 direct path behind MultiByteToWideChar.
void MultiByteToWideChar1252_Bibliotheque(benchmark::State& stEtat) {
    const std::string& sEntree = sTexte1252();
    std::vector<wchar_t> tabSortie(sEntree.size());
    for (auto _ : stEtat) {
        const int n = MultiByteToWideChar(1252, 0, sEntree.data(), static_cast<int>(sEntree.size()), tabSortie.data(),
                                          static_cast<int>(tabSortie.size()));
        benchmark::DoNotOptimize(n);
    }
    stEtat.SetBytesProcessed(static_cast<int64_t>(stEtat.iterations() * sEntree.size()));
}
BENCHMARK(MultiByteToWideChar1252_Bibliotheque)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
