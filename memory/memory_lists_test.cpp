// Memory lists: numbering after deletes, the order of keys and sorted search, the walk flags, the
// spill file and its damage, growth after a spill, and the stored form of variants.
#include "memory/memory_lists.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "base/any.h"
#include "base/error.h"
#include "component/composante.h"
#include "memory/memory_values.h"
#include "memory/zone_memoire.h"

namespace {

using namespace ovmem;

// Keys and values as the engine stores them: wide texts in UTF-32 little-endian with terminator.
std::string sLarge(const std::wstring& s) {
    std::string sOctets;
    for (wchar_t c : s + L'\0')
        for (int i = 0; i < 4; ++i) sOctets.push_back(static_cast<char>((static_cast<uint32_t>(c) >> (8 * i)) & 0xFF));
    return sOctets;
}

STDonneeMem stTexte(const std::string& s, char cType = kcTexteLarge) {
    return {cType, reinterpret_cast<const uint8_t*>(s.data()), static_cast<int>(s.size())};
}

STDonneeMem stEntier(const int64_t& n) { return {kcEntier, reinterpret_cast<const uint8_t*>(&n), 8}; }

std::string sLu(const uint8_t* pby, const STDonneeMem& st) {
    return pby != nullptr ? std::string(reinterpret_cast<const char*>(st.pby), static_cast<size_t>(st.nLongueur)) : "<null>";
}

class MemoryList : public ::testing::Test {
protected:
    void SetUp() override { MEM_InitModule(ctx); }
    void TearDown() override { MEM_FinModule(ctx); }

    bool bAjoute(const wchar_t* pszNom, const std::string& sCle, const std::string& sValeur) {
        return bMemAjoute(ctx, pszNom, stTexte(sCle), stTexte(sValeur));
    }
    std::string sValeur(const wchar_t* pszNom, int n) {
        STDonneeMem st{};
        return sLu(lpvMemRenvoie(ctx, pszNom, n, eENREG_VALEUR, &st), st);
    }
    std::string sCle(const wchar_t* pszNom, int n) {
        STDonneeMem st{};
        return sLu(lpvMemRenvoie(ctx, pszNom, n, eENREG_CLE, &st), st);
    }

    stCTXMEM ctx{};
};

TEST_F(MemoryList, NamesResolveWithoutCaseAndTheNullNameIsTheDefaultList) {
    ASSERT_TRUE(bAjoute(nullptr, sLarge(L"k"), sLarge(L"v")));
    EXPECT_EQ(lMemOccurrence(ctx, L"ovmemdef"), 1);
    ASSERT_TRUE(bMemCree(ctx, L"Liste-très-longue-au-delà-de-vingt"));
    EXPECT_TRUE(bMemTestExistenceBuffer(ctx, L"LISTE-TRÈS-LONGUE-AU-autre chose"));
    EXPECT_EQ(lMemOccurrence(ctx, L""), 0) << "the list just created is current";
    EXPECT_FALSE(bAjoute(L"inconnue", sLarge(L"k"), sLarge(L"v"))) << "a given name must exist";
    EXPECT_TRUE(bMemSupprime(ctx, L"*", -1));
    EXPECT_EQ(lMemOccurrence(ctx, L""), -1) << "after *, an empty name names no stale list";
    EXPECT_TRUE(bAjoute(L"", sLarge(L"k"), sLarge(L"v")));
    EXPECT_EQ(lMemOccurrence(ctx, nullptr), 1);
}

// 20,000 records span two index blocks; a delete in the first block makes room there, so the next
// add takes the number the first block ends at, and the later ones shift by one.
TEST_F(MemoryList, AnAddAfterADeleteTakesTheFirstBlocksFreeSlot) {
    for (int64_t i = 1; i <= 20000; ++i) ASSERT_TRUE(bMemAjoute(ctx, nullptr, stEntier(i), stEntier(i)));
    ASSERT_TRUE(bMemSupprime(ctx, nullptr, 5));
    EXPECT_EQ(lMemOccurrence(ctx, nullptr), 19999);
    const int64_t nNouveau = 99999;
    ASSERT_TRUE(bMemAjoute(ctx, nullptr, stEntier(nNouveau), stEntier(nNouveau)));
    auto nValeur = [&](int n) {
        STDonneeMem st{};
        int64_t v = -1;
        if (lpvMemRenvoie(ctx, nullptr, n, eENREG_VALEUR, &st) != nullptr) std::memcpy(&v, st.pby, 8);
        return v;
    };
    const struct {
        int nLigne, nEnreg;
        int64_t nAttendu;
    } tabCas[] = {
        {__LINE__, 4, 4}, {__LINE__, 5, 6}, {__LINE__, 15999, 16000}, {__LINE__, 16000, 99999},
        {__LINE__, 16001, 16001}, {__LINE__, 20000, 20000}, {__LINE__, 20001, -1},
    };
    for (const auto& c : tabCas) EXPECT_EQ(nValeur(c.nEnreg), c.nAttendu) << "row " << c.nLigne;
    // Deleting and re-adding many keeps the count and every value readable.
    for (int i = 0; i < 3000; ++i) ASSERT_TRUE(bMemSupprime(ctx, nullptr, 1 + (i * 7919) % lMemOccurrence(ctx, nullptr)));
    for (int64_t i = 0; i < 3000; ++i) ASSERT_TRUE(bMemAjoute(ctx, nullptr, stEntier(i), stEntier(i)));
    EXPECT_EQ(lMemOccurrence(ctx, nullptr), 20000);
    for (int n = 1; n <= 20000; ++n) ASSERT_NE(nValeur(n), -1) << n;
}

TEST_F(MemoryList, SortAgreesWithStdSortOfTheStoredKeysBothWays) {
    std::mt19937 alea(42);
    const std::wstring sAlphabet = L"abcéèàçôûZ09 \U0001F600ÿ";
    std::vector<std::string> tabCles;
    ASSERT_TRUE(bMemCree(ctx, L"tri"));
    for (int i = 0; i < 5000; ++i) {
        std::wstring s;
        for (int n = static_cast<int>(alea() % 6); n >= 0; --n) s += sAlphabet[alea() % sAlphabet.size()];
        tabCles.push_back(sLarge(s));
        ASSERT_TRUE(bAjoute(L"tri", tabCles.back(), std::to_string(i)));
    }
    for (int nSens : {1, 0}) {
        ASSERT_TRUE(bMemTri(ctx, L"tri", nSens));
        std::vector<std::string> tabAttendu = tabCles;
        std::sort(tabAttendu.begin(), tabAttendu.end(),
                  [&](const std::string& a, const std::string& b) { return nSens ? a < b : b < a; });
        for (size_t i = 0; i < tabAttendu.size(); ++i)
            ASSERT_EQ(sCle(L"tri", static_cast<int>(i) + 1), tabAttendu[i]) << "direction " << nSens << " at " << i;
    }
    EXPECT_FALSE(bMemTri(ctx, L"tri", 0)) << "already sorted that way";
}

TEST_F(MemoryList, SortedSearchFindsTheFirstOfEqualKeysInBothDirections) {
    const char* aszCles[] = {"b", "a", "c", "b", "a", "b", "d", "b"};
    ASSERT_TRUE(bMemCree(ctx, L"s"));
    for (int i = 0; i < 8; ++i) ASSERT_TRUE(bAjoute(L"s", sLarge(std::wstring(1, aszCles[i][0])), std::to_string(i)));
    for (int nSens : {1, 0}) {
        ASSERT_TRUE(bMemTri(ctx, L"s", nSens));
        for (const char* psz : {"a", "b", "c", "d"}) {
            const std::string sCherche = sLarge(std::wstring(1, psz[0]));
            STDonneeMem st{};
            ASSERT_NE(lpvMemRecherche(ctx, L"s", stTexte(sCherche), &st), nullptr) << psz;
            const int n = lEnregEnCours(ctx, L"s");
            EXPECT_EQ(sCle(L"s", n), sCherche);
            if (n > 1) {
                EXPECT_NE(sCle(L"s", n - 1), sCherche) << psz << " direction " << nSens;
            }
        }
        STDonneeMem st{};
        EXPECT_EQ(lpvMemRecherche(ctx, L"s", stTexte(sLarge(L"e")), &st), nullptr);
        EXPECT_TRUE(pstMemListe(ctx, L"s")->bEnDehors);
    }
}

TEST_F(MemoryList, WalksNeedAStartAndASortResetsTheCurrentRecord) {
    ASSERT_TRUE(bMemCree(ctx, L"w"));
    for (const wchar_t* psz : {L"un", L"deux", L"trois"}) ASSERT_TRUE(bAjoute(L"w", sLarge(psz), sLarge(psz)));
    STDonneeMem st{};
    const _stBUFFERMEM* pst = pstMemListe(ctx, L"w");
    const int bDehorsAvant = pst->bEnDehors;
    EXPECT_EQ(lpvMemSuivant(ctx, L"w", &st), nullptr);
    EXPECT_EQ(pst->bEnDehors, bDehorsAvant) << "a step before any start touches nothing";
    ASSERT_NE(lpvMemDernier(ctx, L"w", &st), nullptr);
    EXPECT_EQ(lpvMemSuivant(ctx, L"w", &st), nullptr);
    EXPECT_TRUE(pst->bApresDernier);
    ASSERT_NE(lpvMemPrecedent(ctx, L"w", &st), nullptr) << "past the end, a step back restarts at the last";
    EXPECT_EQ(sLu(st.pby, st), sLarge(L"trois"));
    ASSERT_TRUE(bMemTri(ctx, L"w", 1));
    EXPECT_EQ(lEnregEnCours(ctx, L"w"), 0);
    EXPECT_EQ(lpvMemSuivant(ctx, L"w", &st), nullptr);
    ASSERT_NE(lpvMemPremier(ctx, L"w", &st), nullptr);
    EXPECT_EQ(sLu(lpvMemSuivant(ctx, L"w", &st), st), sLarge(L"trois"));
}

TEST(MemoryCompare, EmptyTextBelowNumbersBelowTextsAndNumbersByValue) {
    const std::string sVide("\0", 1), sA("a\0", 2);
    const double d = 2.5;
    const int64_t n2 = 2, n3 = 3;
    const int64_t nGrand = int64_t{1} << 40;
    const STDonneeMem stVide = stTexte(sVide, kcTexte), stA = stTexte(sA, kcTexte);
    const STDonneeMem stD{kcReel, reinterpret_cast<const uint8_t*>(&d), 8};
    const STDonneeMem st2 = stEntier(n2), st3 = stEntier(n3);
    const STDonneeMem stQ{kcEntierLong, reinterpret_cast<const uint8_t*>(&nGrand), 8};
    const STDonneeMem stQ3{kcEntierLong, reinterpret_cast<const uint8_t*>(&n3), 8};
    const struct {
        int nLigne;
        STDonneeMem stG, stD;
        int nAttendu;
    } tabCas[] = {
        {__LINE__, stVide, stVide, 0}, {__LINE__, stVide, st2, -1}, {__LINE__, st2, stVide, 1},
        {__LINE__, st2, stA, -1},      {__LINE__, stA, st2, 1},     {__LINE__, st2, stD, -1},
        {__LINE__, stD, st3, -1},      {__LINE__, st3, stQ3, 0},    {__LINE__, stQ, st3, 1},
        {__LINE__, st3, stQ, -1},      {__LINE__, stA, stVide, 1},
    };
    for (const auto& c : tabCas) EXPECT_EQ(nEnregTest(c.stG, c.stD), c.nAttendu) << "row " << c.nLigne;
}

TEST(MemoryQuicksort, SortsThroughCallbacksAndStaysInsideItsRange) {
    struct STContexte {
        std::vector<int> tab;
        int nPivot = 0;
        std::mt19937 alea{7};
        bool bIncoherent = false;
    };
    auto fnCompare = [](void* p, int i) {
        auto* pst = static_cast<STContexte*>(p);
        if (pst->bIncoherent) return static_cast<int>(pst->alea() % 3) - 1;
        const int v = pst->tab.at(static_cast<size_t>(i));
        return v < pst->nPivot ? -1 : v > pst->nPivot ? 1 : 0;
    };
    auto fnEchange = [](void* p, int i, int j) {
        auto* pst = static_cast<STContexte*>(p);
        std::swap(pst->tab.at(static_cast<size_t>(i)), pst->tab.at(static_cast<size_t>(j)));
    };
    auto fnPivot = [](void* p, int i) {
        auto* pst = static_cast<STContexte*>(p);
        pst->nPivot = pst->tab.at(static_cast<size_t>(i));
    };
    for (int nTaille : {0, 1, 7, 8, 9, 100, 10007}) {
        STContexte st;
        for (int i = 0; i < nTaille; ++i) st.tab.push_back(static_cast<int>(st.alea() % 50));
        std::vector<int> tabAttendu = st.tab;
        std::sort(tabAttendu.begin(), tabAttendu.end());
        ASSERT_TRUE(bTriRapideUser(&st, nTaille, fnCompare, fnEchange, fnPivot));
        EXPECT_EQ(st.tab, tabAttendu) << nTaille;
        // A comparison that is no order at all still leaves every access inside (at() throws).
        st.bIncoherent = true;
        EXPECT_NO_THROW(bTriRapideUser(&st, nTaille, fnCompare, fnEchange, fnPivot));
    }
    EXPECT_FALSE(bTriRapideUser(nullptr, 3, nullptr, fnEchange, fnPivot));
}

// 5 MiB in one list: the block stops at its cap, the rest goes to a 0600 file in a 0700 directory
// that goes with the list, and everything reads back whole.
TEST_F(MemoryList, FiveMebibytesReadBackThroughTheSpillFile) {
    std::vector<std::string> tabValeurs;
    ASSERT_TRUE(bMemCree(ctx, L"gros"));
    for (int i = 0; i < 80; ++i) {
        tabValeurs.push_back(std::string(65536 - 64, static_cast<char>('A' + i % 26)) + std::to_string(i));
        ASSERT_TRUE(bMemAjoute(ctx, L"gros", stTexte(sLarge(std::to_wstring(i))), stTexte(tabValeurs.back(), kcTexte)));
    }
    const _stBUFFERMEM* pst = pstMemListe(ctx, L"gros");
    EXPECT_EQ(pst->nCroissance, kLimiteCroissanceListe);
    EXPECT_GT(pst->nEnregFichier, 0);
    for (int i = 0; i < 80; ++i) ASSERT_EQ(sValeur(L"gros", i + 1), tabValeurs[static_cast<size_t>(i)]) << i;
    struct stat stFichier {}, stRepertoire {};
    const std::string sFichier = pst->szFichier;
    ASSERT_EQ(::stat(sFichier.c_str(), &stFichier), 0);
    EXPECT_EQ(stFichier.st_mode & 0777, 0600u);
    ASSERT_EQ(::stat(ctx.szRepertoire, &stRepertoire), 0);
    EXPECT_EQ(stRepertoire.st_mode & 0777, 0700u);
    ASSERT_TRUE(bMemSupprime(ctx, L"gros", -1));
    EXPECT_NE(::access(sFichier.c_str(), F_OK), 0) << "the spill file goes with its list";
}

// A length in the spill file that a record cannot have, or that disagrees with the record's own
// fields, is a failed read, not a read past the record.
TEST_F(MemoryList, DamagedSpillFileRecordsFailToRead) {
    ASSERT_TRUE(bMemCree(ctx, L"abime"));
    _stBUFFERMEM* pst = pstMemListe(ctx, L"abime");
    const std::string sGros(60000, 'x');
    while (pst->nEnregFichier < 2) ASSERT_TRUE(bMemAjoute(ctx, L"abime", stTexte(sGros, kcTexte), stTexte(sGros, kcTexte)));
    const int nTotal = lMemOccurrence(ctx, L"abime");
    ASSERT_EQ(sValeur(L"abime", nTotal), sGros);
    const uint8_t abyEnorme[4] = {0xFF, 0xFF, 0xFF, 0x7F};
    ASSERT_EQ(::pwrite(pst->nFichier, abyEnorme, 4, 0), 4);
    EXPECT_EQ(sValeur(L"abime", nTotal - 1), "<null>");
    const uint8_t abyFaux[4] = {20, 0, 0, 0};  // within bounds, but not what the fields add up to
    ASSERT_EQ(::pwrite(pst->nFichier, abyFaux, 4, 0), 4);
    EXPECT_EQ(sValeur(L"abime", nTotal - 1), "<null>");
    EXPECT_NE(sValeur(L"abime", nTotal), "<null>") << "other records stay readable";
}

// A list that spilled while others held the global extensions may grow again once they are gone;
// the records it spilled before must still read back as they were.
TEST_F(MemoryList, GrowthAfterASpillKeepsEarlierRecordsReadable) {
    const std::string sBloc(65000, 'm');
    auto Remplit = [&](const wchar_t* pszNom, int nFois) {
        for (int i = 0; i < nFois; ++i)
            ASSERT_TRUE(bMemAjoute(ctx, pszNom, stTexte(sLarge(std::to_wstring(i))), stTexte(sBloc + std::to_string(i), kcTexte)));
    };
    for (const wchar_t* psz : {L"A", L"C"}) {
        ASSERT_TRUE(bMemCree(ctx, psz));
        Remplit(psz, 65);
    }
    ASSERT_EQ(ctx.wCroissanceTotale, kLimiteCroissanceTotale);
    ASSERT_TRUE(bMemCree(ctx, L"B"));
    Remplit(L"B", 70);
    ASSERT_EQ(pstMemListe(ctx, L"B")->nCroissance, 0);
    ASSERT_GT(pstMemListe(ctx, L"B")->nEnregFichier, 0);
    ASSERT_TRUE(bMemSupprime(ctx, L"A", -1));
    Remplit(L"B", 1);
    EXPECT_EQ(pstMemListe(ctx, L"B")->nCroissance, 1) << "B grows again";
    for (int i = 0; i < 70; ++i) ASSERT_EQ(sValeur(L"B", i + 1), sBloc + std::to_string(i)) << i;
}

TEST_F(MemoryList, ARecordLargerThanOneExtensionGoesWholeToTheFile) {
    const std::string sCle(40000, 'k'), sValeur(kTailleMaxDonnee, 'v');
    ASSERT_TRUE(bMemCree(ctx, L"grand"));
    ASSERT_TRUE(bMemAjoute(ctx, L"grand", stTexte(sCle, kcTexte), stTexte(sValeur, kcTexte)));
    EXPECT_EQ(pstMemListe(ctx, L"grand")->nEnregFichier, 1);
    EXPECT_EQ(this->sValeur(L"grand", 1), sValeur);
    EXPECT_EQ(sCle, this->sCle(L"grand", 1));
    const std::string sTrop(kTailleMaxDonnee + 1, 'x');
    EXPECT_FALSE(bMemAjoute(ctx, L"grand", stTexte(sCle, kcTexte), stTexte(sTrop, kcTexte)));
}

TEST(MemoryValues, VariantsRoundTripThroughTheStoredForm) {
    const std::wstring sFrancais = L"Noël à l’école \U0001F600";
    CAny clTexte, clEntier, clGrand, clReel, clAnsi;
    clTexte.SetDSTRW(sFrancais.c_str(), static_cast<int>(sFrancais.size()));
    clEntier.SetI4(-42);
    clGrand.SetI8(int64_t{1} << 40);
    clReel.SetR8(2.5);
    clAnsi.SetDSTRA("caf\xE9", 4);
    const struct {
        int nLigne;
        const CAny* pcl;
        char cType;
        int nLongueur;
    } tabCas[] = {
        {__LINE__, &clTexte, kcTexteLarge, static_cast<int>(4 * (sFrancais.size() + 1))},
        {__LINE__, &clEntier, kcEntier, 8}, {__LINE__, &clGrand, kcEntierLong, 8},
        {__LINE__, &clReel, kcReel, 8},     {__LINE__, &clAnsi, kcTexte, 5},
    };
    for (const auto& c : tabCas) {
        STParametreMem st;
        int nTrop = 0;
        ASSERT_TRUE(bConvParam(c.pcl, &st, &nTrop)) << "row " << c.nLigne;
        EXPECT_EQ(st.st.cType, c.cType) << "row " << c.nLigne;
        EXPECT_EQ(st.st.nLongueur, c.nLongueur) << "row " << c.nLigne;
        CAny clRetour;
        ASSERT_TRUE(bVariantDepuisDonnee(st.st, &clRetour)) << "row " << c.nLigne;
        EXPECT_EQ(clRetour.nGetTypeCode(), c.pcl->nGetTypeCode()) << "row " << c.nLigne;
        EXPECT_EQ(std::memcmp(clRetour.pbyValeur(), c.pcl->pbyValeur(), 8) == 0 || c.cType == kcTexteLarge || c.cType == kcTexte,
                  true) << "row " << c.nLigne;
    }
    STParametreMem st;
    int nTrop = 0;
    ASSERT_TRUE(bConvParam(&clTexte, &st, &nTrop));
    CAny clRetour;
    ASSERT_TRUE(bVariantDepuisDonnee(st.st, &clRetour));
    const wchar_t* psz = nullptr;
    ASSERT_EQ(clRetour.__nCastToString(&psz), 0);
    EXPECT_EQ(std::wstring(psz), sFrancais);
    // Four stored bytes come back as the float they hold.
    const float f = 1.25f;
    CAny clFloat;
    ASSERT_TRUE(bVariantDepuisDonnee({kcReelCourt, reinterpret_cast<const uint8_t*>(&f), 4}, &clFloat));
    double d = 0;
    ASSERT_EQ(clFloat.nGetREAL(&d), 0);
    EXPECT_EQ(d, 1.25);
    const std::wstring sLong(kTailleMaxDonnee / 4, L'é');
    CAny clLong;
    clLong.SetDSTRW(sLong.c_str(), static_cast<int>(sLong.size()));
    EXPECT_FALSE(bConvParam(&clLong, &st, &nTrop));
    EXPECT_EQ(nTrop, static_cast<int>(4 * (sLong.size() + 1)));
}

// Sibling libraries see lists through the language methods, errors included.
TEST(MemoryZone, ViewReadsListsAndCopiesTheirErrors) {
    CComposanteStandard clComposante;
    MEM_InitModule(MEM_Contexte());
    CAny clCle, clValeur;
    clCle.SetDSTRW(L"clé", 3);
    clValeur.SetDSTRW(L"\U0001F600 été", 5);
    ASSERT_TRUE(clComposante.MemCree(L"vue"));
    ASSERT_TRUE(clComposante.MemAjoute(L"vue", &clCle, &clValeur));
    auto* piZone = static_cast<IZoneMemoire*>(clComposante.pQueryProxy(1));
    ASSERT_NE(piZone, nullptr);
    EXPECT_EQ(piZone->nGetDllNum(), 8);
    CXError clErreur;
    EXPECT_TRUE(piZone->bMemExiste(L"VUE", &clErreur));
    EXPECT_EQ(piZone->nMemOccurrence(L"vue", &clErreur), 1);
    CAny clLu = piZone->clMemRecupere(L"vue", 1, &clErreur);
    const wchar_t* psz = nullptr;
    ASSERT_EQ(clLu.__nCastToString(&psz), 0);
    EXPECT_STREQ(psz, L"\U0001F600 été");
    EXPECT_EQ(piZone->nMemOccurrence(L"absente", &clErreur), -1);
    EXPECT_EQ(clErreur.nGetUserErrorCode(), 80261);
    EXPECT_EQ(piZone->Release(), 0);
    MEM_FinModule(MEM_Contexte());
}

}  // namespace
