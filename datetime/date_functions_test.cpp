// The language's date functions, called as the thunks call them: against an independent calendar
// and Easter table, the spreadsheet serial systems, ISO weeks (with the pinned departures), and the
// clock frozen or refusing.
#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <string>
#include <vector>

#include "base/error.h"
#include "component/composante.h"
#include "datetime/date_functions.h"
#include "datetime/date_mask.h"
#include "datetime/testdata/calendar_dates.h"
#include "system/clock.h"

namespace {

std::wstring s(const CXYString<wchar_t>& cl) { return cl.bEstNull() ? L"<null>" : cl.pszGet(); }

std::wstring sDate(int nAnnee, int nMois, int nJour) {
    wchar_t sz[16];
    std::swprintf(sz, 16, L"%04d%02d%02d", nAnnee, nMois, nJour);
    return sz;
}

int nErreur(CComposanteStandard& cl) { return cl.pclGetError()->nGetUserErrorCode(); }

TEST(DateNumbers, AgreeWithAnIndependentCalendarBothWays) {
    CComposanteStandard cl;
    for (const STJourCalendrier& st : gtabJoursCalendrier) {
        const std::wstring sAttendu = sDate(st.nAnnee, st.nMois, st.nJour);
        ASSERT_EQ(s(cl.EntierVersDate(st.nNumero)), sAttendu) << st.nNumero;
        ASSERT_EQ(cl.DateVersEntier(sAttendu.c_str()), st.nNumero) << st.nAnnee;
        ASSERT_EQ(cl.EntierVersJour(st.nNumero), st.nSemaine == 0 ? 7 : st.nSemaine) << st.nNumero;
    }
}

TEST(DateNumbers, EdgesOfTheNumbering) {
    CComposanteStandard cl;
    EXPECT_EQ(s(cl.EntierVersDate(1)), L"18000101");
    EXPECT_EQ(s(cl.EntierVersDate(0)), L"17991231");
    EXPECT_EQ(cl.EntierVersJour(1), 3);
    EXPECT_EQ(cl.EntierVersJour(5), 7) << "5 January 1800 was a Sunday";
    EXPECT_EQ(cl.EntierVersJour(5 + 7 * 1000), 7);
    EXPECT_EQ(s(cl.EntierVersDate(-700000)), L"<null>");
    EXPECT_EQ(nErreur(cl), 80132);
    EXPECT_EQ(cl.DateVersEntier(L"20240315", 1), 75) << "day of the year";
    struct { int nLigne; const wchar_t* pszPartie; const wchar_t* pszAttendu; } tab[] = {
        {__LINE__, L"J", L"15"}, {__LINE__, L"d", L"15"}, {__LINE__, L"A", L"2024"}, {__LINE__, L"y", L"2024"},
        {__LINE__, L"m", L"03"}, {__LINE__, L"x", L"20240315"}, {__LINE__, L"", L"20240315"},
    };
    const int n = cl.DateVersEntier(L"20240315");
    for (const auto& st : tab) EXPECT_EQ(s(cl.EntierVersDate(n, st.pszPartie)), st.pszAttendu) << st.nLigne;
}

TEST(DateValidation, RaisesTheNumberOfTheFirstFault) {
    struct { int nLigne; const wchar_t* pszDate; int nErreur; } tab[] = {
        {__LINE__, L"2024031", 80121},  {__LINE__, L"2024031x", 80122}, {__LINE__, L"00000101", 80123},
        {__LINE__, L"15820805", 80124}, {__LINE__, L"15820814", 80124}, {__LINE__, L"20241301", 80125},
        {__LINE__, L"20240432", 80126}, {__LINE__, L"20230229", 80127}, {__LINE__, L"20240229", 0},
        {__LINE__, L"15821005", 0},     {__LINE__, L"15820815", 0},
    };
    for (const auto& st : tab) {
        CComposanteStandard cl;
        cl.DateVersEntier(st.pszDate);
        EXPECT_EQ(nErreur(cl), st.nErreur) << st.nLigne;
        EXPECT_EQ(cl.DateValide(st.pszDate), st.nErreur == 0) << st.nLigne;
    }
}

TEST(TimeTexts, ValidationAndHundredths) {
    struct { int nLigne; const wchar_t* pszHeure; int nAttendu; int nErreur; } tab[] = {
        {__LINE__, L"12", 12 * 360000, 0},       {__LINE__, L"235959991", 8639999, 0},
        {__LINE__, L"0000006", 60, 0},           {__LINE__, L"24000000", -1, 80131},
        {__LINE__, L"12600000", -1, 80130},      {__LINE__, L"12006000", -1, 80129},
        {__LINE__, L"12h00", -1, 80128},
    };
    for (const auto& st : tab) {
        CComposanteStandard cl;
        EXPECT_EQ(cl.HeureVersEntier(st.pszHeure), st.nAttendu) << st.nLigne;
        EXPECT_EQ(nErreur(cl), st.nErreur) << st.nLigne;
    }
    CComposanteStandard cl;
    EXPECT_EQ(s(cl.EntierVersHeure(8639999)), L"23595999");
    EXPECT_EQ(s(cl.EntierVersHeure(100 * 360000)), L"100000000") << "hours have no upper bound";
    EXPECT_EQ(s(cl.EntierVersHeure(-1)), L"<null>");
    EXPECT_EQ(nErreur(cl), 80120);
}

TEST(Differences, SignedBMinusAAndErrors) {
    CComposanteStandard cl;
    EXPECT_EQ(cl.DateDifference(L"20240228", L"20240301"), 2);
    EXPECT_EQ(cl.DateDifference(L"20240301", L"20240228"), -2);
    EXPECT_EQ(cl.HeureDifference(L"1000", L"0930"), -30 * 6000);
    EXPECT_EQ(s(cl.DateHeureDifference(L"20240101", L"20240102013000")), L"+000000101300000");
    EXPECT_EQ(cl.DateDifference(L"20240230", L"20240301"), -1);
    EXPECT_EQ(nErreur(cl), 80134);
    EXPECT_EQ(cl.HeureDifference(L"99", L"00"), -1);
    EXPECT_EQ(nErreur(cl), 80135);
}

TEST(Weeks, PlainNumberingPutsDaysBeforeTheFirstMondayInWeekZero) {
    CComposanteStandard cl;
    // 1 January 2023 is a Sunday; 2024 starts on a Monday, 2026 on a Thursday, 2027 on a Friday.
    struct { int nLigne; const wchar_t* pszDate; int nSemaine; } tab[] = {
        {__LINE__, L"20230101", 0}, {__LINE__, L"20230102", 1}, {__LINE__, L"20240101", 1},
        {__LINE__, L"20240107", 1}, {__LINE__, L"20240108", 2}, {__LINE__, L"20260101", 1},
        {__LINE__, L"20260105", 2}, {__LINE__, L"20270103", 0}, {__LINE__, L"20270104", 1},
    };
    for (const auto& st : tab) {
        EXPECT_EQ(cl.NumeroDeSemaine(st.pszDate), st.nSemaine) << st.nLigne;
        EXPECT_EQ(cl.DateVersNumeroDeSemaine(st.pszDate), st.nSemaine) << st.nLigne;
    }
    EXPECT_EQ(cl.NumeroDeSemaine(L"20240315", L"ISO"), -1);
    EXPECT_EQ(nErreur(cl), 80700);
}

TEST(Weeks, IsoOptionAgreesWithTheStandardOutsideThePinnedDepartures) {
    CComposanteStandard cl;
    int nEcarts = 0;
    for (const STJourCalendrier& st : gtabJoursCalendrier) {
        const std::wstring sD = sDate(st.nAnnee, st.nMois, st.nJour);
        const int n = cl.NumeroDeSemaine(sD.c_str(), L"<ISO8601>");
        const bool bSemaine53 = st.nSemaineIso == 53 || (st.nSemaineIso == 1 && st.nMois == 12);
        if (!bSemaine53) {
            ASSERT_EQ(n, st.nSemaineIso) << st.nAnnee << "-" << st.nMois << "-" << st.nJour;
            continue;
        }
        // A week 53 is 1 when its day falls Tuesday to Thursday, else 53; early January is
        // answered as 31 December of the year before, so that day's weekday decides.
        const int nJourDecisif = st.nMois == 1 ? ((st.nSemaine - st.nJour) % 7 + 7) % 7 : st.nSemaine;
        const int nAttendu = nJourDecisif >= 2 && nJourDecisif <= 4 ? 1 : 53;
        ASSERT_EQ(n, nAttendu) << st.nAnnee << "-" << st.nMois << "-" << st.nJour;
        nEcarts += n != st.nSemaineIso;
    }
    EXPECT_GT(nEcarts, 0);
    // The departures themselves: a Monday 29 December stays in 53, a Thursday 31 December of a
    // long year goes to 1.
    EXPECT_EQ(cl.NumeroDeSemaine(L"20251229", L"<ISO8601>"), 53) << "ISO: week 1 of 2026";
    EXPECT_EQ(cl.NumeroDeSemaine(L"20201231", L"<ISO8601>"), 1) << "ISO: week 53 of 2020";
    EXPECT_EQ(cl.NumeroDeSemaine(L"20210101", L"<ISO8601>"), 1) << "as 31 December 2020, a Thursday; ISO: 53";
    EXPECT_EQ(cl.NumeroDeSemaine(L"20050101", L"<ISO8601>"), 53) << "as 31 December 2004, a Friday; ISO too";
}

TEST(Weeks, WeekToDateAndWeekBounds) {
    CComposanteStandard cl;
    EXPECT_EQ(s(cl.SemaineVersDate(1, 2026, L"<ISO8601>")), L"20251229");
    EXPECT_EQ(s(cl.SemaineVersDate(11, 2024, L"<ISO8601>")), L"20240311");
    EXPECT_EQ(s(cl.SemaineVersDate(1, 2026)), L"20260105") << "first Monday of the year";
    EXPECT_EQ(s(cl.SemaineVersDate(1, 2024)), L"20240101");
    EXPECT_EQ(s(cl.PremierJourDeLaSemaine(L"20240317")), L"20240311");
    EXPECT_EQ(s(cl.DernierJourDeLaSemaine(L"20240311")), L"20240317");
    EXPECT_EQ(s(cl.PremierJourDuMois(2024, 2)), L"20240201");
    EXPECT_EQ(s(cl.DernierJourDuMois(2024, 2)), L"20240229");
    EXPECT_EQ(s(cl.DernierJourDuMois(1900, 2)), L"19000228");
    EXPECT_EQ(s(cl.DernierJourDuMois(L"20231115")), L"20231130");
    EXPECT_EQ(s(cl.DernierJourDuMois(2024, 13)), L"<null>");
    EXPECT_EQ(nErreur(cl), 80125);
}

TEST(Easter, AgreesWithAnIndependentTableFrom1583To9999) {
    std::ifstream f(OV_PAQUES_TABLE);
    ASSERT_TRUE(f.good());
    CComposanteStandard cl;
    std::string sLigne;
    int nAnnee = 1583;
    for (; std::getline(f, sLigne); ++nAnnee) {
        const std::wstring sAttendu(sLigne.begin(), sLigne.end());
        ASSERT_EQ(s(cl.Paques(nAnnee)), sAttendu);
    }
    EXPECT_EQ(nAnnee, 10000);
    EXPECT_EQ(s(cl.Paques(1582)), L"<null>");
    EXPECT_EQ(s(cl.Paques(10000)), L"<null>");
    EXPECT_EQ(nErreur(cl), 0) << "out of range is empty without error";
    EXPECT_EQ(s(cl.Paques(L"20240615")), L"20240331");
}

TEST(Age, YearsMonthsDays) {
    struct { int nLigne; const wchar_t* pszNaissance; const wchar_t* pszReference; const wchar_t* pszAttendu; } tab[] = {
        {__LINE__, L"19800315", L"20240315", L"00440000"}, {__LINE__, L"19800316", L"20240315", L"00431128"},
        {__LINE__, L"20240229", L"20250301", L"00010000"}, {__LINE__, L"20240131", L"20240301", L"00000100"},
        {__LINE__, L"20240315", L"20240314", L"<null>"},   {__LINE__, L"20240315", L"2024031x", L"<null>"},
    };
    for (const auto& st : tab) {
        CComposanteStandard cl;
        EXPECT_EQ(s(cl.Age(st.pszNaissance, st.pszReference)), st.pszAttendu) << st.nLigne;
    }
    CComposanteStandard cl;
    EXPECT_EQ(s(cl.Age(L"20241301", L"20250101")), L"<null>");
    EXPECT_EQ(cl.pclGetError()->eGetErrorLevel(), 2);
}

TEST(SerialNumbers, AgreeWithThe1900And1904Systems) {
    CComposanteStandard cl;
    struct { int nLigne; const wchar_t* pszTexte; int nOption; double dAttendu; } tab[] = {
        {__LINE__, L"19000101", 0, 1.0},       {__LINE__, L"19000228", 0, 59.0},
        {__LINE__, L"19000229", 0, 60.0},      {__LINE__, L"19000229120000", 0, 60.0},
        {__LINE__, L"19000301", 0, 61.0},      {__LINE__, L"20240315", 0, 45366.0},
        {__LINE__, L"20240315120000", 0, 45366.5}, {__LINE__, L"19040101", 1, 0.0},
        {__LINE__, L"20240315", 1, 43904.0},   {__LINE__, L"18991231", 0, -1.0},
        {__LINE__, L"19031231", 1, -1.0},
    };
    for (const auto& st : tab) EXPECT_DOUBLE_EQ(cl.DateHeureVersReel(st.pszTexte, st.nOption), st.dAttendu) << st.nLigne;
    EXPECT_EQ(s(cl.ReelVersDateHeure(60.5, 0)), L"19000229120000000");
    EXPECT_EQ(s(cl.ReelVersDateHeure(61.0, 0)), L"19000301000000000");
    EXPECT_EQ(s(cl.ReelVersDateHeure(45366.25, 0)), L"20240315060000000");
    EXPECT_EQ(s(cl.ReelVersDateHeure(43904.0, 1)), L"20240315000000000");
    EXPECT_EQ(s(cl.ReelVersDateHeure(0.5, 0)), L"<null>");
}

TEST(Durations, OptionFormsRoundTrip) {
    CComposanteStandard cl;
    const CDuree clDuree(((1LL * 24 + 2) * 3600 + 3 * 60 + 4) * 1000 + 50);
    const std::wstring sMilli = s(cl.DureeVersChaine(clDuree));
    const std::wstring sCentieme = s(cl.DureeVersChaine(clDuree, 1));
    EXPECT_EQ(sMilli, s(cl.DureeVersChaine(clDuree, 0)));
    EXPECT_NE(sMilli, sCentieme);
    EXPECT_EQ(cl.ChaineVersDuree(sMilli.c_str()).nGetMillisecondes(), clDuree.nGetMillisecondes()) << sMilli;
    EXPECT_EQ(cl.ChaineVersDuree(sCentieme.c_str(), 1).nGetMillisecondes(), clDuree.nGetMillisecondes()) << sCentieme;
}

TEST(Names, FallbackNamesWithoutALanguage) {
    CComposanteStandard cl;
    EXPECT_FALSE(s(cl.NumeroDeJourVersLettre(7)).empty());
    EXPECT_EQ(s(cl.NumeroDeJourVersLettre(7)), s(cl.EntierVersJourEnLettre(5))) << "both Sunday";
    EXPECT_EQ(s(cl.NumeroDeMoisVersLettre(13)), L"<null>");
    EXPECT_EQ(s(cl.NumeroDeMoisVersLettre(3)), s(cl.DateVersMoisEnLettre(L"20240315")));
}

// 31 March 2024 00:30 UTC: in Paris, 01:30 just before the change to summer time.
constexpr int64_t MS_31_MARS_2024 = 1711845000000LL;

TEST(Clock, FrozenClockIsReadAndSetThroughTheSeam) {
    CClockFige clFige(MS_31_MARS_2024);
    CClockSourceScope clScope(&clFige);
    CComposanteStandard cl;
    const bool bParis = s(cl.HeureSys()) == L"01300000";
    EXPECT_EQ(s(cl.DateSys()), L"20240331");
    EXPECT_EQ(cl.AnneeEnCours(), 2024);
    EXPECT_EQ(cl.MoisEnCours(), 3);
    EXPECT_EQ(s(cl.HeureSys()), bParis ? L"01300000" : L"00300000");
    // Setting the time past 02:00 local crosses the change in Paris: one hour less in UTC.
    cl.HeureSys(L"03300000");
    EXPECT_EQ(clFige.nGetNbReglage(), 1);
    EXPECT_EQ(clFige.nGetDernierReglage(), MS_31_MARS_2024 + (bParis ? 1 : 3) * 3600000LL);
    EXPECT_EQ(s(cl.HeureSys()), L"03300000");
    cl.DateSys(L"20241027");
    EXPECT_EQ(s(cl.DateSys()), L"20241027");
    EXPECT_EQ(s(cl.HeureSys()), L"03300000") << "the time of day is kept across the change back";
    CDateTime clMaintenant;
    cl.HeureSys(&clMaintenant);
    EXPECT_EQ(clMaintenant.nGetJour(), 27);
    cl.DateSys(L"20241027x");
    EXPECT_EQ(nErreur(cl), 80121);
    EXPECT_EQ(clFige.nGetNbReglage(), 2);
}

TEST(Clock, RefusalIsReportedWithErrno) {
    CClockFige clFige(MS_31_MARS_2024);
    CClockSourceScope clScope(&clFige);
    clFige.SetRefus(EPERM);
    CComposanteStandard cl;
    cl.DateHeureSys(L"20240101120000");
    EXPECT_EQ(nErreur(cl), 80133);
    EXPECT_EQ(cl.pclGetError()->dwGetSystemErrorCode(), static_cast<unsigned>(EPERM));
    EXPECT_EQ(s(cl.DateSys()), L"20240331") << "nothing changed";
}

TEST(Zones, LocalAndUniversalAcrossTheChangeOfOctober) {
    CComposanteStandard cl;
    const std::wstring sUtc = s(cl.LocaleVersUTC(CDateTime(2024, 10, 27, 3, 30)));
    const std::wstring sLocale = s(cl.UTCVersLocale(CDateTime(2024, 10, 27, 0, 30)));
    const char* pszTz = std::getenv("TZ");
    if (pszTz != nullptr && std::string(pszTz) == "Europe/Paris") {
        EXPECT_EQ(sUtc, L"20241027023000000") << "after the change: UTC+1";
        EXPECT_EQ(sLocale, L"20241027023000000") << "before the change: UTC+2";
    } else if (pszTz != nullptr && std::string(pszTz) == "UTC") {
        EXPECT_EQ(sUtc, L"20241027033000000");
        EXPECT_EQ(sLocale, L"20241027003000000");
    }
    EXPECT_EQ(s(cl.DateHeureLocaleVersFuseau(CDateTime(2024, 1, 1), L"")), L"<null>");
    EXPECT_EQ(nErreur(cl), 81865);
}

}  // namespace

namespace {

TEST(MaskFunctions, TimesThroughATextualMask) {
    struct {
        int nLine;
        const wchar_t* pszHeure;
        const wchar_t* pszMasque;
        const wchar_t* pszAttendu;
    } const tabCases[] = {
        {__LINE__, L"14300512", nullptr, L"14:30:05:12"},
        {__LINE__, L"1430", L"HH:MM", L"14:30"},
        {__LINE__, L"09050000", L"H:MM", L"9:05"},
        {__LINE__, L"14300512", L"HH:MM:SS:CC AP", L"02:30:05:12 PM"},
        {__LINE__, L"12000000", L"HH AP", L"12 PM"},
        {__LINE__, L"00000000", L"hh ap", L"12 AM"},
        {__LINE__, L"23595999", L"HHhMM", L"23h59"},
    };
    CComposanteStandard cl;
    for (const auto& st : tabCases)
        EXPECT_EQ(s(cl.HeureVersChaine(st.pszHeure, st.pszMasque)), st.pszAttendu) << "line " << st.nLine;
    EXPECT_EQ(s(cl.HeureVersChaine(L"2500", L"HH:MM")), L"<null>");
    EXPECT_EQ(nErreur(cl), 80131);
}

TEST(MaskFunctions, DatesBothWaysWithoutALanguage) {
    CComposanteStandard cl;
    EXPECT_EQ(s(cl.DateVersChaine(L"20240315")), L"15/03/2024");
    EXPECT_EQ(s(cl.DateVersChaine(L"202403151430051")), L"15/03/2024 14:30:05:10");
    EXPECT_EQ(s(cl.DateVersChaine(L"20240315143005123")), L"15/03/2024 14:30:05:12") << "hundredths first";
    EXPECT_EQ(s(cl.DateVersChaine(L"20240315____", L"JJ/MM/AAAA")), L"15/03/2024");
    EXPECT_EQ(s(cl.DateVersChaine(L"2024-03-15", L"JJ/MM/AAAA")), L"<null>");
    EXPECT_EQ(s(cl.ChaineVersDate(L"15/03/2024", L"jj/mm/aaaa")), L"20240315") << "lower-case mask";
    EXPECT_EQ(s(cl.ChaineVersDate(L"15/03/24", L"JJ/MM/AA")), L"20240315") << "two-digit year pivot";
    EXPECT_EQ(s(cl.ChaineVersDate(L"15/03/2024 14:30", L"JJ/MM/AAAA HH:mm")), L"20240315143000000");
    EXPECT_EQ(s(cl.ChaineVersDate(L"", L"JJ/MM/AAAA")), L"<null>");
    EXPECT_EQ(s(cl.ChaineVersHeure(L"14:30:05:12")), L"14300512");
    EXPECT_EQ(s(cl.ChaineVersHeure(L"", nullptr)), L"<null>");
}

// Calls keep the masks they build: a mask met again, after others and in another order, must answer
// as one built for the call.
TEST(MaskFunctions, MasksMetAgainAnswerAsNewOnes) {
    struct {
        int nLine;
        const wchar_t* pszValeur;
        const wchar_t* pszMasque;
    } tab[] = {
        {__LINE__, L"20240315", L"JJ/MM/AAAA"},       {__LINE__, L"20240315", L"AAAA-MM-JJ"},
        {__LINE__, L"20240229", L"JJJJ JJ MMMM AAAA"}, {__LINE__, L"20241231", L"MM/JJ/AA"},
        {__LINE__, L"20240315143005", L"JJ/MM/AAAA HH:mm:SS"}, {__LINE__, L"19991231", L"JJ/MM/AAAA"},
        {__LINE__, L"20240315", L"JJ.MM.AAAA"},       {__LINE__, L"20240315235959", L"JJ/MM/AAAA HH:mm"},
    };
    CComposanteStandard cl;
    std::vector<std::wstring> tabPremier;
    for (const auto& st : tab) tabPremier.push_back(s(cl.DateVersChaine(st.pszValeur, st.pszMasque)));
    for (int nTour = 0; nTour < 3; ++nTour) {
        for (size_t n = std::size(tab); n-- > 0;) {
            const auto& st = tab[n];
            CMasqueDateHeure clNeuf(st.pszMasque, true, std::wcslen(st.pszValeur) > 8 ? L"YYYYMMDDHHmmSSCCC" : nullptr);
            std::wstring sValeur = st.pszValeur;
            if (sValeur.size() > 8) sValeur.resize(17, L'0');
            CTString clAttendu;
            clNeuf.bFormateEx(sValeur.c_str(), &clAttendu, CMasqueDateHeure::FLAG_NORMALISE);
            EXPECT_EQ(s(cl.DateVersChaine(st.pszValeur, st.pszMasque)), clAttendu.pszGet()) << "line " << st.nLine;
            EXPECT_EQ(s(cl.DateVersChaine(st.pszValeur, st.pszMasque)), tabPremier[n]) << "line " << st.nLine;
        }
        EXPECT_EQ(s(cl.ChaineVersDate(L"15/03/2024", L"JJ/MM/AAAA")), L"20240315");
        EXPECT_EQ(s(cl.ChaineVersDate(L"2024-03-15", L"AAAA-MM-JJ")), L"20240315");
        EXPECT_EQ(s(cl.ChaineVersDate(L"15/03/2024 14:30", L"JJ/MM/AAAA HH:mm")), L"20240315143000000");
        EXPECT_EQ(s(cl.ChaineVersHeure(L"14:30:05:12")), L"14300512");
        EXPECT_EQ(s(cl.ChaineVersHeure(L"14:30:05:12", L"HH:MM:SS:CC")), L"14300512");
    }
}

// ChaineVersDate keeps its masks under the text as written and rewrites the letters only to build
// one: spellings of one mask, and spellings that rewrite differently, met again in another order,
// read as the first time.
TEST(MaskFunctions, MasksReadBackAreKeptUnderTheirWrittenText) {
    struct {
        int nLine;
        const wchar_t* pszTexte;
        const wchar_t* pszMasque;
        const wchar_t* pszAttendu;
    } const tab[] = {
        {__LINE__, L"15/03/2024", L"jj/mm/aaaa", L"20240315"},
        {__LINE__, L"15/03/2024", L"JJ/MM/AAAA", L"20240315"},
        {__LINE__, L"15/03/60", L"jj/mm/aa", L"19600315"},
        {__LINE__, L"15/03/2024 14:30", L"jj/MM/aaaa HH:mm", L"20240315143000000"},
        {__LINE__, L"2024.03.15", L"yyyy.mm.dd", L"20240315"},
        {__LINE__, L"15😀03😀2024", L"jj😀mm😀aaaa", L"20240315"},
        {__LINE__, L"15/03/2024", nullptr, L"20240315"},
        {__LINE__, L"15/3/2024", L"jj/mm/aaaa", L"<null>"},  // the year runs past the end of the text
        {__LINE__, L"15-03-2024", L"jj/mm/aaaa", L"20240315"},
    };
    CComposanteStandard cl;
    for (int nTour = 0; nTour < 3; ++nTour) {
        for (size_t i = 0; i < std::size(tab); ++i) {
            const auto& st = tab[nTour == 1 ? std::size(tab) - 1 - i : i];
            EXPECT_EQ(s(cl.ChaineVersDate(st.pszTexte, st.pszMasque)), st.pszAttendu) << "line " << st.nLine;
        }
    }
}

// The system mask reads the regional settings, which may change between two calls.
TEST(MaskFunctions, TheSystemMaskFollowsTheRegionalSettingsOfEachCall) {
    CComposanteStandard cl;
    CMasque::s_SetWinIntlParam(CMasque::LOCALE_DATE_COURTE, L"dd/MM/yyyy");
    const std::wstring sJourMois = s(cl.ChaineVersDate(L"15/03/2024", L"UseSystemMask"));
    CMasque::s_SetWinIntlParam(CMasque::LOCALE_DATE_COURTE, L"yyyy-MM-dd");
    const std::wstring sIso = s(cl.ChaineVersDate(L"2024-03-15", L"UseSystemMask"));
    const std::wstring sAffiche = s(cl.DateVersChaine(L"20240315", L"UseSystemMask"));
    CMasque::s_SetWinIntlParam(CMasque::LOCALE_DATE_COURTE, nullptr);
    EXPECT_EQ(sJourMois, L"20240315");
    EXPECT_EQ(sIso, L"20240315");
    EXPECT_EQ(sAffiche, L"2024-03-15");
}

}  // namespace
