// fLitLigne through the machine over a large text file, ANSI and UTF-16, beside `wc -l` on the same
// file in the same run: compare the bytes per second. OV_BENCH_MIO sets the size in MiB (100).
#include <benchmark/benchmark.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "host/machine.h"

namespace {

constexpr int kLecture = 0x1, kUnicode = 0x1000, kAnsi = 0x2000;

struct STFichier {
    std::string sChemin;
    size_t nTaille = 0;
};

size_t nTailleVoulue() {
    const char* psz = std::getenv("OV_BENCH_MIO");
    const long n = psz != nullptr ? std::atol(psz) : 100;
    return static_cast<size_t>(n > 0 ? n : 100) << 20;
}

// Lines of 20 to 100 characters with accents, as a program's data files hold them.
// The files are made once per run and removed when it ends.
struct STFichiers {
    STFichier ast[2];
    ~STFichiers() {
        for (const STFichier& st : ast)
            if (!st.sChemin.empty()) std::remove(st.sChemin.c_str());
    }
};

const STFichier& stFichier(bool bUnicode) {
    static STFichiers s;
    STFichier* ast = s.ast;
    STFichier& st = ast[bUnicode ? 1 : 0];
    if (!st.sChemin.empty()) return st;
    const char* pszTmp = std::getenv("TMPDIR");
    st.sChemin = std::string(pszTmp && *pszTmp ? pszTmp : "/tmp") + (bUnicode ? "/ov_bench_u16.txt" : "/ov_bench_ansi.txt");
    std::ofstream f(st.sChemin, std::ios::binary);
    if (bUnicode) f.write("\xff\xfe", 2);
    const size_t nVoulue = nTailleVoulue();
    size_t nLigne = 0;
    std::string sLigne;
    while (st.nTaille < nVoulue) {
        sLigne.assign("ligne ");
        sLigne += std::to_string(nLigne++);
        sLigne.append(20 + nLigne % 80, 'e');
        sLigne[sLigne.size() - 1] = '\xe9';  // é in code page 1252, widened below for UTF-16
        sLigne += "\r\n";
        if (bUnicode) {
            std::string s16;
            for (char c : sLigne) {
                s16.push_back(c);
                s16.push_back(0);
            }
            f.write(s16.data(), static_cast<std::streamsize>(s16.size()));
            st.nTaille += s16.size();
        } else {
            f.write(sLigne.data(), static_cast<std::streamsize>(sLigne.size()));
            st.nTaille += sLigne.size();
        }
    }
    return st;
}

std::string sBibliotheque() {
    const char* psz = std::getenv("OV200STD64");
    return psz != nullptr && *psz ? psz : OV200STD64_PATH;
}

void LitLigne(benchmark::State& state, bool bUnicode) {
    const STFichier& st = stFichier(bUnicode);
    ovhost::CStandInMachine clMachine;
    std::string sErreur;
    if (!clMachine.bLoad(sBibliotheque(), &sErreur)) return state.SkipWithError(sErreur.c_str());
    ovhost::STPreparedCall stLigne;
    if (!clMachine.bPrepare("fLitLigne", {ovhost::CValue::Int(2)}, &stLigne, &sErreur))
        return state.SkipWithError(sErreur.c_str());
    const std::wstring sNom = std::filesystem::path(st.sChemin).wstring();
    for (auto _ : state) {
        std::vector<ovhost::CValue> tab = {ovhost::CValue::Text(sNom), ovhost::CValue::Int(kLecture | (bUnicode ? kUnicode : kAnsi))};
        ovhost::STCallOutcome stOuvre;
        clMachine.bCall("fOuvre", tab, &stOuvre, &sErreur);
        int nHandle = static_cast<int>(stOuvre.clResult.nInteger);
        void* apArguments[1] = {&nHandle};
        size_t nLignes = 0;
        ovhost::CValue clLigne;
        for (;;) {
            clMachine.bCallPrepared(stLigne, apArguments, &clLigne);
            if (clLigne.sText.size() == 1 && clLigne.sText[0] == L'\x04') break;
            ++nLignes;
        }
        benchmark::DoNotOptimize(nLignes);
        std::vector<ovhost::CValue> tabFerme = {ovhost::CValue::Int(nHandle)};
        clMachine.bCall("fFerme", tabFerme, &stOuvre, &sErreur);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(st.nTaille));
}

// The peer: the system's line counter over the same bytes, by fork and exec with no shell.
void WcL(benchmark::State& state, bool bUnicode) {
    const STFichier& st = stFichier(bUnicode);
    for (auto _ : state) {
        const pid_t nPid = fork();
        if (nPid == 0) {
            if (std::freopen("/dev/null", "w", stdout) == nullptr) _exit(127);
            execlp("wc", "wc", "-l", st.sChemin.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        int nStatut = 0;
        waitpid(nPid, &nStatut, 0);
        if (!WIFEXITED(nStatut) || WEXITSTATUS(nStatut) != 0) return state.SkipWithError("wc -l failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(st.nTaille));
}

BENCHMARK_CAPTURE(LitLigne, ansi, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(WcL, ansi, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(LitLigne, utf16, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(WcL, utf16, true)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
