// The language's file handles through the stand-in machine: text written and read back in ANSI
// and Unicode files, against bytes Python's codecs made; positions, reuse, locks, descriptors and
// failures as a program meets them.
#include <gtest/gtest.h>

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "host/machine.h"
#include "tests/machine_fixture.h"
#include "tests/ovrun_process.h"

namespace ovhost {
namespace {

constexpr int kLecture = 0x1, kLectureEcriture = 0x2, kEcriture = 0x10, kBloque = 0xC;
constexpr int kCreation = 0x200, kUnicode = 0x1000, kAnsi = 0x2000, kSupprime = 0x4000000;
const std::wstring kEOT(1, L'\x04');

std::string sLitFichier(const std::string& sChemin) {
    std::ifstream f(sChemin, std::ios::binary);
    std::ostringstream s;
    s << f.rdbuf();
    return s.str();
}

int nNbDescripteur() {
    int n = 0;
    if (DIR* pDir = opendir("/proc/self/fd")) {
        while (readdir(pDir) != nullptr) ++n;
        closedir(pDir);
    }
    return n;
}

class FileHandlesEndToEnd : public MachineEndToEnd {
protected:
    void SetUp() override {
        MachineEndToEnd::SetUp();
        const char* pszTmp = std::getenv("TMPDIR");
        std::string sModele = std::string(pszTmp && *pszTmp ? pszTmp : "/tmp") + "/ov_handles_XXXXXX";
        ASSERT_NE(mkdtemp(sModele.data()), nullptr);
        m_sRep = sModele;
    }
    void TearDown() override {
        m_cl.SetModeChaine(0);
        std::error_code ec;
        std::filesystem::remove_all(m_sRep, ec);
    }

    std::string sChemin(const std::string& sNom) const { return m_sRep + "/" + sNom; }
    static std::wstring sLarge(const std::string& s) { return std::filesystem::path(s).wstring(); }

    int nOuvre(const std::string& sNom, int nMode, const char* pszFonction = "fOuvre") {
        return static_cast<int>(stCall(pszFonction, {CValue::Text(sLarge(sChemin(sNom))), CValue::Int(nMode)}).clResult.nInteger);
    }
    STCallOutcome st(const char* pszNom, std::vector<CValue> tab) { return stCall(pszNom, std::move(tab)); }
    int64_t n(const char* pszNom, std::vector<CValue> tab) { return stCall(pszNom, std::move(tab)).clResult.nInteger; }
    std::wstring sLigne(int nHandle) { return stCall("fLitLigne", {CValue::Int(nHandle)}).clResult.sText; }

    std::string m_sRep;
};

TEST_F(FileHandlesEndToEnd, AnsiAndUnicodeLinesAgreeWithPythonsCodecs) {
    struct {
        int nLine;
        const char* pszAttendu;
        int nMode;
        std::vector<std::wstring> tabLignes;
    } const tabCas[] = {
        {__LINE__, "handles_ansi.txt", kAnsi, {L"première ligne", L"", L"été à l'œil", L"dernière"}},
        {__LINE__, "handles_unicode.txt", kUnicode,
         {L"première ligne", L"", L"été \U0001F600 à l'œil", L"\u0a0a\u010a pièges", L"dernière"}},
    };
    for (const auto& c : tabCas) {
        const int h = nOuvre(c.pszAttendu, c.nMode, "fCree");
        ASSERT_GE(h, 2) << "row " << c.nLine;
        for (const std::wstring& s : c.tabLignes) EXPECT_EQ(n("fEcritLigne", {CValue::Int(h), CValue::Text(s)}), 1);
        EXPECT_EQ(n("fFerme", {CValue::Int(h)}), 0);
        EXPECT_EQ(sLitFichier(sChemin(c.pszAttendu)), sLitFichier(std::string(OV_TESTDATA) + "/" + c.pszAttendu))
            << "row " << c.nLine;

        const int hLu = nOuvre(c.pszAttendu, kLecture | c.nMode);
        for (const std::wstring& s : c.tabLignes) EXPECT_EQ(sLigne(hLu), s) << "row " << c.nLine;
        EXPECT_EQ(sLigne(hLu), kEOT) << "row " << c.nLine;
        EXPECT_EQ(sLigne(hLu), kEOT) << "the marker again, never a stray empty line";
        n("fFerme", {CValue::Int(hLu)});
    }
}

TEST_F(FileHandlesEndToEnd, LongLinesAndLineEndsAcrossReadsComeWhole) {
    // Lines far past the read-ahead, a CR LF cut by its edge, a last line without an end, and a
    // lone CR that stays in its line.
    const std::string sLong(70000, 'x'), sBord(65535, 'y');
    const std::string sAnsi = sLong + "\r\n" + sBord + "\r\nun\rdeux\n\nfin";
    std::ofstream(sChemin("long.txt"), std::ios::binary) << sAnsi;
    const int h = nOuvre("long.txt", kLecture | kAnsi);
    EXPECT_EQ(sLigne(h), std::wstring(sLong.begin(), sLong.end()));
    EXPECT_EQ(sLigne(h), std::wstring(sBord.begin(), sBord.end()));
    EXPECT_EQ(sLigne(h), L"un\rdeux");
    EXPECT_EQ(sLigne(h), L"");
    EXPECT_EQ(sLigne(h), L"fin");
    EXPECT_EQ(sLigne(h), kEOT);

    const int hU = nOuvre("long16.txt", kUnicode, "fCree");
    const std::wstring sLarge(40000, L'\U0001F600');
    n("fEcritLigne", {CValue::Int(hU), CValue::Text(sLarge)});
    n("fEcrit", {CValue::Int(hU), CValue::Text(L"é")});
    EXPECT_EQ(n("fPositionne", {CValue::Int(hU), CValue::Int64(0), CValue::Int(0)}), 0);
    n("fFerme", {CValue::Int(hU)});
    const int hU2 = nOuvre("long16.txt", kLecture | kUnicode);
    EXPECT_EQ(sLigne(hU2), sLarge);
    EXPECT_EQ(sLigne(hU2), L"é");
    EXPECT_EQ(sLigne(hU2), kEOT);
}

TEST_F(FileHandlesEndToEnd, ReadsPositionsAndLinesMixAsUnbuffered) {
    std::ofstream(sChemin("mix.txt"), std::ios::binary) << "abc\r\ndef\r\nghi";
    const int h = nOuvre("mix.txt", kLectureEcriture | kAnsi);
    EXPECT_EQ(sLigne(h), L"abc");
    EXPECT_EQ(n("fPositionne", {CValue::Int(h), CValue::Int64(0), CValue::Int(1)}), 5);
    STCallOutcome stLu = st("fLit", {CValue::Int(h), CValue::Int(2)});
    EXPECT_EQ(stLu.clResult.sBytes, "de");
    EXPECT_EQ(sLigne(h), L"f");
    // A write lands where the language stands, not where the read-ahead stopped.
    EXPECT_EQ(n("fEcrit", {CValue::Int(h), CValue::Text(L"GH")}), 2);
    EXPECT_EQ(sLigne(h), L"i");
    EXPECT_EQ(n("fPositionne", {CValue::Int(h), CValue::Int64(0), CValue::Int(0)}), 0);
    EXPECT_EQ(sLigne(h), L"abc");
    EXPECT_EQ(n("fTaille", {CValue::Int(h)}), 13);
    EXPECT_EQ(sLigne(h), L"def") << "the size leaves the position alone";
    EXPECT_EQ(sLitFichier(sChemin("mix.txt")), "abc\r\ndef\r\nGHi");
    // A size change keeps a position inside the file and brings a later one to the new end.
    EXPECT_EQ(n("fChangeTaille", {CValue::Int(h), CValue::Int64(4)}), 1);
    EXPECT_EQ(n("fPositionne", {CValue::Int(h), CValue::Int64(0), CValue::Int(1)}), 4);
    // Separators: a text instead of the line end, found across the line ends.
    std::ofstream(sChemin("sep.txt"), std::ios::binary) << "a;b\r\nc;;d";
    const int hS = nOuvre("sep.txt", kLecture | kAnsi);
    const auto sCoupe = [&] { return st("fLitLigne", {CValue::Int(hS), CValue::Text(L";")}).clResult.sText; };
    EXPECT_EQ(sCoupe(), L"a");
    EXPECT_EQ(sCoupe(), L"b\r\nc");
    EXPECT_EQ(sCoupe(), L"");
    EXPECT_EQ(sCoupe(), L"d");
    EXPECT_EQ(sCoupe(), kEOT);
}

TEST_F(FileHandlesEndToEnd, BytesGoThroughCallerMemory) {
    std::ofstream(sChemin("octets.bin"), std::ios::binary) << std::string("\x01\x00\xff\x0a", 4);
    const int h = nOuvre("octets.bin", kLectureEcriture | kAnsi);
    char ab[8] = {};
    EXPECT_EQ(n("fLit", {CValue::Int(h), CValue::Int(8), CValue::Int64(reinterpret_cast<intptr_t>(ab))}), 4);
    EXPECT_EQ(std::string(ab, 4), std::string("\x01\x00\xff\x0a", 4));
    const char szEcrit[] = "zut";
    EXPECT_EQ(n("fEcrit", {CValue::Int(h), CValue::Int64(reinterpret_cast<intptr_t>(szEcrit)), CValue::Int(3)}), 3);
    EXPECT_EQ(n("fEcritLigne", {CValue::Int(h), CValue::Int64(reinterpret_cast<intptr_t>(szEcrit)), CValue::Int(1)}), 1);
    n("fPositionne", {CValue::Int(h), CValue::Int64(0), CValue::Int(0)});
    const STCallOutcome stLu = st("fLit", {CValue::Int(h), CValue::Int(100)});
    EXPECT_EQ(stLu.clResult.eKind, EValueKind::Buffer);
    EXPECT_EQ(stLu.clResult.sBytes, std::string("\x01\x00\xff\x0azutz\r\n", 10));
    // An ANSI project reads bytes as 8-bit text.
    m_cl.SetModeChaine(1);
    n("fPositionne", {CValue::Int(h), CValue::Int64(4), CValue::Int(0)});
    const STCallOutcome stTexte = st("fLit", {CValue::Int(h), CValue::Int(3)});
    EXPECT_EQ(stTexte.clResult.eKind, EValueKind::Ansi);
    EXPECT_EQ(stTexte.clResult.sBytes, "zut");
}

TEST_F(FileHandlesEndToEnd, HandlesAreReusedMostRecentFirstAndNeverZeroOrOne) {
    std::ofstream(sChemin("a"), std::ios::binary) << "a";
    const int h1 = nOuvre("a", kLecture), h2 = nOuvre("a", kLecture), h3 = nOuvre("a", kLecture);
    EXPECT_GE(h1, 2);
    EXPECT_NE(h1, h2);
    n("fFerme", {CValue::Int(h1)});
    n("fFerme", {CValue::Int(h3)});
    EXPECT_EQ(nOuvre("a", kLecture), h3);
    EXPECT_EQ(nOuvre("a", kLecture), h1);
    for (int h : {h1, h2, h3}) n("fFerme", {CValue::Int(h)});
    for (int h : {0, 1, h2, -5, 1 << 30}) {
        const STCallOutcome stF = st("fFerme", {CValue::Int(h)});
        EXPECT_EQ(stF.clResult.nInteger, -1);
        EXPECT_EQ(stF.stError.nCode, 80022) << h;
        EXPECT_EQ(stF.stError.nLevel, 2) << h;
    }
}

TEST_F(FileHandlesEndToEnd, BadArgumentsRaiseTheirErrors) {
    std::ofstream(sChemin("f"), std::ios::binary) << "contenu";
    const int h = nOuvre("f", kLectureEcriture);
    const int hFerme = nOuvre("f", kLecture);
    n("fFerme", {CValue::Int(hFerme)});
    struct {
        int nLine;
        const char* pszNom;
        std::vector<CValue> tab;
        int nCode;
    } const tabCas[] = {
        {__LINE__, "fLit", {CValue::Int(h), CValue::Int(-1)}, 80700},
        {__LINE__, "fLit", {CValue::Int(h), CValue::Int(4), CValue::Int64(0)}, 81812},
        {__LINE__, "fEcrit", {CValue::Int(h), CValue::Int64(0), CValue::Int(3)}, 81812},
        {__LINE__, "fEcrit", {CValue::Int(h), CValue::Int64(8), CValue::Int(-3)}, 80700},
        {__LINE__, "fEcritLigne", {CValue::Int(h), CValue::Int64(0), CValue::Int(2)}, 81812},
        {__LINE__, "fEcritLigne", {CValue::Int(h), CValue::Text(L"x"), CValue::Int(-2)}, 80700},
        {__LINE__, "fPositionne", {CValue::Int(h), CValue::Int64(0), CValue::Int(3)}, 80023},
        {__LINE__, "fPositionne", {CValue::Int(h), CValue::Int64(-10), CValue::Int(0)}, 80034},
        {__LINE__, "fChangeTaille", {CValue::Int(h), CValue::Int64(-1)}, 80700},
        {__LINE__, "fBloque", {CValue::Int(h), CValue::Int64(-1), CValue::Int64(4)}, 80700},
        {__LINE__, "fDebloque", {CValue::Int(h), CValue::Int64(0), CValue::Int64(-2)}, 80700},
        {__LINE__, "fLitLigne", {CValue::Int(hFerme)}, 80022},
        {__LINE__, "fLit", {CValue::Int(hFerme), CValue::Int(1)}, 80022},
        {__LINE__, "fEcritLigne", {CValue::Int(hFerme), CValue::Text(L"x")}, 80022},
        {__LINE__, "fTaille", {CValue::Int(hFerme)}, 80022},
        {__LINE__, "fNomFichier", {CValue::Int(hFerme)}, 80022},
        {__LINE__, "fBloque", {CValue::Int(hFerme)}, 80022},
        {__LINE__, "fOuvre", {CValue::Text(sLarge(sChemin("absent"))), CValue::Int(kLecture)}, 80026},
    };
    for (const auto& c : tabCas) {
        const STCallOutcome stR = st(c.pszNom, c.tab);
        EXPECT_TRUE(stR.bError) << "row " << c.nLine;
        EXPECT_EQ(stR.stError.nCode, c.nCode) << "row " << c.nLine;
    }
    EXPECT_EQ(sLitFichier(sChemin("f")), "contenu") << "no failure wrote anything";
}

TEST_F(FileHandlesEndToEnd, ALockIsSeenByAnotherProcess) {
    const ovtest::CSigchldRetenu clRetenu;
    std::ofstream(sChemin("verrou"), std::ios::binary) << std::string(100, 'v');
    const int h = nOuvre("verrou", kLectureEcriture);
    ASSERT_EQ(n("fBloque", {CValue::Int(h), CValue::Int64(10), CValue::Int64(20)}), 1);
    const auto nEssaiAutreProcessus = [&] {
        const pid_t nPid = fork();
        if (nPid == 0) {
            const int fd = open(sChemin("verrou").c_str(), O_RDWR);
            struct flock st = {};
            st.l_type = F_WRLCK;
            st.l_whence = SEEK_SET;
            st.l_start = 15;
            st.l_len = 1;
            _exit(fd >= 0 && fcntl(fd, F_SETLK, &st) == 0 ? 0 : 1);
        }
        int nStatut = 0;
        waitpid(nPid, &nStatut, 0);
        return WIFEXITED(nStatut) ? WEXITSTATUS(nStatut) : -1;
    };
    EXPECT_EQ(nEssaiAutreProcessus(), 1);
    ASSERT_EQ(n("fDebloque", {CValue::Int(h), CValue::Int64(10), CValue::Int64(20)}), 1);
    EXPECT_EQ(nEssaiAutreProcessus(), 0);
    // An exclusive open locks the whole file against a second exclusive open.
    const int hX = nOuvre("verrou", kLectureEcriture | kBloque);
    ASSERT_GE(hX, 2);
    EXPECT_EQ(nEssaiAutreProcessus(), 1);
}

TEST_F(FileHandlesEndToEnd, EveryDescriptorIsClosedAndDeleteOnCloseDeletes) {
    std::ofstream(sChemin("d"), std::ios::binary) << "d";
    const int nAvant = nNbDescripteur();
    std::vector<int> tab;
    for (int i = 0; i < 12; ++i) tab.push_back(nOuvre("d", kLecture));
    EXPECT_EQ(nOuvre("absent/x", kLecture), -1);
    EXPECT_EQ(nOuvre("absent/x", kCreation | kUnicode), -1);
    EXPECT_EQ(nNbDescripteur(), nAvant + 12);
    for (int h : tab) n("fFerme", {CValue::Int(h)});
    EXPECT_EQ(nNbDescripteur(), nAvant);

    const int h = nOuvre("d", kLecture | kSupprime);
    const STCallOutcome stNom = st("fNomFichier", {CValue::Int(h)});
    EXPECT_EQ(stNom.clResult.sText, sLarge(sChemin("d")));
    n("fFerme", {CValue::Int(h)});
    EXPECT_FALSE(std::filesystem::exists(sChemin("d")));
    EXPECT_EQ(nNbDescripteur(), nAvant);
}

TEST_F(FileHandlesEndToEnd, AFullDiskIsAnErrorNotALoss) {
    const ovtest::CSigchldRetenu clRetenu;
    const STCallOutcome stO = st("fOuvre", {CValue::Text(L"/dev/full"), CValue::Int(kEcriture | kAnsi)});
    const int h = static_cast<int>(stO.clResult.nInteger);
    ASSERT_GE(h, 2);
    const STCallOutcome stE = st("fEcritLigne", {CValue::Int(h), CValue::Text(L"perdu ?")});
    EXPECT_EQ(stE.clResult.nInteger, 0);
    EXPECT_TRUE(stE.bError);
    EXPECT_EQ(stE.stError.nLevel, 2);
    n("fFerme", {CValue::Int(h)});

    // A size limit: the write that crosses it fails and says so.
    const int hL = nOuvre("limite", kAnsi, "fCree");
    const pid_t nPid = fork();
    if (nPid == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const struct rlimit st = {8, 8};
        setrlimit(RLIMIT_FSIZE, &st);
        std::vector<CValue> tab = {CValue::Int(hL), CValue::Text(L"0123456789")};
        STCallOutcome stR;
        std::string sErreur;
        m_cl.bCall("fEcritLigne", tab, &stR, &sErreur);
        _exit(stR.clResult.nInteger == 0 && stR.bError ? 0 : 1);
    }
    int nStatut = 0;
    waitpid(nPid, &nStatut, 0);
    EXPECT_TRUE(WIFEXITED(nStatut) && WEXITSTATUS(nStatut) == 0);
}

TEST_F(FileHandlesEndToEnd, ARefusedOpenIsAnError) {
    const ovtest::CSigchldRetenu clRetenu;
    std::ofstream(sChemin("prive"), std::ios::binary) << "p";
    chmod(sChemin("prive").c_str(), 0600);
    chmod(m_sRep.c_str(), 0755);
    const pid_t nPid = fork();
    if (nPid == 0) {
        if (setresgid(65534, 65534, 65534) != 0 || setresuid(65534, 65534, 65534) != 0) _exit(2);
        std::vector<CValue> tab = {CValue::Text(sLarge(sChemin("prive"))), CValue::Int(kLecture)};
        STCallOutcome stR;
        std::string sErreur;
        m_cl.bCall("fOuvre", tab, &stR, &sErreur);
        _exit(stR.clResult.nInteger == -1 && stR.bError ? 0 : 1);
    }
    int nStatut = 0;
    waitpid(nPid, &nStatut, 0);
    ASSERT_TRUE(WIFEXITED(nStatut));
    if (WEXITSTATUS(nStatut) == 2) GTEST_SKIP() << "privileges cannot be dropped here";
    EXPECT_EQ(WEXITSTATUS(nStatut), 0);
}

TEST_F(FileHandlesEndToEnd, OvrunWritesAndReadsAFile) {
    const std::string sFichier = sChemin("\u00e9t\u00e9.txt");  // the name reaches the system as UTF-8
    const ovtest::STSortieOvrun st = ovtest::stLanceOvrun(
        OVRUN_PATH, {"-e", "h = fCree(\"" + sFichier + "\", foUnicode)\nfEcritLigne(h, \"été \\u{1F600}\")\nfFerme(h)\n"
                           "h = fOuvre(\"" + sFichier + "\", 0x1001)\nfLitLigne(h)\nfTaille(h)\nfFerme(h)"});
    EXPECT_EQ(st.nStatus, 0) << st.sTexte;
    EXPECT_NE(st.sTexte.find("été \xF0\x9F\x98\x80\n18\n"), std::string::npos) << st.sTexte;
}

}  // namespace
}  // namespace ovhost
