// The wide printf against the C library's swprintf where the two agree, its own text conventions,
// its bounds, and the owned string CTString that formats through it.
#include "base/wide_printf.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cwchar>
#include <string>

#include "base/tstring.h"

namespace {

template <class... T>
std::wstring sWin(const wchar_t* pszFormat, T... xArguments) {
    wchar_t szBuffer[512];
    const int nLongueur = snwprintfWin(szBuffer, 512, pszFormat, xArguments...);
    EXPECT_GE(nLongueur, 0) << "format " << pszFormat;
    return szBuffer;
}

template <class... T>
std::wstring sBibliothequeC(const wchar_t* pszFormat, T... xArguments) {
    wchar_t szBuffer[512];
    EXPECT_GE(swprintf(szBuffer, 512, pszFormat, xArguments...), 0);
    return szBuffer;
}

template <class TValeur>
struct STCasOracle {
    int nLigne;
    const wchar_t* pszFormat;
    TValeur xValeur;
};

TEST(WidePrintf, NumbersPrintAsTheCLibraryDoes) {
    const STCasOracle<int> astEntiers[] = {
        {__LINE__, L"%d", 0},        {__LINE__, L"%d", INT_MIN},    {__LINE__, L"%i", 42},
        {__LINE__, L"[%5d]", -42},   {__LINE__, L"[%-5d]", 42},     {__LINE__, L"[%05d]", -42},
        {__LINE__, L"%+d", 7},       {__LINE__, L"% d", 7},         {__LINE__, L"%.4d", 7},
        {__LINE__, L"%x", 0xbeef},   {__LINE__, L"%#X", 0xbeef},    {__LINE__, L"%#o", 8},
        {__LINE__, L"%u", -1},       {__LINE__, L"%hd", 70000},     {__LINE__, L"%hhu", 300},
        {__LINE__, L"%.0d", 0},      {__LINE__, L"%%%d%%", 5},      {__LINE__, L"[%-+8.3d]", 5},
    };
    for (const auto& stCas : astEntiers)
        EXPECT_EQ(sWin(stCas.pszFormat, stCas.xValeur), sBibliothequeC(stCas.pszFormat, stCas.xValeur))
            << "line " << stCas.nLigne;

    const STCasOracle<long long> astLongs[] = {
        {__LINE__, L"%lld", LLONG_MIN}, {__LINE__, L"%llx", -1LL}, {__LINE__, L"[%20lld]", 1234567890123LL},
        {__LINE__, L"%ld", LLONG_MAX},  {__LINE__, L"%zu", 77},    {__LINE__, L"%jd", -3},
    };
    for (const auto& stCas : astLongs)
        EXPECT_EQ(sWin(stCas.pszFormat, stCas.xValeur), sBibliothequeC(stCas.pszFormat, stCas.xValeur))
            << "line " << stCas.nLigne;

    const STCasOracle<double> astReels[] = {
        {__LINE__, L"%f", 3.14159},   {__LINE__, L"%.2f", 2.675},      {__LINE__, L"%e", -1234.5},
        {__LINE__, L"%g", 0.0001234}, {__LINE__, L"[%10.3f]", 1.5},    {__LINE__, L"[%-10.1e]", 1e10},
        {__LINE__, L"%+.0f", 2.5},    {__LINE__, L"%#g", 1.0},         {__LINE__, L"%a", 1.0},
        {__LINE__, L"%f", INFINITY},  {__LINE__, L"%G", 1e-20},        {__LINE__, L"%010.2f", -3.5},
    };
    for (const auto& stCas : astReels)
        EXPECT_EQ(sWin(stCas.pszFormat, stCas.xValeur), sBibliothequeC(stCas.pszFormat, stCas.xValeur))
            << "line " << stCas.nLigne;

    const STCasOracle<void*> astPointeurs[] = {
        {__LINE__, L"%p", reinterpret_cast<void*>(0x1234)},
        {__LINE__, L"[%20p]", reinterpret_cast<void*>(0xdeadbeef)},
        {__LINE__, L"%p", nullptr},
    };
    for (const auto& stCas : astPointeurs)
        EXPECT_EQ(sWin(stCas.pszFormat, stCas.xValeur), sBibliothequeC(stCas.pszFormat, stCas.xValeur))
            << "line " << stCas.nLigne;

    EXPECT_EQ(sWin(L"%Lf", 1.25L), sBibliothequeC(L"%Lf", 1.25L));
    EXPECT_EQ(sWin(L"[%*d|%-*d]", 6, 42, 6, 42), sBibliothequeC(L"[%*d|%-*d]", 6, 42, 6, 42));
    EXPECT_EQ(sWin(L"[%*d]", -6, 42), sBibliothequeC(L"[%*d]", -6, 42));
    EXPECT_EQ(sWin(L"%.*f", 3, 1.0), sBibliothequeC(L"%.*f", 3, 1.0));
    EXPECT_EQ(sWin(L"%.*f", -1, 1.0), sBibliothequeC(L"%.*f", -1, 1.0));
}

TEST(WidePrintf, TextConversionsFollowTheWideConvention) {
    const wchar_t* pszFrancais = L"Élève à l'école";
    const wchar_t* pszHorsPlan = L"clef \U0001D11E";
    struct STCas {
        int nLigne;
        std::wstring sObtenu;
        const wchar_t* pszAttendu;
    } const astCas[] = {
        {__LINE__, sWin(L"<%s>", pszFrancais), L"<Élève à l'école>"},
        {__LINE__, sWin(L"<%ls>", pszHorsPlan), L"<clef \U0001D11E>"},
        {__LINE__, sWin(L"<%S>", "Noël \xF0\x9D\x84\x9E"), L"<Noël \U0001D11E>"},
        {__LINE__, sWin(L"<%hs>", "déjà"), L"<déjà>"},
        {__LINE__, sWin(L"<%s|%S>", static_cast<const wchar_t*>(nullptr), static_cast<const char*>(nullptr)),
         L"<(null)|(null)>"},
        {__LINE__, sWin(L"[%8s][%-8s]", L"été", L"été"), L"[     été][été     ]"},
        {__LINE__, sWin(L"[%.2s][%.3hs]", L"été", "àéïõü"), L"[ét][àéï]"},
        {__LINE__, sWin(L"[%*.*s]", 5, 1, L"xyz"), L"[    x]"},
        {__LINE__, sWin(L"%c%c", L'é', static_cast<wchar_t>(0x1D11E)), L"é\U0001D11E"},
        {__LINE__, sWin(L"%C|%hc|%lc", 'a', 0xE9, L'ü'), L"a|é|ü"},
        {__LINE__, sWin(L"%I64d %I64x", -5LL, 0x1122334455LL), L"-5 1122334455"},
        {__LINE__, sWin(L"%I32d %Id", -5, static_cast<size_t>(1) << 40), L"-5 1099511627776"},
        {__LINE__, sWin(L"%y|%Q"), L"%y|%Q"},
        {__LINE__, sWin(L"a%nb%d", static_cast<int*>(nullptr), 3), L"ab3"},
    };
    for (const auto& stCas : astCas) EXPECT_EQ(stCas.sObtenu, stCas.pszAttendu) << "line " << stCas.nLigne;
}

TEST(WidePrintf, BoundedFormAnswersTheWholeLengthAndAlwaysTerminates) {
    wchar_t szPetit[6];
    wmemset(szPetit, L'#', 6);
    EXPECT_EQ(snwprintfWin(szPetit, 6, L"%s-%d", L"école", 12345), 11);
    EXPECT_STREQ(szPetit, L"école");
    EXPECT_EQ(snwprintfWin(szPetit, 1, L"abc"), 3);
    EXPECT_STREQ(szPetit, L"");
    EXPECT_EQ(snwprintfWin(nullptr, 0, L"%08d", 1), 8);
    // A pad far past the buffer is counted, not written.
    wmemset(szPetit, L'#', 6);
    EXPECT_EQ(snwprintfWin(szPetit, 4, L"%1000000d", 1), 1000000);
    EXPECT_STREQ(szPetit, L"   ");
}

TEST(WidePrintf, FormatEndingInsideAConversionStops) {
    EXPECT_EQ(sWin(L"abc%"), L"abc");
    EXPECT_EQ(sWin(L"abc%-08"), L"abc");
    EXPECT_EQ(sWin(L"x%.3l"), L"x");
    EXPECT_EQ(sWin(L"x%I6"), L"x%I6");  // I then "6": not a conversion, shown as written
}

TEST(WidePrintf, RefusesWidthsPastTheLimit) {
    wchar_t szBuffer[8];
    EXPECT_EQ(snwprintfWin(szBuffer, 8, L"%99999999999d", 1), -1);
    EXPECT_EQ(snwprintfWin(szBuffer, 8, L"%*d", WIDE_PRINTF_LARGEUR_MAX + 1, 1), -1);
    EXPECT_EQ(snwprintfWin(szBuffer, 8, nullptr), -1);
}

TEST(WidePrintf, AllocatingFormGivesTheWholeText) {
    wchar_t* pszTexte = nullptr;
    std::wstring sLong(5000, L'é');
    ASSERT_EQ(aswprintfWin(&pszTexte, L"%s|%s|\U0001D11E", sLong.c_str(), L"fin"), 5006);
    EXPECT_EQ(std::wstring(pszTexte), sLong + L"|fin|\U0001D11E");
    free(pszTexte);

    ASSERT_EQ(aswprintfWin(&pszTexte, L""), 0);
    ASSERT_NE(pszTexte, nullptr);
    EXPECT_STREQ(pszTexte, L"");
    free(pszTexte);

    pszTexte = reinterpret_cast<wchar_t*>(1);
    EXPECT_EQ(aswprintfWin(&pszTexte, L"%*d", -WIDE_PRINTF_LARGEUR_MAX - 1, 1), -1);
    EXPECT_EQ(pszTexte, nullptr);
}

TEST(TString, EmptyIsNullButReadsAsEmptyText) {
    CTString clTexte;
    EXPECT_STREQ(clTexte.pszGet(), L"");
    EXPECT_TRUE(clTexte.Set(L"à"));
    EXPECT_TRUE(clTexte.Set(L""));
    EXPECT_EQ(clTexte.pszDetache(), nullptr);
    EXPECT_TRUE(clTexte.bEstEgal(nullptr));
}

TEST(TString, AddStopsAtAZeroInsideTheCount) {
    CTString clTexte(L"x");
    const wchar_t aszAvecZero[] = {L'a', L'b', L'c', L'd', 0, L'e'};
    EXPECT_TRUE(clTexte.Add(aszAvecZero, 5));
    EXPECT_STREQ(clTexte.pszGet(), L"xabcd");
    EXPECT_TRUE(clTexte.Add(L"zz", 0));
    EXPECT_TRUE(clTexte.Add(nullptr, 3));
    EXPECT_EQ(clTexte.nTaille(), 5);
}

TEST(TString, SetAndAddAcceptPiecesOfTheirOwnText) {
    CTString clTexte(L"Hôtel \U0001D11E");
    EXPECT_TRUE(clTexte.Set(clTexte.pszGet()));
    EXPECT_STREQ(clTexte.pszGet(), L"Hôtel \U0001D11E");
    EXPECT_TRUE(clTexte.Add(clTexte.pszGet()));
    EXPECT_STREQ(clTexte.pszGet(), L"Hôtel \U0001D11EHôtel \U0001D11E");
    EXPECT_TRUE(clTexte.Set(clTexte.pszGet() + 7));
    EXPECT_STREQ(clTexte.pszGet(), L"Hôtel \U0001D11E");
}

TEST(TString, FormatsThroughTheWidePrintf) {
    CTString clTexte(L"Résultat : ");
    EXPECT_TRUE(clTexte.AddPrintf(L"%s=%d (%hs)", L"clé", 3, "ça"));
    EXPECT_STREQ(clTexte.pszGet(), L"Résultat : clé=3 (ça)");
    CTString clAutre;
    clAutre.Transfert(clTexte);
    EXPECT_TRUE(clTexte.bEstVide());
    EXPECT_TRUE(clAutre.bEstEgal(L"Résultat : clé=3 (ça)"));
}

TEST(TString, ExtractsFieldsBetweenWholeSeparators) {
    const CTString clTexte(L"un fichier\n§\ndeux fichiers\n§\n");
    struct STCas {
        int nLigne;
        int nIndex;
        bool bAttendu;
        const wchar_t* pszAttendu;
    } const astCas[] = {
        {__LINE__, 0, true, L"un fichier"},
        {__LINE__, 1, true, L"deux fichiers"},
        {__LINE__, 2, true, L""},
        {__LINE__, 3, false, L"inchangé"},
        {__LINE__, -1, false, L"inchangé"},
    };
    for (const auto& stCas : astCas) {
        CTString clChamp(L"inchangé");
        EXPECT_EQ(clTexte.bExtraitChaine(stCas.nIndex, L"\n§\n", &clChamp), stCas.bAttendu) << "line " << stCas.nLigne;
        EXPECT_STREQ(clChamp.pszGet(), stCas.pszAttendu) << "line " << stCas.nLigne;
    }
    CTString clSoiMeme(L"a--b--c");
    EXPECT_TRUE(clSoiMeme.bExtraitChaine(2, L"--", &clSoiMeme));
    EXPECT_STREQ(clSoiMeme.pszGet(), L"c");
}

}  // namespace
