// fListeFichier over a tree of 100,000 files, through the machine as a program calls it, beside
// find(1) listing the same tree into a pipe. The tree is made once per run and removed at exit.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "host/machine.h"
#include "host/utf8.h"

namespace {

constexpr int kRepertoires = 100;
constexpr int kFichiersParRepertoire = 1000;

class CArbre {
public:
    CArbre() {
        const char* pszTmp = std::getenv("TMPDIR");
        std::string sModele = std::string(pszTmp != nullptr && pszTmp[0] != '\0' ? pszTmp : "/tmp") + "/listing_bench.XXXXXX";
        if (mkdtemp(sModele.data()) == nullptr) return;
        m_sRacine = sModele;
        for (int nRep = 0; nRep < kRepertoires; ++nRep) {
            const std::string sRep = m_sRacine + "/r\xc3\xa9pertoire " + std::to_string(nRep);
            if (mkdir(sRep.c_str(), 0755) != 0) return;
            for (int n = 0; n < kFichiersParRepertoire; ++n) {
                const int nFd = open((sRep + "/fichier_" + std::to_string(n) + ".txt").c_str(),
                                     O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
                if (nFd < 0) return;
                close(nFd);
            }
        }
        m_bPret = true;
    }
    ~CArbre() {
        std::error_code ec;
        if (!m_sRacine.empty()) std::filesystem::remove_all(m_sRacine, ec);
    }
    bool bPret() const { return m_bPret; }
    const std::string& sRacine() const { return m_sRacine; }

private:
    std::string m_sRacine;
    bool m_bPret = false;
};

CArbre& Arbre() {
    static CArbre s_cl;
    return s_cl;
}

ovhost::CStandInMachine& Machine() {
    static ovhost::CStandInMachine s_cl;
    return s_cl;
}

void BM_fListeFichier(benchmark::State& state) {
    std::string sErreur;
    if (!Arbre().bPret()) return state.SkipWithError("the tree could not be made");
    if (!Machine().bLoaded() && !Machine().bLoad(ovhost::CStandInMachine::s_sDefaultLibraryPath(), &sErreur))
        return state.SkipWithError(sErreur.c_str());
    const std::wstring sMotif = ovhost::sWideFromBytes(Arbre().sRacine());
    size_t nCaracteres = 0;
    for (auto _ : state) {
        std::vector<ovhost::CValue> tab{ovhost::CValue::Text(sMotif + L"/*.*"), ovhost::CValue::Int(0)};
        ovhost::STCallOutcome st;
        if (!Machine().bCall("fListeFichier", tab, &st, &sErreur)) return state.SkipWithError(sErreur.c_str());
        nCaracteres = st.clResult.sText.size();
        benchmark::DoNotOptimize(nCaracteres);
    }
    state.counters["files"] = kRepertoires * kFichiersParRepertoire;
}
BENCHMARK(BM_fListeFichier)->Unit(benchmark::kMillisecond);

// The peer: find DIR ! -type d, its output read whole from a pipe, as a caller would take it.
void BM_find(benchmark::State& state) {
    if (!Arbre().bPret()) return state.SkipWithError("the tree could not be made");
    std::string sSortie;
    for (auto _ : state) {
        int anTube[2];
        if (pipe(anTube) != 0) return state.SkipWithError("pipe");
        const pid_t nPid = fork();
        if (nPid == 0) {
            dup2(anTube[1], 1);
            close(anTube[0]);
            close(anTube[1]);
            execl("/usr/bin/find", "find", Arbre().sRacine().c_str(), "!", "-type", "d", static_cast<char*>(nullptr));
            _exit(127);
        }
        close(anTube[1]);
        sSortie.clear();
        char sz[65536];
        for (ssize_t n; (n = read(anTube[0], sz, sizeof sz)) > 0;) sSortie.append(sz, static_cast<size_t>(n));
        close(anTube[0]);
        int nStatut = 0;
        waitpid(nPid, &nStatut, 0);
        benchmark::DoNotOptimize(sSortie.data());
    }
}
BENCHMARK(BM_find)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
