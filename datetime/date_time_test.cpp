// CDateTimeBase: day numbers against an independent calendar, the change-over of 1582 as the
// language counts it, text forms, field changes, shifts, comparison and serialisation.
#include "datetime/date_time.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "datetime/date_text.h"
#include "datetime/testdata/calendar_dates.h"
#include "datetime/testdata/zone.h"

namespace {

CDateTime clDepuisTexte(const wchar_t* psz) {
    CDateTime cl;
    cl.__SetPartieDate(psz);
    if (std::wcslen(psz) > 8) cl.__SetPartieHeure(psz + 8);
    return cl;
}

std::wstring sTexte(const CDateTimeBase& cl, unsigned long nLongueur = 17) {
    wchar_t tab[CDateTimeBase::TAILLE_TEXTE];
    cl.VersChaine(tab, nLongueur);
    return tab;
}

TEST(JourCalendrier, NumbersAndWeekdaysAgreeWithAnIndependentCalendarBothWays) {
    for (const STJourCalendrier& st : gtabJoursCalendrier) {
        int nNumero = 0, nJourGregorien = 0;
        ASSERT_TRUE(CDateTimeBase::__bDateVersEntier(st.nJour, st.nMois, st.nAnnee, &nNumero, true)) << st.nAnnee;
        ASSERT_EQ(nNumero, st.nNumero) << st.nAnnee << "-" << st.nMois << "-" << st.nJour;
        ASSERT_TRUE(bJourGregorien(st.nJour, st.nMois, st.nAnnee, &nJourGregorien));
        ASSERT_EQ(nJourGregorien, st.nNumero) << st.nAnnee << "-" << st.nMois << "-" << st.nJour;
        int nJour = 0, nMois = 0, nAnnee = 0;
        ASSERT_TRUE(CDateTimeBase::__bEntierVersDate(st.nNumero, &nJour, &nMois, &nAnnee)) << st.nNumero;
        ASSERT_EQ(nAnnee * 10000 + nMois * 100 + nJour, st.nAnnee * 10000 + st.nMois * 100 + st.nJour) << st.nNumero;
        const CDateTime cl(st.nAnnee, st.nMois, st.nJour);
        ASSERT_EQ(cl.nGetJourDeLaSemaine(), st.nSemaine) << st.nNumero;
        // From 15 October 1582 the Julian Day Number is the day number shifted by a constant.
        ASSERT_EQ(cl.nVersJourJulien(), st.nNumero + 2378496) << st.nNumero;
    }
}

TEST(JourCalendrier, IsoWeekAgreesExceptWhereTheThursdayFallsOnAMultipleOfSeven) {
    int nEcarts = 0;
    for (const STJourCalendrier& st : gtabJoursCalendrier) {
        if (st.nAnneeIso < 1583) continue;  // the Thursday would lie in the old calendar
        const CDateTime cl(st.nAnnee, st.nMois, st.nJour);
        int nAnnee = 0, nSemaine = 0, nJour = 0;
        cl.VersISO8601YWD(nAnnee, nSemaine, nJour);
        ASSERT_EQ(nAnnee, st.nAnneeIso);
        ASSERT_EQ(nJour, (st.nSemaine + 6) % 7 + 1);
        CDateTime clJeudi = cl;
        ASSERT_TRUE(clJeudi.bDecaleJour(4 - nJour));
        // The week is the Thursday's day of the year over 7, plus 1, with no minus one first.
        const int nDecalage = clJeudi.nGetJourDansAnnee() % 7 == 0 ? 1 : 0;
        nEcarts += nDecalage;
        ASSERT_EQ(nSemaine, st.nSemaineIso + nDecalage) << st.nAnnee << "-" << st.nMois << "-" << st.nJour;
    }
    EXPECT_GT(nEcarts, 0);
}

TEST(JourCalendrier, KnownNumbersAndTheLimitOfTheConversionBack) {
    EXPECT_EQ(CDateTimeBase::s_nDateVersEntier(1, 1, 1904), 37985);
    EXPECT_EQ(CDateTimeBase::s_nDateVersEntier(29, 2, 2023), 0);
    EXPECT_EQ(CDateTimeBase::s_nDateVersEntier(1, 1, 10000), 0);
    int nJour = 0, nMois = 0, nAnnee = 0;
    ASSERT_TRUE(CDateTimeBase::__bEntierVersDate(2994989, &nJour, &nMois, &nAnnee));
    EXPECT_EQ(nAnnee * 10000 + nMois * 100 + nJour, 100000101);
    EXPECT_FALSE(CDateTimeBase::__bEntierVersDate(2994990, &nJour, &nMois, &nAnnee));
    EXPECT_FALSE(CDateTimeBase::__bEntierVersDate(-700000, &nJour, &nMois, &nAnnee));
    EXPECT_FALSE(CDateTimeBase::__bEntierVersDate(INT32_MIN, &nJour, &nMois, &nAnnee));
    // Without validation only the month's length holds the day.
    int nNumero = -1;
    EXPECT_TRUE(CDateTimeBase::__bDateVersEntier(1, 1, 10000, &nNumero, false));
    EXPECT_EQ(nNumero, 2994989);
    EXPECT_FALSE(CDateTimeBase::__bDateVersEntier(30, 2, 2024, &nNumero, false));
    EXPECT_EQ(nNumero, 0);
}

// The proleptic Gregorian number of a day is pinned from the independent calendar; the language
// departs from it on days 1 to 4 of the early months, by a correction of its own per function.
TEST(ChangementCalendrier, EachFunctionKeepsItsOwnCorrectionOfDaysOneToFour) {
    constexpr int n5Janvier1501 = -109203;  // proleptic Gregorian
    int nNumero = 0;
    ASSERT_TRUE(CDateTimeBase::__bDateVersEntier(5, 1, 1501, &nNumero, true));
    EXPECT_EQ(nNumero, n5Janvier1501);
    ASSERT_TRUE(bJourGregorien(5, 1, 1501, &nNumero));
    EXPECT_EQ(nNumero, n5Janvier1501);
    // Centuries from 1500, truncated: q = 0, correction 10.
    ASSERT_TRUE(CDateTimeBase::__bDateVersEntier(1, 1, 1501, &nNumero, true));
    EXPECT_EQ(nNumero, n5Janvier1501 - 4 + 10);
    // Centuries of the year: q = 15, correction 3 - 15 + 10 = -2.
    ASSERT_TRUE(bJourGregorien(1, 1, 1501, &nNumero));
    EXPECT_EQ(nNumero, n5Janvier1501 - 4 - 2);
    // December and the years from 1583 carry none.
    ASSERT_TRUE(CDateTimeBase::__bDateVersEntier(1, 12, 1501, &nNumero, true));
    int nSansCorrection = 0;
    ASSERT_TRUE(CDateTimeBase::__bDateVersEntier(5, 12, 1501, &nSansCorrection, true));
    EXPECT_EQ(nNumero, nSansCorrection - 4);
    // 4 October 1582 is the eve of 15 October for the date-time value, not for bJourGregorien.
    constexpr int n15Octobre1582 = -79335;
    ASSERT_TRUE(CDateTimeBase::__bDateVersEntier(4, 10, 1582, &nNumero, true));
    EXPECT_EQ(nNumero, n15Octobre1582 - 1);
    ASSERT_TRUE(bJourGregorien(4, 10, 1582, &nNumero));
    EXPECT_EQ(nNumero, n15Octobre1582 - 11 - 2);
}

// Back from a number, the years up to 1582 start at their corrected 1 January, so the dates of
// those years come back shifted by the correction.
TEST(ChangementCalendrier, NumbersBefore1583ComeBackFromTheCorrectedStartOfTheirYear) {
    const struct {
        int nLigne;
        int nJour, nMois, nAnnee;
        int nJourRetour, nMoisRetour, nAnneeRetour;
    } tab[] = {
        {__LINE__, 15, 6, 1400, 4, 6, 1400},   // correction 11
        {__LINE__, 15, 6, 1000, 1, 6, 1000},   // correction 14
        {__LINE__, 5, 1, 1501, 25, 12, 1500},  // 1500 is leap for the months, not for the year starts
        {__LINE__, 15, 10, 1582, 5, 10, 1582},  // the first Gregorian day comes back as its Julian name
    };
    for (const auto& st : tab) {
        int nNumero = 0, nJour = 0, nMois = 0, nAnnee = 0;
        ASSERT_TRUE(CDateTimeBase::__bDateVersEntier(st.nJour, st.nMois, st.nAnnee, &nNumero, true));
        ASSERT_TRUE(CDateTimeBase::__bEntierVersDate(nNumero, &nJour, &nMois, &nAnnee)) << "line " << st.nLigne;
        EXPECT_EQ(nAnnee * 10000 + nMois * 100 + nJour, st.nAnneeRetour * 10000 + st.nMoisRetour * 100 + st.nJourRetour)
            << "line " << st.nLigne;
    }
    // In the first centuries the first estimate of the year falls short; the year is raised so
    // that the date found is still a day of its month.
    int nJour = 0, nMois = 0, nAnnee = 0;
    ASSERT_TRUE(CDateTimeBase::__bEntierVersDate(-389196, &nJour, &nMois, &nAnnee));
    EXPECT_LE(nJour, CDateTimeBase::s_nGetNbJourMois(nMois, nAnnee));
    EXPECT_EQ(nAnnee, 734);
}

TEST(ChangementCalendrier, JulianRuleBefore1583AndJulianDaysAcrossOctober1582) {
    EXPECT_EQ(CDateTimeBase::__nBissextile(1500), 1);
    EXPECT_EQ(CDateTimeBase::__nBissextile(1600), 1);
    EXPECT_EQ(CDateTimeBase::__nBissextile(1700), 0);
    EXPECT_EQ(CDateTimeBase::s_nGetNbJourMois(2, 1500), 29);
    EXPECT_EQ(CDateTime(1582, 10, 4).nVersJourJulien(), 2299160);
    EXPECT_EQ(CDateTime(1582, 10, 15).nVersJourJulien(), 2299161);
    EXPECT_EQ(CDateTime(1582, 10, 10).nVersJourJulien(), 2299161);
    EXPECT_EQ(CDateTime(1000, 1, 1).nVersJourJulien(), 2086308);  // Julian calendar
}

TEST(TexteEntree, TimeTextsTakeTwoFourOrSixToNineDigits) {
    const struct {
        int nLigne;
        const wchar_t* pszHeure;
        bool bValide;
        uint32_t dwMs;
    } tab[] = {
        {__LINE__, L"", true, 0},
        {__LINE__, L"12", true, 12 * 3'600'000u},
        {__LINE__, L"1234", true, 12 * 3'600'000u + 34 * 60'000u},
        {__LINE__, L"123456", true, 45'296'000u},
        {__LINE__, L"1234565", true, 45'296'500u},
        {__LINE__, L"12345650", true, 45'296'500u},
        {__LINE__, L"123456500", true, 45'296'500u},
        {__LINE__, L"1234565009", true, 45'296'500u},
        {__LINE__, L"123456:7", true, 45'296'000u},
        {__LINE__, L"123", false, 0},
        {__LINE__, L"12345", false, 0},
        {__LINE__, L"1234:6", false, 0},
        {__LINE__, L"x23456", false, 0},
        {__LINE__, L"240000", false, 0},
        {__LINE__, L"126000", false, 0},
        {__LINE__, L"125960", false, 0},
    };
    for (const auto& st : tab) {
        CDateTime cl(2024, 3, 15, 1, 1, 1, 1);
        EXPECT_EQ(cl.__bSetPartieHeureValide(st.pszHeure), st.bValide) << "line " << st.nLigne;
        EXPECT_EQ(cl.dwGetMillisecondes(), st.bValide ? st.dwMs : 3'661'001u) << "line " << st.nLigne;
    }
}

TEST(TexteEntree, BinaryValuesGiveTheDateOrTheTimeError) {
    const struct {
        int nLigne;
        const char* pszOctets;
        int nErreur;
        const wchar_t* pszAttendu;
    } tab[] = {
        {__LINE__, "20240315134530123", 0, L"20240315134530123"},
        {__LINE__, "2024031513453012399", 0, L"20240315134530123"},  // 17 bytes at most
        {__LINE__, "20240315", 0, L"20240315000000000"},
        {__LINE__, "20240230", DATETIME_ERREUR_DATE, nullptr},
        {__LINE__, "2023022912", DATETIME_ERREUR_DATE, nullptr},
        {__LINE__, "15000229", 0, L"15000229000000000"},  // Julian leap year
        {__LINE__, "00000101", 0, L"00000101000000000"},  // year 0 passes here
        {__LINE__, "2024031525", DATETIME_ERREUR_HEURE, nullptr},
    };
    for (const auto& st : tab) {
        const CZKBIN clBinaire(st.pszOctets, static_cast<int>(std::strlen(st.pszOctets)));
        CDateTime cl(2000, 1, 1, 5, 0, 0, 0);
        EXPECT_EQ(cl.nDepuisBinaireValide(&clBinaire), st.nErreur) << "line " << st.nLigne;
        if (st.pszAttendu != nullptr) {
            EXPECT_EQ(sTexte(cl), st.pszAttendu) << "line " << st.nLigne;
        } else {
            EXPECT_EQ(cl.dwGetMillisecondes(), 0u) << "line " << st.nLigne;
        }
    }
    CZKBIN clSortie;
    clDepuisTexte(L"20240315134530123").nVersBinaire(&clSortie, 14);
    ASSERT_EQ(clSortie.nGetTaille(), 14);
    EXPECT_EQ(std::memcmp(clSortie.pbyGet(), "20240315134530", 14), 0);
}

TEST(TexteEntree, FixedFieldsPadOnTheRightAndFillShortBuffersWithZeros) {
    EXPECT_EQ(CDateTimeBase::nGetPropDateTime(L"1234561", 6, 3, true), 100);
    EXPECT_EQ(CDateTimeBase::nGetPropDateTime(L"1234561", 6, 3, false), 0);
    EXPECT_EQ(CDateTimeBase::nGetPropDateTime(L"123456", 6, 3, true), 0);
    EXPECT_EQ(CDateTimeBase::nGetPropDateTime("12", 0, 2, false), 12);
    EXPECT_EQ(CDateTimeBase::nGetPropDateTime<wchar_t>(nullptr, 0, 2, true), 0);
    wchar_t tab[8];
    std::wmemset(tab, L'x', 8);
    CDateTimeBase::SetPropDateTime(tab, 2, 3, 7, 6);
    EXPECT_STREQ(tab, L"xx007x");
    CDateTimeBase::SetPropDateTime(tab, 4, 3, 123, 6);
    EXPECT_STREQ(tab, L"xx0000");
    // Fractions of one, two or three digits mean the same milliseconds.
    for (const wchar_t* psz : {L"202403151200005", L"2024031512000050", L"20240315120000500"})
        EXPECT_EQ(clDepuisTexte(psz).dwGetMillisecondes(), 43'200'500u) << psz;
}

TEST(TexteSortie, LengthsCutTheSeventeenCharacterForm) {
    const CDateTime cl(2024, 3, 15, 13, 45, 30, 123);
    EXPECT_EQ(sTexte(cl), L"20240315134530123");
    EXPECT_EQ(sTexte(cl, 8), L"20240315");
    EXPECT_EQ(sTexte(cl, 14), L"20240315134530");
    EXPECT_EQ(sTexte(cl, 40), L"20240315134530123");
    char tabA[18];
    cl.VersChaine(tabA, 17);
    EXPECT_STREQ(tabA, "20240315134530123");
    wchar_t tabCourt[4];
    EXPECT_EQ(cl.nVersDate(tabCourt, 4), 0);
    EXPECT_STREQ(tabCourt, L"202");
    wchar_t tabHeure[12];
    EXPECT_EQ(cl.nVersHeure(tabHeure, 12), 0);
    EXPECT_STREQ(tabHeure, L"134530123");
    EXPECT_EQ(cl.nVersHeure(tabHeure, 0), STRMEM_ERREUR_TAILLE);
    EXPECT_STREQ(cl.VersChaineFormate().pszGet(), L"2024-3-15 13:45:30,123");
    wchar_t* psz = cl.pszCreeChaine();
    EXPECT_STREQ(psz, L"20240315134530123");
    std::free(psz);
}

TEST(Champs, ChangesKeepTheRestAndEndOfMonthIsRectified) {
    CDateTime cl(2024, 1, 31, 10, 20, 30, 400);
    EXPECT_TRUE(cl.bModifieMois(2));
    EXPECT_EQ(sTexte(cl), L"20240229102030400");
    EXPECT_TRUE(cl.bModifieAnnee(2023));
    EXPECT_EQ(sTexte(cl, 8), L"20230228");
    EXPECT_TRUE(cl.bModifieHeure(23));
    EXPECT_TRUE(cl.bModifieMinute(0));
    EXPECT_TRUE(cl.bModifieSeconde(59));
    EXPECT_EQ(sTexte(cl), L"20230228230059400");
    EXPECT_FALSE(cl.bModifieHeure(24));
    EXPECT_FALSE(cl.bModifieMinute(60));
    EXPECT_FALSE(cl.bModifieJour(32));
    EXPECT_FALSE(cl.bModifieMois(0));
    EXPECT_FALSE(cl.bModifieAnnee(10000));
    EXPECT_EQ(sTexte(cl), L"20230228230059400");
    // Without a month the day is not rectified.
    CDateTime clPartiel;
    EXPECT_TRUE(clPartiel.bModifieJour(31));
    EXPECT_EQ(clPartiel.nGetJour(), 31);
}

TEST(Champs, SystemRecordsGoThroughTheSettersAndAnswerForTheMilliseconds) {
    CDateTime cl(2024, 3, 31);
    _SYSTEMTIME st{2024, 4, 2, 30, 8, 5, 6, 999};
    EXPECT_TRUE(cl.InitDate(&st));
    EXPECT_EQ(sTexte(cl), L"20240430080506999");
    st.wMilliseconds = 1000;
    st.wHour = 25;
    EXPECT_FALSE(cl.InitDate(&st));
    EXPECT_EQ(sTexte(cl), L"20240430080506999");
    _SYSTEMTIME stSortie{};
    cl.nVersSysteme(&stSortie);
    EXPECT_EQ(stSortie.wDayOfWeek, 2);  // a Tuesday
    EXPECT_EQ(stSortie.wMilliseconds, 999);
    EXPECT_EQ(cl.nDateVersSysteme(L"20240230", &stSortie), DATETIME_ERREUR_DATE);
    EXPECT_EQ(cl.nHeureVersSysteme(L"2460", &stSortie), DATETIME_ERREUR_HEURE);
    EXPECT_EQ(cl.nHeureVersSysteme(L"07080912", &stSortie), 0);
    EXPECT_EQ(stSortie.wMinute, 8);
    EXPECT_EQ(stSortie.wMilliseconds, 120);
}

TEST(Decalage, MonthsYearsDaysAndMillisecondsCarryAcrossEnds) {
    const struct {
        int nLigne;
        const wchar_t* pszDepart;
        char cUnite;
        int64_t nDecalage;
        bool bSucces;
        const wchar_t* pszAttendu;
    } tab[] = {
        {__LINE__, L"20240131", 'M', 1, true, L"20240229000000000"},
        {__LINE__, L"20240315", 'M', -13, true, L"20230215000000000"},
        {__LINE__, L"20241215", 'M', 1, true, L"20250115000000000"},
        {__LINE__, L"20240115", 'M', -1, true, L"20231215000000000"},
        {__LINE__, L"20240229", 'A', 1, true, L"20250228000000000"},
        {__LINE__, L"20240101", 'A', -2025, false, L"20240101000000000"},
        {__LINE__, L"20241231", 'J', 1, true, L"20250101000000000"},
        {__LINE__, L"20240301", 'J', -1, true, L"20240229000000000"},
        {__LINE__, L"99991231", 'J', 2, false, L"99991231000000000"},
        {__LINE__, L"20240230", 'J', 1, false, L"20240230000000000"},
        {__LINE__, L"20240301000000500", 'L', -1000, true, L"20240229235959500"},
        {__LINE__, L"20240229235959500", 'L', 500, true, L"20240301000000000"},
        {__LINE__, L"20240301120000000", 'L', -3 * 86'400'000LL, true, L"20240227120000000"},
        {__LINE__, L"99991231235959999", 'L', 2 * 86'400'000LL, false, L"99991231235959999"},
    };
    for (const auto& st : tab) {
        CDateTime cl = clDepuisTexte(st.pszDepart);
        bool b = false;
        switch (st.cUnite) {
            case 'M': b = cl.bDecaleMois(static_cast<int>(st.nDecalage)); break;
            case 'A': b = cl.bDecaleAnnee(static_cast<int>(st.nDecalage)); break;
            case 'J': b = cl.bDecaleJour(static_cast<int>(st.nDecalage)); break;
            default: b = cl.bDecaleMilli(st.nDecalage); break;
        }
        EXPECT_EQ(b, st.bSucces) << "line " << st.nLigne;
        EXPECT_EQ(sTexte(cl), st.pszAttendu) << "line " << st.nLigne;
    }
    // Only the starting year is checked: the result may leave the calendar's years.
    CDateTime clFin(9999, 1, 1);
    EXPECT_TRUE(clFin.bDecaleAnnee(1));
    EXPECT_EQ(clFin.nGetAnnee(), 10000);
    EXPECT_FALSE(clFin.bDecaleAnnee(1));
    CDateTime clVide;
    EXPECT_TRUE(clVide.bDecaleJour(400));
    EXPECT_TRUE(clVide.bEstVide());
}

TEST(Decalage, DurationsAndDayDifferencesBetweenValues) {
    const CDateTime clA(2024, 3, 1, 0, 0, 0, 500);
    const CDateTime clB(2024, 2, 28, 23, 0, 0, 0);
    CDureeBase clDuree;
    EXPECT_EQ(CDateTimeBase::nCalculeDuree(clA, clB, &clDuree), 0);
    EXPECT_EQ(clDuree.nGetMillisecondes(), 86'400'000LL + 3'600'000 + 500);
    int nJours = 0;
    EXPECT_TRUE(CDateTimeBase::bCalculeDiffJour(clA, clB, &nJours));
    EXPECT_EQ(nJours, 2);
    const CDateTime clMauvaise(2024, 2, 30);
    EXPECT_EQ(CDateTimeBase::nCalculeDuree(clA, clMauvaise, &clDuree), DATETIME_ERREUR_DATE);
    EXPECT_FALSE(CDateTimeBase::bCalculeDiffJour(clA, clMauvaise, &nJours));
    EXPECT_EQ(nJours, CDateTimeBase::s_nDateVersEntier(1, 3, 2024));
    EXPECT_FALSE(CDateTimeBase::bCalculeDiffJour(clMauvaise, clA, &nJours));
    EXPECT_EQ(nJours, 0);
}

TEST(Calendrier, DayOfYearWeekdayAndIsoWeekOfAThursdayThatIsDaySeven) {
    EXPECT_EQ(CDateTime(2024, 3, 1).nGetJourDansAnnee(), 61);
    EXPECT_EQ(CDateTime(2024, 2, 30).nGetJourDeLaSemaine(), -1);
    int nAnnee = 0, nSemaine = 0, nJour = 0;
    CDateTime(2021, 1, 7).VersISO8601YWD(nAnnee, nSemaine, nJour);  // Thursday, day 7: ISO week 1
    EXPECT_EQ(nAnnee * 1000 + nSemaine * 10 + nJour, 2021024);
}

TEST(Comparaison, PackedWordThenMillisecondsAndTextsOverTheShorterLength) {
    const CDateTime clA(2024, 3, 15, 10, 0, 0, 0);
    const CDateTime clB(2024, 3, 15, 10, 0, 0, 1);
    const CDateTime clC(2023, 12, 31, 23, 59, 59, 999);
    EXPECT_EQ(CDateTimeBase::nCompare(clA, clB), -1);
    EXPECT_EQ(CDateTimeBase::nCompare(clB, clA), 1);
    EXPECT_EQ(CDateTimeBase::nCompare(clC, clA), -1);
    EXPECT_EQ(CDateTimeBase::nCompare(clA, clA), 0);
    EXPECT_EQ(CDateTimeBase::s_nCompareDateSeule(clA, clB), 0);
    EXPECT_EQ(CDateTimeBase::nCompare(clA, L"20240315"), 0);
    EXPECT_EQ(CDateTimeBase::nCompare(clA, L"20240316"), -1);
    EXPECT_EQ(CDateTimeBase::nCompareDate(L"", nullptr), 0);
    EXPECT_EQ(CDateTimeBase::nCompareDate(L"", L"2005"), -1);
    EXPECT_EQ(CDateTimeBase::nCompareDate(L"20050101", L""), 1);
    EXPECT_EQ(CDateTimeBase::nCompareDate(L"20050101", L"2005"), 0);
    EXPECT_EQ(CDateTimeBase::nCompareHeure(L"1200", L"115959"), 1);
}

// A buffer with the cursor operations the serialisation needs.
struct STTampon {
    std::vector<uint8_t> tabOctets;
    size_t nLecture = 0;
    void Set(const void* p, unsigned long n) {
        tabOctets.insert(tabOctets.end(), static_cast<const uint8_t*>(p), static_cast<const uint8_t*>(p) + n);
    }
    void Get(void* p, unsigned long n) {
        const size_t nLus = std::min<size_t>(n, tabOctets.size() - nLecture);
        std::memcpy(p, tabOctets.data() + nLecture, nLus);
        nLecture += nLus;
    }
};

TEST(Serialisation, PackedWordThenMillisecondsLittleEndianWithoutMark) {
    const CDateTime cl(2024, 3, 15, 13, 45, 30, 123);
    STTampon st;
    st << cl;
    const std::vector<uint8_t> tabAttendu = {15, 3, 0xe8, 0x07, 0x0b, 0xc5, 0xf3, 0x02};
    EXPECT_EQ(st.tabOctets, tabAttendu);
    CDateTime clLu;
    st >> clLu;
    EXPECT_EQ(CDateTimeBase::nCompare(clLu, cl), 0);
}

TEST(Horloge, CurrentDateFollowsTheLocalZoneAcrossTheSpringChange) {
    if (eZone() == EZone::Autre) GTEST_SKIP() << "needs TZ=Europe/Paris or TZ=UTC";
    CClockFige clHorloge(1711846799999);  // 2024-03-31 00:59:59.999 UTC
    CClockSourceScope clScope(&clHorloge);
    CDateTime cl;
    cl.InitDateCouranteUTC();
    EXPECT_EQ(sTexte(cl), L"20240331005959999");
    cl.InitDateCourante();
    EXPECT_EQ(sTexte(cl), eZone() == EZone::Paris ? L"20240331015959999" : L"20240331005959999");
    clHorloge.SetMaintenant(1711846800000);  // one millisecond later: summer time in Paris
    cl.InitDateCourante();
    EXPECT_EQ(sTexte(cl), eZone() == EZone::Paris ? L"20240331030000000" : L"20240331010000000");
}

}  // namespace
