// The file-system toolkit on real trees in a private temporary directory: copies, renames and
// moves (across file systems too), directories and trees with links that point out or loop,
// read-only states seen by an ordinary user, times, temporary names and loading texts.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "base/tstring.h"
#include "base/unicode.h"
#include "files/disk_file.h"

namespace fs = std::filesystem;

namespace {

std::string sUTF8(const std::wstring& s) {
    char* psz = WideToUTF8(s.c_str());
    std::string sResultat = psz != nullptr ? psz : "";
    std::free(psz);
    return sResultat;
}

std::wstring sLarge(const std::string& s) {
    wchar_t* psz = UTF8ToWide(s.c_str());
    std::wstring sResultat = psz != nullptr ? psz : L"";
    std::free(psz);
    return sResultat;
}

void Ecrit(const std::string& sNom, const std::string& sContenu) {
    std::ofstream(sNom, std::ios::binary) << sContenu;
}

std::string sLit(const std::string& sNom) {
    std::ifstream f(sNom, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(f), {});
}

class FileSystem : public ::testing::Test {
protected:
    void SetUp() override {
        const char* pszTmp = std::getenv("TMPDIR");
        std::string sModele = std::string(pszTmp != nullptr && pszTmp[0] != 0 ? pszTmp : "/tmp") + "/ovfs_XXXXXX";
        ASSERT_NE(mkdtemp(sModele.data()), nullptr);
        m_sRacine = sModele;
        chmod(m_sRacine.c_str(), 0777);  // the unprivileged child works here too
    }
    void TearDown() override {
        std::error_code ec;
        for (auto& e : fs::recursive_directory_iterator(m_sRacine, fs::directory_options::skip_permission_denied, ec))
            if (!e.is_symlink()) chmod(e.path().c_str(), 0777);
        fs::remove_all(m_sRacine, ec);
    }
    std::string s(const std::string& sNom) const { return m_sRacine + "/" + sNom; }
    std::wstring w(const std::string& sNom) const { return sLarge(s(sNom)); }

    std::string m_sRacine;
};

// Runs fn as user 65534 in a child process; its exit status, or -1 when privileges cannot drop.
template <class F>
int nCommeUtilisateur(F fn) {
    const pid_t nPid = fork();
    if (nPid == 0) {
        if (geteuid() == 0 && (setresgid(65534, 65534, 65534) != 0 || setresuid(65534, 65534, 65534) != 0)) _exit(99);
        _exit(fn());
    }
    int nStatut = 0;
    waitpid(nPid, &nStatut, 0);
    return WIFEXITED(nStatut) ? WEXITSTATUS(nStatut) : -1;
}

TEST_F(FileSystem, CopyTakesBlanksAndShellCharactersAsPlainNames) {
    const std::string sSource = "a b;$(touch pirate)'&`é😀.txt";
    Ecrit(s(sSource), "contenu\n");
    CXError clErreur;
    ASSERT_TRUE(CDiskFile::bCopy(w("copie ; rm -rf x.txt").c_str(), w(sSource).c_str(), &clErreur));
    EXPECT_EQ(sLit(s("copie ; rm -rf x.txt")), "contenu\n");
    EXPECT_FALSE(fs::exists(s("pirate")));
    EXPECT_FALSE(clErreur.bHasError());
}

TEST_F(FileSystem, CopyRefusesTheSameFileAndLeavesNoHalfFile) {
    Ecrit(s("f"), "données");
    fs::create_hard_link(s("f"), s("lien"));
    CXError clErreur;
    EXPECT_FALSE(CDiskFile::bCopy(w("f").c_str(), w("f").c_str(), &clErreur));
    EXPECT_TRUE(clErreur.bHasError());
    EXPECT_NE(std::wstring(clErreur.pszGetUserMessage()).find(w("f")), std::wstring::npos);
    EXPECT_FALSE(CDiskFile::bCopy(w("lien").c_str(), w("f").c_str(), nullptr));
    EXPECT_EQ(sLit(s("f")), "données");
    // A source that cannot be read whole (a directory) leaves neither a target nor a stray file.
    fs::create_directory(s("rep"));
    EXPECT_FALSE(CDiskFile::bCopy(w("cible").c_str(), w("rep").c_str(), &clErreur));
    EXPECT_EQ(clErreur.dwGetSystemErrorCode(), static_cast<unsigned>(EISDIR));
    EXPECT_EQ(std::distance(fs::directory_iterator(m_sRacine), {}), 3);
    // A large file goes through whole, and replaces an older target.
    std::string sGrand(3 << 20, 'x');
    for (size_t i = 0; i < sGrand.size(); i += 4096) sGrand[i] = static_cast<char>('a' + i % 26);
    Ecrit(s("grand"), sGrand);
    Ecrit(s("ancien"), "vieux");
    ASSERT_TRUE(CDiskFile::bCopy(w("ancien").c_str(), w("grand").c_str(), nullptr));
    EXPECT_EQ(sLit(s("ancien")), sGrand);
}

TEST_F(FileSystem, RenameNeverReplacesButMoveDoes) {
    Ecrit(s("a"), "A");
    Ecrit(s("b"), "B");
    CXError clErreur;
    EXPECT_FALSE(CDiskFile::bRename(w("b").c_str(), w("a").c_str(), &clErreur));
    EXPECT_EQ(clErreur.dwGetSystemErrorCode(), static_cast<unsigned>(EEXIST));
    EXPECT_EQ(sLit(s("b")), "B");
    ASSERT_TRUE(CDiskFile::bRename(w("c").c_str(), w("a").c_str(), &clErreur));
    EXPECT_FALSE(clErreur.bHasError());
    ASSERT_TRUE(CDiskFile::bMove(w("b").c_str(), w("c").c_str(), nullptr));
    EXPECT_EQ(sLit(s("b")), "A");
    EXPECT_FALSE(fs::exists(s("c")));
    EXPECT_TRUE(CDiskFile::bMove(w("b").c_str(), w("b").c_str(), nullptr));
    EXPECT_EQ(sLit(s("b")), "A");
}

TEST_F(FileSystem, MovesAcrossFileSystemsCopyFirstThenRemoveTheSource) {
    struct stat st1, st2;
    if (stat("/dev/shm", &st1) != 0 || stat(m_sRacine.c_str(), &st2) != 0 || st1.st_dev == st2.st_dev)
        GTEST_SKIP() << "/dev/shm is not another file system here";
    char szAilleurs[] = "/dev/shm/ovfs_XXXXXX";
    ASSERT_NE(mkdtemp(szAilleurs), nullptr);
    const std::string sAilleurs = szAilleurs;
    Ecrit(s("f"), "à déplacer");
    EXPECT_TRUE(CDiskFile::bMove(sLarge(sAilleurs + "/f").c_str(), w("f").c_str(), nullptr));
    EXPECT_EQ(sLit(sAilleurs + "/f"), "à déplacer");
    EXPECT_FALSE(fs::exists(s("f")));

    fs::create_directories(s("arbre/sous"));
    Ecrit(s("arbre/sous/g"), "g");
    fs::create_symlink("sous/g", s("arbre/lien"));
    chmod(s("arbre/sous/g").c_str(), 0640);
    ASSERT_TRUE(CDiskFile::bMoveTree(sLarge(sAilleurs).c_str(), w("arbre").c_str(), nullptr));
    EXPECT_FALSE(fs::exists(s("arbre")));
    EXPECT_EQ(sLit(sAilleurs + "/arbre/sous/g"), "g");
    EXPECT_EQ(fs::read_symlink(sAilleurs + "/arbre/lien"), "sous/g");
    struct stat stG;
    ASSERT_EQ(stat((sAilleurs + "/arbre/sous/g").c_str(), &stG), 0);
    EXPECT_EQ(stG.st_mode & 0777, 0640u);
    std::error_code ec;
    fs::remove_all(sAilleurs, ec);
}

TEST_F(FileSystem, TreeDeletionRemovesLinksButNeverWhatTheyPointAt) {
    fs::create_directories(s("dehors"));
    Ecrit(s("dehors/garde"), "reste");
    fs::create_directories(s("arbre/été/😀"));
    Ecrit(s("arbre/été/😀/f"), "f");
    Ecrit(s("arbre/.cache"), "c");
    fs::create_directory_symlink(s("dehors"), s("arbre/vers_dehors"));
    fs::create_directory_symlink(s("arbre"), s("arbre/été/boucle"));
    CXError clErreur;
    ASSERT_TRUE(CDiskFile::bPurgeTree(w("arbre").c_str(), &clErreur));
    EXPECT_TRUE(fs::is_directory(s("arbre")));
    EXPECT_TRUE(fs::is_empty(s("arbre")));
    EXPECT_EQ(sLit(s("dehors/garde")), "reste");

    fs::create_directories(s("arbre/x"));
    fs::create_directory_symlink(s("dehors"), s("arbre/x/l"));
    ASSERT_TRUE(CDiskFile::bDeleteTree((w("arbre") + L"/").c_str(), &clErreur));
    EXPECT_FALSE(fs::exists(s("arbre")));
    EXPECT_EQ(sLit(s("dehors/garde")), "reste");
    // A link given as the tree goes itself.
    fs::create_directory_symlink(s("dehors"), s("lien"));
    ASSERT_TRUE(CDiskFile::bDeleteTree(w("lien").c_str(), nullptr));
    EXPECT_FALSE(fs::is_symlink(s("lien")));
    EXPECT_EQ(sLit(s("dehors/garde")), "reste");
    EXPECT_FALSE(CDiskFile::bDeleteTree(w("absent").c_str(), &clErreur));
    EXPECT_EQ(clErreur.dwGetSystemErrorCode(), static_cast<unsigned>(ENOENT));
}

TEST_F(FileSystem, ReadOnlyStatesStopAnOrdinaryUserUnlessForced) {
    const std::string sArbre = s("ro");
    const std::string sFichier = s("lecture_seule");
    const int nStatut = nCommeUtilisateur([&] {
        if (geteuid() == 0) return 77;
        fs::create_directories(sArbre + "/sous");
        Ecrit(sArbre + "/sous/f", "x");
        chmod((sArbre + "/sous").c_str(), 0555);
        if (CDiskFile::bDeleteTree(sLarge(sArbre).c_str(), nullptr) || errno != EACCES) return 1;
        if (!fs::exists(sArbre + "/sous/f")) return 2;
        if (!CDiskFile::bForceDeleteTree(sLarge(sArbre).c_str(), nullptr) || fs::exists(sArbre)) return 3;
        // A read-only target is not replaced by a copy.
        Ecrit(sFichier, "garde");
        Ecrit(sFichier + ".src", "nouveau");
        CDiskFile::bSetFileAttributes(sLarge(sFichier).c_str(), -1, nullptr);
        if (CDiskFile::bCopy(sLarge(sFichier).c_str(), sLarge(sFichier + ".src").c_str(), nullptr)) return 4;
        if (sLit(sFichier) != "garde") return 5;
        return 0;
    });
    if (nStatut == 99 || nStatut == 77) GTEST_SKIP() << "cannot run as an ordinary user";
    EXPECT_EQ(nStatut, 0);
}

TEST_F(FileSystem, CreateDirectoryMakesEveryLevel) {
    CXError clErreur;
    ASSERT_TRUE(CDiskFile::bCreateDirectory(w("un/deux é/trois 😀/").c_str(), &clErreur));
    EXPECT_TRUE(fs::is_directory(s("un/deux é/trois 😀")));
    EXPECT_TRUE(CDiskFile::bCreateDirectory(w("un\\deux é").c_str(), nullptr));  // already there
    Ecrit(s("fichier"), "");
    EXPECT_FALSE(CDiskFile::bCreateDirectory(w("fichier/sous").c_str(), &clErreur));
    EXPECT_TRUE(clErreur.bHasError());
    EXPECT_FALSE(CDiskFile::bCreateDirectory(L"", nullptr));
    EXPECT_TRUE(CDiskFile::bEstVide(w("un/deux é/trois 😀").c_str()));
    EXPECT_FALSE(CDiskFile::bEstVide(w("un").c_str()));
    EXPECT_FALSE(CDiskFile::bEstVide(w("absent").c_str()));
}

TEST_F(FileSystem, CopyTreeFollowsTheShapeOfTheCopyCommand) {
    fs::create_directories(s("src/sous"));
    Ecrit(s("src/a.txt"), "a");
    Ecrit(s("src/b.csv"), "b");
    Ecrit(s("src/sous/c.txt"), "c");
    fs::create_symlink("../a.txt", s("src/sous/lien"));
    fs::create_directory(s("dst"));
    // A pattern copies the entries it takes into the destination directory.
    ASSERT_TRUE(CDiskFile::bCopyTree(w("dst").c_str(), w("src/*.txt").c_str(), false, nullptr));
    EXPECT_EQ(sLit(s("dst/a.txt")), "a");
    EXPECT_FALSE(fs::exists(s("dst/b.csv")));
    // Without recursion a directory is refused; with it, the tree lands under its own name.
    CXError clErreur;
    EXPECT_FALSE(CDiskFile::bCopyTree(w("dst").c_str(), w("src").c_str(), false, &clErreur));
    ASSERT_TRUE(CDiskFile::bCopyTree(w("dst").c_str(), w("src").c_str(), true, nullptr));
    EXPECT_EQ(sLit(s("dst/src/sous/c.txt")), "c");
    EXPECT_EQ(fs::read_symlink(s("dst/src/sous/lien")), "../a.txt");
    // A destination that does not exist takes the tree's place; a copy into itself ends.
    ASSERT_TRUE(CDiskFile::bCopyTree(w("neuf").c_str(), w("src").c_str(), true, nullptr));
    EXPECT_EQ(sLit(s("neuf/sous/c.txt")), "c");
    ASSERT_TRUE(CDiskFile::bCopyTree(w("src/sous/moi").c_str(), w("src").c_str(), true, nullptr));
    EXPECT_TRUE(fs::exists(s("src/sous/moi/sous/c.txt")));
    EXPECT_FALSE(fs::exists(s("src/sous/moi/sous/moi")));
    EXPECT_FALSE(CDiskFile::bCopyTree(w("dst").c_str(), w("src/*.rien").c_str(), true, nullptr));
}

TEST_F(FileSystem, AttributesSeeTheLinkItself) {
    fs::create_directory(s("rep"));
    fs::create_directory_symlink(s("rep"), s("lien"));
    Ecrit(s(".cache"), "12345");
    uint32_t dw = 0;
    int64_t o = -1;
    ASSERT_TRUE(CDiskFile::__bGetFileAttributesAndSize(w("rep").c_str(), &dw, &o));
    EXPECT_NE(dw & CDiskFile::eATTR_REPERTOIRE, 0u);
    ASSERT_TRUE(CDiskFile::__bGetFileAttributesAndSize(w("lien").c_str(), &dw, &o));
    EXPECT_EQ(dw & CDiskFile::eATTR_REPERTOIRE, 0u);
    EXPECT_EQ(o, static_cast<int64_t>(s("rep").size()));
    ASSERT_TRUE(CDiskFile::__bGetFileAttributesAndSize(w(".cache").c_str(), &dw, &o));
    EXPECT_NE(dw & CDiskFile::eATTR_CACHE, 0u);
    EXPECT_EQ(o, 5);
    EXPECT_TRUE(CDiskFile::bIsADirectory(w("lien").c_str()));
    EXPECT_EQ(CDiskFile::s_oGetSize(w(".cache").c_str(), nullptr), 5);
    EXPECT_EQ(CDiskFile::s_oGetSize(w("rep").c_str(), nullptr), -1);
    ASSERT_TRUE(CDiskFile::bSetFileAttributes(w(".cache").c_str(), -1, nullptr));
    struct stat st;
    stat(s(".cache").c_str(), &st);
    EXPECT_EQ(st.st_mode & 0777, 0444u);
    ASSERT_TRUE(CDiskFile::bSetFileAttributes(w("rep").c_str(), -1, nullptr));
    stat(s("rep").c_str(), &st);
    EXPECT_EQ(st.st_mode & 0222, 0u);
    EXPECT_NE(st.st_mode & 0100, 0u);  // still searchable
}

TEST_F(FileSystem, TimesRoundTripInLocalTime) {
    Ecrit(s("t"), "");
    const CDiskFile::_stXFILETIME stEcrit = {2021, 7, 14, 9, 30, 15, 250, 0};
    ASSERT_TRUE(CDiskFile::bSetTime(w("t").c_str(), 2, &stEcrit, nullptr));
    CDiskFile::_stXFILETIME stLu = {};
    ASSERT_TRUE(CDiskFile::bGetTime(w("t").c_str(), 2, &stLu, nullptr));
    EXPECT_EQ(CDiskFile::nCompareSystemTime(&stEcrit, &stLu), 0);
    EXPECT_FALSE(CDiskFile::bSetTime(w("t").c_str(), 0, &stEcrit, nullptr));  // the change time is the system's
    const CDiskFile::_stXFILETIME stFaux = {2021, 13, 1, 0, 0, 0, 0, 0};
    EXPECT_FALSE(CDiskFile::bSetTime(w("t").c_str(), 1, &stFaux, nullptr));
    CDiskFile::_stXFILETIME stPlusTard = stEcrit;
    stPlusTard.wMinute = 31;
    EXPECT_GT(CDiskFile::nCompareSystemTime(&stEcrit, &stPlusTard), 0);
    EXPECT_LT(CDiskFile::nCompareSystemTime(&stPlusTard, &stEcrit), 0);
}

TEST(DosTime, PacksWithTheNarrowMasksOfFilesAlreadyWritten) {
    const CDiskFile::_stXFILETIME st = {1995, 12, 31, 23, 59, 58, 0, 0};
    uint16_t wDate = 0, wHeure = 0;
    ASSERT_TRUE(CDiskFile::bSystemTimeToDosFileTime(&st, &wDate, &wHeure));
    CDiskFile::_stXFILETIME stRetour = {};
    ASSERT_TRUE(CDiskFile::bDosFileTimeToSystemTime(wDate, wHeure, &stRetour));
    EXPECT_EQ(stRetour.wAnnee, 1995);
    EXPECT_EQ(stRetour.wMois, 12);
    EXPECT_EQ(stRetour.wJour, 31);
    EXPECT_EQ(stRetour.wHeure, 23);
    EXPECT_EQ(stRetour.wMinute, 59 & 0x2F);
    EXPECT_EQ(stRetour.wSeconde, 58);
    const CDiskFile::_stXFILETIME st2024 = {2024, 1, 1, 0, 0, 0, 0, 0};
    ASSERT_TRUE(CDiskFile::bSystemTimeToDosFileTime(&st2024, &wDate, &wHeure));
    EXPECT_EQ(wDate >> 9, (2024 - 1980) & 0x8F);
}

TEST_F(FileSystem, TemporaryNamesHonourTmpdirAndStayInTheirDirectory) {
    const char* pszAncien = std::getenv("TMPDIR");
    const std::string sAncien = pszAncien != nullptr ? pszAncien : "";
    setenv("TMPDIR", m_sRacine.c_str(), 1);
    wchar_t szRep[kMaxPath + 1];
    ASSERT_TRUE(CDiskFile::bGetTempDirectory(szRep, nullptr));
    EXPECT_EQ(std::wstring(szRep), w(""));
    wchar_t szNom[kMaxPath + 1];
    ASSERT_TRUE(CDiskFile::bGetTempName(szNom, L"préfixé😀", nullptr));
    EXPECT_EQ(std::wstring(szNom).rfind(w("préfixé😀"), 0), 0u);
    EXPECT_EQ(std::wcslen(szNom), w("préfixé😀").size() + 6);
    EXPECT_TRUE(fs::exists(sUTF8(szNom)));
    EXPECT_EQ(fs::file_size(sUTF8(szNom)), 0u);
    CXError clErreur;
    EXPECT_FALSE(CDiskFile::bGetTempName(szNom, w("").c_str(), L"../evade", &clErreur));
    EXPECT_TRUE(clErreur.bHasError());
    if (pszAncien != nullptr) setenv("TMPDIR", sAncien.c_str(), 1); else unsetenv("TMPDIR");
}

TEST(RelativePaths, BothDirections) {
    struct {
        int nLigne;
        const wchar_t* pszBase;
        const wchar_t* pszChemin;
        const wchar_t* pszRelatif;
    } const tab[] = {
        {__LINE__, L"/a/b", L"/a/b/c/d.txt", L"./c/d.txt"},
        {__LINE__, L"/a/b/", L"/a/x", L"../x"},
        {__LINE__, L"/a/b", L"/a/bc", L"../bc"},
        {__LINE__, L"/a/b", L"/a/b", L"."},
        {__LINE__, L"/a/b/c", L"/x/é😀", L"../../../x/é😀"},
        {__LINE__, L"/", L"/x", L"./x"},
    };
    for (const auto& st : tab) {
        wchar_t sz[kMaxPath + 1];
        ASSERT_TRUE(CDiskFile::bPathRelativePathTo(sz, st.pszBase, st.pszChemin)) << "line " << st.nLigne;
        EXPECT_STREQ(sz, st.pszRelatif) << "line " << st.nLigne;
        wchar_t szRetour[kMaxPath + 1];
        ASSERT_TRUE(CDiskFile::bRelativeToFullPath(szRetour, st.pszBase, sz)) << "line " << st.nLigne;
        EXPECT_STREQ(szRetour, st.pszChemin) << "line " << st.nLigne;
    }
}

struct STTexte {
    int nLigne;
    std::string sOctets;
    CDiskFile::etxType eType;
    const wchar_t* pszAttendu;
};

TEST(TextBom, MarksAndValidUtf8DecideTheForm) {
    const STTexte tab[] = {
        {__LINE__, std::string("\xFF\xFE\xE9\x00\x3D\xD8\x00\xDE", 8), CDiskFile::etxUTF16, L"é😀"},
        {__LINE__, std::string("\xFE\xFF\x00\xE9\xD8\x3D\xDE\x00", 8), CDiskFile::etxUTF16, L"é😀"},
        {__LINE__, "\xEF\xBB\xBF\xC3\xA9t\xC3\xA9", CDiskFile::etxUTF8, L"été"},
        {__LINE__, "\xC3\xA9t\xC3\xA9 \xF0\x9F\x98\x80", CDiskFile::etxUTF8, L"été 😀"},
        {__LINE__, "plain", CDiskFile::etxUTF8, L"plain"},
        {__LINE__, "\xE9t\xE9 \x80", CDiskFile::etxANSI, L"été €"},
        {__LINE__, std::string("\xFF\xFE\x00\xD8x\x00", 6), CDiskFile::etxUTF16, L"\xFFFDx"},
        {__LINE__, std::string("\xFF\xFE" "a\x00" "b", 5), CDiskFile::etxUTF16, L"a"},
        {__LINE__, "\xEF\xBB\xBF" "a\xFF" "b", CDiskFile::etxUTF8, L"a\xFFFD" L"b"},
        {__LINE__, "", CDiskFile::etxUTF8, L""},
    };
    for (const STTexte& st : tab) {
        std::string sTampon = st.sOctets;
        CXYString<wchar_t> clTexte;
        CDiskFile::etxType eType = CDiskFile::etxANSI;
        ASSERT_TRUE(CDiskFile::bChargeTexteBOMFromBuffer(&clTexte, reinterpret_cast<uint8_t*>(sTampon.data()),
                                                         sTampon.size(), 1252, &eType))
            << "line " << st.nLigne;
        EXPECT_EQ(eType, st.eType) << "line " << st.nLigne;
        EXPECT_EQ(std::wstring(clTexte.pszGet(), clTexte.nGetLongueur()), st.pszAttendu) << "line " << st.nLigne;
    }
    // Big endian text is swapped in the caller's own buffer.
    std::string sGrand("\xFE\xFF\x00\x41", 4);
    CXYString<wchar_t> clTexte;
    ASSERT_TRUE(CDiskFile::bChargeTexteBOMFromBuffer(&clTexte, reinterpret_cast<uint8_t*>(sGrand.data()), 4, 1252, nullptr));
    EXPECT_EQ(sGrand, std::string("\xFF\xFE\x41\x00", 4));
}

TEST_F(FileSystem, LoadingWholeFilesAndTexts) {
    Ecrit(s("t.txt"), "\xEF\xBB\xBF" "Noël 😀");
    CXYString<wchar_t> clTexte;
    CDiskFile::etxType eType = CDiskFile::etxANSI;
    ASSERT_TRUE(CDiskFile::bChargeTexteBOM(&clTexte, w("t.txt").c_str(), 1252, &eType, nullptr));
    EXPECT_STREQ(clTexte.pszGet(), L"Noël 😀");
    EXPECT_EQ(eType, CDiskFile::etxUTF8);
    CZKBIN clOctets;
    ASSERT_TRUE(CDiskFile::bChargeFichier(clOctets, w("t.txt").c_str(), nullptr));
    EXPECT_EQ(clOctets.nGetTaille(), 13);
    CXError clErreur;
    EXPECT_FALSE(CDiskFile::bChargeFichier(clOctets, w("absent").c_str(), &clErreur));
    EXPECT_EQ(clErreur.dwGetSystemErrorCode(), static_cast<unsigned>(ENOENT));
    // Appending a file to itself would never end: refused.
    EXPECT_FALSE(CDiskFile::bConcat(w("t.txt").c_str(), w("t.txt").c_str(), nullptr));
    ASSERT_TRUE(CDiskFile::bConcat(w("u.txt").c_str(), w("t.txt").c_str(), nullptr));
    ASSERT_TRUE(CDiskFile::bConcat(w("u.txt").c_str(), w("t.txt").c_str(), nullptr));
    EXPECT_EQ(fs::file_size(s("u.txt")), 26u);
}

}  // namespace
