// Whole-file copy: fCopieFichier through the machine as a program calls it, and the toolkit's
// CDiskFile::bCopy beneath it, beside cp(1) copying the same file in the same run. The file is
// 1 GiB, or a third of the free space of $TMPDIR when that is less; it is made once per run.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "files/disk_file.h"
#include "host/machine.h"
#include "host/utf8.h"

namespace {

class CSource {
public:
    CSource() {
        const char* pszTmp = std::getenv("TMPDIR");
        std::string sModele = std::string(pszTmp != nullptr && pszTmp[0] != '\0' ? pszTmp : "/tmp") + "/copy_bench.XXXXXX";
        if (mkdtemp(sModele.data()) == nullptr) return;
        m_sRepertoire = sModele;
        struct statvfs st {};
        int64_t nTaille = int64_t{1} << 30;
        if (statvfs(m_sRepertoire.c_str(), &st) == 0) {
            const int64_t nLibre = static_cast<int64_t>(st.f_bavail) * static_cast<int64_t>(st.f_frsize);
            if (nLibre / 3 < nTaille) nTaille = nLibre / 3 / (1 << 20) * (1 << 20);
        }
        if (nTaille <= 0) return;
        const int nFd = open(sSource().c_str(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC, 0644);
        if (nFd < 0) return;
        std::string sBloc(1 << 20, '\0');
        for (size_t i = 0; i < sBloc.size(); ++i) sBloc[i] = static_cast<char>(i * 131 + i / 4096);
        bool bOk = true;
        for (int64_t n = 0; n < nTaille && bOk; n += static_cast<int64_t>(sBloc.size()))
            bOk = write(nFd, sBloc.data(), sBloc.size()) == static_cast<ssize_t>(sBloc.size());
        // On disk before any timing, so that the first case does not pay for the write-back.
        bOk = bOk && fsync(nFd) == 0;
        close(nFd);
        m_nTaille = nTaille;
        m_bPret = bOk;
    }
    ~CSource() {
        std::error_code ec;
        if (!m_sRepertoire.empty()) std::filesystem::remove_all(m_sRepertoire, ec);
    }
    bool bPret() const { return m_bPret; }
    int64_t nTaille() const { return m_nTaille; }
    std::string sSource() const { return m_sRepertoire + "/source d\xc3\xa9j\xc3\xa0.bin"; }
    std::string sCible() const { return m_sRepertoire + "/cible.bin"; }

private:
    std::string m_sRepertoire;
    int64_t m_nTaille = 0;
    bool m_bPret = false;
};

CSource& clSource() {
    static CSource s_cl;
    return s_cl;
}

void Prepare(benchmark::State& state) {
    if (!clSource().bPret()) state.SkipWithError("no room for the source file");
    unlink(clSource().sCible().c_str());
}

void Termine(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * clSource().nTaille());
    unlink(clSource().sCible().c_str());
}

void BM_CopieFichierParLaMachine(benchmark::State& state) {
    Prepare(state);
    ovhost::CStandInMachine clMachine;
    std::string sErreur;
    if (!clMachine.bLoad(ovhost::CStandInMachine::s_sDefaultLibraryPath(), &sErreur)) {
        state.SkipWithError(sErreur.c_str());
        return;
    }
    const std::wstring sSource = ovhost::sWideFromBytes(clSource().sSource());
    const std::wstring sCible = ovhost::sWideFromBytes(clSource().sCible());
    for (auto _ : state) {
        std::vector<ovhost::CValue> tab{ovhost::CValue::Text(sSource), ovhost::CValue::Text(sCible)};
        ovhost::STCallOutcome st;
        if (!clMachine.bCall("fCopieFichier", tab, &st, &sErreur) || st.clResult.nInteger != 1) {
            state.SkipWithError("fCopieFichier failed");
            break;
        }
        state.PauseTiming();
        unlink(clSource().sCible().c_str());
        state.ResumeTiming();
    }
    Termine(state);
}

void BM_CopieBCopy(benchmark::State& state) {
    Prepare(state);
    const std::wstring sSource = ovhost::sWideFromBytes(clSource().sSource());
    const std::wstring sCible = ovhost::sWideFromBytes(clSource().sCible());
    for (auto _ : state) {
        if (!CDiskFile::bCopy(sCible.c_str(), sSource.c_str(), nullptr)) {
            state.SkipWithError("bCopy failed");
            break;
        }
        state.PauseTiming();
        unlink(clSource().sCible().c_str());
        state.ResumeTiming();
    }
    Termine(state);
}

// The peer: cp(1) run with an argument vector, as a user would copy the file.
void BM_CopieCp(benchmark::State& state) {
    Prepare(state);
    const std::string sSource = clSource().sSource(), sCible = clSource().sCible();
    for (auto _ : state) {
        const pid_t nPid = fork();
        if (nPid == 0) {
            execlp("cp", "cp", "-f", sSource.c_str(), sCible.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        int nStatut = 0;
        if (nPid < 0 || waitpid(nPid, &nStatut, 0) != nPid || !WIFEXITED(nStatut) || WEXITSTATUS(nStatut) != 0) {
            state.SkipWithError("cp failed");
            break;
        }
        state.PauseTiming();
        unlink(sCible.c_str());
        state.ResumeTiming();
    }
    Termine(state);
}

BENCHMARK(BM_CopieFichierParLaMachine)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
BENCHMARK(BM_CopieBCopy)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
BENCHMARK(BM_CopieCp)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

}  // namespace

BENCHMARK_MAIN();
