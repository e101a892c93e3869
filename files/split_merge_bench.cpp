// fCherche over a 1 GiB file with the only hit in its last bytes, through the machine as a program
// calls it, beside grep -obaF -m1 looking for the same bytes in the same file in the same run. The
// file (text-like lines, or a third of the free space of $TMPDIR when that is less) is made once
// per run and removed at exit; both read it from the page cache. Two needles: one with bytes the
// text never holds (accents, digits), one of plain lowercase words, whose every byte is common.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "host/machine.h"
#include "host/utf8.h"

extern char** environ;

namespace {

// The file ends with both needles; the filler holds neither.
const std::string gsAiguilleRare = "fin-du-fichier \xc3\xa9t\xc3\xa9 2024";
const std::string gsAiguilleCommune = "zygomatique ornithorynque";
const std::string gsFin = gsAiguilleCommune + gsAiguilleRare;

const std::string& sAiguille(const benchmark::State& state) {
    return state.range(0) == 0 ? gsAiguilleRare : gsAiguilleCommune;
}

class CFichier {
public:
    CFichier() {
        const char* pszTmp = std::getenv("TMPDIR");
        std::string sModele = std::string(pszTmp != nullptr && pszTmp[0] != '\0' ? pszTmp : "/tmp") + "/search_bench.XXXXXX";
        if (mkdtemp(sModele.data()) == nullptr) return;
        m_sRepertoire = sModele;
        int64_t nTaille = int64_t{1} << 30;
        struct statvfs st {};
        if (statvfs(m_sRepertoire.c_str(), &st) == 0) {
            const int64_t nLibre = static_cast<int64_t>(st.f_bavail) * static_cast<int64_t>(st.f_frsize);
            if (nLibre / 3 < nTaille) nTaille = nLibre / 3 / (1 << 20) * (1 << 20);
        }
        if (nTaille <= static_cast<int64_t>(gsFin.size())) return;
        // Lines of lowercase words: a search meets every letter pair, as in a log or a text.
        std::string sBloc(1 << 20, ' ');
        std::mt19937 gen(2024);
        for (size_t i = 0; i < sBloc.size(); ++i) {
            const unsigned n = gen() % 32;
            sBloc[i] = i % 80 == 79 ? '\n' : n < 26 ? static_cast<char>('a' + n) : ' ';
        }
        const int nFd = open(sChemin().c_str(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC, 0644);
        if (nFd < 0) return;
        bool bOk = true;
        const int64_t nRemplissage = nTaille - static_cast<int64_t>(gsFin.size());
        for (int64_t n = 0; n < nRemplissage && bOk;) {
            const size_t nBloc = static_cast<size_t>(std::min<int64_t>(static_cast<int64_t>(sBloc.size()), nRemplissage - n));
            bOk = write(nFd, sBloc.data(), nBloc) == static_cast<ssize_t>(nBloc);
            n += static_cast<int64_t>(nBloc);
        }
        bOk = bOk && write(nFd, gsFin.data(), gsFin.size()) == static_cast<ssize_t>(gsFin.size());
        bOk = close(nFd) == 0 && bOk;
        m_nTaille = nTaille;
        m_bPret = bOk;
    }
    ~CFichier() {
        std::error_code ec;
        if (!m_sRepertoire.empty()) std::filesystem::remove_all(m_sRepertoire, ec);
    }
    bool bPret() const { return m_bPret; }
    int64_t nTaille() const { return m_nTaille; }
    int64_t oAttendu(const std::string& sAiguille) const {
        return m_nTaille - static_cast<int64_t>(gsFin.size() - gsFin.rfind(sAiguille));
    }
    std::string sChemin() const { return m_sRepertoire + "/texte d\xc3\xa9j\xc3\xa0 lu.txt"; }

private:
    std::string m_sRepertoire;
    int64_t m_nTaille = 0;
    bool m_bPret = false;
};

CFichier& clFichier() {
    static CFichier s_cl;
    return s_cl;
}

void BM_ChercheParLaMachine(benchmark::State& state) {
    if (!clFichier().bPret()) {
        state.SkipWithError("no room for the file");
        return;
    }
    ovhost::CStandInMachine clMachine;
    std::string sErreur;
    if (!clMachine.bLoad(ovhost::CStandInMachine::s_sDefaultLibraryPath(), &sErreur)) {
        state.SkipWithError(sErreur.c_str());
        return;
    }
    std::vector<ovhost::CValue> tabOuvre{ovhost::CValue::Text(ovhost::sWideFromBytes(clFichier().sChemin())),
                                         ovhost::CValue::Int(1)};
    ovhost::STCallOutcome st;
    if (!clMachine.bCall("fOuvre", tabOuvre, &st, &sErreur) || st.clResult.nInteger < 0) {
        state.SkipWithError("fOuvre failed");
        return;
    }
    const ovhost::CValue clHandle = st.clResult;
    for (auto _ : state) {
        std::vector<ovhost::CValue> tab{clHandle, ovhost::CValue::Buffer(sAiguille(state)), ovhost::CValue::Int64(0)};
        if (!clMachine.bCall("fCherche", tab, &st, &sErreur) || st.clResult.nInteger != clFichier().oAttendu(sAiguille(state))) {
            state.SkipWithError("fCherche missed the needle");
            break;
        }
    }
    std::vector<ovhost::CValue> tabFerme{clHandle};
    clMachine.bCall("fFerme", tabFerme, &st, &sErreur);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * clFichier().nTaille());
}

// The peer: grep(1) stopping at the first hit and printing its offset, run with an argument
// vector, its output thrown away.
void BM_ChercheGrep(benchmark::State& state) {
    if (!clFichier().bPret()) {
        state.SkipWithError("no room for the file");
        return;
    }
    const std::string sChemin = clFichier().sChemin();
    std::vector<char*> tabArgv = {const_cast<char*>("grep"), const_cast<char*>("-obaF"), const_cast<char*>("-m1"),
                                  const_cast<char*>(sAiguille(state).c_str()), const_cast<char*>(sChemin.c_str()), nullptr};
    posix_spawn_file_actions_t stActions;
    posix_spawn_file_actions_init(&stActions);
    posix_spawn_file_actions_addopen(&stActions, 1, "/dev/null", O_WRONLY, 0);
    for (auto _ : state) {
        pid_t nPid = 0;
        int nStatut = 0;
        if (posix_spawnp(&nPid, "grep", &stActions, nullptr, tabArgv.data(), environ) != 0 ||
            waitpid(nPid, &nStatut, 0) != nPid || !WIFEXITED(nStatut) || WEXITSTATUS(nStatut) != 0) {
            state.SkipWithError("grep failed or found nothing");
            break;
        }
    }
    posix_spawn_file_actions_destroy(&stActions);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * clFichier().nTaille());
}

// Each twice, alternated, so that a warm-up or a noisy moment shows as a gap between one side's rows.
// Argument 0: the needle of rare bytes; 1: the needle of common ones.
void Cas(benchmark::internal::Benchmark* pcl) {
    pcl->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
}
BENCHMARK(BM_ChercheParLaMachine)->Apply(Cas);
BENCHMARK(BM_ChercheGrep)->Apply(Cas);
BENCHMARK(BM_ChercheParLaMachine)->Apply(Cas);
BENCHMARK(BM_ChercheGrep)->Apply(Cas);

}  // namespace

BENCHMARK_MAIN();
