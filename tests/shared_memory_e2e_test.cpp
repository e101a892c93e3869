// Shared memory zones through the stand-in machine, with a second real process (the peer program):
// both register and notify each other, the registration block is as every process reads it, a
// peer killed while it holds the zone's lock leaves the survivor free, and nothing stays in the
// system afterwards. Bad input gives the numbered errors without hanging.
#include <gtest/gtest.h>

#include <poll.h>
#include <signal.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/utf8.h"
#include "host/vm.h"
#include "memory/shared_memory.h"
#include "tests/child_process.h"
#include "tests/machine_fixture.h"

namespace ovhost {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr int kLectureEcriture = 0x2, kUnicode = 0x1000;
const std::wstring kTexte = L"Noël à l’école \U0001F600";

// The peer, driven line by line; every answer is awaited for at most 10 s, and the peer is killed
// and reaped whatever happens to the test.
class CPair {
public:
    bool bLance() {
        int anEntree[2], anSortie[2];
        if (pipe(anEntree) != 0) return false;
        if (pipe(anSortie) != 0) return false;
        m_nPid = fork();
        if (m_nPid == 0) {
            dup2(anEntree[0], 0);
            dup2(anSortie[1], 1);
            close(anEntree[1]);
            close(anSortie[0]);
            execl(PEER_PATH, PEER_PATH, static_cast<char*>(nullptr));
            _exit(127);
        }
        close(anEntree[0]);
        close(anSortie[1]);
        m_nEcriture = anEntree[1];
        m_nLecture = anSortie[0];
        return m_nPid > 0;
    }
    std::string sDemande(const std::string& sCommande) {
        const std::string s = sCommande + "\n";
        if (write(m_nEcriture, s.data(), s.size()) != static_cast<ssize_t>(s.size())) return "<write>";
        std::string sLigne;
        const auto nFin = std::chrono::steady_clock::now() + 10s;
        for (;;) {
            const auto nReste = std::chrono::duration_cast<std::chrono::milliseconds>(nFin - std::chrono::steady_clock::now());
            struct pollfd st = {m_nLecture, POLLIN, 0};
            if (nReste.count() <= 0 || poll(&st, 1, static_cast<int>(nReste.count())) <= 0) return "<time-out>";
            char c;
            if (read(m_nLecture, &c, 1) != 1) return "<eof>";
            if (c == '\n') return sLigne;
            sLigne += c;
        }
    }
    void Tue() {
        if (m_nPid <= 0) return;
        kill(m_nPid, SIGKILL);
        waitpid(m_nPid, nullptr, 0);
        m_nPid = -1;
    }
    pid_t nPid() const { return m_nPid; }
    ~CPair() {
        Tue();
        if (m_nEcriture >= 0) close(m_nEcriture);
        if (m_nLecture >= 0) close(m_nLecture);
    }

private:
    ovtest::CSigchldRetenu m_clRetenu;  // the library's handler must not reap our peer
    pid_t m_nPid = -1;
    int m_nEcriture = -1, m_nLecture = -1;
};

class CNotifications final : public IProcedureHost {
public:
    int nTrouveProcedure(std::wstring_view s) override { return s == L"Notifie" ? 2 : -1; }
    bool bExecuteProcedure(std::wstring_view, const std::vector<CValue>& tab, CValue* pclRetour, std::string*) override {
        std::lock_guard<std::mutex> cl(m_mx);
        m_tabAppels.push_back(tab);
        if (pclRetour != nullptr) *pclRetour = CValue::Null();
        return true;
    }
    std::vector<std::vector<CValue>> tabAppels() {
        std::lock_guard<std::mutex> cl(m_mx);
        return m_tabAppels;
    }

private:
    std::mutex m_mx;
    std::vector<std::vector<CValue>> m_tabAppels;
};

template <class F>
bool bAttendQue(F fn, std::chrono::milliseconds nDelai = 5s) {
    const auto nFin = std::chrono::steady_clock::now() + nDelai;
    while (!fn()) {
        if (std::chrono::steady_clock::now() > nFin) return false;
        std::this_thread::sleep_for(10ms);
    }
    return true;
}

bool bSemaphoreExiste(key_t nCle) { return semget(nCle, 0, 0) >= 0; }
bool bSegmentExiste(key_t nCle) { return shmget(nCle, 0, 0) >= 0; }

key_t nCleSemaphore(key_t nCleZone, wchar_t cType, pid_t nPid) {
    wchar_t sz[64];
    if (cType == L'R')
        COVSharedMemory::s_NomReveil(nPid, sz, 64);
    else
        COVSharedMemory::s_NomSemaphore(nCleZone, cType, nPid, sz, 64);
    return COVSemProccess::s_nCleDuNom(sz);
}

class SharedMemoryEndToEnd : public MachineEndToEnd {
protected:
    void SetUp() override {
        MachineEndToEnd::SetUp();
        std::string sModele = (fs::temp_directory_path() / "ov_zone_XXXXXX").string();
        ASSERT_NE(mkdtemp(sModele.data()), nullptr);
        m_sRep = sModele;
        const std::string sFichier = m_sRep + "/zone_été.txt";
        std::ofstream(sFichier).put('x');
        m_sNom = L"Z" + sWideFromBytes(sFichier);
        m_nCle = COVSharedMemory::s_nCleDuNom(m_sNom.c_str());
        ASSERT_NE(m_nCle, -1);
        m_cl.SetProcedureHost(&m_clNotifications);
    }
    // Removes whatever a failed test left of the zone, and the directory.
    void TearDown() override {
        m_cl.Unload();
        const key_t nAdmin = COVSharedMemory::s_nCleAdmin(m_nCle);
        for (key_t n : {m_nCle, nAdmin}) {
            const int nId = shmget(n, 0, 0);
            if (nId >= 0) shmctl(nId, IPC_RMID, nullptr);
        }
        std::vector<key_t> tabCles = {m_nCle};
        for (pid_t nPid : {getpid(), m_nPidPair})
            for (wchar_t c : {L'N', L'F', L'R'}) tabCles.push_back(nCleSemaphore(m_nCle, c, nPid));
        for (key_t n : tabCles) {
            const int nId = semget(n, 0, 0);
            if (nId >= 0) semctl(nId, 0, IPC_RMID);
        }
        std::error_code ec;
        fs::remove_all(m_sRep, ec);
    }

    CValue Appel(const char* pszNom, std::vector<CValue> tab, STCallError* pstErreur = nullptr) {
        const STCallOutcome st = stCall(pszNom, std::move(tab));
        if (pstErreur != nullptr) *pstErreur = st.stError;
        return st.clResult;
    }
    int nOuvre(int nOptions, const wchar_t* pszProcedure) {
        std::vector<CValue> tab = {CValue::Text(m_sNom), CValue::Int(4096), CValue::Int(2), CValue::Int(nOptions)};
        if (pszProcedure != nullptr) tab.push_back(CValue::Text(pszProcedure));
        return static_cast<int>(Appel("fMemOuvre", tab).nInteger);
    }

    std::string m_sRep;
    std::wstring m_sNom;
    key_t m_nCle = -1;
    pid_t m_nPidPair = 0;
    CNotifications m_clNotifications;
};

TEST_F(SharedMemoryEndToEnd, TwoProcessesNotifyEachOtherAndOutliveAPeerKilledHoldingTheLock) {
    const int h = nOuvre(kLectureEcriture | kUnicode, L"Notifie");
    ASSERT_GE(h, 2);
    CPair clPair;
    ASSERT_TRUE(clPair.bLance());
    m_nPidPair = clPair.nPid();
    ASSERT_GE(std::stoi(clPair.sDemande("ouvre " + sUtf8(m_sNom) + " 4096 " + std::to_string(kLectureEcriture | kUnicode) +
                                        " Notifie")),
              2);

    // The segments and the block as any process reads them: sizes, private modes, both processes
    // registered in order, the creator first.
    struct shmid_ds st = {};
    ASSERT_EQ(shmctl(shmget(m_nCle, 0, 0), IPC_STAT, &st), 0);
    EXPECT_EQ(st.shm_segsz, 4096u);
    EXPECT_EQ(st.shm_perm.mode & 0777, 0600u);
    const int nAdmin = shmget(COVSharedMemory::s_nCleAdmin(m_nCle), 0, 0);
    ASSERT_GE(nAdmin, 0);
    ASSERT_EQ(shmctl(nAdmin, IPC_STAT, &st), 0);
    EXPECT_EQ(st.shm_segsz, 84u);
    EXPECT_EQ(st.shm_perm.mode & 0777, 0600u);
    const auto* pby = static_cast<const uint8_t*>(shmat(nAdmin, nullptr, SHM_RDONLY));
    ASSERT_NE(pby, reinterpret_cast<const uint8_t*>(-1));
    EXPECT_EQ(pby[0], 1);
    EXPECT_EQ(pby[1], 2);
    const auto* pnPid = reinterpret_cast<const int32_t*>(pby + 4);
    EXPECT_EQ(pnPid[0], getpid());
    EXPECT_EQ(pnPid[1], clPair.nPid());

    // The peer writes: this process is told, with the zone's name, on the library's thread.
    EXPECT_GT(std::stoi(clPair.sDemande("ecrit " + sUtf8(kTexte))), 0);
    ASSERT_TRUE(bAttendQue([&] { return !m_clNotifications.tabAppels().empty(); }));
    const auto tabAppels = m_clNotifications.tabAppels();
    ASSERT_EQ(tabAppels[0].size(), 2u);
    EXPECT_EQ(tabAppels[0][0].sText, m_sNom);
    EXPECT_EQ(tabAppels[0][1].nInteger, 1);
    // What it wrote is here, as UTF-16LE behind the zone's mark, the smiley as a surrogate pair.
    Appel("fPositionne", {CValue::Int(h), CValue::Int64(0), CValue::Int(0)});
    const std::string sOctets = Appel("fLit", {CValue::Int(h), CValue::Int(40)}).sBytes;
    EXPECT_EQ(sOctets.substr(0, 6), std::string("\xFF\xFEN\0o\0", 6));
    EXPECT_NE(sOctets.find(std::string("\x3D\xD8\x00\xDE", 4)), std::string::npos);

    // This process writes: the peer is told, and waiting for it ends.
    EXPECT_GT(Appel("fEcrit", {CValue::Int(h), CValue::Text(L"é")}).nInteger, 0);
    EXPECT_EQ(Appel("fMemAttend", {CValue::Int(h), CValue::Int(5000)}).nInteger, 1);
    ASSERT_TRUE(bAttendQue([&] { return clPair.sDemande("notifs").rfind("1 ", 0) == 0; }));

    // Killed while it holds the lock: the kernel gives the lock back, the survivor writes, waits
    // without it, and strikes it from the block.
    EXPECT_EQ(clPair.sDemande("verrou " + sUtf8(m_sNom)), "verrouille");
    clPair.Tue();
    const auto nAvant = std::chrono::steady_clock::now();
    EXPECT_GT(Appel("fEcrit", {CValue::Int(h), CValue::Text(L"z")}).nInteger, 0);
    EXPECT_EQ(Appel("fMemAttend", {CValue::Int(h), CValue::Int(0)}).nInteger, 1);
    EXPECT_LT(std::chrono::steady_clock::now() - nAvant, 5s);
    EXPECT_EQ(pby[1], 1);
    EXPECT_FALSE(bSemaphoreExiste(nCleSemaphore(m_nCle, L'N', m_nPidPair)));
    EXPECT_FALSE(bSemaphoreExiste(nCleSemaphore(m_nCle, L'R', m_nPidPair)));
    shmdt(pby);

    // Closed by its creator and last user: the zone, its block, its lock and its semaphores go;
    // the wake-up semaphore goes with the library.
    EXPECT_EQ(Appel("fFerme", {CValue::Int(h)}).nInteger, 0);
    EXPECT_FALSE(bSegmentExiste(m_nCle));
    EXPECT_FALSE(bSegmentExiste(COVSharedMemory::s_nCleAdmin(m_nCle)));
    EXPECT_FALSE(bSemaphoreExiste(m_nCle));
    EXPECT_FALSE(bSemaphoreExiste(nCleSemaphore(m_nCle, L'N', getpid())));
    EXPECT_FALSE(bSemaphoreExiste(nCleSemaphore(m_nCle, L'F', getpid())));
    m_cl.Unload();
    EXPECT_FALSE(bSemaphoreExiste(nCleSemaphore(m_nCle, L'R', getpid())));
}

TEST_F(SharedMemoryEndToEnd, BadInputGivesTheNumberedErrors) {
    const int hDisque = static_cast<int>(
        Appel("fCree", {CValue::Text(sWideFromBytes(m_sRep + "/disque.txt"))}).nInteger);
    ASSERT_GE(hDisque, 2);
    struct STCas {
        int nLigne;
        const char* pszFonction;
        std::vector<CValue> tab;
        int64_t nResultat;
        int nErreur;
    };
    const std::wstring sAbsent = L"Z" + sWideFromBytes(m_sRep + "/absent😀.txt");
    const STCas tabCas[] = {
        {__LINE__, "fMemOuvre", {CValue::Text(sAbsent), CValue::Int(64)}, -1, 81508},
        {__LINE__, "fMemOuvre", {CValue::Text(L""), CValue::Int(64)}, -1, 81508},
        {__LINE__, "fMemOuvre", {CValue::Text(m_sNom), CValue::Int(0)}, -1, 81508},
        {__LINE__, "fMemOuvre", {CValue::Text(m_sNom), CValue::Int(64), CValue::Int(2), CValue::Int(2), CValue::Text(L"Inconnue")}, -1, 81510},
        {__LINE__, "fMemExiste", {CValue::Text(sAbsent)}, 0, 0},
        {__LINE__, "fMemExiste", {CValue::Text(m_sNom)}, 0, 0},
        {__LINE__, "fMemAttend", {CValue::Int(99)}, 0, 80022},
        {__LINE__, "fMemAttend", {CValue::Int(hDisque), CValue::Int(10)}, 0, 81509},
    };
    for (const STCas& c : tabCas) {
        STCallError stErreur;
        EXPECT_EQ(Appel(c.pszFonction, c.tab, &stErreur).nInteger, c.nResultat) << "row " << c.nLigne;
        EXPECT_EQ(stErreur.nCode, c.nErreur) << "row " << c.nLigne;
    }
    // None of the failures left a zone, a block or a lock behind.
    EXPECT_FALSE(bSegmentExiste(m_nCle));
    EXPECT_FALSE(bSemaphoreExiste(m_nCle));
    Appel("fFerme", {CValue::Int(hDisque)});
}

TEST_F(SharedMemoryEndToEnd, AZoneRemovedFromOutsideFailsWithoutHanging) {
    const int h = nOuvre(kLectureEcriture, nullptr);
    ASSERT_GE(h, 2);
    EXPECT_EQ(Appel("fMemExiste", {CValue::Text(m_sNom)}).nInteger, 1);
    // Someone removes the segment and the lock: the mapping stays valid, the lock is gone, so
    // writing fails at once, and closing still works.
    shmctl(shmget(m_nCle, 0, 0), IPC_RMID, nullptr);
    semctl(semget(m_nCle, 0, 0), 0, IPC_RMID);
    const auto nAvant = std::chrono::steady_clock::now();
    STCallError stErreur;
    EXPECT_EQ(Appel("fEcrit", {CValue::Int(h), CValue::Text(L"é")}, &stErreur).nInteger, -1);
    EXPECT_NE(stErreur.nCode, 0);
    EXPECT_LT(std::chrono::steady_clock::now() - nAvant, 2s);
    EXPECT_EQ(Appel("fFerme", {CValue::Int(h)}).nInteger, 0);
    EXPECT_FALSE(bSegmentExiste(m_nCle));
}

// A Unicode zone opened a second time stands behind its mark; the bytes of one handle are the
// other's.
TEST_F(SharedMemoryEndToEnd, ASecondUnicodeOpeningStandsBehindTheMark) {
    const int h1 = nOuvre(kLectureEcriture | kUnicode, nullptr);
    const int h2 = nOuvre(kLectureEcriture | kUnicode, nullptr);
    ASSERT_GE(h1, 2);
    ASSERT_GE(h2, 2);
    EXPECT_EQ(Appel("fPositionne", {CValue::Int(h2), CValue::Int64(0), CValue::Int(1)}).nInteger, 2);
    EXPECT_EQ(Appel("fTaille", {CValue::Int(h1)}).nInteger, 4096);
    Appel("fEcrit", {CValue::Int(h1), CValue::Text(kTexte)});
    Appel("fPositionne", {CValue::Int(h1), CValue::Int64(2), CValue::Int(0)});
    EXPECT_EQ(Appel("fLit", {CValue::Int(h1), CValue::Int(4)}).sBytes, std::string("N\0o\0", 4));
    EXPECT_EQ(Appel("fLit", {CValue::Int(h2), CValue::Int(4)}).sBytes, std::string("N\0o\0", 4));
    EXPECT_EQ(Appel("fFerme", {CValue::Int(h1)}).nInteger, 0);
    EXPECT_EQ(Appel("fFerme", {CValue::Int(h2)}).nInteger, 0);
    EXPECT_FALSE(bSegmentExiste(m_nCle));
}

}  // namespace
}  // namespace ovhost
