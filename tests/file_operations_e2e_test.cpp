// File and directory operations through the stand-in machine: texts in every form,
// appends, comparisons, copies and moves of awkward names, tree sizes, rights as another user,
// and a save that fails on a full disk without losing the old file.
#include <gtest/gtest.h>

#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/machine.h"
#include "host/utf8.h"
#include "host/vm.h"
#include "tests/child_process.h"
#include "tests/machine_fixture.h"

namespace ovhost {
namespace {

namespace fs = std::filesystem;

// "Café où l'été dure" with a character outside the Basic Multilingual Plane.
const std::wstring kTexte = L"Caf\u00e9 o\u00f9 l'\u00e9t\u00e9 dure \U0001F600";
const std::string kTexteUTF8 = "Caf\xc3\xa9 o\xc3\xb9 l'\xc3\xa9t\xc3\xa9 dure \xf0\x9f\x98\x80";
const std::string kTexteUTF16 = std::string("C\0a\0f\0\xe9\0 \0o\0\xf9\0 \0l\0'\0\xe9\0t\0\xe9\0 \0d\0u\0r\0e\0 \0", 38) +
                                std::string("\x3d\xd8\x00\xde", 4);

// Names go to the library as wide text and to the system as UTF-8, whatever the test's locale.
std::wstring sLarge(const std::string& s) { return sWideFromBytes(s); }

class FileOperationsEndToEnd : public MachineEndToEnd {
protected:
    void SetUp() override {
        MachineEndToEnd::SetUp();
        const char* pszTmp = std::getenv("TMPDIR");
        std::string sModele = std::string(pszTmp != nullptr && pszTmp[0] ? pszTmp : "/tmp") + "/ovops.XXXXXX";
        ASSERT_NE(mkdtemp(sModele.data()), nullptr);
        m_sDir = sModele;
    }
    void TearDown() override {
        m_cl.SetModeChaine(0);
        m_cl.SetProcedureHost(nullptr);
        std::error_code ec;
        for (auto& e : fs::recursive_directory_iterator(m_sDir, ec)) fs::permissions(e.path(), fs::perms::owner_all, fs::perm_options::add, ec);
        fs::remove_all(m_sDir, ec);
    }
    std::string sChemin(const std::string& sNom) const { return m_sDir + "/" + sNom; }
    std::wstring wChemin(const std::string& sNom) const { return sLarge(sChemin(sNom)); }
    static void Ecrit(const std::string& sNom, const std::string& sOctets) { std::ofstream(sNom, std::ios::binary) << sOctets; }
    static std::string sLit(const std::string& sNom) {
        std::ifstream f(sNom, std::ios::binary);
        return {std::istreambuf_iterator<char>(f), {}};
    }
    STCallOutcome stAppel(const char* pszNom, std::vector<CValue> tab) { return stCall(pszNom, std::move(tab)); }

    std::string m_sDir;
};

// ---------------------------------------------------------------- texts

TEST_F(FileOperationsEndToEnd, SavedTextsLoadBackInEveryForm) {
    const std::wstring sNom = wChemin("texte.txt");
    STCallOutcome st = stAppel("fSauveTexte", {CValue::Text(sNom), CValue::Text(kTexte)});
    ASSERT_FALSE(st.bError) << std::string(st.stError.sMessage.begin(), st.stError.sMessage.end());
    EXPECT_EQ(sLit(sChemin("texte.txt")), "\xff\xfe" + kTexteUTF16) << "UTF-16 with its mark, the emoji as a pair";
    EXPECT_EQ(stAppel("fChargeTexte", {CValue::Text(sNom)}).clResult.sText, kTexte);

    stAppel("fSauveTexte", {CValue::Text(sNom), CValue::Text(kTexte), CValue::Int(1)});
    EXPECT_EQ(sLit(sChemin("texte.txt")), kTexteUTF8) << "the raw option writes no mark";
    EXPECT_EQ(stAppel("fChargeTexte", {CValue::Text(sNom)}).clResult.sText, kTexte);

    m_cl.SetModeChaine(1);
    stAppel("fSauveTexte", {CValue::Text(sNom), CValue::Text(kTexte)});
    EXPECT_EQ(sLit(sChemin("texte.txt")), kTexteUTF16) << "8-bit programs get UTF-16 without mark";
    stAppel("fSauveTexte", {CValue::Text(sNom), CValue::Ansi(kTexteUTF8)});
    EXPECT_EQ(sLit(sChemin("texte.txt")), kTexteUTF8) << "8-bit text is written as it stands";
    st = stAppel("fChargeTexte", {CValue::Text(sNom)});
    EXPECT_EQ(st.clResult.eKind, EValueKind::Ansi) << "no mark: the string mode chooses 8-bit text";
    EXPECT_EQ(st.clResult.sBytes, kTexteUTF8);

    stAppel("fSauveTexte", {CValue::Text(sNom), CValue::Text(L"")});
    EXPECT_EQ(sLit(sChemin("texte.txt")), "") << "an empty text writes no mark";
}

TEST_F(FileOperationsEndToEnd, LoadingGivesWideOr8BitTextByMarkAndForm) {
    struct {
        int nLine;
        std::string sOctets;
        int nForme;
        EValueKind eAttendu;
    } const tabCas[] = {
        {__LINE__, "\xff\xfe" + kTexteUTF16, 1, EValueKind::Text},
        {__LINE__, kTexteUTF8, 2, EValueKind::Text},
        {__LINE__, kTexteUTF8, 1, EValueKind::Ansi},
    };
    for (const auto& c : tabCas) {
        Ecrit(sChemin("m.txt"), c.sOctets);
        const STCallOutcome st = stAppel("fChargeTexte", {CValue::Text(wChemin("m.txt")), CValue::Int(c.nForme)});
        ASSERT_EQ(st.clResult.eKind, c.eAttendu) << "row " << c.nLine;
        if (c.eAttendu == EValueKind::Text) EXPECT_EQ(st.clResult.sText, kTexte) << "row " << c.nLine;
        else EXPECT_EQ(st.clResult.sBytes, kTexteUTF8) << "row " << c.nLine;
    }
}

TEST_F(FileOperationsEndToEnd, AppendsFollowTheFormOfTheFile) {
    const std::wstring sNom = wChemin("ajout.txt");
    ASSERT_EQ(stAppel("fAjouteTexte", {CValue::Text(sNom), CValue::Text(L"\u00e9t\u00e9 ")}).clResult.nInteger, 1);
    stAppel("fAjouteTexte", {CValue::Text(sNom), CValue::Ansi("\xf0\x9f\x98\x80")});
    EXPECT_EQ(sLit(sChemin("ajout.txt")), std::string("\xff\xfe\xe9\0t\0\xe9\0 \0\x3d\xd8\x00\xde", 14))
        << "a new file takes a mark for wide text, and 8-bit text is converted to it";
    EXPECT_EQ(stAppel("fChargeTexte", {CValue::Text(sNom)}).clResult.sText, L"\u00e9t\u00e9 \U0001F600");

    Ecrit(sChemin("utf8.txt"), "\xef\xbb\xbf" "a");
    stAppel("fAjouteTexte", {CValue::Text(wChemin("utf8.txt")), CValue::Text(L"\u00e9")});
    EXPECT_EQ(sLit(sChemin("utf8.txt")), "\xef\xbb\xbf" "a\xc3\xa9") << "a UTF-8 file receives UTF-8";

    Ecrit(sChemin("ansi.txt"), "x");
    stAppel("fAjouteTexte", {CValue::Text(wChemin("ansi.txt")), CValue::Ansi("y z")});
    stAppel("fAjouteBuffer", {CValue::Text(wChemin("ansi.txt")), CValue::Buffer(std::string("\0\xff", 2))});
    EXPECT_EQ(sLit(sChemin("ansi.txt")), std::string("xy z\0\xff", 6));
    EXPECT_EQ(stAppel("fAjouteTexte", {CValue::Text(wChemin("ansi.txt")), CValue::Text(L"")}).clResult.nInteger, 1);
}

TEST_F(FileOperationsEndToEnd, BuffersLoadWholeOrInPortions) {
    const std::wstring sNom = wChemin("b.bin");
    const std::string sOctets("\0\x01\x02\xff\xfe" "abc", 8);
    ASSERT_EQ(stAppel("fSauveBuffer", {CValue::Text(sNom), CValue::Buffer(sOctets)}).clResult.nInteger, 1);
    EXPECT_EQ(stAppel("fChargeBuffer", {CValue::Text(sNom)}).clResult.sBytes, sOctets);
    struct {
        int nLine;
        int64_t nOffset, nTaille;
        std::string sAttendu;
    } const tabCas[] = {
        {__LINE__, 3, 2, "\xff\xfe"}, {__LINE__, 5, -1, "abc"}, {__LINE__, 6, 100, "bc"},
        {__LINE__, 8, 1, ""},         {__LINE__, 50, 1, ""},
    };
    for (const auto& c : tabCas) {
        const STCallOutcome st = stAppel("fChargeBuffer", {CValue::Text(sNom), CValue::Int64(c.nOffset), CValue::Int64(c.nTaille)});
        EXPECT_FALSE(st.bError) << "row " << c.nLine;
        EXPECT_EQ(st.clResult.sBytes, c.sAttendu) << "row " << c.nLine;
    }
}

// ---------------------------------------------------------------- comparison

TEST_F(FileOperationsEndToEnd, CompareAnswersEqualDifferentOrWhichCannotBeRead) {
    Ecrit(sChemin("a"), std::string(10000, 'x'));
    Ecrit(sChemin("b"), std::string(10000, 'x'));
    Ecrit(sChemin("c"), std::string(9999, 'x') + "y");
    Ecrit(sChemin("d"), std::string(10001, 'x'));
    fs::create_directory(sChemin("rep"));
    struct {
        int nLine;
        std::wstring sA, sB;
        int nBloc, nAttendu;
    } const tabCas[] = {
        {__LINE__, wChemin("a"), wChemin("b"), 4096, 1},
        {__LINE__, wChemin("a"), wChemin("b"), 10000, 1},
        {__LINE__, wChemin("a"), wChemin("c"), 4096, 0},
        {__LINE__, wChemin("a"), wChemin("d"), 10000, 0},
        {__LINE__, wChemin("a"), wChemin("rep/../a"), 7, 1},
        {__LINE__, wChemin("absent"), wChemin("a"), 4096, -1},
        {__LINE__, wChemin("a"), wChemin("rep"), 4096, -2},
        {__LINE__, L"", wChemin("a"), 4096, -3},
    };
    for (const auto& c : tabCas) {
        const STCallOutcome st = stAppel("fCompare", {CValue::Text(c.sA), CValue::Text(c.sB), CValue::Int(c.nBloc)});
        EXPECT_EQ(st.clResult.nInteger, c.nAttendu) << "row " << c.nLine;
    }
}

// ---------------------------------------------------------------- copies and moves

TEST_F(FileOperationsEndToEnd, ShellCharactersInNamesAreOnlyNames) {
    const std::string sNom = "a b;$(touch x).txt";
    Ecrit(sChemin(sNom), "contenu");
    fs::create_directory(sChemin("dest"));
    const std::string sAvant = fs::current_path().string();
    ASSERT_EQ(chdir(m_sDir.c_str()), 0);
    STCallOutcome st = stAppel("fCopieFichier", {CValue::Text(wChemin(sNom)), CValue::Text(wChemin("dest"))});
    EXPECT_EQ(st.clResult.nInteger, 1);
    EXPECT_EQ(sLit(sChemin("dest/" + sNom)), "contenu");
    st = stAppel("fCopieFichier", {CValue::Text(wChemin("a b*")), CValue::Text(wChemin("dest/sous/"))});
    EXPECT_EQ(sLit(sChemin("dest/sous/" + sNom)), "contenu") << "a pattern selects, the destination is created";
    EXPECT_FALSE(fs::exists(sChemin("x")) || fs::exists(sChemin("dest/x"))) << "nothing ran";
    ASSERT_EQ(chdir(sAvant.c_str()), 0);

    st = stAppel("fRenomme", {CValue::Text(wChemin(sNom)), CValue::Text(wChemin("dest/" + sNom))});
    EXPECT_EQ(st.clResult.nInteger, 0) << "renaming onto an existing name is refused";
    EXPECT_EQ(sLit(sChemin(sNom)), "contenu");
    st = stAppel("fDeplaceFichier", {CValue::Text(wChemin(sNom)), CValue::Text(wChemin("d\u00e9plac\u00e9 \U0001F600"))});
    EXPECT_EQ(st.clResult.nInteger, 1);
    EXPECT_EQ(sLit(sChemin("d\xc3\xa9plac\xc3\xa9 \xf0\x9f\x98\x80")), "contenu");
}

TEST_F(FileOperationsEndToEnd, DirectoriesCopyMoveAndDeleteWhole) {
    fs::create_directories(sChemin("src/sous"));
    Ecrit(sChemin("src/un.txt"), "1");
    Ecrit(sChemin("src/sous/deux.txt"), "22");
    ASSERT_EQ(stAppel("fRepCopie", {CValue::Text(wChemin("src")), CValue::Text(wChemin("copie"))}).clResult.nInteger, 1);
    EXPECT_EQ(sLit(sChemin("copie/sous/deux.txt")), "22");
    EXPECT_EQ(stAppel("fRepDeplace", {CValue::Text(wChemin("copie")), CValue::Text(wChemin("moved"))}).stError.nCode, 80068);
    ASSERT_EQ(stAppel("fRepDeplace", {CValue::Text(wChemin("copie")), CValue::Text(wChemin("moved")), CValue::Int(1)}).clResult.nInteger, 1);
    EXPECT_FALSE(fs::exists(sChemin("copie")));
    EXPECT_EQ(sLit(sChemin("moved/un.txt")), "1");
    ASSERT_EQ(stAppel("fRepSupprime", {CValue::Text(wChemin("moved")), CValue::Int(0x100)}).clResult.nInteger, 1);
    EXPECT_TRUE(fs::is_empty(sChemin("moved"))) << "0x100 keeps the directory itself";
    ASSERT_EQ(stAppel("fRepSupprime", {CValue::Text(wChemin("moved"))}).clResult.nInteger, 1);
    EXPECT_FALSE(fs::exists(sChemin("moved")));

    Ecrit(sChemin("src/trois.log"), "3");
    EXPECT_EQ(stAppel("fSupprime", {CValue::Text(wChemin("src/*.txt"))}).clResult.nInteger, 1);
    EXPECT_FALSE(fs::exists(sChemin("src/un.txt")));
    EXPECT_TRUE(fs::exists(sChemin("src/trois.log")) && fs::exists(sChemin("src/sous/deux.txt")));
    fs::permissions(sChemin("src/trois.log"), fs::perms::owner_read);
    EXPECT_EQ(stAppel("fSupprime", {CValue::Text(wChemin("src/trois.log"))}).clResult.nInteger, 0);
    EXPECT_EQ(stAppel("fSupprime", {CValue::Text(wChemin("src/trois.log")), CValue::Int(1)}).clResult.nInteger, 1);
}

// The procedure is asked after each file; its 0 stops the copy.
TEST_F(FileOperationsEndToEnd, CopyWithProcedureAsksAfterEachFile) {
    struct CProcedures final : IProcedureHost {
        int nTrouveProcedure(std::wstring_view s) override { return s == L"Suivi" ? 3 : -1; }
        bool bExecuteProcedure(std::wstring_view, const std::vector<CValue>& tab, CValue* pclRetour, std::string*) override {
            tabAppels.push_back(tab);
            *pclRetour = CValue::Int(static_cast<int>(tabAppels.size()) < nArret ? 1 : 0);
            return true;
        }
        std::vector<std::vector<CValue>> tabAppels;
        int nArret = 100;
    } clProcedures;
    m_cl.SetProcedureHost(&clProcedures);
    fs::create_directories(sChemin("s/sous"));
    Ecrit(sChemin("s/a.txt"), "a");
    Ecrit(sChemin("s/sous/b.txt"), "b");
    STCallOutcome st = stAppel("fCopieFichier", {CValue::Text(wChemin("s")), CValue::Text(wChemin("d")), CValue::Text(L"Suivi"),
                                                 CValue::Int64(7), CValue::Int(1)});
    EXPECT_EQ(st.clResult.nInteger, 1);
    ASSERT_EQ(clProcedures.tabAppels.size(), 2u);
    EXPECT_EQ(clProcedures.tabAppels[0][2].nInteger, 7);
    EXPECT_EQ(sLit(sChemin("d/sous/b.txt")), "b");
    clProcedures.tabAppels.clear();
    clProcedures.nArret = 1;
    st = stAppel("fCopieFichier", {CValue::Text(wChemin("s")), CValue::Text(wChemin("e")), CValue::Text(L"Suivi"),
                                   CValue::Int64(0), CValue::Int(1)});
    EXPECT_EQ(st.clResult.nInteger, 0);
    EXPECT_FALSE(st.bError) << "a stop is no error";
    EXPECT_EQ(clProcedures.tabAppels.size(), 1u);
}

// ---------------------------------------------------------------- trees, rights, full disks

TEST_F(FileOperationsEndToEnd, TreeSizeCountsFilesOnceThroughLinkLoops) {
    fs::create_directories(sChemin("t/a/b"));
    Ecrit(sChemin("t/un"), std::string(1000, 'x'));
    Ecrit(sChemin("t/a/deux"), std::string(2345, 'x'));
    Ecrit(sChemin("t/a/b/trois"), std::string(17, 'x'));
    Ecrit(sChemin("dehors"), std::string(100000, 'x'));
    fs::create_directory_symlink("..", sChemin("t/a/b/boucle"));
    fs::create_symlink(sChemin("dehors"), sChemin("t/lien"));
    fs::create_directory_symlink(m_sDir, sChemin("t/a/haut"));

    // The oracle: find(1), run without a shell.
    const ovtest::CSigchldRetenu clRetenu;
    int anTube[2];
    ASSERT_EQ(pipe(anTube), 0);
    const pid_t nPid = fork();
    if (nPid == 0) {
        dup2(anTube[1], 1);
        close(anTube[0]);
        const std::string sRacine = sChemin("t");
        execlp("find", "find", sRacine.c_str(), "-type", "f", "-printf", "%s\n", static_cast<char*>(nullptr));
        _exit(127);
    }
    close(anTube[1]);
    std::string sSortie;
    char sz[256];
    ssize_t n;
    while ((n = read(anTube[0], sz, sizeof sz)) > 0) sSortie.append(sz, static_cast<size_t>(n));
    close(anTube[0]);
    int nStatut = 0;
    waitpid(nPid, &nStatut, 0);
    if (!WIFEXITED(nStatut) || WEXITSTATUS(nStatut) != 0) GTEST_SKIP() << "find is not available";
    int64_t nAttendu = 0;
    for (size_t nDebut = 0, nFin; (nFin = sSortie.find('\n', nDebut)) != std::string::npos; nDebut = nFin + 1)
        nAttendu += std::stoll(sSortie.substr(nDebut, nFin - nDebut));

    EXPECT_EQ(nAttendu, 3362);
    EXPECT_EQ(stAppel("fRepTaille", {CValue::Text(wChemin("t"))}).clResult.nInteger, nAttendu);
    EXPECT_EQ(stAppel("fRepTaille", {CValue::Text(wChemin("t")), CValue::Int(2)}).clResult.nInteger, 1000);
    m_cl.ArmeInterruption(1);
    EXPECT_EQ(stAppel("fRepTaille", {CValue::Text(wChemin("t")), CValue::Int(4)}).clResult.nInteger, -1);
    m_cl.ArmeInterruption(0);
}

// The rights of a user who is not root, from a child that gives up its privileges.
TEST_F(FileOperationsEndToEnd, DirectoryRightsAsAnotherUser) {
    for (const char* psz : {"ecriture", "liste", "rien"}) fs::create_directory(sChemin(psz));
    Ecrit(sChemin("liste/f"), "f");
    chmod(sChemin("ecriture").c_str(), 0777);
    chmod(sChemin("liste").c_str(), 0555);
    chmod(sChemin("rien").c_str(), 0);
    chmod(m_sDir.c_str(), 0755);
    const ovtest::CSigchldRetenu clRetenu;
    const pid_t nPid = fork();
    if (nPid == 0) {
        if (geteuid() == 0 && (setresgid(65534, 65534, 65534) != 0 || setresuid(65534, 65534, 65534) != 0)) _exit(100);
        int nCode = 0;
        const char* tabNoms[] = {"ecriture", "liste", "rien"};
        for (int i = 0; i < 3; ++i) {
            std::vector<CValue> tab{CValue::Text(wChemin(tabNoms[i]))};
            STCallOutcome st;
            std::string sErreur;
            m_cl.bCall("fRepDroit", tab, &st, &sErreur);
            nCode = nCode * 3 + static_cast<int>(st.clResult.nInteger);
        }
        _exit(nCode);
    }
    int nStatut = 0;
    ASSERT_EQ(waitpid(nPid, &nStatut, 0), nPid);
    ASSERT_TRUE(WIFEXITED(nStatut));
    if (WEXITSTATUS(nStatut) == 100) GTEST_SKIP() << "privileges cannot be dropped";
    EXPECT_EQ(WEXITSTATUS(nStatut), 2 * 9 + 1 * 3 + 0) << "2, 1 and 0";
    EXPECT_TRUE(fs::is_empty(sChemin("ecriture"))) << "the test file is gone";
}

// A save that cannot be completed (here a file-size limit standing for a full disk) leaves the old
// file as it was, with its rights, and no temporary file behind.
TEST_F(FileOperationsEndToEnd, FailedSaveKeepsTheOldFile) {
    const std::string sNom = sChemin("garde.txt");
    Ecrit(sNom, "ancien contenu");
    chmod(sNom.c_str(), 0640);
    const ovtest::CSigchldRetenu clRetenu;
    const pid_t nPid = fork();
    if (nPid == 0) {
        signal(SIGXFSZ, SIG_IGN);
        rlimit st{4096, 4096};
        setrlimit(RLIMIT_FSIZE, &st);
        std::vector<CValue> tab{CValue::Text(sLarge(sNom)), CValue::Text(std::wstring(10000, L'\u00e9'))};
        STCallOutcome stResultat;
        std::string sErreur;
        m_cl.bCall("fSauveTexte", tab, &stResultat, &sErreur);
        _exit(stResultat.clResult.nInteger == 0 && stResultat.bError ? 0 : 1);
    }
    int nStatut = 0;
    ASSERT_EQ(waitpid(nPid, &nStatut, 0), nPid);
    EXPECT_TRUE(WIFEXITED(nStatut) && WEXITSTATUS(nStatut) == 0) << "the save answers a failure";
    EXPECT_EQ(sLit(sNom), "ancien contenu");
    EXPECT_EQ(fs::status(sNom).permissions() & fs::perms::all, fs::perms(0640));
    int nEntrees = 0;
    for ([[maybe_unused]] auto& e : fs::directory_iterator(m_sDir)) ++nEntrees;
    EXPECT_EQ(nEntrees, 1);

    ASSERT_EQ(stAppel("fSauveTexte", {CValue::Text(sLarge(sNom)), CValue::Ansi("nouveau")}).clResult.nInteger, 1);
    EXPECT_EQ(sLit(sNom), "nouveau");
    EXPECT_EQ(fs::status(sNom).permissions() & fs::perms::all, fs::perms(0640)) << "the rights stay";
}

// ---------------------------------------------------------------- names, attributes, times

TEST_F(FileOperationsEndToEnd, PathsSplitJoinAndChangeSeparators) {
    struct {
        int nLine;
        const char* pszFonction;
        std::vector<CValue> tab;
        std::wstring sAttendu;
    } const tabCas[] = {
        {__LINE__, "fExtraitChemin", {CValue::Text(L"/r\u00e9p/sous/f\U0001F600.tar.gz"), CValue::Int(0x2)}, L"/r\u00e9p/sous/"},
        {__LINE__, "fExtraitChemin", {CValue::Text(L"/r\u00e9p/sous/f\U0001F600.tar.gz"), CValue::Int(0xC)}, L"f\U0001F600.tar.gz"},
        {__LINE__, "fExtraitChemin", {CValue::Text(L"/r\u00e9p/sous/f.gz"), CValue::Int(0x8)}, L".gz"},
        {__LINE__, "fSeparateur", {CValue::Text(L"a\\\\b//c\\d"), CValue::Text(L"/"), CValue::Int(1)}, L"a/b/c/d"},
        {__LINE__, "fSeparateur", {CValue::Text(L"a\\b/c"), CValue::Text(L"-")}, L"a-b-c"},
        {__LINE__, "fSeparateur", {CValue::Text(L"a//b/c"), CValue::Int(1)}, L"a\\b\\c"},
        {__LINE__, "fRepParent", {CValue::Text(L"/un/deux/trois")}, L"/un/deux"},
        {__LINE__, "fRepParent", {CValue::Text(L"/un/deux/trois/"), CValue::Int(1)}, L".."},
        {__LINE__, "fRepParent", {CValue::Text(L"."), CValue::Int(1)}, L".."},
    };
    for (const auto& c : tabCas) {
        const STCallOutcome st = stAppel(c.pszFonction, c.tab);
        EXPECT_FALSE(st.bError) << "row " << c.nLine;
        EXPECT_EQ(st.clResult.sText, c.sAttendu) << "row " << c.nLine;
    }
    const STCallOutcome st = stAppel("fSeparateur", {CValue::Ansi("a\\b"), CValue::Text(L"/")});
    EXPECT_EQ(st.clResult.eKind, EValueKind::Ansi) << "an 8-bit path answers 8-bit text";
}

TEST_F(FileOperationsEndToEnd, AttributesTimesAndExistence) {
    Ecrit(sChemin(".cach\u00e9"), "x");
    const std::wstring sNom = wChemin(".cach\u00e9");
    EXPECT_EQ(stAppel("fAttribut", {CValue::Text(sNom)}).clResult.sText, L"H");
    EXPECT_EQ(stAppel("fAttribut", {CValue::Text(sNom), CValue::Text(L"R")}).clResult.sText, L"HR");
    EXPECT_EQ(fs::status(sChemin(".cach\u00e9")).permissions() & fs::perms::owner_write, fs::perms::none);
    EXPECT_EQ(stAppel("fAttributLectureSeule", {CValue::Text(sNom)}).clResult.nInteger, 1);
    stAppel("fAttributLectureSeule", {CValue::Text(sNom), CValue::Int(0)});
    EXPECT_EQ(stAppel("fAttribut", {CValue::Text(sNom)}).clResult.sText, L"H");
    EXPECT_EQ(stAppel("fRepAttribut", {CValue::Text(sLarge(m_sDir))}).clResult.sText, L"D");
    EXPECT_EQ(stAppel("fAttribut", {CValue::Text(wChemin("absent"))}).clResult.sText, L"ERR");

    EXPECT_EQ(stAppel("fDateHeure", {CValue::Text(sNom), CValue::Text(L"20240315143025")}).clResult.sText, L"20240315143025");
    EXPECT_EQ(stAppel("fDate", {CValue::Text(sNom), CValue::Text(L"20230101")}).clResult.sText, L"20230101");
    EXPECT_EQ(stAppel("fHeure", {CValue::Text(sNom)}).clResult.sText, L"143025") << "a new date keeps the time";

    EXPECT_EQ(stAppel("fFichierExiste", {CValue::Text(sNom)}).clResult.nInteger, 1);
    EXPECT_EQ(stAppel("fFichierExiste", {CValue::Text(sLarge(m_sDir))}).clResult.nInteger, 0);
    EXPECT_EQ(stAppel("fRepertoireExiste", {CValue::Text(sLarge(m_sDir))}).clResult.nInteger, 1);
    EXPECT_EQ(stAppel("fTaille", {CValue::Text(sNom)}).clResult.nInteger, 1);
    EXPECT_EQ(stAppel("fTaille", {CValue::Text(sLarge(m_sDir))}).clResult.nInteger, -1);

    const STCallOutcome st = stAppel("fFichierTemp", {CValue::Text(sLarge(m_sDir)), CValue::Text(L"pr\u00e9")});
    ASSERT_FALSE(st.bError);
    EXPECT_EQ(st.clResult.sText.rfind(sLarge(m_sDir) + L"/pr\u00e9", 0), 0u);
    EXPECT_TRUE(fs::is_regular_file(sUtf8(st.clResult.sText)));
}

TEST_F(FileOperationsEndToEnd, DirectorySearchOneNameACall) {
    fs::create_directory(sChemin("r"));
    for (const char* psz : {"a.txt", "b.txt", ".c.txt", "d.log"}) Ecrit(sChemin(std::string("r/") + psz), "");
    fs::create_directory(sChemin("r/e.txt"));
    std::vector<std::wstring> tabTrouves;
    STCallOutcome st = stAppel("fRep", {CValue::Text(wChemin("r/*.txt"))});
    while (!st.clResult.sText.empty()) {
        tabTrouves.push_back(st.clResult.sText);
        st = stAppel("fRep", {CValue::Text(L"")});
    }
    std::sort(tabTrouves.begin(), tabTrouves.end());
    EXPECT_EQ(tabTrouves, (std::vector<std::wstring>{L".c.txt", L"a.txt", L"b.txt"})) << "the standard option: hidden names, no directories";
    st = stAppel("fRep", {CValue::Text(wChemin("r/*.txt")), CValue::Int(0x10)});
    for (tabTrouves.clear(); !st.clResult.sText.empty(); st = stAppel("fRep", {CValue::Text(L"")})) tabTrouves.push_back(st.clResult.sText);
    std::sort(tabTrouves.begin(), tabTrouves.end());
    EXPECT_EQ(tabTrouves, (std::vector<std::wstring>{L"a.txt", L"b.txt", L"e.txt"})) << "directories asked for, hidden names not";
    EXPECT_EQ(stAppel("fRep", {CValue::Text(L"")}).stError.nCode, 80054) << "the search ended";
}

TEST_F(FileOperationsEndToEnd, BadInputRaisesTheNumberedErrors) {
    Ecrit(sChemin("f"), "f");
    fs::create_directories(sChemin("plein/x"));
    const std::wstring sLong(300, L'a');
    struct {
        int nLine;
        const char* pszFonction;
        std::vector<CValue> tab;
        int nCode;
    } const tabCas[] = {
        {__LINE__, "fChargeTexte", {CValue::Text(wChemin("f")), CValue::Int(3)}, 80700},
        {__LINE__, "fChargeTexte", {CValue::Text(L"")}, 80059},
        {__LINE__, "fChargeTexte", {CValue::Text(sLong)}, 80042},
        {__LINE__, "fChargeBuffer", {CValue::Text(wChemin("f")), CValue::Int64(-1), CValue::Int64(1)}, 80700},
        {__LINE__, "fChargeBuffer", {CValue::Text(wChemin("f")), CValue::Int64(0), CValue::Int64(-2)}, 80700},
        {__LINE__, "fChargeBuffer", {CValue::Text(L"OVL:1:lib.wdl")}, 80059},
        {__LINE__, "fCompare", {CValue::Text(wChemin("f")), CValue::Text(wChemin("f")), CValue::Int(0)}, 80061},
        {__LINE__, "fCompare", {CValue::Text(wChemin("f")), CValue::Text(wChemin("absent"))}, 80060},
        {__LINE__, "fCopieFichier", {CValue::Text(wChemin("absent")), CValue::Text(wChemin("g"))}, 80067},
        {__LINE__, "fCopieFichier", {CValue::Text(wChemin("f")), CValue::Text(wChemin("*.g"))}, 80059},
        {__LINE__, "fRep", {CValue::Text(wChemin("*")), CValue::Int(0x8)}, 80053},
        {__LINE__, "fRepSupprime", {CValue::Text(wChemin("plein")), CValue::Int(0x1000)}, 80404},
        {__LINE__, "fRepSupprime", {CValue::Text(wChemin("absent"))}, 80062},
        {__LINE__, "fRepSupprime", {CValue::Text(L"/")}, 80059},
        {__LINE__, "fRepCopie", {CValue::Text(wChemin("absent")), CValue::Text(wChemin("g"))}, 80062},
        {__LINE__, "fRepDeplace", {CValue::Text(wChemin("plein")), CValue::Text(wChemin("g"))}, 80068},
        {__LINE__, "fRepEnCours", {CValue::Text(wChemin("absent"))}, 80049},
        {__LINE__, "fDate", {CValue::Text(wChemin("f")), CValue::Text(L""), CValue::Int(3)}, 80050},
        {__LINE__, "fDate", {CValue::Text(wChemin("f")), CValue::Text(L"20230230")}, 81802},
        {__LINE__, "fHeure", {CValue::Text(wChemin("f")), CValue::Text(L"2561")}, 81802},
        {__LINE__, "fExtraitChemin", {CValue::Text(L"/a/b"), CValue::Int(0x10)}, 81834},
        {__LINE__, "fRepTaille", {CValue::Text(wChemin("absent"))}, 80062},
        {__LINE__, "fRepDroit", {CValue::Text(L"")}, 80059},
        {__LINE__, "fChargeTexte", {CValue::Text(wChemin("absent"))}, 80067},
        {__LINE__, "fChargeBuffer", {CValue::Text(sLarge(m_sDir))}, 80059},
        {__LINE__, "fSauveTexte", {CValue::Text(sLarge(m_sDir)), CValue::Text(L"x")}, 80059},
        {__LINE__, "fTaille", {CValue::Text(wChemin("absent"))}, 80067},
        {__LINE__, "fRenomme", {CValue::Text(wChemin("absent")), CValue::Text(wChemin("g"))}, 80067},
    };
    for (const auto& c : tabCas) {
        const STCallOutcome st = stAppel(c.pszFonction, c.tab);
        EXPECT_TRUE(st.bError) << "row " << c.nLine;
        EXPECT_EQ(st.stError.nCode, c.nCode) << "row " << c.nLine;
    }
    EXPECT_TRUE(fs::exists(sChemin("plein/x")));
}

}  // namespace
}  // namespace ovhost
