// Round trips of 64 bytes between two processes: through a zone (its lock taken for each write
// and each read), beside the same trip over a raw segment with memcpy. Both sides hand the turn
// over with the same pair of semaphores, so the ratio is the zone's own cost.
#include <benchmark/benchmark.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "base/unicode.h"
#include "memory/shared_memory.h"

namespace {

constexpr int kOctets = 64;

// The two turns: 0 ping (to the peer), 1 pong (back).
struct CTours {
    CTours() { m_nId = semget(IPC_PRIVATE, 2, 0600); }
    ~CTours() { semctl(m_nId, 0, IPC_RMID); }
    void Donne(unsigned short n) const {
        struct sembuf st = {n, 1, 0};
        semop(m_nId, &st, 1);
    }
    void Prend(unsigned short n) const {
        struct sembuf st = {n, -1, 0};
        semop(m_nId, &st, 1);
    }
    int m_nId;
};

std::wstring sNomZone() {
    static const std::string s_sFichier = [] {
        std::string s = (std::filesystem::temp_directory_path() / ("ov_bench_zone_" + std::to_string(getpid()))).string();
        std::ofstream(s).put('x');
        return s;
    }();
    wchar_t* psz = UTF8ToWide(s_sFichier.c_str());
    std::wstring sNom = std::wstring(L"B") + (psz != nullptr ? psz : L"");
    std::free(psz);
    return sNom;
}

template <class FAller, class FRetour>
void AllerRetour(benchmark::State& state, const CTours& clTours, FAller fnPeer, FRetour fnMoi) {
    const int64_t nTours = state.max_iterations;
    const pid_t nPid = fork();
    if (nPid == 0) {
        for (int64_t i = 0; i < nTours; ++i) {
            clTours.Prend(0);
            fnPeer();
            clTours.Donne(1);
        }
        _exit(0);
    }
    for (auto _ : state) {
        fnMoi(true);
        clTours.Donne(0);
        clTours.Prend(1);
        fnMoi(false);
    }
    waitpid(nPid, nullptr, 0);
}

void BM_Zone64(benchmark::State& state) {
    const std::wstring sNom = sNomZone();
    CFileSharedMemory clZone;
    if (!clZone.bOpenCreateMemory(sNom.c_str(), OVSMA_LECTUREECRITURE, 4096, 2) || !clZone.bAttach(OVSMA_LECTUREECRITURE))
        return state.SkipWithError("zone");
    CTours clTours;
    char szMoi[kOctets], szPeer[kOctets];
    std::memset(szMoi, 'a', kOctets);
    AllerRetour(
        state, clTours,
        [&] {
            // The peer inherits the mapping, the lock and the position of the zone object.
            unsigned int n;
            clZone.bSeek(0, eSEEK_DEBUT);
            clZone.bRead(szPeer, kOctets, &n);
            clZone.bSeek(kOctets, eSEEK_DEBUT);
            clZone.bWrite(szPeer, kOctets, &n);
        },
        [&](bool bAller) {
            unsigned int n;
            if (bAller) {
                clZone.bSeek(0, eSEEK_DEBUT);
                clZone.bWrite(szMoi, kOctets, &n);
            } else {
                clZone.bSeek(kOctets, eSEEK_DEBUT);
                clZone.bRead(szMoi, kOctets, &n);
                benchmark::DoNotOptimize(szMoi);
            }
        });
    state.SetItemsProcessed(state.iterations());
}

void BM_SegmentBrut64(benchmark::State& state) {
    const int nId = shmget(IPC_PRIVATE, 4096, 0600);
    auto* pby = static_cast<char*>(shmat(nId, nullptr, 0));
    shmctl(nId, IPC_RMID, nullptr);
    CTours clTours;
    char szMoi[kOctets], szPeer[kOctets];
    std::memset(szMoi, 'a', kOctets);
    AllerRetour(
        state, clTours,
        [&] {
            std::memcpy(szPeer, pby, kOctets);
            std::memcpy(pby + kOctets, szPeer, kOctets);
        },
        [&](bool bAller) {
            if (bAller) {
                std::memcpy(pby, szMoi, kOctets);
            } else {
                std::memcpy(szMoi, pby + kOctets, kOctets);
                benchmark::DoNotOptimize(szMoi);
            }
        });
    shmdt(pby);
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(BM_Zone64)->Iterations(100000)->UseRealTime();
BENCHMARK(BM_SegmentBrut64)->Iterations(100000)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::error_code ec;
    std::wstring sNom = sNomZone();
    std::filesystem::remove(std::filesystem::path(std::string(sNom.begin() + 1, sNom.end())), ec);
    return 0;
}
