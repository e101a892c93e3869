// The inter-process primitives and the zone as a stream: keys that keep names apart, counting and
// bounded waits, sets that live exactly as long as their users (a dead process included), a
// mutex a killed holder gives back, private key files, and the stream's positions and lines.
#include "memory/win_ipc.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "base/tstring.h"
#include "base/unicode.h"
#include "files/disk_file.h"
#include "memory/shared_memory.h"

namespace {

using namespace std::chrono_literals;
using Horloge = std::chrono::steady_clock;

// A name of this test run, so that two runs at once never meet.
std::wstring sNom(const wchar_t* psz) { return std::wstring(psz) + L"_" + std::to_wstring(getpid()); }

TEST(SemaphoreKeys, NamesThatOnlyShareALengthAndABeginningStillDiffer) {
    const struct {
        int nLigne;
        const wchar_t* psz1;
        const wchar_t* psz2;
    } tabCas[] = {
        {__LINE__, L"zone_SEMN123", L"zone_SEMF123"},
        {__LINE__, L"zone_SEMN123", L"zone_SEMN124"},
        {__LINE__, L"Noël", L"Noel"},
        {__LINE__, L"été\U0001F600", L"été\U0001F601"},
        {__LINE__, L"a", L"b"},
    };
    for (const auto& c : tabCas) {
        const key_t n1 = COVSemProccess::s_nCleDuNom(c.psz1), n2 = COVSemProccess::s_nCleDuNom(c.psz2);
        EXPECT_NE(n1, n2) << "row " << c.nLigne;
        for (key_t n : {n1, n2}) {
            EXPECT_NE(n, IPC_PRIVATE) << "row " << c.nLigne;
            EXPECT_NE(n, -1) << "row " << c.nLigne;
        }
    }
    EXPECT_EQ(COVSemProccess::s_nCleDuNom(L"école"), COVSemProccess::s_nCleDuNom(L"école"));
}

TEST(NamedSemaphore, CountsUpToItsMaximumAndWaitsNoLongerThanAsked) {
    COVSemProccess cl;
    ASSERT_TRUE(cl.bCreate(sNom(L"compte").c_str(), COVSemProccess::ePARTAGE_SESSION, 0, 1));
    EXPECT_FALSE(cl.bTake(0));
    EXPECT_TRUE(cl.bPost(1));
    EXPECT_FALSE(cl.bPost(1));  // past the maximum
    EXPECT_TRUE(cl.bTake(0));
    // A bounded wait ends on time with nothing; 1000 ms and more are real waits too.
    auto nDebut = Horloge::now();
    EXPECT_FALSE(cl.bTake(300));
    EXPECT_GE(Horloge::now() - nDebut, 250ms);
    EXPECT_LT(Horloge::now() - nDebut, 3s);
    std::thread clPoste([&] {
        std::this_thread::sleep_for(1100ms);
        cl.bPost(1);
    });
    nDebut = Horloge::now();
    EXPECT_TRUE(cl.bTake(5000));
    EXPECT_GE(Horloge::now() - nDebut, 1s);
    clPoste.join();
    cl.Close();
}

TEST(NamedSemaphore, LivesWhileAnyProcessHasItOpenAndNoLonger) {
    const std::wstring s = sNom(L"vie");
    const key_t nCle = COVSemProccess::s_nCleDuNom(s.c_str());
    COVSemProccess cl1, cl2;
    ASSERT_TRUE(cl1.bCreate(s.c_str(), COVSemProccess::ePARTAGE_SESSION, 1, 1));
    ASSERT_TRUE(cl2.bOpen(s.c_str(), 1));
    // A process that opens it and dies without closing does not keep it alive.
    const pid_t nPid = fork();
    if (nPid == 0) {
        COVSemProccess clEnfant;
        _exit(clEnfant.bOpen(s.c_str(), 1) ? 0 : 1);
    }
    int nStatut = 0;
    ASSERT_EQ(waitpid(nPid, &nStatut, 0), nPid);
    EXPECT_EQ(WEXITSTATUS(nStatut), 0);
    cl1.Close();
    EXPECT_GE(semget(nCle, 0, 0), 0);
    cl2.Close();
    EXPECT_LT(semget(nCle, 0, 0), 0);
    // A set left by a dead process under one's own name is made new: its value is set again.
    COVSemProccess clVieux, clNeuf;
    ASSERT_TRUE(clVieux.bCreate(s.c_str(), COVSemProccess::ePARTAGE_SESSION, 1, 1));
    ASSERT_TRUE(clNeuf.bCreate(s.c_str(), COVSemProccess::ePARTAGE_SESSION, 0, 1));
    EXPECT_EQ(clNeuf.nGetValeur(), 0);
    clNeuf.Destroy();
}

TEST(NamedSemaphore, WaitForAllTakesEveryOneOrNone) {
    COVSemProccess cl1, cl2;
    ASSERT_TRUE(cl1.bCreate(sNom(L"tous1").c_str(), COVSemProccess::ePARTAGE_SESSION, 1, 1));
    ASSERT_TRUE(cl2.bCreate(sNom(L"tous2").c_str(), COVSemProccess::ePARTAGE_SESSION, 0, 1));
    COVSemProccess* tab[] = {&cl1, &cl2};
    EXPECT_FALSE(COVSemProccess::s_bWaitMultipleAll(2, tab, 100));
    EXPECT_EQ(cl1.nGetValeur(), 1);  // given back
    EXPECT_EQ(COVSemProccess::s_nWaitMultipleAny(2, tab, 0), 0);
    cl2.bPost(1);
    cl1.bPost(1);
    EXPECT_TRUE(COVSemProccess::s_bWaitMultipleAll(2, tab, kIPCInfini));
    EXPECT_EQ(COVSemProccess::s_nWaitMultipleAny(2, tab, 50), kIPCAucunSignal);
    EXPECT_TRUE(COVSemProccess::s_bWaitMultipleAll(0, nullptr, 0));
}

TEST(Mutex, AKilledHolderGivesItBackAndARemovedOneCountsAsAbandoned) {
    const key_t nCle = COVSemProccess::s_nCleDuNom(sNom(L"mutex").c_str());
    const int nMutex = IPC_CreateMutex(kIPCModePrive, false, nCle);
    ASSERT_GE(nMutex, 0);
    // Made again by another opener, it keeps its state: no one steals a held mutex.
    ASSERT_EQ(IPC_PMutex(nMutex, 0, true, nullptr, nullptr), 0);
    EXPECT_EQ(IPC_CreateMutex(kIPCModePrive, false, nCle), nMutex);
    int nErrno = 0;
    EXPECT_NE(IPC_PMutex(nMutex, 50, true, nullptr, &nErrno), 0);
    EXPECT_EQ(nErrno, EAGAIN);
    ASSERT_TRUE(IPC_VMutex(nMutex, true));

    int anTube[2];
    ASSERT_EQ(pipe(anTube), 0);
    const pid_t nPid = fork();
    if (nPid == 0) {
        const bool b = IPC_PMutex(nMutex, 1000, true, nullptr, nullptr) == 0;
        (void)!write(anTube[1], b ? "1" : "0", 1);
        pause();
        _exit(0);
    }
    char c = 0;
    ASSERT_EQ(read(anTube[0], &c, 1), 1);
    EXPECT_EQ(c, '1');
    EXPECT_NE(IPC_PMutex(nMutex, 0, true, nullptr, nullptr), 0);
    kill(nPid, SIGKILL);
    waitpid(nPid, nullptr, 0);
    close(anTube[0]);
    close(anTube[1]);
    EXPECT_EQ(IPC_PMutex(nMutex, 1000, true, nullptr, nullptr), 0);

    std::thread clRetire([&] {
        std::this_thread::sleep_for(100ms);
        IPC_DestroyMutex(nMutex);
    });
    int bAbandonne = 0;
    EXPECT_EQ(IPC_PMutex(nMutex, 5000, true, &bAbandonne, nullptr), 0);
    EXPECT_EQ(bAbandonne, 1);
    clRetire.join();
}

TEST(KeyFiles, LiveInAPrivateDirectoryAndGiveOneKeyPerNumber) {
    const char* pszRepertoire = pszIPCRepertoirePrive();
    ASSERT_NE(pszRepertoire[0], 0);
    struct stat st;
    ASSERT_EQ(lstat(pszRepertoire, &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700u);
    const unsigned int nNumero = 900000 + static_cast<unsigned int>(getpid() % 90000);
    const key_t n1 = nGetIPCKey(nNumero, 'A');
    EXPECT_NE(n1, -1);
    EXPECT_EQ(nGetIPCKey(nNumero, 'A'), n1);
    EXPECT_NE(nGetIPCKey(nNumero + 1, 'A'), n1);
    const std::string sFichier = std::string(pszRepertoire) + "/" + std::to_string(nNumero);
    ASSERT_EQ(lstat(sFichier.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
    DeleteIPCTmpFile(nNumero);
    DeleteIPCTmpFile(nNumero + 1);
    EXPECT_NE(lstat(sFichier.c_str(), &st), 0);
    wchar_t sz[kMaxPath + 1];
    EXPECT_FALSE(bGetIPCTmpFileName(L"../dehors", sz));
    EXPECT_FALSE(bGetIPCTmpFileName(std::wstring(300, L'x').c_str(), sz));
}

// A zone of this process alone, made in a temporary directory and removed with it.
class ZoneStream : public ::testing::Test {
protected:
    void SetUp() override {
        m_sFichier = (std::filesystem::temp_directory_path() / ("ov_zone_" + std::to_string(getpid()) + "_é")).string();
        std::ofstream(m_sFichier).put('x');
        wchar_t* psz = UTF8ToWide(m_sFichier.c_str());
        ASSERT_NE(psz, nullptr);
        m_sNom = std::wstring(L"Q") + psz;
        std::free(psz);
    }
    void TearDown() override {
        m_cl.Close();
        std::filesystem::remove(m_sFichier);
    }
    bool bOuvre(int nAcces, int64_t nTaille) {
        return m_cl.bOpenCreateMemory(m_sNom.c_str(), nAcces, nTaille, 2) && m_cl.bAttach(nAcces);
    }
    std::string m_sFichier;
    std::wstring m_sNom;
    CFileSharedMemory m_cl;
};

TEST_F(ZoneStream, SeeksWithinTheZoneAndOnlyTheEndReachesTheEnd) {
    ASSERT_TRUE(bOuvre(OVSMA_LECTUREECRITURE, 100)) << errno;
    const struct {
        int nLigne;
        long oDepart, oDeplacement;
        eSEEK eOrigine;
        int bAttendu;
        long oAttendu;
    } tabCas[] = {
        {__LINE__, 0, 99, eSEEK_DEBUT, 1, 99},   {__LINE__, 0, 100, eSEEK_DEBUT, 0, 0},
        {__LINE__, 0, -1, eSEEK_DEBUT, 0, 0},    {__LINE__, 50, 49, eSEEK_COURANT, 1, 99},
        {__LINE__, 50, 50, eSEEK_COURANT, 0, 50}, {__LINE__, 50, -51, eSEEK_COURANT, 0, 50},
        {__LINE__, 0, 0, eSEEK_FIN, 1, 100},     {__LINE__, 0, -100, eSEEK_FIN, 1, 0},
        {__LINE__, 0, 1, eSEEK_FIN, 0, 0},       {__LINE__, 7, 3, static_cast<eSEEK>(9), 1, 7},
    };
    for (const auto& c : tabCas) {
        ASSERT_TRUE(m_cl.bSeek(c.oDepart, eSEEK_DEBUT));
        EXPECT_EQ(m_cl.bSeek(c.oDeplacement, c.eOrigine), c.bAttendu) << "row " << c.nLigne;
        EXPECT_EQ(m_cl.oGetOffset(), c.oAttendu) << "row " << c.nLigne;
    }
}

TEST_F(ZoneStream, AWritePastTheEndIsCutAndTheCountTells) {
    ASSERT_TRUE(bOuvre(OVSMA_LECTUREECRITURE, 16));
    ASSERT_TRUE(m_cl.bSeek(10, eSEEK_DEBUT));
    unsigned int n = 0;
    EXPECT_TRUE(m_cl.bWrite("0123456789", 10, &n));
    EXPECT_EQ(n, 6u);
    EXPECT_EQ(m_cl.oGetOffset(), 16);
    EXPECT_TRUE(m_cl.bWrite("x", 1, &n));
    EXPECT_EQ(n, 0u);
    char sz[8] = {};
    ASSERT_TRUE(m_cl.bSeek(-6, eSEEK_FIN));
    EXPECT_TRUE(m_cl.bRead(sz, 8, &n));
    EXPECT_EQ(std::string(sz, n), "012345");
    // Asked for exactly 8 bytes with no count to take a shorter answer: a failure.
    ASSERT_TRUE(m_cl.bSeek(-6, eSEEK_FIN));
    EXPECT_FALSE(m_cl.bRead(sz, 8, nullptr));
}

TEST_F(ZoneStream, AReadOnlyZoneRefusesWritesInsteadOfFaulting) {
    ASSERT_TRUE(bOuvre(OVSMA_LECTUREECRITURE, 16));
    CFileSharedMemory clLecteur;
    ASSERT_TRUE(clLecteur.bOpenCreateMemory(m_sNom.c_str(), OVSMA_LECTURE, 16, 2));
    ASSERT_TRUE(clLecteur.bAttach(OVSMA_LECTURE));
    unsigned int n = 0;
    EXPECT_FALSE(clLecteur.bWrite("abc", 3, &n));
    EXPECT_EQ(clLecteur.veGetAccess(), eACCESS_LECTURE);
    ASSERT_TRUE(m_cl.bWrite("abc", 3, &n));
    char sz[3];
    EXPECT_TRUE(clLecteur.bRead(sz, 3, &n));
    EXPECT_EQ(std::string(sz, 3), "abc");
    clLecteur.Close();
}

TEST_F(ZoneStream, ReadsLinesOfWideTextBySeparatorOrLineEnd) {
    ASSERT_TRUE(bOuvre(OVSMA_LECTUREECRITURE, 64));
    // "été😀" CR LF "b" LF "x;;y" in UTF-16LE; the rest of the zone is zeros.
    const uint8_t aby[] = {0xE9, 0, 't', 0, 0xE9, 0, 0x3D, 0xD8, 0x00, 0xDE, '\r', 0, '\n', 0, 'b', 0, '\n', 0,
                           'x', 0, ';', 0, ';', 0, 'y', 0};
    unsigned int n = 0;
    ASSERT_TRUE(m_cl.bWrite(aby, sizeof aby, &n));
    ASSERT_TRUE(m_cl.bSeek(0, eSEEK_DEBUT));
    wchar_t sz[3];
    CTString clSuite;
    ASSERT_NE(m_cl.pszReadLine(sz, 3, &clSuite, nullptr), nullptr);
    EXPECT_EQ(std::wstring(sz) + clSuite.pszGet(), L"été\U0001F600");
    ASSERT_NE(m_cl.pszReadLine(sz, 3, &clSuite, nullptr), nullptr);
    EXPECT_EQ(std::wstring(sz), L"b");
    ASSERT_NE(m_cl.pszReadLine(sz, 3, &clSuite, L";;"), nullptr);
    EXPECT_EQ(std::wstring(sz), L"x");
}

}  // namespace
