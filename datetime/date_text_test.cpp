// Free functions on date and time texts: leap years, validation, formats, differences, and the
// passage between UTC and the local wall clock across the changes of summer time.
#include "datetime/date_text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "datetime/testdata/zone.h"
#include "datetime/xtime.h"

namespace {

TEST(Bissextile, JulianUpTo1582ForTheLanguageGregorianAlwaysForTheSystemTime) {
    for (const int nAnnee : {1200, 1500, 1600, 2000, 2024})
        EXPECT_EQ(nBissextille(nAnnee), 1) << nAnnee;
    for (const int nAnnee : {1582, 1700, 1900, 2023}) EXPECT_EQ(nBissextille(nAnnee), 0) << nAnnee;
    EXPECT_FALSE(CXTime::bBissextile(1500));
    EXPECT_FALSE(CXTime::bBissextile(L"1500"));
    EXPECT_TRUE(CXTime::bBissextile(L"2000"));
    EXPECT_EQ(nNombreDeJourDansLeMois(2, 1500), 29);
    EXPECT_EQ(nNombreDeJourDansLeMois(13, 2024), 0);
}

TEST(JourGregorien, RefusesDatesThatAreNotOnesAndWritesZero) {
    int n = -1;
    EXPECT_TRUE(bJourGregorien(1, 1, 1800, &n));
    EXPECT_EQ(n, 1);
    const struct {
        int nJour, nMois, nAnnee;
    } tab[] = {{29, 2, 1900}, {31, 4, 2024}, {1, 13, 2024}, {0, 1, 2024}, {1, 1, 0}};
    for (const auto& st : tab) {
        n = -1;
        EXPECT_FALSE(bJourGregorien(st.nJour, st.nMois, st.nAnnee, &n)) << st.nAnnee << "-" << st.nMois << "-" << st.nJour;
        EXPECT_EQ(n, 0);
    }
}

TEST(DateVerif, EightDigitsOfARealDateAndTheNovemberGapOf1582) {
    const struct {
        int nLigne;
        const wchar_t* pszDate;
        bool bValide;
    } tab[] = {
        {__LINE__, L"20240229", true},  {__LINE__, L"20230229", false}, {__LINE__, L"15000229", true},
        {__LINE__, L"17000229", false}, {__LINE__, L"20241131", false}, {__LINE__, L"20241301", false},
        {__LINE__, L"00010101", true},  {__LINE__, L"00000101", false}, {__LINE__, L"2024031", false},
        {__LINE__, L"202403150", false}, {__LINE__, L"2024O315", false}, {__LINE__, L"", false},
        // The gap is kept in November, as the language has always kept it; October stays whole.
        {__LINE__, L"15821105", false}, {__LINE__, L"15821114", false}, {__LINE__, L"15821104", true},
        {__LINE__, L"15821115", true},  {__LINE__, L"15821005", true},  {__LINE__, L"15821015", true},
    };
    for (const auto& st : tab) EXPECT_EQ(bDateValide(st.pszDate), st.bValide) << "line " << st.nLigne;
    EXPECT_FALSE(bDateValide(nullptr));
    int nAnnee = 0, nMois = 0, nJour = 0;
    EXPECT_FALSE(bDateVerif(L"20241340", &nAnnee, &nMois, &nJour));
    EXPECT_EQ(nAnnee * 10000 + nMois * 100 + nJour, 20241340);
}

TEST(HeureVerif, EightDigitsAtMostMissingOnesAreZeros) {
    const struct {
        int nLigne;
        const wchar_t* pszHeure;
        bool bValide;
        int nCentiemes;
    } tab[] = {
        {__LINE__, L"", true, 0},
        {__LINE__, L"2359", true, 23 * 360'000 + 59 * 6'000},
        {__LINE__, L"1", true, 10 * 360'000},
        {__LINE__, L"12345678", true, 12 * 360'000 + 34 * 6'000 + 56 * 100 + 78},
        {__LINE__, L"123456789", true, 12 * 360'000 + 34 * 6'000 + 56 * 100 + 78},
        {__LINE__, L"24", false, 0},
        {__LINE__, L"1260", false, 0},
        {__LINE__, L"125960", false, 0},
        {__LINE__, L"12:34", false, 0},
    };
    for (const auto& st : tab) {
        int n = -1;
        EXPECT_EQ(bNbCentieme(st.pszHeure, &n), st.bValide) << "line " << st.nLigne;
        if (st.bValide) {
            EXPECT_EQ(n, st.nCentiemes) << "line " << st.nLigne;
        }
    }
    EXPECT_TRUE(bHeureValide(nullptr));
}

TEST(DateVersChaine, TokensOfAnyCaseAndOtherCharactersAsTheyStand) {
    const struct {
        int nLigne;
        const wchar_t* pszFormat;
        const wchar_t* pszAttendu;
    } tab[] = {
        {__LINE__, L"JJ/MM/AAAA", L"15/03/2024"},
        {__LINE__, L"dd-mm-yy", L"15-03-24"},
        {__LINE__, L"YYYYMMDD", L"20240315"},
        {__LINE__, L"AAA", L"24A"},
        {__LINE__, L"Le JJ, année AAAA 𝄞", L"Le 15, année 2024 𝄞"},
        {__LINE__, L"", L""},
    };
    for (const auto& st : tab) {
        wchar_t tabSortie[64];
        EXPECT_TRUE(bDateVersChaine(L"20240315", st.pszFormat, tabSortie, 64)) << "line " << st.nLigne;
        EXPECT_STREQ(tabSortie, st.pszAttendu) << "line " << st.nLigne;
    }
    wchar_t tabCourt[10];
    EXPECT_FALSE(bDateVersChaine(L"20240315", L"JJ/MM/AAAA", tabCourt, 10));
    EXPECT_STREQ(tabCourt, L"");
    EXPECT_FALSE(bDateVersChaine(L"2024", L"JJ", tabCourt, 10));
}

TEST(ChaineVersDate, ReadsTheZonesOfTheFormatAndGivesTwoDigitYearsACentury) {
    const struct {
        int nLigne;
        const wchar_t* pszTexte;
        const wchar_t* pszFormat;
        const wchar_t* pszAttendu;  // null: fails
    } tab[] = {
        {__LINE__, L"15/03/2024", L"JJ/MM/AAAA", L"20240315"},
        {__LINE__, L"15/03/24", L"jj/mm/aa", L"20240315"},
        {__LINE__, L"15/03/51", L"DD/MM/YY", L"19510315"},
        {__LINE__, L"15/03/50", L"DD/MM/YY", L"20500315"},
        {__LINE__, L"240315", L"AAMMJJ", L"20240315"},
        {__LINE__, L"2403", L"AAMM", nullptr},
        {__LINE__, L"x24/03/15", L"AAA/MM/JJ", L"20240315"},
        {__LINE__, L"xx/03/2024", L"JJ/MM/AAAA", L"202403xx"},  // zones, not validation
        {__LINE__, L"15/03/x4", L"JJ/MM/AA", nullptr},
        {__LINE__, L"15/03", L"JJ/MM/AAAA", nullptr},
        {__LINE__, L"24/03", L"AA/MM", nullptr},
        {__LINE__, L"", L"JJ/MM/AAAA", nullptr},
    };
    for (const auto& st : tab) {
        wchar_t tabSortie[DATE_TAILLE_TEXTE] = L"-";
        EXPECT_EQ(bChaineVersDate(st.pszTexte, st.pszFormat, tabSortie), st.pszAttendu != nullptr)
            << "line " << st.nLigne;
        if (st.pszAttendu != nullptr) {
            EXPECT_STREQ(tabSortie, st.pszAttendu) << "line " << st.nLigne;
        }
    }
    wchar_t tabDate[DATE_TAILLE_TEXTE];
    EXPECT_TRUE(bChaineVersDateFormatDefaut(L"15/03/2024 10:00", tabDate));
    EXPECT_STREQ(tabDate, L"20240315");
    EXPECT_FALSE(bChaineVersDateFormatDefaut(L"15/03/202", tabDate));
}

TEST(Difference, AlwaysTheSecondMinusTheFirst) {
    int n = 0;
    EXPECT_TRUE(bDateDifference(L"20240228", L"20240301", &n));
    EXPECT_EQ(n, 2);
    EXPECT_FALSE(bDateDifference(L"20240230", L"20240301", &n));
    EXPECT_TRUE(bHeureDifference(L"1200", L"11595999", &n));
    EXPECT_EQ(n, -1);
    const struct {
        int nLigne;
        const wchar_t* pszA;
        const wchar_t* pszB;
        const wchar_t* pszAttendu;
    } tab[] = {
        {__LINE__, L"20240101", L"20240102010203", L"+000000101020300"},
        {__LINE__, L"2024010201020304", L"20240101", L"-000000101020304"},
        {__LINE__, L"20240101", L"20240101", L"+000000000000000"},
        {__LINE__, L"18000101", L"99991231235959", L"+299498723595900"},
    };
    for (const auto& st : tab) {
        wchar_t tabSortie[DIFFERENCE_TAILLE_TEXTE];
        ASSERT_TRUE(bDateHeureDifference(st.pszA, st.pszB, tabSortie)) << "line " << st.nLigne;
        EXPECT_STREQ(tabSortie, st.pszAttendu) << "line " << st.nLigne;
    }
    wchar_t tabSortie[DIFFERENCE_TAILLE_TEXTE];
    EXPECT_FALSE(bDateHeureDifference(L"2024010", L"20240101", tabSortie));
    EXPECT_FALSE(bDateHeureDifference(L"2024010125", L"20240101", tabSortie));
}

// The last Sundays of March and October 2024: 01:00 UTC is when Paris changes its clocks.
TEST(UtcLocal, CrossesTheChangesOfSummerTimeBothWays) {
    if (eZone() == EZone::Autre) GTEST_SKIP() << "needs TZ=Europe/Paris or TZ=UTC";
    const bool bParis = eZone() == EZone::Paris;
    const struct {
        int nLigne;
        _SYSTEMTIME stUtc;
        _SYSTEMTIME stParis;
    } tab[] = {
        {__LINE__, {2024, 3, 0, 31, 0, 59, 59, 999}, {2024, 3, 0, 31, 1, 59, 59, 999}},
        {__LINE__, {2024, 3, 0, 31, 1, 0, 0, 0}, {2024, 3, 0, 31, 3, 0, 0, 0}},
        {__LINE__, {2024, 10, 6, 26, 23, 30, 0, 5}, {2024, 10, 0, 27, 1, 30, 0, 5}},
        {__LINE__, {2024, 10, 0, 27, 1, 0, 0, 0}, {2024, 10, 0, 27, 2, 0, 0, 0}},
        {__LINE__, {2024, 10, 0, 27, 2, 30, 0, 0}, {2024, 10, 0, 27, 3, 30, 0, 0}},
        {__LINE__, {2024, 12, 2, 31, 23, 0, 0, 0}, {2025, 1, 3, 1, 0, 0, 0, 0}},
    };
    for (const auto& st : tab) {
        const _SYSTEMTIME& stLocalAttendu = bParis ? st.stParis : st.stUtc;
        _SYSTEMTIME stLocal{};
        ASSERT_TRUE(bUTCVersLocal(&st.stUtc, &stLocal)) << "line " << st.nLigne;
        EXPECT_EQ(std::memcmp(&stLocal, &stLocalAttendu, sizeof stLocal), 0)
            << "line " << st.nLigne << ": " << stLocal.wDay << " " << stLocal.wHour << ":" << stLocal.wMinute;
        // 02:00 on the October Sunday is shown twice in Paris; the way back is only asked of the
        // moments the wall clock names once.
        if (bParis && stLocalAttendu.wMonth == 10 && stLocalAttendu.wDay == 27 && stLocalAttendu.wHour == 2) continue;
        _SYSTEMTIME stRetour{};
        ASSERT_TRUE(bLocalVersUTC(&stLocalAttendu, &stRetour)) << "line " << st.nLigne;
        EXPECT_EQ(std::memcmp(&stRetour, &st.stUtc, sizeof stRetour), 0)
            << "line " << st.nLigne << ": " << stRetour.wDay << " " << stRetour.wHour << ":" << stRetour.wMinute;
    }
    const _SYSTEMTIME stSansMois{2024, 0, 0, 1, 0, 0, 0, 0};
    _SYSTEMTIME stSortie{};
    EXPECT_FALSE(bUTCVersLocal(&stSansMois, &stSortie));
    EXPECT_FALSE(bLocalVersUTC(&stSansMois, &stSortie));
}

}  // namespace
