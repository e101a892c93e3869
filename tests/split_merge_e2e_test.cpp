// Cutting, joining and searching files through the stand-in machine: pieces against the system's
// split, joins against the source, hits against a plain scan of the bytes, and failures.
#include <gtest/gtest.h>

#include <dirent.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/child_process.h"
#include "tests/machine_fixture.h"

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

TEST_F(SplitMergeEndToEnd, SearchAgreesWithAPlainScanAcrossBlockEdges) {
    // Few distinct bytes, so that partial hits abound at every block edge.
    std::string sFichier = sAleatoire(250000, 11);
    for (char& c : sFichier) c = static_cast<char>('a' + (static_cast<unsigned char>(c) % 3));
    sFichier.replace(200000, 6, "aaaaab");
    Ecrit(sChemin("h"), sFichier);
    const int nHandle = static_cast<int>(stCall("fOuvre", {Nom("h"), CValue::Int(1)}).clResult.nInteger);
    ASSERT_GT(nHandle, 1);
    stCall("fPositionne", {CValue::Int(nHandle), CValue::Int64(1234)});
    std::vector<std::pair<std::string, int64_t>> tabCas;
    for (size_t oBord : {80000u, 160000u, 240000u})
        for (size_t nAvant : {1u, 7u, 40u})
            for (int64_t oDepart : {int64_t{0}, static_cast<int64_t>(oBord - 100)})
                tabCas.push_back({sFichier.substr(oBord - nAvant, 50), oDepart});
    tabCas.push_back({std::string(30, 'a') + "b", 0});
    tabCas.push_back({"aaaaab", 199999});
    tabCas.push_back({"aaaaab", 200001});
    tabCas.push_back({sFichier.substr(249990), 0});
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
