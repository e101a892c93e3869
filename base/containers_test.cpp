// The list's positions and walks, the pointer array's order and sort, the bag's stable indices,
// and the array operations added beside CTTableau's growth.
#include "base/containers.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "base/tableau.h"

namespace {

std::vector<int> tabContenu(const CListeDeBuffer& clListe) {
    std::vector<int> tab;
    for (const CLinkedElement* p = clListe.pclGetTete(); p; p = p->pclSuivant)
        tab.push_back(*static_cast<const int*>(p->pData()));
    // The backward links must tell the same story.
    std::vector<int> tabArriere;
    for (const CLinkedElement* p = clListe.pclGetQueue(); p; p = p->pclPrecedent)
        tabArriere.insert(tabArriere.begin(), *static_cast<const int*>(p->pData()));
    EXPECT_EQ(tab, tabArriere);
    EXPECT_EQ(static_cast<int>(tab.size()), clListe.nGetNbElement());
    return tab;
}

TEST(ListeDeBuffer, AddsBeforeThePositionOrAtTheEnd) {
    struct {
        int nLine;
        std::vector<std::pair<int, int>> tabAjouts;  // value, position
        std::vector<int> tabAttendu;
    } const tabCas[] = {
        {__LINE__, {{1, -1}, {2, -1}, {3, -1}}, {1, 2, 3}},
        {__LINE__, {{1, 0}, {2, 0}, {3, 0}}, {3, 2, 1}},
        {__LINE__, {{1, -1}, {3, -1}, {2, 1}}, {1, 2, 3}},
        {__LINE__, {{1, -1}, {2, 7}}, {1, 2}},
        {__LINE__, {{1, -1}, {2, -1}, {4, -1}, {5, -1}, {3, 2}, {6, 5}}, {1, 2, 3, 4, 5, 6}},
    };
    for (const auto& stCas : tabCas) {
        CListeDeBuffer clListe(sizeof(int));
        for (auto [nValeur, nPosition] : stCas.tabAjouts) {
            void* p = clListe.Ajoute(&nValeur, nPosition);
            ASSERT_NE(p, nullptr);
            EXPECT_EQ(p, clListe.pCourant()) << "line " << stCas.nLine;
        }
        EXPECT_EQ(tabContenu(clListe), stCas.tabAttendu) << "line " << stCas.nLine;
    }
}

TEST(ListeDeBuffer, WalksBothWaysThroughAPositionOutsideTheList) {
    CListeDeBuffer clListe(sizeof(int));
    for (int n : {10, 20, 30}) clListe.Ajoute(&n);
    ASSERT_NE(clListe.pVaSurNumero(1), nullptr);
    EXPECT_EQ(clListe.nGetPositionCourante(), 1);
    EXPECT_EQ(*static_cast<int*>(clListe.pVaSuivant()), 30);
    EXPECT_EQ(clListe.pVaSuivant(), nullptr);
    EXPECT_EQ(clListe.nGetPositionCourante(), -1);
    EXPECT_EQ(*static_cast<int*>(clListe.pVaSuivant()), 10);  // from outside, forward is the head
    EXPECT_EQ(clListe.pVaPrecedent(), nullptr);
    EXPECT_EQ(*static_cast<int*>(clListe.pVaPrecedent()), 30);  // and backward is the tail
    EXPECT_EQ(clListe.nGetPositionCourante(), 2);
    EXPECT_EQ(clListe.pVaSurNumero(3), nullptr);
    EXPECT_EQ(clListe.pVaSurNumero(-1), nullptr);
    EXPECT_EQ(clListe.pCourant(), nullptr);
}

TEST(ListeDeBuffer, RemovingTheCurrentMakesTheNextCurrent) {
    CListeDeBuffer clListe(sizeof(int));
    for (int n = 0; n < 6; ++n) clListe.Ajoute(&n);
    clListe.pVaSurNumero(2);
    int nCopie = -1;
    ASSERT_TRUE(clListe.SupprimeCourant(&nCopie));
    EXPECT_EQ(nCopie, 2);
    EXPECT_EQ(*static_cast<int*>(clListe.pCourant()), 3);
    EXPECT_EQ(clListe.nGetPositionCourante(), 2);
    // Emptying from the head by removing the current over and over.
    clListe.pVaSurNumero(0);
    while (clListe.pCourant()) ASSERT_TRUE(clListe.SupprimeCourant());
    EXPECT_EQ(clListe.nGetNbElement(), 0);
    EXPECT_EQ(clListe.pclGetTete(), nullptr);
    EXPECT_EQ(clListe.pclGetQueue(), nullptr);
    EXPECT_FALSE(clListe.SupprimeCourant());
    // The tail removed: nothing is current, the list ends one earlier.
    for (int n = 0; n < 3; ++n) clListe.Ajoute(&n);
    clListe.pVaSurNumero(2);
    ASSERT_TRUE(clListe.SupprimeCourant());
    EXPECT_EQ(clListe.pCourant(), nullptr);
    EXPECT_EQ(tabContenu(clListe), (std::vector<int>{0, 1}));
    // Positions stay right after removals in the middle.
    EXPECT_EQ(*static_cast<int*>(clListe.pVaSurNumero(1)), 1);
}

TEST(ListeDeBuffer, MovesElementsWithoutCopying) {
    CListeDeBuffer clA(sizeof(int)), clB(sizeof(int)), clAutreTaille(8);
    for (int n : {1, 2, 3}) clA.Ajoute(&n);
    int n9 = 9;
    clB.Ajoute(&n9);
    const void* pDeux = clA.pVaSurNumero(1);
    ASSERT_TRUE(clA.DeplaceCourant(&clB));
    EXPECT_EQ(tabContenu(clA), (std::vector<int>{1, 3}));
    EXPECT_EQ(tabContenu(clB), (std::vector<int>{9, 2}));
    EXPECT_EQ(clB.pclGetQueue()->pData(), pDeux);
    EXPECT_FALSE(clA.DeplaceCourant(&clAutreTaille));
    EXPECT_FALSE(clA.ExtraitListe(&clAutreTaille));
    ASSERT_TRUE(clA.ExtraitListe(&clB));
    EXPECT_EQ(tabContenu(clA), std::vector<int>{});
    EXPECT_EQ(tabContenu(clB), (std::vector<int>{9, 2, 1, 3}));
    EXPECT_FALSE(clB.ExtraitListe(&clB));
}

// ---------------------------------------------------------------------------------------------

int nCompareEntiers(const void* p1, const void* p2) {
    const intptr_t n1 = reinterpret_cast<intptr_t>(p1), n2 = reinterpret_cast<intptr_t>(p2);
    return n1 < n2 ? -1 : n1 > n2 ? 1 : 0;
}

void* pItem(intptr_t n) { return reinterpret_cast<void*>(n); }

std::vector<intptr_t> tabItems(const clDYNAR& cl) {
    std::vector<intptr_t> tab;
    for (unsigned int i = 0; i < cl.dwGetCount(); ++i) tab.push_back(reinterpret_cast<intptr_t>(cl[i]));
    return tab;
}

TEST(Dynar, GrowsByWholeStepsAndRemovesKeepingOrder) {
    clDYNAR cl(4, nCompareEntiers);
    for (intptr_t n = 1; n <= 5; ++n) EXPECT_EQ(cl.Add(pItem(n)), static_cast<unsigned int>(n - 1));
    EXPECT_EQ(cl.dwGetCapacity(), 8u);
    ASSERT_TRUE(cl.Grow(7));
    EXPECT_EQ(cl.dwGetCapacity(), 12u);
    EXPECT_TRUE(cl.bRemoveItem(pItem(2)));
    EXPECT_FALSE(cl.bRemoveItem(pItem(2)));
    EXPECT_TRUE(cl.bRemoveItemInd(0));
    EXPECT_FALSE(cl.bRemoveItemInd(3));
    EXPECT_EQ(tabItems(cl), (std::vector<intptr_t>{3, 4, 5}));
    EXPECT_EQ(cl.dwSearch(pItem(5)), 2u);
    EXPECT_EQ(cl.dwSearch(pItem(7)), DYNAR_ABSENT);
    ASSERT_TRUE(cl.Compact());
    EXPECT_EQ(cl.dwGetCapacity(), 3u);
    cl.Clear();
    EXPECT_EQ(cl.dwGetCount(), 0u);
    EXPECT_EQ(cl.GetAt(0), nullptr);
}

TEST(Dynar, SortsByTheRoutineAndSurvivesOneThatIsNoOrder) {
    std::mt19937 clAlea(7);
    clDYNAR cl(16, nCompareEntiers);
    std::vector<intptr_t> tabAttendu;
    for (int i = 0; i < 300; ++i) {
        const intptr_t n = static_cast<intptr_t>(clAlea() % 50);
        cl.Add(pItem(n));
        tabAttendu.push_back(n);
    }
    cl.Sort();
    std::sort(tabAttendu.begin(), tabAttendu.end());
    EXPECT_EQ(tabItems(cl), tabAttendu);

    // A routine that answers at random: the items are all still there, in some order.
    static std::mt19937 s_clHasard(11);
    cl.SetCompare([](const void*, const void*) { return static_cast<int>(s_clHasard() % 3) - 1; });
    cl.Sort();
    std::vector<intptr_t> tabApres = tabItems(cl);
    std::sort(tabApres.begin(), tabApres.end());
    EXPECT_EQ(tabApres, tabAttendu);
}

struct STCompteur {
    static int ms_nDetruits;
    ~STCompteur() { ++ms_nDetruits; }
};
int STCompteur::ms_nDetruits = 0;

TEST(Dynar, OwningFormDeletesItsItems) {
    STCompteur::ms_nDetruits = 0;
    {
        clPDYNAR<STCompteur> cl(2);
        for (int i = 0; i < 3; ++i) cl.Add(new STCompteur);
        cl.DeleteAll();
        EXPECT_EQ(STCompteur::ms_nDetruits, 3);
        cl.Add(new STCompteur);
    }
    EXPECT_EQ(STCompteur::ms_nDetruits, 4);
}

// ---------------------------------------------------------------------------------------------

TEST(IndexedBag, IndicesStayAndTheLastFreedIsGivenFirst) {
    CTIndexedBag<void*> clSac(3);
    std::vector<int> tabIndices;
    for (intptr_t n = 0; n < 7; ++n) tabIndices.push_back(clSac.nAjoute(pItem(n + 100)));
    EXPECT_EQ(tabIndices, (std::vector<int>{0, 1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(clSac.nGetCapacite(), 9);
    ASSERT_TRUE(clSac.bSupprime(2));
    ASSERT_TRUE(clSac.bSupprime(5));
    EXPECT_FALSE(clSac.bSupprime(5));
    EXPECT_FALSE(clSac.bSupprime(9));
    EXPECT_FALSE(clSac.bSupprime(-1));
    EXPECT_EQ(clSac.pGet(5), nullptr);
    EXPECT_EQ(*clSac.pGet(6), pItem(106));
    EXPECT_EQ(clSac.nAjoute(pItem(1)), 5);
    EXPECT_EQ(clSac.nAjoute(pItem(2)), 2);
    EXPECT_EQ(clSac.nAjoute(pItem(3)), 7);  // then the free slots of the last growth, in order
    EXPECT_EQ(clSac.nAjoute(pItem(4)), 8);
    EXPECT_EQ(clSac.nAjoute(pItem(5)), 9);
    EXPECT_EQ(clSac.nGetCapacite(), 12);
    EXPECT_EQ(clSac.nGetNbElement(), 10);
    std::vector<int> tabParcours;
    for (int i = clSac.nSuivant(-1); i >= 0; i = clSac.nSuivant(i)) tabParcours.push_back(i);
    EXPECT_EQ(tabParcours.size(), 10u);
    EXPECT_EQ(tabParcours.back(), 9);
}

TEST(IndexedBag, OwningFormDeletesWhatIsLeft) {
    STCompteur::ms_nDetruits = 0;
    {
        CTIndexedBagPointer<STCompteur> clSac(2);
        const int n = clSac.nAjoute(new STCompteur);
        clSac.nAjoute(new STCompteur);
        clSac.nAjoute(new STCompteur);
        STCompteur* pcl = nullptr;
        ASSERT_TRUE(clSac.bSupprime(n, &pcl));
        delete pcl;
        EXPECT_EQ(STCompteur::ms_nDetruits, 1);
    }
    EXPECT_EQ(STCompteur::ms_nDetruits, 3);
}

// ---------------------------------------------------------------------------------------------

int nPlusGrandQue(const int* pnSeuil, const int* pnElement) { return *pnElement > *pnSeuil; }

TEST(Tableau, FindsByCriterionAndFillsAndExchanges) {
    CTTableau<int> tabA(0, 4), tabB(0, 4);
    ASSERT_TRUE(tabA.Initialise(7, 5));
    EXPECT_EQ(tabA.nGetNbElement(), 5);
    for (int n : {1, 5, 9, 12}) tabB.Ajoute(n);
    const int nSeuil = 6;
    EXPECT_EQ(tabB.nRechercheLineaireCriterePointeur(&nSeuil, nPlusGrandQue), 2);
    EXPECT_EQ(tabB.pRechercheLineaireCriterePointeur(&nSeuil, nPlusGrandQue), &tabB[2]);
    const int nTrop = 20;
    EXPECT_EQ(tabB.nRechercheLineaireCriterePointeur(&nTrop, nPlusGrandQue), -1);
    int n = 0;
    EXPECT_TRUE(tabB.Recupere(3, &n));
    EXPECT_EQ(n, 12);
    EXPECT_FALSE(tabB.Recupere(4, &n));
    tabB.SupprimeCompacte(0);
    EXPECT_EQ(tabB.nGetNbElement(), 3);
    EXPECT_EQ(tabB.nGetCapacite(), 3);
    EXPECT_EQ(tabB[0], 5);
    EchangeTableau(tabA, tabB);
    EXPECT_EQ(tabA.nGetNbElement(), 3);
    EXPECT_EQ(tabB.nGetNbElement(), 5);
    EXPECT_EQ(tabB[4], 7);
}

}  // namespace
