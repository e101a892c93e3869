// Listings end to end: fListeFichier and fListeRepertoire through the machine against find(1) on
// the same tree, and their callback forms through ovrun with a script procedure and the recorder.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "host/utf8.h"
#include "host/machine.h"
#include "tests/ovrun_process.h"

namespace ovhost {
namespace {

namespace fs = std::filesystem;

std::vector<std::wstring> tabDecoupe(const std::wstring& s, const std::wstring& sSeparateur) {
    std::vector<std::wstring> tab;
    if (s.empty()) return tab;
    size_t nDebut = 0;
    for (size_t n; (n = s.find(sSeparateur, nDebut)) != std::wstring::npos; nDebut = n + sSeparateur.size())
        tab.push_back(s.substr(nDebut, n - nDebut));
    tab.push_back(s.substr(nDebut));
    return tab;
}

// A tree with what trips walkers up: hidden files and directories, blanks, accents, a name
// outside the Basic Multilingual Plane, an empty directory and a link that points back up.
class ListingTree : public ::testing::Test {
protected:
    void SetUp() override {
        const char* pszTmp = std::getenv("TMPDIR");
        std::string sModele = std::string(pszTmp != nullptr && pszTmp[0] != '\0' ? pszTmp : "/tmp") + "/listing.XXXXXX";
        ASSERT_NE(mkdtemp(sModele.data()), nullptr);
        m_sRacine = sModele;
        Ecrit("a.txt", "abc");
        Ecrit("nom avec blancs.txt", "12345");
        Ecrit("\xc3\xa9t\xc3\xa9.txt", "");  // été.txt
        Ecrit(".cache", "x");
        fs::create_directories(m_sRacine + "/sous/.cach\xc3\xa9" "e");
        fs::create_directories(m_sRacine + "/\xf0\x9f\x98\x80");  // 😀
        fs::create_directories(m_sRacine + "/vide");
        Ecrit("sous/b.dat", "bb");
        Ecrit("sous/.cach\xc3\xa9" "e/c.txt", "c");
        Ecrit("\xf0\x9f\x98\x80/d\xf0\x9f\x98\x80.txt", "dd");
        fs::create_directory_symlink("..", m_sRacine + "/sous/boucle");
        fs::create_symlink("a.txt", m_sRacine + "/lien.txt");
        chmod((m_sRacine + "/a.txt").c_str(), 0444);
    }
    void TearDown() override {
        std::error_code ec;
        if (!m_sRacine.empty()) fs::remove_all(m_sRacine, ec);
    }

    void Ecrit(const std::string& sNom, const std::string& sContenu) {
        std::ofstream(m_sRacine + "/" + sNom, std::ios::binary) << sContenu;
    }
    std::wstring sRacineW() const { return sWideFromBytes(m_sRacine); }

    // find(1) run with an argument vector, its lines as wide paths.
    std::set<std::wstring> setFind(const std::vector<std::string>& tabArguments) {
        std::vector<std::string> tab{m_sRacine};
        tab.insert(tab.end(), tabArguments.begin(), tabArguments.end());
        // The status is not read: a library loaded in this process reaps every child itself.
        const ovtest::STSortieOvrun st = ovtest::stLanceOvrun("/usr/bin/find", tab);
        std::set<std::wstring> set;
        for (const std::wstring& s : tabDecoupe(sWideFromBytes(st.sTexte), L"\n"))
            if (!s.empty()) set.insert(s);
        return set;
    }

    ovtest::STSortieOvrun stOvrun(std::vector<std::string> tabArguments) {
        return ovtest::stLanceOvrun(OVRUN_PATH, tabArguments);
    }

    std::string m_sRacine;
};

// ovrun as a user runs it; nothing is loaded in this process, so exit statuses can be read.
using FileListingOvrun = ListingTree;

// The tree and the library loaded in this process, for the string forms.
class FileListing : public ListingTree {
protected:
    void SetUp() override {
        std::string sError;
        ASSERT_TRUE(m_cl.bLoad(CStandInMachine::s_sDefaultLibraryPath(), &sError)) << sError;
        ListingTree::SetUp();
    }

    STCallOutcome stCall(const char* pszName, std::vector<CValue> tab) {
        STCallOutcome st;
        std::string sError;
        EXPECT_TRUE(m_cl.bCall(pszName, tab, &st, &sError)) << pszName << ": " << sError;
        return st;
    }

    std::set<std::wstring> setListe(const char* pszFonction, const std::wstring& sChemin, int nOption) {
        STCallOutcome st = stCall(pszFonction, {CValue::Text(sChemin), CValue::Int(nOption)});
        EXPECT_FALSE(st.bError) << sUtf8(st.stError.sMessage);
        const std::wstring& s = st.clResult.sText;
        EXPECT_FALSE(s.size() >= 2 && s.substr(s.size() - 2) == L"\r\n") << "separator after the last entry";
        const std::vector<std::wstring> tab = tabDecoupe(s, L"\r\n");
        std::set<std::wstring> set(tab.begin(), tab.end());
        EXPECT_EQ(set.size(), tab.size()) << "an entry listed twice";
        return set;
    }

    CStandInMachine m_cl;
};

TEST_F(FileListing, FilesAgreeWithFindAsASetAndLinksEndTheWalk) {
    EXPECT_EQ(setListe("fListeFichier", sRacineW() + L"/*.*", 0), setFind({"!", "-type", "d"}));
    EXPECT_EQ(setListe("fListeFichier", sRacineW() + L"/*.txt", 0),
              setFind({"-name", "*.txt", "!", "-type", "d"}));
    EXPECT_EQ(setListe("fListeFichier", sRacineW() + L"/", 0), setFind({"!", "-type", "d"}));
    EXPECT_EQ(setListe("fListeFichier", sRacineW() + L"/*", 2),
              setFind({"-maxdepth", "1", "!", "-type", "d"}));
    EXPECT_EQ(setListe("fListeRepertoire", sRacineW() + L"/*", 0),
              setFind({"-mindepth", "1", "-type", "d"}));
}

TEST_F(FileListing, EmptyAndFailedListings) {
    EXPECT_EQ(stCall("fListeFichier", {CValue::Text(sRacineW() + L"/vide/*.*")}).clResult.sText, L"");
    // A directory that is not there lists nothing, quietly; fListeRepertoire says it is missing.
    STCallOutcome st = stCall("fListeFichier", {CValue::Text(sRacineW() + L"/absent/*.*")});
    EXPECT_FALSE(st.bError);
    EXPECT_EQ(st.clResult.sText, L"");
    st = stCall("fListeRepertoire", {CValue::Text(sRacineW() + L"/absent/*")});
    EXPECT_EQ(st.stError.nCode, 80062);
    st = stCall("fListeFichier", {CValue::Text(L"/" + std::wstring(270, L'\u00e9')), CValue::Int(0)});
    EXPECT_EQ(st.stError.nCode, 80058);
    // A procedure the machine does not know: the failure, and -1.
    st = stCall("fListeFichier", {CValue::Text(sRacineW() + L"/*.*"), CValue::Text(L"Inconnue"), CValue::Int64(0)});
    EXPECT_EQ(st.stError.nCode, 80058);
    EXPECT_EQ(st.clResult.nInteger, -1);
}

TEST_F(FileListing, FullFormatGivesSizeTimeAndAttributes) {
    const std::set<std::wstring> set = setListe("fListeFichier", sRacineW() + L"/*", 0x200);
    struct stat stInfo;
    ASSERT_EQ(stat((m_sRacine + "/a.txt").c_str(), &stInfo), 0);
    char szTemps[32];
    strftime(szTemps, sizeof szTemps, "%Y%m%d%H%M%S", localtime(&stInfo.st_mtime));
    EXPECT_EQ(set.count(sRacineW() + L"/a.txt\t3\t" + sWideFromBytes(szTemps) + L"\tR"), 1u);
    bool bVuBlancs = false, bVuCache = false;
    for (const std::wstring& s : set) {
        const std::vector<std::wstring> tab = tabDecoupe(s, L"\t");
        ASSERT_EQ(tab.size(), 4u) << sUtf8(s);
        EXPECT_EQ(tab[2].size(), 14u) << sUtf8(s);
        if (tab[0] == sRacineW() + L"/nom avec blancs.txt") bVuBlancs = tab[1] == L"5" && tab[3].empty();
        if (tab[0].find(L"/.cache") != std::wstring::npos) bVuCache = true;
    }
    EXPECT_TRUE(bVuBlancs);
    EXPECT_FALSE(bVuCache) << "hidden files only with flFichiersCaches";
    const std::set<std::wstring> setCaches = setListe("fListeFichier", sRacineW() + L"/*", 0x300);
    const std::wstring sCache = sRacineW() + L"/.cache\t1\t";
    EXPECT_EQ(std::count_if(setCaches.begin(), setCaches.end(),
                            [&](const std::wstring& s) { return s.rfind(sCache, 0) == 0 && s.back() == L'H'; }),
              1);
    // Every file find sees, hidden directories and link loop included, once.
    EXPECT_EQ(setCaches.size(), setFind({"!", "-type", "d"}).size());
}

TEST_F(FileListingOvrun, CallbackFormCallsTheScriptProcedureAndTheRecorder) {
    const std::string sMotif = m_sRacine + "/*.txt";
    ovtest::STSortieOvrun st = stOvrun({"-e", "procedure Garde(rep, nom) = Vrai", "-e",
                                        "fListeFichier(\"" + sMotif + "\", Garde, 0, 0)"});
    EXPECT_EQ(st.nStatus, 0) << st.sTexte;
    EXPECT_EQ(st.sTexte, std::to_string(setFind({"-name", "*.txt", "!", "-type", "d"}).size()) + "\n");

    // The recorder shows directory, name and the caller's value of each call, then the count.
    st = stOvrun({"-e", "fListeFichier(\"" + m_sRacine + "/sous/*.*\", Trace, 7, flNonRecursif)"});
    EXPECT_EQ(st.nStatus, 0) << st.sTexte;
    // readdir order: the file and the link (listed, never entered) in either order.
    const std::string sFichier = "Trace(\"" + m_sRacine + "/sous/\", \"b.dat\", 7)\n";
    const std::string sLien = "Trace(\"" + m_sRacine + "/sous/\", \"boucle\", 7)\n";
    EXPECT_TRUE(st.sTexte == sFichier + sLien + "2\n" || st.sTexte == sLien + sFichier + "2\n") << st.sTexte;
    st = stOvrun({"-e", "fListeRepertoire(\"" + m_sRacine + "/\xf0\x9f\x98\x80\", Trace, 0)"});
    EXPECT_EQ(st.sTexte, "Trace(\"" + m_sRacine + "/\", \"\xf0\x9f\x98\x80\", 0)\n1\n");
}

TEST_F(FileListingOvrun, ProcedureAnsweringFauxOrTheUserStopsTheWalk) {
    ovtest::STSortieOvrun st = stOvrun({"-e", "procedure Assez(rep, nom) = Faux", "-e",
                                        "fListeFichier(\"" + m_sRacine + "/*.*\", Assez, 0)"});
    EXPECT_EQ(st.nStatus, 0) << st.sTexte;
    EXPECT_EQ(st.sTexte, "1\n");
    // Interrupted at the third check: two entries went to the procedure.
    st = stOvrun({"--interruption", "3", "-e", "fListeFichier(\"" + m_sRacine + "/*.*\", Trace, 0, flInterruptible)"});
    EXPECT_EQ(st.nStatus, 0) << st.sTexte;
    EXPECT_EQ(st.sTexte.substr(st.sTexte.rfind('\n', st.sTexte.size() - 2) + 1), "2\n") << st.sTexte;
}

}  // namespace
}  // namespace ovhost
