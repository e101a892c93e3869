// CTTableau: growth by steps, the large-array rule for a step of 1, moves of elements.
#include "base/tableau.h"

#include <gtest/gtest.h>

namespace {

struct STGros {
    char acOctets[300];
};

TEST(Tableau, GrowsByItsStepAfterTheInitialSize) {
    CTTableau<int> tabValeurs(10, 30);
    for (int i = 0; i < 10; ++i) ASSERT_TRUE(tabValeurs.Ajoute(i));
    EXPECT_EQ(tabValeurs.nGetCapacite(), 10);
    ASSERT_TRUE(tabValeurs.Ajoute(10));
    EXPECT_EQ(tabValeurs.nGetCapacite(), 40);
    for (int i = 0; i <= 10; ++i) EXPECT_EQ(tabValeurs[i], i);
}

TEST(Tableau, StepOfOneBecomesTwentyPastAHundredSmallElements) {
    CTTableau<int> tabPetits(0, 1);
    ASSERT_TRUE(tabPetits.AlloueMemoire(101));
    ASSERT_TRUE(tabPetits.Etend(101, 0));
    ASSERT_TRUE(tabPetits.Ajoute(1));
    EXPECT_EQ(tabPetits.nGetCapacite(), 121);

    CTTableau<STGros> tabGros(0, 1);
    ASSERT_TRUE(tabGros.AlloueMemoire(150));
    ASSERT_TRUE(tabGros.Etend(150, STGros{}));
    ASSERT_TRUE(tabGros.Ajoute(STGros{}));
    EXPECT_EQ(tabGros.nGetCapacite(), 151);
}

TEST(Tableau, ReservesWholeSteps) {
    CTTableau<int> tabValeurs(0, 8);
    ASSERT_TRUE(tabValeurs.AgranditMemoire(9));
    EXPECT_EQ(tabValeurs.nGetCapacite(), 16);
    ASSERT_TRUE(tabValeurs.AgranditMemoire(16));
    EXPECT_EQ(tabValeurs.nGetCapacite(), 16);
}

TEST(Tableau, InsertsAndRemovesMovingTheTail) {
    CTTableau<int> tabValeurs(2, 2);
    for (int n : {1, 2, 4}) ASSERT_TRUE(tabValeurs.Ajoute(n));
    ASSERT_TRUE(tabValeurs.Insere(3, 2));
    ASSERT_TRUE(tabValeurs.Insere(5, 4));
    EXPECT_FALSE(tabValeurs.Insere(9, 7));
    ASSERT_TRUE(tabValeurs.Ajoute(6));
    ASSERT_EQ(tabValeurs.nGetNbElement(), tabValeurs.nGetCapacite());
    // An element of the array itself, inserted while the array moves to a larger block.
    ASSERT_TRUE(tabValeurs.Insere(tabValeurs[0], 0));
    const int anAttendus[] = {1, 1, 2, 3, 4, 5, 6};
    ASSERT_EQ(tabValeurs.nGetNbElement(), 7);
    for (int i = 0; i < 7; ++i) EXPECT_EQ(tabValeurs[i], anAttendus[i]) << i;

    tabValeurs.Supprime(4, 10);  // clipped to the end
    tabValeurs.Supprime(0, 0);
    tabValeurs.Supprime(7);
    EXPECT_EQ(tabValeurs.nGetNbElement(), 4);
    tabValeurs.Supprime(1, 2);
    ASSERT_EQ(tabValeurs.nGetNbElement(), 2);
    EXPECT_EQ(tabValeurs[1], 3);
    EXPECT_EQ(tabValeurs.pGetAt(2), nullptr);
    ASSERT_TRUE(tabValeurs.Compacter());
    EXPECT_EQ(tabValeurs.nGetCapacite(), 2);
}

TEST(Tableau, CopiesAndExchangesContents) {
    CTTableau<int> tabA(0, 4);
    CTTableau<int> tabB(0, 4);
    for (int n : {7, 8, 9}) ASSERT_TRUE(tabA.Ajoute(n));
    ASSERT_TRUE(tabB.bCopie(tabA));
    tabA[0] = 0;
    EXPECT_EQ(tabB[0], 7);
    tabB.SupprimeDernier(5);
    EXPECT_TRUE(tabB.bEstVide());
    tabA.Echange(tabB);
    EXPECT_EQ(tabA.nGetNbElement(), 0);
    EXPECT_EQ(tabB.nRecherche(9), 2);
}

}  // namespace
