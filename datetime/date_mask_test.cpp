// Tests of the date-time mask: display, free parsing, input fields, names in French and English,
// the century rules, predefined masks and keystrokes.
#include "datetime/date_mask.h"

#include <gtest/gtest.h>

#include <string>

#include "base/any.h"
#include "component/interfaces/machine.h"
#include "component/testing/fake_language.h"

namespace {

using M = CMasqueDateHeure;
constexpr uint16_t VIDE = 65535;

CFakeLangue gclAnglais({L"MM/JJ/AAAA", L"Monday;Tuesday;Wednesday;Thursday;Friday;Saturday;Sunday",
                        L"January;February;March;April;May;June;July;August;September;October;November;December"},
                       {L"am", L"pm", L"HH:mm:SS AM"});
CFakeLangue gclFrancais({L"JJ/MM/AAAA", L"lundi;mardi;mercredi;jeudi;vendredi;samedi;dimanche",
                         L"janvier;f\u00e9vrier;mars;avril;mai;juin;juillet;ao\u00fbt;septembre;octobre;novembre;d\u00e9cembre"},
                        {L"", L"", L"HH:mm:SS"});

std::wstring Affiche(const wchar_t* pszMasque, const wchar_t* pszTexte, int nFlags = 0, bool bDate = true,
                     const wchar_t* pszInterne = nullptr, IInfoLangue* piLangue = nullptr) {
    M clMasque(pszMasque, bDate, pszInterne);
    if (piLangue != nullptr) clMasque.vSetInfoLangueMasque(piLangue, 0, 1252);
    CTString clSortie;
    clMasque.bFormateEx(pszTexte, &clSortie, nFlags);
    return clSortie.pszGet();
}

std::wstring Lit(const wchar_t* pszMasque, const wchar_t* pszTexte, int nFlags = 0, bool bDate = true,
                 const wchar_t* pszInterne = nullptr, IInfoLangue* piLangue = nullptr) {
    M clMasque(pszMasque, bDate, pszInterne);
    if (piLangue != nullptr) clMasque.vSetInfoLangueMasque(piLangue, 0, 1252);
    CTString clSortie;
    clSortie.Set(L"not cleared");
    clMasque.DeformateDateHeure(pszTexte, &clSortie, nFlags);
    return clSortie.pszGet();
}

constexpr const wchar_t* DH = L"AAAAMMJJHHmmSSCCC";

// 15 March 2024 is a Friday; 1 February 2024 a Thursday; 14 July 2024 a Sunday.
TEST(DateMask, DisplaysDatesThroughTheMask) {
    struct {
        int nLigne;
        const wchar_t* pszMasque;
        const wchar_t* pszTexte;
        int nFlags;
        const wchar_t* pszAttendu;
    } tab[] = {
        {__LINE__, L"JJ/MM/AAAA", L"20240315", 0, L"15/03/2024"},
        {__LINE__, L"J/M/AA", L"20240305", 0, L"5/3/24"},
        {__LINE__, L"DD.MM.YYYY", L"20240315", 0, L"15.03.2024"},
        {__LINE__, L"Jjjj J Mmmm AAAA", L"20240315", 0, L"Vendredi 15 Mars 2024"},
        {__LINE__, L"jjj JJ mmm", L"20240714", 0, L"dim 14 juil"},
        {__LINE__, L"Jjj JJ Mmm", L"20240714", M::FLAG_NORMALISE, L"Dim. 14 Juil."},
        {__LINE__, L"JJ Mmm", L"20240615", M::FLAG_NORMALISE, L"15 Juin"},  // "juin" is whole: no point
        {__LINE__, L"JJ mmmm AAAA", L"20240215", 0, L"15 f\u00e9vrier 2024"},
        {__LINE__, L"mmm", L"20240815", M::FLAG_NORMALISE, L"ao\u00fb."},  // a name zone keeps its case
        {__LINE__, L"L J", L"20240315", 0, L"V 15"},
        {__LINE__, L"LJ", L"20240315", 0, L"L15"},  // "L" before a letter is a literal
        {__LINE__, L"JJ\\J", L"20240315", 0, L"15J"},
        {__LINE__, L"JJ\U0001F600MM", L"20240315", 0, L"15\U0001F60003"},
        {__LINE__, L"jj/mm/aa", L"20240315", M::FLAG_NORMALISE, L"15/03/24"},
        {__LINE__, L"JJ/MM/AAAA", L"", 0, L"__/__/____"},
        {__LINE__, L"JJ/MM/AAAA", L"20240315", M::FLAG_SAISIE, L"15/03/2024"},
        {__LINE__, L"(J/M)", L"20240305", M::FLAG_SAISIE, L"05/03"},  // outer literals have no place in a field
    };
    for (const auto& t : tab) EXPECT_EQ(Affiche(t.pszMasque, t.pszTexte, t.nFlags), t.pszAttendu) << "line " << t.nLigne;
}

TEST(DateMask, DisplaysTimesWithAndWithoutAmPm) {
    struct {
        int nLigne;
        const wchar_t* pszMasque;
        const wchar_t* pszTexte;
        const wchar_t* pszAttendu;
    } tab[] = {
        {__LINE__, L"HH:MM", L"140509", L"14:05"},
        {__LINE__, L"H:MM:SS", L"090509", L"9:05:09"},
        {__LINE__, L"HH:MM AM", L"140509", L"02:05 PM"},
        {__LINE__, L"HH AM", L"000000", L"12 AM"},
        {__LINE__, L"HH:MM:SS", L"14050978", L"14:05:09"},
    };
    for (const auto& t : tab) EXPECT_EQ(Affiche(t.pszMasque, t.pszTexte, 0, false), t.pszAttendu) << "line " << t.nLigne;
    EXPECT_EQ(Affiche(L"JJ/MM/AAAA HH:mm:SS,CCC", L"20240315140509123", 0, true, DH), L"15/03/2024 14:05:09,123");
    EXPECT_EQ(Affiche(L"HH:MM:SS:CC", L"14050978", 0, false, L"HHMMSSCC"), L"14:05:09:78");
}

TEST(DateMask, NamesComeFromTheLanguage) {
    EXPECT_EQ(Affiche(L"Jjjj J Mmmm AAAA", L"20240315", 0, true, nullptr, &gclAnglais), L"Friday 15 March 2024");
    EXPECT_EQ(Affiche(L"Jjjj J Mmmm AAAA", L"20240315", 0, true, nullptr, &gclFrancais), L"Vendredi 15 Mars 2024");
    // Four letters kept whole: no point.
    EXPECT_EQ(Affiche(L"mmm", L"20240815", M::FLAG_NORMALISE | M::FLAG_MOIS_QUATRE, true, nullptr, &gclFrancais),
              L"ao\u00fbt");
    EXPECT_EQ(Affiche(L"Mmm J", L"20240815", M::FLAG_NORMALISE, true, nullptr, &gclFrancais), L"Ao\u00fb. 15");
    EXPECT_EQ(Affiche(L"HH:MM AM", L"150000", 0, false, nullptr, &gclAnglais), L"03:00 pm");
    // Empty AM and PM texts fall back on "AM" and "PM".
    EXPECT_EQ(Affiche(L"HH:MM AM", L"150000", 0, false, nullptr, &gclFrancais), L"03:00 PM");
    // A language whose lists are empty, or whose settings are the system's, leaves the library's names.
    CFakeLangue clVide({L"", L"", L""}, {L"", L"", L""});
    EXPECT_EQ(Affiche(L"jjjj mmmm", L"20240315", 0, true, nullptr, &clVide), L"vendredi mars");
    CFakeLangue clSysteme(gclAnglais.pstGetParametreDate()[0], gclAnglais.pstGetParametreHeure()[0], true);
    EXPECT_EQ(Affiche(L"jjjj mmmm", L"20240315", 0, true, nullptr, &clSysteme), L"vendredi mars");
}

TEST(DateMask, NameHelpersCutAndCase) {
    M clMasque(L"JJ", true, nullptr);
    wchar_t sz[64];
    clMasque.MoisEnLettre(7, M::NOM_ABREGE | M::NOM_MAJUSCULE, sz, 64);
    EXPECT_STREQ(sz, L"Juil");
    clMasque.MoisEnLettre(6, M::NOM_ABREGE, sz, 64);
    EXPECT_STREQ(sz, L"juin");
    clMasque.MoisEnLettre(13, 0, sz, 64);
    EXPECT_STREQ(sz, L"");
    clMasque.MoisEnLettre(12, M::NOM_MAJUSCULE, sz, 4);  // cut to the buffer
    EXPECT_STREQ(sz, L"D\u00e9c");
    clMasque.JourEnLettre(0, 0, sz, 64);
    EXPECT_STREQ(sz, L"dimanche");
    clMasque.JourEnLettre(7, 0, sz, 64);
    EXPECT_STREQ(sz, L"");
    EXPECT_EQ(clMasque._nGetNumMonthFromName(L"ao\u00fbt", 0), 8);
    EXPECT_EQ(clMasque._nGetNumMonthFromName(L"Ao\u00fbt", 0), -1);  // exact compare
    EXPECT_EQ(clMasque._nGetNumMonthFromName(L"Sep", M::NOM_ABREGE | M::NOM_MAJUSCULE), 9);
    // Chinese weekday names lose their two-character prefix in the capitalised form.
    CFakeLangue clChinois({L"", L"\u661f\u671f\u4e00;\u661f\u671f\u4e8c;\u661f\u671f\u4e09;\u661f\u671f\u56db;"
                                L"\u661f\u671f\u4e94;\u661f\u671f\u516d;\u661f\u671f\u65e5", L""},
                          {L"", L"", L""});
    clMasque.vSetInfoLangueMasque(&clChinois, 0, 936);
    clMasque.JourEnLettre(5, M::NOM_MAJUSCULE, sz, 64);
    EXPECT_STREQ(sz, L"\u4e94");
    clMasque.JourEnLettre(5, 0, sz, 64);
    EXPECT_STREQ(sz, L"\u661f\u671f\u4e94");
}

TEST(DateMask, ParsesFreeTextToTheInternalForm) {
    struct {
        int nLigne;
        const wchar_t* pszMasque;
        const wchar_t* pszTexte;
        int nFlags;
        const wchar_t* pszAttendu;
    } tab[] = {
        {__LINE__, L"JJ/MM/AAAA", L"15/03/2024", 0, L"20240315"},
        {__LINE__, L"J/M/AAAA", L"5/3/2024", 0, L"20240305"},  // one-digit day and month shrink their zones
        {__LINE__, L"J/M/AAAA", L"15/12/2024", 0, L"20241215"},
        {__LINE__, L"J/M/AA", L"1/2/51", 0, L"20510201"},  // century 20 without a pivot
        {__LINE__, L"J/M/AA", L"1/2/51", M::FLAG_PIVOT, L"19510201"},
        {__LINE__, L"J/M/AA", L"1/2/50", M::FLAG_PIVOT, L"20500201"},
        {__LINE__, L"JJ Mmmm AAAA", L"15 Mars 2024", 0, L"20240315"},
        {__LINE__, L"JJ mmmm AAAA", L"15 f\u00e9vrier 2024", 0, L"20240215"},
        {__LINE__, L"JJ Mmm AAAA", L"14 Juil 2024", 0, L"20240714"},
        {__LINE__, L"Jjjj JJ/MM/AAAA", L"Vendredi 15/03/2024", 0, L"20240315"},
        {__LINE__, L"MM/AAAA", L"03/2024", 0, L"20240301"},  // no day zone: the first
        {__LINE__, L"JJ/MM/AAAA", L"15-03-2024", 0, L"20240315"},
        {__LINE__, L"JJ/MM/AAAA", L"15-03-2024", M::FLAG_LITTERAL_EXACT, L""},
        {__LINE__, L"JJ/MM/AAAA", L"ab/cd/efgh", 0, L""},  // not digits
        {__LINE__, L"JJ/MM/AAAA", L"00/03/2024", 0, L""},  // day 0 is no day
        {__LINE__, L"JJ/MM/AA", L"15/03/245", M::FLAG_STRICT, L""},  // text left after the final year
        {__LINE__, L"JJ/MM/AA", L"15/03/24", M::FLAG_STRICT, L"20240315"},
        {__LINE__, L"JJxMM/AAAA", L"15y03/2024", M::FLAG_STRICT, L""},  // a letter literal must match
        {__LINE__, L"JJ\U0001F600MM\U0001F600AAAA", L"15\U0001F60003\U0001F6002024", M::FLAG_LITTERAL_EXACT, L"20240315"},
        {__LINE__, L"JJ/MM/AAAA", L"15/03/20\U0001F60024", 0, L"00200315"},  // digits stop at the odd character
        {__LINE__, L"XYZ", L"whatever the text", 0, L""},
        {__LINE__, L"", L"", 0, L""},
        {__LINE__, L"JJ/MM/AAAA", L"15/__/2024", M::FLAG_SAISIE, L""},  // month missing, day known: clock's month
    };
    for (const auto& t : tab) {
        std::wstring sAttendu = t.pszAttendu;
        if (t.nLigne == tab[std::size(tab) - 1].nLigne) {
            _SYSTEMTIME stMaintenant;
            GetSystemTime(&stMaintenant);
            wchar_t sz[16];
            std::swprintf(sz, 16, L"2024%02d15", stMaintenant.wMonth);
            sAttendu = sz;
        }
        EXPECT_EQ(Lit(t.pszMasque, t.pszTexte, t.nFlags), sAttendu) << "line " << t.nLigne;
    }
}

TEST(DateMask, ParsesNamesInEnglishAndFrench) {
    EXPECT_EQ(Lit(L"JJ Mmmm AAAA", L"15 February 2024", 0, true, nullptr, &gclAnglais), L"20240215");
    EXPECT_EQ(Lit(L"Jjjj, Mmmm J, AAAA", L"Friday, March 15, 2024", 0, true, nullptr, &gclAnglais), L"20240315");
    EXPECT_EQ(Lit(L"JJ mmmm AAAA", L"15 d\u00e9cembre 2024", 0, true, nullptr, &gclFrancais), L"20241215");
    // A name the language does not know leaves the month to the clock, never a wrong one.
    EXPECT_EQ(Lit(L"JJ Mmmm AAAA", L"15 Mars 2024", 0, true, nullptr, &gclAnglais).substr(0, 4), L"2024");
}

TEST(DateMask, ParsesTimesAndAmPm) {
    struct {
        int nLigne;
        const wchar_t* pszMasque;
        const wchar_t* pszTexte;
        const wchar_t* pszAttendu;
    } tab[] = {
        {__LINE__, L"HH:MM", L"14:05", L"140500"},
        {__LINE__, L"H:MM", L"9:05", L"090500"},
        {__LINE__, L"HH:MM AM", L"02:05 PM", L"140500"},
        {__LINE__, L"HH:MM AM", L"12:30 am", L"003000"},
        {__LINE__, L"HH:MM AM", L"12:30 PM", L"123000"},
        {__LINE__, L"AM HH:MM", L"PM 02:05", L"140500"},  // the indicator first
        {__LINE__, L"HH:MM:SS", L"14", L""},              // no minutes: no time
        {__LINE__, L"HH:MM:SS", L"14:05", L"140500"},     // ends early with hour and minute
        {__LINE__, L"HH:MM", L"xx:05", L""},
    };
    for (const auto& t : tab) EXPECT_EQ(Lit(t.pszMasque, t.pszTexte, 0, false), t.pszAttendu) << "line " << t.nLigne;
    M clMasque(L"HH:MM:SS:CC", false, L"HHMMSSCC");
    CTString clSortie;
    clMasque.DeformateDateHeure(L"14:05:09:78", &clSortie, 0);
    EXPECT_STREQ(clSortie.pszGet(), L"14050978");
}

TEST(DateMask, DateTimeFormReadsMonthsAndMinutesApart) {
    EXPECT_EQ(Lit(L"JJ/MM/AAAA HH:mm", L"15/03/2024 14:05", 0, true, DH), L"20240315140500000");
    EXPECT_EQ(Lit(L"AAAAMM", L"202403", 0, true, DH), L"20240301000000000");
    M clMasque(L"HHmm", true, DH);
    _SYSTEMTIME st;
    ASSERT_TRUE(clMasque._bTexteVersDateHeure(L"1405", L"HHmm", &st, 0));
    EXPECT_EQ(st.wHour, 14);
    EXPECT_EQ(st.wMinute, 5);
    EXPECT_EQ(st.wMonth, VIDE);
    // In a time mask both spellings are minutes.
    M clHeure(L"HH:MM", false, nullptr);
    int nLargeur = 0;
    const wchar_t* p = L"MMmm";
    EXPECT_EQ(clHeure.eParseMasque_Internal(&p, &nLargeur), M::ZONE_MINUTE);
    EXPECT_EQ(clHeure.eParseMasque_Internal(&p, &nLargeur), M::ZONE_MINUTE);
    EXPECT_EQ(clHeure.eParseMasque_Internal(&p, &nLargeur), M::ZONE_FIN);
    EXPECT_EQ(p, nullptr);
}

TEST(DateMask, TextEndingEarlySucceedsOnceDayOrHourIsRead) {
    M clMasque(L"JJ/MM/AAAA", true, nullptr);
    _SYSTEMTIME st;
    EXPECT_TRUE(clMasque._bTexteVersDateHeure(L"15", L"JJ/MM/AAAA", &st, 0));
    EXPECT_EQ(st.wDay, 15);
    EXPECT_EQ(st.wYear, VIDE);
    EXPECT_FALSE(clMasque._bTexteVersDateHeure(L"1", L"JJ/MM/AAAA", &st, 0));
}

TEST(DateMask, MissingYearComesFromTheUtcClock) {
    // 31 December 2023 at 23:30 UTC: already 2024 in Paris.
    CClockFige clHorloge(1704065400000LL);
    CClockSourceScope clPortee(&clHorloge);
    EXPECT_EQ(Lit(L"JJ/MM", L"15/03"), L"20230315");
    EXPECT_EQ(Lit(L"JJ", L"15"), L"20231215");
}

TEST(DateMask, InputFieldsRoundTrip) {
    M clMasque(L"JJ/MM/AAAA", true, nullptr);
    CTString clAffiche, clLu;
    clMasque.bFormateEx(L"20240315", &clAffiche, M::FLAG_SAISIE);
    clMasque.DeformateDateHeure(clAffiche.pszGet(), &clLu, M::FLAG_SAISIE);
    EXPECT_STREQ(clLu.pszGet(), L"20240315");
    // A year typed up to its third digit counts the fourth as 0.
    clMasque.DeformateDateHeure(L"15/03/202_", &clLu, M::FLAG_SAISIE);
    EXPECT_STREQ(clLu.pszGet(), L"20200315");
    // A two-digit year in a field whose minimum year has four digits takes the century.
    M clCourt(L"JJ/MM/AA", true, nullptr);
    clCourt.DeformateDateHeure(L"15/03/24", &clLu, M::FLAG_SAISIE);
    EXPECT_STREQ(clLu.pszGet(), L"20240315");
    M::STInfoZone stInfo;
    ASSERT_TRUE(clMasque._bGetInfoZoneFromPos(L"15/03/2024", 4, &stInfo));
    EXPECT_EQ(stInfo.eType, M::ZONE_MM);
    EXPECT_EQ(stInfo.nDebut, 3);
    EXPECT_EQ(stInfo.nDecalage, 1);
    EXPECT_STREQ(stInfo.szTexte, L"03");
    EXPECT_FALSE(clMasque._bGetInfoZoneFromPos(L"15/03/2024", 10, &stInfo));
}

TEST(DateMask, RefusesImpossibleValuesOnlyWhenAsked) {
    struct {
        int nLigne;
        bool bDate;
        const wchar_t* pszTexte;
        bool bAttendu;
    } tab[] = {
        {__LINE__, true, L"20240229", true},   {__LINE__, true, L"20230229", false}, {__LINE__, true, L"20241301", false},
        {__LINE__, true, L"", false},          {__LINE__, false, L"240000", true},   {__LINE__, false, L"250000", false},
        {__LINE__, false, L"006000", true},    {__LINE__, false, L"006100", false},
    };
    for (const auto& t : tab) {
        M clMasque(t.bDate ? L"JJ/MM/AAAA" : L"HH:MM:SS", t.bDate, nullptr);
        CTString clSortie;
        EXPECT_EQ(clMasque.bFormateEx(t.pszTexte, &clSortie, M::FLAG_REFUSE_IMPOSSIBLE), t.bAttendu) << "line " << t.nLigne;
        EXPECT_TRUE(clMasque.bFormateEx(t.pszTexte, &clSortie, 0)) << "line " << t.nLigne;
    }
}

TEST(DateMask, PredefinedMasksFollowSystemAndLanguage) {
    struct {
        int nLigne;
        const wchar_t* pszMasque;
        bool bDate;
        const wchar_t* pszInterne;
        IInfoLangue* piLangue;
        const wchar_t* pszAttendu;
    } tab[] = {
        {__LINE__, L"UseSystemMask", true, nullptr, nullptr, L"JJ/MM/AAAA"},
        {__LINE__, L"usesystemmask", true, nullptr, &gclAnglais, L"MM/JJ/AAAA"},
        {__LINE__, L"UseSystemMask", false, nullptr, nullptr, L"HH:MM:SS"},
        {__LINE__, L"UseSystemMask", true, DH, nullptr, L"JJ/MM/AAAA HH:mm:SS"},
        {__LINE__, L"UseSystemMask", true, DH, &gclAnglais, L"MM/JJ/AAAA HH:mm:SS AM"},
        {__LINE__, L"UseDatePickerTimeMask", true, nullptr, nullptr, L"HH:MM:SS"},
        {__LINE__, L"JJ/MM", true, nullptr, &gclAnglais, L"JJ/MM"},
    };
    for (const auto& t : tab) {
        M clMasque(t.pszMasque, t.bDate, t.pszInterne);
        if (t.piLangue != nullptr) clMasque.vSetInfoLangueMasque(t.piLangue, 0, 1252);
        CTString clEffectif;
        EXPECT_TRUE(clMasque.bvGetValeurMasqueEffectif(&clEffectif));
        EXPECT_STREQ(clEffectif.pszGet(), t.pszAttendu) << "line " << t.nLigne;
    }
    EXPECT_EQ(Affiche(L"UseSystemMask", L"20240315", 0, true, nullptr, &gclAnglais), L"03/15/2024");
    // The cache of regional settings, and a right-to-left language on the system's settings.
    CMasque::s_SetWinIntlParam(CMasque::LOCALE_DATE_COURTE, L"yyyy-MM-dd");
    EXPECT_EQ(Affiche(L"UseSystemMask", L"20240315"), L"2024-03-15");
    CFakeLangue clDroite({L"", L"", L""}, {L"", L"", L""}, true, true);
    M clInverse(L"UseSystemMask", true, nullptr);
    clInverse.vSetInfoLangueMasque(&clDroite, 0, 1256);
    EXPECT_STREQ(clInverse.pszGetMasqueDateSelonSaisie(0), L"JJ-MM-AAAA");
    CMasque::s_SetWinIntlParam(CMasque::LOCALE_DATE_COURTE, nullptr);
    CTString clDefaut;
    CMasque::_GetWinIntlParam(CMasque::LOCALE_DATE_COURTE, L"", &clDefaut);
    EXPECT_TRUE(clDefaut.bEstVide());
}

TEST(DateMask, RecognisesAmPmAndHourZones) {
    EXPECT_FALSE(M::s_bZoneAMPMPresente(L"AAMM"));
    EXPECT_TRUE(M::s_bZoneAMPMPresente(L"HH:MM AM"));
    EXPECT_TRUE(M::s_bZoneAMPMPresente(L"AAMM AP"));
    EXPECT_TRUE(M::s_bZoneAMPMPresente(L"HH PM"));
    EXPECT_FALSE(M::s_bZoneAMPMPresente(nullptr));
    EXPECT_TRUE(M::s_bZoneHeurePresente(L"JJ HH"));
    EXPECT_FALSE(M::s_bZoneHeurePresente(L"JJ H"));
    M clMasque(L"(JJ/MM)", true, nullptr);
    const wchar_t* p = clMasque.pszGetMasqueDateSelonSaisie(0);
    int nLargeur = -1;
    EXPECT_EQ(clMasque.eParseMasque(&p, &nLargeur, 1), M::ZONE_LITTERAL_SAISIE);
    EXPECT_EQ(nLargeur, 0);
    EXPECT_EQ(clMasque.eParseMasque(&p, &nLargeur, 1), M::ZONE_JJ);
    EXPECT_EQ(clMasque.eParseMasque(&p, &nLargeur, 1), M::ZONE_LITTERAL);
    EXPECT_EQ(nLargeur, 1);
}

TEST(DateMask, MinMaxTakeTheYearOfADate) {
    M clMasque(L"JJ/MM/AA", true, nullptr);
    CAny clMin(L"19500101"), clMax(L"21001231"), clNull;
    clMasque.vSetMinMax(clMin, clNull);
    EXPECT_EQ(clMasque.nGetAnneeMin(), 1950);
    EXPECT_EQ(clMasque.nGetAnneeMax(), 2089);
    clMasque.vSetMinMax(clNull, clMax);
    EXPECT_EQ(clMasque.nGetAnneeMax(), 2100);
}

TEST(DateMask, KeystrokesFillZones) {
    M clMasque(L"JJ/MM/AAAA HH", true, nullptr);
    M clAMPM(L"H:MM AM", false, nullptr);
    struct {
        int nLigne;
        int nHandler;  // 0 day, 1 hour, 2 hour "H" with AM/PM, 3 year, 4 minutes, 5 thousandths
        wchar_t c;
        int nPosition;
        const wchar_t* pszAvant;
        int nAttendu;
        const wchar_t* pszApres;
    } tab[] = {
        {__LINE__, 0, L'2', 0, L"__", M::SAISIE_DERNIER, L"2_"},
        {__LINE__, 0, L'5', 0, L"__", M::SAISIE_COMPLET, L"05"},
        {__LINE__, 0, L'2', 1, L"3_", M::SAISIE_REFUSE, L"3_"},
        {__LINE__, 0, L'1', 1, L"3_", M::SAISIE_COMPLET, L"31"},
        {__LINE__, 0, L'x', 0, L"__", M::SAISIE_REFUSE, L"__"},
        {__LINE__, 1, L'2', 0, L"__", M::SAISIE_SUIVANT, L"2_"},
        {__LINE__, 1, L'4', 1, L"2_", M::SAISIE_REFUSE, L"2_"},
        {__LINE__, 1, L'7', 0, L"__", M::SAISIE_COMPLET, L"07"},
        {__LINE__, 2, L'1', 0, L"__", M::SAISIE_DERNIER, L"1_"},
        {__LINE__, 2, L'3', 1, L"1_", M::SAISIE_REFUSE, L"1_"},
        {__LINE__, 3, L'0', 0, L"____", M::SAISIE_DERNIER, L"200_"},
        {__LINE__, 3, L'7', 0, L"____", M::SAISIE_DERNIER, L"197_"},
        {__LINE__, 3, L'1', 0, L"____", M::SAISIE_SUIVANT, L"1___"},
        {__LINE__, 3, L'9', 3, L"199_", M::SAISIE_COMPLET, L"1999"},
        {__LINE__, 4, L'6', 0, L"__", M::SAISIE_COMPLET, L"06"},
        {__LINE__, 4, L'9', 1, L"5_", M::SAISIE_COMPLET, L"59"},
        {__LINE__, 5, L'9', 0, L"___", M::SAISIE_SUIVANT, L"9__"},
        {__LINE__, 5, L'9', 2, L"99_", M::SAISIE_COMPLET, L"999"},
    };
    for (const auto& t : tab) {
        wchar_t sz[8];
        std::wcscpy(sz, t.pszAvant);
        int n = -1;
        switch (t.nHandler) {
        case 0: n = clMasque.eGereSaisieJour(t.c, t.nPosition, sz, M::ZONE_JJ); break;
        case 1: n = clMasque.eGereSaisieHeure(t.c, t.nPosition, sz, M::ZONE_HH); break;
        case 2: n = clAMPM.eGereSaisieHeure(t.c, t.nPosition, sz, M::ZONE_H); break;
        case 3: n = clMasque.eGereSaisieAnnee(t.c, t.nPosition, sz, M::ZONE_AAAA); break;
        case 4: n = clMasque.eGereSaisieMinuteSeconde(t.c, t.nPosition, sz, M::ZONE_MINUTE); break;
        case 5: n = clMasque.eGereSaisieMilliemeDeSeconde(t.c, t.nPosition, sz, M::ZONE_CCC); break;
        }
        EXPECT_EQ(n, t.nAttendu) << "line " << t.nLigne;
        EXPECT_STREQ(sz, t.pszApres) << "line " << t.nLigne;
    }
    // Years outside 1000 to 2999 go by their bounds.
    CAny clMin(L"05000101");
    clMasque.vSetMinMax(clMin, CAny());
    wchar_t sz[8] = L"____";
    EXPECT_EQ(clMasque.eGereSaisieAnnee(L'0', 0, sz, M::ZONE_AAAA), M::SAISIE_SUIVANT);
    EXPECT_STREQ(sz, L"0___");
}

TEST(DateMask, FactoriesBuildDateAndTimeMasks) {
    CMasque* pclDate = CMasque::pclGetNewMasqueDate(L"JJ/MM/AAAA", nullptr);
    CMasque* pclHeure = CMasque::pclGetNewMasqueHeure(L"HH:MM", nullptr);
    ASSERT_NE(pclDate, nullptr);
    ASSERT_NE(pclHeure, nullptr);
    CTString clSortie;
    pclDate->Formate(L"20240315", &clSortie, nullptr);
    EXPECT_STREQ(clSortie.pszGet(), L"15/03/2024");
    pclHeure->Formate(L"1405", &clSortie, nullptr);
    EXPECT_STREQ(clSortie.pszGet(), L"14:05");
    EXPECT_FALSE(pclDate->bEstVide());
    delete pclDate;
    delete pclHeure;
    CMasqueDateHeureAmelio clAmelio(L"UseSystemMask", true, nullptr, true);
    EXPECT_TRUE(clAmelio.bEstMasqueDateEtHeure());
    EXPECT_STREQ(clAmelio.pszGetMasqueDateSelonSaisie(0), L"JJ/MM/AAAA HH:mm:SS");
}

// A mask is read once into zones, and recent masks are remembered per thread: none of that may
// change what a mask means.
TEST(DateMask, LongMasksReadLikeShortOnes) {
    // Past the characters and zones a mask keeps inside itself.
    const wchar_t* pszLong = L"Jjjj JJ Mmmm AAAA \u00e0 HH:mm:SS,CCC \u2014 \u00e9t\u00e9 \U0001F600 fin";
    const wchar_t* pszAffiche = L"Vendredi 15 Mars 2024 \u00e0 14:05:09,123 \u2014 \u00e9t\u00e9 \U0001F600 fin";
    EXPECT_EQ(Affiche(pszLong, L"20240315140509123", 0, true, DH), pszAffiche);
    EXPECT_EQ(Lit(pszLong, pszAffiche, 0, true, DH), L"20240315140509123");
}

TEST(DateMask, RememberedZonesFollowTheKindOfMask) {
    // The same text read as a date mask, then as a time mask: month, then minutes.
    EXPECT_EQ(Affiche(L"MM", L"20240315"), L"03");
    EXPECT_EQ(Affiche(L"MM", L"140509", 0, false), L"05");
    EXPECT_EQ(Affiche(L"MM", L"20240315"), L"03");
    // The switch of the improved mask decides whether a date mask reads hours.
    CTString clSortie;
    CMasqueDateHeureAmelio clAvecHeure(L"JJ/MM/AAAA HH:mm", true, DH, true);
    clAvecHeure.bFormateEx(L"20240315140509123", &clSortie, 0);
    EXPECT_STREQ(clSortie.pszGet(), L"15/03/2024 14:05");
    CMasqueDateHeureAmelio clSansHeure(L"JJ/MM/AAAA HH:mm", true, DH, false);
    clSansHeure.bFormateEx(L"20240315140509123", &clSortie, 0);
    EXPECT_STREQ(clSortie.pszGet(), L"15/03/2024 HH:mm");
}

TEST(DateMask, ManyMasksInTurnKeepTheirMeaning) {
    struct {
        int nLigne;
        const wchar_t* pszMasque;
        const wchar_t* pszAttendu;
    } tab[] = {
        {__LINE__, L"JJ/MM/AAAA", L"15/03/2024"}, {__LINE__, L"J/M/AA", L"15/3/24"},
        {__LINE__, L"AAAA-MM-JJ", L"2024-03-15"}, {__LINE__, L"Jjj JJ", L"Ven 15"},
        {__LINE__, L"MM/JJ/AAAA", L"03/15/2024"}, {__LINE__, L"JJ.MM.AA", L"15.03.24"},
    };
    // More masks than are remembered, twice over, so that entries are replaced.
    for (int nTour = 0; nTour < 3; ++nTour)
        for (const auto& t : tab) EXPECT_EQ(Affiche(t.pszMasque, L"20240315"), t.pszAttendu) << "line " << t.nLigne;
}

TEST(DateMask, AnyInternalFormIsReadThroughItsZones) {
    // Not one of the usual internal forms: read like any mask.
    EXPECT_EQ(Affiche(L"JJ/MM/AAAA", L"20240315", 0, true, L"JJMMAAAA"), L"20/24/0315");
    EXPECT_EQ(Lit(L"JJ/MM/AAAA", L"15/03/2024", 0, true, L"JJMMAAAA"), L"15032024");
    EXPECT_EQ(Lit(L"JJ/MM/AAAA", L"15/03/2024", 0, true, DH), L"20240315000000000");
}

}  // namespace
