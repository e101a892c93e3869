// Hash functions, CHashBase's load factors and CHashTableBounce's ladder, free list, shrinking
// and walks, the latter checked against a plain multimap through long random runs.
#include "base/hash_table.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cwchar>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

TEST(HashFunctions, SumTheCharacters) {
    struct {
        int nLine;
        const wchar_t* pszTexte;
        uint32_t dwAttendu;
    } const tabCas[] = {
        {__LINE__, nullptr, 0},
        {__LINE__, L"", 0},
        {__LINE__, L"AB", 65 + 66},
        {__LINE__, L"été", 0xe9 + 0x74 + 0xe9},
        {__LINE__, L"\U0001F600", 0x1F600},
    };
    for (const auto& st : tabCas) EXPECT_EQ(dwHashValT(st.pszTexte), st.dwAttendu) << "line " << st.nLine;
    EXPECT_EQ(dwHashValT(L"AB"), dwHashValT(L"BA"));
    EXPECT_EQ(dwHashValTA("AB"), 131u);
    EXPECT_EQ(dwHashValTA(nullptr), 0u);
    EXPECT_EQ(dwHashValTiA("abc"), dwHashValTA("ABC"));
    EXPECT_EQ(dwHashValTi(L"abc"), dwHashValT(L"ABC"));
}

TEST(HashFunctions, CaseBlindFormFoldsAccentedLetters) {
    const char* pszAvant = setlocale(LC_CTYPE, nullptr);
    std::string sAvant = pszAvant ? pszAvant : "C";
    if (setlocale(LC_CTYPE, "C.UTF-8") == nullptr) GTEST_SKIP() << "no UTF-8 locale";
    EXPECT_EQ(dwHashValTi(L"Déjà été"), dwHashValT(L"DÉJÀ ÉTÉ"));
    EXPECT_NE(dwHashValT(L"Déjà été"), dwHashValT(L"DÉJÀ ÉTÉ"));
    setlocale(LC_CTYPE, sAvant.c_str());
}

TEST(HashFunctions, PrimesForBucketCounts) {
    struct {
        int nLine;
        uint32_t n;
        uint32_t dwAttendu;
    } const tabCas[] = {
        {__LINE__, 0, 2}, {__LINE__, 2, 2}, {__LINE__, 4, 5}, {__LINE__, 43, 43},
        {__LINE__, 86, 89}, {__LINE__, 21, 23}, {__LINE__, 4294967290u, 4294967291u},
    };
    for (const auto& st : tabCas) EXPECT_EQ(dwPremierSuivant(st.n), st.dwAttendu) << "line " << st.nLine;
    for (int i = 0; i < HASH_NIVEAU_MAX + 1; ++i) EXPECT_TRUE(bEstPremier(g__ToutPretToutChaud[i])) << i;
    EXPECT_EQ(g__ToutPretToutChaud[29], 0u);
}

// ---------------------------------------------------------------------------------------------

class CHashTexte : public CHashBase {
public:
    using CHashBase::CHashBase;
    uint32_t dwHash(const void* pKey) const noexcept override { return dwHashValT(pKey); }
    bool bEgal(const void* p1, const void* p2) const noexcept override {
        return wcscmp(static_cast<const wchar_t*>(p1), static_cast<const wchar_t*>(p2)) == 0;
    }
};

void* pValeur(intptr_t n) { return reinterpret_cast<void*>(n); }

TEST(HashBase, FindsTheLastAddedOfAKeyAndRemovesOneAtATime) {
    CHashTexte clTable;
    ASSERT_TRUE(clTable.Ajoute(L"clé", pValeur(1)));
    ASSERT_TRUE(clTable.Ajoute(L"lcé", pValeur(2)));  // same sum, same bucket
    ASSERT_TRUE(clTable.Ajoute(L"clé", pValeur(3)));
    void* p = nullptr;
    const void* pKey = nullptr;
    ASSERT_TRUE(clTable.bRecherche(L"clé", &p, &pKey));
    EXPECT_EQ(p, pValeur(3));
    EXPECT_STREQ(static_cast<const wchar_t*>(pKey), L"clé");
    ASSERT_TRUE(clTable.SupprimeCourant());
    EXPECT_FALSE(clTable.SupprimeCourant());
    ASSERT_TRUE(clTable.bRechercheConst(L"clé", &p));
    EXPECT_EQ(p, pValeur(1));
    ASSERT_TRUE(clTable.bSupprime(L"clé", &p));
    EXPECT_EQ(p, pValeur(1));
    EXPECT_FALSE(clTable.bRecherche(L"clé"));
    EXPECT_TRUE(clTable.bRecherche(L"lcé", &p));
    EXPECT_EQ(p, pValeur(2));
    EXPECT_EQ(clTable.nGetNbElement(), 1);
    clTable.SupprimeTout();
    EXPECT_FALSE(clTable.bRecherche(L"lcé"));
}

TEST(HashBase, DynamicFormsFollowTheLoadFactorsAndKeepAFloor) {
    CHashTexte clTable;
    EXPECT_EQ(clTable.nGetNbBucket(), 43);
    std::vector<std::wstring> tabCles;
    for (int i = 0; i < 400; ++i) tabCles.push_back(L"k\U0001F600" + std::to_wstring(i));
    // 3 per bucket: at 129 elements 43 buckets become the prime above 86.
    for (int i = 0; i < 128; ++i) ASSERT_TRUE(clTable.AjouteDYN(tabCles[static_cast<size_t>(i)].c_str(), pValeur(i)));
    EXPECT_EQ(clTable.nGetNbBucket(), 43);
    ASSERT_TRUE(clTable.AjouteDYN(tabCles[128].c_str(), pValeur(128)));
    EXPECT_EQ(clTable.nGetNbBucket(), 89);
    // Plain adds never resize.
    for (int i = 129; i < 400; ++i) ASSERT_TRUE(clTable.Ajoute(tabCles[static_cast<size_t>(i)].c_str(), pValeur(i)));
    EXPECT_EQ(clTable.nGetNbBucket(), 89);
    for (int i = 0; i < 400; ++i) {
        void* p = nullptr;
        ASSERT_TRUE(clTable.bRecherche(tabCles[static_cast<size_t>(i)].c_str(), &p)) << i;
        EXPECT_EQ(p, pValeur(i));
    }
    // Below one per bucket the count halves to the prime above, never under 43.
    for (int i = 0; i < 400; ++i) ASSERT_TRUE(clTable.bSupprimeDYN(tabCles[static_cast<size_t>(i)].c_str()));
    EXPECT_EQ(clTable.nGetNbBucket(), 43);
    EXPECT_EQ(clTable.nGetNbElement(), 0);
    EXPECT_TRUE(clTable.RedimensionneTable(0));
    EXPECT_EQ(clTable.nGetNbBucket(), 43);
    EXPECT_TRUE(clTable.RedimensionneTable(1000));
    EXPECT_EQ(clTable.nGetNbBucket(), 1009);
}

TEST(HashBase, ResizingKeepsDuplicatesInOrder) {
    CHashTexte clTable(3);
    ASSERT_TRUE(clTable.Ajoute(L"même", pValeur(1)));
    ASSERT_TRUE(clTable.Ajoute(L"même", pValeur(2)));
    ASSERT_TRUE(clTable.RedimensionneTable(97));
    void* p = nullptr;
    ASSERT_TRUE(clTable.bSupprime(L"même", &p));
    EXPECT_EQ(p, pValeur(2));
    ASSERT_TRUE(clTable.bSupprime(L"même", &p));
    EXPECT_EQ(p, pValeur(1));
}

// ---------------------------------------------------------------------------------------------

uint32_t dwHashEntier(const void* p) { return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(p)); }
int nCmpEntier(const void* p1, const void* p2) { return p1 == p2 ? 0 : 1; }
const void* pCle(uintptr_t n) { return reinterpret_cast<const void*>(n); }

TEST(HashTableBounce, ClimbsTheLadderOneLevelPerFullTable) {
    struct {
        int nLine;
        uint32_t dwAjouts;
        int nNiveau;
        uint32_t dwCapacite;
        uint32_t dwNbBucket;
    } const tabCas[] = {
        {__LINE__, 1, 0, 8, 17},
        {__LINE__, 8, 0, 8, 17},
        {__LINE__, 9, 1, 26, 53},
        {__LINE__, 27, 2, 48, 97},
        {__LINE__, 380, 5, 384, 769},
        {__LINE__, 385, 6, 771, 1543},
    };
    for (const auto& st : tabCas) {
        CHashTableBounce clTable(0, nCmpEntier, dwHashEntier);
        for (uint32_t i = 1; i <= st.dwAjouts; ++i) ASSERT_TRUE(clTable.bAddElement(pCle(i), pValeur(i)));
        EXPECT_EQ(clTable.nGetNiveau(), st.nNiveau) << "line " << st.nLine;
        EXPECT_EQ(clTable.dwGetCapacite(), st.dwCapacite) << "line " << st.nLine;
        EXPECT_EQ(clTable.dwGetNbBucket(), st.dwNbBucket) << "line " << st.nLine;
        for (uint32_t i = 1; i <= st.dwAjouts; ++i) EXPECT_EQ(clTable.pGetElement(pCle(i)), pValeur(i));
    }
}

TEST(HashTableBounce, StartsAtTheLevelThatHoldsTheSizeAsked) {
    CHashTableBounce clTable(100, nCmpEntier, dwHashEntier);
    EXPECT_EQ(clTable.dwGetCapacite(), 0u);  // nothing allocated before the first add
    EXPECT_FALSE(clTable.bGetElement(pCle(1)));
    ASSERT_TRUE(clTable.bAddElement(pCle(1), nullptr));
    EXPECT_EQ(clTable.nGetNiveau(), 4);
    EXPECT_EQ(clTable.dwGetCapacite(), 194u);
    clTable.DeleteAll(5);
    EXPECT_EQ(clTable.dwGetNumElement(), 0u);
    ASSERT_TRUE(clTable.bAddElement(pCle(1), nullptr));
    EXPECT_EQ(clTable.nGetNiveau(), 0);
}

TEST(HashTableBounce, SecondAddOfAKeyIsFoundFirstAndElementsTakeFreeSlotsLastFreedFirst) {
    CHashTableBounce clTable(0, [](const void* p1, const void* p2) {
        return wcscmp(static_cast<const wchar_t*>(p1), static_cast<const wchar_t*>(p2));
    }, dwHashValT);
    ASSERT_TRUE(clTable.bAddElement(L"Noël", pValeur(1)));
    ASSERT_TRUE(clTable.bAddElement(L"Noël", pValeur(2)));
    EXPECT_EQ(clTable.pGetElement(L"Noël"), pValeur(2));
    ASSERT_TRUE(clTable.bAddElement(L"\U0001F600", pValeur(3)));
    void* p = nullptr;
    ASSERT_TRUE(clTable.bDeleteElement(L"Noël", &p));
    EXPECT_EQ(p, pValeur(2));
    EXPECT_EQ(clTable.pGetElement(L"Noël"), pValeur(1));
    EXPECT_EQ(clTable.pstGetElement(2), nullptr);  // the freed slot
    ASSERT_TRUE(clTable.bAddElement(L"été", pValeur(4)));
    ASSERT_NE(clTable.pstGetElement(2), nullptr);
    EXPECT_EQ(clTable.pstGetElement(2)->pValue, pValeur(4));
    EXPECT_FALSE(clTable.bDeleteElement(L"absent"));
}

TEST(HashTableBounce, ShrinksBelowAQuarterButNotDuringAWalkNorAtLevelZero) {
    CHashTableBounce clTable(0, nCmpEntier, dwHashEntier);
    for (uint32_t i = 1; i <= 90; ++i) ASSERT_TRUE(clTable.bAddElement(pCle(i), pValeur(i)));
    ASSERT_EQ(clTable.nGetNiveau(), 3);  // 48 < 90 <= 96
    // A walk runs: deletes never compact.
    uint32_t dwCurseur = 0;
    const void* pKey = nullptr;
    int nVus = 0;
    while (clTable.bParseTable(&dwCurseur, 0, &pKey, nullptr)) {
        ++nVus;
        if (reinterpret_cast<uintptr_t>(pKey) > 2) {
            ASSERT_TRUE(clTable.bDeleteElement(pKey));
        }
    }
    EXPECT_EQ(nVus, 90);
    EXPECT_EQ(clTable.dwGetNumElement(), 2u);
    EXPECT_EQ(clTable.nGetNiveau(), 3);
    EXPECT_TRUE(clTable.bParseEnCours());
    clTable.StopParsing();
    // The next delete shrinks: one element left, below a quarter of 97 and half of 53 and 17.
    ASSERT_TRUE(clTable.bDeleteElement(pCle(1)));
    EXPECT_EQ(clTable.nGetNiveau(), 0);
    EXPECT_EQ(clTable.dwGetCapacite(), 8u);
    EXPECT_EQ(clTable.pGetElement(pCle(2)), pValeur(2));
    ASSERT_TRUE(clTable.bDeleteElement(pCle(2)));
    EXPECT_EQ(clTable.nGetNiveau(), 0);
    EXPECT_EQ(clTable.dwGetCapacite(), 8u);
}

TEST(HashTableBounce, ShrinkingStepsDownWhileTheCountIsBelowHalfTheLowerLevel) {
    CHashTableBounce clTable(0, nCmpEntier, dwHashEntier);
    for (uint32_t i = 1; i <= 380; ++i) ASSERT_TRUE(clTable.bAddElement(pCle(i), pValeur(i)));
    ASSERT_EQ(clTable.nGetNiveau(), 5);  // 769 buckets, room for 384
    // 97 * 4 < 389: one level down, and 97 * 2 >= 193 stops there.
    for (uint32_t i = 380; i > 97; --i) ASSERT_TRUE(clTable.bDeleteElement(pCle(i)));
    EXPECT_EQ(clTable.nGetNiveau(), 4);
    EXPECT_EQ(clTable.dwGetCapacite(), 194u);
    // 48 * 4 < 193 leaves level 4, and 48 * 2 < 97 takes one more step, to level 2, full.
    for (uint32_t i = 97; i > 48; --i) ASSERT_TRUE(clTable.bDeleteElement(pCle(i)));
    EXPECT_EQ(clTable.nGetNiveau(), 2);
    EXPECT_EQ(clTable.dwGetCapacite(), 48u);
    for (uint32_t i = 1; i <= 48; ++i) EXPECT_EQ(clTable.pGetElement(pCle(i)), pValeur(i)) << i;
    ASSERT_TRUE(clTable.bAddElement(pCle(1000), nullptr));
    EXPECT_EQ(clTable.nGetNiveau(), 3);
}

TEST(HashTableBounce, WalkSetsValuesAndMovesKeys) {
    CHashTableBounce clTable(0, nCmpEntier, dwHashEntier);
    for (uint32_t i = 1; i <= 5; ++i) ASSERT_TRUE(clTable.bAddElement(pCle(i), pValeur(i)));
    uint32_t dwCurseur = 0;
    const void* pKey = nullptr;
    std::vector<uintptr_t> tabOrdre;
    while (clTable.bParseTable(&dwCurseur, 1, &pKey, nullptr)) {
        tabOrdre.push_back(reinterpret_cast<uintptr_t>(pKey));
        ASSERT_TRUE(clTable.bParseSetElement(dwCurseur, pValeur(10 * reinterpret_cast<intptr_t>(pKey))));
        ASSERT_TRUE(clTable.bParseSetKey(dwCurseur, pCle(100 + reinterpret_cast<uintptr_t>(pKey))));
    }
    EXPECT_FALSE(clTable.bParseEnCours());
    EXPECT_EQ(tabOrdre, (std::vector<uintptr_t>{1, 2, 3, 4, 5}));  // index order
    for (uintptr_t i = 1; i <= 5; ++i) {
        EXPECT_EQ(clTable.pGetElement(pCle(i)), nullptr);
        EXPECT_EQ(clTable.pGetElement(pCle(100 + i)), pValeur(static_cast<intptr_t>(10 * i)));
    }
    EXPECT_FALSE(clTable.bParseSetElement(0, nullptr));
    EXPECT_FALSE(clTable.bParseSetKey(99, nullptr));
}

// Long random runs against a multimap, with keys crowded into few buckets so that chains are long
// and compaction moves elements whose neighbours move too.
TEST(HashTableBounce, AgreesWithAMultimapThroughGrowthAndShrinking) {
    std::mt19937 clAlea(2024);
    CHashTableBounce clTable(0, nCmpEntier, [](const void* p) { return dwHashEntier(p) % 7; });
    std::multimap<uintptr_t, intptr_t> mapOracle;
    intptr_t nSerie = 0;
    for (int nTour = 0; nTour < 20000; ++nTour) {
        const uintptr_t nCle = 1 + clAlea() % 300;
        // Phases of mostly adds and mostly deletes, so that the table climbs and falls.
        const bool bAjout = (nTour / 2500) % 2 == 0 ? clAlea() % 4 != 0 : clAlea() % 4 == 0;
        if (bAjout) {
            ASSERT_TRUE(clTable.bAddElement(pCle(nCle), pValeur(++nSerie)));
            mapOracle.emplace(nCle, nSerie);
        } else {
            void* p = nullptr;
            auto it = mapOracle.equal_range(nCle);
            const bool bPresent = it.first != it.second;
            ASSERT_EQ(clTable.bDeleteElement(pCle(nCle), &p), bPresent);
            if (bPresent) {
                // What came out must be one of the key's values.
                auto k = it.first;
                while (k != it.second && k->second != reinterpret_cast<intptr_t>(p)) ++k;
                ASSERT_NE(k, it.second) << "a value the key never had";
                mapOracle.erase(k);
            }
        }
        ASSERT_EQ(clTable.dwGetNumElement(), mapOracle.size());
        ASSERT_LE(clTable.dwGetNumElement(), clTable.dwGetCapacite());
    }
    // Every key holds exactly the oracle's values, and the walk sees each element once.
    for (uintptr_t nCle = 1; nCle <= 300; ++nCle) {
        std::vector<intptr_t> tabTable, tabOracle;
        void* p = nullptr;
        while (clTable.bDeleteElement(pCle(nCle), &p)) tabTable.push_back(reinterpret_cast<intptr_t>(p));
        auto it = mapOracle.equal_range(nCle);
        for (auto k = it.first; k != it.second; ++k) tabOracle.push_back(k->second);
        std::sort(tabTable.begin(), tabTable.end());
        std::sort(tabOracle.begin(), tabOracle.end());
        ASSERT_EQ(tabTable, tabOracle) << nCle;
    }
    EXPECT_EQ(clTable.dwGetNumElement(), 0u);
    EXPECT_EQ(clTable.nGetNiveau(), 0);
}

}  // namespace
