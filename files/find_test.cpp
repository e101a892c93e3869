// Directory searches and walks on generated trees: the order of a walk, the pattern at every level,
// links listed but never entered, and agreement with the system's find command.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "base/unicode.h"
#include "files/disk_file.h"
#include "files/find.h"

namespace fs = std::filesystem;

namespace {

std::wstring sLarge(const std::string& s) {
    wchar_t* psz = UTF8ToWide(s.c_str());
    std::wstring sResultat = psz != nullptr ? psz : L"";
    std::free(psz);
    return sResultat;
}

class Find : public ::testing::Test {
protected:
    void SetUp() override {
        const char* pszTmp = std::getenv("TMPDIR");
        std::string sModele = std::string(pszTmp != nullptr && pszTmp[0] != 0 ? pszTmp : "/tmp") + "/ovfind_XXXXXX";
        ASSERT_NE(mkdtemp(sModele.data()), nullptr);
        m_sRacine = sModele + "/";
    }
    void TearDown() override {
        std::error_code ec;
        fs::remove_all(m_sRacine, ec);
    }
    void Fichier(const std::string& sNom) { std::ofstream(m_sRacine + sNom) << sNom; }
    void Repertoire(const std::string& sNom) { fs::create_directories(m_sRacine + sNom); }
    std::wstring w(const std::string& sNom = "") const { return sLarge(m_sRacine + sNom); }

    std::string m_sRacine;
};

int nCollecte(const wchar_t* pszChemin, void* pContexte) {
    static_cast<std::vector<std::wstring>*>(pContexte)->push_back(pszChemin);
    return 1;
}

std::vector<std::wstring> tabMarche(const std::wstring& sRepertoire, const wchar_t* pszMotif, bool bRepertoires,
                                    bool bRecursif = true) {
    std::vector<std::wstring> tab;
    if (bRepertoires)
        CDiskFile::bDoOnDirectoryTree(sRepertoire.c_str(), pszMotif, nCollecte, &tab, 1, bRecursif);
    else
        CDiskFile::bDoOnFileTree(sRepertoire.c_str(), pszMotif, nCollecte, &tab, 1, bRecursif);
    return tab;
}

std::wstring sParent(const std::wstring& s) { return s.substr(0, s.rfind(L'/')); }

TEST_F(Find, FilesOfALevelComeBeforeItsSubdirectoriesDepthFirst) {
    Repertoire("a/aa");
    Repertoire("b");
    Fichier("f1.txt");
    Fichier("a/f2.txt");
    Fichier("a/aa/f3.txt");
    Fichier("b/f4.txt");
    Fichier("f5.txt");
    const auto tab = tabMarche(w(), L"*", false);
    ASSERT_EQ(tab.size(), 5u);
    // Each directory's files are contiguous, and a directory is finished before its sibling starts:
    // once a walk leaves a directory it never comes back to it.
    std::set<std::wstring> setFinis;
    std::wstring sCourant;
    for (const auto& s : tab) {
        const std::wstring sRep = sParent(s);
        if (sRep != sCourant) {
            EXPECT_EQ(setFinis.count(sRep), 0u) << "came back to a directory";
            if (!sCourant.empty()) setFinis.insert(sCourant);
            sCourant = sRep;
        }
    }
    EXPECT_EQ(sParent(tab[0]) + L"/", w());
    EXPECT_EQ(sParent(tab[1]) + L"/", w());
    // Without recursion only the top level.
    EXPECT_EQ(tabMarche(w(), L"*", false, false).size(), 2u);
}

// Which files a pattern takes at every level is checked against find below; directories here.
TEST_F(Find, DirectoryWalkListsEveryDirectoryItEnters) {
    Repertoire("x.txt/y");
    Repertoire("sans");
    Fichier("haut.txt");
    const auto tab = tabMarche(w(), L"*", true);
    EXPECT_EQ(std::set<std::wstring>(tab.begin(), tab.end()),
              (std::set<std::wstring>{w("x.txt"), w("x.txt/y"), w("sans")}));
}

TEST_F(Find, LinksAreListedButNeverEntered) {
    Repertoire("vrai");
    Fichier("vrai/dedans");
    fs::create_directory_symlink(m_sRacine + "vrai", m_sRacine + "lien");
    fs::create_directory_symlink(m_sRacine, m_sRacine + "vrai/boucle");
    const auto tab = tabMarche(w(), L"*", false);
    EXPECT_EQ(std::set<std::wstring>(tab.begin(), tab.end()),
              (std::set<std::wstring>{w("lien"), w("vrai/dedans"), w("vrai/boucle")}));
}

TEST_F(Find, MissingDirectoriesAndStoppingCallbacks) {
    CDiskFile::_stXFINDDATA stFind;
    CXError clErreur;
    EXPECT_FALSE(CDiskFile::bFindFirst(w("absent/*").c_str(), &stFind, 0, 0, &clErreur));
    EXPECT_FALSE(clErreur.bHasError());
    EXPECT_EQ(stFind.pDir, nullptr);
    EXPECT_FALSE(CDiskFile::bDoOnFileTree(w("absent").c_str(), L"*", nCollecte, nullptr, 1, true));
    Fichier("un");
    Fichier("deux");
    int nAppels = 0;
    auto pfnStop = [](const wchar_t*, void* p) {
        ++*static_cast<int*>(p);
        return 0;
    };
    EXPECT_FALSE(CDiskFile::bDoOnFileTree(w().c_str(), L"*", pfnStop, &nAppels, 1, true));
    EXPECT_EQ(nAppels, 1);
}

TEST_F(Find, SearchesFilterByAttributesAndReportWhatTheyFind) {
    Repertoire("rep");
    Fichier(".cache");
    std::ofstream(m_sRacine + "taille") << "12345";
    CFindFile clRecherche;
    std::set<std::wstring> setNoms;
    for (bool b = clRecherche.bFindFirst(w("*").c_str(), 0, CDiskFile::eATTR_CACHE, nullptr); b;
         b = clRecherche.bFindNext(nullptr)) {
        setNoms.insert(clRecherche.pszGetNom());
        if (std::wstring(clRecherche.pszGetNom()) == L"taille") {
            EXPECT_EQ(clRecherche.oGetTaille(), 5);
            EXPECT_GE(clRecherche.stGetDate().wAnnee, 2020);
        }
    }
    EXPECT_EQ(setNoms, (std::set<std::wstring>{L"rep", L"taille"}));
    ASSERT_TRUE(clRecherche.bFindFirst(w("re?").c_str(), CDiskFile::eATTR_REPERTOIRE, 0, nullptr));
    EXPECT_TRUE(clRecherche.bEstRepertoire());
    CFindFile clAutre;
    clRecherche.TransfertTo(clAutre);
    EXPECT_FALSE(clAutre.bFindNext(nullptr));
}

// A random tree, walked three ways: the callback walker, the pull walker and the system's find.
TEST_F(Find, AgreesWithTheFindCommandOnAGeneratedTree) {
    std::mt19937 clAlea(42);
    std::vector<std::string> tabReps = {""};
    const char* tabNoms[] = {"a.txt", "b.csv", "é t.txt", "😀.txt", "c", "d.txt.bak", "Maj.TXT", "x y.txt"};
    for (int i = 0; i < 40; ++i) {
        const std::string sRep = tabReps[clAlea() % tabReps.size()];
        if (clAlea() % 3 == 0) {
            const std::string sNouveau = sRep + "r" + std::to_string(i) + (i % 4 == 0 ? ".txt" : "") + "/";
            Repertoire(sNouveau);
            tabReps.push_back(sNouveau);
        } else {
            Fichier(sRep + std::to_string(i) + tabNoms[clAlea() % std::size(tabNoms)]);
        }
    }
    std::vector<std::wstring> tabWalk = tabMarche(w(), L"*.txt", false);

    std::vector<std::wstring> tabPull;
    CParseDir clParse;
    wchar_t sz[kMaxPath + 1];
    for (bool b = clParse.bGetFirst(w().c_str(), L"*.txt", true, sz, kMaxPath + 1); b; b = clParse.bGetNext(sz, kMaxPath + 1))
        tabPull.push_back(sz);
    EXPECT_EQ(tabPull, tabWalk);  // the same walk, in the same order

    int nTube[2];
    ASSERT_EQ(pipe(nTube), 0);
    const std::string sRacine = m_sRacine.substr(0, m_sRacine.size() - 1);
    const pid_t nPid = fork();
    if (nPid == 0) {
        dup2(nTube[1], 1);
        close(nTube[0]);
        execlp("find", "find", sRacine.c_str(), "-mindepth", "1", "-name", "*.txt", "-not", "-type", "d", "-print0",
               static_cast<char*>(nullptr));
        _exit(127);
    }
    close(nTube[1]);
    std::string sSortie;
    char szBloc[4096];
    for (ssize_t n; (n = read(nTube[0], szBloc, sizeof szBloc)) > 0;) sSortie.append(szBloc, static_cast<size_t>(n));
    close(nTube[0]);
    int nStatut = 0;
    waitpid(nPid, &nStatut, 0);
    if (!WIFEXITED(nStatut) || WEXITSTATUS(nStatut) == 127) GTEST_SKIP() << "no find command here";
    std::set<std::wstring> setFind;
    for (size_t nDebut = 0, nFin; (nFin = sSortie.find('\0', nDebut)) != std::string::npos; nDebut = nFin + 1)
        setFind.insert(sLarge(sSortie.substr(nDebut, nFin - nDebut)));
    EXPECT_FALSE(setFind.empty());
    EXPECT_EQ(std::set<std::wstring>(tabWalk.begin(), tabWalk.end()), setFind);
    EXPECT_EQ(tabWalk.size(), setFind.size());
}

}  // namespace
