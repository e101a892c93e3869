// Reading a file of wide lines: the fast reader and the 80-character reader of the disk file,
// beside the C library's getline on the same bytes.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include "base/tstring.h"
#include "files/disk_file.h"

namespace {

constexpr int kLignes = 20000;

// A temporary file of kLignes wide lines of 60 characters, removed at exit.
const std::string& sFichier() {
    static const std::string s_sChemin = [] {
        std::string sModele = "/tmp/ovstreambenchXXXXXX";
        const int nDescripteur = mkstemp(sModele.data());
        std::wstring wsLigne(58, L'é');
        wsLigne += L"\r\n";
        for (int i = 0; i < kLignes; ++i) {
            if (write(nDescripteur, wsLigne.data(), wsLigne.size() * sizeof(wchar_t)) < 0) std::abort();
        }
        close(nDescripteur);
        static std::string s_sASupprimer = sModele;
        std::atexit([] { unlink(s_sASupprimer.c_str()); });
        return sModele;
    }();
    return s_sChemin;
}

std::wstring wsNom() {
    const std::string& s = sFichier();
    return std::wstring(s.begin(), s.end());
}

void BM_DiskFile_pszReadLine(benchmark::State& stEtat) {
    const std::wstring ws = wsNom();
    wchar_t szTampon[256];
    CTString clDebordement;
    for (auto _ : stEtat) {
        CDiskFile clFichier;
        clFichier.bOpen(ws.c_str(), eACCESS_LECTURE, eSHARE_AUCUN, eCREATE_EXISTANT, eFLAG_FICHIER, nullptr);
        int nLignes = 0;
        while (clFichier.pszReadLine(szTampon, 256, &clDebordement, nullptr) != nullptr) ++nLignes;
        if (nLignes != kLignes) stEtat.SkipWithError("wrong line count");
    }
    stEtat.SetItemsProcessed(stEtat.iterations() * kLignes);
}
BENCHMARK(BM_DiskFile_pszReadLine);

void BM_DiskFile_bReadLine(benchmark::State& stEtat) {
    const std::wstring ws = wsNom();
    wchar_t szTampon[256];
    for (auto _ : stEtat) {
        CDiskFile clFichier;
        clFichier.bOpen(ws.c_str(), eACCESS_LECTURE, eSHARE_AUCUN, eCREATE_EXISTANT, eFLAG_FICHIER, nullptr);
        int nLignes = 0;
        while (clFichier.bReadLine(szTampon, 256, nullptr, 0)) ++nLignes;
        if (nLignes != kLignes) stEtat.SkipWithError("wrong line count");
    }
    stEtat.SetItemsProcessed(stEtat.iterations() * kLignes);
}
BENCHMARK(BM_DiskFile_bReadLine);

// The peer: stdio's buffered getline, splitting at the LF byte of each wide LF.
void BM_Libc_getline(benchmark::State& stEtat) {
    char* pszLigne = nullptr;
    size_t nTaille = 0;
    for (auto _ : stEtat) {
        FILE* pFichier = fopen(sFichier().c_str(), "rb");
        int nLignes = 0;
        while (getline(&pszLigne, &nTaille, pFichier) > 0) ++nLignes;
        fclose(pFichier);
        benchmark::DoNotOptimize(nLignes);
    }
    free(pszLigne);
    stEtat.SetItemsProcessed(stEtat.iterations() * kLignes);
}
BENCHMARK(BM_Libc_getline);

}  // namespace

BENCHMARK_MAIN();
