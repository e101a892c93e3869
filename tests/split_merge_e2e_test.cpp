// Cutting, joining and searching files through the stand-in machine: pieces against the system's
// split, joins against the source, hits against a plain scan of the bytes, failures, and the
// machine's progress gauge as the library drives it and as ovrun draws it on a terminal.
#include <gtest/gtest.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "files/split_merge.h"
#include "tests/child_process.h"
#include "tests/machine_fixture.h"
#include "tests/ovrun_process.h"

namespace ovhost {
namespace {

std::string sLit(const std::string& sChemin) {
    std::ifstream f(sChemin, std::ios::binary);
    std::ostringstream s;
    s << f.rdbuf();
    return s.str();
}

void Ecrit(const std::string& sChemin, const std::string& s) { std::ofstream(sChemin, std::ios::binary) << s; }

std::string sAleatoire(size_t n, unsigned nGraine) {
    std::mt19937 gen(nGraine);
    std::string s(n, '\0');
    for (char& c : s) c = static_cast<char>(gen() & 0xff);
    return s;
}

int nNbDescripteur() {
    int n = 0;
    if (DIR* pDir = opendir("/proc/self/fd")) {
        while (readdir(pDir) != nullptr) ++n;
        closedir(pDir);
    }
    return n;
}

bool bExiste(const std::string& s) { return std::filesystem::exists(s); }

std::string sPiece(const std::string& sBase, int n) {
    char sz[16];
    std::snprintf(sz, sizeof sz, ".%03d", n);
    return sBase + sz;
}

class SplitMergeEndToEnd : public MachineEndToEnd {
protected:
    void SetUp() override {
        MachineEndToEnd::SetUp();
        const char* pszTmp = std::getenv("TMPDIR");
        std::string sModele = std::string(pszTmp && *pszTmp ? pszTmp : "/tmp") + "/ov_split_XXXXXX";
        ASSERT_NE(mkdtemp(sModele.data()), nullptr);
        m_sRep = sModele;
    }
    void TearDown() override {
        std::error_code ec;
        std::filesystem::remove_all(m_sRep, ec);
    }
    std::string sChemin(const std::string& sNom) const { return m_sRep + "/" + sNom; }
    // UTF-8 to wide, whatever the locale of the test.
    static std::wstring sLarge(const std::string& s) {
        std::wstring sRes;
        for (size_t i = 0; i < s.size();) {
            const auto c = static_cast<unsigned char>(s[i]);
            const int n = c < 0x80 ? 1 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4;
            wchar_t w = n == 1 ? c : c & (0x3F >> (n - 1));
            for (int k = 1; k < n; ++k) w = (w << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3F);
            sRes += w;
            i += n;
        }
        return sRes;
    }
    CValue Nom(const std::string& sNom) const { return CValue::Text(sLarge(sChemin(sNom))); }

    // The system's split, run without a shell.
    void Split(const std::string& sSource, int64_t nTaille, const std::string& sPrefixe) {
        const std::string sTaille = std::to_string(nTaille);
        ovtest::CSigchldRetenu clRetenu;
        const pid_t nPid = fork();
        ASSERT_GE(nPid, 0);
        if (nPid == 0) {
            execlp("split", "split", "-b", sTaille.c_str(), "-a", "3", "--numeric-suffixes=1", sSource.c_str(),
                   sPrefixe.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        int nStatut = 0;
        ASSERT_EQ(waitpid(nPid, &nStatut, 0), nPid);
        ASSERT_TRUE(WIFEXITED(nStatut) && WEXITSTATUS(nStatut) == 0);
    }

    std::string m_sRep;
};

TEST_F(SplitMergeEndToEnd, PiecesAgreeWithSplitAndJoinGivesTheSourceBack) {
    // An accented name with a character outside the Basic Multilingual Plane.
    const std::string sNom = "donn\xc3\xa9" "es \xf0\x9f\x98\x80.bin";
    struct {
        int nLine;
        size_t nTailleFichier;
        int64_t nTaillePiece;
        int nAttendu;
    } const tabCas[] = {
        {__LINE__, 200000, 65536, 4},
        {__LINE__, 131072, 65536, 2},   // exact multiple: the last piece is full
        {__LINE__, 10, 1000, 1},        // larger than the file: one piece
        {__LINE__, 7, 1, 7},
        {__LINE__, 0, 10, 1},           // empty: one empty piece
    };
    for (const auto& c : tabCas) {
        std::filesystem::remove_all(m_sRep);
        std::filesystem::create_directory(m_sRep);
        const std::string sSource = sAleatoire(c.nTailleFichier, static_cast<unsigned>(c.nLine));
        Ecrit(sChemin(sNom), sSource);
        const int nFd = nNbDescripteur();
        const STCallOutcome st = stCall("fDecoupe", {Nom(sNom), CValue::Int64(c.nTaillePiece), Nom("p")});
        ASSERT_EQ(st.clResult.nInteger, c.nAttendu) << "row " << c.nLine << ": " << std::string(st.stError.sMessage.begin(), st.stError.sMessage.end());
        EXPECT_FALSE(bExiste(sPiece(sChemin("p"), c.nAttendu + 1)));
        if (c.nTailleFichier > 0) {
            Split(sChemin(sNom), c.nTaillePiece, sChemin("ref."));
            for (int i = 1; i <= c.nAttendu; ++i)
                EXPECT_EQ(sLit(sPiece(sChemin("p"), i)), sLit(sPiece(sChemin("ref"), i))) << "row " << c.nLine << " piece " << i;
        } else {
            EXPECT_EQ(sLit(sChemin("p.001")), "") << "row " << c.nLine;
        }
        EXPECT_EQ(sLit(sChemin(sNom)), sSource) << "row " << c.nLine << ": the source is left alone";
        // Joining with the remove flag frees each piece as it goes.
        EXPECT_EQ(stCall("fRegroupe", {Nom("p"), Nom("joint"), CValue::Int(1)}).clResult.nInteger, c.nAttendu);
        EXPECT_EQ(sLit(sChemin("joint")), sSource) << "row " << c.nLine;
        EXPECT_FALSE(bExiste(sChemin("p.001"))) << "row " << c.nLine;
        EXPECT_EQ(nNbDescripteur(), nFd) << "row " << c.nLine;
    }
}

TEST_F(SplitMergeEndToEnd, RemoveFlagConsumesTheSourceAndJoiningRebuildsIt) {
    const std::string sSource = sAleatoire(300001, 7);
    Ecrit(sChemin("s.bin"), sSource);
    ASSERT_EQ(stCall("fDecoupe", {Nom("s.bin"), CValue::Int64(100000), CValue::Text(L""), CValue::Int(1)}).clResult.nInteger, 4);
    EXPECT_FALSE(bExiste(sChemin("s.bin")));
    EXPECT_EQ(std::filesystem::file_size(sChemin("s.bin.004")), 1u) << "an empty base name is the file's own name";
    // Without a whole name the pieces' base is joined into.
    ASSERT_EQ(stCall("fRegroupe", {Nom("s.bin")}).clResult.nInteger, 4);
    EXPECT_EQ(sLit(sChemin("s.bin")), sSource);
    EXPECT_TRUE(bExiste(sChemin("s.bin.001"))) << "without the remove flag the pieces stay";
}

TEST_F(SplitMergeEndToEnd, FailuresRaiseTheirNumberAndLeaveNothingBehind) {
    Ecrit(sChemin("f"), sAleatoire(10001, 3));
    std::filesystem::create_directory(sChemin("rep"));
    struct {
        int nLine;
        const char* pszFonction;
        std::vector<CValue> tabArgs;
        int nErreur;
    } const tabCas[] = {
        {__LINE__, "fDecoupe", {Nom("absent"), CValue::Int64(10)}, 81860},
        {__LINE__, "fDecoupe", {Nom("rep"), CValue::Int64(10)}, 81860},
        {__LINE__, "fDecoupe", {Nom("f"), CValue::Int64(0)}, 81848},
        {__LINE__, "fDecoupe", {Nom("f"), CValue::Int64(-5)}, 81848},
        {__LINE__, "fDecoupe", {CValue::Text(L""), CValue::Int64(10)}, 80059},
        {__LINE__, "fDecoupe", {Nom("f"), CValue::Int64(1)}, 81853},  // 10,001 pieces
        {__LINE__, "fRegroupe", {Nom("absent")}, 81854},
        {__LINE__, "fRegroupe", {CValue::Text(L"")}, 80059},
    };
    for (const auto& c : tabCas) {
        const STCallOutcome st = stCall(c.pszFonction, c.tabArgs);
        EXPECT_EQ(st.clResult.nInteger, 0) << "row " << c.nLine;
        EXPECT_EQ(st.stError.nCode, c.nErreur) << "row " << c.nLine;
    }
    EXPECT_FALSE(bExiste(sChemin("f.001")));

    // A piece already there stops the cut before anything is written, and is not touched.
    Ecrit(sChemin("f.003"), "old");
    EXPECT_EQ(stCall("fDecoupe", {Nom("f"), CValue::Int64(5000)}).stError.nCode, 81851);
    EXPECT_FALSE(bExiste(sChemin("f.001")));
    EXPECT_EQ(sLit(sChemin("f.003")), "old");

    // A directory as the whole file of a join.
    Ecrit(sChemin("rep.001"), "x");
    EXPECT_EQ(stCall("fRegroupe", {Nom("rep")}).stError.nCode, 81861);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_sRep), {}), 4) << "no temporary file is left";
}

TEST_F(SplitMergeEndToEnd, ARefusedPieceLeavesNoPieceBehind) {
    // As an unprivileged user: the first pieces are cut into a directory that refuses writes.
    ASSERT_EQ(chmod(m_sRep.c_str(), 0755), 0);
    Ecrit(sChemin("f"), sAleatoire(1000, 5));
    ASSERT_EQ(chmod(sChemin("f").c_str(), 0644), 0);
    std::filesystem::create_directory(sChemin("ro"));
    ASSERT_EQ(chmod(sChemin("ro").c_str(), 0755), 0);
    ovtest::CSigchldRetenu clRetenu;
    const pid_t nPid = fork();
    ASSERT_GE(nPid, 0);
    if (nPid == 0) {
        if (setresgid(65534, 65534, 65534) != 0 || setresuid(65534, 65534, 65534) != 0) _exit(77);
        STCallOutcome st;
        std::string sErreur;
        std::vector<CValue> tabArgs = {Nom("f"), CValue::Int64(300), Nom("ro/p")};
        const bool bAppel = m_cl.bCall("fDecoupe", tabArgs, &st, &sErreur);
        _exit(bAppel && st.clResult.nInteger == 0 && st.stError.nCode == 81858 ? 0 : 1);
    }
    int nStatut = 0;
    ASSERT_EQ(waitpid(nPid, &nStatut, 0), nPid);
    ASSERT_TRUE(WIFEXITED(nStatut));
    if (WEXITSTATUS(nStatut) == 77) GTEST_SKIP() << "privileges cannot be dropped here";
    EXPECT_EQ(WEXITSTATUS(nStatut), 0);
    EXPECT_TRUE(std::filesystem::is_empty(sChemin("ro")));
}

TEST_F(SplitMergeEndToEnd, JoiningStopsAtTheFirstGap) {
    Ecrit(sChemin("g.001"), "ab");
    Ecrit(sChemin("g.002"), "cd");
    Ecrit(sChemin("g.004"), "ef");
    EXPECT_EQ(stCall("fRegroupe", {Nom("g"), Nom("tout")}).clResult.nInteger, 2);
    EXPECT_EQ(sLit(sChemin("tout")), "abcd");
}

// The report of the one call that was handed the gauge: its range, and positions that start at 0,
// never go down and end at 1,000.
void ExpectProgression(const CJaugeMachine& clJauge, const char* pszFonction, bool bEntreDeux, int nLigne) {
    ASSERT_EQ(clJauge.tabAppels().size(), 1u) << "row " << nLigne;
    const STJaugeAppel& st = clJauge.tabAppels()[0];
    EXPECT_EQ(st.sFonction, pszFonction) << "row " << nLigne;
    EXPECT_EQ(st.nInitialisations, 1) << "row " << nLigne;
    EXPECT_EQ(st.nMin, 0) << "row " << nLigne;
    EXPECT_EQ(st.nMax, 1000) << "row " << nLigne;
    ASSERT_FALSE(st.tabPositions.empty()) << "row " << nLigne;
    EXPECT_EQ(st.tabPositions.front(), 0) << "row " << nLigne << " " << pszFonction;
    EXPECT_EQ(st.tabPositions.back(), 1000) << "row " << nLigne << " " << pszFonction;
    for (size_t i = 1; i < st.tabPositions.size(); ++i)
        ASSERT_LE(st.tabPositions[i - 1], st.tabPositions[i]) << "row " << nLigne << " " << pszFonction << " at " << i;
    // A copy of several blocks shows where it stands between the two ends.
    if (bEntreDeux) {
        EXPECT_TRUE(std::any_of(st.tabPositions.begin(), st.tabPositions.end(), [](int n) { return n > 0 && n < 1000; }))
            << "row " << nLigne << " " << pszFonction;
    }
}

TEST_F(SplitMergeEndToEnd, GaugeRisesFromZeroToAThousandForAnySize) {
    struct {
        int nLine;
        size_t nTailleFichier;
        int64_t nTaillePiece;
        int nAttendu;
    } const tabCas[] = {
        {__LINE__, 0, 10, 1},
        {__LINE__, 10, 1000, 1},
        {__LINE__, 1, 1, 1},
        {__LINE__, 200001, 65536, 4},    // several pieces, several blocks each
        {__LINE__, 3000000, 1000000, 3},  // per-mille of sizes above 1,000 bytes
    };
    const CValue clJauge = CValue::Text(L"Jauge");
    for (const auto& c : tabCas) {
        std::filesystem::remove_all(m_sRep);
        std::filesystem::create_directory(m_sRep);
        Ecrit(sChemin("Ã©tÃ©"), sAleatoire(c.nTailleFichier, 5));
        m_cl.clJauge().Efface();
        EXPECT_EQ(stCall("fDecoupe", {Nom("Ã©tÃ©"), CValue::Int64(c.nTaillePiece), Nom("p"), CValue::Int(0), clJauge})
                      .clResult.nInteger, c.nAttendu) << "row " << c.nLine;
        ExpectProgression(m_cl.clJauge(), "fDecoupe", c.nTailleFichier > 65536, c.nLine);
        m_cl.clJauge().Efface();
        EXPECT_EQ(stCall("fRegroupe", {Nom("p"), Nom("joint"), CValue::Int(1), clJauge}).clResult.nInteger, c.nAttendu)
            << "row " << c.nLine;
        ExpectProgression(m_cl.clJauge(), "fRegroupe", c.nTailleFichier > 65536, c.nLine);
    }
    // A null gauge is no gauge; a text that names no gauge of the machine is no call at all.
    m_cl.clJauge().Efface();
    EXPECT_EQ(stCall("fDecoupe", {Nom("joint"), CValue::Int64(10000000), Nom("q"), CValue::Int(0), CValue::Null()})
                  .clResult.nInteger, 1);
    EXPECT_TRUE(m_cl.clJauge().tabAppels().empty());
    EXPECT_NE(sRefused("fDecoupe", {Nom("joint"), CValue::Int64(10), Nom("r"), CValue::Int(0), CValue::Text(L"Autre")})
                  .find("gauge"), std::string::npos);
}

TEST_F(SplitMergeEndToEnd, OvrunDrawsTheGaugeOnATerminalOnly) {
    Ecrit(sChemin("f"), sAleatoire(200000, 9));
    const std::vector<std::string> tabArgs = {"-e", "fDecoupe(\"" + sChemin("f") + "\", 65536, \"" + sChemin("p") + "\", 0, Jauge)",
                                              "-e", "fRegroupe(\"" + sChemin("p") + "\", \"" + sChemin("j") + "\", 1, Jauge)"};
    // Standard error on a pseudo-terminal, raw so that it hands back the bytes as written.
    const int nMaitre = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(nMaitre, 0);
    ASSERT_TRUE(grantpt(nMaitre) == 0 && unlockpt(nMaitre) == 0);
    const int nEsclave = open(ptsname(nMaitre), O_RDWR | O_NOCTTY);
    ASSERT_GE(nEsclave, 0);
    struct termios stTerminal {};
    ASSERT_EQ(tcgetattr(nEsclave, &stTerminal), 0);
    cfmakeraw(&stTerminal);
    ASSERT_EQ(tcsetattr(nEsclave, TCSANOW, &stTerminal), 0);
    int anSortie[2];
    ASSERT_EQ(pipe(anSortie), 0);
    std::vector<char*> tabArgv = {const_cast<char*>(OVRUN_PATH)};
    for (const std::string& s : tabArgs) tabArgv.push_back(const_cast<char*>(s.c_str()));
    tabArgv.push_back(nullptr);
    std::string sSortie, sTerminal;
    int nStatut = 0;
    {
        ovtest::CSigchldRetenu clRetenu;
        const pid_t nPid = fork();
        ASSERT_GE(nPid, 0);
        if (nPid == 0) {
            dup2(anSortie[1], 1);
            dup2(nEsclave, 2);
            execv(OVRUN_PATH, tabArgv.data());
            _exit(127);
        }
        close(nEsclave);
        close(anSortie[1]);
        char sz[4096];
        for (ssize_t n; (n = read(anSortie[0], sz, sizeof sz)) > 0;) sSortie.append(sz, static_cast<size_t>(n));
        // Once the program is gone the terminal answers what it holds, then an error.
        ASSERT_EQ(waitpid(nPid, &nStatut, 0), nPid);
        for (ssize_t n; (n = read(nMaitre, sz, sizeof sz)) > 0;) sTerminal.append(sz, static_cast<size_t>(n));
    }
    close(anSortie[0]);
    close(nMaitre);
    ASSERT_TRUE(WIFEXITED(nStatut) && WEXITSTATUS(nStatut) == 0) << sTerminal;
    EXPECT_EQ(sSortie, "4\n4\n");
    const std::string sDebutDecoupe = "\r fDecoupe   0.0 %", sFinDecoupe = "\r fDecoupe 100.0 %\n";
    const std::string sDebutRegroupe = "\r fRegroupe   0.0 %", sFinRegroupe = "\r fRegroupe 100.0 %\n";
    const size_t nCoupure = sTerminal.find('\n') + 1;
    const std::string sDecoupe = sTerminal.substr(0, nCoupure), sRegroupe = sTerminal.substr(nCoupure);
    EXPECT_EQ(sDecoupe.rfind(sDebutDecoupe, 0), 0u) << sTerminal;
    EXPECT_TRUE(sDecoupe.size() > sFinDecoupe.size() && sDecoupe.ends_with(sFinDecoupe)) << sTerminal;
    EXPECT_EQ(sRegroupe.rfind(sDebutRegroupe, 0), 0u) << sTerminal;
    EXPECT_TRUE(sRegroupe.ends_with(sFinRegroupe)) << sTerminal;
    EXPECT_EQ(std::count(sRegroupe.begin(), sRegroupe.end(), '\n'), 1) << sTerminal;
    // Each redraw shows a new value: no line is drawn twice in a row.
    std::vector<std::string> tabLignes;
    for (size_t i = 0; i < sTerminal.size();) {
        const size_t j = sTerminal.find('\r', i + 1);
        tabLignes.push_back(sTerminal.substr(i, j == std::string::npos ? j : j - i));
        i = j == std::string::npos ? sTerminal.size() : j;
    }
    EXPECT_EQ(std::adjacent_find(tabLignes.begin(), tabLignes.end()), tabLignes.end()) << sTerminal;

    // With standard error redirected, nothing but the results.
    std::filesystem::remove(sChemin("j"));
    const ovtest::STSortieOvrun st = ovtest::stLanceOvrun(OVRUN_PATH, tabArgs);
    EXPECT_EQ(st.nStatus, 0);
    EXPECT_EQ(st.sTexte, "4\n4\n");
}

TEST_F(SplitMergeEndToEnd, SearchAgreesWithAPlainScanAcrossBlockEdges) {
    // Few distinct bytes, so that partial hits abound at every block edge.
    constexpr size_t kBloc = ovdecoupe::kTailleBlocRecherche;
    std::string sFichier = sAleatoire(3 * kBloc + 10000, 11);
    for (char& c : sFichier) c = static_cast<char>('a' + (static_cast<unsigned char>(c) % 3));
    sFichier.replace(2 * kBloc + 40000, 6, "aaaaab");
    Ecrit(sChemin("h"), sFichier);
    const int nHandle = static_cast<int>(stCall("fOuvre", {Nom("h"), CValue::Int(1)}).clResult.nInteger);
    ASSERT_GT(nHandle, 1);
    stCall("fPositionne", {CValue::Int(nHandle), CValue::Int64(1234)});
    std::vector<std::pair<std::string, int64_t>> tabCas;
    for (size_t oBord : {kBloc, 2 * kBloc, 3 * kBloc})
        for (size_t nAvant : {1u, 7u, 40u})
            for (int64_t oDepart : {int64_t{0}, static_cast<int64_t>(oBord - 100)})
                tabCas.push_back({sFichier.substr(oBord - nAvant, 50), oDepart});
    tabCas.push_back({std::string(30, 'a') + "b", 0});
    tabCas.push_back({"aaaaab", 2 * kBloc + 39999});
    tabCas.push_back({"aaaaab", 2 * kBloc + 40001});
    tabCas.push_back({sFichier.substr(sFichier.size() - 10), 0});
    tabCas.push_back({"zz", 0});
    for (const auto& [sAiguille, oDepart] : tabCas) {
        const int64_t oAttendu = static_cast<int64_t>(sFichier.find(sAiguille, static_cast<size_t>(oDepart)));
        const STCallOutcome st = stCall("fCherche", {CValue::Int(nHandle), CValue::Buffer(sAiguille), CValue::Int64(oDepart)});
        EXPECT_EQ(st.clResult.nInteger, oAttendu) << "from " << oDepart << " needle of " << sAiguille.size();
    }
    EXPECT_EQ(stCall("fPositionne", {CValue::Int(nHandle), CValue::Int64(0), CValue::Int(1)}).clResult.nInteger, 1234)
        << "the handle's position is kept";
    stCall("fFerme", {CValue::Int(nHandle)});
}

TEST_F(SplitMergeEndToEnd, SearchFindsTheFirstHitAmongDecoysOfTheNeedlesRareBytes) {
    // Text with near misses of the needle (its non-ASCII bytes in place, one other byte changed),
    // from none to one every few bytes, and the needle itself across the edge of the first block.
    constexpr size_t kBloc = ovdecoupe::kTailleBlocRecherche;
    const std::string sAiguille = "No\xc3\xabl \xc3\xa0 l'\xc3\xa9" "cole \xf0\x9f\x98\x80";
    struct {
        int nLine;
        size_t nEcart;  // between near misses; 0: none
    } const tabCas[] = {{__LINE__, 0}, {__LINE__, 5000}, {__LINE__, 70}, {__LINE__, 30}, {__LINE__, 1}};
    for (const auto& c : tabCas) {
        std::string sFichier = sAleatoire(2 * kBloc + 5000, static_cast<unsigned>(c.nLine));
        for (char& ch : sFichier) ch = static_cast<char>('a' + static_cast<unsigned char>(ch) % 26);
        for (size_t o = 0, n = 0; c.nEcart > 0 && o + sAiguille.size() < sFichier.size(); o += c.nEcart + sAiguille.size(), ++n) {
            std::string sLeurre = sAiguille;
            sLeurre[n % 2 == 0 ? 0 : sLeurre.size() / 2] = 'x';
            sFichier.replace(o, sLeurre.size(), sLeurre);
        }
        const size_t oVrai = kBloc - 9;
        sFichier.replace(oVrai, sAiguille.size(), sAiguille);
        sFichier.replace(sFichier.size() - sAiguille.size(), sAiguille.size(), sAiguille);
        Ecrit(sChemin("d"), sFichier);
        const int nHandle = static_cast<int>(stCall("fOuvre", {Nom("d"), CValue::Int(1)}).clResult.nInteger);
        for (size_t oDepart : {size_t{0}, oVrai, oVrai + 1, kBloc + 3}) {
            const int64_t oAttendu = static_cast<int64_t>(sFichier.find(sAiguille, oDepart));
            EXPECT_EQ(stCall("fCherche", {CValue::Int(nHandle), CValue::Buffer(sAiguille), CValue::Int64(static_cast<int64_t>(oDepart))})
                          .clResult.nInteger, oAttendu) << "row " << c.nLine << " from " << oDepart;
        }
        stCall("fFerme", {CValue::Int(nHandle)});
    }
}

TEST_F(SplitMergeEndToEnd, SearchTakesWideTextAsItsBytesAndChecksItsHandle) {
    const std::wstring sTexte = L"\u00e9t\u00e9 \U0001F600";
    std::string sFichier = "xx";
    sFichier.append(reinterpret_cast<const char*>(sTexte.data()), sTexte.size() * sizeof(wchar_t));
    Ecrit(sChemin("w"), sFichier);
    const int nHandle = static_cast<int>(stCall("fOuvre", {Nom("w"), CValue::Int(1)}).clResult.nInteger);
    EXPECT_EQ(stCall("fCherche", {CValue::Int(nHandle), CValue::Text(sTexte)}).clResult.nInteger, 2);
    EXPECT_EQ(stCall("fCherche", {CValue::Int(nHandle), CValue::Text(L"")}).clResult.nInteger, 0);
    EXPECT_EQ(stCall("fCherche", {CValue::Int(nHandle), CValue::Text(L"x"), CValue::Int64(-1)}).clResult.nInteger, -1);
    stCall("fFerme", {CValue::Int(nHandle)});
    const STCallOutcome st = stCall("fCherche", {CValue::Int(nHandle), CValue::Text(L"x")});
    EXPECT_EQ(st.clResult.nInteger, -1);
    EXPECT_EQ(st.stError.nCode, 80022);
}

}  // namespace
}  // namespace ovhost
