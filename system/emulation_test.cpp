// The emulated system calls: memory file, module names, clock, alarm, debug output, console message
// boxes, rectangles and characters.
#include "system/emulation.h"

#include <dlfcn.h>
#include <sys/time.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <string>

namespace {

constexpr uint64_t K = 1024;

TEST(InfoMemoire, TakesEachKeyWholeAndEachFormInItsUnit) {
    const struct {
        int nLigne;
        const char* pszTexte;
        bool bLu;
        STInfoMemoire st;
    } tab[] = {
        {__LINE__, "MemTotal: 16 kB\nMemFree: 4 kB\nBuffers: 1 kB\nSwapCached: 99 kB\nCached: 2 kB\nSwapTotal: 8 kB\n"
                   "SwapFree: 3 kB\n", true, {16 * K, 4 * K, 1 * K, 2 * K, 8 * K, 3 * K}},
        {__LINE__, "MemTotal: 10 kB\r\nCached: 5 kB\nSwapCached: 7 kB", true, {10 * K, 0, 0, 5 * K, 0, 0}},
        {__LINE__, "    total:  used:  free:  shared: buffers: cached:\nMem: 1000 600 400 0 50 150\nSwap: 2000 500 1500\n",
         true, {1000, 400, 50, 150, 2000, 1500}},
        {__LINE__, "Mem: 1000 600 400 0 50 150\nMemTotal: 2 kB\nMemFree: 1 kB\n", true, {2 * K, 1 * K, 0, 0, 0, 0}},
        {__LINE__, "MemTotal: 99999999999999999999999 kB\n", true, {UINT64_MAX, 0, 0, 0, 0, 0}},
        {__LINE__, "MemTotal: 18014398509481984 kB\n", true, {UINT64_MAX, 0, 0, 0, 0, 0}},
        {__LINE__, "MemFree: 4 kB\n  MemTotal: 5 kB\nMemTotalX: 5 kB\nMemTotal: kB\n", false, {}},
    };
    for (const auto& st : tab) {
        STInfoMemoire stLu;
        EXPECT_EQ(bAnalyseInfoMemoire(st.pszTexte, std::strlen(st.pszTexte), &stLu), st.bLu) << "line " << st.nLigne;
        EXPECT_EQ(std::memcmp(&stLu, &st.st, sizeof stLu), 0) << "line " << st.nLigne << ": total " << stLu.nTotal
                                                               << " cache " << stLu.nCache;
    }
}

class FichierMemoire : public ::testing::Test {
protected:
    void TearDown() override {
        SetCheminInfoMemoire(nullptr);
        std::remove(m_sChemin.c_str());
    }
    std::string m_sChemin = ::testing::TempDir() + "meminfo_" + std::to_string(getpid());
};

TEST_F(FichierMemoire, AvailableIsFreePlusBuffersPlusCachedAndSizesStayWhole) {
    std::ofstream(m_sChemin) << "MemTotal: 8388608 kB\nMemFree: 1048576 kB\nBuffers: 1048576 kB\nSwapCached: 9 kB\n"
                                "Cached: 4194304 kB\nSwapTotal: 300 kB\nSwapFree: 200 kB\n";
    SetCheminInfoMemoire(m_sChemin.c_str());
    _MEMORYSTATUSEX st;
    ASSERT_TRUE(GlobalMemoryStatusEx(&st));
    EXPECT_EQ(st.ullTotalPhys, uint64_t{8} << 30);
    EXPECT_EQ(st.ullAvailPhys, uint64_t{6} << 30);
    EXPECT_EQ(st.dwMemoryLoad, 25u);
    EXPECT_EQ(st.ullAvailPageFile, 200 * K);
    EXPECT_EQ(st.ullTotalVirtual, (uint64_t{8} << 30) + 300 * K);
    _MEMORYSTATUS stCourt;
    GlobalMemoryStatus(&stCourt);
    EXPECT_EQ(stCourt.dwAvailPhys, size_t{6} << 30);

    SetCheminInfoMemoire((m_sChemin + "_absent").c_str());
    EXPECT_FALSE(GlobalMemoryStatusEx(&st));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(st.ullTotalPhys, 0u);
    SetCheminInfoMemoire("/dev/zero");  // read within bounds, then refused
    EXPECT_FALSE(GlobalMemoryStatusEx(&st));
}

std::string sLien() {
    char sz[4096];
    const ssize_t n = readlink("/proc/self/exe", sz, sizeof sz);
    return std::string(sz, n > 0 ? static_cast<size_t>(n) : 0);
}

TEST(NomModule, NamesTheProgramOrTheModuleOfAnAddressAndCutsToTheBuffer) {
    const std::string sProgramme = sLien();
    char sz[4096];
    EXPECT_EQ(GetModuleFileNameA(nullptr, sz, sizeof sz), sProgramme.size());
    EXPECT_EQ(sz, sProgramme);
    EXPECT_GT(GetModuleFileNameA(reinterpret_cast<const void*>(&sLien), sz, sizeof sz), 0u);
    EXPECT_EQ(sz, sProgramme) << "the program is named by its full path";
    EXPECT_GT(GetModuleFileNameA(dlsym(RTLD_DEFAULT, "getpid"), sz, sizeof sz), 0u);
    EXPECT_NE(std::strstr(sz, "libc"), nullptr) << sz;
    EXPECT_EQ(GetModuleFileNameA(reinterpret_cast<const void*>(uintptr_t{16}), sz, sizeof sz), 0u);

    wchar_t szW[8];
    std::wmemset(szW, L'x', 8);
    EXPECT_EQ(GetModuleFileNameW(nullptr, szW, 5), 5u) << "a cut path answers the size";
    EXPECT_EQ(std::wstring(szW), std::wstring(sProgramme.begin(), sProgramme.begin() + 4));
    EXPECT_EQ(szW[5], L'x') << "nothing written past the size";
    EXPECT_EQ(GetModuleFileNameA(nullptr, sz, 0), 0u);
}

volatile sig_atomic_t gnAlarmes = 0;
void CompteAlarme(int) { gnAlarmes = gnAlarmes + 1; }

TEST(Alarme, InterruptsABlockedReadEvenWhereRestartWasAsked) {
    struct sigaction stAncien {}, stRedemarre {};
    stRedemarre.sa_handler = CompteAlarme;
    stRedemarre.sa_flags = SA_RESTART;
    sigaction(SIGALRM, &stRedemarre, &stAncien);
    int tabTube[2];
    ASSERT_EQ(pipe(tabTube), 0);
    for (auto pfn : {&CompteAlarme, static_cast<void (*)(int)>(nullptr)}) {
        InitAlarmHandler(pfn);
        gnAlarmes = 0;
        itimerval st{};
        st.it_value.tv_usec = 30000;
        setitimer(ITIMER_REAL, &st, nullptr);
        char c;
        const unsigned int nDebut = GetTickCount();
        EXPECT_EQ(read(tabTube[0], &c, 1), -1) << "only the alarm ends this wait";
        EXPECT_EQ(errno, EINTR);
        EXPECT_GE(GetTickCount() - nDebut, 29u) << "milliseconds of the monotonic clock";
        EXPECT_EQ(gnAlarmes, pfn != nullptr ? 1 : 0);
    }
    close(tabTube[0]);
    close(tabTube[1]);
    sigaction(SIGALRM, &stAncien, nullptr);
}

TEST(SortieDebogage, WritesWideTextAsUtf8OnTheErrorOutput) {
    ::testing::internal::CaptureStderr();
    const wchar_t szTexte[] = {L'é', L' ', 0x1F600, static_cast<wchar_t>(0xD800), 0};
    OutputDebugStringW(szTexte);
    OutputDebugStringA("|");
    DebugBreak();  // no debugger here: it tells and goes on
    EXPECT_EQ(::testing::internal::GetCapturedStderr().rfind("\xC3\xA9 \xF0\x9F\x98\x80\xEF\xBF\xBD|", 0), 0u);
}

struct STBoite {
    int nReponse;
    std::string sSortie;
};

STBoite stBoite(const std::string& sEntree, unsigned int nType, const void* pTexte = "texte", int bWide = 0) {
    FILE* pfEntree = sEntree.empty() ? std::fopen("/dev/null", "r")
                                     : fmemopen(const_cast<char*>(sEntree.data()), sEntree.size(), "r");
    char* psz = nullptr;
    size_t n = 0;
    FILE* pfSortie = open_memstream(&psz, &n);
    const void* pTitre = bWide ? static_cast<const void*>(L"Été") : "titre";
    const int nReponse = nMessageBoxConsole(pfEntree, pfSortie, pTexte, pTitre, nType, bWide);
    std::fclose(pfSortie);
    std::fclose(pfEntree);
    STBoite st{nReponse, std::string(psz, n)};
    std::free(psz);
    return st;
}

TEST(BoiteConsole, TheLetterTypedPicksTheButtonAndEndOfInputTheCautiousOne) {
    const struct {
        int nLigne;
        unsigned int nType;
        const char* pszEntree;
        int nReponse;
        size_t nInvites;
    } tab[] = {
        {__LINE__, MB_OK, "quoi\n", IDOK, 1},           {__LINE__, MB_OKCANCEL, "x\n\nC\n", IDCANCEL, 3},
        {__LINE__, MB_OKCANCEL, "", IDCANCEL, 1},       {__LINE__, MB_ABORTRETRYIGNORE, "r\n", IDRETRY, 1},
        {__LINE__, MB_ABORTRETRYIGNORE, "", IDABORT, 1}, {__LINE__, MB_YESNOCANCEL, "zz\n", IDCANCEL, 2},
        {__LINE__, MB_YESNO, "  Y\n", IDYES, 1},        {__LINE__, MB_YESNO, "c\n", IDNO, 2},
        {__LINE__, MB_RETRYCANCEL, "c", IDCANCEL, 1},   {__LINE__, 6, "\n", IDOK, 1},
    };
    for (const auto& st : tab) {
        const STBoite stLu = stBoite(st.pszEntree, st.nType);
        EXPECT_EQ(stLu.nReponse, st.nReponse) << "line " << st.nLigne;
        size_t nInvites = 0;
        for (size_t i = stLu.sSortie.find("ENTREE"); i != std::string::npos; i = stLu.sSortie.find("ENTREE", i + 1))
            ++nInvites;
        EXPECT_EQ(nInvites, st.nInvites) << "line " << st.nLigne;
    }
    EXPECT_EQ(stBoite(std::string(500, 'x') + "\ny\n", MB_YESNO).nReponse, IDYES) << "a long line is one answer";
}

TEST(BoiteConsole, WritesTitleTextThenThePrompt) {
    EXPECT_EQ(stBoite("o\n", MB_OKCANCEL).sSortie,
              "titre\ntexte\nEntrez votre choix (o = OK, c = CANCEL) pour continuer (exemple : o + ENTREE) : \n");
    EXPECT_EQ(stBoite("\n", MB_OK, L"\U0001F600", 1).sSortie,
              "\xC3\x89t\xC3\xA9\n\xF0\x9F\x98\x80\nAppuyez sur ENTREE pour continuer : \n");
}

TEST(Rectangle, IntersectionIsTheCommonPartOrAllZeros) {
    const struct {
        int nLigne;
        tagRECT st1, st2;
        int bResultat;
        tagRECT stAttendu;
    } tab[] = {
        {__LINE__, {0, 0, 10, 10}, {5, 5, 15, 15}, 1, {5, 5, 10, 10}},
        {__LINE__, {0, 0, 10, 10}, {10, 0, 20, 10}, 0, {0, 0, 0, 0}},  // touching edges share nothing
        {__LINE__, {0, 0, 0, 10}, {0, 0, 10, 10}, 0, {0, 0, 0, 0}},    // an empty source
    };
    for (const auto& st : tab) {
        tagRECT stSortie{9, 9, 9, 9};
        EXPECT_EQ(bEmule_IntersectRect(&stSortie, &st.st1, &st.st2), st.bResultat) << "line " << st.nLigne;
        EXPECT_EQ(std::memcmp(&stSortie, &st.stAttendu, sizeof stSortie), 0) << "line " << st.nLigne;
    }
    tagRECT st{INT32_MAX, 0, INT32_MAX, 0};
    EXPECT_TRUE(bEmule_OffsetRect(&st, 1, -1)) << "wraps without overflow";
    EXPECT_EQ(st.left, INT32_MIN);
    EXPECT_EQ(st.bottom, -1);
}

}  // namespace
