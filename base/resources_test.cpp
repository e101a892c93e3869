// Message resources: lookup in a record block (sound, truncated and corrupt), decoding, the
// machine's provider, and formatting of numbered messages.
#include "base/resources.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "base/data_compressor.h"
#include "base/internal/test_resource_block.h"
#include "base/tstring.h"
#include "base/unicode.h"
#include "generated/catalogue_counts.h"

extern const _stErrorDef gstErrorDef8[];
extern const uint8_t _pbyBufferRes8[];
extern const int gnTailleBufferRes8;

namespace {

using base_internal::sUtf16Le;
using base_internal::tabConstruitBloc;

const std::vector<uint8_t>& tabBlocTest() {
    static const std::vector<uint8_t> s_tabBloc = tabConstruitBloc({
        {257, 0, "START"},
        {1000, 0x01, "Le fichier n°%d « %s » n'est pas ouvert."},
        {1001, 0x42, sUtf16Le(u"Réservé à l'administrateur \U0001D11E")},
        {1002, 0x00, ""},
        {1003, 0x03, "%d fichier copié\n§\n%d fichiers copiés"},
        {1004, 0x00, "a\xFF" "b\xE9"},
        {65535, 0, "STOP"},
    });
    return s_tabBloc;
}

bool bRessourceTest(STRessourceModule& stRessource) {
    static const CResAnsiIndex s_clIndex(tabBlocTest().data(), tabBlocTest().size());
    return s_clIndex.bCherche(stRessource);
}

const _stMyModuleInfo gstModuleTest = {
    nullptr, 0, 77, "test.so", "1.2.3", bRessourceTest, nullptr, nullptr, 1, nullptr, nullptr, nullptr,
    nullptr, nullptr, nullptr, nullptr,
};

// The block copied into a heap block of exactly its size, so that a read past the end is caught.
struct STBlocExact {
    explicit STBlocExact(const std::vector<uint8_t>& tabBloc, size_t nTaille)
        : pbyOctets(new uint8_t[nTaille]), nTaille(nTaille) {
        memcpy(pbyOctets.get(), tabBloc.data(), nTaille);
    }
    bool bTrouve(unsigned int nId) const {
        STRessourceModule stRessource{nId, nullptr, 0, 0, -1};
        return bGetResAnsiBlock(pbyOctets.get(), nTaille, stRessource);
    }
    std::unique_ptr<uint8_t[]> pbyOctets;
    size_t nTaille;
};

TEST(ResourceBlock, FindsEveryRecordIncludingTheEndMarkers) {
    struct STCas {
        int nLigne;
        unsigned int nId;
        bool bTrouve;
        int nUtilisation;
        uint32_t dwFormat;
    } const astCas[] = {
        {__LINE__, 257, true, 0, RESSOURCE_FORMAT_UTF8},    {__LINE__, 65535, true, 0, RESSOURCE_FORMAT_UTF8},
        {__LINE__, 1000, true, 1, RESSOURCE_FORMAT_UTF8},   {__LINE__, 1001, true, 2, RESSOURCE_FORMAT_UTF16},
        {__LINE__, 1003, true, 3, RESSOURCE_FORMAT_UTF8},   {__LINE__, 999, false, -1, 0},
        {__LINE__, 256, false, -1, 0},                      {__LINE__, 65536 + 1000, false, -1, 0},
    };
    for (const auto& stCas : astCas) {
        STRessourceModule stRessource{stCas.nId, nullptr, 0, 0, -1};
        EXPECT_EQ(bGetResAnsiBlock(tabBlocTest().data(), tabBlocTest().size(), stRessource), stCas.bTrouve)
            << "line " << stCas.nLigne;
        EXPECT_EQ(stRessource.nUtilisation, stCas.nUtilisation) << "line " << stCas.nLigne;
        if (stCas.bTrouve) {
            EXPECT_EQ(stRessource.dwFormat, stCas.dwFormat) << "line " << stCas.nLigne;
        }
    }
    EXPECT_EQ(DLLRES_nGetUtilisation(&gstModuleTest, 1003), 3);
    EXPECT_EQ(DLLRES_nGetUtilisation(&gstModuleTest, 4242), -1);
    EXPECT_EQ(DLLRES_nGetUtilisation(nullptr, 1003), -1);
}

TEST(ResourceBlock, DecodesUtf8AndUtf16Texts) {
    struct STCas {
        int nLigne;
        unsigned int nId;
        const wchar_t* pszAttendu;
    } const astCas[] = {
        {__LINE__, 1000, L"Le fichier n°%d « %s » n'est pas ouvert."},
        {__LINE__, 1001, L"Réservé à l'administrateur \U0001D11E"},
        {__LINE__, 1002, L""},
        {__LINE__, 1004, L"a\uFFFDb\uFFFD"},  // malformed bytes read as replacement characters
    };
    for (const auto& stCas : astCas) {
        CTString clTexte(L"avant");
        EXPECT_TRUE(DLLRES_bLoadString(&gstModuleTest, stCas.nId, &clTexte)) << "line " << stCas.nLigne;
        EXPECT_STREQ(clTexte.pszGet(), stCas.pszAttendu) << "line " << stCas.nLigne;
    }
    STRessourceModule stInconnu{0, nullptr, 0, 9, -1};
    CTString clTexte;
    EXPECT_FALSE(bDecodeRessource(stInconnu, &clTexte));
}

TEST(ResourceBlock, StopsTheWalkAtTheFirstUnsoundRecord) {
    const std::vector<uint8_t> tabSain =
        base_internal::tabConstruitBlocBrut({{10, 0, "un"}, {20, 0, "deux"}, {30, 0, "trois"}});
    // Offsets: record 10 at 0 (9 bytes), 20 at 9 (11 bytes), 30 at 20 (12 bytes), end mark at 32.
    EXPECT_TRUE(STBlocExact(tabSain, tabSain.size()).bTrouve(30));
    EXPECT_TRUE(STBlocExact(tabSain, 32).bTrouve(30)) << "a block without end mark ends with its size";

    const STBlocExact stTronque(tabSain, 25);
    EXPECT_TRUE(stTronque.bTrouve(10));
    EXPECT_TRUE(stTronque.bTrouve(20));
    EXPECT_FALSE(stTronque.bTrouve(30)) << "a record running past the end is not read";
    EXPECT_FALSE(STBlocExact(tabSain, 1).bTrouve(10));

    std::vector<uint8_t> tabCourt = tabSain;
    tabCourt[9] = 3;  // record 20 claims fewer bytes than its own header
    EXPECT_TRUE(STBlocExact(tabCourt, tabCourt.size()).bTrouve(10));
    EXPECT_FALSE(STBlocExact(tabCourt, tabCourt.size()).bTrouve(20));
    EXPECT_FALSE(STBlocExact(tabCourt, tabCourt.size()).bTrouve(30));

    std::vector<uint8_t> tabDonneesLongues = tabSain;
    tabDonneesLongues[9 + 5] = 200;  // data length of record 20 past its record
    EXPECT_FALSE(STBlocExact(tabDonneesLongues, tabDonneesLongues.size()).bTrouve(20));

    const std::vector<uint8_t> tabDesordre = tabConstruitBloc({{10, 0, "a"}, {30, 0, "b"}, {20, 0, "c"}});
    EXPECT_TRUE(STBlocExact(tabDesordre, tabDesordre.size()).bTrouve(30));
    EXPECT_FALSE(STBlocExact(tabDesordre, tabDesordre.size()).bTrouve(20));

    STRessourceModule stRessource{10, nullptr, 0, 0, -1};
    EXPECT_FALSE(bGetResAnsiBlock(nullptr, 100, stRessource));
}

std::string sUtf8(const wchar_t* pszTexte) {
    char* psz = WideToUTF8(pszTexte);
    std::string s(psz != nullptr ? psz : "");
    free(psz);
    return s;
}

// The library's own block: every error row finds its message, the text reads cleanly, and packing
// it again gives the bytes stored, so nothing was lost between the catalogue and the block.
TEST(LibraryBlock, EveryErrorMessageUnpacksAndRepacksToItsRecord) {
    const CResAnsiIndex clIndex(_pbyBufferRes8, static_cast<size_t>(gnTailleBufferRes8));
    ASSERT_GT(gnNbErrorDef8, 0);
    for (int i = 0; i < gnNbErrorDef8; ++i) {
        const unsigned int nId = gstErrorDef8[i].dwRessource;
        STRessourceModule stRessource{nId, nullptr, 0, 0, -1};
        ASSERT_TRUE(clIndex.bCherche(stRessource)) << "resource " << nId;
        EXPECT_EQ(stRessource.dwFormat, RESSOURCE_FORMAT_UTF8) << "resource " << nId;
        CTString clTexte;
        ASSERT_TRUE(DLLRES_bLoadString(&gstMyModuleInfo8, nId, &clTexte)) << "resource " << nId;
        EXPECT_FALSE(clTexte.bEstVide()) << "resource " << nId;
        EXPECT_EQ(wcschr(clTexte.pszGet(), L'\uFFFD'), nullptr) << "resource " << nId;
        const std::string sPaquet = base_internal::sCompresse(sUtf8(clTexte.pszGet()));
        EXPECT_EQ(sPaquet, std::string(reinterpret_cast<const char*>(stRessource.pbyDonnees), stRessource.dwLongueur))
            << "resource " << nId;
    }
    // The markers at both ends are plain text.
    for (const auto& [nId, pszTexte] : {std::pair<unsigned int, const char*>{257, "ORVANE RES BLOC UTF16 START "},
                                        {65535, "ORVANE RES BLOC UTF16 STOP"}}) {
        STRessourceModule stRessource{nId, nullptr, 0, 0, -1};
        ASSERT_TRUE(clIndex.bCherche(stRessource)) << nId;
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(stRessource.pbyDonnees), stRessource.dwLongueur), pszTexte);
    }
}

// Texts that are not error messages share the block: accented names come back whole, and each
// list keeps its separators.
TEST(LibraryBlock, CarriesTheNamesAndListsBesideTheErrors) {
    const struct {
        int nLigne;
        unsigned int nId;
        const wchar_t* pszTexte;
    } tab[] = {
        {__LINE__, 28192, L"janvier"},  {__LINE__, 28193, L"f\u00e9vrier"}, {__LINE__, 28199, L"ao\u00fbt"},
        {__LINE__, 28203, L"d\u00e9cembre"}, {__LINE__, 28204, L"lundi"}, {__LINE__, 28210, L"dimanche"},
        {__LINE__, 28577, L"J"},        {__LINE__, 25202, L"byte(s);KB;MB;GB;TB"},
    };
    for (const auto& st : tab) {
        CTString clTexte;
        ASSERT_TRUE(DLLRES_bLoadString(&gstMyModuleInfo8, st.nId, &clTexte)) << "line " << st.nLigne;
        EXPECT_STREQ(clTexte.pszGet(), st.pszTexte) << "line " << st.nLigne;
    }
}

TEST(ResourceLoad, MissingResourceLeavesTheTargetUntouched) {
    CTString clTexte(L"inchangé");
    EXPECT_FALSE(DLLRES_bLoadString(&gstModuleTest, 4242, &clTexte));
    EXPECT_FALSE(DLLRES_bLoadString(nullptr, 1000, &clTexte));
    EXPECT_FALSE(DLLRES_bFormatMessage(&gstModuleTest, 4242, &clTexte, 1));
    EXPECT_STREQ(clTexte.pszGet(), L"inchangé");
    wchar_t* pszTexte = reinterpret_cast<wchar_t*>(1);
    EXPECT_EQ(DLLRES_nFormatMessage(&gstModuleTest, 4242, &pszTexte, 1), 0);
    EXPECT_EQ(pszTexte, nullptr);
}

TEST(ResourceLoad, CopiesIntoACallersBufferCutToFit) {
    wchar_t szBuffer[8];
    EXPECT_EQ(DLLRES_nLoadString(&gstModuleTest, 1001, szBuffer, 8), 7);
    EXPECT_STREQ(szBuffer, L"Réservé");
    EXPECT_EQ(DLLRES_nLoadString(&gstModuleTest, 4242, szBuffer, 8), 0);
    EXPECT_EQ(DLLRES_nLoadString(&gstModuleTest, 1001, szBuffer, 0), 0);
}

TEST(ResourceFormat, FormatsResourceTextsWithWideParameters) {
    CTString clTexte;
    ASSERT_TRUE(DLLRES_bFormatMessage(&gstModuleTest, 1000, &clTexte, 3, L"été \U0001D11E.txt"));
    EXPECT_STREQ(clTexte.pszGet(), L"Le fichier n°3 « été \U0001D11E.txt » n'est pas ouvert.");

    wchar_t* pszTexte = nullptr;
    const int nLongueur = DLLRES_nFormatMessage(&gstModuleTest, 1000, &pszTexte, 12, L"à");
    ASSERT_NE(pszTexte, nullptr);
    EXPECT_EQ(nLongueur, static_cast<int>(wcslen(pszTexte)));
    EXPECT_STREQ(pszTexte, L"Le fichier n°12 « à » n'est pas ouvert.");
    free(pszTexte);
}

unsigned int dwFormateDirect(CTString* pclTexte, const wchar_t* pszFormat, ...) {
    va_list pArguments;
    va_start(pArguments, pszFormat);
    const unsigned int dwLongueur = DLLRES_dwFormatMessage(pszFormat, pclTexte, pArguments);
    va_end(pArguments);
    return dwLongueur;
}

TEST(ResourceFormat, FormatsAnAlreadyLoadedText) {
    CTString clTexte;
    EXPECT_EQ(dwFormateDirect(&clTexte, L"%s : %d", L"Durée", 5), 9u);
    EXPECT_STREQ(clTexte.pszGet(), L"Durée : 5");
}

TEST(ResourceFormat, PicksTheSingularOrPluralVariant) {
    CTString clTexte;
    ASSERT_TRUE(DLLRES_bFormatMessageSingulierPluriel(&gstModuleTest, 0, 1003, &clTexte, 1));
    EXPECT_STREQ(clTexte.pszGet(), L"1 fichier copié");
    ASSERT_TRUE(DLLRES_bFormatMessageSingulierPluriel(&gstModuleTest, 1, 1003, &clTexte, 4));
    EXPECT_STREQ(clTexte.pszGet(), L"4 fichiers copiés");
    EXPECT_FALSE(DLLRES_bFormatMessageSingulierPluriel(&gstModuleTest, 2, 1003, &clTexte, 4));
    EXPECT_STREQ(clTexte.pszGet(), L"4 fichiers copiés");
}

// A stand-in for the machine's message provider.
int nFournisseurTest(unsigned int nId, wchar_t* pszBuffer, int nTaille) {
    static const std::wstring s_sLong = std::wstring(300, L'é') + L"\U0001D11E";
    const wchar_t* pszTexte;
    switch (nId) {
        case 1000: pszTexte = L"Fichier %d fermé"; break;
        case 2000: pszTexte = s_sLong.c_str(); break;
        default: return 0;
    }
    const int nLongueur = static_cast<int>(wcslen(pszTexte));
    if (nLongueur > nTaille) return nLongueur;  // asks for room
    wmemcpy(pszBuffer, pszTexte, static_cast<size_t>(nLongueur));
    if (nLongueur < nTaille) pszBuffer[nLongueur] = 0;
    return nLongueur;
}

class ResourceProvider : public testing::Test {
protected:
    void SetUp() override { gpfnLoadStringOVM = nFournisseurTest; }
    void TearDown() override { gpfnLoadStringOVM = nullptr; }
};

TEST_F(ResourceProvider, OverridesTheLibrarysOwnTexts) {
    CTString clTexte;
    ASSERT_TRUE(DLLRES_bFormatMessage(&gstModuleTest, 1000, &clTexte, 8));
    EXPECT_STREQ(clTexte.pszGet(), L"Fichier 8 fermé");
}

TEST_F(ResourceProvider, AnswerOfZeroFallsThroughToTheLibrarysText) {
    wchar_t szBuffer[64];
    EXPECT_EQ(DLLRES_nLoadString(&gstModuleTest, 1001, szBuffer, 64), 28);
    EXPECT_STREQ(szBuffer, L"Réservé à l'administrateur \U0001D11E");
    EXPECT_EQ(OVM_nLoadString(1001, szBuffer, 64), 0);
}

TEST_F(ResourceProvider, LongTextIsFetchedAgainWithTheRoomItAskedFor) {
    CTString clTexte;
    ASSERT_TRUE(OVM_bLoadString(2000, &clTexte));
    EXPECT_EQ(clTexte.nTaille(), 301);
    EXPECT_EQ(clTexte.pszGet()[300], static_cast<wchar_t>(0x1D11E));
    wchar_t szBuffer[4];
    EXPECT_EQ(OVM_nLoadString(2000, szBuffer, 4), 3);
    EXPECT_STREQ(szBuffer, L"ééé");
}

// ---------------------------------------------------------------- message files

// A message file as the loader reads it, written to a temporary path.
class MessageFile : public testing::Test {
protected:
    static void Ajoute32(std::string& s, uint32_t n) {
        for (int i = 0; i < 4; ++i) s.push_back(static_cast<char>((n >> (8 * i)) & 0xFF));
    }
    static std::string sTexte32(const std::wstring& sTexte, bool bTerminateur) {
        std::string s;
        for (wchar_t c : sTexte) Ajoute32(s, static_cast<uint32_t>(c));
        if (bTerminateur) Ajoute32(s, 0);
        return s;
    }

    // Sets 1 (message 5) and 2 (messages 7, 8 with offset 0, 9 without terminator); set 3 has
    // offset 0. Layout: header 4, set list 32, set 1 list 16 at 36, set 2 list 32 at 52, texts at 84.
    static std::string sFichierType() {
        const std::string sTexte7 = sTexte32(L"Élève \U0001D11E", true);
        const std::string sTexte5 = sTexte32(L"un", true);
        const std::string sTexte9 = sTexte32(L"sans fin", false);
        const uint32_t dwTexte7 = 84;
        const uint32_t dwTexte5 = dwTexte7 + 4 + static_cast<uint32_t>(sTexte7.size());
        const uint32_t dwTexte9 = dwTexte5 + 4 + static_cast<uint32_t>(sTexte5.size());
        std::string s;
        Ajoute32(s, 0x00010000);
        for (uint32_t n : {1u, 36u, 2u, 52u, 3u, 0u, 0u, 0u}) Ajoute32(s, n);
        for (uint32_t n : {5u, dwTexte5, 0u, 0u}) Ajoute32(s, n);
        for (uint32_t n : {7u, dwTexte7, 8u, 0u, 9u, dwTexte9, 0u, 0u}) Ajoute32(s, n);
        Ajoute32(s, static_cast<uint32_t>(sTexte7.size()));
        s += sTexte7;
        Ajoute32(s, static_cast<uint32_t>(sTexte5.size()));
        s += sTexte5;
        Ajoute32(s, static_cast<uint32_t>(sTexte9.size()));
        s += sTexte9;
        return s;
    }

    void Ecrit(const std::string& sContenu) {
        FILE* pFichier = fopen(m_szChemin, "wb");
        ASSERT_NE(pFichier, nullptr);
        fwrite(sContenu.data(), 1, sContenu.size(), pFichier);
        fclose(pFichier);
    }

    void SetUp() override {
        const int nFichier = mkstemp(m_szChemin);
        ASSERT_GE(nFichier, 0);
        close(nFichier);
    }
    void TearDown() override { unlink(m_szChemin); }

    char m_szChemin[64] = "/tmp/messages_XXXXXX";
};

TEST_F(MessageFile, FindsTheMessageOfTheSetAsked) {
    Ecrit(sFichierType());
    struct STCas {
        int nLigne;
        unsigned int nJeu;
        unsigned int nId;
        bool bTrouve;
        const wchar_t* pszAttendu;
    } const astCas[] = {
        {__LINE__, 2, 7, true, L"Élève \U0001D11E"},
        {__LINE__, 1, 5, true, L"un"},
        {__LINE__, 2, 9, true, L"sans fin"},  // no terminator in the file
        {__LINE__, 1, 7, false, nullptr},     // in another set
        {__LINE__, 2, 8, false, nullptr},     // offset 0
        {__LINE__, 2, 10, false, nullptr},
        {__LINE__, 2, 0, false, nullptr},
        {__LINE__, 3, 1, false, nullptr},     // set with offset 0
        {__LINE__, 4, 1, false, nullptr},
    };
    for (const auto& stCas : astCas) {
        wchar_t szBuffer[32];
        wmemset(szBuffer, L'#', 32);
        EXPECT_EQ(bRM_LoadMess(stCas.nJeu, m_szChemin, stCas.nId, szBuffer, sizeof szBuffer), stCas.bTrouve)
            << "line " << stCas.nLigne;
        if (stCas.bTrouve) {
            EXPECT_STREQ(szBuffer, stCas.pszAttendu) << "line " << stCas.nLigne;
        }
    }
}

TEST_F(MessageFile, LongMessageIsCutAndStaysTerminated) {
    Ecrit(sFichierType());
    wchar_t szBuffer[5];
    wmemset(szBuffer, L'#', 5);
    ASSERT_TRUE(bRM_LoadMess(2, m_szChemin, 7, szBuffer, 4 * sizeof(wchar_t)));
    EXPECT_STREQ(szBuffer, L"Élè");
    EXPECT_EQ(szBuffer[4], L'#') << "nothing written past the size given";
    EXPECT_FALSE(bRM_LoadMess(2, m_szChemin, 7, szBuffer, 3)) << "no room for one character";
}

TEST_F(MessageFile, RefusesBadOrTruncatedFiles) {
    const std::string sBon = sFichierType();
    std::string sEntete = sBon;
    sEntete[2] = 2;  // upper half of the header must be 1
    struct STCas {
        int nLigne;
        std::string sContenu;
    } const astCas[] = {
        {__LINE__, sEntete},
        {__LINE__, sBon.substr(0, 3)},
        {__LINE__, sBon.substr(0, 20)},   // set list cut
        {__LINE__, sBon.substr(0, 60)},   // message list cut
        {__LINE__, sBon.substr(0, 100)},  // text cut
        {__LINE__, ""},
    };
    for (const auto& stCas : astCas) {
        Ecrit(stCas.sContenu);
        wchar_t szBuffer[32];
        EXPECT_FALSE(bRM_LoadMess(2, m_szChemin, 7, szBuffer, sizeof szBuffer)) << "line " << stCas.nLigne;
    }
    wchar_t szBuffer[8];
    EXPECT_FALSE(bRM_LoadMess(2, "/nonexistent/messages", 7, szBuffer, sizeof szBuffer));
}

// ---------------------------------------------------------------- the small entries

TEST(ResourceModule, ALibraryWithoutTheEntryGivesNoResource) {
    unsigned int nTaille = 99;
    void* hLibC = dlopen("libc.so.6", RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(hLibC, nullptr);
    EXPECT_EQ(DLLRES_pLoadResource(&gstModuleTest, hLibC, 1000, L"RT_RCDATA", &nTaille), nullptr)
        << "a library without the entry";
    dlclose(hLibC);
}

TEST(ResourceString, BuildsFromAFormattedOrRawResource) {
    const CTStringRes clFormate(&gstModuleTest, 1000, 5, L"Été \U0001D11E");
    EXPECT_STREQ(clFormate.pszGet(), L"Le fichier n°5 « Été \U0001D11E » n'est pas ouvert.");
    const CTStringResNoFormat clBrut(&gstModuleTest, 1000);
    EXPECT_STREQ(clBrut.pszGet(), L"Le fichier n°%d « %s » n'est pas ouvert.");
    const CTStringRes clAbsent(&gstModuleTest, 4242);
    EXPECT_TRUE(clAbsent.bEstVide());
}

// ---------------------------------------------------------------- decoded texts kept

// A module whose block the test rewrites in place: the same address, other texts.
std::vector<uint8_t> gtabBlocVariable(4096, 0);

bool bRessourceVariable(STRessourceModule& stRessource) {
    return bGetResAnsiBlock(gtabBlocVariable.data(), gtabBlocVariable.size(), stRessource);
}

const _stMyModuleInfo gstModuleVariable = {
    nullptr, 0, 78, "variable.so", "1.0", bRessourceVariable, nullptr, nullptr, 1, nullptr, nullptr, nullptr,
    nullptr, nullptr, nullptr, nullptr,
};

void EcritBlocVariable(const char* pszTexte500, const char* pszTexte501) {
    const std::vector<uint8_t> tabBloc = tabConstruitBloc({{500, 0, pszTexte500}, {501, 0, pszTexte501}});
    ASSERT_LE(tabBloc.size(), gtabBlocVariable.size());
    std::fill(gtabBlocVariable.begin(), gtabBlocVariable.end(), 0);
    std::copy(tabBloc.begin(), tabBloc.end(), gtabBlocVariable.begin());
}

std::wstring sCharge(const _stMyModuleInfo* pstModule, unsigned int nId) {
    CTString clTexte;
    if (!DLLRES_bLoadString(pstModule, nId, &clTexte)) return L"<absent>";
    return clTexte.pszGet() != nullptr ? clTexte.pszGet() : L"";
}

TEST(ResourceTextsKept, RepeatedLoadsAnswerTheSameTextAndTheProviderStillComesFirst) {
    for (int n = 0; n < 3; ++n) {
        EXPECT_EQ(sCharge(&gstModuleTest, 1001), L"Réservé à l'administrateur 𝄞") << n;
        EXPECT_EQ(sCharge(&gstModuleTest, 1000), L"Le fichier n°%d « %s » n'est pas ouvert.") << n;
        EXPECT_EQ(sCharge(&gstModuleTest, 1002), L"") << n;
        EXPECT_EQ(sCharge(&gstModuleTest, 4242), L"<absent>") << n;
    }
    gpfnLoadStringOVM = nFournisseurTest;
    EXPECT_EQ(sCharge(&gstModuleTest, 1000), L"Fichier %d fermé") << "a text already kept does not hide the provider";
    gpfnLoadStringOVM = nullptr;
    EXPECT_EQ(sCharge(&gstModuleTest, 1000), L"Le fichier n°%d « %s » n'est pas ouvert.");
}

TEST(ResourceTextsKept, ABlockRewrittenAtTheSameAddressAnswersItsNewTexts) {
    struct {
        int nLigne;
        const char* psz500;
        const char* psz501;
    } tab[] = {
        {__LINE__, "Déjà vu", "un"},
        {__LINE__, "Déjà vi", "deux"},  // same length, other bytes
        {__LINE__, "Été \xF0\x9D\x84\x9E plus long que les autres", "trois"},
        {__LINE__, "Déjà vu", "un"},
    };
    for (const auto& st : tab) {
        EcritBlocVariable(st.psz500, st.psz501);
        CTString clAttendu;
        clAttendu.SetStandard(st.psz500);
        EXPECT_EQ(sCharge(&gstModuleVariable, 500), clAttendu.pszGet()) << st.nLigne;
        EXPECT_EQ(sCharge(&gstModuleVariable, 500), clAttendu.pszGet()) << st.nLigne << " again";
        clAttendu.SetStandard(st.psz501);
        EXPECT_EQ(sCharge(&gstModuleVariable, 501), clAttendu.pszGet()) << st.nLigne;
    }
}

TEST(ResourceTextsKept, ThreadsLoadingTheSameTextsAtOnceAllReadThemWhole) {
    std::vector<std::thread> tabThreads;
    std::atomic<int> nFautes{0};
    for (int nThread = 0; nThread < 4; ++nThread) {
        tabThreads.emplace_back([&nFautes] {
            for (int n = 0; n < 500; ++n) {
                CTString clTexte;
                if (!DLLRES_bFormatMessage(&gstModuleTest, 1000, &clTexte, n, L"Été \U0001D11E")) ++nFautes;
                wchar_t szAttendu[128];
                std::swprintf(szAttendu, 128, L"Le fichier n°%d « Été \U0001D11E » n'est pas ouvert.", n);
                if (clTexte.pszGet() == nullptr || wcscmp(clTexte.pszGet(), szAttendu) != 0) ++nFautes;
                if (sCharge(&gstModuleTest, 1001) != L"Réservé à l'administrateur \U0001D11E") ++nFautes;
            }
        });
    }
    for (std::thread& cl : tabThreads) cl.join();
    EXPECT_EQ(nFautes.load(), 0);
}

}  // namespace
